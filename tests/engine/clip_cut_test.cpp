// Clip cutting on generated media: the time texts, the proposed name, and
// real stream copies checked with ffprobe.

#include "engine/clip_cut.h"
#include "engine/external_tool.h"
#include "tests/support/test_paths.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

TEST(ClipTime, ParsesWhatAUserTypes) {
  const struct {
    const char16_t* text;
    double seconds;
  } cases[] = {
      {u"1:02:03.5", 3723.5}, {u"90", 90.0},          {u"01:30", 90.0},
      {u"1.23456", 1.234},    {u"letters", 0.0},      {u"", 0.0},
      {u"1:2:3:4", 3723.0},   {u"00:00:07.000", 7.0}, {u"0.05", 0.05},
      {u"2:xx.250", 120.25},
  };
  for (const auto& c : cases)
    EXPECT_DOUBLE_EQ(ParseClipTime(QStringView(c.text)), c.seconds)
        << QStringView(c.text).toString().toStdString();
}

TEST(ClipTime, FormatsRoundedMillisecondsAndReadsBack) {
  EXPECT_EQ(FormatClipTime(0.0005), "00:00:00.001");
  EXPECT_EQ(FormatClipTime(-1), "00:00:00.000");
  EXPECT_EQ(FormatClipTime(3723.5), "01:02:03.500");
  for (const double seconds : {0.0, 4.2, 59.999, 3599.5, 36000.125})
    EXPECT_DOUBLE_EQ(ParseClipTime(FormatClipTime(seconds)), seconds);
}

TEST(ClipOutput, ProposesTheSourceNameWithATimeStamp) {
  const QDateTime now(QDate(2026, 3, 4), QTime(5, 6, 7));
  const struct {
    const char* source;
    const char* directory;
    const char* fileName;
  } cases[] = {
      {"/media/film.mkv", "/media", "film_cut_20260304_050607.mkv"},
      {"/media/a.b/-'q' \"x\".mp4", "/media/a.b", "-'q' \"x\"_cut_20260304_050607.mp4"},
      {"/media/noext", "/media", "output_cut_20260304_050607.mp4"},
      {"/media.d/noext", "/media.d", "output_cut_20260304_050607.mp4"},
      {"film.mkv", "", "output_cut_20260304_050607.mkv"},
  };
  for (const auto& c : cases) {
    const ClipOutputName name = ProposeClipOutput(QString::fromUtf8(c.source), now);
    EXPECT_EQ(name.directory, QString::fromUtf8(c.directory)) << c.source;
    EXPECT_EQ(name.fileName, QString::fromUtf8(c.fileName)) << c.source;
  }
}

// ffprobe's view of a file: its duration and, per stream, what a stream copy
// must keep.
struct Probe {
  double durationSeconds = 0;
  QStringList streams;
};

Probe ProbeFile(const QString& path) {
  QProcess ffprobe;
  ffprobe.start("ffprobe", {"-v", "error", "-show_format", "-show_streams", "-of", "json", path});
  EXPECT_TRUE(ffprobe.waitForFinished(30000));
  const QJsonObject root = QJsonDocument::fromJson(ffprobe.readAllStandardOutput()).object();
  Probe probe;
  probe.durationSeconds = root["format"].toObject()["duration"].toString().toDouble();
  for (const QJsonValue value : root["streams"].toArray()) {
    const QJsonObject s = value.toObject();
    QStringList fields;
    for (const char* key : {"codec_name", "profile", "width", "height", "pix_fmt", "has_b_frames",
                            "sample_rate", "channels", "level"})
      fields << key + QStringLiteral("=") + s[key].toVariant().toString();
    probe.streams << fields.join(',');
  }
  return probe;
}

TEST(ClipCut, CopiesTheRangeOfFilesWithBFramesUnderAnyName) {
  // cut_source.*: 25 fps, -g 25 with scene cuts off: a keyframe every second.
  constexpr double kGopSeconds = 1.0;
  // Past the end a copy keeps the reordered B-frames and the last audio
  // packet: 0.26 s measured.
  constexpr double kTailSeconds = 0.3;
  // ffmpeg seeks an input whose demuxer seeks by decoding time (Matroska,
  // not MP4) 3/23 s early when it has B-frames; a start on a keyframe then
  // takes the whole GOP before it: 5.24 s for this cut, past one GOP.
  constexpr double kDtsSeekBackSeconds = 3.0 / 23;
  const struct {
    const char* fixture;
    double longestSeconds;
  } cases[] = {
      {"cut_source.mp4", 4.0 + kGopSeconds},
      {"cut_source.mkv", 4.0 + kGopSeconds + kDtsSeekBackSeconds + kTailSeconds},
  };
  QTemporaryDir dir;
  const QDateTime now = QDateTime::currentDateTime();
  for (const auto& [fixture, longestSeconds] : cases) {
    // A name that a shell or an option parser would take apart.
    const QString extension = QString(fixture).section('.', -1);
    const QString source = dir.filePath("-it's \"a\" clip: one." + extension);
    ASSERT_TRUE(QFile::copy(test::FixturePath(fixture), source));
    const ClipOutputName name = ProposeClipOutput(source, now);
    EXPECT_TRUE(QRegularExpression(R"(^-it's "a" clip: one_cut_\d{8}_\d{6}\.)" + extension + "$")
                    .match(name.fileName)
                    .hasMatch())
        << name.fileName.toStdString();
    const QString output = QDir(name.directory).filePath(name.fileName);

    double lastProgress = 0;
    const ExternalToolResult result = RunExternalTool(MakeCutJob(source, 3.0, 7.0, output), nullptr,
                                                      [&](double s) { lastProgress = s; });
    ASSERT_TRUE(result.Succeeded()) << fixture << ": " << result.errorTail.constData();
    EXPECT_GT(lastProgress, 0.0) << fixture;

    // A stream copy starts at a keyframe before the start, so nothing of the
    // range is lost.
    const Probe in = ProbeFile(source);
    const Probe out = ProbeFile(output);
    EXPECT_GE(out.durationSeconds, 3.95) << fixture;
    EXPECT_LE(out.durationSeconds, longestSeconds) << fixture;
    EXPECT_EQ(out.streams, in.streams) << fixture;
  }
}

}  // namespace
}  // namespace zelvaro
