// GraphManager without a graph, and its pure helpers.

#include "engine/graph_manager.h"

#include "tests/engine/recording_video_output.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

TEST(IsUrlTest, SchemesAtTheStartOnly) {
  for (const char* url : {"http://host/a.mkv", "HTTPS://host/a", "mms://h", "mmsh://h", "mmst://h",
                          "rtsp://cam/stream", "Rtmp://live/x"}) {
    EXPECT_TRUE(IsUrl(QString::fromLatin1(url))) << url;
  }
  for (const char* path : {"", "http:/host/a.mkv", "http:", "/home/u/http://x.mkv", "ftp://h/a",
                           "file:///home/u/a.mkv", "C:\\rtsp://x"}) {
    EXPECT_FALSE(IsUrl(QString::fromLatin1(path))) << path;
  }
}

TEST(LetterboxRectTest, KeepsTheAspectAndCentres) {
  // Bars above and below; none; and nothing to show without a native size.
  EXPECT_EQ(LetterboxRect(QSize(1920, 800), 1920, 1080), QRect(0, 140, 1920, 800));
  EXPECT_EQ(LetterboxRect(QSize(1280, 720), 1920, 1080), QRect(0, 0, 1920, 1080));
  EXPECT_EQ(LetterboxRect(QSize(), 1920, 1080), QRect(0, 0, 0, 0));
  EXPECT_EQ(LetterboxRect(QSize(0, 480), 1920, 1080), QRect(0, 0, 0, 0));
}

TEST(GraphManagerTest, EveryOperationOnAClosedManagerFailsQuietly) {
  test::TempHome home;
  test::RecordingVideoOutput output;
  GraphManager graph(&output);
  graph.Pause();
  graph.Stop();
  graph.Close();
  EXPECT_FALSE(graph.Play());
  EXPECT_EQ(graph.State(), 0);
  EXPECT_FALSE(graph.Seek(3.0, true, 0));
  EXPECT_FALSE(graph.SeekRelative(5.0, false));
  EXPECT_FALSE(graph.SeekNextKeyframe());
  EXPECT_FALSE(graph.SeekPreviousKeyframe());
  EXPECT_EQ(graph.GetPosition(), 0.0);
  EXPECT_TRUE(graph.GetDecoderInfo().videoDecoder.isEmpty());
  EXPECT_EQ(graph.GetDecoderInfo().frameRate, 0.0);
  EXPECT_FALSE(graph.SetVideoPosition(0, 0, 1920, 1080));
  EXPECT_TRUE(graph.VideoConnected());
  EXPECT_EQ(graph.HwAccel(), kHwAccelDefault);
}

}  // namespace
}  // namespace zelvaro
