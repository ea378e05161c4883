#pragma once

#include "platform/Text.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

class TextWorld {
 public:
  TextWorld() = default;
  TextWorld(const TextWorld&) = delete;
  TextWorld& operator=(const TextWorld&) = delete;
  virtual ~TextWorld() = default;

  virtual Text& text() = 0;
};

// Text in which every code point is a character of its own.
class TextContract : public Contract<TextWorld> {
 protected:
  std::string prefix(std::string_view utf8, std::size_t count) {
    return world->text().prefix(utf8, count);
  }
};

// Characters of several code points, and bytes that are none.
class TextCharactersContract : public TextContract {};

// Texts that take too long if every character costs more than its share.
class LargeTextContract : public TextContract {};

}  // namespace quorvin::contract
