#include "engine/gst_ref.h"

#include <mutex>

namespace zelvaro {

void EnsureGStreamer() {
  static std::once_flag once;
  std::call_once(once, [] { gst_init(nullptr, nullptr); });
}

void WarmUpGStreamer() {
  EnsureGStreamer();
  // One factory per plugin is enough: loading it loads the plugin's module.
  static constexpr const char* kFactories[] = {
      "filesrc",   "parsebin",   "typefind",     "multiqueue", "qtdemux",     "matroskademux",
      "h264parse", "avdec_h264", "videoconvert", "appsink",    "audioconvert"};
  for (const char* name : kFactories) {
    GstElementFactory* factory = gst_element_factory_find(name);
    if (factory == nullptr) continue;
    if (GstPluginFeature* loaded = gst_plugin_feature_load(GST_PLUGIN_FEATURE(factory)))
      gst_object_unref(loaded);
    gst_object_unref(factory);
  }
}

ElementRef MakeElement(const char* factory, const char* name) {
  EnsureGStreamer();
  GstElement* element = gst_element_factory_make(factory, name);
  if (element == nullptr) return {};
  return ElementRef::Adopt(GST_ELEMENT(gst_object_ref_sink(element)));
}

const char* FactoryName(GstElement* element) {
  if (element == nullptr) return "";
  GstElementFactory* factory = gst_element_get_factory(element);
  return factory != nullptr ? GST_OBJECT_NAME(factory) : "";
}

bool SetPropertyIfPresent(GstElement* element, const char* property, int value) {
  GParamSpec* paramSpec = g_object_class_find_property(G_OBJECT_GET_CLASS(element), property);
  if (paramSpec == nullptr) return false;
  GValue gvalue = G_VALUE_INIT;
  g_value_init(&gvalue, G_TYPE_INT);
  g_value_set_int(&gvalue, value);
  GValue converted = G_VALUE_INIT;
  g_value_init(&converted, paramSpec->value_type);
  bool ok = g_value_transform(&gvalue, &converted);
  if (ok) g_object_set_property(G_OBJECT(element), property, &converted);
  g_value_unset(&converted);
  g_value_unset(&gvalue);
  return ok;
}

}  // namespace zelvaro
