#include "engine/audio_filter_support.h"

#include "engine/audio_elements.h"
#include "engine/gst_ref.h"

#include <mutex>

namespace zelvaro {

void InitInPlaceFloatFilterClass(GstAudioFilterClass* klass, const char* longName,
                                 const char* description,
                                 GstFlowReturn (*transformIp)(GstBaseTransform*, GstBuffer*),
                                 gboolean (*setup)(GstAudioFilter*, const GstAudioInfo*)) {
  gst_element_class_set_static_metadata(GST_ELEMENT_CLASS(klass), longName, "Filter/Effect/Audio",
                                        description, "Zelvaro");
  CapsRef caps = CapsRef::Adopt(gst_caps_from_string("audio/x-raw, format=(string)" GST_AUDIO_NE(
      F32) ", layout=(string)interleaved, "
           "rate=(int)[1, MAX], channels=(int)[1, MAX]"));
  gst_audio_filter_class_add_pad_templates(klass, caps.get());
  GST_BASE_TRANSFORM_CLASS(klass)->transform_ip = transformIp;
  GST_BASE_TRANSFORM_CLASS(klass)->transform_ip_on_passthrough = FALSE;
  klass->setup = setup;
}

GstFlowReturn ProcessInPlace(GstAudioFilter* filter, GstBuffer* buffer,
                             const std::function<void(float*, size_t, int)>& process) {
  int channels = GST_AUDIO_INFO_CHANNELS(&filter->info);
  if (channels <= 0) return GST_FLOW_NOT_NEGOTIATED;
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READWRITE)) return GST_FLOW_ERROR;
  size_t frames = map.size / (sizeof(float) * static_cast<size_t>(channels));
  process(reinterpret_cast<float*>(map.data), frames, channels);
  gst_buffer_unmap(buffer, &map);
  return GST_FLOW_OK;
}

bool RegisterAudioElements() {
  static bool registered = false;
  static std::once_flag once;
  std::call_once(once, [] {
    EnsureGStreamer();
    registered =
        gst_element_register(nullptr, kAudioSwitcherFactory, GST_RANK_NONE, AudioSwitcherType()) &&
        gst_element_register(nullptr, kDrcFactory, GST_RANK_NONE, DrcType());
  });
  return registered;
}

}  // namespace zelvaro
