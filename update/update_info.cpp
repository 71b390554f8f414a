#include "update/update_info.h"

#include <nlohmann/json.hpp>

#include <limits>

namespace zelvaro {
namespace {

using Json = nlohmann::json;

// Each reader leaves `out` alone when the key is absent or null, and fails
// on a value of another type instead of converting it.
bool ReadBool(const Json& object, const char* key, bool* out) {
  const auto it = object.find(key);
  if (it == object.end() || it->is_null()) return true;
  if (!it->is_boolean()) return false;
  *out = it->get<bool>();
  return true;
}

bool ReadUnsigned(const Json& object, const char* key, uint64_t max, uint64_t* out) {
  const auto it = object.find(key);
  if (it == object.end() || it->is_null()) return true;
  if (it->is_number_unsigned()) {
    const uint64_t value = it->get<uint64_t>();
    if (value > max) return false;
    *out = value;
    return true;
  }
  // A non-negative number may arrive as signed; negatives and fractions fail.
  if (it->is_number_integer() && it->get<int64_t>() >= 0) {
    const auto value = static_cast<uint64_t>(it->get<int64_t>());
    if (value > max) return false;
    *out = value;
    return true;
  }
  return false;
}

bool ReadU32(const Json& object, const char* key, uint32_t* out) {
  uint64_t value = *out;
  if (!ReadUnsigned(object, key, std::numeric_limits<uint32_t>::max(), &value)) return false;
  *out = static_cast<uint32_t>(value);
  return true;
}

bool ReadU64(const Json& object, const char* key, uint64_t* out) {
  return ReadUnsigned(object, key, std::numeric_limits<uint64_t>::max(), out);
}

bool ReadText(const Json& object, const char* key, QString* out) {
  const auto it = object.find(key);
  if (it == object.end() || it->is_null()) return true;
  if (!it->is_string()) return false;
  const auto& text = it->get_ref<const std::string&>();
  *out = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
  return true;
}

bool ReadFile(const Json& object, UpdateFile* file) {
  return object.is_object() && ReadText(object, "name", &file->Name) &&
         ReadU32(object, "version", &file->Version) &&
         ReadText(object, "download_url", &file->DownloadUrl) &&
         ReadU64(object, "download_filesize", &file->DownloadFileSize) &&
         ReadText(object, "download_save_as", &file->DownloadSaveAs) &&
         ReadText(object, "run_cmd", &file->RunCmd) && ReadText(object, "run_arg", &file->RunArg) &&
         ReadText(object, "sha256", &file->Sha256);
}

}  // namespace

bool ParseUpdateReply(std::string_view reply, UpdateInfo* info) {
  if (reply.empty() || reply.size() > static_cast<size_t>(kUpdateReplyLimitBytes)) return false;
  const Json document = Json::parse(reply, nullptr, /*allow_exceptions=*/false);
  if (!document.is_object()) return false;
  const auto result = document.find("result");
  if (result == document.end() || !result->is_string() ||
      result->get_ref<const std::string&>() != "success") {
    return false;
  }
  const auto data = document.find("data");
  if (data == document.end() || !data->is_object()) return false;

  UpdateInfo read;
  read.CurrentVersion = info->CurrentVersion;
  const bool fieldsRead = ReadBool(*data, "update_available", &read.UpdateAvailable) &&
                          ReadBool(*data, "force_update", &read.ForceUpdate) &&
                          ReadU32(*data, "latest_version", &read.LatestVersion) &&
                          ReadU32(*data, "min_version", &read.MinVersion) &&
                          ReadText(*data, "download_url", &read.DownloadUrl) &&
                          ReadU64(*data, "download_filesize", &read.DownloadFileSize) &&
                          ReadText(*data, "download_save_as", &read.DownloadSaveAs) &&
                          ReadText(*data, "run_cmd", &read.RunCmd) &&
                          ReadText(*data, "run_arg", &read.RunArg) &&
                          ReadText(*data, "release_date", &read.ReleaseDate) &&
                          ReadText(*data, "release_notes", &read.ReleaseNotes) &&
                          ReadText(*data, "sha256", &read.Sha256);
  if (!fieldsRead) return false;

  const auto files = data->find("files");
  if (files != data->end() && !files->is_null()) {
    if (!files->is_array()) return false;
    for (const Json& element : *files) {
      UpdateFile file;
      if (!ReadFile(element, &file)) return false;
      read.Files.push_back(std::move(file));
    }
  }
  *info = std::move(read);
  return true;
}

}  // namespace zelvaro
