#include "library/series_files.h"

#include "foundation/media_types.h"

#include <QFile>

#include <algorithm>
#include <climits>

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

  std::vector<SeriesRecord> records;
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
    if (!matches) continue;

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

  if (records.empty()) return {path};
  std::sort(records.begin(), records.end(),
            [](const SeriesRecord& a, const SeriesRecord& b) { return a.number < b.number; });
  std::vector<QString> result;
  result.reserve(records.size());
  for (SeriesRecord& record : records) result.push_back(std::move(record.path));
  return result;
}

}  // namespace zelvaro
