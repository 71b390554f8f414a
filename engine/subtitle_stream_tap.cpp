#include "engine/subtitle_stream_tap.h"

#include "foundation/trace.h"

#include <QStringList>

#include <string_view>

namespace zelvaro {
namespace {

constexpr qsizetype kKeptPictureBytes = 4 << 20;

std::string_view MediaTypeOf(const GstCaps* caps) {
  if (caps == nullptr || gst_caps_is_empty(caps) || gst_caps_is_any(caps)) return {};
  return gst_structure_get_name(gst_caps_get_structure(caps, 0));
}

gboolean ContinueUnlessAss(GstElement*, GstPad*, GstCaps* caps, gpointer) {
  const std::string_view media = MediaTypeOf(caps);
  return media != "application/x-ass" && media != "application/x-ssa";
}

}  // namespace

bool IsBitmapSubtitle(EmbeddedSubtitleCodec codec) {
  return codec == EmbeddedSubtitleCodec::kPgs || codec == EmbeddedSubtitleCodec::kDvd ||
         codec == EmbeddedSubtitleCodec::kDvb;
}

EmbeddedSubtitleCodec SubtitleCodecOfCaps(const GstCaps* caps) {
  const std::string_view media = MediaTypeOf(caps);
  if (media == "application/x-ass" || media == "application/x-ssa")
    return EmbeddedSubtitleCodec::kAss;
  if (media == "subpicture/x-pgs") return EmbeddedSubtitleCodec::kPgs;
  if (media == "subpicture/x-dvd") return EmbeddedSubtitleCodec::kDvd;
  if (media == "subpicture/x-dvb") return EmbeddedSubtitleCodec::kDvb;
  if (media.substr(0, 24) == "application/x-subtitle-v") return EmbeddedSubtitleCodec::kWebVtt;
  if (media == "text/x-raw") {
    const char* format = gst_structure_get_string(gst_caps_get_structure(caps, 0), "format");
    if (format != nullptr && std::string_view(format) == "pango-markup")
      return EmbeddedSubtitleCodec::kPangoMarkup;
    return EmbeddedSubtitleCodec::kText;
  }
  return EmbeddedSubtitleCodec::kUnknown;
}

int ChooseSubtitleTrack(const std::vector<AudioTrackFacts>& tracks, std::optional<uint32_t> mode,
                        const QString& preferredLanguages) {
  constexpr uint32_t kDefaultMode = 2;
  if (!mode || *mode < kDefaultMode) return -1;
  for (const QString& wanted : preferredLanguages.split(u',', Qt::SkipEmptyParts)) {
    for (size_t i = 0; i < tracks.size(); ++i)
      if (SameLanguage(tracks[i].language, wanted.trimmed())) return static_cast<int>(i);
  }
  for (size_t i = 0; i < tracks.size(); ++i)
    if (tracks[i].isDefault) return static_cast<int>(i);
  return -1;
}

void KeepAssScripts(GstElement* splitter) {
  g_signal_connect(splitter, "autoplug-continue", G_CALLBACK(&ContinueUnlessAss), nullptr);
}

void SubtitleStreamTap::Attach(GstPad* pad, const GstCaps* caps) {
  GCharHandle id{gst_pad_get_stream_id(pad)};
  std::string streamId = id ? id.get() : GST_PAD_NAME(pad);
  {
    std::lock_guard lock(mutex_);
    Stream& stream = streams_[streamId];
    stream.info.codec = SubtitleCodecOfCaps(caps);
    const GstStructure* structure = gst_caps_get_structure(caps, 0);
    if (const GValue* value = gst_structure_get_value(structure, "codec_data");
        value != nullptr && G_VALUE_HOLDS(value, GST_TYPE_BUFFER)) {
      GstBuffer* header = gst_value_get_buffer(value);
      GstMapInfo map;
      if (gst_buffer_map(header, &map, GST_MAP_READ)) {
        stream.info.header =
            QByteArray(reinterpret_cast<const char*>(map.data), static_cast<qsizetype>(map.size));
        gst_buffer_unmap(header, &map);
      }
    }
  }
  gst_pad_add_probe(
      pad, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
      &SubtitleStreamTap::OnData, new ProbeContext{this, std::move(streamId)},
      [](gpointer context) { delete static_cast<ProbeContext*>(context); });
}

GstPadProbeReturn SubtitleStreamTap::OnData(GstPad*, GstPadProbeInfo* info, gpointer context) {
  auto* probe = static_cast<ProbeContext*>(context);
  if (GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info)) {
    probe->tap->Take(probe->streamId, buffer);
  } else if (GstBufferList* list = GST_PAD_PROBE_INFO_BUFFER_LIST(info)) {
    for (guint i = 0; i < gst_buffer_list_length(list); ++i)
      probe->tap->Take(probe->streamId, gst_buffer_list_get(list, i));
  }
  // Left to flow unlinked, the data would stop the demuxer.
  return GST_PAD_PROBE_DROP;
}

void SubtitleStreamTap::Take(const std::string& streamId, GstBuffer* buffer) {
  if (!GST_BUFFER_PTS_IS_VALID(buffer)) return;
  EmbeddedSubtitleSample sample;
  sample.start100ns = static_cast<int64_t>(GST_BUFFER_PTS(buffer) / 100);
  if (GST_BUFFER_DURATION_IS_VALID(buffer))
    sample.duration100ns = static_cast<int64_t>(GST_BUFFER_DURATION(buffer) / 100);
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return;
  sample.data =
      QByteArray(reinterpret_cast<const char*>(map.data), static_cast<qsizetype>(map.size));
  gst_buffer_unmap(buffer, &map);

  std::lock_guard lock(mutex_);
  auto found = streams_.find(streamId);
  if (found == streams_.end()) return;
  Stream& stream = found->second;
  const bool selected = streamId == selected_ && listener_;
  // Pictures are large: only the last few are kept, for a stream chosen
  // after the demuxer read its first cues (while the file prerolled).
  if (IsBitmapSubtitle(stream.info.codec)) {
    stream.keptBytes += sample.data.size();
    stream.kept.push_back(sample);
    while (stream.keptBytes > kKeptPictureBytes && stream.kept.size() > 1) {
      stream.keptBytes -= stream.kept.front().data.size();
      stream.kept.erase(stream.kept.begin());
    }
    if (selected) listener_(sample);
    return;
  }
  if (!stream.seen.emplace(sample.start100ns, sample.data).second) return;
  stream.kept.push_back(sample);
  if (selected) listener_(sample);
}

std::optional<EmbeddedSubtitleStream> SubtitleStreamTap::Select(const std::string& streamId,
                                                                Listener listener) {
  std::lock_guard lock(mutex_);
  auto found = streams_.find(streamId);
  if (found == streams_.end()) return std::nullopt;
  selected_ = streamId;
  listener_ = std::move(listener);
  if (listener_)
    for (const EmbeddedSubtitleSample& sample : found->second.kept) listener_(sample);
  return found->second.info;
}

std::optional<EmbeddedSubtitleStream> SubtitleStreamTap::Info(const std::string& streamId) {
  std::lock_guard lock(mutex_);
  auto found = streams_.find(streamId);
  if (found == streams_.end()) return std::nullopt;
  return found->second.info;
}

void SubtitleStreamTap::Deselect() {
  std::lock_guard lock(mutex_);
  selected_.clear();
  listener_ = nullptr;
}

}  // namespace zelvaro
