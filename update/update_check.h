#pragma once
// One update check, from the request to the installer: the body of the
// update thread, kept free of windows so it runs under test as it runs in
// the player.
//
// Threads: everything here runs on the update thread (or a test's thread)
// and blocks on the network. Messages go out through `UpdateUi`, whose
// implementation shows them on the interface thread; the check holds the
// UI by shared pointer, so a window that is gone by then costs nothing.

#include "update/update_info.h"

#include <QString>
#include <QStringList>
#include <QStringView>

#include <atomic>
#include <functional>
#include <memory>

namespace zelvaro {

// The message boxes a check may ask for; texts are language keys, resolved
// where they are shown.
class UpdateUi {
 public:
  enum class Kind { Question, Information, Error };
  struct Message {
    Kind kind = Kind::Information;
    QString textKey;  // shown unless `text` is non-empty
    QString text;
    QString captionKey;
  };
  virtual ~UpdateUi() = default;
  // Called on the update thread. A question blocks that thread until the
  // user answers and gives true for yes; other kinds return at once.
  virtual bool Show(const Message& message) = 0;
};

// Starts a program with its arguments, without waiting for it.
using UpdateCommandRunner = std::function<bool(const QString& program, const QStringList& args)>;
bool RunDetachedCommand(const QString& program, const QStringList& args);

// Time and size limits; tests shorten them.
struct UpdateLimits {
  int connectTimeoutMs = 10'000;
  int replyTimeoutMs = 15'000;
  int64_t replyMaxBytes = kUpdateReplyLimitBytes;
  int64_t downloadMaxBytes = 512ll * 1024 * 1024;
};

struct UpdateEnvironment {
  std::shared_ptr<UpdateUi> ui;  // may be null: nothing is shown, questions answer no
  UpdateCommandRunner run = RunDetachedCommand;
  UpdateLimits limits;
  std::shared_ptr<const std::atomic<bool>> cancel;  // set when the player closes
};

// The base address of the update server: the `UpdateEndpoint` setting
// without trailing slashes; empty when no check is configured.
QString UpdateEndpoint();

class UpdateCheck {
 public:
  explicit UpdateCheck(UpdateEnvironment environment);

  // The thread body: request, side files, prompt, download and command.
  void Run(bool silent);

  // Asks the server; true and a new record when the reply was read whole.
  bool RequestUpdateInfo();
  // Fetches and installs every side file the reply lists; failures are silent.
  void InstallSideFiles();
  // The main download and its command; false after showing the error.
  bool DownloadUpdate();

  const UpdateInfo& Info() const { return info_; }
  // True once a reply was read whole, so `Info` holds the server's word.
  bool ReplyRead() const { return replyRead_; }

 private:
  bool Cancelled() const;
  void ShowMessage(UpdateUi::Kind kind, QStringView textKey, const QString& text = {});
  bool RunCommand(const QString& command, const QString& argument);
  int64_t DownloadLimit(uint64_t announcedBytes) const;

  UpdateEnvironment env_;
  UpdateInfo info_;
  bool replyRead_ = false;
  QByteArray userAgent_;
};

}  // namespace zelvaro
