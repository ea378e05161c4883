#pragma once

#include <string_view>

namespace quorvin {

// True for well-formed UTF-8 (RFC 3629): shortest forms only, no surrogates, nothing above
// U+10FFFF. The empty text is well formed.
[[nodiscard]] bool isUtf8(std::string_view text);

}  // namespace quorvin
