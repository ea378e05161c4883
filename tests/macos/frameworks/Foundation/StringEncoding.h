#pragma once

#import <Foundation/NSString.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace standin {

// Units of two bytes each, in the machine's order.
[[nodiscard]] std::u16string unitsFromBytes(const void* bytes, std::size_t count);
// Nothing when the bytes are no text of the encoding.
[[nodiscard]] std::optional<std::u16string> decoded(const void* bytes, NSUInteger count,
                                                    NSStringEncoding encoding);
// Nothing when the encoding cannot say the text, unless it may lose something.
[[nodiscard]] std::optional<std::string> encoded(std::u16string_view units,
                                                 NSStringEncoding encoding, bool lossy);

}  // namespace standin
