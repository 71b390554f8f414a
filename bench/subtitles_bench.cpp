// Subtitle costs as the renderer and the open flow meet them:
// - GetSubPic at 1080p per frame while a static line shows (the cached
//   picture is reused after one cheap libass check) and while a \fad line
//   animates (every frame drawn anew), and in a gap;
// - loading 50 MB files of each format, and of garbage, each in a child
//   process so that its time and peak memory stand alone.
// Runs in a temporary directory; prints figures and never fails.

#include "subtitles/subtitle_manager.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>

using namespace zelvaro;

namespace {

constexpr int64_t kMs = 10'000;  // 100-ns units
constexpr qsizetype kLargeFileBytes = 50LL * 1024 * 1024;

double Seconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

QString WriteFile(const QTemporaryDir& dir, const QString& name, const QByteArray& bytes) {
  const QString path = dir.filePath(name);
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
    std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
    std::exit(1);
  }
  return path;
}

const char kAnimated[] =
    "[Script Info]\nScriptType: v4.00+\nPlayResX: 384\nPlayResY: 288\n\n[Events]\n"
    "Format: Layer, Start, End, Style, Text\n"
    "Dialogue: 0,0:00:01.00,0:00:09.00,Default,A static line of subtitle text, 한국어 자막\n"
    "Dialogue: 0,0:00:10.00,0:00:14.00,Default,{\\fad(2000,0)}A line that fades in, 천천히\n";

void BenchFrames() {
  QTemporaryDir dir;
  const QString path = WriteFile(dir, QStringLiteral("frames.ass"), kAnimated);
  SubtitleManager manager;
  manager.Initialize(1920, 1080);
  manager.SetRenderSize(1920, 1080);
  if (!manager.LoadSubtitle(path)) {
    std::printf("frames: load failed\n");
    return;
  }
  auto start = std::chrono::steady_clock::now();
  auto first = manager.GetSubPic(1000 * kMs);
  const double firstMs = Seconds(std::chrono::steady_clock::now() - start) * 1e3;

  // 25 fps over the rest of the static line's eight seconds.
  constexpr int kStaticFrames = 199;
  int reused = 0;
  start = std::chrono::steady_clock::now();
  for (int i = 1; i <= kStaticFrames; ++i)
    if (manager.GetSubPic((1000 + 40 * i) * kMs) == first) ++reused;
  const double staticUs = Seconds(std::chrono::steady_clock::now() - start) * 1e6 / kStaticFrames;

  constexpr int kFadeFrames = 50;  // the two seconds of the fade
  int distinct = 0;
  std::shared_ptr<const CMemSubPic> last;
  start = std::chrono::steady_clock::now();
  for (int i = 0; i < kFadeFrames; ++i) {
    auto picture = manager.GetSubPic((10000 + 40 * i) * kMs);
    if (picture && picture != last) ++distinct;
    last = picture;
  }
  const double fadeMs = Seconds(std::chrono::steady_clock::now() - start) * 1e3 / kFadeFrames;

  constexpr int kGapFrames = 1000;
  start = std::chrono::steady_clock::now();
  for (int i = 0; i < kGapFrames; ++i) manager.GetSubPic((9200 + i % 20 * 40) * kMs);
  const double gapUs = Seconds(std::chrono::steady_clock::now() - start) * 1e6 / kGapFrames;

  std::printf("GetSubPic 1080p, first frame of a line (libass render + blend): %8.2f ms\n",
              firstMs);
  std::printf("GetSubPic 1080p, static line, per frame (%d/%d reused):      %8.2f us\n", reused,
              kStaticFrames, staticUs);
  std::printf("GetSubPic 1080p, \\fad line, per frame (%d/%d new pictures):   %8.2f ms\n", distinct,
              kFadeFrames, fadeMs);
  std::printf("GetSubPic 1080p, gap between events, per frame:              %8.2f us\n", gapUs);
}

QByteArray LargeSrt() {
  QByteArray bytes;
  bytes.reserve(kLargeFileBytes + 4096);
  for (int i = 0; bytes.size() < kLargeFileBytes; ++i) {
    const long long ms = i * 1500LL;
    char cue[256];
    std::snprintf(cue, sizeof(cue),
                  "%d\n%02lld:%02lld:%02lld,%03lld --> %02lld:%02lld:%02lld,%03lld\n"
                  "<i>Line %d</i> of a long film, 자막 줄\n\n",
                  i + 1, ms / 3600000, ms / 60000 % 60, ms / 1000 % 60, ms % 1000,
                  (ms + 1000) / 3600000, (ms + 1000) / 60000 % 60, (ms + 1000) / 1000 % 60,
                  (ms + 1000) % 1000, i + 1);
    bytes.append(cue);
  }
  return bytes;
}

QByteArray LargeWebVtt() {
  QByteArray bytes = "WEBVTT\n\n";
  bytes.reserve(kLargeFileBytes + 4096);
  for (int i = 0; bytes.size() < kLargeFileBytes; ++i) {
    const long long ms = i * 1500LL;
    char cue[256];
    std::snprintf(cue, sizeof(cue),
                  "%02lld:%02lld:%02lld.%03lld --> %02lld:%02lld:%02lld.%03lld line:90%%\n"
                  "<v Ann>Line %d</v> &amp; more, 자막\n\n",
                  ms / 3600000, ms / 60000 % 60, ms / 1000 % 60, ms % 1000, (ms + 1000) / 3600000,
                  (ms + 1000) / 60000 % 60, (ms + 1000) / 1000 % 60, (ms + 1000) % 1000, i + 1);
    bytes.append(cue);
  }
  return bytes;
}

QByteArray LargeSami() {
  QByteArray bytes = "<SAMI><HEAD><TITLE>t</TITLE></HEAD><BODY>\n";
  bytes.reserve(kLargeFileBytes + 4096);
  for (int i = 0; bytes.size() < kLargeFileBytes; ++i) {
    char sync[256];
    std::snprintf(sync, sizeof(sync),
                  "<SYNC Start=%lld><P Class=KRCC>Line %d<br>second line\n"
                  "<SYNC Start=%lld><P Class=KRCC>&nbsp;\n",
                  i * 1500LL, i + 1, i * 1500LL + 1000);
    bytes.append(sync);
  }
  bytes.append("</BODY></SAMI>\n");
  return bytes;
}

QByteArray LargeGarbage() {
  QByteArray bytes(kLargeFileBytes, '\0');
  std::mt19937_64 random(42);
  for (qsizetype i = 0; i + 8 <= bytes.size(); i += 8) {
    const uint64_t value = random();
    std::memcpy(bytes.data() + i, &value, 8);
  }
  return bytes;
}

// One 50 MB cue of tags: the shape that makes a naive tag stripper quadratic.
QByteArray LargeTagCue() {
  QByteArray bytes = "1\n00:00:01,000 --> 00:00:02,000\n";
  bytes.reserve(kLargeFileBytes + 64);
  while (bytes.size() < kLargeFileBytes) bytes.append("<b>x</b>");
  return bytes;
}

const char* onlyLabel = nullptr;  // from the command line: run the loads that match only

// Every cue at once: libass's cost grows with the square of the lines shown.
QByteArray LargeOverlap() {
  QByteArray bytes;
  bytes.reserve(kLargeFileBytes + 4096);
  for (int i = 0; bytes.size() < kLargeFileBytes; ++i)
    bytes.append(QStringLiteral("%1\n00:00:01,000 --> 09:00:00,000\nAll at once %1\n\n")
                     .arg(i + 1)
                     .toUtf8());
  return bytes;
}

// Loads in a child: its own peak memory, and a hang would show as a time.
void BenchLoad(const char* label, const QTemporaryDir& dir, const QString& name,
               const std::function<QByteArray()>& make, int64_t probeTime100ns) {
  if (onlyLabel != nullptr && std::strstr(label, onlyLabel) == nullptr) return;
  const QString path = WriteFile(dir, name, make());
  std::fflush(stdout);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    SubtitleManager manager;
    manager.Initialize(1920, 1080);
    const auto loadStart = std::chrono::steady_clock::now();
    const bool loaded = manager.LoadSubtitle(path);
    const double loadSeconds = Seconds(std::chrono::steady_clock::now() - loadStart);
    const auto frameStart = std::chrono::steady_clock::now();
    const bool shown = manager.GetSubPic(probeTime100ns) != nullptr;
    const double frameMs = Seconds(std::chrono::steady_clock::now() - frameStart) * 1e3;
    std::printf("  %-34s load %6.2f s, %s, frame %s in %6.2f ms", label, loadSeconds,
                loaded ? "loaded" : "refused", shown ? "drawn" : "empty", frameMs);
    std::fflush(stdout);
    _exit(0);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  std::printf(", peak %4ld MB, child %5.2f s\n", usage.ru_maxrss / 1024,
              Seconds(std::chrono::steady_clock::now() - start));
  QFile::remove(path);
}

void BenchLargeFiles() {
  QTemporaryDir dir;
  std::printf("Loading 50 MB files (1080p), in a child process each:\n");
  const int64_t middle = 3LL * 3600 * 1000 * kMs;  // three hours in: a cue is showing
  BenchLoad("SRT, 650k cues", dir, QStringLiteral("large.srt"), LargeSrt, middle + 100 * kMs);
  BenchLoad("WebVTT, 600k cues", dir, QStringLiteral("large.vtt"), LargeWebVtt, middle + 100 * kMs);
  BenchLoad("SAMI, 1.1M syncs", dir, QStringLiteral("large.smi"), LargeSami, middle + 100 * kMs);
  BenchLoad("binary garbage as .srt", dir, QStringLiteral("garbage.srt"), LargeGarbage, middle);
  BenchLoad("binary garbage as .smi", dir, QStringLiteral("garbage.smi"), LargeGarbage, middle);
  BenchLoad("binary garbage as .ass", dir, QStringLiteral("garbage.ass"), LargeGarbage, middle);
  BenchLoad("1M cues all shown at once", dir, QStringLiteral("overlap.srt"), LargeOverlap,
            2000 * kMs);
  BenchLoad("one cue of 50 MB of tags", dir, QStringLiteral("tags.srt"), LargeTagCue, 1500 * kMs);
}

}  // namespace

// No argument: everything. "frames": the per-frame figures only. Anything
// else: the loads whose label holds it.
int main(int argc, char** argv) {
  if (argc > 1) onlyLabel = argv[1];
  if (onlyLabel == nullptr || std::strcmp(onlyLabel, "frames") == 0) BenchFrames();
  if (onlyLabel == nullptr || std::strcmp(onlyLabel, "frames") != 0) BenchLargeFiles();
  return 0;
}
