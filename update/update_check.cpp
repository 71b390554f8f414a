#include "update/update_check.h"

#include "foundation/c_handle.h"
#include "foundation/download.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/shell_paths.h"
#include "foundation/trace.h"
#include "update/update_files.h"

#include <QFileInfo>
#include <QProcess>

#include <curl/curl.h>

#include <mutex>
#include <string>

namespace zelvaro {
namespace {

using CurlHandle = CHandle<CURL, curl_easy_cleanup>;

struct ReplyBuffer {
  std::string bytes;
  int64_t limit = 0;
  const std::atomic<bool>* cancel = nullptr;
};

size_t AppendReply(char* data, size_t size, size_t count, void* user) {
  auto* reply = static_cast<ReplyBuffer*>(user);
  const size_t bytes = size * count;
  if (static_cast<int64_t>(reply->bytes.size() + bytes) > reply->limit) return 0;  // aborts
  reply->bytes.append(data, bytes);
  return bytes;
}

int ReplyProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  const auto* reply = static_cast<ReplyBuffer*>(user);
  return reply->cancel != nullptr && reply->cancel->load() ? 1 : 0;
}

// The reply, or empty on any failure of the transfer.
std::string FetchReply(const QString& url, const char* userAgent, const UpdateLimits& limits,
                       const std::atomic<bool>* cancel) {
  if (!IsAllowedDownloadUrl(url)) return {};
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
  CurlHandle curl{curl_easy_init()};
  if (!curl) return {};
  const QByteArray utf8Url = url.toUtf8();
  ReplyBuffer reply{{}, limits.replyMaxBytes, cancel};
  CURL* handle = curl.get();
  curl_easy_setopt(handle, CURLOPT_URL, utf8Url.constData());
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &AppendReply);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &reply);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(limits.replyTimeoutMs));
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connectTimeoutMs));
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle, CURLOPT_USERAGENT, userAgent);
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "https");
  curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE,
                   static_cast<curl_off_t>(limits.replyMaxBytes));
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &ReplyProgress);
  curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &reply);
  curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
  const CURLcode result = curl_easy_perform(handle);
  if (result != CURLE_OK) {
    Trace("update request failed: %s", curl_easy_strerror(result));
    return {};
  }
  return std::move(reply.bytes);
}

// The server writes line breaks in release notes as the two characters \n.
QString WithLineBreaks(QString text) {
  return text.replace(QStringLiteral("\\n"), QStringLiteral("\n"));
}

}  // namespace

bool RunDetachedCommand(const QString& program, const QStringList& args) {
  return QProcess::startDetached(program, args);
}

QString UpdateEndpoint() {
  QString endpoint = Settings::GetStringOr(setting::kUpdateEndpoint, QString()).trimmed();
  while (endpoint.endsWith(u'/')) endpoint.chop(1);
  return endpoint;
}

UpdateCheck::UpdateCheck(UpdateEnvironment environment) : env_(std::move(environment)) {}

bool UpdateCheck::Cancelled() const {
  return env_.cancel && env_.cancel->load();
}

void UpdateCheck::ShowMessage(UpdateUi::Kind kind, QStringView textKey, const QString& text) {
  if (env_.ui && !Cancelled()) {
    env_.ui->Show({kind, textKey.toString(), text, QStringLiteral("Update.AppTitle")});
  }
}

int64_t UpdateCheck::DownloadLimit(uint64_t announcedBytes) const {
  const auto cap = static_cast<uint64_t>(env_.limits.downloadMaxBytes);
  return static_cast<int64_t>(announcedBytes > 0 && announcedBytes < cap ? announcedBytes : cap);
}

bool UpdateCheck::RequestUpdateInfo() {
  const QString endpoint = UpdateEndpoint();
  if (endpoint.isEmpty()) return false;
  const QString version = QString::number(info_.CurrentVersion);
  const QString url =
      endpoint + QStringLiteral("/api/zelvaro/v1/checkUpdate?platform=linux&appver=") + version;
  userAgent_ = "Zelvaro/" + version.toLatin1();
  const std::string reply = FetchReply(url, userAgent_.constData(), env_.limits, env_.cancel.get());
  replyRead_ = ParseUpdateReply(reply, &info_);
  return replyRead_;
}

bool UpdateCheck::RunCommand(const QString& command, const QString& argument) {
  const QString program = ConfineUpdateCommand(ExpandPathMacros(command));
  if (program.isEmpty()) {
    Trace("update command refused: %s", qPrintable(command));
    return false;
  }
  const QString expandedArgument = ExpandPathMacros(argument);
  const QStringList args =
      expandedArgument.isEmpty() ? QStringList() : QProcess::splitCommand(expandedArgument);
  return env_.run && env_.run(program, args);
}

void UpdateCheck::InstallSideFiles() {
  for (const UpdateFile& file : info_.Files) {
    if (Cancelled()) return;
    if (file.Name.isEmpty() || file.DownloadUrl.isEmpty() || file.DownloadSaveAs.isEmpty())
      continue;
    const QString valueName = setting::kFileVersionPrefix.toString() + file.Name;
    const uint32_t stored = Settings::GetDwordOr(valueName, 0);
    if (file.Version != 0 && stored >= file.Version) continue;

    const QString target = ConfineUpdatePath(ExpandPathMacros(file.DownloadSaveAs));
    if (target.isEmpty()) continue;
    const bool installed = DownloadVerified({file.DownloadUrl, target, file.Sha256,
                                             DownloadLimit(file.DownloadFileSize),
                                             userAgent_.constData(), env_.cancel.get()});
    if (!installed) continue;
    if (file.Version != 0) Settings::SetDword(valueName, file.Version);
    if (!file.RunCmd.isEmpty()) RunCommand(file.RunCmd, file.RunArg);
  }
}

bool UpdateCheck::DownloadUpdate() {
  if (!info_.DownloadUrl.isEmpty() && !info_.DownloadSaveAs.isEmpty()) {
    const QString target = ConfineUpdatePath(ExpandPathMacros(info_.DownloadSaveAs));
    const bool downloaded =
        !target.isEmpty() && DownloadVerified({info_.DownloadUrl, target, info_.Sha256,
                                               DownloadLimit(info_.DownloadFileSize),
                                               userAgent_.constData(), env_.cancel.get()});
    if (!downloaded) {
      ShowMessage(UpdateUi::Kind::Error, u"Update.DownloadError");
      return false;
    }
  }
  if (info_.RunCmd.isEmpty()) return true;
  // The started installer closes the player itself when it has to.
  return RunCommand(info_.RunCmd, info_.RunArg);
}

void UpdateCheck::Run(bool silent) {
  info_.CurrentVersion = Settings::GetDwordOr(setting::kAppver, 0);
  if (!RequestUpdateInfo() || Cancelled()) return;
  InstallSideFiles();
  if (Cancelled()) return;
  if (info_.UpdateAvailable) {
    if (!info_.ForceUpdate) {
      UpdateUi::Message question{UpdateUi::Kind::Question, QStringLiteral("Update.UpdateAvailable"),
                                 WithLineBreaks(info_.ReleaseNotes),
                                 QStringLiteral("Update.AppTitle")};
      if (!env_.ui || Cancelled() || !env_.ui->Show(question)) return;
    }
    DownloadUpdate();
    return;
  }
  if (!silent) ShowMessage(UpdateUi::Kind::Information, u"Update.LatestVersion");
}

}  // namespace zelvaro
