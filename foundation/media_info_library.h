#pragma once
// MediaInfoLibrary: libmediainfo bound with dlopen at first use, so the player
// runs without it and only the file report and the tag reading of the lyrics
// search go without. Process-wide state, no object.
//
// Threads: any. Load is serialised; an analysis holds its own handle, so the
// interface thread's report and the lyrics worker's tag reading may overlap.
// Each call can take as long as the library needs to read the file: never on
// the interface thread. exit() waits for the analyses under way, a few
// seconds at most, so a detached reader never outlives the library's tables.

#include <QString>

#include <optional>

namespace zelvaro::MediaInfoLibrary {

// 1 when the library is ready, -1 when it cannot be loaded.
int Load();

enum class AnalysisError { None, LibraryMissing, OpenFailed };

// The library's default text report of `path` (a file or an address), lines
// ending in "\n". Empty with `error` set on failure.
QString Inform(const QString& path, AnalysisError* error = nullptr);

struct GeneralTags {
  QString title;
  QString performer;
  QString durationMs;  // as the library writes it
  QString album;
};

// Binds another library name from the next Load on (nullptr: the usual
// one); a library bound already is let go, not unloaded. Tests only: a name
// that does not exist stands for a system without the library.
void SetLibraryNameForTesting(const char* name);

// Title, Performer, Duration and Album of the general stream; nothing when the
// library cannot be loaded or the file cannot be opened.
std::optional<GeneralTags> ReadGeneralTags(const QString& path);

}  // namespace zelvaro::MediaInfoLibrary
