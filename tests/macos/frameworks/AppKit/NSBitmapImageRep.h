#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSUInteger, NSBitmapImageFileType) { NSBitmapImageFileTypeJPEG = 3 };

typedef NSString* NSBitmapImageRepPropertyKey NS_TYPED_ENUM;
// An NSNumber from 0.0, the most compressed, to 1.0.
extern "C" NSBitmapImageRepPropertyKey const NSImageCompressionFactor;

@interface NSImageRep : NSObject
@end

@interface NSBitmapImageRep : NSImageRep
- (instancetype)initWithCGImage:(CGImageRef)cgImage;
- (nullable NSData*)representationUsingType:(NSBitmapImageFileType)storageType
                                 properties:
                                     (NSDictionary<NSBitmapImageRepPropertyKey, id>*)properties;
@end

// For what only runs on a Mac; the stand-ins have none of it.
@interface NSColor : NSObject
@property(readonly) CGFloat redComponent;
@property(readonly) CGFloat greenComponent;
@property(readonly) CGFloat blueComponent;
@end

@interface NSBitmapImageRep (Decoding)
@property NSInteger pixelsWide;
@property NSInteger pixelsHigh;
+ (nullable instancetype)imageRepWithData:(NSData*)data;
- (nullable NSColor*)colorAtX:(NSInteger)x y:(NSInteger)y;
@end

NS_ASSUME_NONNULL_END
