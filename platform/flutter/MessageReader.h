#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Value.h"
#include "platform/flutter/MessageFormat.h"

namespace quorvin {

// Reads the values of one message one after the other. `message` must outlive the reader, not
// the values. Every member throws CodecError for bytes that break the format; the reader is of no
// use after that.
class MessageReader {
 public:
  explicit MessageReader(std::span<const std::uint8_t> message);

  [[nodiscard]] std::size_t offset() const { return position; }
  [[nodiscard]] bool atEnd() const { return position == message.size(); }
  // Throws unless the whole message has been read.
  void expectEnd() const;

  [[nodiscard]] std::uint8_t readByte();
  [[nodiscard]] Value readValue();
  // A value that has to be a text.
  [[nodiscard]] std::string readText();
  // A value that has to be a text or null.
  [[nodiscard]] std::optional<std::string> readOptionalText();

 private:
  [[nodiscard]] Value readContent(MessageTag tag);
  [[nodiscard]] std::size_t readSize();
  [[nodiscard]] std::string readTextContent();
  [[nodiscard]] Data readBytes();
  [[nodiscard]] List readList();
  [[nodiscard]] Map readMap();
  template <typename T>
  [[nodiscard]] T readNumber();
  template <typename T>
  [[nodiscard]] std::vector<T> readNumbers();

  [[nodiscard]] std::span<const std::uint8_t> take(std::size_t count);
  void skipPadding(std::size_t alignment);
  [[nodiscard]] std::size_t claimElements(std::size_t valuesPerElement);
  void enter();
  [[noreturn]] void fail(const char* what) const;

  std::span<const std::uint8_t> message;
  std::size_t position = 0;
  // How many values lists and maps may still announce. As each takes a byte at least, storage
  // reserved for them stays in proportion to the message, however sizes are nested.
  std::size_t valuesLeft;
  int nesting = 0;
};

}  // namespace quorvin
