#pragma once
// SubtitleOverlayAdapter: the video renderer's overlay source, answered by
// the engine's SubtitleManager. At each paint it tells the manager the size
// the video is shown at (the subtitles are drawn at that size, so they stay
// sharp and a resize redraws them) and hands back the manager's picture for
// the shown frame's time. The same picture comes back, with the same
// cacheKey(), for as long as the subtitles don't change, so the renderer
// uploads nothing while a line stands still.
//
// Threads: the interface thread only, like the renderer's paints and the
// GraphManager.
//
// Ownership: ConnectSubtitleOverlay makes the adapter a child of the
// renderer, so it lives exactly as long as the renderer can ask it. The
// GraphManager is borrowed: it must outlive the renderer's paints, or the
// owner calls DisconnectSubtitleOverlay before it goes.

#include "video/subtitle_overlay_source.h"

#include <QObject>

#include <cstdint>

namespace zelvaro {

class GraphManager;
class VideoRenderer;

class SubtitleOverlayAdapter : public QObject, public SubtitleOverlaySource {
  Q_OBJECT
 public:
  explicit SubtitleOverlayAdapter(GraphManager& graph, QObject* parent = nullptr);

  QImage PictureFor(int64_t time100ns, const QSize& videoRectSize) override;

  // For tests and benchmarks.
  struct Counters {
    uint64_t asked = 0;  // PictureFor calls
    uint64_t shown = 0;  // answers with a picture
    // Answers with a picture other than the last one shown: what an OpenGL
    // renderer uploads. A line that stands still counts once.
    uint64_t changed = 0;
  };
  Counters GetCounters() const { return counters_; }

 private:
  GraphManager& graph_;
  Counters counters_;
  qint64 lastShownKey_ = 0;
};

// Lays the engine's subtitles over the renderer's picture, replacing an
// adapter connected before. The returned adapter belongs to the renderer.
SubtitleOverlayAdapter* ConnectSubtitleOverlay(GraphManager& graph, VideoRenderer& renderer);
// Takes the subtitles off the renderer (before the GraphManager goes).
void DisconnectSubtitleOverlay(VideoRenderer& renderer);

}  // namespace zelvaro
