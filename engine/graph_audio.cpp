// PlaybackGraph: the audio controls and the track choice, on the interface
// thread while the graph runs.

#include "engine/audio_elements.h"
#include "engine/playback_graph.h"
#include "foundation/trace.h"

#include <cmath>
#include <mutex>
#include <utility>

namespace zelvaro {
bool PlaybackGraph::SetVolumeLevel(long level) {
  ElementRef basicAudio;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    basicAudio = audio_.volume;
  }
  if (!basicAudio) return false;
  g_object_set(basicAudio.get(), "volume", VolumeGain(level), nullptr);
  return true;
}

bool PlaybackGraph::HasAudioSwitcherControl() const {
  std::lock_guard<std::mutex> guard(mutex_);
  return IsAudioSwitcher(audio_.switcher.get());
}

bool PlaybackGraph::SetNormalizeBoost2(bool normalize, unsigned maxNormFactor, bool recover,
                                       unsigned boost) {
  ElementRef switcher;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    switcher = audio_.switcher;
  }
  return zelvaro::SetNormalizeBoost2(switcher.get(), normalize, maxNormFactor, recover, boost);
}

bool PlaybackGraph::HasDRC() const {
  std::lock_guard<std::mutex> guard(mutex_);
  return static_cast<bool>(audio_.drc);
}

bool PlaybackGraph::SetDRC(bool enabled, int level) {
  ElementRef drc;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    drc = audio_.drc;
  }
  return zelvaro::SetDRC(drc.get(), enabled, level);
}

bool PlaybackGraph::GetDRC(bool* enabled, int* level) const {
  ElementRef drc;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    drc = audio_.drc;
  }
  return zelvaro::GetDRC(drc.get(), enabled, level);
}

std::shared_ptr<AudioTimeStretch> PlaybackGraph::TimeStretch() const {
  std::lock_guard<std::mutex> guard(mutex_);
  return audio_.timeStretch;
}

// Not an instant rate change, although the demuxers here take one without a
// flush: that leaves the segment at its old rate and lets only the sinks run
// faster, and the time-stretch stage reads its rate from the segment. It
// then passes the sound through unstretched, so a doubled speed would play
// two seconds of samples per second of the sound card's time (the pitch
// lost, or samples skipped). The flushing seek gives the stage the rate.
bool PlaybackGraph::SetRate(double rate) {
  std::optional<int64_t> position = Position100ns();
  return SetPositions(position.value_or(0), false, rate);
}

std::optional<AudioBranch> PlaybackGraph::ActiveAudioBranch() const {
  std::lock_guard<std::mutex> guard(mutex_);
  return activeAudio_;
}

int PlaybackGraph::CurrentAudioTrack() const {
  std::optional<AudioBranch> active = ActiveAudioBranch();
  return active ? streams_.TrackOf(StreamKind::kAudio, active->streamId) : -1;
}

bool PlaybackGraph::IsSeekable() {
  GstQuery* query = gst_query_new_seeking(GST_FORMAT_TIME);
  gboolean seekable = FALSE;
  if (gst_element_query(pipeline_.get(), query)) {
    gst_query_parse_seeking(query, nullptr, &seekable, nullptr, nullptr);
  }
  gst_query_unref(query);
  return seekable;
}

bool PlaybackGraph::SelectAudioTrack(int track, bool running, double rate) {
  std::optional<std::string> streamId = streams_.StreamId(StreamKind::kAudio, track);
  if (!streamId) return false;
  std::optional<AudioBranch> active = ActiveAudioBranch();
  PadRef input;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    input = audio_.input;
  }
  if (!input || !active) {
    Trace("Audio track %d: no audio chain", track);
    return false;
  }
  if (active->streamId == *streamId) return true;
  // The switch flushes the playing lane, which can stop the demuxer; only a
  // seek starts it again.
  if (!IsSeekable()) {
    Trace("Audio track %d: the input cannot seek; kept the old track", track);
    return false;
  }
  int64_t position = Position100ns().value_or(0);
  {
    // Not held across the seek: the demuxer's thread may come here for a new
    // stream while it holds its own lock, which the seek waits for.
    std::lock_guard<std::mutex> streamGuard(streamMutex_);
    auto target = audioPads_.find(*streamId);
    if (target == audioPads_.end()) return false;
    auto old = audioPads_.find(active->streamId);
    if (old != audioPads_.end() && old->second.dropProbe == 0) {
      old->second.dropProbe = DropStream(old->second.pad.get());
    }
    {
      std::lock_guard<std::mutex> guard(mutex_);
      activeAudio_.reset();
    }
    DisconnectAudioBranch(*active, input);
    std::optional<AudioBranch> branch =
        ConnectAudioStream(target->second.pad.get(), target->second.caps.get(), input);
    if (!branch && old != audioPads_.end()) {
      // Back to the old track (its decoder is made anew).
      Trace("Audio track %d could not be linked; back to the old track", track);
      branch = ConnectAudioStream(old->second.pad.get(), old->second.caps.get(), input);
    }
    if (!branch) {
      Trace("Audio track %d: no track could be linked again", track);
      return false;
    }
    AudioStreamPad& now = audioPads_[branch->streamId];
    if (now.dropProbe != 0) gst_pad_remove_probe(now.pad.get(), std::exchange(now.dropProbe, 0));
    std::lock_guard<std::mutex> guard(mutex_);
    activeAudio_ = branch;
  }
  Trace("Audio track %d selected (%s)", track, streamId->c_str());
  // The new decoder starts where the graph stands, and a paused graph takes
  // its first sound as the preroll.
  bool sought = SetPositions(position, false, rate);
  if (running) SetState(GST_STATE_PLAYING);
  return sought && CurrentAudioTrack() == track;
}

}  // namespace zelvaro
