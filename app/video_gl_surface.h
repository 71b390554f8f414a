#pragma once
// The OpenGL face of VideoRenderer: a QOpenGLWidget child that fills it and
// draws the scene its owner decides, through VideoGlDrawer. Interface thread
// only. Owned by the VideoRenderer it is a child of.

#include "app/video_gl_drawer.h"
#include "app/video_scene.h"

#include <QOpenGLWidget>

#include <functional>

namespace zelvaro {

// Whether this process can show video with OpenGL: not when
// ZELVARO_NO_OPENGL=1, not on platforms without windows of their own
// (offscreen, minimal), and not when no context of at least OpenGL 3.0 or
// OpenGL ES 3.0 can be made. The platform probe runs once per process.
bool OpenGlVideoAvailable();

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
