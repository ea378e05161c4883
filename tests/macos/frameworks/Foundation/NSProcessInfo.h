#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>, NSString;

typedef struct {
  NSInteger majorVersion;
  NSInteger minorVersion;
  NSInteger patchVersion;
} NSOperatingSystemVersion;

typedef NS_OPTIONS(uint64_t, NSActivityOptions) {
  NSActivityIdleDisplaySleepDisabled = (1ULL << 40),
  NSActivityIdleSystemSleepDisabled = (1ULL << 20),
  NSActivitySuddenTerminationDisabled = (1ULL << 14),
  NSActivityAutomaticTerminationDisabled = (1ULL << 15),
  NSActivityUserInitiated = (0x00FFFFFFULL | NSActivityIdleSystemSleepDisabled),
  NSActivityUserInitiatedAllowingIdleSystemSleep = (NSActivityUserInitiated &
                                                    ~NSActivityIdleSystemSleepDisabled),
  NSActivityBackground = 0x000000FFULL,
  NSActivityLatencyCritical = 0xFF00000000ULL,
};

@interface NSProcessInfo : NSObject

@property(class, readonly, strong) NSProcessInfo* processInfo;

@property(readonly, copy) NSArray<NSString*>* arguments;
@property(readonly, copy) NSString* processName;
@property(readonly) int processIdentifier;
@property(readonly) NSOperatingSystemVersion operatingSystemVersion;
@property(readonly) NSTimeInterval systemUptime;
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version;

@end

@interface NSProcessInfo (NSProcessInfoActivity)

- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason;
- (void)endActivity:(id<NSObject>)activity;

@end

NS_ASSUME_NONNULL_END
