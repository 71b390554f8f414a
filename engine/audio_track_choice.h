#pragma once
// Which audio track an input starts with: the first language of
// LAV_PreferredLanguages that a track has, else the first track the
// container flags as default, else the first track. Only that track is
// decoded at the start; the menu switches among all of them.
//
// ReadAudioTrackFacts reads the languages and default flags of a local
// file's audio tracks through libavformat, in the container's order (the
// order the splitter announces them in); it reads headers only and takes a
// few milliseconds. Everything here is reentrant and safe on any thread.

#include <QString>

#include <vector>

namespace zelvaro {

struct AudioTrackFacts {
  QString language;  // ISO 639 code as the container gives it; empty when none
  bool isDefault = false;
};

// Empty when the file cannot be read (a URL, a damaged file).
std::vector<AudioTrackFacts> ReadAudioTrackFacts(const QString& path);

// Whether two ISO 639 codes name the same language ("jpn", "ja", "JPN");
// codes Qt does not know compare as text, case ignored.
bool SameLanguage(const QString& a, const QString& b);

// The track to start with; `preferredLanguages` is a comma-separated list
// of codes, most wanted first. −1 for no tracks.
int ChooseAudioTrack(const std::vector<AudioTrackFacts>& tracks, const QString& preferredLanguages);

}  // namespace zelvaro
