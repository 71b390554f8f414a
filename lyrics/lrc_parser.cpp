#include "lyrics/lrc_parser.h"

#include "subtitles/text_decoding.h"

#include <QFile>

#include <algorithm>
#include <limits>

namespace zelvaro {
namespace {

constexpr int64_t kUntimedStepMs = 5000;
constexpr int64_t kLastLineMs = 5000;
// Larger numbers are no time a song has; stopping there keeps the sums in range.
constexpr int64_t kMaxComponent = 1'000'000'000;

bool IsDigit(QChar c) {
  return c >= u'0' && c <= u'9';
}

bool StartsWithTag(QStringView tag, QStringView name) {
  return tag.size() > name.size() && tag.startsWith(name, Qt::CaseInsensitive);
}

// The C runtime's integer reading: blanks, a sign, digits; junk gives 0.
int32_t LeadingInt(QStringView text) {
  qsizetype i = 0;
  while (i < text.size() && (text[i] == u' ' || text[i] == u'\t')) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) negative = text[i++] == u'-';
  int64_t value = 0;
  for (; i < text.size() && IsDigit(text[i]); ++i) {
    value = std::min<int64_t>(value * 10 + (text[i].unicode() - u'0'),
                              std::numeric_limits<int32_t>::max());
  }
  return static_cast<int32_t>(negative ? -value : value);
}

QStringView TrimTrailingBlanks(QStringView text) {
  while (!text.isEmpty() && (text.back() == u' ' || text.back() == u'\t')) text.chop(1);
  return text;
}

}  // namespace

LyricsData UntimedLyrics(const QString& text) {
  LyricsData data;
  int64_t timeMs = 0;
  for (QStringView line : QStringView(text).split(u'\n')) {
    if (line.endsWith(u'\r')) line.chop(1);
    if (line.isEmpty()) continue;
    data.lines.push_back({timeMs, line.toString()});
    timeMs += kUntimedStepMs;
  }
  return data;
}

int LyricLineAt(const std::vector<LyricLine>& lines, int64_t timeMs) {
  const auto after =
      std::upper_bound(lines.begin(), lines.end(), timeMs,
                       [](int64_t t, const LyricLine& line) { return t < line.timeMs; });
  return static_cast<int>(after - lines.begin()) - 1;
}

QString DecodeLyricsBytes(const QByteArray& bytes) {
  return QString::fromStdString(DecodeSubtitleText(bytes, SubtitleTextKind::kGeneric).Utf8);
}

bool ReadLyricsFile(const QString& path, QString* text) {
  text->clear();
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return false;
  const qint64 size = file.size();
  if (size <= 0 || size > kMaxLyricsFileBytes) return false;
  const QByteArray bytes = file.readAll();
  if (bytes.size() != size) return false;
  *text = DecodeLyricsBytes(bytes);
  return !text->isEmpty();
}

int64_t ParseLrcTime(QStringView tag) {
  if (tag.isEmpty()) return -1;
  qsizetype i = 0;
  auto readNumber = [&](int64_t* value) {
    *value = 0;
    for (; i < tag.size() && IsDigit(tag[i]); ++i) {
      *value = *value * 10 + (tag[i].unicode() - u'0');
      if (*value > kMaxComponent) return false;
    }
    return true;
  };
  int64_t minutes = 0;
  if (!readNumber(&minutes) || i >= tag.size() || tag[i] != u':') return -1;
  ++i;
  int64_t seconds = 0;
  if (!readNumber(&seconds)) return -1;
  int64_t timeMs = (minutes * 60 + seconds) * 1000;
  if (i >= tag.size() || (tag[i] != u'.' && tag[i] != u':')) return timeMs;
  ++i;
  // One digit counts hundreds, two tens, three units; further digits are cut off.
  int64_t fraction = 0;
  int digits = 0;
  for (; i < tag.size() && IsDigit(tag[i]); ++i) {
    if (digits < 3) {
      fraction = fraction * 10 + (tag[i].unicode() - u'0');
      ++digits;
    }
  }
  if (digits == 1) fraction *= 100;
  if (digits == 2) fraction *= 10;
  return timeMs + fraction;
}

bool ParseLrc(QStringView text, LyricsData* data) {
  *data = LyricsData();
  for (QStringView line : text.split(u'\n')) {
    if (line.endsWith(u'\r')) line.chop(1);
    if (line.isEmpty()) continue;

    const qsizetype close = line.indexOf(u']');
    if (line.size() >= 5 && line.front() == u'[' && close > 0) {
      const QStringView tag = line.mid(1, close - 1);
      if (StartsWithTag(tag, u"ar:")) {
        data->artist = tag.mid(3).toString();
        continue;
      }
      if (StartsWithTag(tag, u"ti:")) {
        data->title = tag.mid(3).toString();
        continue;
      }
      if (StartsWithTag(tag, u"al:")) {
        data->album = tag.mid(3).toString();
        continue;
      }
      if (StartsWithTag(tag, u"offset:")) {
        data->offsetMs = LeadingInt(tag.mid(7));
        continue;
      }
      // "[by:...]", "[re:...]" and the like; a time such as "01:02.50" is no tag.
      if (tag.size() >= 3 && tag[2] == u':' && ParseLrcTime(tag) < 0) continue;
    }

    std::vector<int64_t> times;
    qsizetype at = 0;
    while (at < line.size() && line[at] == u'[') {
      const qsizetype end = line.indexOf(u']', at + 1);
      if (end < 0) break;
      const int64_t timeMs = ParseLrcTime(line.mid(at + 1, end - at - 1));
      if (timeMs < 0) break;
      times.push_back(timeMs);
      at = end + 1;
    }
    if (times.empty()) continue;
    const QString lyric = TrimTrailingBlanks(line.mid(at)).toString();
    // The offset is added, and only to the lines after its tag.
    for (const int64_t timeMs : times) data->lines.push_back({timeMs + data->offsetMs, lyric});
  }
  std::stable_sort(data->lines.begin(), data->lines.end(),
                   [](const LyricLine& a, const LyricLine& b) { return a.timeMs < b.timeMs; });
  data->synced = !data->lines.empty();
  return data->synced;
}

QString FormatSrtTime(int64_t timeMs) {
  timeMs = std::max<int64_t>(timeMs, 0);
  const int64_t hours = timeMs / 3'600'000;
  const int minutes = static_cast<int>(timeMs / 60'000 % 60);
  const int seconds = static_cast<int>(timeMs / 1000 % 60);
  const int millis = static_cast<int>(timeMs % 1000);
  return QStringLiteral("%1:%2:%3,%4")
      .arg(hours, 2, 10, QLatin1Char('0'))
      .arg(minutes, 2, 10, QLatin1Char('0'))
      .arg(seconds, 2, 10, QLatin1Char('0'))
      .arg(millis, 3, 10, QLatin1Char('0'));
}

QString LyricsToSrt(const LyricsData& data) {
  QString srt;
  int counter = 1;
  const auto& lines = data.lines;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].text.isEmpty()) continue;
    const int64_t endMs =
        i + 1 < lines.size() ? lines[i + 1].timeMs : lines[i].timeMs + kLastLineMs;
    srt += QString::number(counter++) + QStringLiteral("\r\n") + FormatSrtTime(lines[i].timeMs) +
           QStringLiteral(" --> ") + FormatSrtTime(endMs) + QStringLiteral("\r\n") + lines[i].text +
           QStringLiteral("\r\n\r\n");
  }
  return srt;
}

}  // namespace zelvaro
