#include "library/series_files.h"

#include "foundation/media_types.h"

#include <QFile>

#include <algorithm>
#include <climits>
#include <span>

#include <dirent.h>
#include <sys/stat.h>

namespace zelvaro {
namespace {

inline bool IsDigit(QChar c) {
  return c.unicode() >= u'0' && c.unicode() <= u'9';
}

bool IsStrippedCharacter(QChar c) {
  switch (c.unicode()) {
    case u' ':
    case u'(':
    case u')':
    case u'-':
    case u'[':
    case u']':
    case u'_':
      return true;
    default:
      return false;
  }
}

// _wtoi of a run of digits, clamped instead of overflowing.
int DigitRunValue(QStringView text, qsizetype start) {
  long long value = 0;
  for (qsizetype i = start; i < text.size() && IsDigit(text[i]); ++i) {
    value = value * 10 + (text[i].unicode() - u'0');
    if (value > INT_MAX) return INT_MAX;
  }
  return static_cast<int>(value);
}

qsizetype LeadingDigits(QStringView text) {
  qsizetype n = 0;
  while (n < text.size() && IsDigit(text[n])) ++n;
  return n;
}

// Both keys empty: both normalised names start with 3+ digits. They match
// when what follows the leading digits is equal with case ignored.
bool RemaindersMatch(QStringView baseA, QStringView baseB) {
  const QString a = NormalizeName(baseA);
  const QString b = NormalizeName(baseB);
  const qsizetype digitsA = LeadingDigits(a);
  const qsizetype digitsB = LeadingDigits(b);
  if (digitsA == 0 || digitsB == 0) return false;
  return QStringView(a).mid(digitsA).toString().toLower() ==
         QStringView(b).mid(digitsB).toString().toLower();
}

struct SeriesRecord {
  QString path;
  int number = 0;
};

// Video with video, audio with audio: a soundtrack beside its episodes is
// not one of them. "mka" stands in both tables and so goes with either.
int ExtensionFamily(QStringView extension) {
  const QStringView bare = extension.mid(1);
  auto holds = [bare](std::span<const QStringView> table) {
    return std::any_of(table.begin(), table.end(),
                       [bare](QStringView e) { return bare.compare(e, Qt::CaseInsensitive) == 0; });
  };
  return (holds(VideoExtensions()) ? 1 : 0) | (holds(AudioExtensions()) ? 2 : 0);
}

// A normalised name cut into its runs: text, digits, text, digits...
// Even indices hold text (possibly empty), odd ones digits.
std::vector<QStringView> SplitRuns(QStringView normalized) {
  std::vector<QStringView> runs;
  qsizetype start = 0;
  bool digits = false;
  for (qsizetype i = 0; i <= normalized.size(); ++i) {
    const bool atEnd = i == normalized.size();
    if (!atEnd && IsDigit(normalized[i]) == digits) continue;
    runs.push_back(normalized.mid(start, i - start));
    if (atEnd) break;
    start = i;
    digits = !digits;
  }
  return runs;
}

// The index of the one digit run in which `b` differs from `a`, or -1 when
// they differ in the text between the runs, in the number of runs, or in
// more than one run (S01E02 beside S02E01). Identical names give -2.
int DifferingRun(const std::vector<QStringView>& a, const std::vector<QStringView>& b) {
  if (a.size() != b.size()) return -1;
  int differing = -2;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] == b[i]) continue;
    if (i % 2 == 0 || differing != -2) return -1;
    differing = static_cast<int>(i);
  }
  return differing;
}

// The wider rule for names users give episodes ("Episode 1", "Show S01E02",
// "Clip - 07"): the entries whose normalised base differs from the opened
// one's in a single digit run. Entries may disagree on which run that is
// (another season's same episode); the run most of them vary in wins, the
// later one on a tie, and those entries come back numbered by that run.
struct WiderMatch {
  QString path;
  std::vector<QStringView> runs;
  QString normalized;  // owns the text the runs point into
  int run = -2;
};

// `run` is set to the run chosen, -1 when nothing matched.
std::vector<SeriesRecord> WiderSeries(const std::vector<QStringView>& runs,
                                      std::vector<WiderMatch>& candidates, int* chosenRun) {
  *chosenRun = -1;
  std::vector<int> votes(runs.size(), 0);
  for (WiderMatch& candidate : candidates) {
    candidate.run = DifferingRun(runs, candidate.runs);
    if (candidate.run >= 0) ++votes[candidate.run];
  }
  const auto best = std::max_element(votes.rbegin(), votes.rend());
  if (best == votes.rend() || *best == 0) return {};
  const int run = static_cast<int>(votes.rend() - best) - 1;
  *chosenRun = run;
  std::vector<SeriesRecord> records;
  for (const WiderMatch& candidate : candidates) {
    if (candidate.run != run && candidate.run != -2) continue;
    records.push_back(SeriesRecord{candidate.path, DigitRunValue(candidate.runs[run], 0)});
  }
  return records;
}

bool IsDirectoryEntry(const dirent* entry, const QByteArray& nativeDir) {
  if (entry->d_type == DT_DIR) return true;
  if (entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN) return false;
  struct stat info {};
  const QByteArray full = nativeDir + entry->d_name;
  return ::stat(full.constData(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

QString NormalizeName(QStringView base) {
  QString result;
  result.reserve(base.size());
  for (QChar c : base) {
    if (!IsStrippedCharacter(c)) result.append(c);
  }
  return result;
}

QString SeriesKey(QStringView base) {
  const QString normalized = NormalizeName(base);
  const qsizetype n = normalized.size();
  qsizetype i = 0;
  while (i < n) {
    if (!IsDigit(normalized[i])) {
      ++i;
      continue;
    }
    qsizetype end = i;
    while (end < n && IsDigit(normalized[end])) ++end;
    if (end - i >= 3) return normalized.left(i);
    i = end;
  }
  return normalized;
}

std::vector<QString> FindSeriesFiles(const QString& path) {
  const qsizetype separator = std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\'));
  if (separator < 0) return {};
  const QString dir = path.left(separator + 1);
  const QString filename = path.mid(separator + 1);
  const qsizetype dot = filename.lastIndexOf(u'.');
  if (filename.isEmpty() || dot < 0) return {};
  if (!IsSupportedExtension(QStringView(filename).mid(dot))) return {};
  const QString base = filename.left(dot);
  const QString key = SeriesKey(base);

  const QByteArray nativeDir = QFile::encodeName(dir);
  DIR* folder = ::opendir(nativeDir.constData());
  if (folder == nullptr) return {path};

  const int family = ExtensionFamily(QStringView(filename).mid(dot));
  std::vector<SeriesRecord> records;
  std::vector<WiderMatch> widerCandidates;
  while (records.size() < static_cast<size_t>(kMaxSeriesFiles)) {
    const dirent* entry = ::readdir(folder);
    if (entry == nullptr) break;
    const QString name = QFile::decodeName(entry->d_name);
    const qsizetype entryDot = name.lastIndexOf(u'.');
    if (entryDot < 0 || !IsSupportedExtension(QStringView(name).mid(entryDot))) continue;
    if (IsDirectoryEntry(entry, nativeDir)) continue;
    const QStringView entryBase = QStringView(name).left(entryDot);
    const QString keyC = SeriesKey(entryBase);
    bool matches;
    if (key.size() >= 3) {
      matches = keyC == key;
    } else if (!key.isEmpty() || !keyC.isEmpty()) {
      matches = false;
    } else {
      matches = RemaindersMatch(base, entryBase);
    }
    if (!matches) {
      if ((ExtensionFamily(QStringView(name).mid(entryDot)) & family) != 0) {
        WiderMatch& candidate = widerCandidates.emplace_back();
        candidate.path = dir + name;
        candidate.normalized = NormalizeName(entryBase);
        candidate.runs = SplitRuns(candidate.normalized);
      }
      continue;
    }

    const QString normalized = NormalizeName(entryBase);
    int number = 0;
    for (qsizetype i = keyC.size(); i < normalized.size(); ++i) {
      if (IsDigit(normalized[i])) {
        number = DigitRunValue(normalized, i);
        break;
      }
    }
    records.push_back(SeriesRecord{dir + name, number < 0 ? 0 : number});
  }
  ::closedir(folder);

  // The designed rule has decided; the wider one may only add to it. When
  // the designed rule found the opened file alone, the file takes its
  // number from the wider rule too, so that it sorts among its siblings.
  const QString normalizedBase = NormalizeName(base);
  const std::vector<QStringView> baseRuns = SplitRuns(normalizedBase);
  int run = -1;
  std::vector<SeriesRecord> wider = WiderSeries(baseRuns, widerCandidates, &run);
  if (run >= 0 && records.size() == 1 && records[0].path == path) {
    records[0].number = DigitRunValue(baseRuns[run], 0);
  }
  for (SeriesRecord& record : wider) {
    if (records.size() >= static_cast<size_t>(kMaxSeriesFiles)) break;
    records.push_back(std::move(record));
  }

  if (records.empty()) return {path};
  std::sort(records.begin(), records.end(),
            [](const SeriesRecord& a, const SeriesRecord& b) { return a.number < b.number; });
  std::vector<QString> result;
  result.reserve(records.size());
  for (SeriesRecord& record : records) result.push_back(std::move(record.path));
  return result;
}

}  // namespace zelvaro
