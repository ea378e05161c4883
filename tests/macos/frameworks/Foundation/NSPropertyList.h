#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSData, NSError;

typedef NS_ENUM(NSUInteger, NSPropertyListFormat) { NSPropertyListXMLFormat_v1_0 = 100 };

typedef NSUInteger NSPropertyListWriteOptions;

@interface NSPropertyListSerialization : NSObject

+ (nullable NSData*)dataWithPropertyList:(id)plist
                                  format:(NSPropertyListFormat)format
                                 options:(NSPropertyListWriteOptions)opt
                                   error:(NSError* _Nullable* _Nullable)error;

@end

NS_ASSUME_NONNULL_END
