#import <CoreImage/CIContext.h>

#import <CoreGraphics/StandInImage.h>
#import <CoreImage/CoreImageState.h>
#import <CoreImage/StandInCIImage.h>

#include <sstream>
#include <utility>

#include "tests/macos/standin/CallLog.h"

CIContextOption const kCIContextCacheIntermediates = @"kCIContextCacheIntermediates";

namespace {

// The option as it is written in the call log; what Core Image would not understand is a violation.
std::string cacheOption(id value) {
  if (![value isKindOfClass:[NSNumber class]]) {
    standin::violation("kCIContextCacheIntermediates is no number");
    return {};
  }
  return static_cast<NSNumber*>(value).boolValue ? "true" : "false";
}

std::vector<std::string> describe(NSDictionary<CIContextOption, id>* options) {
  std::vector<std::string> described;
  for (NSString* key in options) {
    if (![key isEqualToString:kCIContextCacheIntermediates]) {
      standin::violation("unknown option of a CIContext: " + std::string(key.UTF8String));
      continue;
    }
    described.push_back("kCIContextCacheIntermediates=" + cacheOption(options[key]));
  }
  return described;
}

std::string describe(CGRect rect) {
  std::ostringstream text;
  text << rect.origin.x << ' ' << rect.origin.y << ' ' << rect.size.width << ' '
       << rect.size.height;
  return text.str();
}

bool isPartOf(CGRect rect, CGRect whole) {
  return rect.size.width >= 1 && rect.size.height >= 1 && rect.origin.x >= whole.origin.x &&
         rect.origin.y >= whole.origin.y &&
         rect.origin.x + rect.size.width <= whole.origin.x + whole.size.width &&
         rect.origin.y + rect.size.height <= whole.origin.y + whole.size.height;
}

// Core Image counts rows from the bottom, a bitmap from the top.
StandInImage* renderedPart(StandInPixelBuffer* source, CGRect rect) {
  const auto left = static_cast<std::size_t>(rect.origin.x);
  const auto width = static_cast<std::size_t>(rect.size.width);
  const auto height = static_cast<std::size_t>(rect.size.height);
  const auto top = source.height - static_cast<std::size_t>(rect.origin.y) - height;
  std::vector<std::uint8_t> pixels;
  pixels.reserve(width * height * 4);
  for (std::size_t y = top; y < top + height; ++y) {
    for (std::size_t x = left; x < left + width; ++x) {
      const std::uint8_t* pixel = [source pixelAtX:x y:y];
      pixels.insert(pixels.end(), {pixel[2], pixel[1], pixel[0], pixel[3]});
    }
  }
  return [[StandInImage alloc] initWithWidth:width height:height pixels:std::move(pixels)];
}

}  // namespace

@implementation CIContext

+ (CIContext*)contextWithOptions:(NSDictionary<CIContextOption, id>*)options {
  standin::record("+[CIContext contextWithOptions:]", describe(options));
  return [[CIContext alloc] init];
}

- (CGImageRef)createCGImage:(CIImage*)image fromRect:(CGRect)fromRect {
  standin::record("-[CIContext createCGImage:fromRect:]", {describe(fromRect)});
  if (image == nil || !isPartOf(fromRect, image.extent)) {
    standin::violation("-[CIContext createCGImage:fromRect:] of no part of an image");
    return nullptr;
  }
  if (standin::coreImageState().failsToRender) return nullptr;
  return (__bridge_retained CGImageRef)renderedPart(image.source, fromRect);
}

@end
