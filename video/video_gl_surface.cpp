#include "video/video_gl_surface.h"

#include "foundation/trace.h"
#include "video/video_palette.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>

#include <filesystem>
#include <string>

namespace zelvaro {
namespace {

struct OpenGlProbe {
  bool usable = false;
  bool software = false;
};

OpenGlProbe ProbeOpenGl() {
  const QString platform = QGuiApplication::platformName();
  // No native windows to draw into on these.
  if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal")) return {};
  QOpenGLContext context;
  if (!context.create()) return {};
  QOffscreenSurface surface;
  surface.setFormat(context.format());
  surface.create();
  if (!surface.isValid() || !context.makeCurrent(&surface)) return {};
  const QSurfaceFormat format = context.format();
  const char* renderer =
      reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER));
  OpenGlProbe probe;
  probe.usable = format.majorVersion() >= 3;
  probe.software = IsSoftwareRasterizer(QString::fromLatin1(renderer ? renderer : ""));
  Trace("Video renderer: probe found OpenGL%s %d.%d (%s%s)", context.isOpenGLES() ? " ES" : "",
        format.majorVersion(), format.minorVersion(), renderer ? renderer : "?",
        probe.software ? ", software" : "");
  context.doneCurrent();
  return probe;
}

const OpenGlProbe& ProbeOnce() {
  static const OpenGlProbe probe = ProbeOpenGl();
  return probe;
}

// A device a hardware OpenGL could drive: a DRM node (every Mesa hardware
// driver, and NVIDIA's with modesetting) or NVIDIA's control device. Without
// one the only OpenGL is a software rasteriser, and the probe, which loads
// the driver (about 100 ms on a 2-core machine), can be skipped.
bool HasGpuDevice() {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/dri", error)) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with("renderD") || name.starts_with("card")) return true;
  }
  return std::filesystem::exists("/dev/nvidiactl", error);
}

}  // namespace

OpenGlOverride OpenGlOverrideFromEnvironment() {
  if (qEnvironmentVariable("ZELVARO_NO_OPENGL") == QLatin1String("1")) return OpenGlOverride::Never;
  if (qEnvironmentVariable("ZELVARO_OPENGL") == QLatin1String("force"))
    return OpenGlOverride::Force;
  return OpenGlOverride::Auto;
}

bool IsSoftwareRasterizer(QStringView glRenderer) {
  for (const char* name : {"llvmpipe", "softpipe", "swrast", "software rasterizer"}) {
    if (glRenderer.contains(QLatin1String(name), Qt::CaseInsensitive)) return true;
  }
  return false;
}

bool PreferOpenGl(bool openGlUsable, bool softwareRasterizer, OpenGlOverride overrideChoice) {
  switch (overrideChoice) {
    case OpenGlOverride::Never:
      return false;
    case OpenGlOverride::Force:
      return openGlUsable;
    case OpenGlOverride::Auto:
      break;
  }
  return openGlUsable && !softwareRasterizer;
}

bool OpenGlVideoAvailable() {
  if (OpenGlOverrideFromEnvironment() == OpenGlOverride::Never) return false;
  return ProbeOnce().usable;
}

bool ChooseOpenGlVideo() {
  const OpenGlOverride overrideChoice = OpenGlOverrideFromEnvironment();
  if (overrideChoice == OpenGlOverride::Never) return false;
  if (overrideChoice == OpenGlOverride::Auto && !HasGpuDevice()) {
    ZELVARO_TRACE_FIRST(1, "Video renderer: no GPU device, so no hardware OpenGL to probe");
    return false;
  }
  const OpenGlProbe& probe = ProbeOnce();
  return PreferOpenGl(probe.usable, probe.software, overrideChoice);
}

VideoGlSurface::VideoGlSurface(SceneSource sceneForPaint)
    : sceneForPaint_(std::move(sceneForPaint)) {
  // Clicks, drags and drops on the picture belong to the renderer and its
  // owners, and the keyboard to the window around it.
  setFlag(Qt::WindowTransparentForInput);
  setFlag(Qt::WindowDoesNotAcceptFocus);
}

VideoGlSurface::~VideoGlSurface() {
  // The context outlives this part of the object; its last signal must not
  // reach a half-destroyed surface.
  if (context()) disconnect(context(), nullptr, this, nullptr);
  if (isValid()) ReleaseGl();
}

void VideoGlSurface::initializeGL() {
  // A new context has none of the old textures: the drawer starts again
  // from nothing.
  connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &VideoGlSurface::ReleaseGl,
          Qt::UniqueConnection);
  if (!drawer_.Initialize()) {
    Trace("Video renderer: OpenGL cannot run the shaders, painting without it");
    emit Unusable();
  }
}

void VideoGlSurface::paintGL() {
  const double scale = devicePixelRatio();
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
