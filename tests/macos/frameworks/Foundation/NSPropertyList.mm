#import "tests/macos/frameworks/Foundation/Support.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "tests/macos/standin/CallLog.h"

// Writes the XML format as Foundation does: tabs, keys in the order of their UTF-16 units.

namespace {

constexpr auto header = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                        "<plist version=\"1.0\">\n";

// What no property list can hold.
struct Unwritable {};

std::string escaped(NSString* text) {
  std::string safe;
  for (const char character : standin::utf8Of(text)) {
    switch (character) {
      case '&':
        safe += "&amp;";
        break;
      case '<':
        safe += "&lt;";
        break;
      case '>':
        safe += "&gt;";
        break;
      default:
        safe += character;
    }
  }
  return safe;
}

std::string base64(NSData* data) {
  constexpr auto digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto* bytes = static_cast<const unsigned char*>(data.bytes);
  std::string text;
  for (std::size_t start = 0; start < data.length; start += 3) {
    const auto count = std::min<std::size_t>(3, data.length - start);
    unsigned bits = 0;
    for (std::size_t index = 0; index < 3; ++index) {
      bits = bits << 8U | (index < count ? bytes[start + index] : 0U);
    }
    for (std::size_t index = 0; index < 4; ++index) {
      text += index <= count ? digits[bits >> (18 - 6 * index) & 63U] : '=';
    }
  }
  return text;
}

class Writer {
 public:
  void write(id value) {
    if ([value isKindOfClass:[NSString class]]) {
      line("<string>" + escaped(value) + "</string>");
    } else if ([value isKindOfClass:[NSNumber class]]) {
      writeNumber(value);
    } else if ([value isKindOfClass:[NSData class]]) {
      writeData(value);
    } else if ([value isKindOfClass:[NSArray class]]) {
      writeArray(value);
    } else if ([value isKindOfClass:[NSDictionary class]]) {
      writeDictionary(value);
    } else {
      throw Unwritable();
    }
  }
  [[nodiscard]] const std::string& text() const { return written; }

 private:
  void line(const std::string& content) { written += std::string(depth, '\t') + content + "\n"; }
  void writeNumber(NSNumber* number) {
    CFTypeRef shared = (CFTypeRef)number;
    if (CFGetTypeID(shared) == CFBooleanGetTypeID())
      return line(number.boolValue ? "<true/>" : "<false/>");
    if (CFNumberIsFloatType((CFNumberRef)number)) {
      return line("<real>" + standin::utf8Of(number.stringValue) + "</real>");
    }
    line("<integer>" + standin::utf8Of(number.stringValue) + "</integer>");
  }
  void writeData(NSData* data) {
    const auto text = base64(data);
    const auto lineLength = 76 - 8 * std::min<std::size_t>(depth, 8);
    line("<data>");
    for (std::size_t start = 0; start < text.size(); start += lineLength) {
      line(text.substr(start, lineLength));
    }
    line("</data>");
  }
  void writeArray(NSArray* array) {
    if (array.count == 0) return line("<array/>");
    line("<array>");
    ++depth;
    for (id element in array) write(element);
    --depth;
    line("</array>");
  }
  void writeDictionary(NSDictionary* dictionary) {
    if (dictionary.count == 0) return line("<dict/>");
    line("<dict>");
    ++depth;
    for (NSString* key : sortedKeys(dictionary)) {
      line("<key>" + escaped(key) + "</key>");
      write([dictionary objectForKey:key]);
    }
    --depth;
    line("</dict>");
  }
  static std::vector<NSString*> sortedKeys(NSDictionary* dictionary) {
    std::vector<NSString*> keys;
    for (id key in dictionary) {
      if (![key isKindOfClass:[NSString class]]) throw Unwritable();
      keys.push_back(key);
    }
    std::ranges::sort(keys, {}, [](NSString* key) { return standin::unitsOf(key); });
    return keys;
  }

  std::string written;
  std::size_t depth = 0;
};

std::optional<std::string> xmlOf(id value) {
  Writer writer;
  try {
    writer.write(value);
  } catch (const Unwritable&) {
    return std::nullopt;
  }
  return header + writer.text() + "</plist>\n";
}

}  // namespace

@implementation NSPropertyListSerialization

+ (NSData*)dataWithPropertyList:(id)plist
                         format:(NSPropertyListFormat)format
                        options:(NSPropertyListWriteOptions)opt
                          error:(NSError**)error {
  standin::record("+[NSPropertyListSerialization dataWithPropertyList:format:options:error:]",
                  {std::to_string(format), std::to_string(opt)});
  if (format != NSPropertyListXMLFormat_v1_0) standin::violation("not the XML format");
  if (opt != 0) standin::violation("options of a property list's writer must be 0");
  const auto xml = xmlOf(plist);
  if (xml) return [NSData dataWithBytes:xml->data() length:xml->size()];
  if (error != nullptr) {
    *error = [NSError errorWithDomain:NSCocoaErrorDomain
                                 code:NSPropertyListWriteInvalidError
                             userInfo:nil];
  }
  return nil;
}

@end
