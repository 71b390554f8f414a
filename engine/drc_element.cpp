// The DRC stage: GstAudioFilter subclass around Compressor, the stand-in for
// the audio decoder's dynamic range compression (LAV_DRCEnabled,
// LAV_DRCLevel).

#include "engine/audio_dynamics.h"
#include "engine/audio_elements.h"
#include "engine/audio_filter_support.h"

#include <algorithm>

namespace {

struct ZelvaroDrc {
  GstAudioFilter parent;
  zelvaro::CompressorParams params;  // guarded by the object lock
  zelvaro::Compressor* dynamics;     // streaming thread only
};

struct ZelvaroDrcClass {
  GstAudioFilterClass parent;
};

enum DrcProperty { kPropEnabled = 1, kPropLevel };

G_DEFINE_TYPE(ZelvaroDrc, zelvaro_drc, GST_TYPE_AUDIO_FILTER)

ZelvaroDrc* AsDrc(gpointer object) {
  return reinterpret_cast<ZelvaroDrc*>(object);
}

void UpdatePassthrough(ZelvaroDrc* self) {
  GST_OBJECT_LOCK(self);
  bool neutral = self->params.Neutral();
  GST_OBJECT_UNLOCK(self);
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), neutral);
}

void DrcSetProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
  ZelvaroDrc* self = AsDrc(object);
  GST_OBJECT_LOCK(self);
  switch (id) {
    case kPropEnabled:
      self->params.enabled = g_value_get_boolean(value);
      break;
    case kPropLevel:
      self->params.level = g_value_get_int(value);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
      break;
  }
  GST_OBJECT_UNLOCK(self);
  UpdatePassthrough(self);
}

void DrcGetProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
  ZelvaroDrc* self = AsDrc(object);
  GST_OBJECT_LOCK(self);
  switch (id) {
    case kPropEnabled:
      g_value_set_boolean(value, self->params.enabled);
      break;
    case kPropLevel:
      g_value_set_int(value, self->params.level);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
      break;
  }
  GST_OBJECT_UNLOCK(self);
}

gboolean DrcSetup(GstAudioFilter* filter, const GstAudioInfo* info) {
  ZelvaroDrc* self = AsDrc(filter);
  self->dynamics->Configure(GST_AUDIO_INFO_RATE(info));
  self->dynamics->Reset();
  return TRUE;
}

GstFlowReturn DrcTransformIp(GstBaseTransform* transform, GstBuffer* buffer) {
  ZelvaroDrc* self = AsDrc(transform);
  GST_OBJECT_LOCK(self);
  zelvaro::CompressorParams params = self->params;
  GST_OBJECT_UNLOCK(self);
  if (params.Neutral()) return GST_FLOW_OK;
  return zelvaro::ProcessInPlace(GST_AUDIO_FILTER(transform), buffer,
                                 [&](float* samples, size_t frames, int channels) {
                                   self->dynamics->Process(samples, frames, channels, params);
                                 });
}

void DrcFinalize(GObject* object) {
  delete AsDrc(object)->dynamics;
  G_OBJECT_CLASS(zelvaro_drc_parent_class)->finalize(object);
}

void zelvaro_drc_init(ZelvaroDrc* self) {
  self->params = zelvaro::CompressorParams{};
  self->dynamics = new zelvaro::Compressor();
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), TRUE);
}

void zelvaro_drc_class_init(ZelvaroDrcClass* klass) {
  GObjectClass* objectClass = G_OBJECT_CLASS(klass);
  objectClass->set_property = DrcSetProperty;
  objectClass->get_property = DrcGetProperty;
  objectClass->finalize = DrcFinalize;
  auto flags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
  g_object_class_install_property(
      objectClass, kPropEnabled,
      g_param_spec_boolean("enabled", "Enabled", "Compress the dynamic range", FALSE, flags));
  g_object_class_install_property(
      objectClass, kPropLevel,
      g_param_spec_int("level", "Level", "How much compression: 0 none, 100 full (4:1)", 0, 100,
                       100, flags));

  zelvaro::InitInPlaceFloatFilterClass(GST_AUDIO_FILTER_CLASS(klass), "Zelvaro DRC",
                                       "Dynamic range compression above -20 dBFS", DrcTransformIp,
                                       DrcSetup);
}

}  // namespace

namespace zelvaro {

GType DrcType() {
  return zelvaro_drc_get_type();
}

bool SetDRC(GstElement* element, bool enabled, int level) {
  if (element == nullptr || !G_TYPE_CHECK_INSTANCE_TYPE(element, DrcType())) return false;
  ZelvaroDrc* self = AsDrc(element);
  GST_OBJECT_LOCK(self);
  self->params.enabled = enabled;
  self->params.level = std::clamp(level, 0, 100);
  GST_OBJECT_UNLOCK(self);
  UpdatePassthrough(self);
  return true;
}

bool GetDRC(GstElement* element, bool* enabled, int* level) {
  if (element == nullptr || !G_TYPE_CHECK_INSTANCE_TYPE(element, DrcType()) || enabled == nullptr ||
      level == nullptr) {
    return false;
  }
  ZelvaroDrc* self = AsDrc(element);
  GST_OBJECT_LOCK(self);
  *enabled = self->params.enabled;
  *level = self->params.level;
  GST_OBJECT_UNLOCK(self);
  return true;
}

}  // namespace zelvaro
