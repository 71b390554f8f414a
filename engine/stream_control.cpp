// GraphManager: the track menus' operations and the A-B repeat marks.

#include "engine/graph_manager.h"
#include "engine/playback_graph.h"
#include "foundation/trace.h"

#include <chrono>

namespace zelvaro {
namespace {

uint64_t TickMs() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

}  // namespace

int GraphManager::GetAudioTrackCount() {
  return graph_ ? graph_->Streams().Count(StreamKind::kAudio) : 0;
}

int GraphManager::GetCurrentAudioTrack() {
  return graph_ ? graph_->CurrentAudioTrack() : -1;
}

QString GraphManager::GetAudioTrackName(int track) {
  return graph_ ? graph_->Streams().Name(StreamKind::kAudio, track) : QString();
}

bool GraphManager::SelectAudioTrack(int track) {
  return graph_ && graph_->SelectAudioTrack(track, state_ == 2, speed_);
}

int GraphManager::GetSubtitleTrackCount() {
  return graph_ ? graph_->Streams().Count(StreamKind::kSubtitle) : 0;
}

QString GraphManager::GetSubtitleTrackName(int track) {
  return graph_ ? graph_->Streams().Name(StreamKind::kSubtitle, track) : QString();
}

void GraphManager::SetMarkA() {
  if (!graph_) return;
  if (std::optional<int64_t> position = graph_->Position100ns()) abRepeat_.SetMarkA(*position);
}

void GraphManager::SetMarkB() {
  if (!graph_) return;
  if (std::optional<int64_t> position = graph_->Position100ns()) abRepeat_.SetMarkB(*position);
}

bool GraphManager::CheckABRepeat() {
  if (!graph_ || state_ != 2 || !abRepeat_.IsLoop()) return false;
  std::optional<int64_t> position = graph_->Position100ns();
  if (!position) return false;
  std::optional<int64_t> target = abRepeat_.CheckRepeat(*position, TickMs());
  if (!target || !graph_->SetPositions(*target, false, speed_)) return false;
  Trace("AB Repeat: Jump to A (%.2f sec)", static_cast<double>(*target) / 1e7);
  return true;
}

void GraphManager::SetMarks(int64_t markA, int64_t markB) {
  abRepeat_.markA = markA;
  abRepeat_.markB = markB;
  abRepeat_.lastABJumpMs = 0;
  Trace("AB Repeat: Direct set A=%.3f, B=%.3f", static_cast<double>(markA) / 1e7,
        static_cast<double>(markB) / 1e7);
}

}  // namespace zelvaro
