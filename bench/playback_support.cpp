#include "bench/playback_support.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace zelvaro::bench {

double ProcessCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  auto seconds = [](const timeval& time) { return time.tv_sec + time.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double MonotonicSeconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec + now.tv_nsec / 1e9;
}

std::optional<QString> OptionValue(const QStringList& args, const QString& name) {
  const qsizetype at = args.indexOf(name);
  if (at < 0 || at + 1 >= args.size()) return std::nullopt;
  return args[at + 1];
}

QString FirstPositional(const QStringList& args, const QStringList& optionsWithValue) {
  for (qsizetype i = 1; i < args.size(); ++i) {
    if (optionsWithValue.contains(args[i])) {
      ++i;
      continue;
    }
    if (!args[i].startsWith(QLatin1String("--"))) return args[i];
  }
  return {};
}

namespace {

// `clip` as it stands, or made once by `script` (a bench/ script taking the
// output path); empty, with a line saying why, when it cannot be made.
QString MadeOnce(const QString& clip, const char* script, const char* what) {
  if (QFileInfo(clip).isFile()) return clip;
  std::printf("making the input once (%s): %s\n", what, qPrintable(clip));
  std::fflush(stdout);
  QProcess maker;
  maker.setProcessChannelMode(QProcess::ForwardedChannels);
  maker.start(QStringLiteral("bash"),
              {QStringLiteral(ZELVARO_SOURCE_DIR "/bench/") + QLatin1String(script), clip});
  if (!maker.waitForFinished(-1) || maker.exitCode() != 0 || !QFileInfo(clip).isFile()) {
    std::printf("skipped: the input could not be made (is ffmpeg installed?)\n");
    return {};
  }
  return clip;
}

}  // namespace

QString ClipPath(const QString& path) {
  if (!path.isEmpty()) {
    if (QFileInfo(path).isFile()) return path;
    std::printf("skipped: no such clip: %s\n", qPrintable(path));
    return {};
  }
  return MadeOnce(QStringLiteral(ZELVARO_BENCH_MEDIA_DIR "/playback-1080p30-20s.mp4"),
                  "playback_media.sh", "20 s of 1080p30 H.264");
}

QString TenMinuteTsPath() {
  return MadeOnce(QStringLiteral(ZELVARO_BENCH_MEDIA_DIR "/thumbnails-1080p-10min.ts"),
                  "thumbnail_media.sh", "10 min of 1080p MPEG-TS");
}

PrivateHome::PrivateHome() {
  // Not XDG_CACHE_HOME: GStreamer keeps its plugin registry there, and a
  // fresh one would rescan every plugin inside the measured run.
  for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
    const QString folder = dir_.path() + QLatin1Char('/') + QString::fromLatin1(name).toLower();
    QDir().mkpath(folder);
    qputenv(name, QFile::encodeName(folder));
  }
}

int ApplyDecoderThreads(const QStringList& args) {
  const auto value = OptionValue(args, QStringLiteral("--decoder-threads"));
  if (!value) return -1;
  const int threads = std::max(0, value->toInt());
  Settings::SetDword(setting::kLavNumThreads, uint32_t(threads));
  return threads;
}

bool DisplayAvailable(const char* program) {
  const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
  if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
      (platform.isEmpty() || platform == "xcb")) {
    std::printf("skipped: needs a display (bash packaging/run-headless.sh %s)\n", program);
    return false;
  }
  return true;
}

bool RunUntil(const std::function<bool()>& condition, int timeoutMs) {
  const double deadline = MonotonicSeconds() + timeoutMs / 1000.0;
  // The timer only bounds the wait; the conditions change with events (a
  // paint, a queued engine event) that wake the loop by themselves. The
  // overload of processEvents with a time limit never sleeps, so the
  // benchmark would measure its own spinning.
  QTimer wake;
  wake.start(100);
  while (!condition()) {
    if (MonotonicSeconds() > deadline) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

void CountingVideoOutput::PresentFrame(VideoFramePtr frame) {
  if (frame) {
    std::lock_guard lock(mutex_);
    ++frames_;
    times_.insert(frame->time100ns);
    lastTime100ns_ = frame->time100ns;
  }
  if (next_) next_->PresentFrame(std::move(frame));
}

void CountingVideoOutput::ClearFrame() {
  if (next_) next_->ClearFrame();
}

QSize CountingVideoOutput::ClientSize() const {
  return next_ ? next_->ClientSize() : QSize(1920, 1080);
}

void CountingVideoOutput::SetDestinationRect(const QRect& rect) {
  if (next_) next_->SetDestinationRect(rect);
}

bool CountingVideoOutput::SetInt(std::string_view name, int value) {
  return next_ ? next_->SetInt(name, value) : true;
}

bool CountingVideoOutput::SetBool(std::string_view name, bool value) {
  return next_ ? next_->SetBool(name, value) : true;
}

QImage CountingVideoOutput::DisplayedImage() {
  return next_ ? next_->DisplayedImage() : QImage();
}

uint64_t CountingVideoOutput::Frames() const {
  std::lock_guard lock(mutex_);
  return frames_;
}

uint64_t CountingVideoOutput::DistinctFrames() const {
  std::lock_guard lock(mutex_);
  return times_.size();
}

int64_t CountingVideoOutput::LastTime100ns() const {
  std::lock_guard lock(mutex_);
  return lastTime100ns_;
}

void PrintFigure(const char* key, double value, const char* unit) {
  std::printf("%s=%.4g%s%s\n", key, value, *unit ? " " : "", unit);
  std::fflush(stdout);
}

}  // namespace zelvaro::bench
