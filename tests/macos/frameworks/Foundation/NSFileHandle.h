#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSData, NSError;

@interface NSFileHandle : NSObject <NSSecureCoding>

- (BOOL)writeData:(NSData*)data error:(NSError* _Nullable* _Nullable)error;

@end

@interface NSFileHandle (NSFileHandleCreation)

@property(class, readonly, strong) NSFileHandle* fileHandleWithStandardOutput;
@property(class, readonly, strong) NSFileHandle* fileHandleWithStandardError;
@property(class, readonly, strong) NSFileHandle* fileHandleWithNullDevice;

@end

@interface NSFileHandle (NSFileHandleDeprecated)

// Raises NSFileHandleOperationException when the write fails.
- (void)writeData:(NSData*)data;

@end

NS_ASSUME_NONNULL_END
