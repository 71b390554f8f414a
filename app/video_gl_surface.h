#pragma once
// The OpenGL face of VideoRenderer: a QOpenGLWidget child that fills it and
// draws the scene its owner decides, through VideoGlDrawer. Interface thread
// only. Owned by the VideoRenderer it is a child of.

#include "app/video_gl_drawer.h"
#include "app/video_scene.h"

#include <QOpenGLWidget>
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

class VideoGlSurface : public QOpenGLWidget {
  Q_OBJECT
 public:
  // `sceneForPaint` is asked, at each paint, what to show in an area of the
  // given logical size.
  using SceneSource = std::function<VideoScene(const QSize& areaSize)>;

  VideoGlSurface(SceneSource sceneForPaint, QWidget* parent);
  ~VideoGlSurface() override;

  // Draws `scene` into an offscreen image of `size` pixels; null when OpenGL
  // is not ready or the offscreen buffer cannot be made.
  QImage RenderToImage(const VideoScene& scene, const QSize& size);

 signals:
  // The context came up but cannot run the shaders. Emitted from
  // initializeGL; connect it queued, since the owner replaces this widget.
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
