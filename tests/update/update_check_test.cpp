// The update check against a scripted loopback server: the designed flow
// and what a hostile server may try.

#include "update/update_check.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/support/http_test_server.h"
#include "tests/support/read_file.h"
#include "tests/support/temp_home.h"
#include "tests/support/wait_until.h"
#include "update/update_checker.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <mutex>
#include <nlohmann/json.hpp>
#include <thread>

namespace zelvaro {
namespace {

using test::HttpResponse;
using test::HttpTestServer;
using test::TempHome;
using Json = nlohmann::json;

constexpr char kCheckPath[] = "/api/zelvaro/v1/checkUpdate";

Json With(Json base, const Json& changes) {
  base.update(changes);
  return base;
}

std::string Sha256Of(const QByteArray& bytes) {
  return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
}

// Keeps each message and how many requests the server had seen by then.
class RecordingUi : public UpdateUi {
 public:
  explicit RecordingUi(const HttpTestServer* server) : server(server) {}
  bool Show(const Message& message) override {
    std::lock_guard lock(mutex);
    messages.push_back(message);
    requestsSeen.push_back(server->RequestCount());
    shown.notify_all();
    return answerYes;
  }
  std::vector<QString> Keys() {
    std::lock_guard lock(mutex);
    std::vector<QString> keys;
    for (const Message& message : messages) keys.push_back(message.textKey);
    return keys;
  }
  const HttpTestServer* server;
  std::mutex mutex;
  std::condition_variable shown;
  std::vector<Message> messages;
  std::vector<int> requestsSeen;
  bool answerYes = true;
};

struct StartedCommand {
  QString program;
  QStringList args;
};

class UpdateCheckTest : public ::testing::Test {
 protected:
  void SetUp() override {
    savedTmp_ = qgetenv("TMPDIR");
    tempDir_ = home_.Root() + QStringLiteral("/tmp");
    outsideDir_ = home_.Root() + QStringLiteral("/outside");
    QDir().mkpath(tempDir_);
    QDir().mkpath(outsideDir_);
    // The home itself lies in the system's temporary folder; a temporary
    // folder of its own lets "outside" really be outside.
    qputenv("TMPDIR", tempDir_.toLocal8Bit());
    installDir_ = home_.DataHome() + QStringLiteral("/zelvaro");
    QDir().mkpath(installDir_);
    Settings::SetString(setting::kUpdateEndpoint, server_.Url(QString()) + u'/');
    Settings::SetDword(setting::kAppver, 10203);
  }
  void TearDown() override { qputenv("TMPDIR", savedTmp_); }

  void Reply(const Json& data) {
    const Json reply = {{"result", "success"}, {"data", data}};
    server_.Route(kCheckPath, {.body = QByteArray::fromStdString(reply.dump())});
  }
  // Serves `bytes` at `path` and returns its URL.
  std::string Serve(const QByteArray& path, const QByteArray& bytes) {
    server_.Route(path, {.body = bytes});
    return server_.Url(QString::fromLatin1(path)).toStdString();
  }

  UpdateCheck MakeCheck() {
    UpdateEnvironment environment;
    environment.ui = ui_;
    environment.run = [this](const QString& program, const QStringList& args) {
      runs_.push_back({program, args});
      return true;
    };
    environment.limits.connectTimeoutMs = 1000;
    environment.limits.replyTimeoutMs = 1000;
    return UpdateCheck(std::move(environment));
  }
  int RequestsFor(const QByteArray& path) const {
    int count = 0;
    for (const auto& request : server_.Requests()) count += request.path == path ? 1 : 0;
    return count;
  }

  TempHome home_;
  HttpTestServer server_;
  std::shared_ptr<RecordingUi> ui_ = std::make_shared<RecordingUi>(&server_);
  std::vector<StartedCommand> runs_;
  QByteArray savedTmp_;
  QString tempDir_;
  QString outsideDir_;
  QString installDir_;
};

TEST_F(UpdateCheckTest, AsksWithPlatformVersionAndAgentOnlyWithAnEndpoint) {
  Reply({{"update_available", false}});
  MakeCheck().Run(/*silent=*/true);
  const auto requests = server_.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].path, kCheckPath);
  EXPECT_EQ(requests[0].query, "platform=linux&appver=10203");
  EXPECT_TRUE(requests[0].headers.contains("User-Agent: Zelvaro/10203\r\n"));
  Settings::SetString(setting::kUpdateEndpoint, u"");
  MakeCheck().Run(false);
  EXPECT_EQ(server_.RequestCount(), 1);
  EXPECT_TRUE(ui_->messages.empty());
}

// Every reply here is refused as a whole: nothing shown, nothing fetched,
// nothing run, also on a check by hand.
TEST_F(UpdateCheckTest, RefusedRepliesChangeNothing) {
  const std::string sideUrl = Serve("/side", "side");
  const Json sideFile = {{"name", "x"},
                         {"download_url", sideUrl},
                         {"download_save_as", "%INST_DIR%/x"},
                         {"sha256", Sha256Of("side")}};
  const auto reply = [&](const Json& document) {
    return HttpResponse{.body = QByteArray::fromStdString(document.dump())};
  };
  // Plain http on loopback passes the address rule; a redirect there must not.
  HttpTestServer plain;
  plain.Route(kCheckPath, reply({{"result", "success"}, {"data", {{"files", {sideFile}}}}}));
  struct Case {
    const char* name;
    HttpResponse response;
  };
  const std::vector<Case> cases = {
      {"result fail", reply({{"result", "fail"}, {"data", {{"files", {sideFile}}}}})},
      {"no data", reply({{"result", "success"}})},
      {"data not an object", reply({{"result", "success"}, {"data", "x"}})},
      {"not json", {.body = "<html>502</html>"}},
      {"string for a number",
       reply({{"result", "success"}, {"data", {{"files", {sideFile}}, {"latest_version", "7"}}}})},
      {"negative version",
       reply({{"result", "success"}, {"data", {{"files", {With(sideFile, {{"version", -1}})}}}}})},
      {"number for a flag", reply({{"result", "success"}, {"data", {{"update_available", 1}}}})},
      {"100 MB reply", {.body = "{", .bodySize = 100ll * 1024 * 1024}},
      {"100 MB reply, no length",
       {.body = "{", .bodySize = 100ll * 1024 * 1024, .sendContentLength = false}},
      {"trickles forever",
       {.body = "{",
        .bodySize = 1ll << 30,
        .sendContentLength = false,
        .trickleBytesPerSecond = 100}},
      {"redirect to a file", {.status = 302, .headers = {{"Location", "file:///etc/passwd"}}}},
      {"redirect to plain http",
       {.status = 302,
        .headers = {{"Location", plain.Url(QString::fromLatin1(kCheckPath)).toUtf8()}}}},
  };
  for (const Case& testCase : cases) {
    SCOPED_TRACE(testCase.name);
    server_.Route(kCheckPath, testCase.response);
    UpdateCheck check = MakeCheck();
    check.Run(/*silent=*/false);
    EXPECT_FALSE(check.ReplyRead());
    EXPECT_EQ(RequestsFor("/side"), 0);
    EXPECT_TRUE(ui_->messages.empty());
    EXPECT_TRUE(runs_.empty());
    EXPECT_FALSE(QFileInfo::exists(installDir_ + QStringLiteral("/x")));
  }
}

TEST_F(UpdateCheckTest, LatestVersionShownAfterSideFilesUnlessSilent) {
  const std::string url = Serve("/dl/tool.bin", "tool v2");
  Reply({{"update_available", false},
         {"files",
          {{{"name", "tool"},
            {"version", 2},
            {"download_url", url},
            {"download_save_as", "%INST_DIR%/bin/tool.bin"},
            {"sha256", Sha256Of("tool v2")},
            {"run_cmd", "%INST_DIR%/bin/tool.bin"},
            {"run_arg", "--quiet \"%INST_DIR%/a b\""}}}}});
  MakeCheck().Run(/*silent=*/true);
  EXPECT_EQ(test::ReadFileBytes(installDir_ + QStringLiteral("/bin/tool.bin")), "tool v2");
  EXPECT_EQ(Settings::GetDwordOr(u"filever_tool", 0), 2u);
  ASSERT_EQ(runs_.size(), 1u);
  EXPECT_EQ(runs_[0].program,
            QFileInfo(installDir_).canonicalFilePath() + QStringLiteral("/bin/tool.bin"));
  EXPECT_EQ(runs_[0].args,
            QStringList({QStringLiteral("--quiet"), installDir_ + QStringLiteral("/a b")}));
  EXPECT_TRUE(ui_->messages.empty());

  MakeCheck().Run(/*silent=*/false);
  EXPECT_EQ(RequestsFor("/dl/tool.bin"), 1);  // version 2 is in place now
  EXPECT_EQ(ui_->Keys(), std::vector<QString>{QStringLiteral("Update.LatestVersion")});
  Settings::SetDword(u"filever_tool", 1);  // an older one is fetched again
  MakeCheck().Run(/*silent=*/true);
  EXPECT_EQ(RequestsFor("/dl/tool.bin"), 2);
  EXPECT_EQ(Settings::GetDwordOr(u"filever_tool", 0), 2u);
}

TEST_F(UpdateCheckTest, PromptTakesReleaseNotesAndNoEndsTheCheck) {
  const QByteArray installer = "#!/bin/sh\n";
  const std::string url = Serve("/setup.sh", installer);
  Reply({{"update_available", true},
         {"release_notes", "Fixes\\nMore"},
         {"download_url", url},
         {"download_save_as", "%TEMP%/zelvaro-setup/new/setup.sh"},
         {"sha256", Sha256Of(installer)},
         {"run_cmd", "%TEMP%/zelvaro-setup/new/setup.sh"}});
  ui_->answerYes = false;
  MakeCheck().Run(true);
  ASSERT_EQ(ui_->messages.size(), 1u);
  EXPECT_EQ(ui_->messages[0].kind, UpdateUi::Kind::Question);
  EXPECT_EQ(ui_->messages[0].text, QStringLiteral("Fixes\nMore"));
  EXPECT_EQ(RequestsFor("/setup.sh"), 0);

  // Yes: %TEMP% is expanded before the folders are made.
  ui_->answerYes = true;
  MakeCheck().Run(true);
  const QString saved = tempDir_ + QStringLiteral("/zelvaro-setup/new/setup.sh");
  EXPECT_EQ(test::ReadFileBytes(saved), installer);
  ASSERT_EQ(runs_.size(), 1u);
  EXPECT_EQ(runs_[0].program, QFileInfo(saved).canonicalFilePath());
  // A forced update is fetched without asking, even on a silent check.
  ui_->messages.clear();
  Reply({{"update_available", true},
         {"force_update", true},
         {"download_url", Serve("/pkg", "package")},
         {"download_save_as", "%INST_DIR%/pkg"},
         {"sha256", Sha256Of("package")}});
  MakeCheck().Run(true);
  EXPECT_TRUE(ui_->messages.empty());
  EXPECT_EQ(test::ReadFileBytes(installDir_ + QStringLiteral("/pkg")), "package");
}

// Without a download the command runs at once, and really starts.
TEST_F(UpdateCheckTest, CommandWithoutDownloadRuns) {
  const QString script =
      home_.WriteFile(u"data/zelvaro/run.sh"_qs, "#!/bin/sh\necho \"$1\" > \"$2\"\n");
  QFile::setPermissions(script, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
  const QString marker = installDir_ + QStringLiteral("/ran");
  Reply({{"update_available", true},
         {"force_update", true},
         {"run_cmd", "%INST_DIR%/run.sh"},
         {"run_arg", "hello %INST_DIR%/ran"}});
  UpdateEnvironment environment;
  environment.ui = ui_;
  UpdateCheck(std::move(environment)).Run(true);
  EXPECT_TRUE(test::WaitUntil([&] { return test::ReadFileBytes(marker) == "hello\n"; }));
}

// What a hostile reply may try with the main download: each is refused with
// the download error, the old file stays, nothing runs, nothing outside the
// two folders appears. The download's address rules are DownloadTest's.
TEST_F(UpdateCheckTest, HostileDownloadsAreRefused) {
  const QByteArray payload = "#!/bin/sh\nrm -rf ~\n";
  const std::string url = Serve("/evil", payload);
  const QString old = installDir_ + QStringLiteral("/player.bin");
  QFile::link(outsideDir_, installDir_ + QStringLiteral("/link"));
  const std::string outside = outsideDir_.toStdString() + "/.bashrc";
  struct Case {
    const char* name;
    Json data;
  };
  const Json base = {{"update_available", true},    {"force_update", true},
                     {"download_url", url},         {"download_save_as", "%INST_DIR%/player.bin"},
                     {"sha256", Sha256Of(payload)}, {"run_cmd", "%INST_DIR%/player.bin"}};
  const auto with = [&](const Json& changes) { return With(base, changes); };
  const std::vector<Case> cases = {
      {"wrong sha256", with({{"sha256", Sha256Of("other")}})},
      {"no sha256", with({{"sha256", nullptr}})},
      {"climbs out", with({{"download_save_as", "%INST_DIR%/../../.bashrc"}})},
      {"relative climb", with({{"download_save_as", "../../.bashrc"}})},
      {"absolute outside", with({{"download_save_as", outside}})},
      {"through a link", with({{"download_save_as", "%INST_DIR%/link/.bashrc"}})},
      {"larger than announced", with({{"download_filesize", 4}})},
  };
  for (const Case& testCase : cases) {
    SCOPED_TRACE(testCase.name);
    home_.WriteFile(QStringLiteral("data/zelvaro/player.bin"), "old");
    ui_->messages.clear();
    Reply(testCase.data);
    MakeCheck().Run(true);
    EXPECT_EQ(test::ReadFileBytes(old), "old");
    EXPECT_TRUE(runs_.empty());
    EXPECT_EQ(ui_->Keys(), std::vector<QString>{QStringLiteral("Update.DownloadError")});
    EXPECT_EQ(QDir(outsideDir_).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList());
    EXPECT_EQ(QDir(installDir_).entryList(QDir::Hidden | QDir::Files),
              QStringList{QStringLiteral("player.bin")});
  }
}

// A command outside the two folders never runs, even after a good download.
TEST_F(UpdateCheckTest, CommandsOutsideAreRefused) {
  const std::string url = Serve("/f", "f");
  for (const char* command : {"/bin/sh", "%INST_DIR%/../../bin/sh", "%INST_DIR%/missing"}) {
    SCOPED_TRACE(command);
    Reply({{"files",
            {{{"name", "f"},
              {"download_url", url},
              {"download_save_as", "%INST_DIR%/f"},
              {"sha256", Sha256Of("f")},
              {"run_cmd", command}}}}});
    MakeCheck().Run(true);
    EXPECT_EQ(test::ReadFileBytes(installDir_ + QStringLiteral("/f")), "f");
    EXPECT_TRUE(runs_.empty());
  }
}

// One check at a time: a second check asks the server only after the first
// has ended (here, after its box).
TEST_F(UpdateCheckTest, SecondCheckWaitsForTheFirst) {
  server_.Route(kCheckPath, {.body = R"({"result":"success","data":{}})", .delayMs = 300});
  UpdateChecker& checker = UpdateChecker::Instance();
  checker.SetUi(ui_);
  checker.StartCheck(/*silent=*/false);
  checker.StartCheck(/*silent=*/false);
  std::unique_lock lock(ui_->mutex);
  ui_->shown.wait_for(lock, std::chrono::seconds(10),
                      [&] { return ui_->requestsSeen.size() >= 2; });
  EXPECT_EQ(ui_->requestsSeen, (std::vector<int>{1, 2}));
  lock.unlock();
  checker.Shutdown();
}

// A check hanging on the server is left behind at once when the player closes.
TEST_F(UpdateCheckTest, CancelEndsAHangingCheck) {
  server_.Route(kCheckPath, {.body = "{", .bodySize = 1ll << 30, .trickleBytesPerSecond = 10});
  auto cancel = std::make_shared<std::atomic<bool>>(false);
  UpdateEnvironment environment;
  environment.ui = ui_;
  environment.cancel = cancel;
  std::promise<void> done;
  std::thread thread([&] {
    UpdateCheck(std::move(environment)).Run(false);
    done.set_value();
  });
  QDeadlineTimer deadline(10000);
  while (server_.RequestCount() == 0 && !deadline.hasExpired()) std::this_thread::yield();
  cancel->store(true);
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(1)), std::future_status::ready);
  thread.join();
  EXPECT_TRUE(ui_->messages.empty());
}

}  // namespace
}  // namespace zelvaro
