#include "engine/audio_chain.h"

#include "engine/audio_elements.h"
#include "foundation/trace.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

namespace zelvaro {
namespace {

bool IsFakeSink(GstElement* element) {
  return std::strcmp(FactoryName(element), "fakesink") == 0;
}

// autoaudiosink keeps an internal fake sink when no real one opens; find it.
bool HoldsFakeSink(GstElement* bin) {
  bool fake = false;
  GstIterator* iterator = gst_bin_iterate_elements(GST_BIN(bin));
  GValue item = G_VALUE_INIT;
  while (gst_iterator_next(iterator, &item) == GST_ITERATOR_OK) {
    if (IsFakeSink(GST_ELEMENT(g_value_get_object(&item)))) fake = true;
    g_value_reset(&item);
  }
  g_value_unset(&item);
  gst_iterator_free(iterator);
  return fake;
}

// Leaves an element out of the branch: stopped, unlinked, out of the bin.
void Drop(GstBin* bin, ElementRef& element) {
  if (!element) return;
  if (GST_OBJECT_PARENT(element.get()) == GST_OBJECT(bin)) {
    gst_element_set_state(element.get(), GST_STATE_NULL);
    gst_bin_remove(bin, element.get());
  }
  element.Reset();
}

bool SinkLinked(GstElement* element) {
  PadRef pad = PadRef::Adopt(gst_element_get_static_pad(element, "sink"));
  return pad && gst_pad_is_linked(pad.get());
}

// The channel stage LAV's mixer and mono expansion stand for, as caps that
// audioconvert must meet; null when neither is asked for.
ElementRef MakeChannelStage(const GstCaps* caps, const AudioDecoderSettings& settings) {
  GstStructure* wanted = nullptr;
  if (settings.mixing.value_or(false)) {
    uint32_t layout = settings.mixingLayout.value_or(0x3);
    int channels = std::popcount(layout);
    if (channels <= 0) return {};
    wanted = gst_structure_new("audio/x-raw", "channels", G_TYPE_INT, channels, nullptr);
    if (channels > 2) {
      gst_structure_set(wanted, "channel-mask", GST_TYPE_BITMASK, static_cast<guint64>(layout),
                        nullptr);
    }
  } else if (settings.expandMono.value_or(false)) {
    int channels = 0;
    if (caps != nullptr && !gst_caps_is_empty(caps)) {
      gst_structure_get_int(gst_caps_get_structure(caps, 0), "channels", &channels);
    }
    if (channels != 1) return {};
    wanted = gst_structure_new("audio/x-raw", "channels", G_TYPE_INT, 2, nullptr);
  } else {
    return {};
  }
  ElementRef filter = MakeElement("capsfilter", "audio_channels");
  CapsRef filterCaps = CapsRef::Adopt(gst_caps_new_full(wanted, nullptr));
  if (filter) g_object_set(filter.get(), "caps", filterCaps.get(), nullptr);
  return filter;
}

ElementRef MakeDrcStage(const AudioDecoderSettings& settings) {
  ElementRef drc = MakeElement(kDrcFactory, "audio_drc");
  if (!drc) {
    Trace("DRC stage not available; going on without compression");
    return {};
  }
  SetDRC(drc.get(), settings.drcEnabled.value_or(false), static_cast<int>(settings.drcLevel));
  return drc;
}

ElementRef MakeOptionalStage(const std::string& factory, const char* name) {
  if (factory.empty()) return {};
  ElementRef stage = MakeElement(factory.c_str(), name);
  if (!stage) Trace("Audio stage %s not available; going on without it", factory.c_str());
  return stage;
}

}  // namespace

ElementRef CreateAudioRenderer(bool* isNullSink) {
  if (ElementRef desktop = MakeElement("autoaudiosink", "audio_renderer")) {
    bool opened = gst_element_set_state(desktop.get(), GST_STATE_READY) != GST_STATE_CHANGE_FAILURE;
    bool real = opened && !HoldsFakeSink(desktop.get());
    // Back to NULL: the graph takes it up again, and a dropped element must
    // not be left in READY.
    gst_element_set_state(desktop.get(), GST_STATE_NULL);
    if (real) {
      *isNullSink = false;
      return desktop;
    }
  }
  Trace("No audio device; audio goes to a clock-synchronised null sink");
  *isNullSink = true;
  ElementRef null = MakeElement("fakesink", "audio_renderer");
  if (null) g_object_set(null.get(), "sync", TRUE, nullptr);
  return null;
}

double VolumeGain(long level) {
  constexpr long kSilence = -10000;
  return level <= kSilence ? 0.0 : std::pow(10.0, static_cast<double>(level) / 2000.0);
}

bool ConnectAudioChain(GstBin* bin, const GstCaps* caps, ElementRef renderer,
                       const AudioStageNames& stages, const AudioDecoderSettings& settings,
                       const AudioStartLevels& levels, AudioChain* chain) {
  ElementRef convert = MakeElement("audioconvert", "audio_input_convert");
  ElementRef volume = MakeElement("volume", "basic_audio");
  ElementRef outConvert = MakeElement("audioconvert");
  ElementRef resample = MakeElement("audioresample");
  if (!convert || !volume || !outConvert || !resample || !renderer) {
    Trace("Audio chain: a required element is missing");
    return false;
  }
  ElementRef channels = MakeChannelStage(caps, settings);
  ElementRef drc = MakeDrcStage(settings);
  ElementRef stretch = MakeOptionalStage(stages.timeStretch, "audio_time_stretch");
  ElementRef switcher = MakeOptionalStage(stages.audioSwitcher, "audio_switcher");
  g_object_set(volume.get(), "volume", levels.volumeGain, nullptr);
  if (switcher) {
    SetNormalizeBoost2(switcher.get(), levels.normalize, levels.maxNormFactor, levels.recover,
                       levels.boost);
  }

  std::vector<ElementRef*> all = {&convert, &channels,   &drc,      &stretch, &switcher,
                                  &volume,  &outConvert, &resample, &renderer};
  for (ElementRef* element : all) {
    if (*element) gst_bin_add(bin, element->get());
  }
  auto fail = [&] {
    for (ElementRef* element : all) Drop(bin, *element);
    return false;
  };

  // Fixed front: convert → [channels] → [DRC].
  GstElement* tail = convert.get();
  for (ElementRef* stage : {&channels, &drc}) {
    if (!*stage) continue;
    if (gst_element_link(tail, stage->get())) {
      tail = stage->get();
    } else {
      Drop(bin, *stage);
    }
  }

  // The optional stages: each one that cannot join is left out.
  bool reachedVolume = false;
  if (switcher) {
    GstElement* current = tail;
    if (stretch) {
      if (gst_element_link(current, stretch.get())) {
        current = stretch.get();
      } else {
        Drop(bin, stretch);
      }
    }
    if (!gst_element_link(current, switcher.get())) {
      Trace("Failed to connect -> AudioSwitcher");
    } else if (gst_element_link(switcher.get(), volume.get())) {
      reachedVolume = true;
    } else {
      Trace("Failed to connect AudioSwitcher -> Renderer");
      Drop(bin, stretch);
    }
    if (!reachedVolume) Drop(bin, switcher);
  }
  if (!reachedVolume) {
    GstElement* current = tail;
    if (stretch) {
      // A stretch stage already linked in front of a failed switcher has no
      // free input left: it goes too, and the chain falls back to the plain
      // path (pitch-kept speed change is lost with the switcher).
      if (!SinkLinked(stretch.get()) && gst_element_link(current, stretch.get())) {
        current = stretch.get();
      } else {
        Drop(bin, stretch);
      }
    }
    reachedVolume = gst_element_link(current, volume.get());
  }
  if (!reachedVolume || !gst_element_link_many(volume.get(), outConvert.get(), resample.get(),
                                               renderer.get(), nullptr)) {
    Trace("Audio chain: the input cannot reach the renderer");
    return fail();
  }

  // Downstream first, so no buffer meets an element that is not ready.
  for (auto it = all.rbegin(); it != all.rend(); ++it) {
    if (**it) gst_element_sync_state_with_parent((*it)->get());
  }
  chain->input = PadRef::Adopt(gst_element_get_static_pad(convert.get(), "sink"));
  chain->drc = drc;
  chain->timeStretch = AudioTimeStretch::Attach(stretch);
  chain->switcher = switcher;
  chain->volume = volume;
  chain->renderer = renderer;
  return true;
}

bool ConnectAudioBranch(GstBin* bin, GstPad* source, const std::string& decoderFactory,
                        GstPad* chainInput, AudioBranch* branch) {
  ElementRef decoder = MakeElement(decoderFactory.c_str());
  if (!decoder) {
    Trace("Audio branch: no decoder %s", decoderFactory.c_str());
    return false;
  }
  gst_bin_add(bin, decoder.get());
  PadRef decoded = PadRef::Adopt(gst_element_get_static_pad(decoder.get(), "src"));
  PadRef decoderSink = PadRef::Adopt(gst_element_get_static_pad(decoder.get(), "sink"));
  bool linked =
      decoded && decoderSink && gst_pad_link(decoded.get(), chainInput) == GST_PAD_LINK_OK;
  if (linked) gst_element_sync_state_with_parent(decoder.get());
  if (!linked || gst_pad_link(source, decoderSink.get()) != GST_PAD_LINK_OK) {
    Trace("Failed to connect the demuxer to an audio decoder (%s)", decoderFactory.c_str());
    if (linked) gst_pad_unlink(decoded.get(), chainInput);
    gst_element_set_state(decoder.get(), GST_STATE_NULL);
    gst_bin_remove(bin, decoder.get());
    return false;
  }
  branch->decoder = decoder;
  return true;
}

}  // namespace zelvaro
