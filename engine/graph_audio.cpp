// PlaybackGraph: the audio controls and the track choice, on the interface
// thread while the graph runs.

#include "engine/audio_elements.h"
#include "engine/playback_graph.h"
#include "foundation/trace.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>

namespace zelvaro {
namespace {

// A switch while running is complete when the new track's data has reached
// the renderer: one or two of its buffers.
constexpr auto kHandoverLimit = std::chrono::milliseconds(300);

// Which thread feeds the new input, and whether that thread has reached the
// renderer (so the old input's thread has left it for good).
struct Handover {
  std::mutex mutex;
  std::condition_variable reached;
  GThread* feeder = nullptr;
  bool done = false;
};
using HandoverPtr = std::shared_ptr<Handover>;

void DeleteHandover(gpointer data) {
  delete static_cast<HandoverPtr*>(data);
}

GstPadProbeReturn OnNewInputData(GstPad*, GstPadProbeInfo*, gpointer data) {
  Handover& handover = **static_cast<HandoverPtr*>(data);
  std::lock_guard<std::mutex> guard(handover.mutex);
  handover.feeder = g_thread_self();
  return GST_PAD_PROBE_OK;
}

GstPadProbeReturn OnRendererData(GstPad*, GstPadProbeInfo*, gpointer data) {
  Handover& handover = **static_cast<HandoverPtr*>(data);
  std::lock_guard<std::mutex> guard(handover.mutex);
  // The renderer's stream lock is held here: no other thread is inside it.
  if (handover.feeder == g_thread_self()) {
    handover.done = true;
    handover.reached.notify_all();
  }
  return GST_PAD_PROBE_OK;
}

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
  ElementRef renderer;
  PadRef input;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    selector = audio_.selector;
    renderer = audio_.renderer;
    for (const AudioBranch& branch : audioBranches_) {
      if (branch.streamId == *streamId) input = branch.selectorPad;
    }
  }
  if (!selector || !input) {
    Trace("Audio track %d has no decoder branch", track);
    return false;
  }
  std::optional<AudioBranch> active = ActiveAudioBranch();
  if (active && active->selectorPad.get() == input.get()) return true;
  Trace("Audio track %d selected (%s)", track, streamId->c_str());

  // The selector passes a flush on only from its active input. The thread of
  // the input that was active may still sit in the renderer (paused there
  // on its preroll buffer, or waiting for its time): a later seek would
  // then flush the old input, not reach the renderer, and wait on that
  // thread for ever. So no switch returns while that thread is there.
  if (!running) {
    // Paused: a seek to where the graph stands makes the new track's sound
    // the preroll; the seek's flush of the old input is passed on by hand,
    // which frees its thread from the renderer.
    int64_t position = Position100ns().value_or(0);
    auto forward = std::make_shared<FlushForward>();
    forward->output = PadRef::Adopt(gst_element_get_static_pad(selector.get(), "src"));
    PadRef oldInput = active ? active->selectorPad : PadRef();
    gulong flushProbe = oldInput ? gst_pad_add_probe(oldInput.get(), GST_PAD_PROBE_TYPE_EVENT_FLUSH,
                                                     OnOldInputFlush, new FlushForwardPtr(forward),
                                                     DeleteFlushForward)
                                 : 0;
    g_object_set(selector.get(), "active-pad", input.get(), nullptr);
    SetPositions(position, false, rate);
    if (oldInput) gst_pad_remove_probe(oldInput.get(), flushProbe);
    if (oldInput && !forward->done) {
      // No flush came: the old input's thread still holds the renderer.
      g_object_set(selector.get(), "active-pad", oldInput.get(), nullptr);
      Trace("Audio track %d: the switch could not flush; kept the old track", track);
      return false;
    }
    return true;
  }
  // Running: the old thread leaves the renderer within a buffer; wait until
  // the new input's thread has been there.
  auto handover = std::make_shared<Handover>();
  PadRef rendererSink = PadRef::Adopt(gst_element_get_static_pad(renderer.get(), "sink"));
  auto dataMask =
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST);
  gulong rendererProbe = gst_pad_add_probe(rendererSink.get(), dataMask, OnRendererData,
                                           new HandoverPtr(handover), DeleteHandover);
  gulong inputProbe = gst_pad_add_probe(input.get(), dataMask, OnNewInputData,
                                        new HandoverPtr(handover), DeleteHandover);
  g_object_set(selector.get(), "active-pad", input.get(), nullptr);
  std::unique_lock<std::mutex> lock(handover->mutex);
  // Without data flowing (the end of the input) nobody holds the renderer,
  // and the wait ends at its limit.
  handover->reached.wait_for(lock, kHandoverLimit, [&] { return handover->done; });
  lock.unlock();
  gst_pad_remove_probe(rendererSink.get(), rendererProbe);
  gst_pad_remove_probe(input.get(), inputProbe);
  return true;
}

}  // namespace zelvaro
