#pragma once
// What the update server says, and the reader of its reply.
//
// `ParseUpdateReply` is pure and reentrant: the update thread calls it on the
// bytes it received and publishes the record only when the whole reply was
// read, so a reply that breaks half-way changes nothing.

#include <QString>

#include <cstdint>
#include <string_view>
#include <vector>

namespace zelvaro {

// The largest reply the reader accepts; a server that sends more is broken
// or hostile.
inline constexpr int64_t kUpdateReplyLimitBytes = 1024 * 1024;

struct UpdateFile {
  QString Name;
  uint32_t Version = 0;
  QString DownloadUrl;
  uint64_t DownloadFileSize = 0;
  QString DownloadSaveAs;
  QString RunCmd;
  QString RunArg;
  QString Sha256;  // hex; a download without one is never installed
};

struct UpdateInfo {
  bool UpdateAvailable = false;
  bool ForceUpdate = false;
  uint32_t LatestVersion = 0;
  uint32_t MinVersion = 0;
  QString DownloadUrl;
  uint64_t DownloadFileSize = 0;
  QString DownloadSaveAs;
  QString RunCmd;
  QString RunArg;
  QString ReleaseDate;
  QString ReleaseNotes;
  QString Sha256;
  std::vector<UpdateFile> Files;
  uint32_t CurrentVersion = 0;
};

// Reads a reply into `info`. False for anything but a JSON object whose
// `result` is "success" and whose `data` is an object, for a value of the
// wrong type, and for a reply over kUpdateReplyLimitBytes; `info` is then
// left as it was. Absent keys and nulls keep their defaults.
bool ParseUpdateReply(std::string_view reply, UpdateInfo* info);

}  // namespace zelvaro
