#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSData, NSError;

@interface NSFileHandle : NSObject

- (BOOL)writeData:(NSData*)data error:(NSError* _Nullable* _Nullable)error;

@end

@interface NSFileHandle (NSFileHandleCreation)

@property(class, readonly, strong) NSFileHandle* fileHandleWithStandardOutput;
@property(class, readonly, strong) NSFileHandle* fileHandleWithStandardError;
@property(class, readonly, strong) NSFileHandle* fileHandleWithNullDevice;

@end

NS_ASSUME_NONNULL_END
