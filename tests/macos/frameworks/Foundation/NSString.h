#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSRange.h>

NS_ASSUME_NONNULL_BEGIN

@class NSData, NSError;

typedef unsigned short unichar;

typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding {
  NSASCIIStringEncoding = 1,
  NSUTF8StringEncoding = 4,
  NSISOLatin1StringEncoding = 5,
  NSUnicodeStringEncoding = 10,
  NSUTF16StringEncoding = NSUnicodeStringEncoding,
  NSUTF16LittleEndianStringEncoding = 0x94000100,
};

typedef NS_OPTIONS(NSUInteger, NSStringEnumerationOptions) {
  NSStringEnumerationByLines = 0,
  NSStringEnumerationByComposedCharacterSequences = 2,
  NSStringEnumerationReverse = 1UL << 8,
  NSStringEnumerationSubstringNotRequired = 1UL << 9,
};

// Immutable UTF-16 text; unpaired surrogates and NUL characters included.
@interface NSString : NSObject <NSCopying, NSMutableCopying, NSSecureCoding>

@property(readonly) NSUInteger length;
- (unichar)characterAtIndex:(NSUInteger)index;
- (instancetype)init NS_DESIGNATED_INITIALIZER;

@end

@interface NSString (NSStringExtensionMethods)

+ (instancetype)string;
+ (instancetype)stringWithString:(NSString*)string;
+ (instancetype)stringWithCharacters:(const unichar*)characters length:(NSUInteger)length;
+ (nullable instancetype)stringWithUTF8String:(const char*)nullTerminatedCString;
+ (instancetype)stringWithFormat:(NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);
- (instancetype)initWithString:(NSString*)aString;
- (instancetype)initWithCharacters:(const unichar*)characters length:(NSUInteger)length;
- (nullable instancetype)initWithUTF8String:(const char*)nullTerminatedCString;
- (instancetype)initWithFormat:(NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);
- (instancetype)initWithFormat:(NSString*)format
                     arguments:(va_list)argList NS_FORMAT_FUNCTION(1, 0);
- (nullable instancetype)initWithData:(NSData*)data encoding:(NSStringEncoding)encoding;
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)len
                              encoding:(NSStringEncoding)encoding;

@property(nullable, readonly) const char* UTF8String NS_RETURNS_INNER_POINTER;
- (void)getCharacters:(unichar*)buffer range:(NSRange)range;
- (NSUInteger)lengthOfBytesUsingEncoding:(NSStringEncoding)enc;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding allowLossyConversion:(BOOL)lossy;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding;

- (NSString*)substringFromIndex:(NSUInteger)from;
- (NSString*)substringToIndex:(NSUInteger)to;
- (NSString*)substringWithRange:(NSRange)range;
- (NSString*)stringByAppendingString:(NSString*)aString;
- (NSString*)stringByAppendingFormat:(NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);

- (NSComparisonResult)compare:(NSString*)string;
- (BOOL)isEqualToString:(NSString*)aString;
- (BOOL)hasPrefix:(NSString*)str;
- (BOOL)hasSuffix:(NSString*)str;
- (BOOL)containsString:(NSString*)str;
- (NSRange)rangeOfString:(NSString*)searchString;

- (NSRange)rangeOfComposedCharacterSequenceAtIndex:(NSUInteger)index;
- (NSRange)rangeOfComposedCharacterSequencesForRange:(NSRange)range;
// By composed character sequences, in order, only; anything else is a violation.
- (void)enumerateSubstringsInRange:(NSRange)range
                           options:(NSStringEnumerationOptions)opts
                        usingBlock:(void(NS_NOESCAPE ^)(NSString* _Nullable substring,
                                                        NSRange substringRange,
                                                        NSRange enclosingRange, BOOL* stop))block;

@property(readonly) double doubleValue;
@property(readonly) int intValue;
@property(readonly) NSInteger integerValue;
@property(readonly) long long longLongValue;
@property(readonly) BOOL boolValue;

@end

@interface NSString (NSStringPathExtensions)

@property(readonly, copy) NSString* lastPathComponent;
@property(readonly, copy) NSString* stringByDeletingLastPathComponent;
- (NSString*)stringByAppendingPathComponent:(NSString*)str;
@property(readonly, copy) NSString* pathExtension;
@property(readonly, copy) NSString* stringByStandardizingPath;
@property(readonly) const char* fileSystemRepresentation NS_RETURNS_INNER_POINTER;

@end

@interface NSMutableString : NSString
@end

@interface NSMutableString (NSMutableStringExtensionMethods)

- (void)appendString:(NSString*)aString;
- (void)appendFormat:(NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);

@end

NS_ASSUME_NONNULL_END
