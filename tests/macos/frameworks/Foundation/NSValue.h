#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

// A boolean is one of the two objects behind kCFBooleanTrue and kCFBooleanFalse.
@interface NSNumber : NSObject <NSCopying>

@property(readonly) int intValue;
@property(readonly) unsigned int unsignedIntValue;
@property(readonly) long long longLongValue;
@property(readonly) double doubleValue;
@property(readonly) BOOL boolValue;

@property(readonly, copy) NSString* stringValue;
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
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value;
+ (NSNumber*)numberWithFloat:(float)value;
+ (NSNumber*)numberWithDouble:(double)value;
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithInteger:(NSInteger)value;

@end

@interface NSNull : NSObject <NSCopying>
+ (NSNull*)null;
@end

NS_ASSUME_NONNULL_END
