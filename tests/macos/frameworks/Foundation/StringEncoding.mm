#import "tests/macos/frameworks/Foundation/StringEncoding.h"

#include <algorithm>
#include <cstring>

#include "tests/macos/frameworks/Foundation/Unicode.h"
#include "tests/macos/standin/CallLog.h"

namespace standin {

std::u16string unitsFromBytes(const void* bytes, std::size_t count) {
  std::u16string units(count / sizeof(char16_t), u'\0');
  std::memcpy(units.data(), bytes, units.size() * sizeof(char16_t));
  return units;
}

std::optional<std::u16string> decoded(const void* bytes, NSUInteger count,
                                      NSStringEncoding encoding) {
  const std::string_view text(static_cast<const char*>(bytes), count);
  switch (encoding) {
    case NSUTF8StringEncoding:
      return utf16FromUtf8(text);
    case NSISOLatin1StringEncoding:
    case NSASCIIStringEncoding: {
      std::u16string units;
      for (const char byte : text) units += static_cast<unsigned char>(byte);
      const bool isAscii = std::ranges::all_of(units, [](char16_t unit) { return unit < 0x80; });
      if (encoding == NSASCIIStringEncoding && !isAscii) break;
      return units;
    }
    case NSUTF16LittleEndianStringEncoding:
    case NSUTF16StringEncoding:
      if (count % sizeof(char16_t) == 0) return unitsFromBytes(bytes, count);
      break;
    default:
      violation("an unknown text encoding was asked for: " + std::to_string(encoding));
  }
  return std::nullopt;
}

std::optional<std::string> encoded(std::u16string_view units, NSStringEncoding encoding,
                                   bool lossy) {
  switch (encoding) {
    case NSUTF8StringEncoding:
      return lossy ? repairedUtf8(units) : utf8FromUtf16(units);
    case NSUTF16LittleEndianStringEncoding:
      return std::string(reinterpret_cast<const char*>(units.data()),
                         units.size() * sizeof(char16_t));
    default:
      violation("an unknown text encoding was asked for: " + std::to_string(encoding));
      return std::nullopt;
  }
}

}  // namespace standin
