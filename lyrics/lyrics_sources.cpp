#include "lyrics/lyrics_sources.h"

#include "engine/external_tool.h"
#include "foundation/media_info_library.h"
#include "lyrics/lrc_parser.h"

#include <QDir>
#include <QFileInfo>

namespace zelvaro {
namespace {

// The language suffixes of side subtitles, in the same order.
constexpr const char16_t* kLanguageSuffixes[] = {u".ko",       u".en",     u".jp",     u".ja",
                                                 u".cn",       u".zh",     u".korean", u".english",
                                                 u".japanese", u".chinese"};
constexpr int kMetadataTimeoutMs = 5000;

bool IsLyricsKey(const QByteArray& key) {
  const QByteArray lower = key.toLower();
  return lower == "lyrics" || lower.startsWith("lyrics-") || lower == "unsyncedlyrics";
}

// A line that starts a new "key=value": no leading blank or bracket, and a '='.
bool LooksLikeKey(const QByteArray& line) {
  if (line.isEmpty()) return false;
  const char first = line.front();
  if (first == ' ' || first == '\t' || first == '\r' || first == '\n' || first == '[') return false;
  return line.contains('=');
}

// Stands for a newline between lines until the escapes are undone.
constexpr char kNewline = '\x01';

bool IsSectionHeader(QByteArray line) {
  if (line.endsWith('\r')) line.chop(1);
  return line == "[CHAPTER]" || line == "[STREAM]";
}

// ffmetadata escapes '=', ';', '#', '\' and the newline with a backslash.
QByteArray Unescape(const QByteArray& value) {
  QByteArray out;
  out.reserve(value.size());
  for (qsizetype i = 0; i < value.size(); ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) ++i;
    out += value[i];
  }
  return out;
}

}  // namespace

QString FindLrcFile(const QString& mediaPath) {
  if (mediaPath.isEmpty()) return {};
  const qsizetype dot = mediaPath.lastIndexOf(u'.');
  const qsizetype slash = mediaPath.lastIndexOf(u'/');
  const QString base = dot > slash ? mediaPath.left(dot) : mediaPath;
  QStringList candidates{base + QStringLiteral(".lrc")};
  for (const char16_t* suffix : kLanguageSuffixes)
    candidates << base + QString::fromUtf16(suffix) + QStringLiteral(".lrc");
  for (const QString& candidate : candidates) {
    if (QFileInfo(candidate).isFile()) return candidate;
  }
  // Files written on systems that ignore case ("Song.LRC") count as well.
  const QFileInfo baseInfo(base);
  const QStringList names = baseInfo.dir().entryList(QDir::Files);
  for (const QString& candidate : candidates) {
    const QString wanted = QFileInfo(candidate).fileName();
    for (const QString& name : names) {
      if (name.compare(wanted, Qt::CaseInsensitive) == 0) return baseInfo.dir().filePath(name);
    }
  }
  return {};
}

bool ParseFfmetadataLyrics(const QByteArray& ffmetadata, LyricsData* data) {
  *data = LyricsData();
  const QList<QByteArray> lines = ffmetadata.split('\n');
  QByteArray value;
  for (qsizetype i = 0; i < lines.size() && value.isEmpty(); ++i) {
    const qsizetype equals = lines[i].indexOf('=');
    if (equals <= 0 || !IsLyricsKey(lines[i].left(equals))) continue;
    QByteArray raw = lines[i].mid(equals + 1);
    while (i + 1 < lines.size()) {
      if (raw.endsWith('\r')) raw.chop(1);
      // An odd run of backslashes at the end escapes the newline.
      qsizetype trailing = 0;
      while (trailing < raw.size() && raw[raw.size() - 1 - trailing] == '\\') ++trailing;
      if (trailing % 2 == 1) {
        raw.chop(1);
      } else if (LooksLikeKey(lines[i + 1]) || IsSectionHeader(lines[i + 1])) {
        break;
      }
      raw += kNewline;
      raw += lines[++i];
    }
    if (raw.endsWith('\r')) raw.chop(1);
    value = Unescape(raw).replace(kNewline, '\n');
  }
  if (value.startsWith("\xEF\xBB\xBF")) value.remove(0, 3);
  const QString text = QString::fromUtf8(value);
  if (text.isEmpty()) return false;
  if (text.contains(u'[') && text.contains(u':')) {
    if (ParseLrc(text, data)) return true;
    *data = LyricsData();
  }
  *data = UntimedLyrics(text);
  return !data->lines.empty();
}

bool ReadEmbeddedLyrics(const QString& mediaPath, LyricsData* data,
                        const std::atomic<bool>* cancel) {
  *data = LyricsData();
  if (mediaPath.isEmpty() || FindExternalTool().isEmpty()) return false;
  ExternalToolJob job;
  // "file:" keeps a name with a colon from being read as a protocol.
  job.arguments = {QStringLiteral("-loglevel"), QStringLiteral("error"),
                   QStringLiteral("-i"),        QStringLiteral("file:") + mediaPath,
                   QStringLiteral("-f"),        QStringLiteral("ffmetadata"),
                   QStringLiteral("pipe:1")};
  job.timeoutMs = kMetadataTimeoutMs;
  job.keepStandardOutput = true;
  const ExternalToolResult result = RunExternalTool(job, cancel);
  if (result.standardOutput.isEmpty()) return false;
  return ParseFfmetadataLyrics(result.standardOutput, data);
}

bool ReadMediaTags(const QString& mediaPath, MediaTags* tags) {
  *tags = MediaTags();
  const std::optional<MediaInfoLibrary::GeneralTags> general =
      MediaInfoLibrary::ReadGeneralTags(mediaPath);
  if (!general) return false;
  tags->title = general->title;
  tags->artist = general->performer;
  // The library writes milliseconds, possibly with a fraction.
  tags->durationSec = static_cast<int>(general->durationMs.section(u'.', 0, 0).toLongLong() / 1000);
  if (tags->title.isEmpty()) tags->title = QFileInfo(mediaPath).completeBaseName();
  return !tags->title.isEmpty();
}

}  // namespace zelvaro
