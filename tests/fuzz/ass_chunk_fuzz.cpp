// An embedded ASS stream on arbitrary bytes, fed to libass as the graph feeds
// it: the first NUL-separated part is the track header (the stream's codec
// data), every further part one sample. The events must come out in order,
// and drawing a moment of them must stay inside the picture, which the
// address sanitiser of the fuzz build checks.
#include "subtitles/subtitle_provider.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 54;

}  // namespace

// Fonts are set up once per process; done here, their allocations are not
// taken for a leak of the first input.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  zelvaro::AssEngine::Instance();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> parts;
  for (size_t start = 0;;) {
    const size_t end = input.find('\0', start);
    parts.emplace_back(input.substr(start, end - start));
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
  zelvaro::CSubtitleProvider provider;
  provider.SetRenderSize({kWidth, kHeight});
  if (!provider.AdoptStreamTrack(parts.front(), 1)) return 0;
  for (size_t i = 1; i < parts.size(); ++i) {
    // A sample a second after the last, lasting by its size; a sample
    // repeated (as after a seek) lands on its own time again.
    const int64_t startMs = static_cast<int64_t>(i % 8) * 1000;
    const int64_t durationMs = static_cast<int64_t>(parts[i].size() % 7) * 700;
    provider.AddStreamEvent(1, parts[i], startMs, durationMs);
  }
  const size_t count = provider.GetEventCount();
  size_t walked = 0;
  int64_t previous = INT64_MIN;
  for (size_t position = count ? 1 : 0; position != 0; position = provider.GetNext(position)) {
    if (provider.GetStart(position) < previous || ++walked > count) std::abort();
    previous = provider.GetStart(position);
  }
  if (walked != count) std::abort();

  std::vector<uint8_t> pixels(kWidth * kHeight * 4);
  zelvaro::SubPicDesc target;
  target.Width = kWidth;
  target.Height = kHeight;
  target.Pitch = kWidth * 4;
  target.Data = pixels.data();
  target.VideoRect = {0, 0, kWidth, kHeight};
  const int64_t time100ns = count ? provider.GetStart(1) : 0;
  zelvaro::SubPicRect bbox = zelvaro::SubPicRect::Inverted();
  zelvaro::SubPicWindow window;
  uint64_t serial = 0;
  if (provider.Render(target, time100ns, &bbox, &window, &serial) &&
      (bbox.Left < 0 || bbox.Top < 0 || bbox.Right > kWidth || bbox.Bottom > kHeight))
    std::abort();
  return 0;
}
