#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>, NSError, NSString, NSURL;

@interface NSTask : NSObject

@property(nullable, copy) NSURL* executableURL;
@property(nullable, copy) NSArray<NSString*>* arguments;
@property(nullable, retain) id standardOutput;
@property(nullable, retain) id standardError;
- (BOOL)launchAndReturnError:(NSError* _Nullable* _Nullable)error;
@property(readonly) int terminationStatus;

@end

@interface NSTask (NSTaskConveniences)

- (void)waitUntilExit;

@end

NS_ASSUME_NONNULL_END
