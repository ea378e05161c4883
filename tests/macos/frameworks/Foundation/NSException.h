#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSString.h>

NS_ASSUME_NONNULL_BEGIN

@class NSDictionary<KeyType, ObjectType>;

typedef NSString* NSExceptionName NS_TYPED_EXTENSIBLE_ENUM;

FOUNDATION_EXPORT NSExceptionName const NSRangeException;
FOUNDATION_EXPORT NSExceptionName const NSInvalidArgumentException;

__attribute__((objc_exception))
@interface NSException : NSObject

- (instancetype)initWithName:(NSExceptionName)aName
                      reason:(nullable NSString*)aReason
                    userInfo:(nullable NSDictionary*)aUserInfo;
@property(readonly, copy) NSExceptionName name;
@property(nullable, readonly, copy) NSString* reason;
@property(nullable, readonly, copy) NSDictionary* userInfo;

@end

NS_ASSUME_NONNULL_END
