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
  // 1920×800 in 1920×1080: bars above and below.
  EXPECT_EQ(LetterboxRect(QSize(1920, 800), 1920, 1080), QRect(0, 140, 1920, 800));
  // 4:3 in 16:9: bars left and right.
  EXPECT_EQ(LetterboxRect(QSize(320, 240), 1920, 1080), QRect(240, 0, 1440, 1080));
  // Same aspect fills the area.
  EXPECT_EQ(LetterboxRect(QSize(1280, 720), 1920, 1080), QRect(0, 0, 1920, 1080));
  // Without a native size there is nothing to show.
  EXPECT_EQ(LetterboxRect(QSize(), 1920, 1080), QRect(0, 0, 0, 0));
  EXPECT_EQ(LetterboxRect(QSize(0, 480), 1920, 1080), QRect(0, 0, 0, 0));
}

TEST(GraphManagerTest, EveryOperationOnAClosedManagerFailsQuietly) {
  test::TempHome home;
  test::RecordingVideoOutput output;
  GraphManager graph(&output);
  EXPECT_FALSE(graph.Play());
  EXPECT_EQ(graph.State(), 0);
  graph.Pause();
  graph.Stop();
  EXPECT_EQ(graph.State(), 0);
  EXPECT_FALSE(graph.Seek(3.0, true, 0));
  EXPECT_FALSE(graph.SeekRelative(5.0, false));
  EXPECT_FALSE(graph.SeekNextKeyframe());
  EXPECT_FALSE(graph.SeekPreviousKeyframe());
  EXPECT_EQ(graph.GetDuration(), 0.0);
  EXPECT_EQ(graph.GetPosition(), 0.0);
  DecoderInfo info = graph.GetDecoderInfo();
  EXPECT_TRUE(info.videoCodec.isEmpty() && info.videoDecoder.isEmpty() &&
              info.audioCodec.isEmpty());
  EXPECT_EQ(info.audioChannels, 0);
  EXPECT_EQ(info.frameRate, 0.0);
  EXPECT_FALSE(graph.SetVideoPosition(0, 0, 1920, 1080));
  EXPECT_TRUE(graph.CurrentPath().isEmpty());
  graph.Close();
  EXPECT_TRUE(graph.VideoConnected());
  EXPECT_EQ(graph.HwAccel(), kHwAccelDefault);
  EXPECT_EQ(graph.Speed(), 1.0);
}

TEST(GraphManagerTest, RotationIsNormalisedAndKeptWithoutARenderer) {
  GraphManager graph;
  // Without a renderer a rotation is stored; it "applies" only when it is 0.
  EXPECT_FALSE(graph.SetRotation(-90));
  EXPECT_EQ(graph.Rotation(), 270);
  EXPECT_FALSE(graph.SetRotation(450));
  EXPECT_EQ(graph.Rotation(), 90);
  EXPECT_TRUE(graph.SetRotation(45));
  EXPECT_EQ(graph.Rotation(), 0);
  EXPECT_TRUE(graph.SetRotation(0));  // unchanged
  EXPECT_FALSE(graph.SetFlipHorizontal(true));
  EXPECT_TRUE(graph.FlipHorizontal());
  EXPECT_FALSE(graph.SetFlipVertical(true));
  EXPECT_TRUE(graph.FlipVertical());
}

}  // namespace
}  // namespace zelvaro
