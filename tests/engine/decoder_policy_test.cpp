// The hardware decoding policy with the decoders this machine really has,
// and with the availability of others stated by a probe.

#include "engine/decoder_policy.h"
#include "engine/burst_queue.h"

#include "engine/gst_ref.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

namespace zelvaro {
namespace {

CapsRef Caps(const char* text) {
  EnsureGStreamer();
  return CapsRef::Adopt(gst_caps_from_string(text));
}

DecoderProbe Available(std::set<std::string> factories, std::vector<std::string>* asked = nullptr) {
  return [factories, asked](const std::string& factory) {
    if (asked != nullptr) asked->push_back(factory);
    return factories.count(factory) > 0;
  };
}

TEST(DecoderPolicyTest, WalksDownTheFallbackChainToSoftware) {
  struct Case {
    int wanted;
    VideoCodec codec;
    std::set<std::string> present;
    int hwAccel;
    const char* factory;
  };
  for (const Case& c : {
           // CUDA missing, VA-API present: the D3D11 stand-in takes over.
           Case{kHwAccelCuda, VideoCodec::H264, {"vah264dec"}, kHwAccelD3D11, "vah264dec"},
           // Only the older VA-API plugin: mode 5 still finds it.
           Case{kHwAccelD3D11, VideoCodec::HEVC, {"vaapih265dec"}, kHwAccelD3D11, "vaapih265dec"},
           // Mode 3 prefers the older plugin when both exist.
           Case{kHwAccelDxva2, VideoCodec::H264, {"vah264dec", "vaapih264dec"}, -1, "vaapih264dec"},
           Case{kHwAccelCuda, VideoCodec::VP9, {"nvvp9dec", "vavp9dec"}, kHwAccelCuda, "nvvp9dec"},
           Case{kHwAccelCuda, VideoCodec::H264, {}, kHwAccelNone, ""},
           Case{kHwAccelD3D11, VideoCodec::H264, {}, kHwAccelNone, ""},
       }) {
    const VideoDecoderChoice choice =
        ChooseVideoDecoder(c.wanted, c.codec, 1920, 1080, {}, Available(c.present));
    if (c.hwAccel >= 0) {
      EXPECT_EQ(choice.hwAccel, c.hwAccel) << c.factory;
    }
    EXPECT_EQ(choice.factory, c.factory);
  }
  // Mode 2 unsupported goes straight to software: only its own decoders are
  // asked; mode 0 never asks.
  std::vector<std::string> asked;
  ChooseVideoDecoder(kHwAccelQuickSync, VideoCodec::H264, 320, 240, {}, Available({}, &asked));
  EXPECT_EQ(asked, (std::vector<std::string>{"vah264dec", "vaapih264dec"}));
  asked.clear();
  ChooseVideoDecoder(kHwAccelNone, VideoCodec::H264, 320, 240, {}, Available({}, &asked));
  EXPECT_TRUE(asked.empty());

  // A codec switched off or a resolution class left out keep the mode but
  // decode in software.
  const VideoDecoderSettings h264Off{.hwH264 = false}, sdOnly{.hwResFlags = 1};
  for (auto [settings, width, factory] :
       {std::tuple{h264Off, 720, ""}, {sdOnly, 1920, ""}, {sdOnly, 720, "vah264dec"}}) {
    const VideoDecoderChoice choice = ChooseVideoDecoder(
        kHwAccelD3D11, VideoCodec::H264, width, width * 9 / 16, settings, Available({"vah264dec"}));
    EXPECT_EQ(choice.hwAccel, kHwAccelD3D11);
    EXPECT_EQ(choice.factory, factory) << width;
  }
}

TEST(DecoderPolicyTest, PicturesAbove2160pForceTheHardwareMode) {
  EXPECT_EQ(HwAccelForVideoSize(kHwAccelNone, 3840, 2160), kHwAccelNone);
  EXPECT_EQ(HwAccelForVideoSize(kHwAccelNone, 3841, 2160), kHwAccelD3D11);
  EXPECT_EQ(HwAccelForVideoSize(kHwAccelCuda, 3840, 2161), kHwAccelD3D11);
  EXPECT_EQ(HwAccelForVideoSize(kHwAccelCuda, 0, 0), kHwAccelCuda);
}

TEST(DecoderPolicyTest, HardwareNameTest) {
  for (const char* name : {"vah264dec", "vaapih265dec", "nvh264dec", "d3d11h264dec", "cudadec"}) {
    EXPECT_TRUE(IsHardwareDecoderName(name)) << name;
  }
  // Software decoders whose names hold the letters in the middle, and the
  // Windows word in capitals.
  for (const char* name : {"avdec_h264", "avdec_twinvq", "avdec_dvaudio", "vp9dec", "D3D11"}) {
    EXPECT_FALSE(IsHardwareDecoderName(name)) << name;
  }
}

TEST(DecoderPolicyTest, CodecNamesOfStreamsNoFixtureHolds) {
  // The fixtures' codecs are read back from real files in graph_playback_test.
  EXPECT_EQ(VideoCodecName(Caps("video/x-wmv, wmvversion=3, format=WVC1").get()), "WVC1");
  EXPECT_EQ(VideoCodecName(Caps("video/x-fancycodec").get()), "FANC");
  EXPECT_EQ(AudioCodecName(Caps("audio/x-eac3").get()), "EAC3");
  EXPECT_EQ(VideoCodecFromCaps(Caps("video/x-h265").get()), VideoCodec::HEVC);
  EXPECT_EQ(VideoCodecFromCaps(Caps("video/mpeg, mpegversion=4").get()), VideoCodec::Other);
}

TEST(DecoderPolicyTest, SoftwareDecodersOfThisMachine) {
  EXPECT_EQ(FindSoftwareDecoder(Caps("video/x-h264, stream-format=avc, alignment=au").get()),
            "avdec_h264");
  std::string aac = FindSoftwareDecoder(Caps("audio/mpeg, mpegversion=4, stream-format=raw").get());
  EXPECT_FALSE(aac.empty());
  EXPECT_FALSE(IsHardwareDecoderName(aac));
  EXPECT_TRUE(FindSoftwareDecoder(Caps("application/x-zelvaro-nothing").get()).empty());
  EXPECT_FALSE(ProbeDecoderFactory("zelvaro_no_such_decoder"));
}

TEST(DecoderPolicyTest, SoftwareThreadsAndBurstDepth) {
  // The stored count always wins, bounded; auto gives light streams up to
  // 1080p30 one thread and everything else the decoder's own choice.
  EXPECT_EQ(SoftwareDecoderThreads(3, VideoCodec::HEVC, 3840, 2160, 60), 3);
  EXPECT_EQ(SoftwareDecoderThreads(0xFFFFFFFFu, VideoCodec::H264, 1920, 1080, 30), 64);
  EXPECT_EQ(SoftwareDecoderThreads(0, VideoCodec::H264, 1920, 1080, 30000.0 / 1001), 1);
  EXPECT_EQ(SoftwareDecoderThreads(0, VideoCodec::MPEG2, 720, 576, 25), 1);
  EXPECT_EQ(SoftwareDecoderThreads(0, VideoCodec::H264, 1280, 720, 0), 1);  // rate unknown
  EXPECT_EQ(SoftwareDecoderThreads(0, VideoCodec::H264, 1920, 1080, 60), 0);
  EXPECT_EQ(SoftwareDecoderThreads(0, VideoCodec::H264, 2560, 1440, 30), 0);
  EXPECT_EQ(SoftwareDecoderThreads(0, VideoCodec::HEVC, 1280, 720, 30), 0);
  EXPECT_EQ(SoftwareDecoderThreads(0, VideoCodec::H264, 0, 0, 30), 0);  // size unknown

  // Deep for small pictures, shallow for huge ones, never a queue that
  // cannot make a burst.
  EXPECT_EQ(BurstDepthFor(640, 360).depth, 8);
  EXPECT_EQ(BurstDepthFor(1920, 1080).depth, 4);
  EXPECT_EQ(BurstDepthFor(3840, 2160).depth, 4);
  EXPECT_EQ(BurstDepthFor(16384, 16384).depth, 4);
  EXPECT_EQ(BurstDepthFor(0, 0).depth, 8);
  for (auto [width, height] : {std::pair{320, 240}, {1920, 1080}, {3840, 2160}}) {
    const BurstDepth depth = BurstDepthFor(width, height);
    EXPECT_GE(depth.refill, 1);
    EXPECT_LT(depth.refill + 1, depth.depth);
  }
}

TEST(DecoderSettingsTest, DefaultsAndStoredValues) {
  test::TempHome home;
  EXPECT_EQ(ReadSplitterSettings().preferredLanguages, "kor,eng,jpn");
  EXPECT_FALSE(ReadVideoDecoderSettings().deintMode.has_value());
  EXPECT_FALSE(ReadAudioDecoderSettings().drcEnabled.has_value());
  ASSERT_TRUE(Settings::SetDword(setting::kLavHwAccelH264, 0));
  ASSERT_TRUE(Settings::SetString(setting::kLavHwAccelHEVC, u"0"));  // wrong type: absent
  ASSERT_TRUE(Settings::SetDword(setting::kLavDeintMode, 2));
  ASSERT_TRUE(Settings::SetDword(setting::kLavDrcEnabled, 1));
  ASSERT_TRUE(Settings::SetDword(setting::kLavDrcLevel, 50));
  VideoDecoderSettings stored = ReadVideoDecoderSettings();
  EXPECT_FALSE(stored.hwH264);
  EXPECT_TRUE(stored.hwHEVC);
  EXPECT_EQ(stored.deintMode, 2u);
  const AudioDecoderSettings audio = ReadAudioDecoderSettings();
  EXPECT_EQ(audio.drcEnabled, true);
  EXPECT_EQ(audio.drcLevel, 50u);
}

}  // namespace
}  // namespace zelvaro
