#import <CoreMedia/CoreMedia.h>
#import <CoreMedia/CoreMediaControl.h>
#import <CoreVideo/CoreVideoControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class CoreMediaTest : public StandInTest {};

CMSampleBufferRef handleOf(id sample) { return (__bridge CMSampleBufferRef)sample; }

TEST_F(CoreMediaTest, MakesValidTimes) {
  const CMTime time = CMTimeMake(-3, 600);
  EXPECT_EQ(time.value, -3);
  EXPECT_EQ(time.timescale, 600);
  EXPECT_EQ(time.epoch, 0);
  EXPECT_TRUE(CMTIME_IS_VALID(time));
  EXPECT_TRUE(CMTIME_IS_INVALID(kCMTimeInvalid));
  EXPECT_TRUE(CMTIME_IS_VALID(kCMTimeZero));
}

TEST_F(CoreMediaTest, RefusesATimeScaleThatIsNotPositive) {
  (void)CMTimeMake(1, 0);
  EXPECT_THAT(takeViolations(), ElementsAre("CMTimeMake with the time scale 0"));
}

TEST_F(CoreMediaTest, LaysTimesOutAsTheRealOneDoes) {
  EXPECT_EQ(sizeof(CMTime), 24);
  EXPECT_EQ(alignof(CMTime), 4);
}

TEST_F(CoreMediaTest, AnswersWithWhatTheTestPutIntoTheSample) {
  id picture = makePixelBuffer(3, 2);
  NSArray* attachments = @[ @{@"key" : @1} ];
  id sample = makeSampleBuffer({.isValid = true,
                                .attachments = attachments,
                                .imageBuffer = picture,
                                .presentationTimeStamp = CMTimeMake(5, 30)});
  EXPECT_TRUE(CMSampleBufferIsValid(handleOf(sample)));
  EXPECT_EQ(CMSampleBufferGetPresentationTimeStamp(handleOf(sample)).value, 5);
  EXPECT_EQ(CMSampleBufferGetImageBuffer(handleOf(sample)), (__bridge CVImageBufferRef)picture);
  EXPECT_EQ(CMSampleBufferGetSampleAttachmentsArray(handleOf(sample), false),
            (__bridge CFArrayRef)attachments);
}

TEST_F(CoreMediaTest, CreatesAttachmentsOnlyWhenAsked) {
  id sample = makeSampleBuffer({});
  EXPECT_EQ(CMSampleBufferGetSampleAttachmentsArray(handleOf(sample), false), nullptr);
  CFArrayRef created = CMSampleBufferGetSampleAttachmentsArray(handleOf(sample), true);
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(CFArrayGetCount(created), 1);
  EXPECT_EQ(CMSampleBufferGetSampleAttachmentsArray(handleOf(sample), false), created);
}

TEST_F(CoreMediaTest, RefusesEveryUseOfAReleasedSample) {
  CMSampleBufferRef gone = nullptr;
  @autoreleasepool {
    id sample = makeSampleBuffer({});
    gone = handleOf(sample);
  }
  EXPECT_FALSE(CMSampleBufferIsValid(gone));
  EXPECT_EQ(CMSampleBufferGetImageBuffer(gone), nullptr);
  EXPECT_EQ(CMSampleBufferGetDataBuffer(gone), nullptr);
  EXPECT_EQ(CMSampleBufferGetFormatDescription(gone), nullptr);
  EXPECT_EQ(CMSampleBufferGetSampleAttachmentsArray(gone, true), nullptr);
  EXPECT_EQ(CMSampleBufferGetPresentationTimeStamp(gone).value, 0);
  EXPECT_THAT(takeViolations(), SizeIs(6));
}

}  // namespace
}  // namespace standin
