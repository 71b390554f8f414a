#include "app/video_gl_surface.h"

#include "app/palette.h"
#include "foundation/trace.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>

namespace zelvaro {
namespace {

bool ProbeOpenGl() {
  const QString platform = QGuiApplication::platformName();
  // QOpenGLWidget crashes inside Qt on these.
  if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal")) return false;
  QOpenGLContext context;
  if (!context.create()) return false;
  QOffscreenSurface surface;
  surface.setFormat(context.format());
  surface.create();
  if (!surface.isValid() || !context.makeCurrent(&surface)) return false;
  const QSurfaceFormat format = context.format();
  const bool usable = format.majorVersion() >= 3;
  Trace("Video renderer: probe found OpenGL%s %d.%d (%s)", context.isOpenGLES() ? " ES" : "",
        format.majorVersion(), format.minorVersion(),
        reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER)));
  context.doneCurrent();
  return usable;
}

}  // namespace

bool OpenGlVideoAvailable() {
  if (qEnvironmentVariable("ZELVARO_NO_OPENGL") == QLatin1String("1")) return false;
  static const bool available = ProbeOpenGl();
  return available;
}

VideoGlSurface::VideoGlSurface(SceneSource sceneForPaint, QWidget* parent)
    : QOpenGLWidget(parent), sceneForPaint_(std::move(sceneForPaint)) {
  // Clicks and drags on the picture belong to the renderer and its owners.
  setAttribute(Qt::WA_TransparentForMouseEvents);
}

VideoGlSurface::~VideoGlSurface() {
  // The context outlives this part of the object; its last signal must not
  // reach a half-destroyed surface.
  if (context()) disconnect(context(), nullptr, this, nullptr);
  if (isValid()) ReleaseGl();
}

void VideoGlSurface::initializeGL() {
  // A new context (first show, or the widget moved to another window) has
  // none of the old textures: the drawer starts again from nothing.
  connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &VideoGlSurface::ReleaseGl,
          Qt::UniqueConnection);
  if (!drawer_.Initialize()) {
    Trace("Video renderer: OpenGL cannot run the shaders, painting without it");
    emit Unusable();
  }
}

void VideoGlSurface::paintGL() {
  const double scale = devicePixelRatioF();
  const QSize framebufferSize(qRound(width() * scale), qRound(height() * scale));
  drawer_.Draw(sceneForPaint_(size()), scale, framebufferSize);
}

QImage VideoGlSurface::RenderToImage(const VideoScene& scene, const QSize& size) {
  if (!isValid() || !drawer_.IsReady() || size.isEmpty()) return {};
  makeCurrent();
  QImage image;
  {
    QOpenGLFramebufferObject framebuffer(size);
    if (framebuffer.isValid() && framebuffer.bind()) {
      drawer_.Draw(scene, 1.0, size);
      image = framebuffer.toImage();
      framebuffer.release();
    } else {
      ZELVARO_TRACE_FIRST(5, "Video renderer: no offscreen buffer of %dx%d for the read-back",
                          size.width(), size.height());
    }
  }
  doneCurrent();
  return image.isNull() ? image : image.convertToFormat(QImage::Format_RGB32);
}

void VideoGlSurface::ReleaseGl() {
  makeCurrent();
  drawer_.Release();
  doneCurrent();
}

}  // namespace zelvaro
