#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/runner/ScreenCaptureTest.h"

namespace quorvin {
namespace {

using fakes::FakeEncodedFrame;
using fakes::FakeImageEncoder;
using fakes::FakeSample;
using fakes::FakeVideoEncoder;
using testing::ElementsAre;
using testing::IsEmpty;
using Delivery = FakeVideoEncoder::Delivery;

constexpr std::uint64_t second = 1'000'000'000;

PictureSettings h264Settings() {
  PictureSettings settings;
  settings.codec = "h264";
  settings.fps = 25;
  settings.bitrateMbps = 4;
  return settings;
}

bool isH264(const Data& payload) {
  return payload.size() > 12 && payload.bytes()[0] == 'Q' && payload.bytes()[1] == 'N' &&
         payload.bytes()[2] == 'H' && payload.bytes()[3] == '2';
}

// A running capture that has been asked for H.264.
class ScreenCaptureH264Test : public ScreenCaptureTest {
 protected:
  void SetUp() override {
    start();
    configure(h264Settings());
  }

  FakeVideoEncoder& encoder() { return machine.videoEncoder; }
  std::vector<std::string>& calls() { return machine.videoEncoder.calls; }
  void configure(const PictureSettings& settings) {
    capture->configure(settings, configureAnswer.completion());
    machine.dispatch.runUntilIdle();
  }
  std::shared_ptr<FakeSample> sampleOf(std::uint32_t content, std::size_t width = 1440,
                                       std::size_t height = 900) {
    auto sample = FakeSample::complete(content, width, height);
    sample->presentationTime = {++time, 30};
    return sample;
  }
  void sendFrame(std::uint32_t content, std::size_t width = 1440, std::size_t height = 900) {
    send(sampleOf(content, width, height));
  }
  // Whether each is one of H.264.
  std::vector<bool> emittedH264() {
    std::vector<bool> all;
    for (const auto& payload : emitted) all.push_back(isH264(payload));
    return all;
  }
  std::vector<std::uint32_t> emittedFrames() {
    std::vector<std::uint32_t> all;
    for (const auto& payload : emitted) {
      all.push_back(isH264(payload) ? FakeEncodedFrame::readFromEnd(payload.bytes()).content
                                    : FakeImageEncoder::contentOf(payload));
    }
    return all;
  }
  std::size_t callsOf(const std::string& call) {
    return static_cast<std::size_t>(std::ranges::count(calls(), call));
  }

  std::int64_t time = 0;
};

// ---- the encoder ----

TEST_F(ScreenCaptureH264Test, HasNoEncoderBeforeThereIsAFrame) {
  send(FakeSample::withStatus(frameStatusIdle));
  EXPECT_THAT(encoder().creations, IsEmpty());
}

TEST_F(ScreenCaptureH264Test, MakesItsEncoderOfTheSizeOfTheFrameAndTheSettings) {
  sendFrame(1, 1280, 720);
  EXPECT_THAT(encoder().creations,
              ElementsAre(FakeVideoEncoder::Creation{
                  1280, 720, VideoCodec::h264, {.enableHardwareAcceleratedVideoEncoder = true}}));
  EXPECT_EQ(calls()[4], "1: expectedFrameRate = int32 25");
  EXPECT_EQ(calls()[5], "1: averageBitRate = int64 4000000");
}

TEST_F(ScreenCaptureH264Test, SendsThePayloadsFromTheMainThreadInOrder) {
  for (std::uint32_t content = 1; content <= 3; ++content) sendFrame(content);
  EXPECT_THAT(emittedFrames(), ElementsAre(1U, 2U, 3U));
  EXPECT_THAT(emittedH264(), ElementsAre(true, true, true));
  EXPECT_FALSE(emittedOffMain);
  EXPECT_THAT(machine.imageEncoder.factors, IsEmpty());
  EXPECT_EQ(encoder().creations.size(), 1U) << "one encoder for all of them";
}

TEST_F(ScreenCaptureH264Test, PutsAFrameInWithTheTimeStampOfItsSample) {
  auto sample = FakeSample::complete(42);
  sample->presentationTime = {123'456, 600};
  send(sample);
  EXPECT_EQ(callsOf("1: encode 42 at 123456/600"), 1U);
}

TEST_F(ScreenCaptureH264Test, EncodesOnItsOwnQueue) {
  const auto queue = machine.dispatch.newestSerialQueue();
  bool onQueue = false;
  encoder().whileEncoding = [&] {
    onQueue = queue->isCurrent();
  };
  sendFrame(1);
  EXPECT_TRUE(onQueue);
}

// One that did would wait for itself here.
TEST_F(ScreenCaptureH264Test, HoldsNoLockWhileAFrameIsPutInOrTheLastComeOut) {
  encoder().delivery = Delivery::whenTold;
  int asked = 0;
  encoder().whileEncoding = encoder().whileCompleting = [&] {
    asked += capture->requestedCodec() == "h264" ? 1 : 0;
    machine.dispatch.onMainThread([this] { capture->stop(); });
  };
  sendFrame(1);
  EXPECT_EQ(asked, 2);
  EXPECT_THAT(emitted, IsEmpty());
}

TEST_F(ScreenCaptureH264Test, SkipsSamplesWithoutACompleteFrame) {
  auto incomplete = sampleOf(1);
  incomplete->attachmentList = {SampleAttachments{frameStatusIdle}};
  send(incomplete);
  auto invalid = sampleOf(2);
  invalid->valid = false;
  send(invalid);
  auto noImage = sampleOf(3);
  noImage->image = nullptr;
  send(noImage);
  EXPECT_THAT(encoder().creations, IsEmpty());
  EXPECT_THAT(emitted, IsEmpty());
}

TEST_F(ScreenCaptureH264Test, AFrameThatIsNotTakenOrDoesNotComeOutIsDropped) {
  encoder().encodeStatus = -12902;
  sendFrame(1);
  encoder().encodeStatus = 0;
  encoder().script = [](const auto& /*frame*/) {
    return FakeVideoEncoder::Output{-12909, nullptr};
  };
  sendFrame(2);
  encoder().script = {};
  sendFrame(3);
  EXPECT_THAT(emittedFrames(), ElementsAre(3U));
  EXPECT_EQ(capture->requestedCodec(), "h264") << "that is no reason to fall back";
  EXPECT_EQ(encoder().creations.size(), 1U);
}

// ---- another size ----

TEST_F(ScreenCaptureH264Test, EndsTheEncoderBeforeItMakesOneOfAnotherSize) {
  sendFrame(1, 1280, 720);
  calls().clear();
  sendFrame(2, 1280, 800);
  ASSERT_GE(calls().size(), 4U);
  calls().resize(4);
  EXPECT_THAT(calls(), ElementsAre("1: complete", "1: invalidate", "1: gone",  //
                                   "2: realTime = true"));
  sendFrame(3, 1024, 800);
  EXPECT_EQ(encoder().creations.size(), 3U) << "either side counts";
  sendFrame(4, 1024, 800);
  EXPECT_EQ(encoder().creations.size(), 3U);
  EXPECT_THAT(emittedFrames(), ElementsAre(1U, 2U, 3U, 4U));
}

TEST_F(ScreenCaptureH264Test, BringsOutTheLastFramesOfTheOldSizeFirst) {
  encoder().delivery = Delivery::whenTold;
  sendFrame(1, 1280, 720);
  sendFrame(2, 640, 480);
  EXPECT_THAT(emittedFrames(), ElementsAre(1U));
  encoder().deliverNext();
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(emittedFrames(), ElementsAre(1U, 2U));
}

TEST_F(ScreenCaptureH264Test, FallsBackWhenThereIsNoEncoderOfTheNewSize) {
  sendFrame(1, 1280, 720);
  encoder().makesSessions = false;
  sendFrame(2, 640, 480);
  EXPECT_EQ(encoder().sessionsAtWork(), 0U) << "the old one is not kept";
  EXPECT_EQ(capture->requestedCodec(), "jpeg");
  encoder().makesSessions = true;
  sendFrame(3, 1280, 720);
  EXPECT_THAT(emittedFrames(), ElementsAre(1U, 2U, 3U));
  EXPECT_THAT(emittedH264(), ElementsAre(true, false, false));
}

// ---- no encoder ----

TEST_F(ScreenCaptureH264Test, FallsBackToJPEGForGoodWhenNoEncoderCanBeMade) {
  encoder().status = -12908;
  encoder().makesSessions = false;
  EXPECT_EQ(capture->requestedCodec(), "h264");
  sendFrame(1);
  EXPECT_THAT(emitted, ElementsAre(FakeImageEncoder::file(1))) << "the very same sample";
  EXPECT_EQ(capture->requestedCodec(), "jpeg");
  encoder().status = 0;
  encoder().makesSessions = true;
  sendFrame(2);
  EXPECT_THAT(emittedFrames(), ElementsAre(1U, 2U));
  EXPECT_THAT(emittedH264(), ElementsAre(false, false));
  EXPECT_EQ(encoder().creations.size(), 1U) << "nobody asks again";
  EXPECT_THAT(stops, IsEmpty());
}

TEST_F(ScreenCaptureH264Test, TriesAnEncoderAgainAfterTheNextConfigure) {
  encoder().makesSessions = false;
  sendFrame(1);
  encoder().makesSessions = true;
  configure(h264Settings());
  EXPECT_EQ(capture->requestedCodec(), "h264");
  sendFrame(2);
  EXPECT_THAT(emittedH264(), ElementsAre(false, true));
}

TEST_F(ScreenCaptureH264Test, TriesOnceForEachConfigureWhileNoEncoderCanBeMade) {
  encoder().status = -12908;
  encoder().makesSessions = false;
  for (std::size_t configured = 1; configured <= 3; ++configured) {
    configure(h264Settings());
    EXPECT_EQ(capture->requestedCodec(), "h264");
    sendFrame(1);
    sendFrame(2, 640, 480);
    sendFrame(3);
    EXPECT_EQ(encoder().creations.size(), configured);
    EXPECT_EQ(capture->requestedCodec(), "jpeg");
  }
  EXPECT_EQ(emitted.size(), 9U) << "no frame is lost to it";
}

TEST_F(ScreenCaptureH264Test, StaysWithJPEGWhenTheStreamHasTakenTheSettings) {
  machine.screenCapture.completesUpdates = false;
  encoder().makesSessions = false;
  configure(h264Settings());
  sendFrame(1);
  stream()->completeUpdate();
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(capture->requestedCodec(), "jpeg");
  sendFrame(2);
  EXPECT_EQ(encoder().creations.size(), 1U);
}

TEST_F(ScreenCaptureH264Test, KeepsTheOtherSettingsWhenItFallsBack) {
  auto settings = h264Settings();
  settings.jpegQuality = 55;
  configure(settings);
  encoder().makesSessions = false;
  sendFrame(1);
  EXPECT_THAT(machine.imageEncoder.factors, ElementsAre(0.55));
}

TEST_F(ScreenCaptureH264Test, TakesAnyOtherCodecNameForJPEG) {
  for (const auto* codec : {"H264", "h264 ", "", "avc1"}) {
    auto settings = h264Settings();
    settings.codec = codec;
    configure(settings);
    sendFrame(1);
    EXPECT_EQ(capture->requestedCodec(), codec);
  }
  EXPECT_THAT(emittedH264(), ElementsAre(false, false, false, false));
  EXPECT_THAT(encoder().creations, IsEmpty());
}

// ---- configuring ----

TEST_F(ScreenCaptureH264Test, EndsTheEncoderWhenConfigured) {
  sendFrame(1);
  calls().clear();
  auto settings = h264Settings();
  settings.fps = 10;
  settings.bitrateMbps = 20;
  configure(settings);
  EXPECT_THAT(calls(), ElementsAre("1: complete", "1: invalidate", "1: gone"));
  sendFrame(2);
  EXPECT_EQ(callsOf("2: expectedFrameRate = int32 10"), 1U);
  EXPECT_EQ(callsOf("2: averageBitRate = int64 20000000"), 1U);
  EXPECT_THAT(emittedFrames(), ElementsAre(1U, 2U));
}

TEST_F(ScreenCaptureH264Test, EndsTheEncoderOnItsOwnQueueAndNotInTheCall) {
  sendFrame(1);
  const auto queue = machine.dispatch.newestSerialQueue();
  bool onQueue = false;
  encoder().whileCompleting = [&] {
    onQueue = queue->isCurrent();
  };
  capture->configure(h264Settings(), configureAnswer.completion());
  EXPECT_EQ(callsOf("1: complete"), 0U);
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(callsOf("1: complete"), 1U);
  EXPECT_TRUE(onQueue);
}

TEST_F(ScreenCaptureH264Test, BringsOutTheLastFramesWhenConfigured) {
  encoder().delivery = Delivery::whenTold;
  sendFrame(1);
  EXPECT_THAT(emitted, IsEmpty());
  configure({});
  EXPECT_THAT(emittedFrames(), ElementsAre(1U));
  sendFrame(2);
  EXPECT_THAT(emittedH264(), ElementsAre(true, false));
}

TEST_F(ScreenCaptureH264Test, EndsTheEncoderEvenWhenTheStreamRefusesTheSettings) {
  sendFrame(1);
  machine.screenCapture.updateError = Error("system", -3810, "Refused.");
  configure(h264Settings());
  EXPECT_EQ(callsOf("1: invalidate"), 1U);
}

TEST_F(ScreenCaptureH264Test, KeepsTheEncoderWhenTheStreamHasTakenTheSettings) {
  sendFrame(1);
  machine.screenCapture.completesUpdates = false;
  configure(h264Settings());
  sendFrame(2);
  stream()->completeUpdate();
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(encoder().sessionsAtWork(), 1U);
  sendFrame(3);
  EXPECT_EQ(encoder().creations.size(), 2U);
}

// ---- ending ----

TEST_F(ScreenCaptureH264Test, EndsTheEncoderOnItsOwnQueueAtAStop) {
  encoder().delivery = Delivery::whenTold;
  sendFrame(1);
  calls().clear();
  const auto queue = machine.dispatch.newestSerialQueue();
  capture->stop();
  EXPECT_THAT(calls(), IsEmpty());
  machine.dispatch.runOneOf(*queue);
  EXPECT_THAT(calls(), ElementsAre("1: complete", "1: invalidate", "1: gone"));
  EXPECT_EQ(machine.dispatch.runningTimers(), 0U);
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(emitted, IsEmpty()) << "what came out meanwhile is dropped";
}

TEST_F(ScreenCaptureH264Test, EndsTheEncoderOfACaptureThatIsStoppedAndLetGo) {
  sendFrame(1);
  const auto weak = capture->weak_from_this();
  capture->stop();
  capture.reset();
  machine.dispatch.runUntilIdle();
  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(encoder().letGoAtWork, 0U);
  EXPECT_EQ(callsOf("1: gone"), 1U);
}

TEST_F(ScreenCaptureH264Test, MakesNoEncoderAfterAStop) {
  const auto running = stream();
  running->send(sampleOf(1));
  capture->stop();
  running->send(sampleOf(2));
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(encoder().creations, IsEmpty());
}

TEST_F(ScreenCaptureH264Test, EndsTheEncoderWhenTheStreamStalls) {
  encoder().delivery = Delivery::whenTold;
  sendFrame(1);
  calls().clear();
  const auto running = stream();
  bool reportedBefore = false;
  bool streamStoppedBefore = false;
  bool timerRanStill = false;
  encoder().whileCompleting = [&] {
    reportedBefore = !stops.empty();
    streamStoppedBefore = running->stopCalls > 0;
    timerRanStill = machine.dispatch.runningTimers() > 0;
  };
  machine.dispatch.advanceAndRun(8 * second);
  EXPECT_THAT(calls(), ElementsAre("1: complete", "1: invalidate", "1: gone"));
  EXPECT_FALSE(timerRanStill) << "first the timer,";
  EXPECT_FALSE(streamStoppedBefore) << "then the encoder, then the stream,";
  EXPECT_FALSE(reportedBefore) << "and the report at last";
  EXPECT_EQ(running->stopCalls, 1);
  ASSERT_EQ(stops.size(), 1U);
  EXPECT_EQ(stops[0].code, 3);
  EXPECT_THAT(emitted, IsEmpty()) << "what came out meanwhile is dropped";
}

TEST_F(ScreenCaptureH264Test, LeavesTheEncoderInPlaceWhenTheSystemStopsTheStream) {
  sendFrame(1);
  stream()->stopWithError({fakes::fakeStreamErrorDomain, -3821, "Stopped."});
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(stops.size(), 1U);
  EXPECT_EQ(encoder().sessionsAtWork(), 1U);
  capture->stop();
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(encoder().sessionsAtWork(), 0U);
}

TEST_F(ScreenCaptureH264Test, DropsWhatComesOutAfterAStopOfTheSystem) {
  encoder().delivery = Delivery::whenTold;
  sendFrame(1);
  stream()->stopWithError({fakes::fakeStreamErrorDomain, -3821, "Stopped."});
  machine.dispatch.runUntilIdle();
  encoder().deliverNext();
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(emitted, IsEmpty());
}

// ---- letting go ----

TEST_F(ScreenCaptureH264Test, AnEncoderHoldsItsCapture) {
  sendFrame(1);
  const auto weak = capture->weak_from_this();
  capture.reset();
  EXPECT_FALSE(weak.expired()) << "until the owner's letting go has reached the capture queue";
  machine.dispatch.runUntilIdle();
  EXPECT_TRUE(weak.expired());
}

TEST_F(ScreenCaptureH264Test, EndsTheEncoderAndTheStreamOfACaptureThatIsOnlyLetGo) {
  encoder().delivery = Delivery::whenTold;
  sendFrame(1);
  calls().clear();
  capture.reset();
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(calls(), ElementsAre("1: complete", "1: invalidate", "1: gone"));
  EXPECT_EQ(stream(), nullptr);
  EXPECT_EQ(machine.dispatch.runningTimers(), 0U);
  EXPECT_THAT(emitted, IsEmpty());
  EXPECT_THAT(stops, IsEmpty());
}

TEST_F(ScreenCaptureH264Test, MakesNoEncoderOnceItIsLetGo) {
  sendFrame(1);
  const auto held = capture->shared_from_this();
  capture.reset();
  sendFrame(2, 640, 480);
  EXPECT_EQ(encoder().creations.size(), 1U);
  EXPECT_EQ(encoder().sessionsAtWork(), 0U);
}

TEST_F(ScreenCaptureH264Test, ACaptureWithoutAnEncoderGoesAtOnce) {
  const auto weak = capture->weak_from_this();
  capture.reset();
  EXPECT_TRUE(weak.expired());
}

// ---- the newest frame ----

TEST_F(ScreenCaptureH264Test, DeliversOnlyTheNewestOfWhatComesOut) {
  encoder().delivery = Delivery::whenTold;
  for (std::uint32_t content = 1; content <= 5; ++content) sendFrame(content);
  EXPECT_THAT(emitted, IsEmpty());
  while (encoder().deliverNext()) {
  }
  EXPECT_EQ(machine.dispatch.mainThread().pending(), 1U);
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(emittedFrames(), ElementsAre(5U));
}

}  // namespace
}  // namespace quorvin
