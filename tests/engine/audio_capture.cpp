#include "tests/engine/audio_capture.h"

#include <QProcess>
#include <QStringList>

#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>

#include <algorithm>
#include <cmath>
#include <mutex>

namespace zelvaro::test {

struct AudioCapture::Record {
  mutable std::mutex mutex;
  std::vector<float> samples;                     // channel 0
  std::vector<std::pair<int64_t, double>> times;  // first frame of a buffer, its stream time
  int sampleRate = 0;
  bool endOfStream = false;

  void Reset() {
    std::lock_guard<std::mutex> guard(mutex);
    samples.clear();
    times.clear();
    sampleRate = 0;
    endOfStream = false;
  }
};

namespace {

using RecordPtr = std::shared_ptr<AudioCapture::Record>;

GstFlowReturn OnSample(GstAppSink* sink, gpointer data) {
  AudioCapture::Record& record = **static_cast<RecordPtr*>(data);
  SampleRef sample = SampleRef::Adopt(gst_app_sink_pull_sample(sink));
  if (!sample) return GST_FLOW_OK;
  GstAudioInfo info;
  if (!gst_audio_info_from_caps(&info, gst_sample_get_caps(sample.get()))) return GST_FLOW_ERROR;
  GstBuffer* buffer = gst_sample_get_buffer(sample.get());
  const GstSegment* segment = gst_sample_get_segment(sample.get());
  double streamTime = -1.0;
  if (segment != nullptr && GST_BUFFER_PTS_IS_VALID(buffer)) {
    guint64 time = gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
    if (time != GST_CLOCK_TIME_NONE) streamTime = static_cast<double>(time) / GST_SECOND;
  }
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return GST_FLOW_ERROR;
  const auto* floats = reinterpret_cast<const float*>(map.data);
  int channels = GST_AUDIO_INFO_CHANNELS(&info);
  size_t frames = map.size / sizeof(float) / static_cast<size_t>(channels);
  {
    std::lock_guard<std::mutex> guard(record.mutex);
    record.sampleRate = GST_AUDIO_INFO_RATE(&info);
    record.times.emplace_back(static_cast<int64_t>(record.samples.size()), streamTime);
    for (size_t i = 0; i < frames; ++i) record.samples.push_back(floats[i * channels]);
  }
  gst_buffer_unmap(buffer, &map);
  return GST_FLOW_OK;
}

void OnEndOfStream(GstAppSink*, gpointer data) {
  AudioCapture::Record& record = **static_cast<RecordPtr*>(data);
  std::lock_guard<std::mutex> guard(record.mutex);
  record.endOfStream = true;
}

void DeleteRecordRef(gpointer data) {
  delete static_cast<RecordPtr*>(data);
}

}  // namespace

AudioCapture::AudioCapture(bool sync) : sync_(sync), record_(std::make_shared<Record>()) {}

std::function<ElementRef()> AudioCapture::Factory() {
  return [sync = sync_, record = record_]() {
    record->Reset();
    ElementRef sink = MakeElement("appsink", "audio_renderer");
    CapsRef caps = CapsRef::Adopt(gst_caps_from_string(
        "audio/x-raw, format=(string)" GST_AUDIO_NE(F32) ", layout=(string)interleaved"));
    g_object_set(sink.get(), "caps", caps.get(), "sync", sync ? TRUE : FALSE, nullptr);
    GstAppSinkCallbacks callbacks = {};
    callbacks.eos = OnEndOfStream;
    callbacks.new_sample = OnSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, new RecordPtr(record),
                               DeleteRecordRef);
    return sink;
  };
}

int AudioCapture::SampleRate() const {
  std::lock_guard<std::mutex> guard(record_->mutex);
  return record_->sampleRate;
}

int64_t AudioCapture::Frames() const {
  std::lock_guard<std::mutex> guard(record_->mutex);
  return static_cast<int64_t>(record_->samples.size());
}

bool AudioCapture::EndOfStream() const {
  std::lock_guard<std::mutex> guard(record_->mutex);
  return record_->endOfStream;
}

std::vector<float> AudioCapture::Samples(int64_t fromFrame, int64_t toFrame) const {
  std::lock_guard<std::mutex> guard(record_->mutex);
  int64_t size = static_cast<int64_t>(record_->samples.size());
  fromFrame = std::clamp<int64_t>(fromFrame, 0, size);
  toFrame = std::clamp<int64_t>(toFrame, fromFrame, size);
  return {record_->samples.begin() + fromFrame, record_->samples.begin() + toFrame};
}

double AudioCapture::StreamTimeAt(int64_t frame) const {
  std::lock_guard<std::mutex> guard(record_->mutex);
  const auto& times = record_->times;
  auto after = std::upper_bound(times.begin(), times.end(), frame,
                                [](int64_t value, const auto& item) { return value < item.first; });
  return after == times.begin() ? -1.0 : std::prev(after)->second;
}

int64_t AudioCapture::FrameAtStreamTime(double seconds) const {
  std::lock_guard<std::mutex> guard(record_->mutex);
  for (const auto& [frame, time] : record_->times) {
    if (time >= seconds) return frame;
  }
  return static_cast<int64_t>(record_->samples.size());
}

QString MakeMedia(const QString& directory, const QString& name, const QStringList& arguments) {
  const QString path = directory + u'/' + name;
  return QProcess::execute("ffmpeg", QStringList{"-nostdin", "-loglevel", "error", "-y"} +
                                         arguments + QStringList{path}) == 0
             ? path
             : QString();
}

double ToneFrequency(const std::vector<float>& samples, int sampleRate) {
  double first = -1.0;
  double last = -1.0;
  int crossings = 0;
  for (size_t i = 1; i < samples.size(); ++i) {
    if (samples[i - 1] < 0.0f && samples[i] >= 0.0f) {
      double at = static_cast<double>(i - 1) + samples[i - 1] / (samples[i - 1] - samples[i]);
      if (first < 0.0) first = at;
      last = at;
      ++crossings;
    }
  }
  if (crossings < 2 || last <= first) return 0.0;
  return (crossings - 1) * sampleRate / (last - first);
}

float Peak(const std::vector<float>& samples) {
  float peak = 0.0f;
  for (float sample : samples) peak = std::max(peak, std::fabs(sample));
  return peak;
}

}  // namespace zelvaro::test
