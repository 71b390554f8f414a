#pragma once
// StreamInventory: the audio and subtitle streams of the open input, as the
// splitter announces them, for the track menus. It stands where the
// splitter's stream selection interface stood: track numbers are ordinal
// among the streams of one kind, from 0, in the splitter's order (its stream
// collection; without one, the order its pads appeared in), and are not
// stream identifiers.
//
// Threads: Note* on streaming and bus threads while the graph is built and
// runs; the readers on the interface thread. Names are read at the call,
// from the stream's tags as they stand then (a demuxer sends them after it
// announces the stream).

#include "engine/audio_track_choice.h"
#include "engine/gst_ref.h"

#include <QString>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvaro {

enum class StreamKind { kAudio, kSubtitle, kOther };

// What a user reads for a track: the title, and the language in words
// beside it ("English Stereo [English]", "Korean"); empty for neither.
// `languageCode` is ISO 639 (two or three letters); "und" counts as none and
// an unknown code is shown as it is.
QString TrackDisplayName(const QString& languageCode, const QString& title);

// The kind of a stream by its caps (the splitter's, before any decoder).
StreamKind StreamKindOfCaps(const GstCaps* caps);

class StreamInventory {
 public:
  // A splitter's collection (bus thread); replaces the one it sent before.
  void NoteCollection(GstObject* splitter, GstStreamCollection* collection);
  // A stream at a splitter's pad, once its caps are known.
  void NoteStreamPad(GstPad* pad, StreamKind kind);

  int Count(StreamKind kind) const;
  // Empty when `track` is out of range.
  QString Name(StreamKind kind, int track) const;
  std::optional<std::string> StreamId(StreamKind kind, int track) const;
  // Language and default flag of each track of a kind, as the splitter
  // knows them now (languages often come later, with the data).
  std::vector<AudioTrackFacts> Facts(StreamKind kind) const;
  // The track number of a stream; −1 when it is not of that kind.
  int TrackOf(StreamKind kind, const std::string& streamId) const;

 private:
  using CollectionRef = GstRef<GstStreamCollection, GstObjectRefTraits>;
  using StreamRef = GstRef<GstStream, GstObjectRefTraits>;
  struct Entry {
    std::string streamId;
    StreamKind kind = StreamKind::kOther;
    StreamRef stream;  // from a collection
    PadRef pad;        // the splitter's pad, when one appeared
  };
  std::vector<Entry> Snapshot(StreamKind kind) const;

  mutable std::mutex mutex_;
  std::vector<std::pair<GstObject*, CollectionRef>> collections_;  // in arrival order
  std::vector<std::pair<std::string, StreamKind>> padStreams_;     // in arrival order
  std::vector<std::pair<std::string, PadRef>> pads_;
};

}  // namespace zelvaro
