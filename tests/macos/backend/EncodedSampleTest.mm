#import "platform/macos/EncodedSample.h"

#import <CoreMedia/CoreMediaControl.h>
#import <gmock/gmock.h>

#include <array>

#include "tests/macos/standin/StandInTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;
using Bytes = std::vector<std::uint8_t>;

// A sample buffer of the script, held for as long as this lives.
class ScriptedSample {
 public:
  explicit ScriptedSample(const standin::SampleBufferScript& script)
      : buffer(standin::makeSampleBuffer(script)) {}

  [[nodiscard]] const MacEncodedSample* operator->() const { return &sample; }

 private:
  id buffer;
  MacEncodedSample sample{(__bridge CMSampleBufferRef)buffer};
};

ScriptedSample sampleOf(const standin::BlockBufferScript& data) {
  return ScriptedSample({.dataBuffer = standin::makeBlockBuffer(data)});
}

ScriptedSample sampleOf(const standin::FormatDescriptionScript& format) {
  return ScriptedSample({.formatDescription = standin::makeFormatDescription(format)});
}

// What a sample says of itself whose one attachment says this; nil for no attachment.
std::optional<bool> notSyncOf(id value) {
  NSDictionary* attachment =
      value == nil ? @{} : @{(__bridge id)kCMSampleAttachmentKey_NotSync : value};
  const auto attachments = ScriptedSample({ .attachments = @[ attachment ] })->attachments();
  EXPECT_TRUE(attachments && attachments->size() == 1);
  return attachments->at(0).notSync;
}

class EncodedSampleTest : public standin::StandInTest {};

TEST_F(EncodedSampleTest, SaysWhetherDecodingCanBeginWithIt) {
  EXPECT_EQ(notSyncOf(@YES), true);
  EXPECT_EQ(notSyncOf(@NO), false);
  EXPECT_EQ(notSyncOf(nil), std::nullopt);
}

TEST_F(EncodedSampleTest, TakesNothingButABooleanForThat) {
  EXPECT_EQ(notSyncOf(@1), std::nullopt);
  EXPECT_EQ(notSyncOf(@0), std::nullopt);
  EXPECT_EQ(notSyncOf([NSNumber numberWithChar:1]), std::nullopt);
  EXPECT_EQ(notSyncOf(@1.0), std::nullopt);
  EXPECT_EQ(notSyncOf(@"true"), std::nullopt);
  EXPECT_EQ(notSyncOf([NSNull null]), std::nullopt);
}

TEST_F(EncodedSampleTest, ReadsEveryAttachmentInOrder) {
  id key = (__bridge id)kCMSampleAttachmentKey_NotSync;
  id attachments = @[ @{key : @YES}, @"no dictionary", @{@"NotSyncAtAll" : @YES}, @{key : @NO} ];
  const auto read = ScriptedSample({.attachments = attachments})->attachments();
  ASSERT_TRUE(read);
  ASSERT_THAT(*read, SizeIs(4));
  EXPECT_EQ(read->at(0).notSync, true);
  EXPECT_EQ(read->at(1).notSync, std::nullopt);
  EXPECT_EQ(read->at(2).notSync, std::nullopt);
  EXPECT_EQ(read->at(3).notSync, false);
}

TEST_F(EncodedSampleTest, TellsNoAttachmentsFromAnEmptyArray) {
  EXPECT_EQ(ScriptedSample({})->attachments(), std::nullopt);
  const auto none = ScriptedSample({ .attachments = @[] })->attachments();
  ASSERT_TRUE(none);
  EXPECT_THAT(*none, IsEmpty());
}

TEST_F(EncodedSampleTest, KnowsNoAttachmentsThatAreNoArray) {
  id key = (__bridge id)kCMSampleAttachmentKey_NotSync;
  EXPECT_EQ(ScriptedSample({ .attachments = @{key : @YES} })->attachments(), std::nullopt);
}

TEST_F(EncodedSampleTest, LeavesASampleWithoutAttachmentsAsItIs) {
  const ScriptedSample sample({});
  EXPECT_EQ(sample->attachments(), std::nullopt);
  EXPECT_EQ(sample->attachments(), std::nullopt);
  const auto asked = standin::callsOf("CMSampleBufferGetSampleAttachmentsArray");
  ASSERT_THAT(asked, SizeIs(2));
  EXPECT_THAT(asked[0].arguments, ElementsAre("false"));
}

TEST_F(EncodedSampleTest, HasNoDataWithoutADataBuffer) {
  const ScriptedSample sample({});
  EXPECT_EQ(sample->dataLength(), std::nullopt);
  std::array<std::uint8_t, 1> byte{};
  EXPECT_EQ(sample->copyDataBytes(byte), kCMBlockBufferBadPointerParameterErr);
  EXPECT_THAT(standin::callsOf("CMBlockBufferCopyDataBytes"), IsEmpty());
}

TEST_F(EncodedSampleTest, CopiesAllOfItsDataAtOnce) {
  const auto sample = sampleOf({.blocks = {{0, 0, 0, 2}, {0x65, 7}, {0, 0, 0, 1, 0x65}}});
  ASSERT_EQ(sample->dataLength(), 11U);
  Bytes bytes(11);
  EXPECT_EQ(sample->copyDataBytes(bytes), 0);
  EXPECT_THAT(bytes, ElementsAre(0, 0, 0, 2, 0x65, 7, 0, 0, 0, 1, 0x65));
  const auto copies = standin::callsOf("CMBlockBufferCopyDataBytes");
  ASSERT_THAT(copies, SizeIs(1));
  EXPECT_THAT(copies[0].arguments, ElementsAre("0", "11"));
}

TEST_F(EncodedSampleTest, ReportsACopyThatFails) {
  const auto sample =
      sampleOf({.blocks = {{1, 2}}, .copyStatus = kCMBlockBufferUnallocatedBlockErr});
  Bytes bytes(2);
  EXPECT_EQ(sample->copyDataBytes(bytes), kCMBlockBufferUnallocatedBlockErr);
}

TEST_F(EncodedSampleTest, GivesTheSystemAPlaceToCopyNoDataTo) {
  const auto sample = sampleOf(standin::BlockBufferScript{});
  EXPECT_EQ(sample->dataLength(), 0U);
  EXPECT_EQ(sample->copyDataBytes({}), kCMBlockBufferBadLengthParameterErr);
  EXPECT_THAT(standin::callsOf("CMBlockBufferCopyDataBytes"), SizeIs(1));
}

TEST_F(EncodedSampleTest, SaysWhetherItHasAFormatDescription) {
  EXPECT_FALSE(ScriptedSample({})->hasFormatDescription());
  EXPECT_TRUE(sampleOf(standin::FormatDescriptionScript{})->hasFormatDescription());
}

TEST_F(EncodedSampleTest, HasNoParameterSetsWithoutAFormatDescription) {
  EXPECT_EQ(ScriptedSample({})->h264ParameterSet(0), std::nullopt);
  EXPECT_THAT(standin::callsOf("CMVideoFormatDescriptionGetH264ParameterSetAtIndex"), IsEmpty());
}

TEST_F(EncodedSampleTest, HandsOutItsParameterSetsByIndex) {
  const Bytes sequence{0x67, 0x4D, 0, 0x28};
  const Bytes picture{0x68, 0xEE};
  const auto sample = sampleOf({.parameterSets = {{.bytes = sequence}, {.bytes = picture}}});
  const auto first = sample->h264ParameterSet(0);
  ASSERT_TRUE(first);
  EXPECT_THAT(*first, ElementsAreArray(sequence));
  const auto second = sample->h264ParameterSet(1);
  ASSERT_TRUE(second);
  EXPECT_THAT(*second, ElementsAreArray(picture));
  EXPECT_EQ(sample->h264ParameterSet(2), std::nullopt);
  const auto asked = standin::callsOf("CMVideoFormatDescriptionGetH264ParameterSetAtIndex");
  ASSERT_THAT(asked, SizeIs(3));
  EXPECT_THAT(asked[1].arguments, ElementsAre("1", "given", "given", "NULL", "NULL"));
}

TEST_F(EncodedSampleTest, LeavesOutAParameterSetThatCannotBeHad) {
  const auto sample = sampleOf(
      {.parameterSets = {{.bytes = {1}, .status = kCMFormatDescriptionError_InvalidParameter},
                         {.bytes = {1}, .hasPointer = false},
                         {.bytes = {3}}}});
  EXPECT_EQ(sample->h264ParameterSet(0), std::nullopt);
  EXPECT_EQ(sample->h264ParameterSet(1), std::nullopt);
  EXPECT_TRUE(sample->h264ParameterSet(2));
}

TEST_F(EncodedSampleTest, HandsOutAParameterSetWithoutBytes) {
  const auto sample = sampleOf({.parameterSets = {{.bytes = {1}, .size = 0}}});
  const auto set = sample->h264ParameterSet(0);
  ASSERT_TRUE(set);
  EXPECT_THAT(*set, IsEmpty());
}

}  // namespace
}  // namespace quorvin
