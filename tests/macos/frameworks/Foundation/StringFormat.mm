#import "tests/macos/frameworks/Foundation/Support.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "tests/macos/frameworks/Foundation/Unicode.h"
#include "tests/macos/standin/CallLog.h"

namespace standin {
namespace {

// A list of arguments, passed on by address.
struct Arguments {
  va_list list;
};

// One conversion of a format, such as "%-5.2f".
struct Conversion {
  std::string flags;  // with width and precision, written out
  bool isLong = false;
  char kind = 0;
};

Conversion parse(const std::string& format, std::size_t& index, Arguments& arguments) {
  Conversion conversion;
  for (; index < format.size(); ++index) {
    const char character = format[index];
    if (character == '*') {
      conversion.flags += std::to_string(va_arg(arguments.list, int));
    } else if (std::strchr("lqzjt", character) != nullptr) {
      conversion.isLong = true;
    } else if (character == 'h') {
      // Shorter arguments arrive as int, and are printed as their value.
    } else if (std::strchr("0123456789.-+ #", character) != nullptr) {
      conversion.flags += character;
    } else {
      conversion.kind = character;
      ++index;
      break;
    }
  }
  return conversion;
}

template <typename T>
std::u16string printed(const std::string& format, T value) {
  std::array<char, 512> buffer{};
  const auto length = std::snprintf(buffer.data(), buffer.size(), format.c_str(), value);
  if (length < 0 || static_cast<std::size_t>(length) >= buffer.size()) {
    violation("a formatted value is too long: " + format);
  }
  return utf16FromUtf8(buffer.data()).value();
}

std::u16string printedInteger(const Conversion& conversion, Arguments& arguments) {
  const auto format = "%" + conversion.flags + (conversion.isLong ? "l" : "") + conversion.kind;
  if (conversion.isLong) return printed(format, va_arg(arguments.list, long));
  return printed(format, va_arg(arguments.list, int));
}

std::u16string printedText(const Conversion& conversion, Arguments& arguments) {
  const char* text = va_arg(arguments.list, const char*);
  const auto precision = conversion.flags.find('.');
  if (text == nullptr) return u"(null)";
  // With a precision the text need not end in a NUL.
  if (precision == std::string::npos) return utf16FromUtf8(text).value_or(u"");
  const auto limit = std::stoul("0" + conversion.flags.substr(precision + 1));
  return utf16FromUtf8(std::string_view(text, strnlen(text, limit))).value_or(u"");
}

std::u16string converted(const Conversion& conversion, Arguments& arguments) {
  switch (conversion.kind) {
    case '@':
      return descriptionOf(va_arg(arguments.list, id));
    case '%':
      return u"%";
    case 's':
      return printedText(conversion, arguments);
    case 'c':
    case 'C':
      return {static_cast<char16_t>(va_arg(arguments.list, int))};
    case 'p':
      return printed("%" + conversion.flags + "p", va_arg(arguments.list, void*));
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o':
      return printedInteger(conversion, arguments);
    case 'f':
    case 'e':
    case 'g':
      return printed("%" + conversion.flags + conversion.kind, va_arg(arguments.list, double));
    default:
      violation(std::string("an unknown conversion in a format: %") + conversion.kind);
      return {};
  }
}

}  // namespace

std::u16string descriptionOf(id object) {
  return object == nil ? u"(null)" : unitsOf([object description]);
}

std::u16string formatted(NSString* format, va_list list) {
  if (format == nil) raiseInvalidArgument("-[NSString initWithFormat:]: nil argument");
  Arguments arguments{};
  va_copy(arguments.list, list);
  const auto text = utf8Of(format);
  std::u16string result;
  for (std::size_t index = 0; index < text.size();) {
    const auto percent = std::min(text.find('%', index), text.size());
    result += utf16FromUtf8(text.substr(index, percent - index)).value();
    index = percent;
    if (index == text.size()) break;
    ++index;
    result += converted(parse(text, index, arguments), arguments);
  }
  va_end(arguments.list);
  return result;
}

}  // namespace standin

void NSLog(NSString* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const auto text = standin::repairedUtf8(standin::formatted(format, arguments));
  va_end(arguments);
  standin::record("NSLog", {text});
}
