#include "engine/time_stretch_stage.h"

#include "foundation/trace.h"

#include <gst/audio/audio.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <vector>

namespace zelvaro {

// Enough for 2,048 frames of 7.1.
constexpr size_t kTapFloats = 16384;

struct AudioTimeStretch::Tap {
  std::atomic<double> rate{1.0};
  mutable std::mutex mutex;
  std::vector<float> ring = std::vector<float>(kTapFloats);  // guarded by mutex
  size_t write = 0;                                          // next float to write
  size_t filled = 0;
  int channels = 0;  // 0: the format is not interleaved float
  int sampleRate = 0;

  void SetFormat(const GstCaps* caps) {
    GstAudioInfo info;
    bool usable = caps != nullptr && gst_audio_info_from_caps(&info, caps) &&
                  GST_AUDIO_INFO_FORMAT(&info) == GST_AUDIO_FORMAT_F32 &&
                  GST_AUDIO_INFO_LAYOUT(&info) == GST_AUDIO_LAYOUT_INTERLEAVED;
    std::lock_guard<std::mutex> guard(mutex);
    channels = usable ? GST_AUDIO_INFO_CHANNELS(&info) : 0;
    sampleRate = usable ? GST_AUDIO_INFO_RATE(&info) : 0;
    write = 0;
    filled = 0;
  }

  void Clear() {
    std::lock_guard<std::mutex> guard(mutex);
    write = 0;
    filled = 0;
  }

  void Append(GstBuffer* buffer) {
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return;
    const auto* samples = reinterpret_cast<const float*>(map.data);
    size_t count = map.size / sizeof(float);
    std::lock_guard<std::mutex> guard(mutex);
    if (channels > 0) {
      // Only the newest ring-full is worth copying.
      size_t skip = count > ring.size() ? count - ring.size() : 0;
      for (size_t i = skip; i < count; ++i) {
        ring[write] = samples[i];
        write = (write + 1) % ring.size();
      }
      filled = std::min(ring.size(), filled + count - skip);
    }
    gst_buffer_unmap(buffer, &map);
  }
};

namespace {

GstPadProbeReturn OnTapData(GstPad*, GstPadProbeInfo* info, gpointer data) {
  auto& tap = *static_cast<std::shared_ptr<AudioTimeStretch::Tap>*>(data);
  if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
    tap->Append(GST_PAD_PROBE_INFO_BUFFER(info));
  } else if (GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info)) {
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
      GstCaps* caps = nullptr;
      gst_event_parse_caps(event, &caps);
      tap->SetFormat(caps);
    } else if (GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_STOP) {
      // After a seek the newest samples before it are no longer "now".
      tap->Clear();
    }
  }
  return GST_PAD_PROBE_OK;
}

void DeleteTapRef(gpointer data) {
  delete static_cast<std::shared_ptr<AudioTimeStretch::Tap>*>(data);
}

}  // namespace

std::shared_ptr<AudioTimeStretch> AudioTimeStretch::Attach(ElementRef stage) {
  if (!stage) return nullptr;
  PadRef source = PadRef::Adopt(gst_element_get_static_pad(stage.get(), "src"));
  if (!source) return nullptr;
  auto tap = std::make_shared<Tap>();
  std::shared_ptr<AudioTimeStretch> stretch(new AudioTimeStretch(stage, source, tap));
  auto mask =
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM |
                                   GST_PAD_PROBE_TYPE_EVENT_FLUSH);
  stretch->probeId_ =
      gst_pad_add_probe(source.get(), mask, OnTapData, new std::shared_ptr<Tap>(tap), DeleteTapRef);
  return stretch;
}

AudioTimeStretch::AudioTimeStretch(ElementRef stage, PadRef source, std::shared_ptr<Tap> tap)
    : stage_(std::move(stage)), source_(std::move(source)), tap_(std::move(tap)) {}

AudioTimeStretch::~AudioTimeStretch() {
  if (probeId_ != 0) gst_pad_remove_probe(source_.get(), probeId_);
}

void AudioTimeStretch::SetRate(double rate) {
  tap_->rate = rate;
  Trace("AudioTimeStretch rate %.3f", rate);
}

double AudioTimeStretch::Rate() const {
  return tap_->rate;
}

bool AudioTimeStretch::GetAudioSamples(float* buffer, int capacity, int* frames, int* channels,
                                       int* sampleRate) const {
  if (buffer == nullptr || frames == nullptr || channels == nullptr || sampleRate == nullptr ||
      capacity <= 0) {
    return false;
  }
  std::lock_guard<std::mutex> guard(tap_->mutex);
  if (tap_->channels <= 0) return false;
  size_t width = static_cast<size_t>(tap_->channels);
  size_t count = std::min(tap_->filled, static_cast<size_t>(capacity)) / width;
  size_t floats = count * width;
  size_t size = tap_->ring.size();
  size_t start = (tap_->write + size - floats) % size;
  for (size_t i = 0; i < floats; ++i) buffer[i] = tap_->ring[(start + i) % size];
  *frames = static_cast<int>(count);
  *channels = tap_->channels;
  *sampleRate = tap_->sampleRate;
  return true;
}

}  // namespace zelvaro
