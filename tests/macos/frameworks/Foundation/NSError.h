#pragma once

#import <Foundation/NSDictionary.h>
#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

typedef NSString* NSErrorDomain;
typedef NSString* NSErrorUserInfoKey;

FOUNDATION_EXPORT NSErrorDomain const NSCocoaErrorDomain;

FOUNDATION_EXPORT NSErrorUserInfoKey const NSLocalizedDescriptionKey;

@interface NSError : NSObject

- (instancetype)initWithDomain:(NSErrorDomain)domain
                          code:(NSInteger)code
                      userInfo:(nullable NSDictionary<NSErrorUserInfoKey, id>*)dict;
+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(nullable NSDictionary<NSErrorUserInfoKey, id>*)dict;
@property(readonly, copy) NSErrorDomain domain;
@property(readonly) NSInteger code;
@property(readonly, copy) NSDictionary<NSErrorUserInfoKey, id>* userInfo;
@property(readonly, copy) NSString* localizedDescription;

@end

// Codes of NSCocoaErrorDomain.
enum : NSInteger {
  NSFileNoSuchFileError = 4,
  NSFileReadUnknownError = 256,
  NSFileReadNoSuchFileError = 260,
  NSFileWriteUnknownError = 512,
  NSFileWriteFileExistsError = 516,
  NSPropertyListWriteInvalidError = 3852,
};

NS_ASSUME_NONNULL_END
