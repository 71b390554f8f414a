// Where lyrics come from: the side file and its suffixes, the lyrics tag of
// real files written by ffmpeg, and the lyrics service on a real HTTP server
// on 127.0.0.1, with the replies it must shrug off; then the order of the
// whole search.

#include "lyrics/lrclib.h"
#include "lyrics/lyrics_search.h"
#include "lyrics/lyrics_sources.h"
#include "tests/lyrics/lyrics_test_support.h"
#include "tests/support/http_test_server.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>

namespace zelvaro {
namespace {

using test::HttpResponse;
using test::HttpTestServer;

void WriteFile(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
  file.write(bytes);
}

std::vector<std::pair<int64_t, QString>> LinesOf(const LyricsData& data) {
  std::vector<std::pair<int64_t, QString>> lines;
  for (const LyricLine& line : data.lines) lines.emplace_back(line.timeMs, line.text);
  return lines;
}

struct LrcFileCase {
  std::set<QString> present;
  QString expected;
};

TEST(FindLrcFile, TakesTheBaseNameThenTheSuffixesInOrder) {
  const std::vector<LrcFileCase> cases{
      {{}, {}},
      {{u"song.v2.lrc"_qs, u"song.v2.en.lrc"_qs}, u"song.v2.lrc"_qs},
      {{u"song.v2.en.lrc"_qs, u"song.v2.ko.lrc"_qs}, u"song.v2.ko.lrc"_qs},
      {{u"song.v2.chinese.lrc"_qs, u"song.v2.zh.lrc"_qs}, u"song.v2.zh.lrc"_qs},
      {{u"song.v2.LRC"_qs}, u"song.v2.LRC"_qs},
      // Another file's lyrics never count.
      {{u"song.lrc"_qs, u"song.v2.fr.lrc"_qs}, {}},
  };
  for (const LrcFileCase& c : cases) {
    QTemporaryDir dir;
    for (const QString& name : c.present) WriteFile(dir.filePath(name), "[0:01]x");
    const QString found = FindLrcFile(dir.filePath(QStringLiteral("song.v2.mp3")));
    EXPECT_EQ(found, c.expected.isEmpty() ? QString() : dir.filePath(c.expected))
        << c.expected.toStdString();
  }
  EXPECT_TRUE(FindLrcFile(QString()).isEmpty());
}

TEST(ParseFfmetadataLyrics, ReadsTheLyricsKeyWithItsEscapes) {
  struct Case {
    QByteArray metadata;
    std::vector<std::pair<int64_t, QString>> expected;
    bool synced;
  };
  const std::vector<Case> cases{
      {";FFMETADATA1\ntitle=T\nlyrics-eng=[00:01.00]one\\\n[00:02.00]two \\= 2\nencoder=x\n",
       {{1000, u"one"_qs}, {2000, u"two = 2"_qs}},
       true},
      {";FFMETADATA1\nUNSYNCEDLYRICS=\xEF\xBB\xBFplain\\\r\n\\\n more\n[CHAPTER]\nTIMEBASE=1/1\n",
       {{0, u"plain"_qs}, {5000, u" more"_qs}},
       false},
      // Brackets and a colon that are no LRC fall back to untimed lines.
      {"lyrics=[note: sung twice]\n", {{0, u"[note: sung twice]"_qs}}, false},
      {";FFMETADATA1\ntitle=no lyrics\nlyricist=someone\n", {}, false},
  };
  for (const Case& c : cases) {
    LyricsData data;
    EXPECT_EQ(ParseFfmetadataLyrics(c.metadata, &data), !c.expected.empty());
    EXPECT_EQ(LinesOf(data), c.expected) << c.metadata.toStdString();
    EXPECT_EQ(data.synced, c.synced);
  }
}

// Short limits so the slow cases end quickly.
LrclibOptions TestOptions(const HttpTestServer& server) {
  LrclibOptions options;
  options.endpoint = server.Url(QString());
  options.limits.connectTimeoutMs = 2000;
  options.limits.totalTimeoutMs = 1500;
  return options;
}

TEST(FetchLrclib, ReadsTheReplyAndAsksWithTheTags) {
  // Plain http on loopback passes the address rule; a redirect there must not.
  HttpTestServer plain;
  plain.Route("/api/get", {.body = R"({"syncedLyrics":"[00:01.00]x"})"});
  struct Case {
    const char* name;
    HttpResponse response;
    std::vector<std::pair<int64_t, QString>> expected;
    bool synced;
  };
  const std::vector<Case> cases{
      {"synced",
       {.body = R"({"syncedLyrics":"[00:01.00]one\n[00:02.50]two","plainLyrics":"x"})"},
       {{1000, u"one"_qs}, {2500, u"two"_qs}},
       true},
      {"null synced",
       {.body = R"({"syncedLyrics":null,"plainLyrics":"a\r\nb"})"},
       {{0, u"a"_qs}, {5000, u"b"_qs}},
       false},
      {"escapes",
       {.body = R"({"syncedLyrics":"[00:01.00]\uAC00\uC0AC \"q\" \ud83c\udfb5"})"},
       {{1000, u"가사 \"q\" 🎵"_qs}},
       true},
      {"wrong types", {.body = R"({"syncedLyrics":12,"plainLyrics":["a"]})"}, {}, false},
      {"invalid json", {.body = R"({"syncedLyrics":"[00:01.00]x)"}, {}, false},
      {"not found", {.status = 404, .body = R"({"syncedLyrics":"[00:01.00]x"})"}, {}, false},
      {"oversize", {.bodySize = 50ll * 1024 * 1024}, {}, false},
      {"oversize without length",
       {.bodySize = 50ll * 1024 * 1024, .sendContentLength = false},
       {},
       false},
      {"never finishes", {.body = "{}", .delayMs = 60000}, {}, false},
      {"redirect to file",
       {.status = 302, .headers = {{"Location", "file:///etc/passwd"}}},
       {},
       false},
      {"redirect to http",
       {.status = 302, .headers = {{"Location", plain.Url(u"/api/get"_qs).toUtf8()}}},
       {},
       false},
  };
  for (const Case& c : cases) {
    HttpTestServer server;
    server.Route("/api/get", c.response);
    LyricsData data;
    EXPECT_EQ(FetchLrclib(u"Song Title"_qs, u"가수"_qs, 185, &data, TestOptions(server)),
              !c.expected.empty())
        << c.name;
    EXPECT_EQ(LinesOf(data), c.expected) << c.name;
    EXPECT_EQ(data.synced, c.synced) << c.name;
    ASSERT_EQ(server.RequestCount(), 1) << c.name;
    EXPECT_EQ(server.Requests().front().query,
              "track_name=Song%20Title&artist_name=%EA%B0%80%EC%88%98&duration=185")
        << c.name;
  }
}

TEST(FetchLrclib, RefusesPlainHttpAwayFromLoopbackAndStopsOnCancel) {
  LyricsData data;
  LrclibOptions options;
  options.endpoint = u"http://lrclib.invalid"_qs;
  EXPECT_FALSE(FetchLrclib(u"T"_qs, QString(), 0, &data, options));

  HttpTestServer server;
  server.Route("/api/get", {.body = "{}", .delayMs = 60000});
  std::atomic<bool> cancel{true};
  options = TestOptions(server);
  options.limits.totalTimeoutMs = 600000;
  options.cancel = &cancel;
  // A cancelled request ends at the transfer's next progress call, not at the time-out.
  EXPECT_FALSE(FetchLrclib(u"T"_qs, QString(), 0, &data, options));
}

TEST(SearchLyrics, SideFileThenTagThenService) {
  QTemporaryDir dir;
  HttpTestServer server;
  server.Route("/api/get", {.body = R"({"syncedLyrics":"[00:03.00]from the service"})"});
  const QString tagged =
      test::MakeTone(dir.filePath(u"tagged.mp3"_qs), 1, u"[00:01.00]from the tag"_qs);
  const QString untimed = test::MakeTone(dir.filePath(u"untimed.m4a"_qs), 1, u"plain words"_qs);
  ASSERT_FALSE(tagged.isEmpty());
  ASSERT_FALSE(untimed.isEmpty());
  LyricsData none;
  EXPECT_FALSE(ReadEmbeddedLyrics(dir.filePath(QStringLiteral("missing.mp3")), &none));
  std::atomic<bool> cancel{false};
  auto search = [&](const QString& path, std::vector<QString>* early) {
    LyricsRequest request;
    request.mediaPath = path;
    request.title = QFileInfo(path).completeBaseName();
    return SearchLyrics(
        request, cancel,
        [early](std::unique_ptr<LyricsData> found) { early->push_back(found->lines[0].text); },
        TestOptions(server));
  };

  // The tag's timed lines need no service.
  std::vector<QString> early;
  auto found = search(tagged, &early);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->lines[0].text, u"from the tag");
  EXPECT_EQ(server.RequestCount(), 0);

  // A side file beats the tag.
  WriteFile(dir.filePath(QStringLiteral("tagged.lrc")), "[00:02.00]from the side file");
  found = search(tagged, &early);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->lines[0].text, u"from the side file");
  EXPECT_TRUE(early.empty());

  // Untimed lines of the tag go first, then the service's timed ones.
  found = search(untimed, &early);
  ASSERT_TRUE(found);
  EXPECT_EQ(early, std::vector<QString>{u"plain words"_qs});
  EXPECT_TRUE(found->synced);
  EXPECT_EQ(found->lines[0].text, u"from the service");
  ASSERT_EQ(server.RequestCount(), 1);
  EXPECT_TRUE(server.Requests()[0].query.startsWith("track_name=untimed"));
}

}  // namespace
}  // namespace zelvaro
