#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <CoreImage/CIImage.h>
#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSString* CIContextOption NS_TYPED_ENUM;
extern "C" CIContextOption const kCIContextCacheIntermediates;  // an NSNumber holding a boolean

@interface CIContext : NSObject
+ (CIContext*)contextWithOptions:(nullable NSDictionary<CIContextOption, id>*)options;
- (nullable CGImageRef)createCGImage:(CIImage*)image fromRect:(CGRect)fromRect CF_RETURNS_RETAINED;
@end

NS_ASSUME_NONNULL_END
