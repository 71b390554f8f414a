#include "engine/external_tool.h"

#include "foundation/trace.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace zelvaro {
namespace {

constexpr int kPollMs = 20;
constexpr qsizetype kErrorTailBytes = 4096;

// ffmpeg's -progress blocks end in "progress=continue|end"; the position is
// "out_time_us" (older builds also write a mislabelled "out_time_ms" in
// microseconds, so only the _us key is trusted).
class ProgressReader {
 public:
  // Returns true when the position moved.
  bool Feed(const QByteArray& bytes) {
    pending_ += bytes;
    bool moved = false;
    qsizetype lineEnd;
    while ((lineEnd = pending_.indexOf('\n')) >= 0) {
      const QByteArray line = pending_.left(lineEnd).trimmed();
      pending_.remove(0, lineEnd + 1);
      if (!line.startsWith("out_time_us=")) continue;
      bool ok = false;
      const qint64 us = line.mid(12).toLongLong(&ok);
      if (ok && us >= 0 && us / 1e6 != seconds_) {
        seconds_ = us / 1e6;
        moved = true;
      }
    }
    return moved;
  }
  double Seconds() const { return seconds_; }

 private:
  QByteArray pending_;
  double seconds_ = 0.0;
};

void KeepTail(QByteArray& tail, const QByteArray& more) {
  tail += more;
  if (tail.size() > kErrorTailBytes) tail.remove(0, tail.size() - kErrorTailBytes);
}

bool OutputPasses(const ExternalToolJob& job) {
  if (job.outputPath.isEmpty()) return true;
  const QFileInfo info(job.outputPath);
  return info.exists() && info.size() >= job.minimumOutputBytes;
}

}  // namespace

QString FindExternalTool() {
  const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/ffmpeg");
  const QFileInfo info(beside);
  if (info.isFile() && info.isExecutable()) return beside;
  return QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
}

ExternalToolResult RunExternalTool(const ExternalToolJob& job, const std::atomic<bool>* cancel,
                                   const std::function<void(double)>& progress) {
  ExternalToolResult result;
  const QString tool = FindExternalTool();
  if (tool.isEmpty()) {
    result.outcome = ExternalToolOutcome::ToolMissing;
    return result;
  }

  QStringList arguments;
  // Global options first: ffmpeg reads them anywhere, but a caller's list ends
  // with the output name.
  arguments << QStringLiteral("-nostdin") << QStringLiteral("-hide_banner");
  if (job.reportProgress)
    arguments << QStringLiteral("-progress") << QStringLiteral("pipe:1")
              << QStringLiteral("-nostats");
  arguments += job.arguments;

  QProcess process;
  process.setProgram(tool);
  process.setArguments(arguments);
  process.setStandardInputFile(QProcess::nullDevice());
  process.start(QIODevice::ReadOnly);
  if (!process.waitForStarted(5000)) {
    Trace("external tool: %s did not start", qPrintable(tool));
    result.outcome = ExternalToolOutcome::StartFailed;
    QFile::remove(job.outputPath);
    return result;
  }

  ProgressReader reader;
  QElapsedTimer clock;
  clock.start();
  bool timedOut = false;
  bool cancelled = false;
  const auto drain = [&] {
    const QByteArray out = process.readAllStandardOutput();
    if (job.keepStandardOutput) result.standardOutput += out;
    if (job.reportProgress && reader.Feed(out) && progress) progress(reader.Seconds());
    KeepTail(result.errorTail, process.readAllStandardError());
  };
  while (process.state() != QProcess::NotRunning) {
    process.waitForFinished(kPollMs);
    drain();
    if (process.state() == QProcess::NotRunning) break;
    if (cancel && cancel->load()) {
      cancelled = true;
    } else if (clock.elapsed() > job.timeoutMs) {
      timedOut = true;
    } else {
      continue;
    }
    process.kill();
    process.waitForFinished(2000);
    break;
  }
  drain();

  result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
  if (cancelled) {
    result.outcome = ExternalToolOutcome::Cancelled;
  } else if (timedOut) {
    result.outcome = ExternalToolOutcome::TimedOut;
  } else if (result.exitCode == 0 && OutputPasses(job)) {
    result.outcome = ExternalToolOutcome::Succeeded;
  } else {
    result.outcome = ExternalToolOutcome::Failed;
  }
  if (!result.Succeeded()) {
    Trace("external tool: outcome %d, exit %d: %s", static_cast<int>(result.outcome),
          result.exitCode, result.errorTail.right(300).constData());
    if (!job.outputPath.isEmpty()) QFile::remove(job.outputPath);
  }
  return result;
}

ExternalToolTask::ExternalToolTask(ExternalToolJob job, QObject* parent)
    : QObject(parent), job_(std::move(job)) {}

ExternalToolTask::~ExternalToolTask() {
  cancel_ = true;
  if (worker_.joinable()) worker_.join();
}

void ExternalToolTask::Start() {
  if (running_) return;
  if (worker_.joinable()) worker_.join();
  cancel_ = false;
  running_ = true;
  worker_ = std::thread([this] {
    const ExternalToolResult result = RunExternalTool(job_, &cancel_, [this](double seconds) {
      QMetaObject::invokeMethod(
          this, [this, seconds] { emit Progress(seconds); }, Qt::QueuedConnection);
    });
    QMetaObject::invokeMethod(
        this,
        [this, result] {
          running_ = false;
          emit Finished(result);
        },
        Qt::QueuedConnection);
  });
}

void ExternalToolTask::Cancel() {
  cancel_ = true;
}

}  // namespace zelvaro
