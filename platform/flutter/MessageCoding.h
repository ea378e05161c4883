#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Data.h"
#include "platform/Value.h"

namespace quorvin {

// The type byte in front of every value of a message.
enum class MessageTag : std::uint8_t {
  null = 0,
  boolTrue = 1,
  boolFalse = 2,
  int32 = 3,
  int64 = 4,
  bigInteger = 5,  // as hexadecimal text; read, never written
  float64 = 6,
  text = 7,
  uint8List = 8,
  int32List = 9,
  int64List = 10,
  float64List = 11,
  list = 12,
  map = 13,
  float32List = 14,
};

// The first byte of a reply or event: what follows it.
inline constexpr std::uint8_t successMark = 0;
inline constexpr std::uint8_t errorMark = 1;

// A size is one byte below the first mark; a mark says that 16 or 32 bits follow.
inline constexpr std::uint8_t size16Mark = 254;
inline constexpr std::uint8_t size32Mark = 255;

// Zero bytes in front of a number at `offset`, which counts from the start of the message.
[[nodiscard]] constexpr std::size_t paddingAt(std::size_t offset, std::size_t alignment) {
  return (alignment - offset % alignment) % alignment;
}

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

// The steps that the codecs write with: measure first, then append into a buffer of the exact
// size, so that large values are copied once and nothing is allocated twice. Both throw
// CodecError for a value that the format cannot say.

// The offset behind the value if it were written at `offset` of its message.
[[nodiscard]] std::size_t measureValue(const Value& value, std::size_t offset);

// `origin` is where in `out` the message starts, from which alignment counts.
void appendValue(const Value& value, std::size_t origin, Bytes& out);

}  // namespace quorvin
