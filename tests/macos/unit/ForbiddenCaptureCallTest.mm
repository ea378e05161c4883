#import <ScreenCaptureKit/ScreenCaptureKit.h>
#import <ScreenCaptureKit/ScreenCaptureKitControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

// What ScreenCaptureKit would not forgive.

// Counts what a stream gives it.
@interface StreamListener : NSObject <SCStreamOutput, SCStreamDelegate>
@property(atomic) NSUInteger samples;
@end

@implementation StreamListener

- (void)stream:(SCStream*)stream
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
                   ofType:(SCStreamOutputType)type {
  self.samples += 1;
}

@end

namespace standin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ForbiddenCaptureCall : public StandInTest {
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
    settings.queueDepth = 3;
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

TEST_F(ForbiddenCaptureCall, RefusesSettingsThatTheDocumentationRulesOut) {
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

TEST_F(ForbiddenCaptureCall, RefusesNilWhereAnObjectIsDemanded) {
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

TEST_F(ForbiddenCaptureCall, NotesRequestsThatTheStateDoesNotAllow) {
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

TEST_F(ForbiddenCaptureCall, NeverAnswersForAStreamThatIsGone) {
  __block int answers = 0;
  @autoreleasepool {
    SCStream* stream = makeStream();
    holdAnswers();
    [stream startCaptureWithCompletionHandler:^(NSError*) {
      ++answers;
    }];
  }
  EXPECT_EQ(heldAnswers(), 1);
  EXPECT_THAT(takeViolations(), SizeIs(1)) << "the stream runs on";
  releaseAnswers();
  settle();
  EXPECT_EQ(answers, 0);
}

TEST_F(ForbiddenCaptureCall, HoldsItsOutputsAndItsDelegateWeakly) {
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
  [stream stopCaptureWithCompletionHandler:nil];
  EXPECT_EQ(weakOutput, nil);
  EXPECT_EQ(weakDelegate, nil);
  settle();
  EXPECT_THAT(takeViolations(), ElementsAre("a sample for an output that is gone"));
}

TEST_F(ForbiddenCaptureCall, IsNotToBeStoppedBeforeItsStartIsAnswered) {
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

TEST_F(ForbiddenCaptureCall, GoesOnWhenItIsReleasedWithoutAStop) {
  @autoreleasepool {
    SCStream* stream = makeStream();
    [stream startCaptureWithCompletionHandler:nil];
  }
  EXPECT_FALSE(captureStreams().back()->isAlive());
  EXPECT_TRUE(captureStreams().back()->isRunning());
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

TEST_F(ForbiddenCaptureCall, CountsTheFramesThatAreStillHeld) {
  SCStream* stream = makeStream();
  StreamListener* listener = [[StreamListener alloc] init];
  addOutput(stream, listener);
  [stream startCaptureWithCompletionHandler:nil];
  const auto system = captureStreams().back();
  for (int sample = 0; sample < 3; ++sample) EXPECT_TRUE(system->sendSample({}));
  EXPECT_FALSE(system->sendSample({})) << "three are on the queue, which is as deep as it goes";
  EXPECT_TRUE(system->sendSample({.hasFrame = false}));
  settle();
  EXPECT_EQ(system->framesHeld(), 0);
  EXPECT_TRUE(system->sendSample({}));
  settle();
  EXPECT_EQ(listener.samples, 5);
  [stream stopCaptureWithCompletionHandler:nil];
}

}  // namespace
}  // namespace standin
