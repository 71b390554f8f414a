#include "subtitles/webvtt_reader.h"

#include "foundation/text_conversion.h"
#include "subtitles/ass_script.h"
#include "subtitles/srt_converter.h"

#include <algorithm>

namespace zelvaro {

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool StartsWithWord(std::string_view line, std::string_view word) {
  return line.substr(0, word.size()) == word &&
         (line.size() == word.size() || IsBlank(line[word.size()]));
}

// Reads up to `maxDigits` digits (0 for no limit) into *value, saturating.
size_t ReadDigits(std::string_view text, size_t position, size_t maxDigits, int64_t* value) {
  size_t count = 0;
  *value = 0;
  while (position + count < text.size() && text[position + count] >= '0' &&
         text[position + count] <= '9' && (maxDigits == 0 || count < maxDigits)) {
    if (*value < INT64_MAX / 100) *value = *value * 10 + (text[position + count] - '0');
    ++count;
  }
  return count;
}

bool ParseTimingLine(std::string_view line, int64_t* startMs, int64_t* endMs) {
  const size_t arrow = line.find("-->");
  if (arrow == std::string_view::npos) return false;
  std::string_view right = TrimBlanks(line.substr(arrow + 3));
  // Cue settings follow the end time behind a blank.
  size_t settings = 0;
  while (settings < right.size() && !IsBlank(right[settings])) ++settings;
  const auto start = ParseWebVttTime(TrimBlanks(line.substr(0, arrow)));
  const auto end = ParseWebVttTime(right.substr(0, settings));
  if (!start || !end) return false;
  *startMs = *start;
  *endMs = *end;
  return true;
}

// Tags go (a "<" without a later ">" stays, as in SubRip), then the four
// entities are decoded, so "&lt;i&gt;" shows as text.
std::string CleanCueText(std::string_view text) {
  const std::string stripped = StripSrtTags(text);

  struct Entity {
    std::string_view name;
    std::string_view text;
  };
  static constexpr Entity kEntities[] = {
      {"&amp;", "&"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&nbsp;", "\xC2\xA0"}};
  std::string decoded;
  decoded.reserve(stripped.size());
  for (size_t i = 0; i < stripped.size();) {
    bool replaced = false;
    if (stripped[i] == '&') {
      for (const Entity& entity : kEntities) {
        if (std::string_view(stripped).substr(i, entity.name.size()) == entity.name) {
          decoded.append(entity.text);
          i += entity.name.size();
          replaced = true;
          break;
        }
      }
    }
    if (!replaced) decoded.push_back(stripped[i++]);
  }
  return decoded;
}

}  // namespace

std::optional<int64_t> ParseWebVttTime(std::string_view text) {
  int64_t fields[3] = {0, 0, 0};
  int fieldCount = 0;
  size_t position = 0;
  while (true) {
    int64_t value = 0;
    const size_t digits = ReadDigits(text, position, 0, &value);
    if (digits == 0 || fieldCount == 3) return std::nullopt;
    fields[fieldCount++] = value;
    position += digits;
    if (position < text.size() && text[position] == ':') {
      ++position;
      continue;
    }
    break;
  }
  if (fieldCount < 2) return std::nullopt;
  int64_t fractionMs = 0;
  if (position < text.size() && (text[position] == '.' || text[position] == ',')) {
    ++position;
    int64_t fraction = 0;
    const size_t digits = ReadDigits(text, position, 3, &fraction);
    if (digits == 0) return std::nullopt;
    fractionMs = digits == 1 ? fraction * 100 : digits == 2 ? fraction * 10 : fraction;
    position += digits;
  }
  if (position != text.size()) return std::nullopt;
  const int64_t hours = fieldCount == 3 ? fields[0] : 0;
  const int64_t minutes = fields[fieldCount - 2];
  const int64_t seconds = fields[fieldCount - 1];
  // "00:60:00.000" is no time: read as one, a cue would stay up for an hour.
  if (minutes > 59 || seconds > 59) return std::nullopt;
  // Hours beyond any film are clamped rather than overflowed.
  constexpr int64_t kMaxHours = 1'000'000'000;
  return std::min(hours, kMaxHours) * 3600000 + std::min(minutes, kMaxHours) * 60000 +
         std::min(seconds, kMaxHours) * 1000 + fractionMs;
}

namespace {

// Calls cue(startMs, endMs, cleanUtf8Text) for each cue with text, in file order.
template <typename CueFn>
void ReadWebVtt(std::string_view utf8, CueFn&& cue) {
  if (utf8.substr(0, 3) == "\xEF\xBB\xBF") utf8.remove_prefix(3);
  enum class State { kHeader, kBetween, kBlock, kText, kSkip } state = State::kHeader;
  bool firstLine = true;
  int64_t startMs = 0;
  int64_t endMs = 0;
  std::string text;
  auto finish = [&] {
    // A cue of tags alone shows nothing and is no cue.
    if (!text.empty()) {
      const std::string clean = CleanCueText(text);
      if (!clean.empty()) cue(startMs, endMs, clean);
    }
    text.clear();
  };
  auto startCue = [&](std::string_view line) {
    if (!ParseTimingLine(line, &startMs, &endMs)) return false;
    text.clear();
    state = State::kText;
    return true;
  };

  ForEachSubtitleLine(utf8, [&](std::string_view line) {
    if (firstLine) {
      firstLine = false;
      // Without the signature the file is taken for a body of cues.
      if (StartsWithWord(line, "WEBVTT")) return;
      state = State::kBetween;
    }
    switch (state) {
      case State::kHeader:
        // Header lines run to the first empty line; a timing line among them
        // means a file that forgot the blank.
        if (line.empty())
          state = State::kBetween;
        else if (line.find("-->") != std::string_view::npos)
          startCue(line);
        break;
      case State::kBetween:
        if (line.empty() || startCue(line)) break;
        if (StartsWithWord(line, "NOTE") || StartsWithWord(line, "STYLE") ||
            StartsWithWord(line, "REGION"))
          state = State::kSkip;
        else
          state = State::kBlock;  // an identifier; the timing line follows
        break;
      case State::kBlock:
        if (line.empty())
          state = State::kBetween;
        else if (!startCue(line))
          state = State::kSkip;
        break;
      case State::kText: {
        if (line.empty()) {
          finish();
          state = State::kBetween;
          break;
        }
        // A line with an arrow never shows inside a cue: a timing line
        // without the blank before it starts the next cue, a broken one ends
        // this cue and what follows it up to the blank is dropped.
        if (line.find("-->") != std::string_view::npos) {
          int64_t nextStart = 0;
          int64_t nextEnd = 0;
          const bool timing = ParseTimingLine(line, &nextStart, &nextEnd);
          finish();
          if (timing) {
            startMs = nextStart;
            endMs = nextEnd;
          } else {
            state = State::kSkip;
          }
          break;
        }
        if (!text.empty()) text.push_back('\n');
        text.append(line);
        break;
      }
      case State::kSkip:
        if (line.empty()) state = State::kBetween;
        break;
    }
  });
  if (state == State::kText) finish();
}

}  // namespace

bool ParseWebVttCues(std::string_view utf8, std::vector<SrtCue>* cues) {
  cues->clear();
  ReadWebVtt(utf8, [&](int64_t startMs, int64_t endMs, const std::string& text) {
    SrtCue cue;
    cue.Index = static_cast<int32_t>(cues->size() + 1);
    cue.StartMs = startMs;
    cue.EndMs = endMs;
    cue.Text = Utf8ToWide(text);
    cues->push_back(std::move(cue));
  });
  return !cues->empty();
}

std::string ConvertWebVttToAss(const SubtitleStyle& style, std::string_view utf8) {
  std::string script;
  script.reserve(utf8.size() + 2048);
  AppendAssHeader(style, &script);
  std::string escaped;
  ReadWebVtt(utf8, [&](int64_t startMs, int64_t endMs, const std::string& text) {
    escaped.clear();
    for (char c : text) {
      if (c == '\n')
        escaped.append("\\N");
      else
        escaped.push_back(c);
    }
    AppendAssDialogue(startMs, endMs, escaped, &script);
  });
  return script;
}

}  // namespace zelvaro
