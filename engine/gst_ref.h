#pragma once
// Owning references to GStreamer objects: elements, pads and buses (GstObject
// reference counts) and caps, samples, buffers and messages (mini-object
// counts). Copying a reference adds one, destroying it drops one; no release
// call appears anywhere else in the engine.
//
//   ElementRef decoder = MakeElement("avdec_h264");  // floating ref taken over
//   CapsRef caps = CapsRef::Adopt(gst_pad_get_current_caps(pad));
//   PadRef peer = PadRef::Share(borrowedPad);       // adds a reference

#include "foundation/c_handle.h"

#include <gst/gst.h>

#include <utility>

namespace zelvaro {

struct GstObjectRefTraits {
  static void Ref(gpointer object) { gst_object_ref(object); }
  static void Unref(gpointer object) { gst_object_unref(object); }
};

struct GstMiniObjectRefTraits {
  static void Ref(gpointer object) { gst_mini_object_ref(GST_MINI_OBJECT_CAST(object)); }
  static void Unref(gpointer object) { gst_mini_object_unref(GST_MINI_OBJECT_CAST(object)); }
};

template <typename T, typename Traits>
class GstRef {
 public:
  GstRef() = default;
  // Takes over a reference the caller already owns (a "transfer full" result).
  static GstRef Adopt(T* object) {
    GstRef ref;
    ref.object_ = object;
    return ref;
  }
  // Adds a reference to a borrowed object ("transfer none").
  static GstRef Share(T* object) {
    if (object != nullptr) Traits::Ref(object);
    return Adopt(object);
  }

  GstRef(const GstRef& other) : object_(other.object_) {
    if (object_ != nullptr) Traits::Ref(object_);
  }
  GstRef(GstRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  GstRef& operator=(GstRef other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~GstRef() { Reset(); }

  T* get() const { return object_; }
  // Hands the reference to the caller, who must drop it.
  T* Release() { return std::exchange(object_, nullptr); }
  void Reset() {
    if (T* object = std::exchange(object_, nullptr)) Traits::Unref(object);
  }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  T* object_ = nullptr;
};

using ElementRef = GstRef<GstElement, GstObjectRefTraits>;
using PadRef = GstRef<GstPad, GstObjectRefTraits>;
using BusRef = GstRef<GstBus, GstObjectRefTraits>;
using CapsRef = GstRef<GstCaps, GstMiniObjectRefTraits>;
using SampleRef = GstRef<GstSample, GstMiniObjectRefTraits>;

using GErrorHandle = CHandle<GError, g_error_free>;
using GCharHandle = CHandle<gchar, g_free>;

// gst_init, once per process, from whichever thread comes first.
void EnsureGStreamer();

// EnsureGStreamer, then loads the plugins every local file goes through
// (parsing, the common demuxers, the software decoders, the video branch),
// so the first open does not wait for them. Blocking, safe from any thread;
// the executable runs it on a thread of its own while the window comes up.
void WarmUpGStreamer();

// Creates an element by factory name, owning it (the floating reference is
// sunk). Null when no such factory is installed.
ElementRef MakeElement(const char* factory, const char* name = nullptr);

// The factory name of an element ("avdec_h264"); empty for none.
const char* FactoryName(GstElement* element);

// Sets a property only if the element has it, so one configuration step can
// serve decoders of different families.
bool SetPropertyIfPresent(GstElement* element, const char* property, int value);

}  // namespace zelvaro
