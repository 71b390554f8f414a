#include "engine/stream_inventory.h"

#include "engine/input_tags.h"

#include <QLocale>

#include <algorithm>
#include <string_view>

namespace zelvaro {
namespace {

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

StreamKind KindOfStreamType(GstStreamType type) {
  if ((type & GST_STREAM_TYPE_AUDIO) != 0) return StreamKind::kAudio;
  if ((type & GST_STREAM_TYPE_TEXT) != 0) return StreamKind::kSubtitle;
  return StreamKind::kOther;
}

// The tags of a stream as they stand now: its stream object's, then what
// passed its pad (stream-scoped tags come last and win).
void ReadTags(const GstStream* stream, GstPad* pad, QString* language, QString* title) {
  using TagListRef = GstRef<GstTagList, GstMiniObjectRefTraits>;
  using EventRef = GstRef<GstEvent, GstMiniObjectRefTraits>;
  auto take = [&](const GstTagList* tags) {
    QString code = TagString(tags, GST_TAG_LANGUAGE_CODE);
    QString name = TagString(tags, GST_TAG_TITLE);
    if (!code.isEmpty()) *language = code;
    if (!name.isEmpty()) *title = name;
  };
  if (stream != nullptr) {
    take(TagListRef::Adopt(gst_stream_get_tags(const_cast<GstStream*>(stream))).get());
  }
  if (pad == nullptr) return;
  for (guint index = 0;; ++index) {
    EventRef event = EventRef::Adopt(gst_pad_get_sticky_event(pad, GST_EVENT_TAG, index));
    if (!event) break;
    GstTagList* tags = nullptr;
    gst_event_parse_tag(event.get(), &tags);
    take(tags);
  }
}

}  // namespace

QString TrackDisplayName(const QString& languageCode, const QString& title) {
  QString code = languageCode.trimmed().toLower();
  QString language;
  if (!code.isEmpty() && code != u"und") {
    QLocale::Language known = QLocale::codeToLanguage(code);
    language = known == QLocale::AnyLanguage || known == QLocale::C
                   ? languageCode.trimmed()
                   : QLocale::languageToString(known);
  }
  QString name = title.trimmed();
  if (name.isEmpty()) return language;
  if (language.isEmpty() || name.contains(language, Qt::CaseInsensitive)) return name;
  return name + QStringLiteral(" [") + language + u']';
}

StreamKind StreamKindOfCaps(const GstCaps* caps) {
  if (caps == nullptr || gst_caps_is_empty(caps) || gst_caps_is_any(caps))
    return StreamKind::kOther;
  std::string_view media = gst_structure_get_name(gst_caps_get_structure(caps, 0));
  if (StartsWith(media, "audio/")) return StreamKind::kAudio;
  if (StartsWith(media, "text/") || StartsWith(media, "subpicture/") ||
      StartsWith(media, "subtitle/") || media == "application/x-ass" ||
      media == "application/x-ssa" || StartsWith(media, "application/x-subtitle")) {
    return StreamKind::kSubtitle;
  }
  return StreamKind::kOther;
}

void StreamInventory::NoteCollection(GstObject* splitter, GstStreamCollection* collection) {
  if (collection == nullptr) return;
  std::lock_guard<std::mutex> guard(mutex_);
  auto known = std::find_if(collections_.begin(), collections_.end(),
                            [&](const auto& item) { return item.first == splitter; });
  CollectionRef ref = CollectionRef::Share(collection);
  if (known != collections_.end()) {
    known->second = ref;
  } else {
    collections_.emplace_back(splitter, ref);
  }
}

void StreamInventory::NoteStreamPad(GstPad* pad, StreamKind kind) {
  GCharHandle id{gst_pad_get_stream_id(pad)};
  if (!id) return;
  std::string streamId = id.get();
  std::lock_guard<std::mutex> guard(mutex_);
  pads_.emplace_back(streamId, PadRef::Share(pad));
  padStreams_.emplace_back(streamId, kind);
}

namespace {

// A stream type says nothing of some subtitles (an ASS script kept as it is
// has no "text/" caps): then the caps decide.
StreamKind KindOfStream(GstStream* stream) {
  const StreamKind kind = KindOfStreamType(gst_stream_get_stream_type(stream));
  if (kind != StreamKind::kOther) return kind;
  GstCaps* caps = gst_stream_get_caps(stream);
  const StreamKind byCaps = StreamKindOfCaps(caps);
  if (caps != nullptr) gst_caps_unref(caps);
  return byCaps == StreamKind::kSubtitle ? byCaps : kind;
}

}  // namespace

std::vector<StreamInventory::Entry> StreamInventory::Snapshot(StreamKind kind) const {
  std::lock_guard<std::mutex> guard(mutex_);
  auto padOf = [&](const std::string& id) {
    auto found = std::find_if(pads_.begin(), pads_.end(),
                              [&](const auto& item) { return item.first == id; });
    return found != pads_.end() ? found->second : PadRef();
  };
  std::vector<Entry> entries;
  for (const auto& [splitter, collection] : collections_) {
    guint size = gst_stream_collection_get_size(collection.get());
    for (guint i = 0; i < size; ++i) {
      GstStream* stream = gst_stream_collection_get_stream(collection.get(), i);
      const gchar* id = stream != nullptr ? gst_stream_get_stream_id(stream) : nullptr;
      if (id == nullptr || KindOfStream(stream) != kind) continue;
      entries.push_back({id, kind, StreamRef::Share(stream), padOf(id)});
    }
  }
  if (!collections_.empty()) return entries;
  for (const auto& [id, padKind] : padStreams_) {
    if (padKind == kind) entries.push_back({id, kind, StreamRef(), padOf(id)});
  }
  return entries;
}

int StreamInventory::Count(StreamKind kind) const {
  return static_cast<int>(Snapshot(kind).size());
}

QString StreamInventory::Name(StreamKind kind, int track) const {
  std::vector<Entry> entries = Snapshot(kind);
  if (track < 0 || track >= static_cast<int>(entries.size())) return {};
  const Entry& entry = entries[static_cast<size_t>(track)];
  QString language;
  QString title;
  ReadTags(entry.stream.get(), entry.pad.get(), &language, &title);
  return TrackDisplayName(language, title);
}

std::optional<std::string> StreamInventory::StreamId(StreamKind kind, int track) const {
  std::vector<Entry> entries = Snapshot(kind);
  if (track < 0 || track >= static_cast<int>(entries.size())) return std::nullopt;
  return entries[static_cast<size_t>(track)].streamId;
}

std::vector<AudioTrackFacts> StreamInventory::Facts(StreamKind kind) const {
  std::vector<AudioTrackFacts> facts;
  for (const Entry& entry : Snapshot(kind)) {
    AudioTrackFacts track;
    QString title;
    ReadTags(entry.stream.get(), entry.pad.get(), &track.language, &title);
    GstStreamFlags flags = GST_STREAM_FLAG_NONE;
    if (entry.stream) {
      flags = gst_stream_get_stream_flags(entry.stream.get());
    } else if (entry.pad) {
      using EventRef = GstRef<GstEvent, GstMiniObjectRefTraits>;
      EventRef start =
          EventRef::Adopt(gst_pad_get_sticky_event(entry.pad.get(), GST_EVENT_STREAM_START, 0));
      if (start) gst_event_parse_stream_flags(start.get(), &flags);
    }
    track.isDefault = (flags & GST_STREAM_FLAG_SELECT) != 0;
    facts.push_back(track);
  }
  return facts;
}

int StreamInventory::TrackOf(StreamKind kind, const std::string& streamId) const {
  std::vector<Entry> entries = Snapshot(kind);
  for (size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].streamId == streamId) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace zelvaro
