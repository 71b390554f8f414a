// The track menus' operations on real inputs, and switching the audio track
// while the graph plays.

#include "engine/audio_track_choice.h"
#include "engine/graph_manager.h"
#include "engine/stream_inventory.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include "tests/engine/audio_capture.h"
#include "tests/engine/recording_video_output.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

using test::AudioCapture;
using test::ToneFrequency;
using test::WaitUntil;

constexpr int kWaitMs = 8000;

TEST(TrackDisplayNameTest, TitleAndLanguageAsAUserReadsThem) {
  EXPECT_EQ(TrackDisplayName("eng", "English Stereo"), "English Stereo");
  EXPECT_EQ(TrackDisplayName("eng", "Commentary"), "Commentary [English]");
  EXPECT_EQ(TrackDisplayName("kor", ""), "Korean");
  EXPECT_EQ(TrackDisplayName("ja", " "), "Japanese");  // two-letter codes too
  EXPECT_EQ(TrackDisplayName("und", "Director"), "Director");
  EXPECT_EQ(TrackDisplayName("qqz", ""), "qqz");  // unknown: as it is
  EXPECT_EQ(TrackDisplayName("", ""), "");
}

TEST(AudioTrackChoiceTest, PreferredLanguageThenDefaultFlagThenFirst) {
  const std::vector<AudioTrackFacts> tracks = {{"jpn", false}, {"eng", true}, {"ko", false}};
  struct Case {
    const char* preferred;
    int track;
  };
  for (const Case& c : {Case{"kor,eng,jpn", 2}, Case{"jpn,eng", 0}, Case{" ENG ", 1}, Case{"ja", 0},
                        Case{"fre", 1}, Case{"", 1}}) {
    EXPECT_EQ(ChooseAudioTrack(tracks, QString::fromLatin1(c.preferred)), c.track) << c.preferred;
  }
  EXPECT_EQ(ChooseAudioTrack({{"", false}, {"und", false}}, "kor"), 0);
  EXPECT_EQ(ChooseAudioTrack({}, "kor"), -1);
}

class StreamControlTest : public ::testing::Test {
 protected:
  // The fixtures' first track is the English one.
  void SetUp() override { Settings::SetString(setting::kLavPreferredLanguages, u"eng"); }

  test::TempHome home;
  GraphManager graph;
};

TEST_F(StreamControlTest, TheStartingTrackFollowsThePreferredLanguagesThenTheDefaultFlag) {
  // Japanese 440 Hz first; English 880 Hz second, flagged default.
  struct Case {
    const char16_t* preferred;
    int track;
    double hz;
  };
  for (const Case& c : {Case{u"jpn,eng", 0, 440.0}, Case{u"kor", 1, 880.0}}) {
    SCOPED_TRACE(c.track);
    ASSERT_TRUE(Settings::SetString(setting::kLavPreferredLanguages, c.preferred));
    AudioCapture capture(false);
    graph.SetAudioRendererFactory(capture.Factory());
    ASSERT_TRUE(graph.OpenFile(test::FixturePath("two_languages.mkv")));
    EXPECT_EQ(graph.GetCurrentAudioTrack(), c.track);
    ASSERT_TRUE(graph.Play());
    ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > 9600; }, kWaitMs));
    EXPECT_NEAR(ToneFrequency(capture.Samples(2400, 9600), capture.SampleRate()), c.hz,
                c.hz * 0.02);
  }
}

TEST_F(StreamControlTest, TracksAreCountedAndNamedPerKind) {
  EXPECT_EQ(graph.GetCurrentAudioTrack(), -1);
  EXPECT_FALSE(graph.SelectAudioTrack(0));
  // Two audio tracks (440 Hz English, titled; 880 Hz Korean) and two text
  // subtitle tracks (SubRip English, ASS Korean).
  ASSERT_TRUE(graph.OpenFile(test::FixturePath("multitrack.mkv")));
  EXPECT_EQ(graph.GetAudioTrackCount(), 2);
  EXPECT_EQ(graph.GetCurrentAudioTrack(), 0);
  const QStringList audio = {graph.GetAudioTrackName(-1), graph.GetAudioTrackName(0),
                             graph.GetAudioTrackName(1), graph.GetAudioTrackName(2)};
  EXPECT_EQ(audio, (QStringList{"", "English Stereo", "Korean", ""}));
  EXPECT_EQ(graph.GetSubtitleTrackCount(), 2);
  const QStringList subtitles = {graph.GetSubtitleTrackName(0), graph.GetSubtitleTrackName(1),
                                 graph.GetSubtitleTrackName(2)};
  EXPECT_EQ(subtitles, (QStringList{"English", "Korean", ""}));
  EXPECT_FALSE(graph.SelectAudioTrack(2));
  EXPECT_FALSE(graph.SelectAudioTrack(-1));

  // One stream of each: no subtitles, the one audio track current.
  ASSERT_TRUE(graph.OpenFile(test::FixturePath("pattern_h264_aac.mp4")));
  EXPECT_EQ(graph.GetAudioTrackCount(), 1);
  EXPECT_EQ(graph.GetCurrentAudioTrack(), 0);
  EXPECT_EQ(graph.GetSubtitleTrackCount(), 0);
  graph.Close();
  EXPECT_EQ(graph.GetAudioTrackCount(), 0);
}

// Plays `path`, checks track 0's tone, switches to track 1 and checks that
// what is heard half a second later is track 1's tone, then switches back.
void ExpectSwitchWhilePlaying(GraphManager& graph, const QString& path, double firstHz,
                              double secondHz) {
  AudioCapture capture(true);
  graph.SetAudioRendererFactory(capture.Factory());
  ASSERT_TRUE(graph.OpenFile(path));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil(
      [&] { return capture.SampleRate() > 0 && capture.Frames() > capture.SampleRate() / 2; },
      kWaitMs));
  int rate = capture.SampleRate();
  int64_t now = capture.Frames();
  EXPECT_NEAR(ToneFrequency(capture.Samples(now - rate / 4, now), rate), firstHz, firstHz * 0.02);

  for (auto [track, hz] : {std::pair{1, secondHz}, std::pair{0, firstHz}}) {
    SCOPED_TRACE(track);
    ASSERT_TRUE(graph.SelectAudioTrack(track));
    EXPECT_EQ(graph.GetCurrentAudioTrack(), track);
    int64_t switchedAt = capture.Frames();
    rate = capture.SampleRate();
    ASSERT_TRUE(WaitUntil([&] { return capture.Frames() >= switchedAt + rate / 2; }, kWaitMs));
    // The last tenth of the half second already has the other tone.
    EXPECT_NEAR(ToneFrequency(capture.Samples(switchedAt + rate * 4 / 10, switchedAt + rate / 2),
                              capture.SampleRate()),
                hz, hz * 0.02);
  }
}

TEST_F(StreamControlTest, SwitchingTheAudioTrackChangesTheSoundWithinHalfASecond) {
  ExpectSwitchWhilePlaying(graph, test::FixturePath("multitrack.mkv"), 440.0, 880.0);
  EXPECT_EQ(graph.GetDecoderInfo().audioCodec, "AAC");
  // Paused at once after a switch, then sought: the thread of the track
  // left behind must not be holding the renderer then.
  ASSERT_TRUE(graph.SelectAudioTrack(1));
  graph.Pause();
  ASSERT_TRUE(graph.Seek(1.0, false, 0));
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitUntil([&] { return graph.GetPosition() > 1.3; }, kWaitMs));

  // Tracks of different codecs, rates and channel counts: the shared chain
  // follows the format of the track that plays.
  const QString mixed = test::MakeMedia(
      home.Root(), "mixed.mkv",
      {"-f",     "lavfi",   "-i",      "sine=frequency=440:sample_rate=44100:duration=6",
       "-f",     "lavfi",   "-i",      "sine=frequency=880:sample_rate=48000:duration=6",
       "-map",   "0",       "-map",    "1",
       "-c:a:0", "aac",     "-ac:a:0", "2",
       "-c:a:1", "libopus", "-ac:a:1", "1"});
  ASSERT_FALSE(mixed.isEmpty());
  ExpectSwitchWhilePlaying(graph, mixed, 440.0, 880.0);
  ASSERT_TRUE(graph.SelectAudioTrack(1));
  EXPECT_EQ(graph.GetDecoderInfo().audioCodec, "OPUS");
  // Back to the other format while paused, then sought and played.
  graph.Pause();
  ASSERT_TRUE(graph.SelectAudioTrack(0));
  EXPECT_EQ(graph.GetDecoderInfo().audioCodec, "AAC");
  ASSERT_TRUE(graph.Seek(2.0, false, 0));
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitUntil([&] { return graph.GetPosition() > 2.3; }, kWaitMs));
}

TEST_F(StreamControlTest, TheChosenTrackSurvivesSeeksAndTheEndStillArrives) {
  std::vector<long> events;
  graph.SetGraphEventSink([&](long eventCode) { events.push_back(eventCode); });
  AudioCapture capture(true);
  graph.SetAudioRendererFactory(capture.Factory());
  ASSERT_TRUE(graph.OpenFile(test::FixturePath("multitrack.mkv")));
  ASSERT_TRUE(graph.SelectAudioTrack(1));  // paused: the first sound is track 1's
  ASSERT_TRUE(graph.Seek(3.5, false, 0));  // its sound ends at 5.08 s
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > capture.SampleRate() / 2; }, kWaitMs));
  int rate = capture.SampleRate();
  EXPECT_NEAR(ToneFrequency(capture.Samples(rate / 4, rate / 2), rate), 880.0, 880.0 * 0.02);
  EXPECT_GE(capture.StreamTimeAt(0), 3.4);
  ASSERT_TRUE(WaitUntil([&] { return !events.empty(); }, kWaitMs));
  EXPECT_EQ(events.front(), kEcComplete);
  EXPECT_EQ(graph.GetCurrentAudioTrack(), 1);
}

}  // namespace
}  // namespace zelvaro
