#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Interface.h"

namespace quorvin {

// What the system knows about written language. Any thread.
class Text : public Interface {
 public:
  // The first `count` user-perceived characters (extended grapheme clusters, Unicode UAX #29) of
  // a UTF-8 text, or all of it when it has no more. An ill-formed byte counts as a character and is
  // handed back as it came.
  [[nodiscard]] virtual std::string prefix(std::string_view utf8, std::size_t count) = 0;
};

}  // namespace quorvin
