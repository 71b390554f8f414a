#include "subtitles/subtitle_stream_track.h"

#include "subtitles/ass_script.h"
#include "subtitles/libass_context.h"
#include "subtitles/srt_converter.h"
#include "subtitles/subtitle_manager.h"
#include "subtitles/subtitle_provider.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <unordered_map>

namespace zelvaro {
namespace {

constexpr std::pair<std::string_view, std::string_view> kEntities[] = {
    {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&amp;", "&"}};

QSize StreamFrameSize(QSize renderSize) {
  return {renderSize.width() < 1 ? 1920 : renderSize.width(),
          renderSize.height() <= 0 ? 1080 : renderSize.height()};
}

// libass remembers the read orders it has seen in a bitmap as long as the
// largest of them: 20 MB, cleared, for a sample numbered 80000000; past its
// own bound it drops the bitmap and builds it again for every later line.
// Real files count from 0 and keep their numbers (libass stacks colliding
// lines by them); one past this bound, or below 0, is given the next number
// above it, the same one each time it comes back, so a repeated line is
// still recognised as one.
constexpr long long kMaxKeptReadOrder = 1 << 20;

// The chunk with its leading read order moved within bounds, or empty when
// it may go to libass as it is.
std::string WithReadOrderBounded(const std::string& chunk,
                                 std::unordered_map<long long, int>* moved) {
  const size_t comma = std::min(chunk.find(','), chunk.size());
  const std::string field = chunk.substr(0, comma);
  errno = 0;
  long long readOrder = std::strtoll(field.c_str(), nullptr, 10);
  if (errno == ERANGE) readOrder = LLONG_MAX;
  if (readOrder >= 0 && readOrder <= kMaxKeptReadOrder) return {};
  const auto [entry, added] =
      moved->try_emplace(readOrder, static_cast<int>(kMaxKeptReadOrder + 1 + moved->size()));
  return std::to_string(entry->second) + chunk.substr(comma);
}

}  // namespace

std::string EmbeddedTextToAss(std::string_view utf8, bool markup) {
  while (!utf8.empty() && (utf8.back() == '\n' || utf8.back() == '\r' || utf8.back() == '\0'))
    utf8.remove_suffix(1);
  std::string text;
  text.reserve(utf8.size() + 8);
  for (size_t i = 0; i < utf8.size(); ++i) {
    if (utf8[i] == '\r') continue;
    if (utf8[i] == '\n') {
      text.append("\\N");
    } else {
      text.push_back(utf8[i]);
    }
  }
  text = StripSrtTags(text);
  if (!markup) return text;
  std::string decoded;
  decoded.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    bool replaced = false;
    if (text[i] == '&') {
      for (const auto& [entity, character] : kEntities) {
        if (text.compare(i, entity.size(), entity) == 0) {
          decoded.append(character);
          i += entity.size();
          replaced = true;
          break;
        }
      }
    }
    if (!replaced) decoded.push_back(text[i++]);
  }
  return decoded;
}

std::string AssStreamChunk(int readOrder, std::string_view assText) {
  std::string chunk = std::to_string(readOrder);
  chunk.append(",0,Default,,0,0,0,,").append(assText);
  return chunk;
}

bool CSubtitleProvider::AdoptStreamTrack(const std::string& header, uint64_t token) {
  AssEngine* engine = AssEngine::Instance();
  if (engine == nullptr || token == 0) return false;
  AssTrackHandle track{ass_new_track(engine->Library())};
  if (!track) return false;
  ass_process_codec_private(track.get(), const_cast<char*>(header.data()),
                            static_cast<int>(header.size()));
  BoundAssTrack(track.get());
  auto context = std::make_unique<AssContext>();
  context->Track = std::move(track);
  std::unique_ptr<AssContext> old;
  {
    std::lock_guard lock(mutex_);
    context->FrameSize = StreamFrameSize(renderSize_);
    old = std::move(ass_);
    ass_ = std::move(context);
    type_ = SubtitleType::kAss;
    cues_.clear();
    events_.clear();
    timeline_.Clear();
    streamToken_ = token;
    movedReadOrders_.clear();
    ContentChanged();
  }
  FreeAssContext(std::move(old));
  return true;
}

void CSubtitleProvider::AddStreamEvent(uint64_t token, const std::string& chunk, int64_t startMs,
                                       int64_t durationMs) {
  if (chunk.size() > kMaxAssEventBytes) return;
  std::lock_guard lock(mutex_);
  if (token == 0 || token != streamToken_ || !ass_) return;
  AssEngine* engine = AssEngine::Instance();
  if (engine == nullptr) return;
  {
    // The renderer may be drawing from this very track.
    std::lock_guard assLock(engine->Mutex());
    ASS_Track* track = ass_->Track.get();
    const int before = track->n_events;
    const std::string moved = WithReadOrderBounded(chunk, &movedReadOrders_);
    const std::string& sample = moved.empty() ? chunk : moved;
    ass_process_chunk(track, const_cast<char*>(sample.data()), static_cast<int>(sample.size()),
                      startMs, durationMs);
    if (track->n_events == before) return;  // a line libass had already
    BoundAssEvent(track, track->n_events - 1);
    const ASS_Event& event = track->events[track->n_events - 1];
    const SubtitleEvent added{event.Start * 10'000, (event.Start + event.Duration) * 10'000};
    events_.insert(std::upper_bound(events_.begin(), events_.end(), added,
                                    [](const SubtitleEvent& a, const SubtitleEvent& b) {
                                      return a.Start < b.Start;
                                    }),
                   added);
  }
  std::vector<std::pair<int64_t, int64_t>> intervalsMs;
  intervalsMs.reserve(events_.size());
  for (const SubtitleEvent& event : events_)
    intervalsMs.emplace_back(event.Start / 10'000, event.Stop / 10'000);
  timeline_.Build(intervalsMs);
  ContentChanged();
}

uint64_t SubtitleManager::StartStreamTrack(const QString& name, const std::string& assHeader) {
  CancelLoads();
  std::lock_guard operation(operationMutex_);
  return StartEmbeddedTrack(name, [&](CSubtitleProvider& provider, uint64_t token) {
    std::string header = assHeader;
    if (header.empty()) AppendAssHeader(provider.GetStyle(), &header);
    return provider.AdoptStreamTrack(header, token);
  });
}

uint64_t SubtitleManager::StartEmbeddedTrack(
    const QString& name, const std::function<bool(CSubtitleProvider&, uint64_t)>& adopt) {
  std::shared_ptr<CSubPicQueue> queue;
  std::shared_ptr<CSubtitleProvider> provider;
  if (!BeginLoad(name.isEmpty() ? QStringLiteral("-") : name, &queue, &provider)) return 0;
  const uint64_t token = ++streamTokens_;
  const bool adopted = adopt(*provider, token);
  queue->ClearQueue();
  if (!adopted) return 0;
  SubtitleTrackInfo track;
  track.Name = name;
  track.External = false;
  std::lock_guard lock(stateMutex_);
  tracks_.push_back(std::move(track));
  currentTrack_ = 0;
  return token;
}

void SubtitleManager::AddStreamEvent(uint64_t token, const std::string& chunk, int64_t startMs,
                                     int64_t durationMs) {
  std::shared_ptr<CSubtitleProvider> provider;
  {
    std::lock_guard lock(stateMutex_);
    provider = provider_;
  }
  if (provider) provider->AddStreamEvent(token, chunk, startMs, durationMs);
}

}  // namespace zelvaro
