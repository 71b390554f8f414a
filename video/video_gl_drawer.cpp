#include "video/video_gl_drawer.h"

#include "foundation/trace.h"
#include "video/video_geometry.h"
#include "video/video_gl_surface.h"
#include "video/video_palette.h"
#include "video/yuv_shaders.h"

#include <QMatrix4x4>
#include <QOpenGLContext>

#include <cstring>

namespace zelvaro {

VideoGlDrawer::~VideoGlDrawer() = default;

bool VideoGlDrawer::Initialize() {
  Release();
  QOpenGLContext* context = QOpenGLContext::currentContext();
  if (!context) return false;
  initializeOpenGLFunctions();
  functionsReady_ = true;
  const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  cpuRasterizer_ = renderer != nullptr && IsSoftwareRasterizer(QString::fromLatin1(renderer));
  const QByteArray header = GlslHeader(*context);
  if (header.isEmpty()) {
    Trace("Video renderer: OpenGL %d.%d%s is too old for the YUV shaders",
          context->format().majorVersion(), context->format().minorVersion(),
          context->isOpenGLES() ? " ES" : "");
    return false;
  }
  i420Program_ = std::make_unique<QOpenGLShaderProgram>();
  nv12Program_ = std::make_unique<QOpenGLShaderProgram>();
  overlayProgram_ = std::make_unique<QOpenGLShaderProgram>();
  const QByteArray vertex = QuadVertexShader(header);
  if (!Link(*i420Program_, vertex, YuvFragmentShader(header, VideoPixelFormat::I420)) ||
      !Link(*nv12Program_, vertex, YuvFragmentShader(header, VideoPixelFormat::NV12)) ||
      !Link(*overlayProgram_, vertex, OverlayFragmentShader(header))) {
    Release();
    return false;
  }
  for (auto* program : {i420Program_.get(), nv12Program_.get()}) {
    program->bind();
    program->setUniformValue("planeY", kPlaneUnitY);
    program->setUniformValue("planeU", kPlaneUnitU);
    program->setUniformValue("planeV", kPlaneUnitV);
    program->release();
  }
  overlayProgram_->bind();
  overlayProgram_->setUniformValue("picture", 0);
  overlayProgram_->release();

  // Core profiles need a vertex array object; compatibility ones work without.
  vertexArray_.create();
  if (!vertexBuffer_.create()) {
    Release();
    return false;
  }
  vertexBuffer_.setUsagePattern(QOpenGLBuffer::DynamicDraw);
  vertexBuffer_.bind();
  vertexBuffer_.allocate(16 * sizeof(GLfloat));
  vertexBuffer_.release();
  ready_ = true;
  Trace("Video renderer: OpenGL %d.%d%s, shaders ready", context->format().majorVersion(),
        context->format().minorVersion(), context->isOpenGLES() ? " ES" : "");
  return true;
}

bool VideoGlDrawer::Link(QOpenGLShaderProgram& program, const QByteArray& vertex,
                         const QByteArray& fragment) {
  program.bindAttributeLocation("position", kPositionAttribute);
  program.bindAttributeLocation("texCoord", kTexCoordAttribute);
  if (!program.addShaderFromSourceCode(QOpenGLShader::Vertex, vertex) ||
      !program.addShaderFromSourceCode(QOpenGLShader::Fragment, fragment) || !program.link()) {
    Trace("Video renderer: shader build failed: %s", qPrintable(program.log()));
    return false;
  }
  return true;
}

void VideoGlDrawer::Release() {
  ready_ = false;
  uploadedFrame_.reset();
  i420Program_.reset();
  nv12Program_.reset();
  overlayProgram_.reset();
  if (vertexBuffer_.isCreated()) vertexBuffer_.destroy();
  if (vertexArray_.isCreated()) vertexArray_.destroy();
  if (functionsReady_ && QOpenGLContext::currentContext()) {
    for (Texture* texture : {&planes_[0], &planes_[1], &planes_[2], &overlayLayer_.texture,
                             &foregroundLayer_.texture}) {
      if (texture->id) glDeleteTextures(1, &texture->id);
    }
  }
  planes_ = {};
  overlayLayer_ = {};
  foregroundLayer_ = {};
}

void VideoGlDrawer::Draw(const VideoScene& scene, double scale, const QSize& framebufferSize) {
  if (!functionsReady_) return;
  glViewport(0, 0, framebufferSize.width(), framebufferSize.height());
  glClearColor(kVideoBackground.redF(), kVideoBackground.greenF(), kVideoBackground.blueF(), 1.0f);
  glClear(GL_COLOR_BUFFER_BIT);
  if (!scene.frame) uploadedFrame_.reset();  // no longer keeps the engine's buffer
  if (!ready_ || framebufferSize.isEmpty()) return;
  if (scene.frame && !scene.pictureRect.isEmpty()) DrawPicture(scene, scale, framebufferSize);
  if (!scene.foreground.isNull() && !scene.foregroundRect.isEmpty()) {
    const QRectF target(scene.foregroundRect.x() * scale, scene.foregroundRect.y() * scale,
                        scene.foregroundRect.width() * scale,
                        scene.foregroundRect.height() * scale);
    DrawLayer(foregroundLayer_, scene.foreground, target, framebufferSize);
  }
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, 0);
}

void VideoGlDrawer::DrawPicture(const VideoScene& scene, double scale,
                                const QSize& framebufferSize) {
  const VideoFrame& frame = *scene.frame;
  if (scene.frame != uploadedFrame_) {
    UploadFrame(frame);
    uploadedFrame_ = scene.frame;
  }
  const QRectF target(scene.pictureRect.x() * scale, scene.pictureRect.y() * scale,
                      scene.pictureRect.width() * scale, scene.pictureRect.height() * scale);

  QOpenGLShaderProgram& program =
      frame.format == VideoPixelFormat::NV12 ? *nv12Program_ : *i420Program_;
  program.bind();
  const auto& m = scene.toRgb.m;
  program.setUniformValue("yuvToRgb", QMatrix4x4(m[0][0], m[0][1], m[0][2], m[0][3],  //
                                                 m[1][0], m[1][1], m[1][2], m[1][3],  //
                                                 m[2][0], m[2][1], m[2][2], m[2][3],  //
                                                 0, 0, 0, 1));
  // A CPU rasteriser pays for every filtered sample, and a picture shown
  // texel for texel gains nothing from filtering its luma: there chroma comes
  // from the nearest sample, as on the QPainter path. Anything scaled or
  // drawn by a GPU is filtered.
  const QSizeF upright = scene.rotationDeg % 180 == 0 ? target.size() : target.size().transposed();
  const bool texelForTexel = upright == QSizeF(frame.width, frame.height);
  const GLint filter = cpuRasterizer_ && texelForTexel ? GL_NEAREST : GL_LINEAR;
  const int planeCount = frame.format == VideoPixelFormat::NV12 ? 2 : 3;
  for (int i = 0; i < planeCount; ++i) {
    glActiveTexture(GL_TEXTURE0 + kPlaneUnitY + i);
    glBindTexture(GL_TEXTURE_2D, planes_[i].id);
    SetFilter(planes_[i], filter);
  }
  DrawQuad(PictureTransform(target, scene.rotationDeg, scene.flip), framebufferSize);
  program.release();

  if (!scene.overlay.isNull()) DrawLayer(overlayLayer_, scene.overlay, target, framebufferSize);
}

void VideoGlDrawer::DrawLayer(Layer& layer, const QImage& picture, const QRectF& target,
                              const QSize& framebufferSize) {
  glActiveTexture(GL_TEXTURE0);
  if (picture.cacheKey() != layer.uploadedKey || !layer.texture.id) {
    UploadPlane(layer.texture, picture.constBits(), int(picture.bytesPerLine()), picture.width(),
                picture.height(), 4);
    layer.uploadedKey = picture.cacheKey();
  }
  glBindTexture(GL_TEXTURE_2D, layer.texture.id);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);  // premultiplied source-over
  overlayProgram_->bind();
  DrawQuad(PictureTransform(target, 0, false), framebufferSize);
  overlayProgram_->release();
  glDisable(GL_BLEND);
}

void VideoGlDrawer::UploadFrame(const VideoFrame& frame) {
  const int chromaWidth = ChromaWidth(frame), chromaHeight = ChromaHeight(frame);
  UploadPlane(planes_[0], frame.planes[0], frame.strides[0], frame.width, frame.height, 1);
  if (frame.format == VideoPixelFormat::NV12) {
    UploadPlane(planes_[1], frame.planes[1], frame.strides[1], chromaWidth, chromaHeight, 2);
  } else {
    UploadPlane(planes_[1], frame.planes[1], frame.strides[1], chromaWidth, chromaHeight, 1);
    UploadPlane(planes_[2], frame.planes[2], frame.strides[2], chromaWidth, chromaHeight, 1);
  }
}

void VideoGlDrawer::UploadPlane(Texture& texture, const uint8_t* data, int strideBytes, int width,
                                int height, int bytesPerPixel) {
  GLenum internalFormat = GL_R8, format = GL_RED;
  if (bytesPerPixel == 2) internalFormat = GL_RG8, format = GL_RG;
  if (bytesPerPixel == 4) internalFormat = GL_RGBA8, format = GL_RGBA;

  if (!texture.id) {
    glGenTextures(1, &texture.id);
    glBindTexture(GL_TEXTURE_2D, texture.id);
    SetFilter(texture, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  }
  glBindTexture(GL_TEXTURE_2D, texture.id);

  // GL counts the row length in pixels; a stride that is not a whole number
  // of pixels (possible for interleaved chroma) is packed first.
  const uint8_t* source = data;
  int rowLengthPixels = strideBytes / bytesPerPixel;
  if (strideBytes % bytesPerPixel != 0) {
    const size_t rowBytes = size_t(width) * bytesPerPixel;
    packedRows_.resize(rowBytes * height);
    for (int row = 0; row < height; ++row)
      std::memcpy(packedRows_.data() + row * rowBytes, data + size_t(row) * strideBytes, rowBytes);
    source = packedRows_.data();
    rowLengthPixels = width;
  }
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, rowLengthPixels);
  if (texture.size != QSize(width, height) || texture.internalFormat != internalFormat) {
    glTexImage2D(GL_TEXTURE_2D, 0, GLint(internalFormat), width, height, 0, format,
                 GL_UNSIGNED_BYTE, source);
    texture.size = QSize(width, height);
    texture.internalFormat = internalFormat;
  } else {
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, GL_UNSIGNED_BYTE, source);
  }
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

// On the texture bound to the active unit.
void VideoGlDrawer::SetFilter(Texture& texture, GLint filter) {
  if (texture.filter == filter) return;
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
  texture.filter = filter;
}

void VideoGlDrawer::DrawQuad(const QTransform& unitToFramebuffer, const QSize& framebufferSize) {
  // Triangle strip over the unit square's corners: top-left, top-right,
  // bottom-left, bottom-right; each vertex keeps its corner as texture coordinate.
  static constexpr float kCorners[4][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  GLfloat vertices[16];
  for (int i = 0; i < 4; ++i) {
    const QPointF point = unitToFramebuffer.map(QPointF(kCorners[i][0], kCorners[i][1]));
    vertices[i * 4 + 0] = GLfloat(2.0 * point.x() / framebufferSize.width() - 1.0);
    vertices[i * 4 + 1] = GLfloat(1.0 - 2.0 * point.y() / framebufferSize.height());
    vertices[i * 4 + 2] = kCorners[i][0];
    vertices[i * 4 + 3] = kCorners[i][1];
  }
  QOpenGLVertexArrayObject::Binder vertexArrayBinder(&vertexArray_);
  vertexBuffer_.bind();
  vertexBuffer_.write(0, vertices, sizeof vertices);
  glEnableVertexAttribArray(kPositionAttribute);
  glEnableVertexAttribArray(kTexCoordAttribute);
  glVertexAttribPointer(kPositionAttribute, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(GLfloat), nullptr);
  glVertexAttribPointer(kTexCoordAttribute, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(GLfloat),
                        reinterpret_cast<const void*>(2 * sizeof(GLfloat)));
  glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
  glDisableVertexAttribArray(kPositionAttribute);
  glDisableVertexAttribArray(kTexCoordAttribute);
  vertexBuffer_.release();
}

}  // namespace zelvaro
