#include "engine/input_tags.h"

#include "engine/gst_ref.h"

namespace zelvaro {

QString TagString(const GstTagList* tags, const char* tag) {
  gchar* value = nullptr;
  if (tags == nullptr || !gst_tag_list_get_string(tags, tag, &value)) return {};
  GCharHandle owned{value};
  return QString::fromUtf8(value).trimmed();
}

void InputTagCollector::Note(const GstTagList* tags) {
  if (tags == nullptr) return;
  const QString title = TagString(tags, GST_TAG_TITLE);
  const QString artist = TagString(tags, GST_TAG_ARTIST);
  const QString album = TagString(tags, GST_TAG_ALBUM);
  std::lock_guard<std::mutex> guard(mutex_);
  InputTags& into = gst_tag_list_get_scope(tags) == GST_TAG_SCOPE_GLOBAL ? global_ : stream_;
  if (!title.isEmpty()) into.title = title;
  if (!artist.isEmpty()) into.artist = artist;
  if (!album.isEmpty()) into.album = album;
}

InputTags InputTagCollector::Read(bool hasVideo) const {
  std::lock_guard<std::mutex> guard(mutex_);
  InputTags tags = global_;
  if (hasVideo) return tags;
  for (auto field : {&InputTags::title, &InputTags::artist, &InputTags::album}) {
    if ((tags.*field).isEmpty()) tags.*field = stream_.*field;
  }
  return tags;
}

}  // namespace zelvaro
