#include "engine/lead_in_skip.h"

#include <cstring>

namespace zelvaro {
namespace {

// nal_unit_type 1 (slice), 2 (slice data partition A, which carries the
// header) and 5 (IDR slice).
bool IsSliceHeader(uint8_t header) {
  const int type = header & 0x1F;
  return type == 1 || type == 2 || type == 5;
}

// Walks the NAL headers of an access unit; false when one is malformed or a
// slice is a reference, otherwise whether a slice was seen at all.
class SliceCheck {
 public:
  bool Visit(uint8_t header) {
    if ((header & 0x80) != 0) return false;  // forbidden_zero_bit
    if (!IsSliceHeader(header)) return true;
    if ((header >> 5) != 0) return false;  // nal_ref_idc
    sawSlice_ = true;
    return true;
  }
  bool SawSlice() const { return sawSlice_; }

 private:
  bool sawSlice_ = false;
};

struct LeadIn {
  int lengthSize = 0;
  // Stream time from which frames are shown; none while there is nothing to
  // skip towards (no segment yet, or one played backwards). Segments and
  // buffers arrive on the same streaming thread, one after another.
  GstClockTime segmentStart = GST_CLOCK_TIME_NONE;
};

GstPadProbeReturn OnDecoderInput(GstPad*, GstPadProbeInfo* info, gpointer data) {
  auto* leadIn = static_cast<LeadIn*>(data);
  if ((info->type & GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM) != 0) {
    GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_SEGMENT) {
      const GstSegment* segment = nullptr;
      gst_event_parse_segment(event, &segment);
      const bool forward = segment->format == GST_FORMAT_TIME && segment->rate > 0;
      leadIn->segmentStart = forward ? segment->start : GST_CLOCK_TIME_NONE;
    }
    return GST_PAD_PROBE_OK;
  }
  GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
  if (buffer == nullptr || !GST_CLOCK_TIME_IS_VALID(leadIn->segmentStart) ||
      !GST_BUFFER_PTS_IS_VALID(buffer) || !GST_BUFFER_DURATION_IS_VALID(buffer) ||
      GST_BUFFER_PTS(buffer) + GST_BUFFER_DURATION(buffer) > leadIn->segmentStart) {
    return GST_PAD_PROBE_OK;
  }
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return GST_PAD_PROBE_OK;
  const bool disposable = IsDisposableH264AccessUnit(map.data, map.size, leadIn->lengthSize);
  gst_buffer_unmap(buffer, &map);
  return disposable ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

}  // namespace

bool IsDisposableH264AccessUnit(const uint8_t* data, size_t size, int lengthSize) {
  if (data == nullptr) return false;
  SliceCheck check;
  if (lengthSize != 0) {
    if (lengthSize != 1 && lengthSize != 2 && lengthSize != 4) return false;
    size_t at = 0;
    while (at < size) {
      if (size - at < static_cast<size_t>(lengthSize)) return false;
      size_t length = 0;
      for (int i = 0; i < lengthSize; ++i) length = (length << 8) | data[at + i];
      at += static_cast<size_t>(lengthSize);
      if (length == 0 || length > size - at || !check.Visit(data[at])) return false;
      at += length;
    }
    return check.SawSlice();
  }
  // Start codes: 00 00 01, the NAL header right after.
  for (size_t at = 0; at + 3 < size;) {
    if (data[at] == 0 && data[at + 1] == 0 && data[at + 2] == 1) {
      if (!check.Visit(data[at + 3])) return false;
      at += 4;
    } else {
      ++at;
    }
  }
  return check.SawSlice();
}

bool AddLeadInSkip(GstPad* decoderSink, const GstCaps* caps) {
  if (decoderSink == nullptr || caps == nullptr || gst_caps_is_empty(caps)) return false;
  const GstStructure* structure = gst_caps_get_structure(caps, 0);
  if (!gst_structure_has_name(structure, "video/x-h264")) return false;
  const char* alignment = gst_structure_get_string(structure, "alignment");
  const char* format = gst_structure_get_string(structure, "stream-format");
  if (alignment == nullptr || std::strcmp(alignment, "au") != 0 || format == nullptr) return false;
  int lengthSize = 0;
  if (std::strcmp(format, "avc") == 0 || std::strcmp(format, "avc3") == 0) {
    // avcC: lengthSizeMinusOne in the low bits of its fifth byte.
    const GValue* value = gst_structure_get_value(structure, "codec_data");
    GstBuffer* codecData = value != nullptr && G_VALUE_HOLDS(value, GST_TYPE_BUFFER)
                               ? gst_value_get_buffer(value)
                               : nullptr;
    guint8 fifth = 0;
    if (codecData == nullptr || gst_buffer_extract(codecData, 4, &fifth, 1) != 1) return false;
    lengthSize = (fifth & 0x03) + 1;
    if (lengthSize == 3) return false;
  } else if (std::strcmp(format, "byte-stream") != 0) {
    return false;
  }
  auto* leadIn = new LeadIn;
  leadIn->lengthSize = lengthSize;
  gst_pad_add_probe(
      decoderSink,
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
      &OnDecoderInput, leadIn, [](gpointer data) { delete static_cast<LeadIn*>(data); });
  return true;
}

}  // namespace zelvaro
