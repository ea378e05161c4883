#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSRange.h>

NS_ASSUME_NONNULL_BEGIN

@class NSError, NSString, NSURL;

typedef NSUInteger NSDataReadingOptions;
typedef NS_OPTIONS(NSUInteger, NSDataWritingOptions) { NSDataWritingAtomic = 1UL << 0 };

@interface NSData : NSObject <NSCopying>

@property(readonly) NSUInteger length;
@property(readonly) const void* bytes NS_RETURNS_INNER_POINTER;

@end

@interface NSData (NSExtendedData)

- (void)getBytes:(void*)buffer length:(NSUInteger)length;
- (NSData*)subdataWithRange:(NSRange)range;
// Atomically only; anything else is a violation.
- (BOOL)writeToURL:(NSURL*)url
           options:(NSDataWritingOptions)writeOptionsMask
             error:(NSError* _Nullable* _Nullable)errorPtr;

@end

@interface NSData (NSDataCreation)

+ (instancetype)data;
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
+ (nullable instancetype)dataWithContentsOfURL:(NSURL*)url
                                       options:(NSDataReadingOptions)readOptionsMask
                                         error:(NSError* _Nullable* _Nullable)errorPtr;
- (instancetype)initWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
- (instancetype)initWithBytesNoCopy:(void*)bytes
                             length:(NSUInteger)length
                        deallocator:(nullable void (^)(void* bytes, NSUInteger length))deallocator;

@end

@interface NSMutableData : NSData

@property(readonly) void* mutableBytes NS_RETURNS_INNER_POINTER;
@property NSUInteger length;

@end

@interface NSMutableData (NSExtendedMutableData)

- (void)appendBytes:(const void*)bytes length:(NSUInteger)length;

@end

@interface NSMutableData (NSMutableDataCreation)

+ (nullable instancetype)dataWithLength:(NSUInteger)length;

@end

NS_ASSUME_NONNULL_END
