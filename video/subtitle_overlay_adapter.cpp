#include "video/subtitle_overlay_adapter.h"

#include "engine/graph_manager.h"
#include "subtitles/subtitle_manager.h"
#include "video/video_renderer.h"

namespace zelvaro {

SubtitleOverlayAdapter::SubtitleOverlayAdapter(GraphManager& graph, QObject* parent)
    : QObject(parent), graph_(graph) {}

QImage SubtitleOverlayAdapter::PictureFor(int64_t time100ns, const QSize& videoRectSize) {
  ++counters_.asked;
  // Made on demand by the engine: until a subtitle is loaded there may be
  // none, and nothing to draw.
  SubtitleManager* manager = graph_.Subtitles();
  if (manager == nullptr) return {};
  manager->SetRenderSize(videoRectSize.width(), videoRectSize.height());
  const std::shared_ptr<const CMemSubPic> picture = manager->GetSubPic(time100ns);
  if (!picture) return {};
  // The image shares the picture's pixels and keeps them alive for as long
  // as the renderer holds it.
  QImage image = picture->Image();
  ++counters_.shown;
  if (image.cacheKey() != lastShownKey_) {
    lastShownKey_ = image.cacheKey();
    ++counters_.changed;
  }
  return image;
}

SubtitleOverlayAdapter* ConnectSubtitleOverlay(GraphManager& graph, VideoRenderer& renderer) {
  DisconnectSubtitleOverlay(renderer);
  auto* adapter = new SubtitleOverlayAdapter(graph, &renderer);
  renderer.SetSubtitleOverlaySource(adapter);
  return adapter;
}

void DisconnectSubtitleOverlay(VideoRenderer& renderer) {
  auto* adapter =
      renderer.findChild<SubtitleOverlayAdapter*>(QString(), Qt::FindDirectChildrenOnly);
  if (adapter == nullptr) return;
  renderer.SetSubtitleOverlaySource(nullptr);
  delete adapter;
}

}  // namespace zelvaro
