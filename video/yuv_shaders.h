#pragma once
// The renderer's shader sources: one vertex shader for every quad, a
// fragment shader per pixel layout that applies the YUV-to-RGB matrix, and
// one for the premultiplied overlay picture.
//
// The GLSL is written in the subset shared by desktop GLSL 1.30 to 3.30 and
// GLSL ES 3.00; GlslHeader picks the version line for the running context.

#include "engine/video_frame.h"

#include <QByteArray>

class QOpenGLContext;

namespace zelvaro {

// Attribute locations bound before linking.
inline constexpr int kPositionAttribute = 0;
inline constexpr int kTexCoordAttribute = 1;

// Texture units of the planes: Y, then U (or interleaved UV), then V.
inline constexpr int kPlaneUnitY = 0;
inline constexpr int kPlaneUnitU = 1;
inline constexpr int kPlaneUnitV = 2;

// The "#version" line and precision for `context`; empty when the context
// lacks what the shaders need (OpenGL 3.0 or OpenGL ES 3.0: R8 and RG8
// textures, unpack row length).
QByteArray GlslHeader(const QOpenGLContext& context);

QByteArray QuadVertexShader(const QByteArray& header);
QByteArray YuvFragmentShader(const QByteArray& header, VideoPixelFormat format);
QByteArray OverlayFragmentShader(const QByteArray& header);

}  // namespace zelvaro
