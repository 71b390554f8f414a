#pragma once
// Draws one plain cue the way the fall-back path always has: bold white text
// with a dark shadow at the bottom of the picture, made opaque pixel by
// pixel, the user's style not applied. Used only when libass could not read
// the file. Needs a QGuiApplication for fonts; without one it draws nothing.
// Reentrant (QPainter on a QImage works on any thread).

#include "subtitles/subpic.h"

#include <QString>

namespace zelvaro {

// Returns whether anything was drawn; grows `bbox` over the drawn pixels.
bool DrawCueText(const QString& text, const SubPicDesc& target, SubPicRect* bbox);

}  // namespace zelvaro
