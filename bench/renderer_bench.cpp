// What showing one 1080p frame costs on this machine's OpenGL (Mesa
// llvmpipe under Xvfb on a machine without a GPU): upload of the planes plus
// the draw, the draw alone, the CPU conversion of the path without OpenGL,
// and the whole way from PresentFrame to a painted window. Without a display
// it says so and exits 0.

#include "bench/playback_support.h"
#include "video/video_gl_drawer.h"
#include "video/video_gl_surface.h"
#include "video/video_renderer.h"
#include "video/yuv_convert.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>

#include <cstdio>
#include <functional>
#include <vector>

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

// A moving gradient, so no two frames are alike.
VideoFramePtr MakeFrame(VideoPixelFormat format, int seed) {
  const int chromaWidth = kWidth / 2, chromaHeight = kHeight / 2;
  auto buffer = std::make_shared<std::vector<uint8_t>>(size_t(kWidth) * kHeight * 3 / 2);
  uint8_t* y = buffer->data();
  uint8_t* chroma = y + size_t(kWidth) * kHeight;
  for (int row = 0; row < kHeight; ++row)
    for (int x = 0; x < kWidth; ++x) y[row * kWidth + x] = uint8_t(16 + (x + row + seed) % 220);
  for (size_t i = 0; i < size_t(chromaWidth) * chromaHeight * 2; ++i) chroma[i] = uint8_t(i + seed);
  auto frame = std::make_shared<VideoFrame>();
  frame->format = format;
  frame->width = kWidth;
  frame->height = kHeight;
  frame->matrix = VideoColorMatrix::Bt709;
  if (format == VideoPixelFormat::NV12) {
    frame->planes = {y, chroma, nullptr};
    frame->strides = {kWidth, kWidth, 0};
    frame->planeCount = 2;
  } else {
    frame->planes = {y, chroma, chroma + size_t(chromaWidth) * chromaHeight};
    frame->strides = {kWidth, chromaWidth, chromaWidth};
    frame->planeCount = 3;
  }
  frame->keepAlive = buffer;
  return frame;
}

double MsPerCall(int calls, const std::function<void(int)>& body) {
  QElapsedTimer timer;
  timer.start();
  for (int i = 0; i < calls; ++i) body(i);
  return timer.nsecsElapsed() / 1e6 / calls;
}

void BenchDrawer() {
  QOpenGLContext context;
  QOffscreenSurface surface;
  surface.create();
  if (!context.create() || !context.makeCurrent(&surface)) {
    std::printf("no OpenGL context: drawer figures skipped\n");
    return;
  }
  std::printf("OpenGL: %s, %s\n", context.functions()->glGetString(GL_VERSION),
              context.functions()->glGetString(GL_RENDERER));
  QOpenGLFramebufferObject target(kWidth, kHeight);
  target.bind();
  VideoGlDrawer drawer;
  if (!drawer.Initialize()) {
    std::printf("shaders do not build here: drawer figures skipped\n");
    return;
  }
  for (auto format : {VideoPixelFormat::I420, VideoPixelFormat::NV12}) {
    const char* name = format == VideoPixelFormat::I420 ? "I420" : "NV12";
    const VideoFramePtr frames[2] = {MakeFrame(format, 0), MakeFrame(format, 7)};
    VideoScene scene;
    scene.pictureRect = QRect(0, 0, kWidth, kHeight);
    scene.toRgb = MakeYuvToRgbMatrix(VideoColorMatrix::Bt709, VideoColorRange::Limited);
    auto drawFrame = [&](int i) {
      scene.frame = frames[i % 2];
      drawer.Draw(scene, 1.0, {kWidth, kHeight});
      context.functions()->glFinish();
    };
    drawFrame(0);  // first texture allocation
    const double uploadAndDraw = MsPerCall(60, drawFrame);
    const double drawOnly = MsPerCall(60, [&](int) { drawFrame(0); });
    std::printf("%s 1080p upload + draw into 1080p:      %7.2f ms\n", name, uploadAndDraw);
    std::printf("%s 1080p draw only (same frame):        %7.2f ms\n", name, drawOnly);
  }
  drawer.Release();
  target.release();
  context.doneCurrent();
}

void BenchCpuConversion() {
  const VideoFramePtr frame = MakeFrame(VideoPixelFormat::I420, 3);
  const YuvToRgbMatrix toRgb =
      MakeYuvToRgbMatrix(VideoColorMatrix::Bt709, VideoColorRange::Limited);
  const double ms = MsPerCall(20, [&](int) { ConvertFrameToRgb(*frame, toRgb); });
  std::printf("I420 1080p CPU conversion (no OpenGL):   %7.2f ms\n", ms);
}

void BenchWidget(bool painter, const QSize& windowSize) {
  if (painter) qputenv("ZELVARO_NO_OPENGL", "1");
  VideoRenderer renderer;
  renderer.resize(windowSize);
  renderer.show();
  const VideoFramePtr frames[2] = {MakeFrame(VideoPixelFormat::I420, 0),
                                   MakeFrame(VideoPixelFormat::I420, 5)};
  auto showFrame = [&](int i) {
    const uint64_t before = renderer.PaintCount();
    renderer.PresentFrame(frames[i % 2]);
    while (renderer.PaintCount() == before)
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
  };
  for (int i = 0; i < 5; ++i) showFrame(i);  // exposure and first allocations
  const double ms = MsPerCall(40, showFrame);
  std::printf("1080p PresentFrame to painted %dx%d window, %s: %7.2f ms\n", windowSize.width(),
              windowSize.height(),
              renderer.CurrentPath() == VideoRenderer::Path::OpenGl ? "OpenGL  " : "QPainter", ms);
  qunsetenv("ZELVARO_NO_OPENGL");
}

}  // namespace

int main(int argc, char** argv) {
  if (!DisplayAvailable(argv[0])) return 0;
  QApplication app(argc, argv);
  BenchCpuConversion();
  if (!OpenGlVideoAvailable()) {
    std::printf("no usable OpenGL on this display: OpenGL figures skipped\n");
  } else {
    BenchDrawer();
  }
  for (const QSize windowSize : {QSize(kWidth, kHeight), QSize(1280, 720)}) {
    if (OpenGlVideoAvailable()) BenchWidget(false, windowSize);
    BenchWidget(true, windowSize);
  }
  return 0;
}
