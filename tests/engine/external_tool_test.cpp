#include "engine/external_tool.h"
#include "foundation/media_info_library.h"
#include "tests/engine/recording_video_output.h"
#include "tests/support/child_process.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace zelvaro {
namespace {

// A job that would run for minutes: real-time generated input, so cancel and
// time-out always meet a running tool.
ExternalToolJob EndlessJob(const QString& output) {
  return {.arguments = {"-y", "-re", "-f", "lavfi", "-i", "testsrc=size=64x48:rate=25", "-t", "600",
                        "-c:v", "mpeg4", output},
          .timeoutMs = 60000,
          .outputPath = output,
          .reportProgress = true};
}

TEST(ExternalTool, AJobThatDoesNotFinishLeavesNoOutput) {
  QTemporaryDir dir;
  const QString output = dir.filePath("out.mkv");

  std::atomic<bool> cancel{false};
  double reached = 0.0;
  const ExternalToolResult cancelled =
      RunExternalTool(EndlessJob(output), &cancel, [&](double seconds) {
        reached = seconds;
        if (seconds > 0.3) cancel = true;  // the file exists by now
      });
  EXPECT_EQ(cancelled.outcome, ExternalToolOutcome::Cancelled);
  EXPECT_GT(reached, 0.3);
  EXPECT_FALSE(QFile::exists(output));

  ExternalToolJob slow = EndlessJob(output);
  slow.timeoutMs = 700;
  EXPECT_EQ(RunExternalTool(slow).outcome, ExternalToolOutcome::TimedOut);
  EXPECT_FALSE(QFile::exists(output));

  // A tool that fails after writing the container header.
  const ExternalToolResult failed = RunExternalTool(
      {.arguments = {"-y", "-f", "lavfi", "-i", "sine=duration=0.2", "-t", "0.1", "-f", "matroska",
                     output, "-c", "no_such_codec", dir.filePath("second.mkv")},
       .outputPath = output});
  EXPECT_EQ(failed.outcome, ExternalToolOutcome::Failed);
  EXPECT_NE(failed.exitCode, 0);
  EXPECT_FALSE(QFile::exists(output));
}

TEST(ExternalTool, AMissingToolFailsAtOnce) {
  const QByteArray path = qgetenv("PATH");
  qputenv("PATH", "/nonexistent");
  const ExternalToolResult result = RunExternalTool({.arguments = {"-version"}});
  qputenv("PATH", path);
  EXPECT_EQ(result.outcome, ExternalToolOutcome::ToolMissing);
}

TEST(ExternalTool, ATaskReportsProgressAndItsEndOnItsOwnThread) {
  QTemporaryDir dir;
  const QString output = dir.filePath("out.mkv");
  ExternalToolTask task(EndlessJob(output));
  const Qt::HANDLE owner = QThread::currentThreadId();
  int progressCalls = 0;
  std::optional<ExternalToolResult> finished;
  QObject::connect(&task, &ExternalToolTask::Progress,
                   [&] { progressCalls += QThread::currentThreadId() == owner; });
  QObject::connect(&task, &ExternalToolTask::Finished, [&](const ExternalToolResult& result) {
    if (QThread::currentThreadId() == owner) finished = result;
  });
  task.Start();
  ASSERT_TRUE(test::WaitUntil([&] { return progressCalls > 0; }, 20000));
  task.Cancel();
  ASSERT_TRUE(test::WaitUntil([&] { return finished.has_value(); }, 10000));
  EXPECT_FALSE(task.IsRunning());
  EXPECT_EQ(finished->outcome, ExternalToolOutcome::Cancelled);
  EXPECT_FALSE(QFile::exists(output));
}

TEST(MediaInfoLibrary, ReportsAFileWithANameOutsideAscii) {
  ASSERT_EQ(MediaInfoLibrary::Load(), 1);
  QTemporaryDir dir;
  const QString media = dir.filePath(QStringLiteral("노래 – été.mp3"));
  ASSERT_TRUE(RunExternalTool(
                  {.arguments = {"-y", "-f", "lavfi", "-i", "sine=duration=1.5", "-metadata",
                                 "title=Probe Title", "-metadata", "artist=Probe Artist", media},
                   .outputPath = media})
                  .Succeeded());

  MediaInfoLibrary::AnalysisError error{};
  const QString report = MediaInfoLibrary::Inform(media, &error);
  EXPECT_EQ(error, MediaInfoLibrary::AnalysisError::None);
  EXPECT_TRUE(report.contains(QStringLiteral("Probe Title"))) << qPrintable(report);

  const auto tags = MediaInfoLibrary::ReadGeneralTags(media);
  ASSERT_TRUE(tags);
  EXPECT_EQ(tags->title, QStringLiteral("Probe Title"));
  EXPECT_EQ(tags->performer, QStringLiteral("Probe Artist"));
  EXPECT_NEAR(tags->durationMs.toInt(), 1500, 100);

  MediaInfoLibrary::Inform(dir.filePath("absent.mkv"), &error);
  EXPECT_EQ(error, MediaInfoLibrary::AnalysisError::OpenFailed);
  EXPECT_FALSE(MediaInfoLibrary::ReadGeneralTags(dir.filePath("absent.mkv")));
}

TEST(MediaInfoLibrary, ExitWaitsForAnAnalysisUnderWayAndLeavesIfItNeverEnds) {
  ASSERT_EQ(MediaInfoLibrary::Load(), 1);
  const pid_t child = test::ForkChild([] {
    // An address that takes the connection and never answers.
    const int server = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (::bind(server, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::listen(server, 1) != 0 ||
        ::getsockname(server, reinterpret_cast<sockaddr*>(&address), &length) != 0)
      return 2;
    const QString url =
        QStringLiteral("http://127.0.0.1:%1/stalled.mp3").arg(ntohs(address.sin_port));
    std::thread([url] { MediaInfoLibrary::Inform(url); }).detach();
    pollfd waiting{server, POLLIN, 0};
    if (::poll(&waiting, 1, 10000) != 1 || ::accept(server, nullptr, nullptr) < 0) return 3;
    std::exit(EXIT_SUCCESS);
  });
  EXPECT_EQ(test::WaitForExit(child), EXIT_FAILURE);
}

}  // namespace
}  // namespace zelvaro
