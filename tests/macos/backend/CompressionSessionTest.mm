#import "platform/macos/CompressionSession.h"

#include <limits>

#include "tests/contract/ForeignPixelBuffer.h"
#import "tests/macos/backend/CompressionFixture.h"

namespace quorvin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class CompressionSessionTest : public CompressionTest {
 protected:
  void SetUp() override {
    CompressionTest::SetUp();
    session = makeSession();
  }
  void TearDown() override {
    session.reset();
    CompressionTest::TearDown();
  }

  // What the system was asked to set, each property as "key = value".
  static std::vector<std::string> settings() {
    std::vector<std::string> settings;
    for (const auto& call : standin::callsOf("VTSessionSetProperty")) {
      settings.push_back(call.arguments.at(0) + " = " + call.arguments.at(1));
    }
    return settings;
  }

  std::unique_ptr<CompressionSession> session;
};

TEST_F(CompressionSessionTest, SetsEveryPropertyWithAValueOfItsType) {
  EXPECT_EQ(session->setProperty(CompressionProperty::realTime, true), 0);
  EXPECT_EQ(session->setProperty(CompressionProperty::allowFrameReordering, false), 0);
  EXPECT_EQ(session->setProperty(CompressionProperty::allowTemporalCompression, false), 0);
  EXPECT_EQ(
      session->setProperty(CompressionProperty::profileLevel, ProfileLevel::h264MainAutoLevel), 0);
  EXPECT_EQ(session->setProperty(CompressionProperty::expectedFrameRate, std::int32_t{30}), 0);
  EXPECT_EQ(session->setProperty(CompressionProperty::averageBitRate, std::int64_t{7'000'000}), 0);
  EXPECT_EQ(session->setProperty(CompressionProperty::maxKeyFrameInterval, std::int32_t{1}), 0);
  EXPECT_THAT(settings(),
              ElementsAre("RealTime = true", "AllowFrameReordering = false",
                          "AllowTemporalCompression = false", "ProfileLevel = H264_Main_AutoLevel",
                          "ExpectedFrameRate = 30 (SInt32)", "AverageBitRate = 7000000 (SInt64)",
                          "MaxKeyFrameInterval = 1 (SInt32)"));
}

TEST_F(CompressionSessionTest, CarriesNumbersOfAnySize) {
  session->setProperty(CompressionProperty::expectedFrameRate,
                       std::numeric_limits<std::int32_t>::min());
  session->setProperty(CompressionProperty::averageBitRate,
                       std::numeric_limits<std::int64_t>::max());
  EXPECT_THAT(settings(), ElementsAre("ExpectedFrameRate = -2147483648 (SInt32)",
                                      "AverageBitRate = 9223372036854775807 (SInt64)"));
}

TEST_F(CompressionSessionTest, ReportsAPropertyThatCannotBeSet) {
  standin::setPropertyStatus("RealTime", kVTPropertyNotSupportedErr);
  EXPECT_EQ(session->setProperty(CompressionProperty::realTime, true), -12900);
  EXPECT_EQ(session->setProperty(CompressionProperty::allowFrameReordering, false), 0);
}

TEST_F(CompressionSessionTest, Prepares) {
  EXPECT_EQ(session->prepareToEncodeFrames(), 0);
  EXPECT_THAT(standin::callsOf("VTCompressionSessionPrepareToEncodeFrames"), SizeIs(1));
  standin::setCallStatus("VTCompressionSessionPrepareToEncodeFrames",
                         kVTVideoEncoderMalfunctionErr);
  EXPECT_EQ(session->prepareToEncodeFrames(), -12912);
}

TEST_F(CompressionSessionTest, EncodesTheFrameItself) {
  id buffer = standin::makePixelBuffer(64, 48);
  id encoded = nil;
  standin::setEncoder([&encoded](id frame, CMTime /*time*/) {
    encoded = frame;
    return standin::EncoderOutput{};
  });
  const auto frame = std::make_shared<MacPixelBuffer>((__bridge CVPixelBufferRef)buffer);
  EXPECT_EQ(session->encodeFrame(frame, {12, 600}, {}), 0);
  EXPECT_EQ(encoded, buffer);
  EXPECT_THAT(argumentsOf("VTCompressionSessionEncodeFrame"),
              ElementsAre("12/600", "invalid", "NULL", "NULL", "NULL"));
  standin::settle();
  standin::setEncoder({});
}

TEST_F(CompressionSessionTest, PassesATimeStampOnWhole) {
  CMTime encoded = kCMTimeInvalid;
  standin::setEncoder([&encoded](id /*frame*/, CMTime time) {
    encoded = time;
    return standin::EncoderOutput{};
  });
  EXPECT_EQ(session->encodeFrame(makeFrame(), {5, 600, 3, 7}, {}), 0);
  standin::settle();
  standin::setEncoder({});
  EXPECT_EQ(encoded.value, 5);
  EXPECT_EQ(encoded.timescale, 600);
  EXPECT_EQ(encoded.flags, kCMTimeFlags_Valid | kCMTimeFlags_HasBeenRounded);
  EXPECT_EQ(encoded.epoch, 7);
}

TEST_F(CompressionSessionTest, PassesADurationOnThatIsKnown) {
  EXPECT_EQ(session->encodeFrame(makeFrame(), {12, 600}, MediaTime{1, 30}), 0);
  EXPECT_THAT(argumentsOf("VTCompressionSessionEncodeFrame"),
              ElementsAre("12/600", "1/30", "NULL", "NULL", "NULL"));
}

TEST_F(CompressionSessionTest, PassesATimeStampOnThatIsNoNumber) {
  EXPECT_EQ(session->encodeFrame(makeFrame(), {0, 0, 0}, MediaTime{0, 0, 0}), 0);
  EXPECT_THAT(argumentsOf("VTCompressionSessionEncodeFrame"),
              ElementsAre("invalid", "invalid", "NULL", "NULL", "NULL"));
  EXPECT_THAT(standin::takeViolations(), ElementsAre("a frame without a time stamp"));
}

TEST_F(CompressionSessionTest, LeavesTheFrameToTheEncoderUntilItCameOut) {
  standin::holdEncodedFrames();
  std::weak_ptr<PixelBuffer> frame;
  @autoreleasepool {
    const auto made = makeFrame();
    frame = made;
    EXPECT_EQ(session->encodeFrame(made, {1, 30}, {}), 0);
  }
  EXPECT_TRUE(frame.expired());
  EXPECT_THAT(standin::liveObjectSummary(), Contains("StandInPixelBuffer x 1"));
  EXPECT_EQ(session->completeFrames({}), 0);
  standin::settle();
  EXPECT_THAT(standin::liveObjectSummary(), Not(Contains(HasSubstr("StandInPixelBuffer"))));
}

TEST_F(CompressionSessionTest, RefusesAFrameThatTheSystemDoesNotKnow) {
  EXPECT_EQ(
      session->encodeFrame(
          std::make_shared<contract::ForeignPixelBuffer>(contract::FrameSize{64, 48}), {1, 30}, {}),
      kVTParameterErr);
  EXPECT_EQ(session->encodeFrame(nullptr, {1, 30}, {}), kVTParameterErr);
  EXPECT_THAT(standin::callsOf("VTCompressionSessionEncodeFrame"), IsEmpty());
}

TEST_F(CompressionSessionTest, ReportsAFrameThatIsRefused) {
  standin::setCallStatus("VTCompressionSessionEncodeFrame", kVTVideoEncoderMalfunctionErr);
  EXPECT_EQ(encode(*session, 1), -12912);
  EXPECT_THAT(output.received(), IsEmpty());
}

TEST_F(CompressionSessionTest, WaitsUntilAllFramesHaveComeOut) {
  standin::holdEncodedFrames();
  EXPECT_EQ(encode(*session, 1), 0);
  EXPECT_EQ(encode(*session, 2), 0);
  EXPECT_THAT(output.received(), IsEmpty());
  EXPECT_EQ(session->completeFrames({}), 0);
  EXPECT_THAT(output.received(), SizeIs(2));
  EXPECT_THAT(argumentsOf("VTCompressionSessionCompleteFrames"), ElementsAre("invalid"));
}

TEST_F(CompressionSessionTest, WaitsForTheFramesUpToATime) {
  EXPECT_EQ(session->completeFrames(MediaTime{2, 30}), 0);
  EXPECT_THAT(argumentsOf("VTCompressionSessionCompleteFrames"), ElementsAre("2/30"));
}

TEST_F(CompressionSessionTest, ReportsThatTheFramesDidNotComeOut) {
  standin::setCallStatus("VTCompressionSessionCompleteFrames", kVTVideoEncoderMalfunctionErr);
  EXPECT_EQ(session->completeFrames({}), -12912);
}

TEST_F(CompressionSessionTest, GivesNothingOutOnceItIsInvalidated) {
  standin::holdEncodedFrames();
  EXPECT_EQ(encode(*session, 1), 0);
  session->invalidate();
  standin::settle();
  EXPECT_THAT(output.received(), IsEmpty());
  EXPECT_EQ(standin::liveCompressionSessions(), 1U);
  session.reset();
  EXPECT_EQ(standin::liveCompressionSessions(), 0U);
}

TEST_F(CompressionSessionTest, IsInvalidatedOnceOnly) {
  session->invalidate();
  session->invalidate();
  session.reset();
  EXPECT_THAT(standin::callsOf("VTCompressionSessionInvalidate"), SizeIs(1));
}

TEST_F(CompressionSessionTest, IsInvalidatedWhenItIsLetGo) {
  standin::holdEncodedFrames();
  EXPECT_EQ(encode(*session, 1), 0);
  session.reset();
  EXPECT_THAT(standin::callsOf("VTCompressionSessionInvalidate"), SizeIs(1));
  EXPECT_EQ(standin::liveCompressionSessions(), 0U);
  standin::settle();
  EXPECT_THAT(output.received(), IsEmpty());
}

TEST_F(CompressionSessionTest, ReportsThatAnInvalidatedOneIsOfNoUse) {
  session->invalidate();
  EXPECT_EQ(session->setProperty(CompressionProperty::realTime, true), kVTInvalidSessionErr);
  EXPECT_EQ(session->prepareToEncodeFrames(), kVTInvalidSessionErr);
  EXPECT_EQ(encode(*session, 1), kVTInvalidSessionErr);
  EXPECT_EQ(session->completeFrames({}), kVTInvalidSessionErr);
  EXPECT_THAT(standin::takeViolations(), SizeIs(4));
}

}  // namespace
}  // namespace quorvin
