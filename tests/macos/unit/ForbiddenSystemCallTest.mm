#import <AppKit/AppKitControl.h>
#import <ApplicationServices/ApplicationServices.h>
#import <CoreMedia/CoreMedia.h>
#import <CoreMedia/CoreMediaControl.h>
#import <Foundation/FoundationControl.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <vector>

#include "tests/macos/standin/StandInTest.h"

// What dispatch, Foundation, AppKit, Accessibility and Core Media would not forgive.

namespace standin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::SizeIs;

class ForbiddenSystemCall : public StandInTest {
 protected:
  void TearDown() override {
    resetAppKit();
    StandInTest::TearDown();
  }

  static dispatch_source_t makeTimer() {
    dispatch_source_t timer =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue());
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, 10), 10, 1);
    return timer;
  }
};

TEST_F(ForbiddenSystemCall, TimersAreResumedOnceBeforeTheyGo) {
  makeTimer();
  EXPECT_THAT(takeViolations(),
              ElementsAre("BUG IN CLIENT OF LIBDISPATCH: Release of an inactive object"));
  dispatch_source_t timer = makeTimer();
  dispatch_resume(timer);
  dispatch_resume(timer);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("Over-resume")));
  dispatch_source_cancel(timer);
}

TEST_F(ForbiddenSystemCall, NeitherTimersNorQueuesOutliveATest) {
  dispatch_queue_t queue = dispatch_queue_create("left over", DISPATCH_QUEUE_SERIAL);
  EXPECT_NE(queue, nil);
  dispatch_source_t timer = makeTimer();
  dispatch_resume(timer);
  resetThreads();
  EXPECT_THAT(takeViolations(), ElementsAre("1 timers outlived the test",
                                            "a dispatch queue outlived the test: left over"));
  dispatch_source_cancel(timer);
}

TEST_F(ForbiddenSystemCall, ReferencesAreNeverNull) {
  CFRelease(static_cast<CFTypeRef _Nonnull>((__bridge CFTypeRef) static_cast<id>(nil)));
  EXPECT_THAT(takeViolations(), ElementsAre("CFRelease was called with NULL"));
}

TEST_F(ForbiddenSystemCall, ActivitiesEndOnce) {
  id token = [NSProcessInfo.processInfo beginActivityWithOptions:0 reason:@"x"];
  [NSProcessInfo.processInfo endActivity:token];
  [NSProcessInfo.processInfo endActivity:token];
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

TEST_F(ForbiddenSystemCall, UserDefaultsTakePropertyListsOnly) {
  [NSUserDefaults.standardUserDefaults setObject:[NSNull null] forKey:@"key"];
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

TEST_F(ForbiddenSystemCall, WritesThatNobodyReadsNeedCare) {
  failFileHandleWrites(EPIPE);
  const auto write = [](NSFileHandle* handle) {
    EXPECT_FALSE([handle writeData:[NSData data] error:nil]);
    return takeViolations().size();
  };
  EXPECT_EQ(fcntl(STDERR_FILENO, F_SETNOSIGPIPE, 1), 0);
  EXPECT_EQ(write(NSFileHandle.fileHandleWithStandardOutput), 1U);
  EXPECT_EQ(write(NSFileHandle.fileHandleWithStandardError), 0U);
}

TEST_F(ForbiddenSystemCall, TasksLeadNowhereAndAreWaitedFor) {
  @autoreleasepool {
    NSTask* task = [[NSTask alloc] init];
    task.executableURL = [NSURL fileURLWithPath:@"/bin/launchctl"];
    EXPECT_TRUE([task launchAndReturnError:nil]);
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("standard output"),
                                            HasSubstr("standard error"), HasSubstr("let go")));
}

TEST_F(ForbiddenSystemCall, WhetherToAskIsABoolean) {
  @autoreleasepool {
    NSDictionary* options = @{(__bridge id)kAXTrustedCheckOptionPrompt : @1};
    EXPECT_TRUE(AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options));
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("is not a CFBoolean")));
}

TEST_F(ForbiddenSystemCall, WindowsHaveATitle) {
  @autoreleasepool {
    NSString* none = nil;
    [[[NSWindow alloc] init] setTitle:none];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("nil")));
}

TEST_F(ForbiddenSystemCall, NibsAreTheMainOneAndNameClassesThatExist) {
  @autoreleasepool {
    EXPECT_NE([[NSViewController alloc] initWithNibName:@"Other" bundle:nil], nil);
  }
  EXPECT_THAT(takeViolations(), ElementsAre("There is no nib but the main one."));
  setMainNib({.delegateClass = "Missing", .windowClass = "NSWindow"});
  const char* arguments[] = {"app", nullptr};
  EXPECT_EQ(NSApplicationMain(1, arguments), 0);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("Missing")));
}

TEST_F(ForbiddenSystemCall, WindowsBelongToTheMainThread) {
  onSystemThread([] {
    @autoreleasepool {
      NSWindow* other = [[NSWindow alloc] init];
      [other center];
      EXPECT_FALSE(other.isVisible);
    }
  });
  settle();
  EXPECT_THAT(takeViolations(), IsSupersetOf({HasSubstr("initWithContentRect"), HasSubstr("center"),
                                              HasSubstr("isVisible"), HasSubstr("dealloc")}));
}

TEST_F(ForbiddenSystemCall, TimeScalesArePositive) {
  (void)CMTimeMake(1, 0);
  EXPECT_THAT(takeViolations(), ElementsAre("CMTimeMake with the time scale 0"));
}

TEST_F(ForbiddenSystemCall, SamplesAreNotUsedOnceTheyAreReleased) {
  CMSampleBufferRef sample = nullptr;
  CMBlockBufferRef data = nullptr;
  CMFormatDescriptionRef format = nullptr;
  @autoreleasepool {
    sample = (__bridge CMSampleBufferRef)makeSampleBuffer({});
    data = (__bridge CMBlockBufferRef)makeBlockBuffer({});
    format = (__bridge CMFormatDescriptionRef)makeFormatDescription({});
  }
  EXPECT_FALSE(CMSampleBufferIsValid(sample));
  EXPECT_EQ(CMSampleBufferGetDataBuffer(sample), nullptr);
  EXPECT_EQ(CMBlockBufferGetDataLength(data), 0U);
  std::uint8_t byte = 0;
  EXPECT_EQ(CMBlockBufferCopyDataBytes(data, 0, 1, &byte), kCMBlockBufferBadPointerParameterErr);
  EXPECT_EQ(CMVideoFormatDescriptionGetH264ParameterSetAtIndex(format, 0, nullptr, nullptr, nullptr,
                                                               nullptr),
            kCMFormatDescriptionError_InvalidParameter);
  EXPECT_THAT(takeViolations(), SizeIs(5));
}

TEST_F(ForbiddenSystemCall, DataAreCopiedToSomewhere) {
  id buffer = makeBlockBuffer({.blocks = {{1, 2}}});
  void* nowhere = nullptr;
  EXPECT_EQ(CMBlockBufferCopyDataBytes((__bridge CMBlockBufferRef)buffer, 0, 2, nowhere),
            kCMBlockBufferBadPointerParameterErr);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("to nowhere")));
}

}  // namespace
}  // namespace standin
