#include "video/yuv_shaders.h"

#include <QOpenGLContext>
#include <QSurfaceFormat>
#include <QSysInfo>

namespace zelvaro {
namespace {

constexpr char kVertexBody[] = R"(
in vec2 position;
in vec2 texCoord;
out vec2 vTexCoord;
void main() {
  vTexCoord = texCoord;
  gl_Position = vec4(position, 0.0, 1.0);
}
)";

constexpr char kYuvBody[] = R"(
in vec2 vTexCoord;
out vec4 fragColor;
uniform sampler2D planeY;
uniform sampler2D planeU;
uniform sampler2D planeV;
uniform mat4 yuvToRgb;
void main() {
  float y = texture(planeY, vTexCoord).r;
#ifdef INTERLEAVED_CHROMA
  vec2 uv = texture(planeU, vTexCoord).rg;
#else
  vec2 uv = vec2(texture(planeU, vTexCoord).r, texture(planeV, vTexCoord).r);
#endif
  vec3 rgb = (yuvToRgb * vec4(y, uv, 1.0)).rgb;
  fragColor = vec4(clamp(rgb, 0.0, 1.0), 1.0);
}
)";

// The overlay arrives as QImage premultiplied ARGB32 bytes uploaded as RGBA;
// the swizzle puts the channels back for either byte order.
constexpr char kOverlayBody[] = R"(
in vec2 vTexCoord;
out vec4 fragColor;
uniform sampler2D picture;
void main() {
  fragColor = texture(picture, vTexCoord).PICTURE_SWIZZLE;
}
)";

}  // namespace

QByteArray GlslHeader(const QOpenGLContext& context) {
  const QSurfaceFormat format = context.format();
  const int version = format.majorVersion() * 10 + format.minorVersion();
  if (context.isOpenGLES()) {
    return version >= 30 ? QByteArray("#version 300 es\nprecision highp float;\n") : QByteArray();
  }
  if (version >= 33) return "#version 330\n";
  if (version == 32) return "#version 150\n";
  if (version == 31) return "#version 140\n";
  if (version == 30) return "#version 130\n";
  return {};
}

QByteArray QuadVertexShader(const QByteArray& header) {
  return header + kVertexBody;
}

QByteArray YuvFragmentShader(const QByteArray& header, VideoPixelFormat format) {
  QByteArray source = header;
  if (format == VideoPixelFormat::NV12) source += "#define INTERLEAVED_CHROMA\n";
  return source + kYuvBody;
}

QByteArray OverlayFragmentShader(const QByteArray& header) {
  const QByteArray swizzle = QSysInfo::ByteOrder == QSysInfo::LittleEndian ? "bgra" : "gbar";
  return header + "#define PICTURE_SWIZZLE " + swizzle + "\n" + kOverlayBody;
}

}  // namespace zelvaro
