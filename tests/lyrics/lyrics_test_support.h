#pragma once
// Real audio for the lyrics tests, written by ffmpeg.

#include <QProcess>
#include <QString>
#include <QStringList>

namespace zelvaro::test {

// A tone of `seconds` at `path`, with `lyrics` in its lyrics tag when given;
// empty when ffmpeg fails.
inline QString MakeTone(const QString& path, int seconds, const QString& lyrics = {}) {
  QStringList args{
      QStringLiteral("-nostdin"), QStringLiteral("-loglevel"),
      QStringLiteral("error"),    QStringLiteral("-y"),
      QStringLiteral("-f"),       QStringLiteral("lavfi"),
      QStringLiteral("-i"),       QStringLiteral("sine=frequency=440:duration=%1").arg(seconds)};
  if (path.endsWith(u".m4a")) args << QStringLiteral("-c:a") << QStringLiteral("aac");
  if (!lyrics.isEmpty()) args << QStringLiteral("-metadata") << QStringLiteral("lyrics=") + lyrics;
  QProcess ffmpeg;
  ffmpeg.start(QStringLiteral("ffmpeg"), args << path);
  if (!ffmpeg.waitForFinished(30000) || ffmpeg.exitCode() != 0) return {};
  return path;
}

}  // namespace zelvaro::test
