#pragma once
// The blender from libass's list of coverage masks to premultiplied BGRA.
// Reentrant.

#include "subtitles/subpic.h"

#include <ass/ass.h>

namespace zelvaro {

// Draws each image of the list over `target` in list order, source-over on
// premultiplied pixels, clipped to the target; grows `bbox` over each clipped
// image rectangle. Images with no size or no bitmap are skipped.
void BlendAssImages(const ASS_Image* images, const SubPicDesc& target, SubPicRect* bbox);

}  // namespace zelvaro
