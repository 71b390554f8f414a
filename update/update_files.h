#pragma once
// The file side of an update: where a server may write and what it may run,
// and the verified replacement of a file.
//
// A server only names paths; these helpers decide whether a path is one the
// updater may touch: after macro expansion and symbolic-link resolution it
// must lie inside the install directory (GetInstallDir) or the temporary
// directory (QDir::tempPath), and it may not climb with "..". A file is only
// ever replaced by a download whose SHA-256 matched, by a rename over it, so
// any failure leaves the old file as it was.
//
// Update thread only (they block on the network and the disk); reentrant.

#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>

namespace zelvaro {

// The resolved absolute path when `path` (already expanded) is a path the
// updater may write to, else empty. The file itself need not exist.
QString ConfineUpdatePath(const QString& path);

// True when the file's SHA-256 equals `expectedHex` (case ignored).
bool Sha256Matches(const QString& path, const QString& expectedHex);

struct VerifiedDownload {
  QString url;
  QString target;  // already confined
  QString sha256;  // required
  int64_t maxBytes = 0;
  const char* userAgent = "";
  const std::atomic<bool>* cancel = nullptr;
};

// Downloads into a temporary file beside the target, checks the digest and
// renames it over the target. Without a digest nothing is fetched. On any
// failure the temporary file is gone and the target untouched.
bool DownloadVerified(const VerifiedDownload& download);

// Resolves a command the updater may run: the confined path of an existing
// regular file, else empty.
QString ConfineUpdateCommand(const QString& expandedCommand);

}  // namespace zelvaro
