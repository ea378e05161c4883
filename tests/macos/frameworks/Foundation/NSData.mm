#import "tests/macos/frameworks/Foundation/Support.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include "tests/macos/frameworks/Foundation/FileSupport.h"

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

namespace {

void requireRange(NSUInteger end, NSUInteger length, const char* operation) {
  if (end > length) {
    standin::raiseRange(std::string("-[NSData ") + operation + "]: range exceeds data length " +
                        std::to_string(length));
  }
}

}  // namespace

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

- (id)mutableCopyWithZone:(NSZone*)zone {
  return [[NSMutableData alloc] initWithData:self];
}

- (BOOL)isEqual:(id)object {
  return [object isKindOfClass:[NSData class]] && [self isEqualToData:object];
}

- (NSUInteger)hash {
  return std::hash<std::string_view>()({static_cast<const char*>(self.bytes), self.length});
}

- (Class)standInTypeClass {
  return [NSData class];
}

@end

@implementation NSData (NSExtendedData)

- (void)getBytes:(void*)buffer length:(NSUInteger)length {
  const auto count = std::min(length, self.length);
  if (count > 0) std::memcpy(buffer, self.bytes, count);
}

- (BOOL)isEqualToData:(NSData*)other {
  if (self.length != other.length) return NO;
  return self.length == 0 || std::memcmp(self.bytes, other.bytes, self.length) == 0;
}

- (NSData*)subdataWithRange:(NSRange)range {
  requireRange(NSMaxRange(range), self.length, "subdataWithRange:");
  return [NSData dataWithBytes:static_cast<const unsigned char*>(self.bytes) + range.location
                        length:range.length];
}

- (BOOL)writeToURL:(NSURL*)url
           options:(NSDataWritingOptions)writeOptionsMask
             error:(NSError**)errorPtr {
  const std::string_view bytes(static_cast<const char*>(self.bytes), self.length);
  const bool isAtomic = (writeOptionsMask & NSDataWritingAtomic) != 0;
  return standin::succeeded(standin::writeFile(standin::utf8Of(url.path), bytes, isAtomic),
                            errorPtr);
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

+ (instancetype)dataWithData:(NSData*)data {
  return [self dataWithBytes:data.bytes length:data.length];
}

- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length {
  self = [self init];
  const auto* first = static_cast<const unsigned char*>(bytes);
  if (length > 0) ownBytes.assign(first, first + length);
  return self;
}

- (instancetype)initWithBytesNoCopy:(void*)bytes
                             length:(NSUInteger)length
                       freeWhenDone:(BOOL)freeWhenDone {
  if (!freeWhenDone) return [self initWithBytesNoCopy:bytes length:length deallocator:nil];
  return [self initWithBytesNoCopy:bytes
                            length:length
                       deallocator:^(void* memory, NSUInteger) {
                         std::free(memory);
                       }];
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

- (instancetype)initWithData:(NSData*)data {
  return [self initWithBytes:data.bytes length:data.length];
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

// A mutable one cannot grow in memory of others, so it takes the bytes over.
- (instancetype)initWithBytesNoCopy:(void*)bytes
                             length:(NSUInteger)length
                        deallocator:(void (^)(void*, NSUInteger))newDeallocator {
  self = [self initWithBytes:bytes length:length];
  if (newDeallocator != nil) newDeallocator(bytes, length);
  return self;
}

@end

@implementation NSMutableData (NSExtendedMutableData)

- (void)appendBytes:(const void*)bytes length:(NSUInteger)length {
  const auto* first = static_cast<const unsigned char*>(bytes);
  if (length > 0) ownBytes.insert(ownBytes.end(), first, first + length);
}

- (void)appendData:(NSData*)other {
  [self appendBytes:other.bytes length:other.length];
}

@end

@implementation NSMutableData (NSMutableDataCreation)

+ (instancetype)dataWithLength:(NSUInteger)length {
  NSMutableData* data = [self data];
  data.length = length;
  return data;
}

+ (instancetype)dataWithCapacity:(NSUInteger)capacity {
  return [self data];
}

@end
