#pragma once
// The door of video/: the shell hosts a VideoRenderer and hands it to the
// engine as its VideoOutput, and connects the engine's subtitles with
// video/subtitle_overlay_adapter.h; the other headers of the folder are the
// renderer's own parts (benchmarks and tests reach into them).
//
// VideoRenderer: the widget that shows the engine's frames, behind the
// engine's VideoOutput interface. It owns the newest frame, the picture
// geometry and the named settings, and shows them with OpenGL (a
// VideoGlSurface, a native window embedded over the whole widget: planar
// YUV converted in a fragment shader) or, when
// OpenGL is missing or cannot run the shaders, with QPainter after a CPU
// conversion by the same matrix. Both paths draw the same VideoScene.
//
// Threads: PresentFrame may come from any thread (a GStreamer streaming
// thread); it keeps the frame under a mutex and schedules the repaint with a
// queued call, never touching GL or widgets. Everything else runs on the
// interface thread. The engine's pointer to this object must be cleared
// before it is destroyed (see engine/video_output.h).
//
// Placement. The destination rectangle is the area the engine allots to the
// picture (its letterboxing, in this widget's logical pixels). The renderer
// fits the picture inside it with its shape kept and centred, where the
// shape is the coded size times the pixel aspect, turned by the rotation. So
// the engine should letterbox with the displayed size, width and height
// exchanged at 90 and 270 degrees: the fit then fills its rectangle exactly
// (a difference of a pixel from truncation is absorbed). A rectangle made
// with the upright size still shows an undistorted picture, only smaller.
// Until the engine sets a rectangle, the whole widget is the area.
//
// Named settings: "rotation" (int: 0, 90, 180, 270, clockwise), "flip"
// (bool: left-right mirror of the picture as seen on screen, after the
// turn), "cmd_redraw" (bool: true repaints the last frame). The colour
// controls come through GetProcAmpRange and SetProcAmpValues, in the units
// and ranges of yuv_convert.h (ColorControls), and are folded into the one
// conversion matrix both paths apply, so they cost nothing per pixel. Every
// change repaints at once, so a paused picture follows the controls.
//
// Children. On the QPainter path child widgets (the OSD line) paint over the
// picture as anywhere else. On the OpenGL path the picture is a native window
// no widget can paint over, so the renderer draws its visible children into
// the scene, above the picture, each within its mask when it has one, and
// draws them again whenever one paints, shows, hides, moves or resizes.
//
// Path. OpenGL when a hardware OpenGL runs the shaders; on a software
// rasteriser (llvmpipe, softpipe, swrast), or on a machine without any GPU
// device, the QPainter path, which costs a fraction of the CPU there
// (bench_playback_window). ZELVARO_OPENGL=force takes OpenGL even then,
// ZELVARO_NO_OPENGL=1 never does.
//
// With ZELVARO_BENCH_FIRST_FRAME=1 the first painted frame is announced on
// standard output ("zelvaro-first-frame-shown monotonic_ns=<CLOCK_MONOTONIC>")
// and the application quits: the launch benchmark's finish line.

#include "engine/video_output.h"
#include "video/video_painter.h"
#include "video/video_scene.h"
#include "video/yuv_convert.h"

#include <QWidget>

#include <atomic>
#include <cstdint>
#include <mutex>

namespace zelvaro {

class SubtitleOverlaySource;
class VideoGlSurface;

class VideoRenderer : public QWidget, public VideoOutput {
  Q_OBJECT
 public:
  enum class Path { OpenGl, Painter };

  explicit VideoRenderer(QWidget* parent = nullptr);
  ~VideoRenderer() override;

  // VideoOutput.
  void PresentFrame(VideoFramePtr frame) override;  // any thread
  void ClearFrame() override;
  QSize ClientSize() const override;
  void SetDestinationRect(const QRect& rect) override;
  bool SetInt(std::string_view name, int value) override;
  bool SetBool(std::string_view name, bool value) override;
  bool GetProcAmpRange(unsigned flag, ProcAmpRange* range) override;
  bool SetProcAmpValues(unsigned flags, const ProcAmpValues& values) override;
  // The last shown picture at its display size (pixel aspect and rotation
  // applied, longest side at most kMaxReadBackSide), mirrored and with the
  // overlay as on screen, without the letterbox bars. RGB32; null when no
  // frame is on screen.
  QImage DisplayedImage() override;
  // The shown frame at its display size, converted with the stream's own
  // matrix only.
  QImage CurrentImage() override;
  QImage GrabWindow() override;

  // The source of the overlay picture; not owned, null for none. Clear it
  // before the source is destroyed.
  void SetSubtitleOverlaySource(SubtitleOverlaySource* source);

  // What became of the frames handed in, for tests and benchmarks. Each
  // presented frame is painted, replaced before a paint took it (a dropped
  // frame), still waiting, or let go by ClearFrame.
  struct FrameCounters {
    uint64_t presented = 0;
    uint64_t painted = 0;
    uint64_t replacedBeforePaint = 0;
    int64_t lastPaintedTime100ns = -1;  // -1 before the first painted frame
  };

  Path CurrentPath() const { return path_; }
  // Paints so far, with or without a frame; for tests and benchmarks.
  uint64_t PaintCount() const { return paintCount_; }
  FrameCounters Counters() const;  // any thread

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void childEvent(QChildEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  VideoScene SceneForPaint(const QSize& areaSize);
  void RequestRepaint();
  void SwitchToPainter();
  void ChildLayerChanged();
  void ComposeChildLayer();

  void AnnounceFirstFrameForBenchmark();

  // Shared with the streaming thread.
  mutable std::mutex mailboxMutex_;
  VideoFramePtr pendingFrame_;         // newest frame not yet painted
  bool pendingReplacesShown_ = false;  // pendingFrame_ (possibly null) is news
  FrameCounters counters_;
  std::atomic<bool> repaintQueued_{false};

  // Interface thread only.
  Path path_ = Path::Painter;
  QWidget* glContainer_ = nullptr;       // child holding glSurface_; null on the painter path
  VideoGlSurface* glSurface_ = nullptr;  // owned by glContainer_
  QImage childLayer_;                    // the children as drawn over the picture
  QRect childLayerRect_;
  bool childLayerStale_ = true;
  bool composingChildren_ = false;  // their paints are for the layer, not news
  VideoPainter painter_;
  VideoFramePtr shownFrame_;
  VideoScene shownScene_;  // what the last paint showed, for the read-back
  QRect destination_;
  bool destinationSet_ = false;
  int rotationDeg_ = 0;
  bool flip_ = false;
  ColorControls colorControls_;
  SubtitleOverlaySource* overlaySource_ = nullptr;
  uint64_t paintCount_ = 0;
  bool announceFirstFrame_ = false;
};

}  // namespace zelvaro
