#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSRange.h>

NS_ASSUME_NONNULL_BEGIN

@class NSError, NSString, NSURL;

typedef NS_OPTIONS(NSUInteger, NSDataReadingOptions) {
  NSDataReadingMappedIfSafe = 1UL << 0,
  NSDataReadingUncached = 1UL << 1,
};

typedef NS_OPTIONS(NSUInteger, NSDataWritingOptions) {
  NSDataWritingAtomic = 1UL << 0,
  NSDataWritingWithoutOverwriting = 1UL << 1,
};

@interface NSData : NSObject <NSCopying, NSMutableCopying, NSSecureCoding>

@property(readonly) NSUInteger length;
@property(readonly) const void* bytes NS_RETURNS_INNER_POINTER;

@end

@interface NSData (NSExtendedData)

- (void)getBytes:(void*)buffer length:(NSUInteger)length;
- (BOOL)isEqualToData:(NSData*)other;
- (NSData*)subdataWithRange:(NSRange)range;
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
+ (instancetype)dataWithData:(NSData*)data;
- (instancetype)initWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
- (instancetype)initWithBytesNoCopy:(void*)bytes
                             length:(NSUInteger)length
                       freeWhenDone:(BOOL)freeWhenDone;
- (instancetype)initWithBytesNoCopy:(void*)bytes
                             length:(NSUInteger)length
                        deallocator:(nullable void (^)(void* bytes, NSUInteger length))deallocator;
- (instancetype)initWithData:(NSData*)data;

@end

@interface NSMutableData : NSData

@property(readonly) void* mutableBytes NS_RETURNS_INNER_POINTER;
@property NSUInteger length;

@end

@interface NSMutableData (NSExtendedMutableData)

- (void)appendBytes:(const void*)bytes length:(NSUInteger)length;
- (void)appendData:(NSData*)other;

@end

@interface NSMutableData (NSMutableDataCreation)

+ (nullable instancetype)dataWithLength:(NSUInteger)length;
+ (nullable instancetype)dataWithCapacity:(NSUInteger)capacity;

@end

NS_ASSUME_NONNULL_END
