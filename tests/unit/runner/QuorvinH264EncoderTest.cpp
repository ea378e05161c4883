#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "Runner/QuorvinH264Encoder.h"
#include "platform/Error.h"
#include "tests/fakes/FakeVideoEncoder.h"

namespace quorvin {
namespace {

using fakes::FakeEncodedSample;
using fakes::FakePixelBuffer;
using fakes::FakeVideoEncoder;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto int32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t beyondInt32 = std::int64_t{int32Max} + 1;
constexpr std::int64_t belowInt32 = std::int64_t{std::numeric_limits<std::int32_t>::min()} - 1;
constexpr auto int64Max = std::numeric_limits<std::int64_t>::max();

class H264EncoderTest : public testing::Test {
 protected:
  ~H264EncoderTest() override {
    encoder.reset();
    EXPECT_THAT(videoEncoder.violations, IsEmpty());
  }

  std::shared_ptr<QuorvinH264Encoder> make(std::int64_t width = 1920, std::int64_t height = 1080,
                                           std::int64_t fps = 30, std::int64_t bitrateMbps = 7) {
    return std::make_shared<QuorvinH264Encoder>(
        videoEncoder, width, height, fps, bitrateMbps,
        [this](Data payload) { emitted.push_back(std::move(payload)); });
  }
  void encode(std::uint32_t content) {
    encoder->encode(
        std::make_shared<FakePixelBuffer>(static_cast<std::size_t>(encoder->width),
                                          static_cast<std::size_t>(encoder->height), content),
        {++time, 30});
  }
  // What becomes of a sample.
  std::vector<Data> emittedFor(const FakeEncodedSample& sample, std::int64_t width = 1920,
                               std::int64_t height = 1080) {
    emitted.clear();
    const auto receiver = make(width, height);
    receiver->compressionDidOutput(0, &sample);
    return std::exchange(emitted, {});
  }
  [[nodiscard]] std::vector<std::uint32_t> contents() const {
    std::vector<std::uint32_t> all;
    for (const auto& payload : emitted) {
      all.push_back(fakes::FakeEncodedFrame::readFromEnd(payload.bytes()).content);
    }
    return all;
  }

  // A sample that can be decoded by itself: two parameter sets and one unit of one byte.
  static std::shared_ptr<FakeEncodedSample> keySample() {
    auto sample = std::make_shared<FakeEncodedSample>();
    sample->data = Bytes{0, 0, 0, 1, 0x65};
    sample->parameterSets = {Bytes{0x67, 1, 2}, Bytes{0x68, 3}};
    return sample;
  }
  static Bytes streamOf(const Data& payload) {
    return {payload.bytes().begin() + 12, payload.bytes().end()};
  }

  fakes::SimulatedDispatch dispatch;
  FakeVideoEncoder videoEncoder{dispatch};
  std::vector<Data> emitted;
  std::shared_ptr<QuorvinH264Encoder> encoder;
  std::int64_t time = 0;
};

const Bytes withSets{0, 0, 0, 1, 0x67, 1, 2, 0, 0, 0, 1, 0x68, 3, 0, 0, 0, 1, 0x65};
const Bytes withoutSets{0, 0, 0, 1, 0x65};

// ---- construction ----

TEST_F(H264EncoderTest, AsksForAnEncoderInHardwareAndRequiresNone) {
  encoder = make(1280, 720);
  EXPECT_THAT(videoEncoder.creations,
              ElementsAre(FakeVideoEncoder::Creation{
                  1280, 720, VideoCodec::h264, {.enableHardwareAcceleratedVideoEncoder = true}}));
  EXPECT_EQ(encoder->width, 1280);
  EXPECT_EQ(encoder->height, 720);
}

TEST_F(H264EncoderTest, SetsItsPropertiesInOrderAndThenPrepares) {
  encoder = make(1920, 1080, 25, 4);
  EXPECT_THAT(
      videoEncoder.calls,
      ElementsAre("1: realTime = true", "1: allowFrameReordering = false",
                  "1: allowTemporalCompression = false", "1: profileLevel = h264MainAutoLevel",
                  "1: expectedFrameRate = int32 25", "1: averageBitRate = int64 4000000",
                  "1: maxKeyFrameInterval = int32 1", "1: prepare"));
}

TEST_F(H264EncoderTest, DoesNotMindWhatCannotBeSet) {
  videoEncoder.refusedProperties = {
      CompressionProperty::realTime,           CompressionProperty::allowFrameReordering,
      CompressionProperty::profileLevel,       CompressionProperty::allowTemporalCompression,
      CompressionProperty::expectedFrameRate,  CompressionProperty::averageBitRate,
      CompressionProperty::maxKeyFrameInterval};
  videoEncoder.prepareStatus = -1;
  encoder = make();
  EXPECT_EQ(videoEncoder.calls.size(), 8U) << "each is tried";
  encode(1);
  encoder->end();
  EXPECT_THAT(contents(), ElementsAre(1U));
}

TEST_F(H264EncoderTest, ThrowsTheStatusOfACreationThatFails) {
  videoEncoder.status = -12908;
  videoEncoder.makesSessions = false;
  try {
    encoder = make();
    FAIL() << "an encoder was made";
  } catch (const Error& error) {
    EXPECT_EQ(error, Error("com.quorvin.support.h264", -12908,
                           "The Mac hardware H.264 encoder is unavailable."));
  }
}

TEST_F(H264EncoderTest, ThrowsTheStatusEvenWhenASessionCame) {
  videoEncoder.status = -12911;
  try {
    encoder = make();
    FAIL() << "an encoder was made";
  } catch (const Error& error) {
    EXPECT_EQ(error.code, -12911);
  }
  EXPECT_THAT(videoEncoder.calls, ElementsAre("1: gone")) << "it is not even set up";
}

TEST_F(H264EncoderTest, ThrowsCodeZeroWhenNoSessionCameWithoutAReason) {
  videoEncoder.makesSessions = false;
  try {
    encoder = make();
    FAIL() << "an encoder was made";
  } catch (const Error& error) {
    EXPECT_EQ(error, Error("com.quorvin.support.h264", 0,
                           "The Mac hardware H.264 encoder is unavailable."));
  }
}

TEST_F(H264EncoderTest, TakesTheExtremeRatesThatCanBeRepresented) {
  encoder = make(1920, 1080, int32Max, int64Max / 1'000'000);
  EXPECT_EQ(videoEncoder.calls[4], "1: expectedFrameRate = int32 2147483647");
  EXPECT_EQ(videoEncoder.calls[5], "1: averageBitRate = int64 9223372036854000000");
}

TEST_F(H264EncoderTest, LeavesSizesInRangeToTheSystem) {
  for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-1}, belowInt32 + 1}) {
    EXPECT_THROW(encoder = make(size, 8), Error);
    EXPECT_THROW(encoder = make(8, size), Error);
  }
  encoder = make(int32Max, int32Max);
  EXPECT_EQ(videoEncoder.creations.back().width, int32Max);
}

using H264EncoderDeathTest = H264EncoderTest;

TEST_F(H264EncoderDeathTest, StopsTheProcessForSizesThatCannotBeRepresented) {
  // Before the system is asked: its refusal is not what ends the process.
  videoEncoder.makesSessions = false;
  EXPECT_DEATH(make(beyondInt32, 8), "The width of an encoder");
  EXPECT_DEATH(make(belowInt32, 8), "The width of an encoder");
  EXPECT_DEATH(make(8, beyondInt32), "The height of an encoder");
  EXPECT_DEATH(make(8, belowInt32), "The height of an encoder");
}

TEST_F(H264EncoderDeathTest, StopsTheProcessForRatesThatCannotBeRepresented) {
  EXPECT_DEATH(make(8, 8, beyondInt32), "The frame rate of an encoder");
  EXPECT_DEATH(make(8, 8, belowInt32), "The frame rate of an encoder");
  EXPECT_DEATH(make(8, 8, 30, int64Max / 1'000'000 + 1), "The bit rate of an encoder");
  EXPECT_DEATH(make(8, 8, 30, -(int64Max / 1'000'000) - 1), "The bit rate of an encoder");
}

TEST_F(H264EncoderTest, LooksAtTheRatesOnlyOnceThereIsASession) {
  videoEncoder.makesSessions = false;
  EXPECT_THROW(encoder = make(8, 8, beyondInt32, int64Max), Error);
}

// ---- frames in ----

TEST_F(H264EncoderTest, PutsFramesInWithTheirTimeStampAndNothingElse) {
  encoder = make(64, 48);
  videoEncoder.calls.clear();
  encoder->encode(std::make_shared<FakePixelBuffer>(64, 48, 42), {7, 600});
  EXPECT_THAT(videoEncoder.calls, ElementsAre("1: encode 42 at 7/600"));
}

TEST_F(H264EncoderTest, DoesNotMindAFrameThatIsNotTaken) {
  encoder = make();
  videoEncoder.encodeStatus = -12902;
  encode(1);
  videoEncoder.encodeStatus = 0;
  encode(2);
  encoder->end();
  EXPECT_THAT(contents(), ElementsAre(2U));
}

TEST_F(H264EncoderTest, GivesOutPayloadsOnTheEncodersThread) {
  encoder = make();
  encode(1);
  EXPECT_THAT(emitted, IsEmpty());
  dispatch.runUntilIdle();
  EXPECT_THAT(contents(), ElementsAre(1U));
}

TEST_F(H264EncoderTest, GivesOutAPayloadWhileTheFrameIsPutIn) {
  videoEncoder.delivery = FakeVideoEncoder::Delivery::atOnce;
  encoder = make();
  encode(1);
  EXPECT_THAT(contents(), ElementsAre(1U));
}

// ---- the output callback ----

TEST_F(H264EncoderTest, SkipsAFrameThatFailedOrWasDropped) {
  encoder = make();
  const auto sample = keySample();
  encoder->compressionDidOutput(-12909, sample.get());
  encoder->compressionDidOutput(-12909, nullptr);
  encoder->compressionDidOutput(0, nullptr);
  EXPECT_THAT(emitted, IsEmpty());
  encoder->compressionDidOutput(0, sample.get());
  EXPECT_EQ(emitted.size(), 1U) << "and stays usable";
}

TEST_F(H264EncoderTest, LivesUntilTheCallIsOverInWhichItsOwnerLetsGo) {
  videoEncoder.delivery = FakeVideoEncoder::Delivery::whenTold;
  std::weak_ptr<QuorvinH264Encoder> weak;
  bool livedOn = false;
  encoder = std::make_shared<QuorvinH264Encoder>(videoEncoder, 8, 8, 30, 7, [&](const Data&) {
    encoder.reset();
    livedOn = !weak.expired();
  });
  weak = encoder;
  encode(1);
  videoEncoder.deliverNext();
  EXPECT_TRUE(livedOn);
  EXPECT_TRUE(weak.expired());
}

// ---- the payload ----

TEST_F(H264EncoderTest, WritesTheHeadFromItsOwnSize) {
  const auto payloads = emittedFor(*keySample(), 1920, 1080);
  ASSERT_EQ(payloads.size(), 1U);
  const auto bytes = payloads[0].bytes();
  EXPECT_THAT(Bytes(bytes.begin(), bytes.begin() + 12),
              ElementsAre('Q', 'N', 'H', '2', 1, 0, 0x07, 0x80, 0x04, 0x38, 0, 0));
}

TEST_F(H264EncoderTest, TakesASampleForAKeyFrameUnlessItSaysOtherwise) {
  auto sample = keySample();
  const auto expectKeyFrame = [&](const char* what) {
    const auto payloads = emittedFor(*sample);
    ASSERT_EQ(payloads.size(), 1U) << what;
    EXPECT_EQ(payloads[0].bytes()[4], 1) << what;
    EXPECT_EQ(streamOf(payloads[0]), withSets) << what;
  };
  sample->attachmentList.reset();
  expectKeyFrame("no attachments");
  sample->attachmentList.emplace();
  expectKeyFrame("empty attachments");
  sample->attachmentList = {EncodedSampleAttachments{}};
  expectKeyFrame("no such entry, or not a boolean");
  sample->attachmentList = {EncodedSampleAttachments{.notSync = false}};
  expectKeyFrame("false");
  sample->attachmentList = {EncodedSampleAttachments{}, EncodedSampleAttachments{.notSync = true}};
  expectKeyFrame("true in another dictionary than the first");
}

TEST_F(H264EncoderTest, GivesNoParameterSetsWithOtherFrames) {
  auto sample = keySample();
  sample->attachmentList = {EncodedSampleAttachments{.notSync = true}};
  const auto payloads = emittedFor(*sample);
  ASSERT_EQ(payloads.size(), 1U);
  EXPECT_EQ(payloads[0].bytes()[4], 0);
  EXPECT_EQ(streamOf(payloads[0]), withoutSets);
  EXPECT_THAT(sample->setsAsked, IsEmpty());
}

TEST_F(H264EncoderTest, AsksForTheTwoParameterSetsAndNoOther) {
  auto sample = keySample();
  sample->parameterSets.emplace_back(Bytes{0x68, 9});
  const auto payloads = emittedFor(*sample);
  ASSERT_EQ(payloads.size(), 1U);
  EXPECT_EQ(streamOf(payloads[0]), withSets);
  EXPECT_THAT(sample->setsAsked, ElementsAre(0U, 1U));
}

TEST_F(H264EncoderTest, LeavesOutOnlyTheParameterSetThatIsMissing) {
  auto sample = keySample();
  sample->parameterSets[0].reset();
  auto payloads = emittedFor(*sample);
  ASSERT_EQ(payloads.size(), 1U);
  EXPECT_EQ(streamOf(payloads[0]), (Bytes{0, 0, 0, 1, 0x68, 3, 0, 0, 0, 1, 0x65}));
  sample = keySample();
  sample->parameterSets[1].reset();
  payloads = emittedFor(*sample);
  ASSERT_EQ(payloads.size(), 1U);
  EXPECT_EQ(streamOf(payloads[0]), (Bytes{0, 0, 0, 1, 0x67, 1, 2, 0, 0, 0, 1, 0x65}));
}

TEST_F(H264EncoderTest, StaysAKeyFrameWithoutAFormatDescription) {
  auto sample = keySample();
  sample->formatDescription = false;
  const auto payloads = emittedFor(*sample);
  ASSERT_EQ(payloads.size(), 1U);
  EXPECT_EQ(payloads[0].bytes()[4], 1);
  EXPECT_EQ(streamOf(payloads[0]), withoutSets);
  EXPECT_THAT(sample->setsAsked, IsEmpty());
}

TEST_F(H264EncoderTest, SkipsASampleWithoutDataOrWhoseDataCannotBeCopied) {
  auto sample = keySample();
  sample->copyStatus = -12700;
  EXPECT_THAT(emittedFor(*sample), IsEmpty());
  sample->data.reset();
  EXPECT_THAT(emittedFor(*sample), IsEmpty());
}

TEST_F(H264EncoderTest, SkipsAMalformedSampleWithItsParameterSets) {
  auto sample = keySample();
  sample->data = Bytes{0, 0, 0, 1, 0x65, 0, 0, 0, 0};
  EXPECT_THAT(emittedFor(*sample), IsEmpty());
  sample->data = Bytes{0, 0, 0, 2, 0x65};
  EXPECT_THAT(emittedFor(*sample), IsEmpty());
}

TEST_F(H264EncoderTest, SkipsAnEmptySampleThatIsNoKeyFrame) {
  auto sample = keySample();
  sample->data = Bytes{};
  EXPECT_EQ(emittedFor(*sample).size(), 1U) << "the parameter sets are something";
  sample->attachmentList = {EncodedSampleAttachments{.notSync = true}};
  EXPECT_THAT(emittedFor(*sample), IsEmpty());
}

TEST_F(H264EncoderTest, SkipsFramesLargerThanTheHeadCanSay) {
  EXPECT_EQ(emittedFor(*keySample(), 65'535, 65'535).size(), 1U);
  EXPECT_THAT(emittedFor(*keySample(), 65'536, 8), IsEmpty());
  EXPECT_THAT(emittedFor(*keySample(), 8, 65'536), IsEmpty());
}

// ---- the end ----

TEST_F(H264EncoderTest, CompletesThenInvalidatesThenLetsGo) {
  encoder = make();
  videoEncoder.calls.clear();
  encoder->end();
  EXPECT_THAT(videoEncoder.calls, ElementsAre("1: complete", "1: invalidate", "1: gone"));
  encoder->end();
  encoder.reset();
  EXPECT_EQ(videoEncoder.calls.size(), 3U) << "once";
}

TEST_F(H264EncoderTest, EncodesNothingOnceEnded) {
  encoder = make();
  encoder->end();
  videoEncoder.calls.clear();
  encode(1);
  EXPECT_THAT(videoEncoder.calls, IsEmpty());
}

TEST_F(H264EncoderTest, GivesOutItsLastPayloadsAtTheEnd) {
  videoEncoder.delivery = FakeVideoEncoder::Delivery::whenTold;
  encoder = make();
  encode(1);
  encode(2);
  encoder->end();
  EXPECT_THAT(contents(), ElementsAre(1U, 2U));
}

TEST_F(H264EncoderTest, GivesOutItsLastPayloadsWhenItIsLetGo) {
  videoEncoder.delivery = FakeVideoEncoder::Delivery::whenTold;
  encoder = make();
  encode(1);
  encode(2);
  videoEncoder.calls.clear();
  encoder.reset();
  EXPECT_THAT(contents(), ElementsAre(1U, 2U));
  EXPECT_THAT(videoEncoder.calls, ElementsAre("1: complete", "1: invalidate", "1: gone"));
}

TEST_F(H264EncoderTest, KeepsItsSinkForAsLongAsItself) {
  const auto token = std::make_shared<int>();
  encoder = std::make_shared<QuorvinH264Encoder>(videoEncoder, 8, 8, 30, 7,
                                                 [token](const Data& /*payload*/) {});
  EXPECT_EQ(token.use_count(), 2);
  encoder.reset();
  EXPECT_EQ(token.use_count(), 1);
}

}  // namespace
}  // namespace quorvin
