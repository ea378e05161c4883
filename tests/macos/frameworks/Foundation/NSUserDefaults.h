#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

// In memory. Values other than property-list types are a violation.
@interface NSUserDefaults : NSObject

@property(class, readonly, strong) NSUserDefaults* standardUserDefaults;

- (nullable id)objectForKey:(NSString*)defaultName;
- (void)setObject:(nullable id)value forKey:(NSString*)defaultName;
- (void)removeObjectForKey:(NSString*)defaultName;
- (nullable NSString*)stringForKey:(NSString*)defaultName;
- (BOOL)boolForKey:(NSString*)defaultName;
- (void)setBool:(BOOL)value forKey:(NSString*)defaultName;
- (BOOL)synchronize;

@end

NS_ASSUME_NONNULL_END
