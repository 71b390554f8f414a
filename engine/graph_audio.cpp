// PlaybackGraph: the audio controls and the track choice, on the interface
// thread while the graph runs.

#include "engine/audio_elements.h"
#include "engine/playback_graph.h"
#include "foundation/trace.h"

#include <atomic>
#include <cmath>
#include <mutex>

namespace zelvaro {
namespace {

// Passes the first flush-start that reaches the old input on to the
// selector's output, where the selector itself would drop it.
struct FlushForward {
  PadRef output;
  std::atomic<bool> done{false};
};
using FlushForwardPtr = std::shared_ptr<FlushForward>;

void DeleteFlushForward(gpointer data) {
  delete static_cast<FlushForwardPtr*>(data);
}

GstPadProbeReturn OnOldInputFlush(GstPad*, GstPadProbeInfo* info, gpointer data) {
  FlushForward& forward = **static_cast<FlushForwardPtr*>(data);
  GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
  if (event != nullptr && GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_START &&
      !forward.done.exchange(true)) {
    gst_pad_push_event(forward.output.get(), gst_event_new_flush_start());
  }
  return GST_PAD_PROBE_OK;
}

}  // namespace

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

bool PlaybackGraph::SetRate(double rate) {
  std::optional<int64_t> position = Position100ns();
  return SetPositions(position.value_or(0), false, rate);
}

std::optional<AudioBranch> PlaybackGraph::ActiveAudioBranch() const {
  ElementRef selector;
  std::vector<AudioBranch> branches;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    selector = audio_.selector;
    branches = audioBranches_;
  }
  if (!selector) return std::nullopt;
  GstPad* rawActive = nullptr;
  g_object_get(selector.get(), "active-pad", &rawActive, nullptr);
  PadRef active = PadRef::Adopt(rawActive);
  for (const AudioBranch& branch : branches) {
    if (branch.selectorPad.get() == active.get()) return branch;
  }
  return std::nullopt;
}

int PlaybackGraph::CurrentAudioTrack() const {
  std::optional<AudioBranch> active = ActiveAudioBranch();
  return active ? streams_.TrackOf(StreamKind::kAudio, active->streamId) : -1;
}

bool PlaybackGraph::SelectAudioTrack(int track, bool running, double rate) {
  std::optional<std::string> streamId = streams_.StreamId(StreamKind::kAudio, track);
  if (!streamId) return false;
  ElementRef selector;
  std::optional<AudioBranch> target;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    selector = audio_.selector;
    for (const AudioBranch& branch : audioBranches_) {
      if (branch.streamId == *streamId) target = branch;
    }
  }
  if (!target) {
    // Chosen for the first time: it gets its decoder now.
    std::lock_guard<std::mutex> streamGuard(streamMutex_);
    target = LinkParkedAudio(*streamId);
  }
  if (!selector || !target) {
    Trace("Audio track %d has no decoder branch", track);
    return false;
  }
  std::optional<AudioBranch> active = ActiveAudioBranch();
  if (active && active->selectorPad.get() == target->selectorPad.get()) return true;
  Trace("Audio track %d selected (%s)", track, streamId->c_str());
  auto setIdleProbe = [this](const AudioBranch& branch, gulong probe) {
    std::lock_guard<std::mutex> guard(mutex_);
    for (AudioBranch& item : audioBranches_) {
      if (item.selectorPad.get() == branch.selectorPad.get()) item.idleProbe = probe;
    }
  };
  if (target->idleProbe != 0) {
    gst_pad_remove_probe(target->sourcePad.get(), target->idleProbe);
    setIdleProbe(*target, 0);
  }

  // Only the playing track is decoded, so the new track's decoder has had no
  // data: the switch is a seek to where the graph stands, and the demuxer
  // sends the new track's sound from there. The selector passes a flush on
  // only from its active input, and the old input's thread may sit in the
  // renderer (paused on its preroll buffer, or waiting for its time): the
  // old input's flush is passed on by hand, which frees that thread.
  int64_t position = Position100ns().value_or(0);
  auto forward = std::make_shared<FlushForward>();
  forward->output = PadRef::Adopt(gst_element_get_static_pad(selector.get(), "src"));
  PadRef oldInput = active ? active->selectorPad : PadRef();
  gulong flushProbe =
      oldInput ? gst_pad_add_probe(oldInput.get(), GST_PAD_PROBE_TYPE_EVENT_FLUSH, OnOldInputFlush,
                                   new FlushForwardPtr(forward), DeleteFlushForward)
               : 0;
  g_object_set(selector.get(), "active-pad", target->selectorPad.get(), nullptr);
  SetPositions(position, false, rate);
  if (oldInput) gst_pad_remove_probe(oldInput.get(), flushProbe);
  if (oldInput && !forward->done) {
    // No flush came: the old input's thread still holds the renderer.
    g_object_set(selector.get(), "active-pad", oldInput.get(), nullptr);
    setIdleProbe(*target, DropStream(target->sourcePad.get()));
    Trace("Audio track %d: the switch could not flush; kept the old track", track);
    return false;
  }
  // The old track is no longer decoded.
  if (active) setIdleProbe(*active, DropStream(active->sourcePad.get()));
  if (running) SetState(GST_STATE_PLAYING);
  return true;
}

}  // namespace zelvaro
