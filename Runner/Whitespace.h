#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvin {

// White space as Foundation's CharacterSet.whitespacesAndNewlines has it: 26 code points, the
// zero width space (U+200B) among them. Text is UTF-8; bytes that are not valid UTF-8 are kept and
// never count as white space.

// The text without the white space at both its ends.
[[nodiscard]] std::string_view trimmedWhitespace(std::string_view utf8);

// The runs between white space, in order; no run is empty.
[[nodiscard]] std::vector<std::string_view> splitAtWhitespace(std::string_view utf8);

}  // namespace quorvin
