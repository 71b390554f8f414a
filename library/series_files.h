#pragma once
// Series detection: which files of one folder are other episodes
// of the same name as a given file. One folder, no recursion, at most
// kMaxSeriesFiles results. Reentrant; the folder scan reads the disk, so call
// it where that may take a moment (it does no per-file attribute reads).

#include <QString>
#include <QStringView>

#include <vector>

namespace zelvaro {

inline constexpr int kMaxSeriesFiles = 5000;

// Removes every space and every one of "()-[]_", keeping the rest in order.
QString NormalizeName(QStringView base);

// On the normalised base: the text before the first run of 3 or more ASCII
// digits, or the whole text when there is no such run. Keeps its case.
// "Show_E01" gives "ShowE01"; "Show 101 final" gives "Show".
QString SeriesKey(QStringView base);

// The series of `path`, sorted by episode number (unstable, no second key).
// Two rules decide: the key rule above first; then, adding to what it found,
// any file of the same kind (video or audio) whose normalised name differs
// from the opened one's in a single run of digits ("Episode 1" and
// "Episode 2", "Show S01E02" and "Show S01E03"), numbered by that run.
// Result:
// empty when the path has no folder part, no extension or an unsupported one;
// just `path` when the folder cannot be read or nothing matches.
std::vector<QString> FindSeriesFiles(const QString& path);

}  // namespace zelvaro
