#include "foundation/settings.h"

#include "foundation/app_paths.h"
#include "foundation/settings_document.h"
#include "foundation/trace.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace zelvaro::Settings {
namespace {

// A settings file larger than this is not ours: treated as damaged.
constexpr qint64 kMaxFileBytes = 4 * 1024 * 1024;
// The main-scope string reader's buffer, in bytes (511 characters + NUL).
constexpr qsizetype kStringBufferBytes = 1024;

struct FileStamp {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  timespec modified{};
  timespec changed{};

  bool operator==(const FileStamp& o) const {
    return device == o.device && inode == o.inode && size == o.size &&
           modified.tv_sec == o.modified.tv_sec && modified.tv_nsec == o.modified.tv_nsec &&
           changed.tv_sec == o.changed.tv_sec && changed.tv_nsec == o.changed.tv_nsec;
  }
};

enum class FileState { Missing, Good, Damaged };

struct Snapshot {
  FileState state = FileState::Missing;
  SettingsDocument document;
};

std::optional<FileStamp> StampOf(const QByteArray& path) {
  struct stat info {};
  if (::stat(path.constData(), &info) != 0) return std::nullopt;
  return FileStamp{info.st_dev, info.st_ino, info.st_size, info.st_mtim, info.st_ctim};
}

Snapshot LoadFile(const QString& path) {
  Snapshot snapshot;
  QFile file(path);
  if (!file.exists()) return snapshot;
  snapshot.state = FileState::Damaged;
  if (file.size() > kMaxFileBytes) {
    Trace("settings file %s is too large; using defaults", qPrintable(path));
    return snapshot;
  }
  if (!file.open(QIODevice::ReadOnly)) {
    Trace("settings file %s cannot be read; using defaults", qPrintable(path));
    return snapshot;
  }
  QString error;
  auto document = SettingsDocument::Parse(file.readAll(), &error);
  if (!document) {
    Trace("settings file %s is damaged (%s); using defaults", qPrintable(path), qPrintable(error));
    return snapshot;
  }
  if (!error.isEmpty()) {
    Trace("settings file %s: %lld unreadable lines skipped and kept (%s)", qPrintable(path),
          static_cast<long long>(document->KeptLineCount()), qPrintable(error));
  }
  snapshot.state = FileState::Good;
  snapshot.document = std::move(*document);
  return snapshot;
}

bool WriteAll(int fd, const QByteArray& bytes) {
  const char* data = bytes.constData();
  qsizetype left = bytes.size();
  while (left > 0) {
    ssize_t written = ::write(fd, data, static_cast<size_t>(left));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    left -= written;
  }
  return true;
}

// Holds an exclusive flock on the store's lock file for its lifetime.
class StoreLock {
 public:
  explicit StoreLock(const QByteArray& lockPath) {
    fd_ = ::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0) return;
    while (::flock(fd_, LOCK_EX) != 0) {
      if (errno != EINTR) {
        ::close(fd_);
        fd_ = -1;
        return;
      }
    }
  }
  ~StoreLock() {
    if (fd_ >= 0) ::close(fd_);  // closing releases the lock
  }
  StoreLock(const StoreLock&) = delete;
  StoreLock& operator=(const StoreLock&) = delete;
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

class Store {
 public:
  static Store& Instance() {
    static Store store;
    return store;
  }

  // Copies the value out under the cache lock.
  std::optional<StoredValue> Read(SettingScope scope, QStringView name) {
    const QString path = StoreFilePath();
    std::lock_guard guard(mutex_);
    const Snapshot& snapshot = CurrentSnapshot(path);
    const StoredValue* value = snapshot.document.Find(scope, name);
    if (value == nullptr) return std::nullopt;
    return *value;
  }

  // Applies `change` to the latest file contents and replaces the file.
  template <typename Change>
  bool Modify(Change&& change) {
    const QString path = StoreFilePath();
    std::lock_guard guard(mutex_);
    if (!EnsureDirectory(ConfigDir())) return false;
    const QByteArray nativePath = QFile::encodeName(path);
    StoreLock lock(nativePath + ".lock");
    if (!lock.Held()) return false;

    RemoveDeadWritersFiles(path);

    Snapshot snapshot = LoadFile(path);
    if (snapshot.state == FileState::Damaged && !SetAside(path)) return false;
    if (!change(snapshot.document)) return true;  // nothing to write

    const QByteArray temporary = nativePath + ".tmp-" + QByteArray::number(::getpid());
    int fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    bool ok = WriteAll(fd, snapshot.document.Serialize()) && ::fdatasync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (!ok || ::rename(temporary.constData(), nativePath.constData()) != 0) {
      ::unlink(temporary.constData());
      return false;
    }
    cachePath_ = path;
    cacheStamp_ = StampOf(nativePath);
    cache_ = Snapshot{FileState::Good, std::move(snapshot.document)};
    return true;
  }

 private:
  const Snapshot& CurrentSnapshot(const QString& path) {
    auto stamp = StampOf(QFile::encodeName(path));
    if (path != cachePath_ || stamp != cacheStamp_) {
      cache_ = stamp ? LoadFile(path) : Snapshot{};
      cachePath_ = path;
      cacheStamp_ = stamp;
    }
    return cache_;
  }

  // A writer holds the lock for as long as its temporary file exists, so one
  // found under the lock belongs to a player that died mid-write (killed,
  // crashed, powered off); nothing else will ever remove it.
  static void RemoveDeadWritersFiles(const QString& path) {
    const QFileInfo store(path);
    const QString pattern = store.fileName() + QStringLiteral(".tmp-*");
    for (const QString& name : store.dir().entryList({pattern}, QDir::Files | QDir::Hidden)) {
      QFile::remove(store.dir().filePath(name));
    }
  }

  // Keeps a damaged file for the user to look at instead of overwriting it.
  static bool SetAside(const QString& path) {
    const QString base = path + QStringLiteral(".damaged-") +
                         QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString aside = base;
    for (int n = 2; QFileInfo::exists(aside); ++n) aside = base + QStringLiteral("~%1").arg(n);
    if (::rename(QFile::encodeName(path).constData(), QFile::encodeName(aside).constData()) != 0) {
      Trace("cannot move damaged settings file aside: %s", std::strerror(errno));
      return false;
    }
    Trace("damaged settings file kept as %s", qPrintable(aside));
    return true;
  }

  std::mutex mutex_;
  QString cachePath_;
  std::optional<FileStamp> cacheStamp_;
  Snapshot cache_;
};

bool ValidName(QStringView name) {
  return !name.isEmpty();
}

bool SetValue(SettingScope scope, QStringView name, const StoredValue& value) {
  if (!ValidName(name)) return false;
  return Store::Instance().Modify(
      [&](SettingsDocument& document) { return document.Set(scope, name, value); });
}

QString FromUtf16(const QByteArray& data, qsizetype units) {
  return QString(reinterpret_cast<const QChar*>(data.constData()), units);
}

bool IsStringType(SettingType type) {
  return type == SettingType::String || type == SettingType::ExpandString;
}

}  // namespace

QString StoreFilePath() {
  return ConfigDir() + QStringLiteral("/settings.conf");
}

bool GetDword(QStringView name, uint32_t* value) {
  if (!ValidName(name) || value == nullptr) return false;
  auto stored = Store::Instance().Read(SettingScope::Main, name);
  if (!stored || stored->type != SettingType::Dword || stored->data.size() != 4) return false;
  std::memcpy(value, stored->data.constData(), 4);
  return true;
}

bool SetDword(QStringView name, uint32_t value) {
  return SetValue(SettingScope::Main, name, StoredValue::Dword(value));
}

bool GetString(QStringView name, QString* value) {
  if (!ValidName(name) || value == nullptr) return false;
  auto stored = Store::Instance().Read(SettingScope::Main, name);
  if (!stored || !IsStringType(stored->type)) return false;
  const QByteArray& data = stored->data;
  if (data.size() > kStringBufferBytes) return false;  // the reader's buffer is full
  if (data.isEmpty()) {
    value->clear();
    return true;
  }
  if (data.size() % 2 != 0 || data[data.size() - 1] != 0 || data[data.size() - 2] != 0)
    return false;
  QString text = FromUtf16(data, data.size() / 2);
  *value = text.left(text.indexOf(QChar(0)));
  return true;
}

bool SetString(QStringView name, QStringView value) {
  return SetValue(SettingScope::Main, name, StoredValue::String(value));
}

bool GetBackupString(QStringView name, QString* value) {
  if (!ValidName(name) || value == nullptr) return false;
  auto stored = Store::Instance().Read(SettingScope::Backup, name);
  if (!stored || !IsStringType(stored->type)) return false;
  const QByteArray& data = stored->data;
  if (data.size() / 2 == 0) return false;
  if (data.size() % 2 != 0 || data[data.size() - 1] != 0 || data[data.size() - 2] != 0)
    return false;
  *value = FromUtf16(data, data.size() / 2 - 1);
  return true;
}

bool SetBackupString(QStringView name, QStringView value) {
  return SetValue(SettingScope::Backup, name, StoredValue::String(value));
}

bool DeleteBackupValue(QStringView name) {
  if (!ValidName(name)) return false;
  bool removed = false;
  bool written = Store::Instance().Modify([&](SettingsDocument& document) {
    removed = document.Remove(SettingScope::Backup, name);
    return removed;
  });
  return written && removed;
}

}  // namespace zelvaro::Settings
