// The command line and where the window reopens: pure rules with sharp
// edges that decide what a double click in the file manager does.

#include "app/command_line.h"
#include "app/wheel_steps.h"
#include "app/window_placement.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace zelvaro {
namespace {

TEST(CommandLineTest, TokensKeepTheirQuotesAndStopAtBlanks) {
  QString token;
  qsizetype position = 0;
  const QString line = QStringLiteral(" \t\"a b\" c\t\"\" \"open");
  ASSERT_TRUE(NextToken(line, &position, &token));
  EXPECT_EQ(token, QStringLiteral("\"a b\""));
  ASSERT_TRUE(NextToken(line, &position, &token));
  EXPECT_EQ(token, QStringLiteral("c"));
  ASSERT_TRUE(NextToken(line, &position, &token));  // only quotes, still a token
  EXPECT_EQ(token, QStringLiteral("\"\""));
  ASSERT_TRUE(NextToken(line, &position, &token));  // no closing quote: runs to the end
  EXPECT_EQ(token, QStringLiteral("\"open"));
  EXPECT_FALSE(NextToken(line, &position, &token));
  EXPECT_TRUE(token.isEmpty());
}

TEST(CommandLineTest, FilesAndOptionsFollowTheirPrecedence) {
  struct Case {
    const char* line;
    const char* file;
    bool fullscreen;
  };
  const Case cases[] = {
      {"", "", false},
      {"   ", "", false},
      {"-f \"/media/My Movie.mkv\"", "/media/My Movie.mkv", false},
      {"-f \"/media/My Movie.mkv\" -fullscreen", "/media/My Movie.mkv", true},
      {"a.mkv -f", "a.mkv", false},               // -f with nothing after it
      {"a.mkv b.mkv", "a.mkv", false},            // the first bare path wins
      {"a.mkv -f b.mkv", "b.mkv", false},         // a later -f wins over it
      {"-f -weird.mkv", "-weird.mkv", false},     // taken whatever it looks like
      {"-FULLSCREEN -x a.mkv", "a.mkv", true},    // any case; unknown options ignored
      {"\"-fullscreen\"", "-fullscreen", false},  // quoted: a path, not an option
      {"\"/media/open.mkv", "\"/media/open.mkv", false},
  };
  for (const Case& c : cases) {
    const CommandLine parsed = ParseCommandLine(QString::fromUtf8(c.line));
    EXPECT_EQ(parsed.file, QString::fromUtf8(c.file)) << c.line;
    EXPECT_EQ(parsed.fullscreen, c.fullscreen) << c.line;
  }
}

// The words a shell hands over: the same precedence, no quotes to take off,
// and every path absolute against the working directory.
TEST(CommandLineTest, ShellWordsKeepTheRulesAndBecomeAbsolute) {
  struct Case {
    QStringList words;
    const char* file;
    bool fullscreen, help, version;
  };
  const Case cases[] = {
      {{}, "", false, false, false},
      {{"Episode 1.mkv"}, "/home/u/Videos/Episode 1.mkv", false, false, false},
      {{"../a.mkv", "b.mkv"}, "/home/u/a.mkv", false, false, false},
      {{"a.mkv", "-f", "./sub/b.mkv", "-FullScreen"},
       "/home/u/Videos/sub/b.mkv",
       true,
       false,
       false},
      {{"say \"hi\".mkv"}, "/home/u/Videos/say \"hi\".mkv", false, false, false},
      {{"\"q.mkv\""}, "/home/u/Videos/\"q.mkv\"", false, false, false},
      {{"/media/x.mkv", "--help"}, "/media/x.mkv", false, true, false},
      {{"--version"}, "", false, false, true},
      {{"-f", "--help"}, "/home/u/Videos/--help", false, false, false},
      {{"https://example.com/a b.mp4"}, "https://example.com/a b.mp4", false, false, false},
      {{"file:///media/a%20b.mkv"}, "/media/a b.mkv", false, false, false},
  };
  for (const Case& c : cases) {
    const CommandLine parsed = ParseArguments(c.words, QStringLiteral("/home/u/Videos"));
    const std::string where = c.words.join(u'|').toStdString();
    EXPECT_EQ(parsed.file, QString::fromUtf8(c.file)) << where;
    EXPECT_EQ(parsed.fullscreen, c.fullscreen) << where;
    EXPECT_EQ(parsed.help, c.help) << where;
    EXPECT_EQ(parsed.version, c.version) << where;
  }
}

// Each row is a run of wheel events and the steps each one takes.
TEST(WheelStepsTest, DeltasAddUpToWholeNotches) {
  struct Case {
    const char* what;
    std::vector<int> deltas;
    std::vector<int> steps;
  };
  const Case cases[] = {
      {"classic notches", {120, 120, -120}, {1, 1, -1}},
      {"a fast spin", {360, -240}, {3, -2}},
      {"high resolution", {15, 15, 15, 15, 15, 15, 15, 15, 15}, {0, 0, 0, 0, 0, 0, 0, 1, 0}},
      {"a turn back drops the rest", {100, -15, -105}, {0, 0, -1}},
      {"a touchpad's uneven deltas", {50, 50, 50, 50, 40}, {0, 0, 1, 0, 1}},
      {"nothing", {0, 0}, {0, 0}},
      {"a forged event", {INT_MAX, INT_MAX, INT_MIN}, {100, 100, -100}},
  };
  for (const Case& c : cases) {
    WheelSteps wheel;
    std::vector<int> steps;
    for (int delta : c.deltas) steps.push_back(wheel.Add(delta));
    EXPECT_EQ(steps, c.steps) << c.what;
  }
}

TEST(WindowPlacementTest, StoredRectanglesArePulledBackOrCentred) {
  const std::vector<ScreenArea> screens{
      {QRect(0, 0, 1920, 1080), QRect(0, 0, 1920, 1040)},
      {QRect(1920, 0, 1280, 1024), QRect(1920, 0, 1280, 1024)},
  };
  // Fully on a screen: untouched.
  EXPECT_EQ(RestoredWindowRect(QRect(100, 100, 800, 600), screens), QRect(100, 100, 800, 600));
  // On the second screen, hanging off its right side by all but 30 pixels.
  EXPECT_EQ(RestoredWindowRect(QRect(3170, 200, 800, 600), screens), QRect(2400, 200, 800, 600));
  // Peeking in from the left by 40 pixels.
  EXPECT_EQ(RestoredWindowRect(QRect(-760, 300, 800, 600), screens), QRect(0, 300, 800, 600));
  // Below the work area's bottom margin of the primary screen.
  EXPECT_EQ(RestoredWindowRect(QRect(100, 1000, 800, 600), screens), QRect(100, 440, 800, 600));
  // Its screen is gone: centred on the primary screen with the stored size.
  EXPECT_EQ(RestoredWindowRect(QRect(5000, 5000, 800, 600), screens), QRect(560, 240, 800, 600));
}

}  // namespace
}  // namespace zelvaro
