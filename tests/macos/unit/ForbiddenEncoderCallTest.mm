#import <CoreMedia/CoreMediaControl.h>
#import <CoreVideo/CoreVideoControl.h>
#import <Foundation/Foundation.h>
#import <VideoToolbox/VideoToolbox.h>
#import <VideoToolbox/VideoToolboxControl.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// What Video Toolbox would not forgive.

// What a session gave to its callback. The callback's reference, as in a product.
struct Outputs {
  std::vector<long> frames;
  // Sessions to complete or to invalidate in the callback.
  VTCompressionSessionRef completing = nullptr;
  VTCompressionSessionRef invalidating = nullptr;
};

void receive(void* outputs, void* frame, OSStatus /*status*/, VTEncodeInfoFlags /*infoFlags*/,
             CMSampleBufferRef /*sampleBuffer*/) {
  auto& all = *static_cast<Outputs*>(outputs);
  all.frames.push_back(reinterpret_cast<long>(frame));
  if (all.completing != nullptr) {
    VTCompressionSessionCompleteFrames(all.completing, kCMTimeInvalid);
  }
  if (all.invalidating != nullptr) VTCompressionSessionInvalidate(all.invalidating);
}

class ForbiddenEncoderCall : public StandInTest {
 protected:
  void TearDown() override {
    resetVideoToolbox();
    StandInTest::TearDown();
    EXPECT_EQ(liveCompressionSessions(), 0U);
  }

  OSStatus create(NSDictionary* specification = nil) {
    return VTCompressionSessionCreate(kCFAllocatorDefault, 640, 480, kCMVideoCodecType_H264,
                                      (__bridge CFDictionaryRef)specification, nullptr, nullptr,
                                      receive, &outputs, &session);
  }
  OSStatus encode(long number, CMTime time) {
    @autoreleasepool {
      id frame = makePixelBuffer(4, 4);
      return VTCompressionSessionEncodeFrame(session, (__bridge CVPixelBufferRef)frame, time,
                                             kCMTimeInvalid, nullptr,
                                             reinterpret_cast<void*>(number), nullptr);
    }
  }
  OSStatus encode(long number) { return encode(number, CMTimeMake(number, 30)); }
  OSStatus set(CFStringRef key, id value) {
    return VTSessionSetProperty(session, key, (__bridge CFTypeRef)value);
  }
  void end() {
    VTCompressionSessionInvalidate(session);
    CFRelease(session);
  }

  Outputs outputs;
  VTCompressionSessionRef session = nullptr;
};

TEST_F(ForbiddenEncoderCall, WantsTheRightTypesInTheSpecification) {
  @autoreleasepool {
    id key = (__bridge id)kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder;
    ASSERT_EQ(create(@{key : @1}), noErr);
    end();
    ASSERT_EQ(create(@{@"Unheard" : @YES}), noErr);
    end();
  }
  EXPECT_THAT(takeViolations(),
              ElementsAre(HasSubstr("a wrong EnableHardware"), HasSubstr("a wrong Unheard")));
}

TEST_F(ForbiddenEncoderCall, RefusesAPropertyOfAnotherType) {
  ASSERT_EQ(create(), noErr);
  @autoreleasepool {
    EXPECT_EQ(set(kVTCompressionPropertyKey_RealTime, @1), kVTParameterErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_MaxKeyFrameInterval, @YES), kVTParameterErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_ProfileLevel, @[]), kVTParameterErr);
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("RealTime"), HasSubstr("MaxKeyFrameInterval"),
                                            HasSubstr("ProfileLevel")));
  end();
}

TEST_F(ForbiddenEncoderCall, WantsGrowingTimeStamps) {
  ASSERT_EQ(create(), noErr);
  encode(1, CMTimeMake(1, 30));
  encode(2, CMTimeMake(2, 60));
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("not after")));
  encode(3, CMTimeMake(1, 31));
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("not after")));
  encode(4, CMTimeMake(3, 60));
  EXPECT_THAT(takeViolations(), IsEmpty());
  encode(5, kCMTimeInvalid);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("without a time stamp")));
  settle();
  end();
}

TEST_F(ForbiddenEncoderCall, WantsAFrameThatExists) {
  ASSERT_EQ(create(), noErr);
  const void* gone = nullptr;
  @autoreleasepool {
    gone = (__bridge const void*)makePixelBuffer(4, 4);
  }
  const auto frame = static_cast<CVPixelBufferRef>(const_cast<void*>(gone));
  EXPECT_EQ(VTCompressionSessionEncodeFrame(session, frame, CMTimeMake(1, 30), kCMTimeInvalid,
                                            nullptr, nullptr, nullptr),
            kVTParameterErr);
  EXPECT_THAT(takeViolations(), testing::SizeIs(1));
  end();
}

TEST_F(ForbiddenEncoderCall, IsOfNoUseOnceItIsInvalidated) {
  ASSERT_EQ(create(), noErr);
  VTCompressionSessionInvalidate(session);
  EXPECT_EQ(encode(1), kVTInvalidSessionErr);
  EXPECT_EQ(set(kVTCompressionPropertyKey_RealTime, nil), kVTInvalidSessionErr);
  EXPECT_EQ(VTCompressionSessionPrepareToEncodeFrames(session), kVTInvalidSessionErr);
  EXPECT_EQ(VTCompressionSessionCompleteFrames(session, kCMTimeInvalid), kVTInvalidSessionErr);
  VTCompressionSessionInvalidate(session);
  EXPECT_THAT(takeViolations(),
              testing::AllOf(testing::SizeIs(5), testing::Each(HasSubstr("invalidated session"))));
  CFRelease(session);
}

TEST_F(ForbiddenEncoderCall, IsOfNoUseOnceItIsReleased) {
  ASSERT_EQ(create(), noErr);
  end();
  EXPECT_EQ(VTCompressionSessionPrepareToEncodeFrames(session), kVTInvalidSessionErr);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("released")));
}

TEST_F(ForbiddenEncoderCall, MindsAReleaseWithFramesStillInIt) {
  ASSERT_EQ(create(), noErr);
  holdEncodedFrames();
  EXPECT_EQ(encode(1), noErr);
  CFRelease(session);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("with frames in it")));
}

TEST_F(ForbiddenEncoderCall, MindsCompletingInsideTheCallback) {
  ASSERT_EQ(create(), noErr);
  outputs.completing = session;
  EXPECT_EQ(encode(1), noErr);
  settle();
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("waits for itself")));
  end();
}

TEST_F(ForbiddenEncoderCall, CanBeInvalidatedInsideTheCallback) {
  ASSERT_EQ(create(), noErr);
  outputs.invalidating = session;
  holdEncodedFrames();
  EXPECT_EQ(encode(1), noErr);
  EXPECT_EQ(encode(2), noErr);
  EXPECT_EQ(VTCompressionSessionCompleteFrames(session, kCMTimeInvalid), noErr);
  EXPECT_THAT(outputs.frames, ElementsAre(1));
  CFRelease(session);
}

}  // namespace
}  // namespace standin
