#include "subtitles/libass_context.h"

#include "foundation/trace.h"
#include "subtitles/subtitle_style.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>
#include <queue>
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

// Before the first ass_render_frame, events may still be changed in place.
void BoundTrack(ASS_Track* track) {
  int cutTexts = 0;
  for (int i = 0; i < track->n_events; ++i) {
    char* text = track->events[i].Text;
    if (text == nullptr || std::strlen(text) <= kMaxAssEventTextBytes) continue;
    size_t end = kMaxAssEventTextBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text[end] = '\0';
    ++cutTexts;
  }

  // In order of start, keep at most kMaxActiveAssEvents active; an event
  // that would be one more is given no duration.
  std::vector<int> order(static_cast<size_t>(track->n_events));
  for (int i = 0; i < track->n_events; ++i) order[static_cast<size_t>(i)] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](int a, int b) { return track->events[a].Start < track->events[b].Start; });
  std::priority_queue<long long, std::vector<long long>, std::greater<>> activeEnds;
  int hidden = 0;
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
  if (cutTexts != 0 || hidden != 0)
    Trace("Subtitle events bounded: %d texts cut, %d events hidden", cutTexts, hidden);
}

}  // namespace

std::unique_ptr<AssContext> CreateAssContext(QSize frameSize) {
  auto context = std::make_unique<AssContext>();
  context->FrameSize = frameSize;
  context->Library.reset(ass_library_init());
  if (!context->Library) return nullptr;
  ass_set_message_cb(context->Library.get(), ForwardLibassMessage, nullptr);
  context->Renderer.reset(ass_renderer_init(context->Library.get()));
  if (!context->Renderer) return nullptr;
  ass_set_frame_size(context->Renderer.get(), frameSize.width(), frameSize.height());
  ass_set_fonts(context->Renderer.get(), nullptr, kSubtitleFallbackFamily,
                ASS_FONTPROVIDER_AUTODETECT, nullptr, 1);
  Trace("libass: frame=%dx%d", frameSize.width(), frameSize.height());
  return context;
}

bool ReadAssScript(AssContext* context, std::string_view script) {
  if (context == nullptr || !context->Library || script.empty()) return false;
  AssTrackHandle track{ass_read_memory(context->Library.get(), const_cast<char*>(script.data()),
                                       script.size(), nullptr)};
  if (!track || track->n_events < 1) return false;
  Trace("libass event count: %d", track->n_events);
  BoundTrack(track.get());
  context->Track = std::move(track);
  return true;
}

}  // namespace zelvaro
