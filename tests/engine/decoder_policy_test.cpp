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

TEST(DecoderPolicyTest, WalksDownTheFallbackChain) {
  VideoDecoderSettings settings;
  // CUDA missing, VA-API present: the D3D11 stand-in takes over.
  VideoDecoderChoice choice = ChooseVideoDecoder(kHwAccelCuda, VideoCodec::H264, 1920, 1080,
                                                 settings, Available({"vah264dec"}));
  EXPECT_EQ(choice.hwAccel, kHwAccelD3D11);
  EXPECT_EQ(choice.factory, "vah264dec");
  // Only the older VA-API plugin: mode 5 still finds it.
  choice = ChooseVideoDecoder(kHwAccelD3D11, VideoCodec::HEVC, 1920, 1080, settings,
                              Available({"vaapih265dec"}));
  EXPECT_EQ(choice.hwAccel, kHwAccelD3D11);
  EXPECT_EQ(choice.factory, "vaapih265dec");
  // Mode 3 prefers the older plugin when both exist.
  choice = ChooseVideoDecoder(kHwAccelDxva2, VideoCodec::H264, 1920, 1080, settings,
                              Available({"vah264dec", "vaapih264dec"}));
  EXPECT_EQ(choice.factory, "vaapih264dec");
  // NVDEC present and asked for.
  choice = ChooseVideoDecoder(kHwAccelCuda, VideoCodec::VP9, 1920, 1080, settings,
                              Available({"nvvp9dec", "vavp9dec"}));
  EXPECT_EQ(choice.hwAccel, kHwAccelCuda);
  EXPECT_EQ(choice.factory, "nvvp9dec");
}

TEST(DecoderPolicyTest, NothingPresentEndsInSoftware) {
  VideoDecoderSettings settings;
  for (int wanted : {1, 2, 3, 4, 5}) {
    std::vector<std::string> asked;
    VideoDecoderChoice choice =
        ChooseVideoDecoder(wanted, VideoCodec::H264, 320, 240, settings, Available({}, &asked));
    EXPECT_EQ(choice.hwAccel, kHwAccelNone) << wanted;
    EXPECT_TRUE(choice.factory.empty()) << wanted;
    EXPECT_FALSE(asked.empty()) << wanted;
  }
  // Mode 2 unsupported goes straight to software: only its own decoders are asked.
  std::vector<std::string> asked;
  ChooseVideoDecoder(kHwAccelQuickSync, VideoCodec::H264, 320, 240, settings,
                     Available({}, &asked));
  EXPECT_EQ(asked, (std::vector<std::string>{"vah264dec", "vaapih264dec"}));
  // Mode 0 never asks.
  asked.clear();
  ChooseVideoDecoder(kHwAccelNone, VideoCodec::H264, 320, 240, settings, Available({}, &asked));
  EXPECT_TRUE(asked.empty());
}

TEST(DecoderPolicyTest, CodecSwitchesAndResolutionClassesKeepTheModeButDecodeInSoftware) {
  VideoDecoderSettings settings;
  settings.hwH264 = false;
  VideoDecoderChoice choice = ChooseVideoDecoder(kHwAccelD3D11, VideoCodec::H264, 1920, 1080,
                                                 settings, Available({"vah264dec"}));
  EXPECT_EQ(choice.hwAccel, kHwAccelD3D11);
  EXPECT_TRUE(choice.factory.empty());

  settings = VideoDecoderSettings{};
  settings.hwResFlags = 1;  // SD only
  choice = ChooseVideoDecoder(kHwAccelD3D11, VideoCodec::H264, 1920, 1080, settings,
                              Available({"vah264dec"}));
  EXPECT_TRUE(choice.factory.empty());
  choice = ChooseVideoDecoder(kHwAccelD3D11, VideoCodec::H264, 720, 576, settings,
                              Available({"vah264dec"}));
  EXPECT_EQ(choice.factory, "vah264dec");
}

TEST(DecoderPolicyTest, PicturesAbove2160pForceTheHardwareMode) {
  EXPECT_EQ(HwAccelForVideoSize(kHwAccelNone, 3840, 2160), kHwAccelNone);
  EXPECT_EQ(HwAccelForVideoSize(kHwAccelNone, 3841, 2160), kHwAccelD3D11);
  EXPECT_EQ(HwAccelForVideoSize(kHwAccelCuda, 3840, 2161), kHwAccelD3D11);
  EXPECT_EQ(HwAccelForVideoSize(kHwAccelCuda, 0, 0), kHwAccelCuda);
  EXPECT_STREQ(HwAccelName(5), "D3D11");
  EXPECT_STREQ(HwAccelName(6), "Unknown");
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

TEST(DecoderPolicyTest, CodecNames) {
  EXPECT_EQ(VideoCodecName(Caps("video/x-h264, stream-format=avc").get()), "H264");
  EXPECT_EQ(VideoCodecName(Caps("video/x-h265").get()), "HEVC");
  EXPECT_EQ(VideoCodecName(Caps("video/x-vp9").get()), "VP90");
  EXPECT_EQ(VideoCodecName(Caps("video/mpeg, mpegversion=4").get()), "MP4V");
  EXPECT_EQ(VideoCodecName(Caps("video/x-wmv, wmvversion=3, format=WVC1").get()), "WVC1");
  EXPECT_EQ(VideoCodecName(Caps("video/x-fancycodec").get()), "FANC");
  EXPECT_EQ(VideoCodecName(nullptr), "");
  EXPECT_EQ(AudioCodecName(Caps("audio/mpeg, mpegversion=4").get()), "AAC");
  EXPECT_EQ(AudioCodecName(Caps("audio/mpeg, mpegversion=1, layer=3").get()), "MP3");
  EXPECT_EQ(AudioCodecName(Caps("audio/x-opus").get()), "OPUS");
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
  // Whatever this machine has, the real probe answers consistently.
  EXPECT_EQ(ProbeDecoderFactory("vah264dec"), ProbeDecoderFactory("vah264dec"));
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
  EXPECT_EQ(BurstDepthFor(1920, 1080).depth, 8);
  EXPECT_EQ(BurstDepthFor(3840, 2160).depth, 4);
  EXPECT_EQ(BurstDepthFor(16384, 16384).depth, 3);
  EXPECT_EQ(BurstDepthFor(0, 0).depth, 8);
  for (auto [width, height] : {std::pair{320, 240}, {1920, 1080}, {3840, 2160}}) {
    const BurstDepth depth = BurstDepthFor(width, height);
    EXPECT_GE(depth.refill, 1);
    EXPECT_LT(depth.refill + 1, depth.depth);
  }
}

TEST(DecoderSettingsTest, DefaultsAndStoredValues) {
  test::TempHome home;
  VideoDecoderSettings defaults = ReadVideoDecoderSettings();
  EXPECT_TRUE(defaults.hwH264 && defaults.hwHEVC && defaults.hwVP9 && defaults.hwAV1);
  EXPECT_EQ(defaults.hwResFlags, 7u);
  EXPECT_EQ(defaults.numThreads, 0u);
  EXPECT_FALSE(defaults.deintMode.has_value());
  EXPECT_EQ(ReadSplitterSettings().preferredLanguages, "kor,eng,jpn");
  AudioDecoderSettings audio = ReadAudioDecoderSettings();
  EXPECT_FALSE(audio.drcEnabled.has_value());
  EXPECT_FALSE(audio.expandMono.has_value());

  ASSERT_TRUE(Settings::SetDword(setting::kLavHwAccelH264, 0));
  ASSERT_TRUE(Settings::SetString(setting::kLavHwAccelHEVC, u"0"));  // wrong type: absent
  ASSERT_TRUE(Settings::SetDword(setting::kLavDeintMode, 2));
  ASSERT_TRUE(Settings::SetDword(setting::kLavDrcEnabled, 1));
  ASSERT_TRUE(Settings::SetDword(setting::kLavDrcLevel, 50));
  VideoDecoderSettings stored = ReadVideoDecoderSettings();
  EXPECT_FALSE(stored.hwH264);
  EXPECT_TRUE(stored.hwHEVC);
  EXPECT_EQ(stored.deintMode, 2u);
  audio = ReadAudioDecoderSettings();
  EXPECT_EQ(audio.drcEnabled, true);
  EXPECT_EQ(audio.drcLevel, 50u);
}

}  // namespace
}  // namespace zelvaro
