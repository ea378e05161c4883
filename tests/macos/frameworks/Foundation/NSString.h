#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSRange.h>

NS_ASSUME_NONNULL_BEGIN

@class NSData;

typedef unsigned short unichar;

typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF8StringEncoding = 4 };

typedef NS_OPTIONS(NSUInteger, NSStringEnumerationOptions) {
  NSStringEnumerationByComposedCharacterSequences = 2,
  NSStringEnumerationSubstringNotRequired = 1UL << 9,
};

// Immutable UTF-16 text; unpaired surrogates and NUL characters included. UTF-8 is the only
// encoding; another one is a violation.
@interface NSString : NSObject <NSCopying>

@property(readonly) NSUInteger length;
- (unichar)characterAtIndex:(NSUInteger)index;

@end

@interface NSString (NSStringExtensionMethods)

+ (instancetype)stringWithCharacters:(const unichar*)characters length:(NSUInteger)length;
+ (nullable instancetype)stringWithUTF8String:(const char*)nullTerminatedCString;
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)len
                              encoding:(NSStringEncoding)encoding;

@property(nullable, readonly) const char* UTF8String NS_RETURNS_INNER_POINTER;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding allowLossyConversion:(BOOL)lossy;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding;
@property(readonly, copy) NSString* decomposedStringWithCanonicalMapping;
- (BOOL)isEqualToString:(NSString*)aString;

// The ranges of composed character sequences, in order, only; anything else is a violation.
- (void)enumerateSubstringsInRange:(NSRange)range
                           options:(NSStringEnumerationOptions)opts
                        usingBlock:(void(NS_NOESCAPE ^)(NSString* _Nullable substring,
                                                        NSRange substringRange,
                                                        NSRange enclosingRange, BOOL* stop))block;

@end

NS_ASSUME_NONNULL_END
