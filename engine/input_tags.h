#pragma once
// InputTags: what an input says of itself (title, artist, album), read from
// the tag lists that reach the graph's sinks, so that the desktop can name
// what plays without a second reader opening the file.
//
// A tag list is global (the container's: ID3, MP4 and Matroska tags) or
// belongs to one stream (a Matroska track's name, an Ogg or FLAC stream's
// comments). In a file of sound alone the stream's tags are the file's; in
// a film a stream's title names the track, not the film, so it is left out.

#include <gst/gst.h>

#include <QString>

#include <mutex>

namespace zelvaro {

struct InputTags {
  QString title;
  QString artist;
  QString album;

  bool operator==(const InputTags&) const = default;
};

// The string of `tag` in `tags`, blanks trimmed; empty when absent.
QString TagString(const GstTagList* tags, const char* tag);

// The tags of one input as its lists arrive, from any streaming thread.
class InputTagCollector {
 public:
  // A value present replaces the one before: a radio's title changes as
  // it plays.
  void Note(const GstTagList* tags);
  InputTags Read(bool hasVideo) const;

 private:
  mutable std::mutex mutex_;
  InputTags global_;
  InputTags stream_;
};

}  // namespace zelvaro
