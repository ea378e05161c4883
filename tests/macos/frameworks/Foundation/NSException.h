#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSString.h>

NS_ASSUME_NONNULL_BEGIN

@class NSDictionary<KeyType, ObjectType>;

typedef NSString* NSExceptionName NS_TYPED_EXTENSIBLE_ENUM;

FOUNDATION_EXPORT NSExceptionName const NSGenericException;
FOUNDATION_EXPORT NSExceptionName const NSRangeException;
FOUNDATION_EXPORT NSExceptionName const NSInvalidArgumentException;
FOUNDATION_EXPORT NSExceptionName const NSInternalInconsistencyException;
FOUNDATION_EXPORT NSExceptionName const NSFileHandleOperationException;

__attribute__((objc_exception))
@interface NSException : NSObject<NSCopying, NSSecureCoding>

+ (NSException*)exceptionWithName:(NSExceptionName)name
                           reason:(nullable NSString*)reason
                         userInfo:(nullable NSDictionary*)userInfo;
- (instancetype)initWithName:(NSExceptionName)aName
                      reason:(nullable NSString*)aReason
                    userInfo:(nullable NSDictionary*)aUserInfo NS_DESIGNATED_INITIALIZER;
@property(readonly, copy) NSExceptionName name;
@property(nullable, readonly, copy) NSString* reason;
@property(nullable, readonly, copy) NSDictionary* userInfo;
- (void)raise;

@end

@interface NSException (NSExceptionRaisingConveniences)

+ (void)raise:(NSExceptionName)name format:(NSString*)format, ... NS_FORMAT_FUNCTION(2, 3);

@end

// Simpler than Foundation's, which go through an assertion handler, with the same outcome.
#define NSAssert(condition, ...)                                               \
  do {                                                                         \
    if (!(condition)) {                                                        \
      [NSException raise:NSInternalInconsistencyException format:__VA_ARGS__]; \
    }                                                                          \
  } while (0)
#define NSCAssert(condition, ...) NSAssert(condition, __VA_ARGS__)
#define NSParameterAssert(condition) \
  NSAssert((condition), @"Invalid parameter not satisfying: %@", @ #condition)

NS_ASSUME_NONNULL_END
