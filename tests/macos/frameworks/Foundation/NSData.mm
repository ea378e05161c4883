#import "tests/macos/frameworks/Foundation/Support.h"

#include <cstring>
#include <vector>

#include "tests/macos/frameworks/Foundation/FileSupport.h"
#include "tests/macos/standin/CallLog.h"

typedef void (^Deallocator)(void* bytes, NSUInteger length);

@interface NSData () {
 @protected
  std::vector<unsigned char> ownBytes;
  // Memory that somebody else made, and how it ends.
  void* foreignBytes;
  NSUInteger foreignLength;
  Deallocator deallocator;
}
@end

@implementation NSData

- (void)dealloc {
  if (deallocator != nil) {
    deallocator(foreignBytes, foreignLength);
    [deallocator release];
  }
  [super dealloc];
}

- (NSUInteger)length {
  return foreignBytes == nullptr ? ownBytes.size() : foreignLength;
}

- (const void*)bytes {
  if (foreignBytes != nullptr) return foreignBytes;
  return ownBytes.empty() ? nullptr : ownBytes.data();
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (BOOL)isEqual:(id)object {
  if (![object isKindOfClass:[NSData class]] || self.length != [object length]) return NO;
  return self.length == 0 || std::memcmp(self.bytes, [object bytes], self.length) == 0;
}

@end

@implementation NSData (NSExtendedData)

- (void)getBytes:(void*)buffer length:(NSUInteger)length {
  const auto count = std::min(length, self.length);
  if (count > 0) std::memcpy(buffer, self.bytes, count);
}

- (NSData*)subdataWithRange:(NSRange)range {
  if (NSMaxRange(range) > self.length) {
    standin::raiseRange("-[NSData subdataWithRange:]: range exceeds data length " +
                        std::to_string(self.length));
  }
  return [NSData dataWithBytes:static_cast<const unsigned char*>(self.bytes) + range.location
                        length:range.length];
}

- (BOOL)writeToURL:(NSURL*)url
           options:(NSDataWritingOptions)writeOptionsMask
             error:(NSError**)errorPtr {
  const std::string_view bytes(static_cast<const char*>(self.bytes), self.length);
  if (writeOptionsMask != NSDataWritingAtomic) standin::violation("files are written atomically");
  return standin::succeeded(standin::writeFile(standin::utf8Of(url.path), bytes), errorPtr);
}

@end

@implementation NSData (NSDataCreation)

+ (instancetype)data {
  return autoreleased([[self alloc] init]);
}

+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length {
  return autoreleased([[self alloc] initWithBytes:bytes length:length]);
}

+ (instancetype)dataWithContentsOfURL:(NSURL*)url
                              options:(NSDataReadingOptions)readOptionsMask
                                error:(NSError**)errorPtr {
  std::string bytes;
  if (!standin::succeeded(standin::readFile(standin::utf8Of(url.path), bytes), errorPtr))
    return nil;
  return [self dataWithBytes:bytes.data() length:bytes.size()];
}

- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length {
  self = [self init];
  const auto* first = static_cast<const unsigned char*>(bytes);
  if (length > 0) ownBytes.assign(first, first + length);
  return self;
}

- (instancetype)initWithBytesNoCopy:(void*)bytes
                             length:(NSUInteger)length
                        deallocator:(void (^)(void*, NSUInteger))newDeallocator {
  self = [self init];
  foreignBytes = bytes;
  foreignLength = length;
  deallocator = [newDeallocator copy];
  return self;
}

@end

@implementation NSMutableData

@dynamic length;

- (NSUInteger)length {
  return ownBytes.size();
}

- (void)setLength:(NSUInteger)length {
  ownBytes.resize(length);
}

- (void*)mutableBytes {
  return ownBytes.data();
}

- (const void*)bytes {
  return ownBytes.data();
}

- (id)copyWithZone:(NSZone*)zone {
  return [[NSData alloc] initWithBytes:ownBytes.data() length:ownBytes.size()];
}
@end

@implementation NSMutableData (NSExtendedMutableData)

- (void)appendBytes:(const void*)bytes length:(NSUInteger)length {
  const auto* first = static_cast<const unsigned char*>(bytes);
  if (length > 0) ownBytes.insert(ownBytes.end(), first, first + length);
}

@end

@implementation NSMutableData (NSMutableDataCreation)

+ (instancetype)dataWithLength:(NSUInteger)length {
  NSMutableData* data = [self data];
  data.length = length;
  return data;
}

@end
