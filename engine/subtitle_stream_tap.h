#pragma once
// SubtitleStreamTap: the data of the input's subtitle streams, taken at the
// splitter's pads where the graph would otherwise drop it: the graph route
// of embedded subtitles. Text streams are kept whole as they pass (a film's
// worth is a few hundred KB), so a stream chosen later starts with every cue
// the demuxer has read so far; the chosen stream's samples also go to a
// listener as they come. A sample seen again (after a seek) is passed on
// once only. Of a picture stream only the last few MB are kept, and every
// sample is passed on (the cue list knows a picture again).
//
// Threads: Attach and the pad probes run on streaming threads; Select and
// Deselect on the owner's thread. The listener runs on streaming threads,
// and inside Select for the kept samples. Deselect returns only once no call
// of the listener is under way, so what the listener touches may go after it.

#include "engine/audio_track_choice.h"
#include "engine/gst_ref.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zelvaro {

enum class EmbeddedSubtitleCodec {
  kUnknown,
  kAss,          // header in the caps, each sample an ASS event line
  kText,         // plain UTF-8 (SubRip, mov_text as the MP4 demuxer gives it)
  kPangoMarkup,  // UTF-8 with escapes and <i>/<b>/<u> tags (SubRip in Matroska)
  kWebVtt,
  kPgs,
  kDvd,
  kDvb,
};

bool IsBitmapSubtitle(EmbeddedSubtitleCodec codec);
EmbeddedSubtitleCodec SubtitleCodecOfCaps(const GstCaps* caps);

// The embedded subtitle track an input starts with, by the splitter's
// subtitle mode (LAV_SubtitleMode; none when the setting is absent): 0 and 1
// (no subtitles, forced ones only, which the containers here do not flag)
// start none; 2 and above take the first track of a language of
// `preferredLanguages` (comma-separated, most wanted first), else the track
// the container flags as default. −1 for none.
int ChooseSubtitleTrack(const std::vector<AudioTrackFacts>& tracks, std::optional<uint32_t> mode,
                        const QString& preferredLanguages);

// Makes a splitter (parsebin) hand out ASS and SSA scripts as they are:
// left to itself it plugs a parser that flattens them to plain text.
void KeepAssScripts(GstElement* splitter);

struct EmbeddedSubtitleSample {
  int64_t start100ns = 0;
  int64_t duration100ns = -1;  // −1 when the stream does not say
  QByteArray data;
  // Read by libavformat (embedded_text_preload.h): text without the markup
  // the graph's demuxer adds.
  bool plainText = false;
};

struct EmbeddedSubtitleStream {
  EmbeddedSubtitleCodec codec = EmbeddedSubtitleCodec::kUnknown;
  QByteArray header;  // an ASS stream's script header
};

class SubtitleStreamTap {
 public:
  using Listener = std::function<void(const EmbeddedSubtitleSample&)>;

  SubtitleStreamTap() = default;
  SubtitleStreamTap(const SubtitleStreamTap&) = delete;
  SubtitleStreamTap& operator=(const SubtitleStreamTap&) = delete;

  // Takes the stream at a splitter's pad; its data goes no further.
  void Attach(GstPad* pad, const GstCaps* caps);
  // Nothing when the stream was never attached. The listener gets the
  // samples kept so far at once, then the new ones; any listener before is
  // dropped.
  std::optional<EmbeddedSubtitleStream> Select(const std::string& streamId, Listener listener);
  void Deselect();
  // What the stream is, without selecting it.
  std::optional<EmbeddedSubtitleStream> Info(const std::string& streamId);

 private:
  struct Stream {
    EmbeddedSubtitleStream info;
    std::vector<EmbeddedSubtitleSample> kept;
    qsizetype keptBytes = 0;  // of a picture stream, whose oldest go first
    std::set<std::pair<int64_t, QByteArray>> seen;
  };
  struct ProbeContext {
    SubtitleStreamTap* tap;
    std::string streamId;
  };
  static GstPadProbeReturn OnData(GstPad* pad, GstPadProbeInfo* info, gpointer context);
  void Take(const std::string& streamId, GstBuffer* buffer);

  std::mutex mutex_;  // everything below; held across listener calls
  std::map<std::string, Stream> streams_;
  std::string selected_;
  Listener listener_;
};

}  // namespace zelvaro
