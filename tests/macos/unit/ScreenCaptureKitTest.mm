#import <ScreenCaptureKit/ScreenCaptureKit.h>
#import <ScreenCaptureKit/ScreenCaptureKitControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

// Counts what a stream tells it.
@interface StreamListener : NSObject <SCStreamOutput, SCStreamDelegate>
@property(atomic) NSUInteger samples;
@property(atomic) NSUInteger ends;
@end

@implementation StreamListener

- (void)stream:(SCStream*)stream
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
                   ofType:(SCStreamOutputType)type {
  self.samples += 1;
}

- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error {
  self.ends += 1;
}

@end

// Implements none of what it could.
@interface SilentListener : NSObject <SCStreamOutput, SCStreamDelegate>
@end

@implementation SilentListener
@end

namespace standin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ScreenCaptureKitTest : public StandInTest {
 protected:
  void TearDown() override {
    settle();
    resetScreenCaptureKit();
    StandInTest::TearDown();
  }

  static SCDisplay* display() {
    setShareableContent({.displays = {{1, 800, 600}}});
    __block SCDisplay* first = nil;
    [SCShareableContent
        getShareableContentExcludingDesktopWindows:YES
                               onScreenWindowsOnly:YES
                                 completionHandler:^(SCShareableContent* content, NSError*) {
                                   first = content.displays.firstObject;
                                 }];
    settle();
    return first;
  }

  static SCStreamConfiguration* configuration() {
    SCStreamConfiguration* settings = [[SCStreamConfiguration alloc] init];
    settings.width = 8;
    settings.height = 6;
    settings.queueDepth = 2;
    return settings;
  }

  static SCStream* makeStream(id<SCStreamDelegate> delegate = nil) {
    SCContentFilter* filter = [[SCContentFilter alloc] initWithDisplay:display()
                                                      excludingWindows:@[]];
    return [[SCStream alloc] initWithFilter:filter configuration:configuration() delegate:delegate];
  }

  static void addOutput(SCStream* stream, id<SCStreamOutput> output,
                        dispatch_queue_t queue = dispatch_get_main_queue()) {
    NSError* error = nil;
    EXPECT_TRUE([stream addStreamOutput:output
                                   type:SCStreamOutputTypeScreen
                     sampleHandlerQueue:queue
                                  error:&error]);
  }
};

TEST_F(ScreenCaptureKitTest, StartsWithTheDefaultsOfTheRealConfiguration) {
  SCStreamConfiguration* settings = [[SCStreamConfiguration alloc] init];
  EXPECT_EQ(settings.width, 1920);
  EXPECT_EQ(settings.height, 1080);
  EXPECT_EQ(settings.minimumFrameInterval.value, 1);
  EXPECT_EQ(settings.minimumFrameInterval.timescale, 60);
  EXPECT_EQ(settings.pixelFormat, kCVPixelFormatType_32BGRA);
  EXPECT_EQ(settings.queueDepth, 8);
  EXPECT_TRUE(settings.showsCursor);
}

TEST_F(ScreenCaptureKitTest, RefusesSettingsThatTheDocumentationRulesOut) {
  SCStreamConfiguration* settings = [[SCStreamConfiguration alloc] init];
  settings.width = 0;
  settings.height = 0;
  settings.minimumFrameInterval = kCMTimeInvalid;
  settings.pixelFormat = 0;
  settings.queueDepth = 0;
  settings.queueDepth = 9;
  EXPECT_THAT(takeViolations(), SizeIs(6));
  settings.queueDepth = 1;
  settings.queueDepth = 8;
  EXPECT_THAT(takeViolations(), IsEmpty());
}

TEST_F(ScreenCaptureKitTest, RefusesNilWhereAnObjectIsDemanded) {
  id nothing = nil;
  (void)[[SCContentFilter alloc] initWithDisplay:nothing excludingWindows:@[]];
  EXPECT_THAT(takeViolations(), ElementsAre("an SCContentFilter made with nil"));
  SCStream* stream = [[SCStream alloc] initWithFilter:nothing configuration:nothing delegate:nil];
  EXPECT_THAT(takeViolations(), ElementsAre("an SCStream made with nil"));
  [stream updateConfiguration:nothing completionHandler:nil];
  EXPECT_THAT(takeViolations(), SizeIs(1));
  [stream addStreamOutput:nothing
                     type:SCStreamOutputTypeScreen
       sampleHandlerQueue:nil
                    error:nullptr];
  EXPECT_THAT(takeViolations(), SizeIs(1));
  [SCShareableContent getShareableContentExcludingDesktopWindows:YES
                                             onScreenWindowsOnly:YES
                                               completionHandler:nothing];
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

TEST_F(ScreenCaptureKitTest, NotesRequestsThatTheStateDoesNotAllow) {
  SCStream* stream = makeStream();
  [stream stopCaptureWithCompletionHandler:nil];
  [stream updateConfiguration:configuration() completionHandler:nil];
  [stream startCaptureWithCompletionHandler:nil];
  EXPECT_THAT(requestsInWrongState(), SizeIs(2));
  [stream startCaptureWithCompletionHandler:nil];
  [stream stopCaptureWithCompletionHandler:nil];
  EXPECT_THAT(requestsInWrongState(),
              ElementsAre("-[SCStream stopCaptureWithCompletionHandler:]",
                          "-[SCStream updateConfiguration:completionHandler:]",
                          "-[SCStream startCaptureWithCompletionHandler:]"));
}

TEST_F(ScreenCaptureKitTest, NeverAnswersForAStreamThatIsGone) {
  __block int answers = 0;
  @autoreleasepool {
    SCStream* stream = makeStream();
    holdAnswers();
    [stream startCaptureWithCompletionHandler:^(NSError*) {
      ++answers;
    }];
  }
  EXPECT_EQ(heldAnswers(), 1);
  releaseAnswers();
  settle();
  EXPECT_EQ(answers, 0);
}

TEST_F(ScreenCaptureKitTest, ReleasesHeldAnswersOneByOne) {
  SCStream* stream = makeStream();
  __block int answers = 0;
  holdAnswers();
  [stream startCaptureWithCompletionHandler:^(NSError*) {
    ++answers;
  }];
  [stream stopCaptureWithCompletionHandler:^(NSError*) {
    ++answers;
  }];
  settle();
  EXPECT_EQ(answers, 0);
  releaseOldestAnswer();
  settle();
  EXPECT_EQ(answers, 1);
  EXPECT_EQ(heldAnswers(), 1);
  releaseOldestAnswer();
  settle();
  EXPECT_EQ(answers, 2);
  releaseOldestAnswer();
  EXPECT_THAT(takeViolations(), ElementsAre("no answer of ScreenCaptureKit is held"));
}

TEST_F(ScreenCaptureKitTest, HoldsItsOutputsAndItsDelegateWeakly) {
  __weak StreamListener* weakOutput = nil;
  __weak StreamListener* weakDelegate = nil;
  SCStream* stream = nil;
  @autoreleasepool {
    StreamListener* output = [[StreamListener alloc] init];
    StreamListener* delegate = [[StreamListener alloc] init];
    weakOutput = output;
    weakDelegate = delegate;
    stream = makeStream(delegate);
    addOutput(stream, output);
    [stream startCaptureWithCompletionHandler:nil];
    EXPECT_TRUE(captureStreams().back()->sendSample({}));
  }
  EXPECT_EQ(weakOutput, nil);
  EXPECT_EQ(weakDelegate, nil);
  settle();
  EXPECT_THAT(takeViolations(), ElementsAre("a sample for an output that is gone"));
}

TEST_F(ScreenCaptureKitTest, LeavesASampleBehindWhenTheTestSaysSo) {
  StreamListener* listener = [[StreamListener alloc] init];
  @autoreleasepool {
    SCStream* stream = makeStream();
    addOutput(stream, listener);
    captureStreams().back()->leaveSampleBehind();
  }
  EXPECT_FALSE(captureStreams().back()->isAlive());
  settle();
  EXPECT_EQ(listener.samples, 1);
}

TEST_F(ScreenCaptureKitTest, IsNotToBeStoppedBeforeItsStartIsAnswered) {
  SCStream* stream = makeStream();
  __block NSInteger refusal = 0;
  holdAnswers();
  [stream startCaptureWithCompletionHandler:^(NSError*){
  }];
  [stream stopCaptureWithCompletionHandler:^(NSError* error) {
    refusal = error.code;
  }];
  releaseAnswers();
  settle();
  EXPECT_EQ(refusal, SCStreamErrorAttemptToStopStreamState);
  EXPECT_TRUE(captureStreams().back()->isRunning());
  [stream stopCaptureWithCompletionHandler:nil];
  EXPECT_FALSE(captureStreams().back()->isRunning());
}

TEST_F(ScreenCaptureKitTest, DeliversOnlyWhileItRuns) {
  StreamListener* listener = [[StreamListener alloc] init];
  SCStream* stream = makeStream(listener);
  addOutput(stream, listener);
  const auto system = captureStreams().back();
  EXPECT_FALSE(system->sendSample({}));
  [stream startCaptureWithCompletionHandler:nil];
  EXPECT_TRUE(system->sendSample({}));
  EXPECT_TRUE(system->sendSample({.type = SCStreamOutputTypeAudio}));
  settle();
  [stream stopCaptureWithCompletionHandler:nil];
  EXPECT_FALSE(system->sendSample({}));
  settle();
  EXPECT_EQ(listener.samples, 1);
}

TEST_F(ScreenCaptureKitTest, DeliversOnAThreadOfItsOwnWithoutAQueue) {
  StreamListener* listener = [[StreamListener alloc] init];
  SCStream* stream = makeStream();
  addOutput(stream, listener, nil);
  [stream startCaptureWithCompletionHandler:nil];
  EXPECT_TRUE(captureStreams().back()->sendSample({}));
  settle();
  EXPECT_EQ(listener.samples, 1);
}

TEST_F(ScreenCaptureKitTest, CountsThePicturesThatAreStillHeld) {
  SCStream* stream = makeStream();
  StreamListener* listener = [[StreamListener alloc] init];
  addOutput(stream, listener);
  [stream startCaptureWithCompletionHandler:nil];
  const auto system = captureStreams().back();
  EXPECT_TRUE(system->sendSample({}));
  EXPECT_TRUE(system->sendSample({}));
  EXPECT_FALSE(system->sendSample({})) << "two are on the queue, which is as deep as it goes";
  EXPECT_TRUE(system->sendSample({.hasPicture = false}));
  settle();
  EXPECT_EQ(system->picturesHeld(), 0);
  EXPECT_TRUE(system->sendSample({}));
  settle();
  EXPECT_EQ(listener.samples, 4);
}

TEST_F(ScreenCaptureKitTest, EndsAtTheSystemsWill) {
  StreamListener* listener = [[StreamListener alloc] init];
  SCStream* stream = makeStream(listener);
  [stream startCaptureWithCompletionHandler:nil];
  const auto system = captureStreams().back();
  system->stopWithError(streamError(SCStreamErrorUserStopped));
  settle();
  EXPECT_EQ(listener.ends, 1);
  EXPECT_FALSE(system->isRunning());
  EXPECT_TRUE(system->isAlive());
}

TEST_F(ScreenCaptureKitTest, CallsNobodyWhoDoesNotListen) {
  SilentListener* listener = [[SilentListener alloc] init];
  SCStream* stream = makeStream(listener);
  addOutput(stream, listener);
  [stream startCaptureWithCompletionHandler:nil];
  EXPECT_TRUE(captureStreams().back()->sendSample({}));
  captureStreams().back()->stopWithError(streamError(SCStreamErrorInternalError));
  settle();
}

TEST_F(ScreenCaptureKitTest, RefusesWhatTheTestSaysItRefuses) {
  SCStream* stream = makeStream();
  failNext(CaptureRequest::addOutput, {"test", 3, "No."});
  NSError* error = nil;
  EXPECT_FALSE([stream addStreamOutput:[[StreamListener alloc] init]
                                  type:SCStreamOutputTypeScreen
                    sampleHandlerQueue:dispatch_get_main_queue()
                                 error:&error]);
  EXPECT_EQ(error.code, 3);
  failNext(CaptureRequest::start, {"test", 4, "No."});
  [stream startCaptureWithCompletionHandler:nil];
  EXPECT_FALSE(captureStreams().back()->isRunning());
  [stream startCaptureWithCompletionHandler:nil];
  EXPECT_TRUE(captureStreams().back()->isRunning());
}

}  // namespace
}  // namespace standin
