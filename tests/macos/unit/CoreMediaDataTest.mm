#import <CoreMedia/CoreMedia.h>
#import <CoreMedia/CoreMediaControl.h>

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

// What Core Media holds of an encoded picture.

namespace standin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

CMSampleBufferRef sampleOf(id sample) { return (__bridge CMSampleBufferRef)sample; }
CMBlockBufferRef bufferOf(id buffer) { return (__bridge CMBlockBufferRef)buffer; }
CMFormatDescriptionRef descriptionOf(id description) {
  return (__bridge CMFormatDescriptionRef)description;
}

// What a question for a parameter set was answered with.
struct ParameterSetAnswer {
  OSStatus status = noErr;
  const std::uint8_t* pointer = nullptr;
  std::size_t size = 99;
  std::size_t count = 99;
  int headerLength = 99;
};

ParameterSetAnswer parameterSet(CMFormatDescriptionRef description, std::size_t index) {
  ParameterSetAnswer answer;
  answer.status = CMVideoFormatDescriptionGetH264ParameterSetAtIndex(
      description, index, &answer.pointer, &answer.size, &answer.count, &answer.headerLength);
  return answer;
}

class CoreMediaDataTest : public StandInTest {};

TEST_F(CoreMediaDataTest, HoldsWhatTheTestPutIntoIt) {
  id data = makeBlockBuffer({});
  id format = makeFormatDescription({});
  id sample = makeSampleBuffer({.dataBuffer = data, .formatDescription = format});
  EXPECT_EQ(CMSampleBufferGetDataBuffer(sampleOf(sample)), bufferOf(data));
  EXPECT_EQ(CMSampleBufferGetFormatDescription(sampleOf(sample)), descriptionOf(format));
}

TEST_F(CoreMediaDataTest, HoldsNeitherUnlessTheTestPutItIn) {
  id sample = makeSampleBuffer({});
  EXPECT_EQ(CMSampleBufferGetDataBuffer(sampleOf(sample)), nullptr);
  EXPECT_EQ(CMSampleBufferGetFormatDescription(sampleOf(sample)), nullptr);
}

TEST_F(CoreMediaDataTest, CopiesDataThatLieInPieces) {
  id buffer = makeBlockBuffer({.blocks = {{1, 2}, {}, {3, 4, 5}, {6}}});
  EXPECT_EQ(CMBlockBufferGetDataLength(bufferOf(buffer)), 6U);
  std::array<std::uint8_t, 6> all{};
  EXPECT_EQ(CMBlockBufferCopyDataBytes(bufferOf(buffer), 0, 6, all.data()), kCMBlockBufferNoErr);
  EXPECT_THAT(all, ElementsAre(1, 2, 3, 4, 5, 6));
  std::array<std::uint8_t, 4> some{};
  EXPECT_EQ(CMBlockBufferCopyDataBytes(bufferOf(buffer), 3, 2, some.data()), kCMBlockBufferNoErr);
  EXPECT_THAT(some, ElementsAre(4, 5, 0, 0));
  EXPECT_THAT(callsOf("CMBlockBufferCopyDataBytes")[1].arguments, ElementsAre("3", "2"));
}

TEST_F(CoreMediaDataTest, CopiesNothingThatIsNotThere) {
  id buffer = makeBlockBuffer({.blocks = {{1, 2}}});
  std::array<std::uint8_t, 3> bytes{};
  EXPECT_EQ(CMBlockBufferCopyDataBytes(bufferOf(buffer), 0, 3, bytes.data()),
            kCMBlockBufferBadLengthParameterErr);
  EXPECT_EQ(CMBlockBufferCopyDataBytes(bufferOf(buffer), 2, 1, bytes.data()),
            kCMBlockBufferBadLengthParameterErr);
  EXPECT_EQ(CMBlockBufferCopyDataBytes(bufferOf(buffer), 0, 0, bytes.data()),
            kCMBlockBufferBadLengthParameterErr);
  EXPECT_EQ(CMBlockBufferCopyDataBytes(bufferOf(buffer), 3, 1, bytes.data()),
            kCMBlockBufferBadOffsetParameterErr);
  EXPECT_THAT(bytes, ElementsAre(0, 0, 0));
}

TEST_F(CoreMediaDataTest, CopiesNothingWhenTheTestSaysSo) {
  id buffer =
      makeBlockBuffer({.blocks = {{1, 2}}, .copyStatus = kCMBlockBufferUnallocatedBlockErr});
  std::array<std::uint8_t, 2> bytes{};
  EXPECT_EQ(CMBlockBufferCopyDataBytes(bufferOf(buffer), 0, 2, bytes.data()),
            kCMBlockBufferUnallocatedBlockErr);
  EXPECT_THAT(bytes, ElementsAre(0, 0));
}

TEST_F(CoreMediaDataTest, MindsACopyToNowhere) {
  id buffer = makeBlockBuffer({.blocks = {{1, 2}}});
  void* nowhere = nullptr;
  EXPECT_EQ(CMBlockBufferCopyDataBytes(bufferOf(buffer), 0, 2, nowhere),
            kCMBlockBufferBadPointerParameterErr);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("to nowhere")));
}

TEST_F(CoreMediaDataTest, MindsDataThatWereReleased) {
  CMBlockBufferRef gone = nullptr;
  @autoreleasepool {
    id buffer = makeBlockBuffer({});
    gone = bufferOf(buffer);
  }
  std::uint8_t byte = 0;
  EXPECT_EQ(CMBlockBufferGetDataLength(gone), 0U);
  EXPECT_EQ(CMBlockBufferCopyDataBytes(gone, 0, 1, &byte), kCMBlockBufferBadPointerParameterErr);
  EXPECT_THAT(takeViolations(), SizeIs(2));
}

TEST_F(CoreMediaDataTest, DescribesItsParameterSets) {
  id format =
      makeFormatDescription({.parameterSets = {{.bytes = {0x67, 1, 2}}, {.bytes = {0x68}}}});
  const auto sequence = parameterSet(descriptionOf(format), 0);
  EXPECT_EQ(sequence.status, noErr);
  EXPECT_EQ(std::vector(sequence.pointer, sequence.pointer + sequence.size),
            (std::vector<std::uint8_t>{0x67, 1, 2}));
  EXPECT_EQ(sequence.count, 2U);
  EXPECT_EQ(sequence.headerLength, 4);
  EXPECT_EQ(parameterSet(descriptionOf(format), 1).size, 1U);
  EXPECT_EQ(parameterSet(descriptionOf(format), 2).status,
            kCMFormatDescriptionError_InvalidParameter);
}

TEST_F(CoreMediaDataTest, DescribesParameterSetsAsBadlyAsTheTestSays) {
  id format = makeFormatDescription(
      {.parameterSets = {{.bytes = {1}, .status = kCMFormatDescriptionError_InvalidParameter},
                         {.bytes = {1}, .hasPointer = false},
                         {.bytes = {1}, .size = 0}}});
  const auto failed = parameterSet(descriptionOf(format), 0);
  EXPECT_EQ(failed.status, kCMFormatDescriptionError_InvalidParameter);
  EXPECT_EQ(failed.size, 99U);
  const auto pointless = parameterSet(descriptionOf(format), 1);
  EXPECT_EQ(pointless.status, noErr);
  EXPECT_EQ(pointless.pointer, nullptr);
  EXPECT_EQ(pointless.size, 1U);
  const auto empty = parameterSet(descriptionOf(format), 2);
  EXPECT_EQ(empty.status, noErr);
  EXPECT_NE(empty.pointer, nullptr);
  EXPECT_EQ(empty.size, 0U);
}

TEST_F(CoreMediaDataTest, DescribesOnlyWhatIsAskedFor) {
  id format = makeFormatDescription({.parameterSets = {{.bytes = {0x67}}}});
  EXPECT_EQ(CMVideoFormatDescriptionGetH264ParameterSetAtIndex(descriptionOf(format), 0, nullptr,
                                                               nullptr, nullptr, nullptr),
            noErr);
  EXPECT_THAT(callsOf("CMVideoFormatDescriptionGetH264ParameterSetAtIndex")[0].arguments,
              ElementsAre("0", "NULL", "NULL", "NULL", "NULL"));
}

TEST_F(CoreMediaDataTest, MindsADescriptionThatWasReleased) {
  CMFormatDescriptionRef gone = nullptr;
  @autoreleasepool {
    id format = makeFormatDescription({});
    gone = descriptionOf(format);
  }
  EXPECT_EQ(parameterSet(gone, 0).status, kCMFormatDescriptionError_InvalidParameter);
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

}  // namespace
}  // namespace standin
