#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>, NSString;

typedef struct {
  NSInteger majorVersion;
  NSInteger minorVersion;
  NSInteger patchVersion;
} NSOperatingSystemVersion;

typedef uint64_t NSActivityOptions;

@interface NSProcessInfo : NSObject

@property(class, readonly, strong) NSProcessInfo* processInfo;

@property(readonly, copy) NSArray<NSString*>* arguments;
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version;

@end

@interface NSProcessInfo (NSProcessInfoActivity)

- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason;
- (void)endActivity:(id<NSObject>)activity;

@end

NS_ASSUME_NONNULL_END
