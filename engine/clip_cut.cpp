#include "engine/clip_cut.h"

#include "engine/graph_manager.h"

#include <QFileInfo>

#include <cmath>

namespace zelvaro {
namespace {

int LeadingInt(QStringView text) {
  // Reads as the C library's integer parse does: optional blanks and sign,
  // then digits up to the first other character.
  qsizetype i = 0;
  while (i < text.size() && text[i].isSpace()) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) negative = text[i++] == u'-';
  long long value = 0;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    value = value * 10 + (text[i].unicode() - u'0');
    if (value > 1'000'000'000) break;
  }
  return static_cast<int>(negative ? -value : value);
}

QString FileArgument(const QString& path) {
  return QStringLiteral("file:") + QFileInfo(path).absoluteFilePath();
}

QString Seconds3(double seconds) {
  return QString::number(seconds, 'f', 3);
}

}  // namespace

QString FormatClipTime(double seconds) {
  if (seconds < 0) seconds = 0;
  const long long totalMs = static_cast<long long>(seconds * 1000 + 0.5);
  return QString::asprintf("%02lld:%02lld:%02lld.%03lld", totalMs / 3'600'000,
                           totalMs / 60'000 % 60, totalMs / 1000 % 60, totalMs % 1000);
}

double ParseClipTime(QStringView text) {
  int milliseconds = 0;
  QStringView rest = text;
  if (const qsizetype dot = text.indexOf(u'.'); dot >= 0) {
    const QString fraction = (text.mid(dot + 1).toString() + QStringLiteral("000")).left(3);
    milliseconds = LeadingInt(fraction);
    rest = text.left(dot);
  }
  int fields[3] = {0, 0, 0};
  int count = 0;
  for (const QStringView part : rest.split(u':')) {
    if (count == 3) break;
    fields[count++] = LeadingInt(part);
  }
  int hours = 0, minutes = 0, secs = 0;
  if (count == 3) {
    hours = fields[0], minutes = fields[1], secs = fields[2];
  } else if (count == 2) {
    minutes = fields[0], secs = fields[1];
  } else {
    secs = fields[0];
  }
  return hours * 3600.0 + minutes * 60.0 + secs + milliseconds / 1000.0;
}

ClipOutputName ProposeClipOutput(const QString& sourcePath, const QDateTime& now) {
  const QDate date = now.date();
  const QTime time = now.time();
  const QString stamp =
      QString::asprintf("_cut_%04d%02d%02d_%02d%02d%02d", date.year(), date.month(), date.day(),
                        time.hour(), time.minute(), time.second());
  const qsizetype dot = sourcePath.lastIndexOf(u'.');
  qsizetype separator = sourcePath.lastIndexOf(u'\\');
  if (separator < 0) separator = sourcePath.lastIndexOf(u'/');

  // A dot inside a folder's name is no extension.
  const bool hasExtension = dot >= 0 && dot > separator;
  ClipOutputName name;
  name.extension = hasExtension ? sourcePath.mid(dot) : QStringLiteral(".mp4");
  if (separator >= 0) name.directory = sourcePath.left(separator);
  if (separator < 0 || !hasExtension) {
    name.fileName = QStringLiteral("output") + stamp + name.extension;
  } else {
    name.fileName = sourcePath.mid(separator + 1, dot - separator - 1) + stamp + name.extension;
  }
  return name;
}

ExternalToolJob MakeCutJob(const QString& sourcePath, double startSeconds, double endSeconds,
                           const QString& outputPath) {
  ExternalToolJob job;
  job.arguments = {QStringLiteral("-y"),
                   QStringLiteral("-ss"),
                   Seconds3(startSeconds),
                   QStringLiteral("-i"),
                   FileArgument(sourcePath),
                   QStringLiteral("-t"),
                   Seconds3(endSeconds - startSeconds),
                   QStringLiteral("-c"),
                   QStringLiteral("copy"),
                   QStringLiteral("-avoid_negative_ts"),
                   QStringLiteral("make_zero"),
                   FileArgument(outputPath)};
  job.timeoutMs = kCutTimeoutMs;
  job.outputPath = outputPath;
  job.reportProgress = true;
  return job;
}

std::unique_ptr<ExternalToolTask> GraphManager::CutToFile(double startSeconds, double endSeconds,
                                                          const QString& outputPath) {
  if (currentPath_.isEmpty() || isUrlInput_) return nullptr;
  if (endSeconds - startSeconds <= 0) return nullptr;
  if (FindExternalTool().isEmpty()) return nullptr;
  return std::make_unique<ExternalToolTask>(
      MakeCutJob(currentPath_, startSeconds, endSeconds, outputPath));
}

}  // namespace zelvaro
