#pragma once
// The OpenGL face of VideoRenderer: a native OpenGL window, embedded in the
// renderer by a window container, that draws the scene its owner decides
// through VideoGlDrawer. Interface thread only.
//
// A window of its own rather than a QOpenGLWidget: the widget draws into a
// framebuffer that the toolkit then composes into the top-level window, a
// second pass over every pixel of every frame. On a software rasteriser that
// pass cost as much as the picture (bench_playback_window: 36 CPU s for 20 s
// of 1080p against 15 s drawn straight into a window). The price is that no
// widget can paint over this window: the renderer draws its own child
// widgets into the scene instead, and the window takes no input or focus, so
// clicks, wheel turns, drops and keys reach the widgets beneath as before.

#include "video/video_gl_drawer.h"
#include "video/video_scene.h"

#include <QOpenGLWindow>
#include <QStringView>

#include <functional>

namespace zelvaro {

// Whether this process can show video with OpenGL: not when
// ZELVARO_NO_OPENGL=1, not on platforms without windows of their own
// (offscreen, minimal), and not when no context of at least OpenGL 3.0 or
// OpenGL ES 3.0 can be made. The platform probe runs once per process.
bool OpenGlVideoAvailable();

// Whether the renderer should take OpenGL: available, and either done by
// hardware or forced. Environment read at each call, the probe once; on a
// machine without a GPU device node there is no probe at all.
bool ChooseOpenGlVideo();

// The environment's word on OpenGL: ZELVARO_NO_OPENGL=1 is Never,
// ZELVARO_OPENGL=force is Force (Never wins when both are set).
enum class OpenGlOverride { Auto, Force, Never };
OpenGlOverride OpenGlOverrideFromEnvironment();

// True when a GL_RENDERER string names a rasteriser that runs on the CPU
// (Mesa's llvmpipe, softpipe and swrast), case ignored.
bool IsSoftwareRasterizer(QStringView glRenderer);

// The choice itself: a software rasteriser turns YUV into pixels with the
// CPU anyway, at several times the cost of the QPainter path.
bool PreferOpenGl(bool openGlUsable, bool softwareRasterizer, OpenGlOverride overrideChoice);

class VideoGlSurface : public QOpenGLWindow {
  Q_OBJECT
 public:
  // `sceneForPaint` is asked, at each paint, what to show in an area of the
  // given logical size.
  using SceneSource = std::function<VideoScene(const QSize& areaSize)>;

  explicit VideoGlSurface(SceneSource sceneForPaint);
  ~VideoGlSurface() override;

  // Draws `scene` into an offscreen image of `size` pixels; null when OpenGL
  // is not ready or the offscreen buffer cannot be made.
  QImage RenderToImage(const VideoScene& scene, const QSize& size);

 signals:
  // The context came up but cannot run the shaders. Emitted from
  // initializeGL; connect it queued, since the owner replaces this window.
  void Unusable();

 protected:
  void initializeGL() override;
  void paintGL() override;

 private:
  void ReleaseGl();

  SceneSource sceneForPaint_;
  VideoGlDrawer drawer_;
};

}  // namespace zelvaro
