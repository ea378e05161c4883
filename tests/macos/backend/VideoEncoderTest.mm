#import "platform/macos/VideoEncoder.h"

#import "tests/macos/backend/CompressionFixture.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class VideoEncoderTest : public CompressionTest {};

TEST_F(VideoEncoderTest, AsksForASessionOfThatKind) {
  const auto result = encoder.createSession(
      1920, 1080, VideoCodec::h264, {.enableHardwareAcceleratedVideoEncoder = true}, &output);
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.session, nullptr);
  EXPECT_THAT(argumentsOf("VTCompressionSessionCreate"),
              ElementsAre("NULL", "1920", "1080", "avc1",
                          "EnableHardwareAcceleratedVideoEncoder = true", "NULL", "NULL"));
  EXPECT_THAT(standin::callNames(), ElementsAre("VTCompressionSessionCreate"));
}

TEST_F(VideoEncoderTest, AsksOnlyForWhatIsSpecified) {
  static_cast<void>(create({.enableHardwareAcceleratedVideoEncoder = false}));
  static_cast<void>(create({}));
  const auto calls = standin::callsOf("VTCompressionSessionCreate");
  ASSERT_THAT(calls, SizeIs(2));
  EXPECT_EQ(calls[0].arguments.at(4), "EnableHardwareAcceleratedVideoEncoder = false");
  EXPECT_EQ(calls[1].arguments.at(4), "");
}

TEST_F(VideoEncoderTest, ReportsThatThereIsNoEncoder) {
  standin::setSessionCreationStatus(kVTCouldNotFindVideoEncoderErr);
  const auto result = create();
  EXPECT_EQ(result.status, -12908);
  EXPECT_EQ(result.session, nullptr);
}

TEST_F(VideoEncoderTest, ReportsASessionThatIsWithheldWithoutAReason) {
  standin::withholdSessions();
  const auto result = create();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.session, nullptr);
}

TEST_F(VideoEncoderTest, LeavesTheSizeToTheSystem) {
  const auto result = encoder.createSession(0, -1, VideoCodec::h264, {}, &output);
  EXPECT_EQ(result.status, kVTParameterErr);
  EXPECT_EQ(result.session, nullptr);
  EXPECT_THAT(standin::callsOf("VTCompressionSessionCreate"), SizeIs(1));
}

TEST_F(VideoEncoderTest, HandsOutSamplesInOrderOnAThreadOfTheEncoders) {
  const auto session = makeSession();
  for (int frame = 1; frame <= 3; ++frame) EXPECT_EQ(encode(*session, frame), 0);
  EXPECT_EQ(session->completeFrames({}), 0);
  const auto outputs = output.received();
  ASSERT_THAT(outputs, SizeIs(3));
  for (std::size_t index = 0; index < 3; ++index) {
    EXPECT_EQ(outputs[index].status, 0);
    EXPECT_TRUE(outputs[index].hasSample);
    EXPECT_EQ(outputs[index].dataLength, index + 1);
    EXPECT_FALSE(outputs[index].onMainThread);
  }
}

TEST_F(VideoEncoderTest, TellsOfAFrameThatWasDropped) {
  standin::setEncoder({});
  const auto session = makeSession();
  EXPECT_EQ(encode(*session, 1), 0);
  standin::settle();
  ASSERT_THAT(output.received(), SizeIs(1));
  EXPECT_EQ(output.received()[0].status, 0);
  EXPECT_FALSE(output.received()[0].hasSample);
}

TEST_F(VideoEncoderTest, TellsOfAFrameThatFailed) {
  standin::setEncoder([](id /*frame*/, CMTime /*time*/) {
    return standin::EncoderOutput{.status = kVTVideoEncoderMalfunctionErr};
  });
  const auto session = makeSession();
  EXPECT_EQ(encode(*session, 1), 0);
  standin::settle();
  ASSERT_THAT(output.received(), SizeIs(1));
  EXPECT_EQ(output.received()[0].status, -12912);
  EXPECT_FALSE(output.received()[0].hasSample);
}

// The system's word is passed on, whatever it may mean.
TEST_F(VideoEncoderTest, HandsOutASampleThatComesWithAFailure) {
  standin::setEncoder([](id /*frame*/, CMTime /*time*/) {
    return standin::EncoderOutput{.status = kVTVideoEncoderMalfunctionErr,
                                  .sampleBuffer = standin::makeSampleBuffer({})};
  });
  const auto session = makeSession();
  EXPECT_EQ(encode(*session, 1), 0);
  standin::settle();
  ASSERT_THAT(output.received(), SizeIs(1));
  EXPECT_EQ(output.received()[0].status, -12912);
  EXPECT_TRUE(output.received()[0].hasSample);
}

TEST_F(VideoEncoderTest, HasNobodyToHandSamplesToWithoutAReceiver) {
  const auto session = create({}, nullptr).session;
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(encode(*session, 1), 0);
  standin::settle();
  EXPECT_THAT(output.received(), IsEmpty());
}

TEST_F(VideoEncoderTest, KeepsSessionsApart) {
  RecordingCompressionOutput other;
  const auto first = makeSession();
  const auto second = create({}, &other).session;
  EXPECT_EQ(encode(*first, 1), 0);
  EXPECT_EQ(encode(*second, 1), 0);
  EXPECT_EQ(encode(*second, 2), 0);
  standin::settle();
  EXPECT_THAT(output.received(), SizeIs(1));
  EXPECT_THAT(other.received(), SizeIs(2));
}

}  // namespace
}  // namespace quorvin
