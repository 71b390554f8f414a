// GraphManager's side of the subtitles inside the media file: the graph
// route (the splitter's samples into libass) and the external route (ffmpeg
// extracts the stream into a temporary file).

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

#include <string_view>

namespace zelvaro {
namespace {

constexpr int kExtractTimeoutMs = 30'000;
// A text sample without a duration (some muxers leave it out) stands this long.
constexpr int64_t kUnknownDurationMs = 5'000;

std::string_view View(const QByteArray& bytes) {
  return {bytes.constData(), static_cast<size_t>(bytes.size())};
}

}  // namespace

bool GraphManager::GrabEmbeddedSubtitle(int index) {
  if (!graph_) return false;
  const std::optional<std::string> streamId =
      graph_->Streams().StreamId(StreamKind::kSubtitle, index);
  if (!streamId) return false;
  SubtitleStreamTap& tap = graph_->SubtitleTap();
  const std::optional<EmbeddedSubtitleStream> stream = tap.Info(*streamId);
  if (!stream || IsBitmapSubtitle(stream->codec) ||
      stream->codec == EmbeddedSubtitleCodec::kUnknown) {
    return false;
  }
  tap.Deselect();
  EnsureSubtitleManager();
  SubtitleManager* manager = subtitleManager_.get();
  const EmbeddedSubtitleCodec codec = stream->codec;
  const bool ass = codec == EmbeddedSubtitleCodec::kAss;
  const uint64_t token = manager->StartStreamTrack(GetSubtitleTrackName(index),
                                                   ass ? std::string(View(stream->header)) : "");
  if (token == 0) return false;
  Trace("Embedded subtitle %d from the graph (codec %d)", index, static_cast<int>(codec));
  // Runs on streaming threads, one call at a time; the tap is deselected
  // (ClearSubtitles) before the manager could go.
  int readOrder = 0;
  tap.Select(*streamId, [manager, token, codec, ass,
                         readOrder](const EmbeddedSubtitleSample& sample) mutable {
    const int64_t startMs = sample.start100ns / 10'000;
    const int64_t durationMs =
        sample.duration100ns >= 0 ? sample.duration100ns / 10'000 : kUnknownDurationMs;
    if (ass) {
      manager->AddStreamEvent(token, std::string(View(sample.data)), startMs, durationMs);
      return;
    }
    const std::string text =
        EmbeddedTextToAss(View(sample.data), codec == EmbeddedSubtitleCodec::kPangoMarkup);
    if (text.empty()) return;  // the gap between two cues of some muxers
    manager->AddStreamEvent(token, AssStreamChunk(++readOrder, text), startMs, durationMs);
  });
  RedrawVideo();
  return true;
}

void GraphManager::CancelEmbeddedExtraction() {
  if (extractTask_) extractTask_->Cancel();
  extractTask_.reset();
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
