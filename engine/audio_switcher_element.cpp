// The AudioSwitcher element: GstAudioFilter subclass around NormalizeBoost.

#include "engine/audio_elements.h"

#include "engine/audio_dynamics.h"
#include "engine/audio_filter_support.h"

#include <algorithm>
#include <utility>

namespace {

struct ZelvaroAudioSwitcher {
  GstAudioFilter parent;
  zelvaro::NormalizeBoostParams params;  // guarded by the object lock
  bool resetPending;                     // guarded by the object lock
  zelvaro::NormalizeBoost* dynamics;     // streaming thread only
};

struct ZelvaroAudioSwitcherClass {
  GstAudioFilterClass parent;
};

enum SwitcherProperty { kPropNormalize = 1, kPropMaxNormFactor, kPropRecover, kPropBoost };

G_DEFINE_TYPE(ZelvaroAudioSwitcher, zelvaro_audio_switcher, GST_TYPE_AUDIO_FILTER)

ZelvaroAudioSwitcher* AsSwitcher(gpointer object) {
  return reinterpret_cast<ZelvaroAudioSwitcher*>(object);
}

// Called with the parameters just changed; outside the object lock.
void UpdatePassthrough(ZelvaroAudioSwitcher* self) {
  GST_OBJECT_LOCK(self);
  bool neutral = self->params.Neutral();
  // From untouched to working: the gain starts from unity, not from the
  // state of the last time the stage worked.
  if (neutral) self->resetPending = true;
  GST_OBJECT_UNLOCK(self);
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), neutral);
}

void SwitcherSetProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
  ZelvaroAudioSwitcher* self = AsSwitcher(object);
  GST_OBJECT_LOCK(self);
  switch (id) {
    case kPropNormalize:
      self->params.normalize = g_value_get_boolean(value);
      break;
    case kPropMaxNormFactor:
      self->params.maxFactor = static_cast<float>(g_value_get_uint(value)) / 100.0f;
      break;
    case kPropRecover:
      self->params.recover = g_value_get_boolean(value);
      break;
    case kPropBoost:
      self->params.boostFactor = 1.0f + static_cast<float>(g_value_get_uint(value)) / 100.0f;
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
      break;
  }
  GST_OBJECT_UNLOCK(self);
  UpdatePassthrough(self);
}

void SwitcherGetProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
  ZelvaroAudioSwitcher* self = AsSwitcher(object);
  GST_OBJECT_LOCK(self);
  switch (id) {
    case kPropNormalize:
      g_value_set_boolean(value, self->params.normalize);
      break;
    case kPropMaxNormFactor:
      g_value_set_uint(value, zelvaro::PercentOf(self->params.maxFactor));
      break;
    case kPropRecover:
      g_value_set_boolean(value, self->params.recover);
      break;
    case kPropBoost:
      g_value_set_uint(value, zelvaro::PercentOf(self->params.boostFactor - 1.0f));
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
      break;
  }
  GST_OBJECT_UNLOCK(self);
}

gboolean SwitcherSetup(GstAudioFilter* filter, const GstAudioInfo* info) {
  ZelvaroAudioSwitcher* self = AsSwitcher(filter);
  self->dynamics->Configure(GST_AUDIO_INFO_RATE(info));
  self->dynamics->Reset();
  return TRUE;
}

GstFlowReturn SwitcherTransformIp(GstBaseTransform* transform, GstBuffer* buffer) {
  ZelvaroAudioSwitcher* self = AsSwitcher(transform);
  GST_OBJECT_LOCK(self);
  zelvaro::NormalizeBoostParams params = self->params;
  bool reset = std::exchange(self->resetPending, false);
  GST_OBJECT_UNLOCK(self);
  if (reset) self->dynamics->Reset();
  if (params.Neutral()) return GST_FLOW_OK;
  return zelvaro::ProcessInPlace(GST_AUDIO_FILTER(transform), buffer,
                                 [&](float* samples, size_t frames, int channels) {
                                   self->dynamics->Process(samples, frames, channels, params);
                                 });
}

void SwitcherFinalize(GObject* object) {
  delete AsSwitcher(object)->dynamics;
  G_OBJECT_CLASS(zelvaro_audio_switcher_parent_class)->finalize(object);
}

void zelvaro_audio_switcher_init(ZelvaroAudioSwitcher* self) {
  self->params = zelvaro::NormalizeBoostParams{};
  self->resetPending = false;
  self->dynamics = new zelvaro::NormalizeBoost();
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), TRUE);
}

void zelvaro_audio_switcher_class_init(ZelvaroAudioSwitcherClass* klass) {
  GObjectClass* objectClass = G_OBJECT_CLASS(klass);
  objectClass->set_property = SwitcherSetProperty;
  objectClass->get_property = SwitcherGetProperty;
  objectClass->finalize = SwitcherFinalize;
  auto flags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
  g_object_class_install_property(
      objectClass, kPropNormalize,
      g_param_spec_boolean("normalize", "Normalize", "Raise quiet passages", FALSE, flags));
  g_object_class_install_property(
      objectClass, kPropMaxNormFactor,
      g_param_spec_uint("max-norm-factor", "Maximum factor",
                        "Highest normalisation gain in percent (100 is 1.0)", 100, 1000, 400,
                        flags));
  g_object_class_install_property(
      objectClass, kPropRecover,
      g_param_spec_boolean("recover", "Recover", "Regain gain after a peak", TRUE, flags));
  g_object_class_install_property(
      objectClass, kPropBoost,
      g_param_spec_uint("boost", "Boost", "Extra gain in percent (100 doubles)", 0, 300, 0, flags));

  zelvaro::InitInPlaceFloatFilterClass(GST_AUDIO_FILTER_CLASS(klass), "Zelvaro AudioSwitcher",
                                       "Loudness normalisation and boost without clipping",
                                       SwitcherTransformIp, SwitcherSetup);
}

}  // namespace

namespace zelvaro {

GType AudioSwitcherType() {
  return zelvaro_audio_switcher_get_type();
}

bool IsAudioSwitcher(GstElement* element) {
  return element != nullptr && G_TYPE_CHECK_INSTANCE_TYPE(element, AudioSwitcherType());
}

bool SetNormalizeBoost2(GstElement* element, bool normalize, unsigned maxNormFactor, bool recover,
                        unsigned boost) {
  if (!IsAudioSwitcher(element)) return false;
  ZelvaroAudioSwitcher* self = AsSwitcher(element);
  // One lock for all four, so no buffer sees half of a change.
  GST_OBJECT_LOCK(self);
  self->params.normalize = normalize;
  self->params.maxFactor = static_cast<float>(std::clamp(maxNormFactor, 100u, 1000u)) / 100.0f;
  self->params.recover = recover;
  self->params.boostFactor = 1.0f + static_cast<float>(std::min(boost, 300u)) / 100.0f;
  GST_OBJECT_UNLOCK(self);
  UpdatePassthrough(self);
  return true;
}

}  // namespace zelvaro
