// The command line and where the window reopens: pure rules with sharp
// edges that decide what a double click in the file manager does.

#include "app/command_line.h"
#include "app/window_placement.h"

#include <gtest/gtest.h>

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
      {"a.mkv -f", "a.mkv", false},                // -f with nothing after it
      {"a.mkv b.mkv", "a.mkv", false},             // the first bare path wins
      {"a.mkv -f b.mkv", "b.mkv", false},          // a later -f wins over it
      {"-f -weird.mkv", "-weird.mkv", false},      // taken whatever it looks like
      {"-FULLSCREEN -x a.mkv", "a.mkv", true},     // any case; unknown options ignored
      {"\"-fullscreen\"", "-fullscreen", false},   // quoted: a path, not an option
      {"\"/media/open.mkv", "\"/media/open.mkv", false},
  };
  for (const Case& c : cases) {
    const CommandLine parsed = ParseCommandLine(QString::fromUtf8(c.line));
    EXPECT_EQ(parsed.file, QString::fromUtf8(c.file)) << c.line;
    EXPECT_EQ(parsed.fullscreen, c.fullscreen) << c.line;
  }
}

TEST(CommandLineTest, ShellWordsSurviveTheRoundTrip) {
  const QStringList words{QStringLiteral("/media/Two Words.mkv"), QStringLiteral("-fullscreen")};
  const CommandLine parsed = ParseCommandLine(JoinArguments(words));
  EXPECT_EQ(parsed.file, words[0]);
  EXPECT_TRUE(parsed.fullscreen);
  EXPECT_EQ(ParseCommandLine(JoinArguments({QStringLiteral("-f"), QString()})).file, QString());
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
