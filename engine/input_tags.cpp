#include "engine/input_tags.h"

#include "engine/gst_ref.h"

#include <utility>

namespace zelvaro {

QString TagString(const GstTagList* tags, const char* tag) {
  gchar* value = nullptr;
  if (tags == nullptr || !gst_tag_list_get_string(tags, tag, &value)) return {};
  GCharHandle owned{value};
  return QString::fromUtf8(value).trimmed();
}

namespace {

constexpr std::pair<const char*, QString InputTags::*> kFields[] = {
    {GST_TAG_TITLE, &InputTags::title},
    {GST_TAG_ARTIST, &InputTags::artist},
    {GST_TAG_ALBUM, &InputTags::album},
};

}  // namespace

void InputTagCollector::Note(const GstTagList* tags) {
  if (tags == nullptr) return;
  InputTags found;
  for (const auto& [tag, field] : kFields) found.*field = TagString(tags, tag);
  std::lock_guard<std::mutex> guard(mutex_);
  InputTags& into = gst_tag_list_get_scope(tags) == GST_TAG_SCOPE_GLOBAL ? global_ : stream_;
  for (const auto& [tag, field] : kFields) {
    if (!(found.*field).isEmpty()) into.*field = found.*field;
  }
}

InputTags InputTagCollector::Read(bool hasVideo) const {
  std::lock_guard<std::mutex> guard(mutex_);
  InputTags tags = global_;
  if (hasVideo) return tags;
  for (const auto& [tag, field] : kFields) {
    if ((tags.*field).isEmpty()) tags.*field = stream_.*field;
  }
  return tags;
}

}  // namespace zelvaro
