#import "platform/macos/CaptureSample.h"

#import <CoreMedia/CoreMediaControl.h>
#import <ScreenCaptureKit/ScreenCaptureKitControl.h>

#include <gmock/gmock.h>

#include <limits>

#include "tests/macos/standin/StandInTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// A sample that lives as long as the sample buffer it looks at.
class ScriptedSample {
 public:
  explicit ScriptedSample(const standin::SampleBufferScript& script)
      : buffer(standin::makeSampleBuffer(script)) {}

  MacCaptureSample operator*() const {
    return MacCaptureSample((__bridge CMSampleBufferRef)buffer);
  }

 private:
  id buffer;
};

std::optional<std::vector<SampleAttachments>> attachmentsOf(id attachments) {
  return (*ScriptedSample({.attachments = attachments})).attachments();
}

// The status of a sample whose one attachment says this.
std::optional<std::int64_t> frameStatusOf(id status) {
  const auto attachments = attachmentsOf(standin::attachmentsWithStatus(status));
  EXPECT_TRUE(attachments && attachments->size() == 1);
  return attachments->at(0).frameStatus;
}

class CaptureSampleTest : public standin::StandInTest {};

TEST_F(CaptureSampleTest, SaysWhetherItIsValid) {
  EXPECT_TRUE((*ScriptedSample({.isValid = true})).isValid());
  EXPECT_FALSE((*ScriptedSample({.isValid = false})).isValid());
}

TEST_F(CaptureSampleTest, ReadsEveryFrameStatus) {
  EXPECT_EQ(frameStatusOf(@(SCFrameStatusComplete)), frameStatusComplete);
  EXPECT_EQ(frameStatusOf(@(SCFrameStatusIdle)), frameStatusIdle);
  EXPECT_EQ(frameStatusOf(@(SCFrameStatusBlank)), frameStatusBlank);
  EXPECT_EQ(frameStatusOf(@(SCFrameStatusSuspended)), frameStatusSuspended);
  EXPECT_EQ(frameStatusOf(@(SCFrameStatusStarted)), frameStatusStarted);
  EXPECT_EQ(frameStatusOf(@(SCFrameStatusStopped)), frameStatusStopped);
}

TEST_F(CaptureSampleTest, ReadsStatusesThatNobodyKnowsYet) {
  EXPECT_EQ(frameStatusOf(@(-1)), -1);
  EXPECT_EQ(frameStatusOf(@(std::numeric_limits<std::int64_t>::max())),
            std::numeric_limits<std::int64_t>::max());
}

TEST_F(CaptureSampleTest, TakesNothingButAnIntegerForAStatus) {
  EXPECT_EQ(frameStatusOf(@"0"), std::nullopt);
  EXPECT_EQ(frameStatusOf(@NO), std::nullopt);
  EXPECT_EQ(frameStatusOf(@YES), std::nullopt);
  EXPECT_EQ(frameStatusOf(@0.5), std::nullopt);
  EXPECT_EQ(frameStatusOf([NSNumber numberWithUnsignedLongLong:UINT64_MAX]), std::nullopt);
  EXPECT_EQ(frameStatusOf(@(std::numeric_limits<double>::quiet_NaN())), std::nullopt);
}

TEST_F(CaptureSampleTest, KnowsNoStatusWhenTheEntryIsMissing) {
  const auto attachments = attachmentsOf(@[ @{@"another key" : @0} ]);
  ASSERT_TRUE(attachments);
  ASSERT_THAT(*attachments, SizeIs(1));
  EXPECT_EQ(attachments->at(0).frameStatus, std::nullopt);
}

TEST_F(CaptureSampleTest, ReadsEveryAttachmentInOrder) {
  const auto attachments = attachmentsOf(@[
    @{SCStreamFrameInfoStatus : @2}, @{},
    @{SCStreamFrameInfoStatus : @0}
  ]);
  ASSERT_TRUE(attachments);
  ASSERT_THAT(*attachments, SizeIs(3));
  EXPECT_EQ(attachments->at(0).frameStatus, 2);
  EXPECT_EQ(attachments->at(1).frameStatus, std::nullopt);
  EXPECT_EQ(attachments->at(2).frameStatus, 0);
}

TEST_F(CaptureSampleTest, TellsNoAttachmentsFromAnEmptyArray) {
  EXPECT_EQ(attachmentsOf(nil), std::nullopt);
  const auto none = attachmentsOf(@[]);
  ASSERT_TRUE(none);
  EXPECT_THAT(*none, IsEmpty());
}

TEST_F(CaptureSampleTest, KnowsNoAttachmentsWhenTheyAreOfAnotherKind) {
  EXPECT_EQ(attachmentsOf(@{SCStreamFrameInfoStatus : @0}), std::nullopt);
  EXPECT_EQ(attachmentsOf(@{}), std::nullopt);
  EXPECT_EQ(attachmentsOf(@[ @{SCStreamFrameInfoStatus : @0}, @"no dictionary" ]), std::nullopt);
}

TEST_F(CaptureSampleTest, LeavesASampleWithoutAttachmentsAsItIs) {
  const ScriptedSample sample({});
  EXPECT_EQ((*sample).attachments(), std::nullopt);
  EXPECT_EQ((*sample).attachments(), std::nullopt);
  const auto asked = standin::callsOf("CMSampleBufferGetSampleAttachmentsArray");
  ASSERT_THAT(asked, SizeIs(2));
  EXPECT_THAT(asked[0].arguments, ElementsAre("false"));
}

TEST_F(CaptureSampleTest, ReadsThePresentationTimeUnchanged) {
  EXPECT_EQ(
      (*ScriptedSample({.presentationTimeStamp = CMTimeMake(-7, 90'000)})).presentationTimeStamp(),
      (MediaTime{-7, 90'000}));
  EXPECT_EQ((*ScriptedSample({.presentationTimeStamp = kCMTimeInvalid})).presentationTimeStamp(),
            (MediaTime{0, 0, 0}));
  const CMTime rounded{
      5, 600, static_cast<CMTimeFlags>(kCMTimeFlags_Valid | kCMTimeFlags_HasBeenRounded), 3};
  EXPECT_EQ((*ScriptedSample({.presentationTimeStamp = rounded})).presentationTimeStamp(),
            (MediaTime{5, 600, 3, 3}));
}

TEST_F(CaptureSampleTest, HasNoFrameWhenTheSampleHasNone) {
  EXPECT_EQ((*ScriptedSample({})).imageBuffer(), nullptr);
}

TEST_F(CaptureSampleTest, HandsOutItsFrame) {
  id buffer = standin::makePixelBuffer(33, 21);
  const auto frame = (*ScriptedSample({.imageBuffer = buffer})).imageBuffer();
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->widthPx(), 33);
  EXPECT_EQ(frame->heightPx(), 21);
}

TEST_F(CaptureSampleTest, LeavesTheFrameToWhomeverHoldsIt) {
  std::shared_ptr<PixelBuffer> frame;
  @autoreleasepool {
    frame = (*ScriptedSample({.imageBuffer = standin::makePixelBuffer(33, 21)})).imageBuffer();
  }
  EXPECT_EQ(frame->widthPx(), 33);
  const auto held = standin::liveObjects();
  frame.reset();
  EXPECT_EQ(standin::liveObjects(), held - 1);
}

TEST_F(CaptureSampleTest, GivesEncodersTheFrameItself) {
  id buffer = standin::makePixelBuffer(33, 21);
  const MacPixelBuffer frame((__bridge CVPixelBufferRef)buffer);
  EXPECT_EQ(frame.pixelBuffer(), (__bridge CVPixelBufferRef)buffer);
  EXPECT_THAT(standin::callNames(), ElementsAre("CVPixelBufferRetain"));
}

}  // namespace
}  // namespace quorvin
