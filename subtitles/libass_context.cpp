#include "subtitles/libass_context.h"

#include "foundation/trace.h"
#include "subtitles/subtitle_style.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <queue>
#include <string>
#include <vector>

namespace zelvaro {

namespace {

// libass speaks on standard error unless told otherwise; its words belong in
// the debug trace.
void ForwardLibassMessage(int level, const char* format, va_list arguments, void*) {
  if (level > 4 || !TraceEnabled()) return;  // above MSGL_INFO is chatter
  char text[400];
  std::vsnprintf(text, sizeof(text), format, arguments);
  Trace("libass: %s", text);
}

bool IsUtf8Continuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Inside an override block: the drawing scale that "\p<n>" sets, or the old
// one when the block has none. "\pos" and "\pbo" are other tags.
bool DrawingAfterBlock(std::string_view block, bool drawing) {
  for (size_t i = block.find("\\p"); i != std::string_view::npos; i = block.find("\\p", i + 2)) {
    std::string_view rest = block.substr(i + 2);
    if (rest.substr(0, 2) == "os" || rest.substr(0, 2) == "bo") continue;
    while (!rest.empty() && (rest.front() == ' ' || rest.front() == '\t')) rest.remove_prefix(1);
    int scale = 0;
    while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9' && scale < 1000) {
      scale = scale * 10 + (rest.front() - '0');
      rest.remove_prefix(1);
    }
    drawing = scale > 0;
  }
  return drawing;
}

// Where `text` has held kMaxAssEventTextBytes of text to be laid out:
// outside override blocks and drawings, on a character boundary and not
// behind a backslash, so no block, drawing or "\N" is broken. npos when the
// text holds less.
size_t VisibleTextCut(std::string_view text) {
  size_t visible = 0;
  bool drawing = false;
  for (size_t i = 0; i < text.size();) {
    if (text[i] == '{') {
      // An unclosed block runs to the end, as libass reads it.
      size_t close = text.find('}', i + 1);
      if (close == std::string_view::npos) close = text.size();
      drawing = DrawingAfterBlock(text.substr(i + 1, close - i - 1), drawing);
      i = close + 1;
      continue;
    }
    if (!drawing && !IsUtf8Continuation(text[i]) && visible >= kMaxAssEventTextBytes) {
      return i > 0 && text[i - 1] == '\\' ? i - 1 : i;
    }
    if (!drawing) ++visible;
    ++i;
  }
  return std::string_view::npos;
}

// libass scales a script to the picture by its height over PlayResY, and a
// glyph's bitmaps grow with the square of its size: a big font under a tiny
// PlayResY, or "\fs100000", asks for gigabytes. A line is never taller than
// the picture nor its border thicker than a quarter of it; "\fs+" steps, which
// multiply the size by (1 + n / 10), may together grow a line fourfold.
constexpr double kMaxFontSizeInPlayHeights = 1.0;
constexpr double kMaxBorderInPlayHeights = 0.25;
constexpr double kMaxRelativeFontGrowth = 4.0;

struct SizeBounds {
  double FontSize;
  double Border;
};

// The play height libass itself settles on when it renders the track first.
SizeBounds SizeBoundsOf(const ASS_Track& track) {
  int height = track.PlayResY;
  if (height <= 0) {
    if (track.PlayResX <= 0)
      height = 288;
    else
      height = track.PlayResX == 1280 ? 1024 : std::max(1, track.PlayResX * 3 / 4);
  }
  return {kMaxFontSizeInPlayHeights * height, kMaxBorderInPlayHeights * height};
}

// Rewrites the "\fs", "\fs+", "\bord", "\xbord" and "\ybord" values of the
// override blocks that exceed `bounds`. Its reading of a value is looser than
// libass's (any blanks or a parenthesis before it, any run of signs), so that
// nothing libass would read as big slips through. False when nothing changed.
bool BoundSizeTags(std::string_view text, const SizeBounds& bounds, std::string* bounded) {
  bounded->clear();
  double growth = 1.0;
  size_t copied = 0;
  for (size_t open = text.find('{'); open != std::string_view::npos;) {
    size_t close = text.find('}', open + 1);
    if (close == std::string_view::npos) close = text.size();
    for (size_t i = text.find('\\', open); i < close; i = text.find('\\', i)) {
      size_t cursor = ++i;
      while (cursor < close && std::isalpha(static_cast<unsigned char>(text[cursor]))) ++cursor;
      const std::string_view name = text.substr(i, cursor - i);
      const bool fontSize = name == "fs";
      if (!fontSize && name != "bord" && name != "xbord" && name != "ybord") continue;
      while (cursor < close && (text[cursor] == ' ' || text[cursor] == '\t' || text[cursor] == '('))
        ++cursor;
      int negatives = 0;
      bool relative = false;
      for (; cursor < close && (text[cursor] == '+' || text[cursor] == '-'); ++cursor) {
        relative = true;
        negatives += text[cursor] == '-';
      }
      const char* first = text.data() + cursor;
      const char* last = text.data() + close;
      if (first == last || !(std::isdigit(static_cast<unsigned char>(*first)) || *first == '.'))
        continue;
      double value = 0;
      const auto [end, error] = std::from_chars(first, last, value);
      if (error == std::errc::result_out_of_range)
        value = HUGE_VAL;
      else if (error != std::errc())
        continue;
      double limit = fontSize ? bounds.FontSize : bounds.Border;
      if (fontSize && relative && negatives % 2 == 0) {
        const double allowed = (kMaxRelativeFontGrowth / growth - 1.0) * 10.0;
        limit = std::min(limit, allowed);
        growth *= 1.0 + std::min(value, allowed) / 10.0;
      }
      i = static_cast<size_t>(end - text.data());
      if (value <= limit) continue;
      char digits[32];
      const auto written = std::to_chars(digits, digits + sizeof(digits), limit);
      bounded->append(text.substr(copied, cursor - copied)).append(digits, written.ptr);
      copied = i;
    }
    open = close < text.size() ? text.find('{', close + 1) : std::string_view::npos;
  }
  if (copied == 0) return false;
  bounded->append(text.substr(copied));
  return true;
}

enum class EventBound { kKept, kChanged, kHidden };

EventBound BoundEvent(const SizeBounds& bounds, ASS_Event* event) {
  if (event->Text == nullptr) return EventBound::kKept;
  const size_t length = std::strlen(event->Text);
  if (length > kMaxAssEventBytes) {
    event->Duration = 0;
    return EventBound::kHidden;
  }
  bool changed = false;
  if (length > kMaxAssEventTextBytes) {
    const size_t cut = VisibleTextCut({event->Text, length});
    if (cut != std::string_view::npos) {
      event->Text[cut] = '\0';
      changed = true;
    }
  }
  std::string bounded;
  if (BoundSizeTags(event->Text, bounds, &bounded)) {
    // libass frees the text with free().
    char* copy = strdup(bounded.c_str());
    if (copy != nullptr) {
      std::free(event->Text);
      event->Text = copy;
      changed = true;
    }
  }
  return changed ? EventBound::kChanged : EventBound::kKept;
}

}  // namespace

// Before the first ass_render_frame, styles and events may still be changed
// in place.
void BoundAssTrack(ASS_Track* track) {
  const SizeBounds bounds = SizeBoundsOf(*track);
  for (int i = 0; i < track->n_styles; ++i) {
    ASS_Style& style = track->styles[i];
    style.FontSize = std::min(style.FontSize, bounds.FontSize);
    style.Outline = std::min(style.Outline, bounds.Border);
  }
  int changed = 0;
  int hidden = 0;
  for (int i = 0; i < track->n_events; ++i) {
    const EventBound bound = BoundEvent(bounds, &track->events[i]);
    changed += bound == EventBound::kChanged;
    hidden += bound == EventBound::kHidden;
  }

  // In order of start, keep at most kMaxActiveAssEvents active; an event
  // that would be one more is given no duration.
  std::vector<int> order(static_cast<size_t>(track->n_events));
  for (int i = 0; i < track->n_events; ++i) order[static_cast<size_t>(i)] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](int a, int b) { return track->events[a].Start < track->events[b].Start; });
  std::priority_queue<long long, std::vector<long long>, std::greater<>> activeEnds;
  for (int index : order) {
    ASS_Event& event = track->events[index];
    if (event.Duration <= 0) continue;
    while (!activeEnds.empty() && activeEnds.top() <= event.Start) activeEnds.pop();
    if (static_cast<int>(activeEnds.size()) >= kMaxActiveAssEvents) {
      event.Duration = 0;
      ++hidden;
      continue;
    }
    long long end = 0;
    if (__builtin_add_overflow(event.Start, event.Duration, &end)) end = LLONG_MAX;
    activeEnds.push(end);
  }
  if (changed != 0 || hidden != 0)
    Trace("Subtitle events bounded: %d cut or resized, %d hidden", changed, hidden);
}

void BoundAssEvent(ASS_Track* track, int index) {
  if (index < 0 || index >= track->n_events) return;
  BoundEvent(SizeBoundsOf(*track), &track->events[index]);
}

AssEngine* AssEngine::Instance() {
  // Set up once, on whichever thread asks first; never freed, since tracks
  // held by objects with static lifetime may still point at the library.
  static AssEngine* const instance = [] {
    auto* engine = new AssEngine;
    engine->library_.reset(ass_library_init());
    if (engine->library_) {
      ass_set_message_cb(engine->library_.get(), ForwardLibassMessage, nullptr);
      engine->renderer_.reset(ass_renderer_init(engine->library_.get()));
    }
    if (!engine->renderer_) {
      Trace("libass could not be set up");
      delete engine;
      return static_cast<AssEngine*>(nullptr);
    }
    engine->frameSize_ = QSize(1920, 1080);
    ass_set_frame_size(engine->renderer_.get(), 1920, 1080);
    ass_set_fonts(engine->renderer_.get(), nullptr, kSubtitleFallbackFamily,
                  ASS_FONTPROVIDER_AUTODETECT, nullptr, 1);
    return engine;
  }();
  return instance;
}

ASS_Image* AssEngine::RenderFrame(ASS_Track* track, QSize frameSize, int64_t timeMs, int* change) {
  if (frameSize != frameSize_) {
    frameSize_ = frameSize;
    ass_set_frame_size(renderer_.get(), frameSize.width(), frameSize.height());
    Trace("libass: frame=%dx%d", frameSize.width(), frameSize.height());
  }
  return ass_render_frame(renderer_.get(), track, static_cast<long long>(timeMs), change);
}

const char* GuessCjkLanguage(std::string_view utf8) {
  size_t kana = 0;
  size_t hangul = 0;
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    // Kana and Hangul are all three-byte sequences.
    if ((lead & 0xF0) != 0xE0 || i + 2 >= utf8.size()) continue;
    const uint32_t code = ((lead & 0x0Fu) << 12) |
                          ((static_cast<unsigned char>(utf8[i + 1]) & 0x3Fu) << 6) |
                          (static_cast<unsigned char>(utf8[i + 2]) & 0x3Fu);
    if ((code >= 0x3040 && code <= 0x30FF) || (code >= 0x31F0 && code <= 0x31FF) ||
        (code >= 0xFF66 && code <= 0xFF9F))
      ++kana;
    else if ((code >= 0xAC00 && code <= 0xD7A3) || (code >= 0x1100 && code <= 0x11FF) ||
             (code >= 0x3130 && code <= 0x318F))
      ++hangul;
    i += 2;
  }
  if (kana == 0 && hangul == 0) return nullptr;
  return kana >= hangul ? "ja" : "ko";
}

AssTrackHandle ReadAssScript(std::string_view script, AssScriptOrigin origin) {
  AssEngine* engine = AssEngine::Instance();
  if (engine == nullptr || script.empty()) return nullptr;
  AssTrackHandle track{
      ass_read_memory(engine->Library(), const_cast<char*>(script.data()), script.size(), nullptr)};
  if (!track) return nullptr;
  if (origin == AssScriptOrigin::kConverted && track->n_events < 1) return nullptr;
  Trace("libass event count: %d", track->n_events);
  BoundAssTrack(track.get());
  if (track->Language == nullptr) {
    if (const char* language = GuessCjkLanguage(script)) track->Language = strdup(language);
  }
  return track;
}

}  // namespace zelvaro
