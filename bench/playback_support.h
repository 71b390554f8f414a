#pragma once
// What the playback benchmarks share: the clip they play, a private home so
// no run reads or writes the user's settings, the process's CPU clock, event
// loop waits, and a VideoOutput that counts what reaches it.

#include "engine/video_output.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <set>

namespace zelvaro::bench {

// User plus system CPU seconds of this process, all threads.
double ProcessCpuSeconds();
// CLOCK_MONOTONIC, seconds.
double MonotonicSeconds();

// The value after `name` in the arguments ("--seconds 20"), if any.
std::optional<QString> OptionValue(const QStringList& args, const QString& name);
// The first argument that is not an option or an option's value.
QString FirstPositional(const QStringList& args, const QStringList& optionsWithValue);

// `path` when given; otherwise the default clip beside the build tree, made
// with bench/playback_media.sh the first time. Empty (with a line on
// standard output saying why) when it cannot be had.
QString ClipPath(const QString& path);
// Ten minutes of 1080p H.264 in MPEG-TS beside the build tree, made with
// bench/thumbnail_media.sh the first time; empty when it cannot be had.
QString TenMinuteTsPath();

// XDG_CONFIG_HOME and XDG_DATA_HOME in a fresh temporary directory for the
// object's lifetime.
class PrivateHome {
 public:
  PrivateHome();
  QString Root() const { return dir_.path(); }

 private:
  QTemporaryDir dir_;
};

// Whether a window can be shown: a display, or a Qt platform that needs
// none. Otherwise prints the skip line that tells how to run `program` and
// returns false; call it before the QApplication exists.
bool DisplayAvailable(const char* program);

// With "--decoder-threads N", stores LAV_NumThreads=N in the private home, so
// the engine's video decoder runs on N threads (0: the decoder's choice).
// Returns N, or -1 when the option is absent.
int ApplyDecoderThreads(const QStringList& args);

// Runs the event loop in short slices until `condition` holds or `timeoutMs`
// passes; returns whether it holds.
bool RunUntil(const std::function<bool()>& condition, int timeoutMs);

// Counts the frames that reach it (distinct stream times too, since a
// preroll frame comes again when playing starts) and hands everything on to
// `next` when there is one.
class CountingVideoOutput : public VideoOutput {
 public:
  explicit CountingVideoOutput(VideoOutput* next = nullptr) : next_(next) {}

  void PresentFrame(VideoFramePtr frame) override;
  void ClearFrame() override;
  QSize ClientSize() const override;
  void SetDestinationRect(const QRect& rect) override;
  bool SetInt(std::string_view name, int value) override;
  bool SetBool(std::string_view name, bool value) override;
  QImage DisplayedImage() override;

  uint64_t Frames() const;
  uint64_t DistinctFrames() const;
  int64_t LastTime100ns() const;

 private:
  VideoOutput* next_;
  mutable std::mutex mutex_;
  uint64_t frames_ = 0;
  std::set<int64_t> times_;
  int64_t lastTime100ns_ = -1;
};

// One figure on its own line, "key=value unit", so bench/playback_vs_peers.sh
// can read it and a person too.
void PrintFigure(const char* key, double value, const char* unit = "");

}  // namespace zelvaro::bench
