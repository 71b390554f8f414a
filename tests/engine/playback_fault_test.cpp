// Errors while playing: a hardware video decoder that fails mid-stream is
// replaced by a software one where the picture stood; any other error ends
// the input once, as its end would.
//
// This binary registers a stand-in hardware decoder under a VA-API name (a
// software H.264 decoder that fails after a set number of pictures), so it
// runs apart from the other engine tests, which must see this machine's
// real decoders.

#include "engine/graph_manager.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/engine/audio_capture.h"
#include "tests/engine/recording_video_output.h"
#include "tests/support/http_test_server.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QCoreApplication>

#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

namespace zelvaro {
namespace {

using test::FixturePath;
using test::WaitUntil;

constexpr int kWaitMs = 8000;
constexpr int kFaultAfterPictures = 25;  // 1 s of the 25 fps fixtures

// A bin around avdec_h264 that raises a decode error at its 26th picture.
struct FaultyDecoder {
  GstBin parent;
  std::atomic<int> pictures;
};
struct FaultyDecoderClass {
  GstBinClass parentClass;
};

G_DEFINE_TYPE(FaultyDecoder, faulty_decoder, GST_TYPE_BIN)

GstPadProbeReturn CountPictures(GstPad*, GstPadProbeInfo*, gpointer data) {
  auto* self = static_cast<FaultyDecoder*>(data);
  int seen = ++self->pictures;
  if (seen <= kFaultAfterPictures) return GST_PAD_PROBE_OK;
  if (seen == kFaultAfterPictures + 1) {
    GST_ELEMENT_ERROR(self, STREAM, DECODE, ("device lost"), (nullptr));
  }
  return GST_PAD_PROBE_DROP;
}

void faulty_decoder_init(FaultyDecoder* self) {
  self->pictures = 0;
  GstElement* inner = gst_element_factory_make("avdec_h264", "inner");
  gst_bin_add(GST_BIN(self), inner);
  GstPad* sink = gst_element_get_static_pad(inner, "sink");
  GstPad* source = gst_element_get_static_pad(inner, "src");
  gst_pad_add_probe(sink, GST_PAD_PROBE_TYPE_BUFFER, CountPictures, self, nullptr);
  gst_element_add_pad(GST_ELEMENT(self), gst_ghost_pad_new("sink", sink));
  gst_element_add_pad(GST_ELEMENT(self), gst_ghost_pad_new("src", source));
  gst_object_unref(sink);
  gst_object_unref(source);
}

// The profiles a device of this kind decodes: 8-bit 4:2:0 only.
GstStaticPadTemplate kFaultySink = GST_STATIC_PAD_TEMPLATE(
    "sink", GST_PAD_SINK, GST_PAD_ALWAYS,
    GST_STATIC_CAPS(
        "video/x-h264, profile=(string){ constrained-baseline, baseline, main, high }"));
GstStaticPadTemplate kFaultySource =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS("video/x-raw"));

void faulty_decoder_class_init(FaultyDecoderClass* klass) {
  gst_element_class_add_static_pad_template(GST_ELEMENT_CLASS(klass), &kFaultySink);
  gst_element_class_add_static_pad_template(GST_ELEMENT_CLASS(klass), &kFaultySource);
  gst_element_class_set_static_metadata(GST_ELEMENT_CLASS(klass), "Faulty H.264 decoder",
                                        "Codec/Decoder/Video/Hardware",
                                        "Fails after a second of pictures", "Zelvaro tests");
}

// An audio renderer whose output refuses data after the first buffers: a
// stream error that no decoder raised.
ElementRef RefusingAudioRenderer() {
  ElementRef sink = MakeElement("appsink", "audio_renderer");
  g_object_set(sink.get(), "sync", TRUE, nullptr);
  GstAppSinkCallbacks callbacks = {};
  callbacks.new_sample = [](GstAppSink* appSink, gpointer data) {
    SampleRef sample = SampleRef::Adopt(gst_app_sink_pull_sample(appSink));
    auto* count = static_cast<std::atomic<int>*>(data);
    return ++*count > 40 ? GST_FLOW_ERROR : GST_FLOW_OK;
  };
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, new std::atomic<int>(0),
                             [](gpointer data) { delete static_cast<std::atomic<int>*>(data); });
  return sink;
}

bool StandIn() {
  GstElementFactory* factory = gst_element_factory_find("vah264dec");
  if (factory == nullptr) return false;
  bool standIn = gst_element_factory_get_element_type(factory) == faulty_decoder_get_type();
  gst_object_unref(factory);
  return standIn;
}

class PlaybackFaultTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    EnsureGStreamer();
    // Only where this machine has no VA-API H.264 decoder of its own.
    if (gst_element_factory_find("vah264dec") == nullptr) {
      gst_element_register(nullptr, "vah264dec", GST_RANK_NONE, faulty_decoder_get_type());
    }
  }
  void SetUp() override {
    graph.SetGraphEventSink([this](long eventCode) { events.push_back(eventCode); });
  }

  test::TempHome home;
  test::RecordingVideoOutput output;
  GraphManager graph{&output};
  std::vector<long> events;
};

TEST_F(PlaybackFaultTest, HardwareDecoderFaultRebuildsInSoftwareWhereItStood) {
  if (!StandIn()) GTEST_SKIP() << "this machine has a VA-API H.264 decoder of its own";

  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  ASSERT_EQ(graph.GetDecoderInfo().videoDecoder, "vah264dec");
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return graph.HwAccel() == kHwAccelNone; }, kWaitMs));
  // Rebuilt near where the picture stopped (1 s of pictures in, less what
  // the queues held), not from the start, and still playing.
  double restart = graph.GetPosition();
  EXPECT_GT(restart, 0.4);
  EXPECT_LT(restart, 1.5);
  EXPECT_EQ(graph.State(), 2);
  EXPECT_EQ(graph.GetDecoderInfo().videoDecoder, "avdec_h264");
  EXPECT_FALSE(graph.CurrentPath().isEmpty());
  EXPECT_TRUE(WaitUntil([&] { return graph.GetPosition() > restart + 0.5; }, kWaitMs));
  // The fault was mended, so the interface never heard of it.
  EXPECT_TRUE(events.empty());
}

TEST_F(PlaybackFaultTest, ANetworkAddressIsRebuiltOffTheInterfaceThread) {
  if (!StandIn()) GTEST_SKIP() << "this machine has a VA-API H.264 decoder of its own";
  test::HttpTestServer server;
  // The rebuilt graph asks for the rest of the file from where it stood.
  server.Route("/clip.mkv", {.body = test::FixtureBytes("pattern_h264_aac.mkv"),
                             .contentType = "video/x-matroska",
                             .rangeRequests = true});
  std::vector<bool> results;
  graph.OpenUrlAsync(server.Url("/clip.mkv"), [&](bool opened) { results.push_back(opened); });
  ASSERT_TRUE(WaitUntil([&] { return !results.empty(); }, kWaitMs));
  ASSERT_TRUE(results.front());
  ASSERT_EQ(graph.GetDecoderInfo().videoDecoder, "vah264dec");
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return graph.HwAccel() == kHwAccelNone; }, kWaitMs));
  // The address is asked again while the interface goes on.
  EXPECT_TRUE(graph.IsOpening());
  ASSERT_TRUE(WaitUntil([&] { return !graph.IsOpening() && graph.GetPosition() > 1.0; }, kWaitMs));
  EXPECT_EQ(graph.GetDecoderInfo().videoDecoder, "avdec_h264");
  EXPECT_EQ(graph.State(), 2);
  EXPECT_GE(server.RequestCount(), 2);
  EXPECT_EQ(std::count(events.begin(), events.end(), kEcErrorAbort), 0);
}

TEST_F(PlaybackFaultTest, AProfileTheHardwareCannotDecodeGoesToSoftwareAtOnce) {
  if (!StandIn()) GTEST_SKIP() << "this machine has a VA-API H.264 decoder of its own";
  const QString full = test::MakeMedia(home.Root(), "high444.mkv",
                                       {"-f", "lavfi", "-i", "testsrc2=s=320x240:r=25:d=1", "-c:v",
                                        "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv444p"});
  ASSERT_FALSE(full.isEmpty());
  ASSERT_TRUE(graph.OpenFile(full));
  EXPECT_EQ(graph.GetDecoderInfo().videoDecoder, "avdec_h264");
  // While a stream it can take still goes to it.
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  EXPECT_EQ(graph.GetDecoderInfo().videoDecoder, "vah264dec");
}

TEST_F(PlaybackFaultTest, AnyOtherErrorEndsTheInputOnce) {
  ASSERT_TRUE(Settings::SetDword(setting::kLavHwAccel, kHwAccelNone));
  graph.SetAudioRendererFactory(RefusingAudioRenderer);
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return !events.empty(); }, kWaitMs));
  EXPECT_EQ(events.front(), kEcErrorAbort);
  // However many elements complain, the interface moves on once.
  QCoreApplication::processEvents();
  EXPECT_EQ(events.size(), 1u);
  EXPECT_EQ(graph.HwAccel(), kHwAccelNone);
}

}  // namespace
}  // namespace zelvaro
