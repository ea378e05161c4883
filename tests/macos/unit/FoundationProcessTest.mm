#import <Foundation/Foundation.h>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>

#include "tests/macos/standin/StandInTest.h"

// What Foundation tells about the process, and what the process tells the system through it.

namespace {

using standin::Activity;

using FoundationProcess = standin::StandInTest;

bool isAtLeast(long major, long minor, long patch) {
  return [NSProcessInfo.processInfo isOperatingSystemAtLeastVersion:{major, minor, patch}];
}

TEST_F(FoundationProcess, ArgumentsVersionAndBundleAreThoseOfTheTest) {
  standin::setProcessArguments({"/x/App", "--flag"});
  standin::setSystemVersion(14, 2);
  standin::setMainBundle("/x/App.app", "/x/App.app/Contents/MacOS/App");
  EXPECT_TRUE([NSProcessInfo.processInfo.arguments isEqual:(@[ @"/x/App", @"--flag" ])]);
  EXPECT_TRUE(isAtLeast(14, 2, 0));
  EXPECT_TRUE(isAtLeast(13, 9, 9));
  EXPECT_FALSE(isAtLeast(14, 3, 0));
  EXPECT_STREQ(NSBundle.mainBundle.bundleURL.absoluteString.UTF8String, "file:///x/App.app/");
  EXPECT_STREQ(NSBundle.mainBundle.executableURL.path.UTF8String, "/x/App.app/Contents/MacOS/App");
  standin::resetFoundation();
  EXPECT_EQ(NSProcessInfo.processInfo.operatingSystemVersion.majorVersion, 13);
}

TEST_F(FoundationProcess, ActivityRunsUntilItIsEnded) {
  id token = [NSProcessInfo.processInfo
      beginActivityWithOptions:NSActivityUserInitiated | NSActivityLatencyCritical
                        reason:@"Sharing"];
  EXPECT_THAT(standin::runningActivities(),
              testing::ElementsAre(Activity{0xFF00FFFFFF, "Sharing"}));
  [NSProcessInfo.processInfo endActivity:token];
  EXPECT_THAT(standin::runningActivities(), testing::IsEmpty());
  EXPECT_THAT(standin::callNames(),
              testing::ElementsAre("-[NSProcessInfo beginActivityWithOptions:reason:]",
                                   "-[NSProcessInfo endActivity:]"));
}

TEST_F(FoundationProcess, ActivityEndsWithItsToken) {
  @autoreleasepool {
    id token = [NSProcessInfo.processInfo beginActivityWithOptions:NSActivityBackground
                                                            reason:@"x"];
    EXPECT_NE(token, nil);
    EXPECT_EQ(standin::runningActivities().size(), 1U);
  }
  EXPECT_THAT(standin::runningActivities(), testing::IsEmpty());
}

TEST_F(FoundationProcess, ActivityEndedTwiceIsAViolation) {
  id token = [NSProcessInfo.processInfo beginActivityWithOptions:NSActivityBackground reason:@"x"];
  [NSProcessInfo.processInfo endActivity:token];
  [NSProcessInfo.processInfo endActivity:token];
  EXPECT_THAT(standin::takeViolations(), testing::SizeIs(1));
}

TEST_F(FoundationProcess, UserDefaultsAreReadAsTheirTypesAllow) {
  NSUserDefaults* defaults = NSUserDefaults.standardUserDefaults;
  standin::presetUserDefault("yes", @"YES");
  standin::presetUserDefault("true", @"true");
  standin::presetUserDefault("one", @1);
  standin::presetUserDefault("half", @0.5);
  standin::presetUserDefault("boolean", @YES);
  standin::presetUserDefault("no", @"no");
  standin::presetUserDefault("list", @[ @1 ]);
  for (NSString* key in @[ @"yes", @"true", @"one", @"half", @"boolean" ]) {
    EXPECT_TRUE([defaults boolForKey:key]) << key.UTF8String;
  }
  for (NSString* key in @[ @"no", @"list", @"missing" ]) EXPECT_FALSE([defaults boolForKey:key]);
  EXPECT_STREQ([defaults stringForKey:@"one"].UTF8String, "1");
  EXPECT_STREQ([defaults stringForKey:@"half"].UTF8String, "0.5");
  EXPECT_STREQ([defaults stringForKey:@"yes"].UTF8String, "YES");
  EXPECT_EQ([defaults stringForKey:@"list"], nil);
  EXPECT_EQ([defaults stringForKey:@"missing"], nil);
  EXPECT_EQ([defaults integerForKey:@"one"], 1);
}

TEST_F(FoundationProcess, UserDefaultsKeepWhatIsSetUntilItIsRemoved) {
  NSUserDefaults* suite = [[NSUserDefaults alloc] initWithSuiteName:@"suite"];
  [suite setBool:YES forKey:@"key"];
  EXPECT_EQ([suite objectForKey:@"key"], @YES);
  EXPECT_EQ([NSUserDefaults.standardUserDefaults objectForKey:@"key"], nil);
  [suite removeObjectForKey:@"key"];
  EXPECT_EQ([suite objectForKey:@"key"], nil);
}

TEST_F(FoundationProcess, UserDefaultsTakePropertyListsOnly) {
  [NSUserDefaults.standardUserDefaults setObject:[NSNull null] forKey:@"key"];
  EXPECT_THAT(standin::takeViolations(), testing::SizeIs(1));
}

TEST_F(FoundationProcess, StandardErrorKeepsWhatIsWritten) {
  NSError* error = nil;
  NSData* text = [@"text" dataUsingEncoding:NSUTF8StringEncoding];
  EXPECT_TRUE([NSFileHandle.fileHandleWithStandardError writeData:text error:&error]);
  EXPECT_TRUE([NSFileHandle.fileHandleWithNullDevice writeData:text error:&error]);
  EXPECT_EQ(standin::writtenToStandardError(), "text");
}

TEST_F(FoundationProcess, FailingStandardErrorGivesAnErrorOrAnException) {
  standin::failFileHandleWrites(ENOSPC);
  NSError* error = nil;
  NSFileHandle* handle = NSFileHandle.fileHandleWithStandardError;
  EXPECT_FALSE([handle writeData:[NSData data] error:&error]);
  EXPECT_EQ([error.userInfo[NSUnderlyingErrorKey] code], ENOSPC);
  EXPECT_THROW([handle writeData:[NSData data]], NSException*);
}

TEST_F(FoundationProcess, WriteThatNobodyReadsNeedsCare) {
  standin::failFileHandleWrites(EPIPE);
  const auto write = [](NSFileHandle* handle) {
    EXPECT_FALSE([handle writeData:[NSData data] error:nil]);
    return standin::takeViolations().size();
  };
  EXPECT_EQ(fcntl(STDERR_FILENO, F_SETNOSIGPIPE, 1), 0);
  EXPECT_EQ(write(NSFileHandle.fileHandleWithStandardOutput), 1U);
  EXPECT_EQ(write(NSFileHandle.fileHandleWithStandardError), 0U);
  EXPECT_EQ(fcntl(STDERR_FILENO, F_SETNOSIGPIPE, 0), 0);
  EXPECT_EQ(write(NSFileHandle.fileHandleWithStandardError), 1U);
}

TEST_F(FoundationProcess, OtherFileControlIsTheCLibrarys) {
  EXPECT_EQ(fcntl(STDERR_FILENO, F_GETFD, 0), 0);
  EXPECT_EQ(fcntl(-1, F_GETFD, 0), -1);
}

TEST_F(FoundationProcess, LogIsRecorded) {
  NSLog(@"%@ %d", @"text", 3);
  ASSERT_EQ(standin::callsOf("NSLog").size(), 1U);
  EXPECT_THAT(standin::callsOf("NSLog")[0].arguments, testing::ElementsAre("text 3"));
}

TEST_F(FoundationProcess, ErrorDescribesItself) {
  NSError* plain = [NSError errorWithDomain:@"domain" code:-3 userInfo:nil];
  EXPECT_STREQ(plain.localizedDescription.UTF8String,
               "The operation couldn’t be completed. (domain error -3.)");
  EXPECT_NE(plain.userInfo, nil);
  NSError* described = [NSError errorWithDomain:@"domain"
                                           code:1
                                       userInfo:@{NSLocalizedDescriptionKey : @"text"}];
  EXPECT_STREQ(described.localizedDescription.UTF8String, "text");
  NSError* posix = [NSError errorWithDomain:NSPOSIXErrorDomain code:ENOENT userInfo:nil];
  EXPECT_STREQ(posix.localizedDescription.UTF8String,
               "The operation couldn’t be completed. No such file or directory");
}

}  // namespace
