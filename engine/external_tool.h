#pragma once
// ExternalTool: the one way the program runs ffmpeg (clip cutting, album art,
// embedded subtitle extraction, file metadata). The tool is `ffmpeg` beside the
// executable, else the first one on PATH. Arguments travel as a list, never
// through a shell, so names with quotes, spaces, leading dashes or newlines
// reach the tool intact. The process gets no terminal and an empty standard
// input; a job that fails, times out or is cancelled has its output file
// removed, so no half-written file is left for the user to find.
//
// Threads: RunExternalTool blocks its caller for as long as the job runs and
// must never be called on the interface thread. ExternalToolTask runs one job
// on a thread of its own and reports to the thread that owns it by queued
// calls; create, start, cancel and destroy it on that thread.

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace zelvaro {

// Empty when no ffmpeg is beside the executable nor on PATH.
QString FindExternalTool();

struct ExternalToolJob {
  QStringList arguments;  // everything after the tool's own name
  int timeoutMs = 30000;
  // Removed when the job does not succeed; empty when the job writes no file.
  QString outputPath;
  // Smallest size the output must have for success (0: it must exist).
  qint64 minimumOutputBytes = 0;
  // Adds ffmpeg's machine-readable progress on standard output, reported as
  // the position reached in the output, in seconds.
  bool reportProgress = false;
  // Keeps the tool's standard output (the metadata job reads it).
  bool keepStandardOutput = false;
};

enum class ExternalToolOutcome { Succeeded, ToolMissing, StartFailed, TimedOut, Failed, Cancelled };

struct ExternalToolResult {
  ExternalToolOutcome outcome = ExternalToolOutcome::Failed;
  int exitCode = -1;
  QByteArray standardOutput;  // only with keepStandardOutput
  QByteArray errorTail;       // the last few KB of standard error, for traces

  bool Succeeded() const { return outcome == ExternalToolOutcome::Succeeded; }
};

// `cancel` may be null. `progress` (may be empty) is called on the calling
// thread whenever the reported position moves.
ExternalToolResult RunExternalTool(const ExternalToolJob& job,
                                   const std::atomic<bool>* cancel = nullptr,
                                   const std::function<void(double seconds)>& progress = {});

class ExternalToolTask : public QObject {
  Q_OBJECT
 public:
  explicit ExternalToolTask(ExternalToolJob job, QObject* parent = nullptr);
  // Cancels a running job and waits for it; the tool is killed at once, so this
  // takes milliseconds.
  ~ExternalToolTask() override;

  void Start();
  void Cancel();
  bool IsRunning() const { return running_; }
  const ExternalToolJob& Job() const { return job_; }

 signals:
  void Progress(double seconds);
  void Finished(const zelvaro::ExternalToolResult& result);

 private:
  ExternalToolJob job_;
  std::atomic<bool> cancel_{false};
  bool running_ = false;
  std::thread worker_;
};

}  // namespace zelvaro

Q_DECLARE_METATYPE(zelvaro::ExternalToolResult)
