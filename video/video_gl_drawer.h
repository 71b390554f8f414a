#pragma once
// The OpenGL half of the renderer without the widget: shader programs, plane
// and overlay textures, and the drawing of one VideoScene into whatever
// framebuffer is bound (the widget's, or an offscreen one for the read-back).
//
// Every call needs the owning context current on the calling (interface)
// thread. Textures are uploaded only when the frame or the overlay picture
// changed since the last draw.

#include "video/video_scene.h"

#include <QOpenGLBuffer>
#include <QOpenGLFunctions>
#include <QOpenGLShaderProgram>
#include <QOpenGLVertexArrayObject>

#include <array>
#include <memory>
#include <vector>

namespace zelvaro {

class VideoGlDrawer : protected QOpenGLFunctions {
 public:
  VideoGlDrawer() = default;
  ~VideoGlDrawer();  // Release() must have run while the context was current
  VideoGlDrawer(const VideoGlDrawer&) = delete;
  VideoGlDrawer& operator=(const VideoGlDrawer&) = delete;

  // Compiles and links the shaders for the current context. False when the
  // context cannot run them; the caller then paints without OpenGL.
  bool Initialize();
  // Frees every GL object; the drawer can be initialised again afterwards.
  void Release();
  bool IsReady() const { return ready_; }

  // Clears to the background and draws the scene (only the background when
  // not ready). `scale` turns the scene's logical pixels into framebuffer pixels.
  void Draw(const VideoScene& scene, double scale, const QSize& framebufferSize);

 private:
  struct Texture {
    GLuint id = 0;
    QSize size;
    GLenum internalFormat = 0;
    GLint filter = 0;  // as last set on it
  };

  // A premultiplied picture blended over what is drawn, with the texture it
  // was last uploaded to.
  struct Layer {
    Texture texture;
    qint64 uploadedKey = 0;  // QImage::cacheKey of the uploaded picture
  };

  bool Link(QOpenGLShaderProgram& program, const QByteArray& vertex, const QByteArray& fragment);
  void UploadFrame(const VideoFrame& frame);
  // bytesPerPixel 1, 2 or 4 picks an R8, RG8 or RGBA8 texture.
  void UploadPlane(Texture& texture, const uint8_t* data, int strideBytes, int width, int height,
                   int bytesPerPixel);
  void DrawPicture(const VideoScene& scene, double scale, const QSize& framebufferSize);
  void DrawLayer(Layer& layer, const QImage& picture, const QRectF& target,
                 const QSize& framebufferSize);
  void SetFilter(Texture& texture, GLint filter);
  void DrawQuad(const QTransform& unitToFramebuffer, const QSize& framebufferSize);

  bool functionsReady_ = false;  // initializeOpenGLFunctions ran
  bool ready_ = false;           // shaders built, buffers made
  bool cpuRasterizer_ = false;   // the context draws with the CPU (llvmpipe and kin)
  std::unique_ptr<QOpenGLShaderProgram> i420Program_;
  std::unique_ptr<QOpenGLShaderProgram> nv12Program_;
  std::unique_ptr<QOpenGLShaderProgram> overlayProgram_;
  QOpenGLVertexArrayObject vertexArray_;
  QOpenGLBuffer vertexBuffer_{QOpenGLBuffer::VertexBuffer};
  std::array<Texture, 3> planes_;
  Layer overlayLayer_;               // the subtitle picture
  Layer foregroundLayer_;            // widgets over the picture
  std::vector<uint8_t> packedRows_;  // for strides GL cannot express

  VideoFramePtr uploadedFrame_;  // held so its address cannot be reused by a new frame
};

}  // namespace zelvaro
