#pragma once

#import <Foundation/NSGeometry.h>
#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

@interface NSValue : NSObject <NSCopying, NSSecureCoding>

@property(readonly) const char* objCType NS_RETURNS_INNER_POINTER;

@end

// As NSGeometry.h adds on macOS. Such values only.
@interface NSValue (NSValueGeometryExtensions)

+ (NSValue*)valueWithSize:(NSSize)size;
@property(readonly) NSSize sizeValue;

@end

// A boolean is one of the two objects behind kCFBooleanTrue and kCFBooleanFalse.
@interface NSNumber : NSValue

- (NSNumber*)initWithChar:(char)value;
- (NSNumber*)initWithUnsignedChar:(unsigned char)value;
- (NSNumber*)initWithShort:(short)value;
- (NSNumber*)initWithUnsignedShort:(unsigned short)value;
- (NSNumber*)initWithInt:(int)value;
- (NSNumber*)initWithUnsignedInt:(unsigned int)value;
- (NSNumber*)initWithLong:(long)value;
- (NSNumber*)initWithUnsignedLong:(unsigned long)value;
- (NSNumber*)initWithLongLong:(long long)value;
- (NSNumber*)initWithUnsignedLongLong:(unsigned long long)value;
- (NSNumber*)initWithFloat:(float)value;
- (NSNumber*)initWithDouble:(double)value;
- (NSNumber*)initWithBool:(BOOL)value;
- (NSNumber*)initWithInteger:(NSInteger)value;
- (NSNumber*)initWithUnsignedInteger:(NSUInteger)value;

@property(readonly) char charValue;
@property(readonly) unsigned char unsignedCharValue;
@property(readonly) short shortValue;
@property(readonly) unsigned short unsignedShortValue;
@property(readonly) int intValue;
@property(readonly) unsigned int unsignedIntValue;
@property(readonly) long longValue;
@property(readonly) unsigned long unsignedLongValue;
@property(readonly) long long longLongValue;
@property(readonly) unsigned long long unsignedLongLongValue;
@property(readonly) float floatValue;
@property(readonly) double doubleValue;
@property(readonly) BOOL boolValue;
@property(readonly) NSInteger integerValue;
@property(readonly) NSUInteger unsignedIntegerValue;

@property(readonly, copy) NSString* stringValue;
- (NSComparisonResult)compare:(NSNumber*)otherNumber;
- (BOOL)isEqualToNumber:(NSNumber*)number;

@end

@interface NSNumber (NSNumberCreation)

+ (NSNumber*)numberWithChar:(char)value;
+ (NSNumber*)numberWithUnsignedChar:(unsigned char)value;
+ (NSNumber*)numberWithShort:(short)value;
+ (NSNumber*)numberWithUnsignedShort:(unsigned short)value;
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value;
+ (NSNumber*)numberWithLong:(long)value;
+ (NSNumber*)numberWithUnsignedLong:(unsigned long)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value;
+ (NSNumber*)numberWithFloat:(float)value;
+ (NSNumber*)numberWithDouble:(double)value;
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithInteger:(NSInteger)value;
+ (NSNumber*)numberWithUnsignedInteger:(NSUInteger)value;

@end

@interface NSNull : NSObject <NSCopying, NSSecureCoding>
+ (NSNull*)null;
@end

NS_ASSUME_NONNULL_END
