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

// What a session gave to its callback. The callback's reference, as in a product.
struct Outputs {
  struct Output {
    long frame;
    OSStatus status;
    VTEncodeInfoFlags infoFlags;
    bool hasSample;
    bool isOnMainThread;
  };
  std::vector<Output> list;
  // Sessions to complete or to invalidate in the callback.
  VTCompressionSessionRef completing = nullptr;
  VTCompressionSessionRef invalidating = nullptr;

  [[nodiscard]] std::vector<long> frames() const {
    std::vector<long> numbers;
    for (const auto& output : list) numbers.push_back(output.frame);
    return numbers;
  }
};

void receive(void* outputs, void* frame, OSStatus status, VTEncodeInfoFlags infoFlags,
             CMSampleBufferRef sampleBuffer) {
  auto& all = *static_cast<Outputs*>(outputs);
  all.list.push_back(
      {reinterpret_cast<long>(frame), status, infoFlags, sampleBuffer != nullptr, isMainThread()});
  if (all.completing != nullptr) {
    VTCompressionSessionCompleteFrames(all.completing, kCMTimeInvalid);
  }
  if (all.invalidating != nullptr) VTCompressionSessionInvalidate(all.invalidating);
}

class VideoToolboxTest : public StandInTest {
 protected:
  void TearDown() override {
    resetVideoToolbox();
    StandInTest::TearDown();
    EXPECT_EQ(liveCompressionSessions(), 0U);
  }

  OSStatus create(int32_t width = 640, int32_t height = 480, NSDictionary* specification = nil) {
    return VTCompressionSessionCreate(kCFAllocatorDefault, width, height, kCMVideoCodecType_H264,
                                      (__bridge CFDictionaryRef)specification, nullptr, nullptr,
                                      receive, &outputs, &session);
  }
  OSStatus encode(long number, CMTime time) {
    @autoreleasepool {
      id picture = makePixelBuffer(4, 4);
      return VTCompressionSessionEncodeFrame(session, (__bridge CVPixelBufferRef)picture, time,
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

TEST_F(VideoToolboxTest, CountsTheSessionsThatAreAlive) {
  EXPECT_EQ(liveCompressionSessions(), 0U);
  ASSERT_EQ(create(), noErr);
  EXPECT_EQ(liveCompressionSessions(), 1U);
  end();
  EXPECT_EQ(liveCompressionSessions(), 0U);
}

TEST_F(VideoToolboxTest, WritesDownWhatASessionIsMadeOf) {
  @autoreleasepool {
    id key = (__bridge id)kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder;
    ASSERT_EQ(create(
                  1920, 1080,
                  @{key : @YES}),
              noErr);
  }
  const auto creations = callsOf("VTCompressionSessionCreate");
  ASSERT_EQ(creations.size(), 1U);
  EXPECT_THAT(creations[0].arguments,
              ElementsAre("NULL", "1920", "1080", "avc1",
                          "EnableHardwareAcceleratedVideoEncoder = true", "NULL", "NULL"));
  end();
}

TEST_F(VideoToolboxTest, WantsTheRightTypesInTheSpecification) {
  @autoreleasepool {
    id key = (__bridge id)kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder;
    ASSERT_EQ(create(
                  640, 480,
                  @{key : @1}),
              noErr);
    end();
    ASSERT_EQ(create(
                  640, 480,
                  @{@"Unheard" : @YES}),
              noErr);
    end();
  }
  EXPECT_THAT(takeViolations(),
              ElementsAre(HasSubstr("a wrong EnableHardware"), HasSubstr("a wrong Unheard")));
}

TEST_F(VideoToolboxTest, MakesNoSessionOfNoSizeOrWithoutACallback) {
  EXPECT_EQ(create(0, 480), kVTParameterErr);
  EXPECT_EQ(create(640, -1), kVTParameterErr);
  EXPECT_EQ(VTCompressionSessionCreate(nullptr, 640, 480, kCMVideoCodecType_H264, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, &session),
            kVTParameterErr);
  EXPECT_EQ(session, nullptr);
}

TEST_F(VideoToolboxTest, MakesNoSessionWhenTheTestSaysSo) {
  setSessionCreationStatus(kVTCouldNotFindVideoEncoderErr);
  EXPECT_EQ(create(), kVTCouldNotFindVideoEncoderErr);
  setSessionCreationStatus(noErr);
  withholdSessions();
  EXPECT_EQ(create(), noErr);
  EXPECT_EQ(session, nullptr);
}

TEST_F(VideoToolboxTest, TakesPropertiesOfTheirTypes) {
  ASSERT_EQ(create(), noErr);
  @autoreleasepool {
    EXPECT_EQ(set(kVTCompressionPropertyKey_RealTime, @YES), noErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_AllowFrameReordering, @NO), noErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_AllowTemporalCompression, nil), noErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_ProfileLevel,
                  (__bridge id)kVTProfileLevel_H264_Main_AutoLevel),
              noErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_ExpectedFrameRate, @30), noErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_AverageBitRate, @8000000LL), noErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_MaxKeyFrameInterval, @1.0), noErr);
  }
  std::vector<std::string> settings;
  for (const auto& call : callsOf("VTSessionSetProperty")) {
    settings.push_back(call.arguments[0] + " = " + call.arguments[1]);
  }
  EXPECT_THAT(
      settings,
      ElementsAre("RealTime = true", "AllowFrameReordering = false",
                  "AllowTemporalCompression = default", "ProfileLevel = H264_Main_AutoLevel",
                  "ExpectedFrameRate = 30 (SInt32)", "AverageBitRate = 8000000 (SInt64)",
                  "MaxKeyFrameInterval = 1 (another type)"));
  end();
}

TEST_F(VideoToolboxTest, RefusesAPropertyOfAnotherType) {
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

TEST_F(VideoToolboxTest, DoesNotKnowEveryProperty) {
  ASSERT_EQ(create(), noErr);
  @autoreleasepool {
    EXPECT_EQ(set(CFSTR("Unheard"), @1), kVTPropertyNotSupportedErr);
    setPropertyStatus("RealTime", kVTPropertyNotSupportedErr);
    EXPECT_EQ(set(kVTCompressionPropertyKey_RealTime, @YES), kVTPropertyNotSupportedErr);
  }
  end();
}

TEST_F(VideoToolboxTest, FailsTheCallsThatTheTestSays) {
  ASSERT_EQ(create(), noErr);
  holdEncodedFrames();
  EXPECT_EQ(encode(1), noErr);
  setCallStatus("VTCompressionSessionPrepareToEncodeFrames", kVTVideoEncoderMalfunctionErr);
  setCallStatus("VTCompressionSessionEncodeFrame", kVTParameterErr);
  setCallStatus("VTCompressionSessionCompleteFrames", kVTInvalidSessionErr);
  EXPECT_EQ(VTCompressionSessionPrepareToEncodeFrames(session), kVTVideoEncoderMalfunctionErr);
  EXPECT_EQ(encode(2), kVTParameterErr);
  EXPECT_EQ(VTCompressionSessionCompleteFrames(session, kCMTimeInvalid), kVTInvalidSessionErr);
  EXPECT_THAT(outputs.list, IsEmpty());
  end();
}

TEST_F(VideoToolboxTest, GivesFramesOutInOrderOffTheMainThread) {
  ASSERT_EQ(create(), noErr);
  EXPECT_EQ(VTCompressionSessionPrepareToEncodeFrames(session), noErr);
  setEncoder([](id /*picture*/, CMTime /*time*/) {
    return EncoderOutput{.sampleBuffer = makeSampleBuffer({})};
  });
  for (long number = 1; number <= 20; ++number) EXPECT_EQ(encode(number), noErr);
  settle();
  ASSERT_EQ(outputs.list.size(), 20U);
  EXPECT_TRUE(std::ranges::is_sorted(outputs.frames()));
  EXPECT_TRUE(outputs.list[0].hasSample);
  EXPECT_EQ(outputs.list[0].status, noErr);
  EXPECT_FALSE(outputs.list[0].isOnMainThread);
  end();
}

TEST_F(VideoToolboxTest, DropsFramesUnlessTheTestEncodesThem) {
  ASSERT_EQ(create(), noErr);
  EXPECT_EQ(encode(1), noErr);
  settle();
  ASSERT_EQ(outputs.list.size(), 1U);
  EXPECT_EQ(outputs.list[0].infoFlags, kVTEncodeInfo_FrameDropped);
  EXPECT_FALSE(outputs.list[0].hasSample);
  end();
}

TEST_F(VideoToolboxTest, HandsPicturesAndFailuresThrough) {
  ASSERT_EQ(create(), noErr);
  std::vector<std::int64_t> times;
  setEncoder([&](id picture, CMTime time) {
    EXPECT_NE(picture, nil);
    times.push_back(time.value);
    return EncoderOutput{.status = kVTVideoEncoderMalfunctionErr};
  });
  @autoreleasepool {
    id picture = makePixelBuffer(4, 4);
    VTEncodeInfoFlags flags = {};
    EXPECT_EQ(VTCompressionSessionEncodeFrame(session, (__bridge CVPixelBufferRef)picture,
                                              CMTimeMake(7, 30), CMTimeMake(1, 30), nullptr,
                                              nullptr, &flags),
              noErr);
    EXPECT_EQ(flags, kVTEncodeInfo_Asynchronous);
  }
  settle();
  EXPECT_THAT(times, ElementsAre(7));
  ASSERT_EQ(outputs.list.size(), 1U);
  EXPECT_EQ(outputs.list[0].status, kVTVideoEncoderMalfunctionErr);
  EXPECT_THAT(callsOf("VTCompressionSessionEncodeFrame")[0].arguments,
              ElementsAre("7/30", "1/30", "NULL", "NULL", "given"));
  end();
}

TEST_F(VideoToolboxTest, CompletesEveryFrameThatIsHeld) {
  ASSERT_EQ(create(), noErr);
  holdEncodedFrames();
  EXPECT_EQ(encode(1), noErr);
  EXPECT_EQ(encode(2), noErr);
  settle();
  EXPECT_THAT(outputs.list, IsEmpty());
  EXPECT_EQ(VTCompressionSessionCompleteFrames(session, kCMTimeInvalid), noErr);
  EXPECT_THAT(outputs.frames(), ElementsAre(1, 2));
  EXPECT_THAT(callsOf("VTCompressionSessionCompleteFrames")[0].arguments, ElementsAre("invalid"));
  end();
}

TEST_F(VideoToolboxTest, GivesNothingOutOnceItIsInvalidated) {
  ASSERT_EQ(create(), noErr);
  holdEncodedFrames();
  EXPECT_EQ(encode(1), noErr);
  end();
  settle();
  EXPECT_THAT(outputs.list, IsEmpty());
}

TEST_F(VideoToolboxTest, WantsGrowingTimeStamps) {
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

TEST_F(VideoToolboxTest, WantsAPictureThatExists) {
  ASSERT_EQ(create(), noErr);
  const void* gone = nullptr;
  @autoreleasepool {
    gone = (__bridge const void*)makePixelBuffer(4, 4);
  }
  const auto picture = static_cast<CVPixelBufferRef>(const_cast<void*>(gone));
  EXPECT_EQ(VTCompressionSessionEncodeFrame(session, picture, CMTimeMake(1, 30), kCMTimeInvalid,
                                            nullptr, nullptr, nullptr),
            kVTParameterErr);
  EXPECT_THAT(takeViolations(), testing::SizeIs(1));
  end();
}

TEST_F(VideoToolboxTest, IsOfNoUseOnceItIsInvalidated) {
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

TEST_F(VideoToolboxTest, IsOfNoUseOnceItIsReleased) {
  ASSERT_EQ(create(), noErr);
  end();
  EXPECT_EQ(VTCompressionSessionPrepareToEncodeFrames(session), kVTInvalidSessionErr);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("released")));
}

TEST_F(VideoToolboxTest, MindsAReleaseWithFramesStillInIt) {
  ASSERT_EQ(create(), noErr);
  holdEncodedFrames();
  EXPECT_EQ(encode(1), noErr);
  CFRelease(session);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("with frames in it")));
}

TEST_F(VideoToolboxTest, MindsCompletingInsideTheCallback) {
  ASSERT_EQ(create(), noErr);
  outputs.completing = session;
  EXPECT_EQ(encode(1), noErr);
  settle();
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("waits for itself")));
  end();
}

TEST_F(VideoToolboxTest, CanBeInvalidatedInsideTheCallback) {
  ASSERT_EQ(create(), noErr);
  outputs.invalidating = session;
  holdEncodedFrames();
  EXPECT_EQ(encode(1), noErr);
  EXPECT_EQ(encode(2), noErr);
  EXPECT_EQ(VTCompressionSessionCompleteFrames(session, kCMTimeInvalid), noErr);
  EXPECT_THAT(outputs.frames(), ElementsAre(1));
  CFRelease(session);
}

}  // namespace
}  // namespace standin
