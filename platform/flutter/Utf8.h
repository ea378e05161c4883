#pragma once

#include <cstddef>
#include <string_view>

namespace quorvin {

// Bytes of the well-formed character that the text begins with (RFC 3629: shortest forms only, no
// surrogates, nothing above U+10FFFF): 1 to 4, or 0 when it is empty or begins with an ill-formed
// byte.
[[nodiscard]] std::size_t utf8CharacterLength(std::string_view text);

// Whether the text is made of such characters alone, as the empty text is.
[[nodiscard]] bool isUtf8(std::string_view text);

}  // namespace quorvin
