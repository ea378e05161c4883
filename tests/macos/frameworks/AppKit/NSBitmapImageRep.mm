#import <AppKit/NSBitmapImageRep.h>
#import <AppKit/NSBitmapImageRepControl.h>
#import <CoreGraphics/StandInImage.h>

#include <turbojpeg.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <sstream>
#include <string>

#include "tests/macos/standin/CallLog.h"

NSBitmapImageRepPropertyKey const NSImageCompressionFactor = @"NSImageCompressionFactor";

namespace {

std::atomic<bool> failsToCreate = false;
std::atomic<bool> failsToEncode = false;
std::atomic<const void*> newest = nullptr;

// The factor if the properties are nothing but a proper one; anything else is a violation.
NSNumber* compressionFactorOf(NSDictionary<NSBitmapImageRepPropertyKey, id>* properties) {
  for (NSString* key in properties) {
    if ([key isEqualToString:NSImageCompressionFactor]) continue;
    standin::violation("unknown property of an image file: " + std::string(key.UTF8String));
  }
  id factor = properties[NSImageCompressionFactor];
  if (![factor isKindOfClass:[NSNumber class]]) {
    standin::violation("NSImageCompressionFactor is no number");
    return nil;
  }
  NSNumber* number = factor;
  if (!(number.doubleValue >= 0 && number.doubleValue <= 1)) {
    standin::violation("NSImageCompressionFactor is not within 0.0 to 1.0");
    return nil;
  }
  return number;
}

std::string describe(double factor) {
  std::ostringstream text;
  text << factor;
  return text.str();
}

int qualityFrom(double factor) { return std::max(1, static_cast<int>(std::lround(factor * 100))); }

struct DestroyCompressor {
  void operator()(void* compressor) const { tjDestroy(compressor); }
};

NSData* encodedJpeg(StandInImage* image, int quality) {
  const std::unique_ptr<void, DestroyCompressor> compressor(tjInitCompress());
  unsigned char* file = nullptr;
  unsigned long length = 0;  // NOLINT: the library's own type
  const int failed = tjCompress2(compressor.get(), image.pixels, static_cast<int>(image.width), 0,
                                 static_cast<int>(image.height), TJPF_RGBA, &file, &length,
                                 TJSAMP_420, quality, 0);
  if (failed != 0) {
    tjFree(file);
    return nil;
  }
  return [[NSData alloc] initWithBytesNoCopy:file
                                      length:length
                                 deallocator:^(void* bytes, NSUInteger) {
                                   tjFree(static_cast<unsigned char*>(bytes));
                                 }];
}

}  // namespace

@implementation NSImageRep
@end

@implementation NSBitmapImageRep {
  StandInImage* _image;
}

- (instancetype)initWithCGImage:(CGImageRef)cgImage {
  standin::record("-[NSBitmapImageRep initWithCGImage:]");
  StandInImage* image = [StandInImage objectFor:cgImage
                                      operation:"-[NSBitmapImageRep initWithCGImage:]"];
  self = [super init];
  if (image == nil || failsToCreate) return nil;
  if (self) _image = image;
  return self;
}

- (NSData*)representationUsingType:(NSBitmapImageFileType)storageType
                        properties:(NSDictionary<NSBitmapImageRepPropertyKey, id>*)properties {
  NSNumber* factor = compressionFactorOf(properties);
  standin::record(
      "-[NSBitmapImageRep representationUsingType:properties:]",
      {std::to_string(storageType), "NSImageCompressionFactor=" + describe(factor.doubleValue)});
  if (storageType != NSBitmapImageFileTypeJPEG) {
    standin::violation("this stand-in writes JPEG files only");
    return nil;
  }
  if (factor == nil || failsToEncode) return nil;
  NSData* file = encodedJpeg(_image, qualityFrom(factor.doubleValue));
  newest = file.bytes;
  return file;
}

@end

namespace standin {

void failBitmapCreation() { failsToCreate = true; }

void failBitmapEncoding() { failsToEncode = true; }

const void* newestRepresentation() { return newest; }

void resetBitmaps() {
  failsToCreate = false;
  failsToEncode = false;
  newest = nullptr;
}

}  // namespace standin
