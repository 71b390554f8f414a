#pragma once
// What the engine needs from the widget that shows the picture. The app's
// OpenGL renderer implements it; the engine holds a non-owning pointer that
// the owner of both (MainWindow) sets before opening and clears before the
// output is destroyed.
//
// Threads: PresentFrame comes from a GStreamer streaming thread and must
// neither block nor touch widgets directly (it keeps the newest frame and
// schedules a repaint with a queued call). Everything else is called on the
// interface thread.

#include "engine/proc_amp.h"
#include "engine/video_frame.h"

#include <QImage>
#include <QRect>
#include <QSize>

#include <string_view>

namespace zelvaro {

class VideoOutput {
 public:
  virtual ~VideoOutput() = default;

  // A new frame to show at once (the pipeline's clock already timed it).
  virtual void PresentFrame(VideoFramePtr frame) = 0;
  // Drops the frame on screen and shows the background: nothing is open.
  virtual void ClearFrame() = 0;

  // The size of the area the picture is shown in; empty while the widget is
  // not shown or has no height.
  virtual QSize ClientSize() const = 0;
  // Where the picture goes inside that area, in its pixels (the engine's
  // letterboxing). An empty rectangle hides the picture.
  virtual void SetDestinationRect(const QRect& rect) = 0;

  // Named settings of the renderer. "rotation": degrees clockwise (0, 90,
  // 180, 270). "flip": horizontal mirror (a vertical one is composed by the
  // engine from a half turn and this). "cmd_redraw": set true to repaint the
  // current frame. False for a name or value the renderer does not take.
  virtual bool SetInt(std::string_view name, int value) = 0;
  virtual bool SetBool(std::string_view name, bool value) = 0;

  // The colour controls (proc_amp.h): the range of one control (a single
  // ProcAmpFlag), and new values for the controls named in `flags`, the
  // others kept. A renderer without them answers false to both.
  virtual bool GetProcAmpRange(unsigned flag, ProcAmpRange* range) {
    (void)flag;
    (void)range;
    return false;
  }
  virtual bool SetProcAmpValues(unsigned flags, const ProcAmpValues& values) {
    (void)flags;
    (void)values;
    return false;
  }

  // "displayedImage": what the renderer last showed, as it appears on screen
  // (rotation, mirroring and overlays applied). Null when nothing was shown.
  virtual QImage DisplayedImage() = 0;
  // The current frame without the renderer's processing (no turn, mirror,
  // colour controls or overlay), at its display size; null when none.
  virtual QImage CurrentImage() { return {}; }
  // The picture area as the screen shows it, bars and all; null when it
  // cannot be read.
  virtual QImage GrabWindow() { return {}; }
};

}  // namespace zelvaro
