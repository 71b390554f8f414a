// GraphManager's side of the subtitles inside the media file: the graph
// route (the splitter's samples into libass) and the external route (ffmpeg
// extracts the stream into a temporary file).

#include "engine/bitmap_subtitle_decoder.h"
#include "engine/embedded_text_preload.h"
#include "engine/external_tool.h"
#include "engine/graph_manager.h"
#include "engine/playback_graph.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"
#include "subtitles/subtitle_manager.h"
#include "subtitles/subtitle_stream_track.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <mutex>
#include <set>
#include <string_view>
#include <tuple>

namespace zelvaro {
namespace {

constexpr int kExtractTimeoutMs = 30'000;
// A text sample without a duration (some muxers leave it out) stands this long.
constexpr int64_t kUnknownDurationMs = 5'000;

std::string_view View(const QByteArray& bytes) {
  return {bytes.constData(), static_cast<size_t>(bytes.size())};
}

// One text stream on its way into libass, from the graph's demuxer and from
// the reader ahead, which see the same cues: each goes in once.
class TextFeed {
 public:
  TextFeed(SubtitleManager* manager, uint64_t token, EmbeddedSubtitleCodec codec)
      : manager_(manager), token_(token), codec_(codec) {}

  void Add(const EmbeddedSubtitleSample& sample) {
    const int64_t startMs = sample.start100ns / 10'000;
    const int64_t durationMs =
        sample.duration100ns >= 0 ? sample.duration100ns / 10'000 : kUnknownDurationMs;
    // An ASS line carries its read order, by which libass knows it again.
    if (codec_ == EmbeddedSubtitleCodec::kAss) {
      manager_->AddStreamEvent(token_, std::string(View(sample.data)), startMs, durationMs);
      return;
    }
    const bool markup = codec_ == EmbeddedSubtitleCodec::kPangoMarkup && !sample.plainText;
    std::string text = EmbeddedTextToAss(View(sample.data), markup);
    if (text.empty()) return;  // the gap between two cues of some muxers
    std::lock_guard lock(mutex_);
    if (!seen_.emplace(startMs, durationMs, text).second) return;
    manager_->AddStreamEvent(token_, AssStreamChunk(++readOrder_, text), startMs, durationMs);
  }

 private:
  SubtitleManager* manager_;
  uint64_t token_;
  EmbeddedSubtitleCodec codec_;
  std::mutex mutex_;
  int readOrder_ = 0;
  std::set<std::tuple<int64_t, int64_t, std::string>> seen_;
};

}  // namespace

bool GraphManager::GrabEmbeddedSubtitle(int index) {
  if (!graph_) return false;
  const std::optional<std::string> streamId =
      graph_->Streams().StreamId(StreamKind::kSubtitle, index);
  if (!streamId) return false;
  SubtitleStreamTap& tap = graph_->SubtitleTap();
  const std::optional<EmbeddedSubtitleStream> stream = tap.Info(*streamId);
  if (!stream || stream->codec == EmbeddedSubtitleCodec::kUnknown) return false;
  if (IsBitmapSubtitle(stream->codec)) return GrabBitmapSubtitle(index, *streamId, *stream);
  tap.Deselect();
  textPreload_.reset();
  EnsureSubtitleManager();
  SubtitleManager* manager = subtitleManager_.get();
  const EmbeddedSubtitleCodec codec = stream->codec;
  const bool ass = codec == EmbeddedSubtitleCodec::kAss;
  const uint64_t token = manager->StartStreamTrack(GetSubtitleTrackName(index),
                                                   ass ? std::string(View(stream->header)) : "");
  if (token == 0) return false;
  Trace("Embedded subtitle %d from the graph (codec %d)", index, static_cast<int>(codec));
  // Fed from streaming threads and the reader ahead; the tap is deselected
  // and the reader stopped (ClearSubtitles) before the manager could go.
  auto feed = std::make_shared<TextFeed>(manager, token, codec);
  tap.Select(*streamId, [feed](const EmbeddedSubtitleSample& sample) { feed->Add(sample); });
  if (!isUrlInput_) {
    textPreload_ = EmbeddedTextPreload::Start(
        currentPath_, index, [feed](const EmbeddedSubtitleSample& sample) { feed->Add(sample); });
  }
  RedrawVideo();
  return true;
}

bool GraphManager::GrabBitmapSubtitle(int index, const std::string& streamId,
                                      const EmbeddedSubtitleStream& stream) {
  std::unique_ptr<BitmapSubtitleDecoder> decoder =
      BitmapSubtitleDecoder::Create(stream.codec, stream.header);
  if (!decoder) return false;
  SubtitleStreamTap& tap = graph_->SubtitleTap();
  tap.Deselect();
  textPreload_.reset();
  EnsureSubtitleManager();
  SubtitleManager* manager = subtitleManager_.get();
  const uint64_t token = manager->StartBitmapTrack(GetSubtitleTrackName(index));
  if (token == 0) return false;
  Trace("Embedded picture subtitle %d from the graph (codec %d)", index,
        static_cast<int>(stream.codec));
  // The worker goes with the listener, when the tap is deselected
  // (ClearSubtitles), before the manager could.
  auto worker = std::make_shared<BitmapSubtitleWorker>(
      std::move(decoder),
      [manager, token](BitmapSubtitleCue cue) { manager->AddBitmapCue(token, std::move(cue)); });
  tap.Select(streamId, [worker](const EmbeddedSubtitleSample& sample) { worker->Queue(sample); });
  RedrawVideo();
  return true;
}

bool GraphManager::IsBitmapEmbeddedSubtitle(int index) {
  if (!graph_) return false;
  const std::optional<std::string> streamId =
      graph_->Streams().StreamId(StreamKind::kSubtitle, index);
  if (!streamId) return false;
  const std::optional<EmbeddedSubtitleStream> stream = graph_->SubtitleTap().Info(*streamId);
  return stream && IsBitmapSubtitle(stream->codec);
}

void GraphManager::CancelEmbeddedExtraction() {
  if (extractTask_) extractTask_->Cancel();
  extractTask_.reset();
  textPreload_.reset();
}

int GraphManager::DefaultEmbeddedSubtitle() {
  if (!graph_) return -1;
  std::optional<uint32_t> mode;
  if (uint32_t value = 0; Settings::GetDword(setting::kLavSubtitleMode, &value)) mode = value;
  return ChooseSubtitleTrack(graph_->Streams().Facts(StreamKind::kSubtitle), mode,
                             Settings::GetStringOr(setting::kLavPreferredSubLanguages, {}));
}

bool GraphManager::ExtractEmbeddedSubtitle(int index, std::function<void(bool)> done) {
  if (!graph_ || currentPath_.isEmpty() || isUrlInput_) return false;
  const std::optional<std::string> streamId =
      graph_->Streams().StreamId(StreamKind::kSubtitle, index);
  if (!streamId) return false;
  const std::optional<EmbeddedSubtitleStream> stream = graph_->SubtitleTap().Info(*streamId);
  if (stream && IsBitmapSubtitle(stream->codec)) return false;
  if (FindExternalTool().isEmpty()) return false;

  // ASS keeps its styles as it is; every other text stream becomes SubRip,
  // which a copy into the SubRip muxer would refuse for mov_text or WebVTT.
  const bool ass = stream && stream->codec == EmbeddedSubtitleCodec::kAss;
  const QString target =
      QDir(QDir::tempPath())
          .filePath(QStringLiteral("Zelvaro_embedded_sub") + (ass ? ".ass" : ".srt"));
  QFile::remove(target);
  ExternalToolJob job;
  job.arguments = {QStringLiteral("-y"),
                   QStringLiteral("-i"),
                   QStringLiteral("file:") + QFileInfo(currentPath_).absoluteFilePath(),
                   QStringLiteral("-map"),
                   QStringLiteral("0:s:%1").arg(index),
                   QStringLiteral("-c:s"),
                   ass ? QStringLiteral("copy") : QStringLiteral("srt"),
                   QStringLiteral("-f"),
                   ass ? QStringLiteral("ass") : QStringLiteral("srt"),
                   QStringLiteral("file:") + target};
  job.timeoutMs = kExtractTimeoutMs;
  job.outputPath = target;
  job.minimumOutputBytes = 1;

  if (graph_) graph_->SubtitleTap().Deselect();
  textPreload_.reset();
  if (extractTask_) extractTask_->Cancel();
  auto task = std::make_shared<ExternalToolTask>(std::move(job));
  QObject::connect(task.get(), &ExternalToolTask::Finished, task.get(),
                   [this, target, done = std::move(done)](const ExternalToolResult& result) {
                     if (!result.Succeeded()) {
                       if (done) done(false);
                       return;
                     }
                     EnsureSubtitleManager();
                     subtitleManager_->LoadSubtitleAsync(target, [this, done](bool loaded) {
                       if (loaded) RedrawVideo();
                       if (done) done(loaded);
                     });
                   });
  extractTask_ = task;
  task->Start();
  return true;
}

}  // namespace zelvaro
