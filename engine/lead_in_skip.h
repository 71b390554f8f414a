#pragma once
// An exact seek lands between keyframes, and the decoder has to start at
// the keyframe before the target and decode its way there; the frames on
// the way are thrown away once decoded. Those that no other frame refers
// to (most B-frames) need not be decoded at all: dropping them in front of
// the decoder makes an exact seek faster by their share of the lead-in.
//
// Only H.264 is read (its NAL headers say which frames are references);
// other streams pass untouched.

#include <gst/gst.h>

#include <cstddef>
#include <cstdint>

namespace zelvaro {

// Whether an H.264 access unit holds slices and every slice is of a picture
// no other picture refers to (nal_ref_idc 0). `lengthSize` is the size of
// the NAL length prefix of the "avc" format (1, 2 or 4), or 0 for
// "byte-stream" with start codes. False for anything malformed.
bool IsDisposableH264AccessUnit(const uint8_t* data, size_t size, int lengthSize);

// Installs the drop on `decoderSink` when `caps` are parsed H.264 in access
// units: from each segment's start on, a disposable access unit that ends
// before that start is not passed on. False when the stream is not one of
// those.
bool AddLeadInSkip(GstPad* decoderSink, const GstCaps* caps);

}  // namespace zelvaro
