#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Data.h"
#include "platform/Flutter.h"
#include "platform/Value.h"

namespace quorvin {

// Flutter's standard message codec, the form of every value that crosses a channel
// (https://api.flutter.dev/flutter/services/StandardMessageCodec-class.html). Everything here is
// a pure function of its arguments and may be called on any thread.

// How deep lists and maps may lie in each other. Reading and writing both recurse, so the limit
// is what keeps a hostile message from using up the stack.
inline constexpr int messageNestingMax = 64;

// How many values the lists and maps of a message may hold in all (an entry of a map is two). A
// value takes some forty times the memory of its smallest form on the wire, so that without a
// limit a message of the largest size could claim gigabytes.
inline constexpr std::size_t messageValuesMax = std::size_t{1} << 20;

// A message that breaks the format, or a value that the format cannot say.
class CodecError : public std::runtime_error {
 public:
  explicit CodecError(const std::string& what) : std::runtime_error(what) {}
  // `offset` counts bytes from the start of the message.
  CodecError(const std::string& what, std::size_t offset)
      : std::runtime_error(what + " at byte " + std::to_string(offset)) {}
};

// An integer takes 32 bits where it fits and 64 elsewhere. Throws CodecError when lists and maps
// lie deeper than messageNestingMax or hold more than messageValuesMax values, when a size does not
// fit 32 bits, or when a text is not UTF-8.
[[nodiscard]] Bytes encodeMessage(const Value& value);

// Reads exactly one value that fills the whole message. Integers of both widths become
// std::int64_t; a big integer becomes the text of its hexadecimal digits. The result owns all of
// its storage. Throws CodecError; the work and memory spent stay within a constant factor of the
// message's length whatever sizes it claims.
[[nodiscard]] Value decodeMessage(std::span<const std::uint8_t> message);

// What follows is for messages in which values stand among other bytes.

// Reads the values of one message one after the other. `message` must outlive the reader, not
// the values. Every member throws CodecError for bytes that break the format; the reader is of no
// use after that.
class MessageReader {
 public:
  explicit MessageReader(std::span<const std::uint8_t> message);
  // Byte lists stay in the message's storage, which they keep.
  explicit MessageReader(const Data& message);

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
  std::optional<Data> storage;
  std::size_t position = 0;
  // How many values lists and maps may still announce. As each takes a byte at least, storage
  // reserved for them stays in proportion to the message, however sizes are nested.
  std::size_t valuesLeft;
  int nesting = 0;
};

// To write with: measure first, then append into a buffer of the exact size, so that large values
// are copied once and nothing is allocated twice. Both throw CodecError for a value that the format
// cannot say.

// The offset behind the value if it were written at `offset` of its message.
[[nodiscard]] std::size_t measureValue(const Value& value, std::size_t offset);

// `origin` is where in `out` the message starts, from which alignment counts.
void appendValue(const Value& value, std::size_t origin, Bytes& out);

// The bytes of a number as they stand in a message.
template <typename T>
[[nodiscard]] std::array<std::uint8_t, sizeof(T)> toLittleEndian(T value) {
  auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof(T)>>(value);
  if constexpr (std::endian::native == std::endian::big) std::ranges::reverse(bytes);
  return bytes;
}

// Reads sizeof(T) bytes, which need not be aligned.
template <typename T>
[[nodiscard]] T fromLittleEndian(const std::uint8_t* bytes) {
  std::array<std::uint8_t, sizeof(T)> own{};
  std::copy_n(bytes, own.size(), own.begin());
  if constexpr (std::endian::native == std::endian::big) std::ranges::reverse(own);
  return std::bit_cast<T>(own);
}

// Flutter's standard method codec: calls, and the envelopes of replies and events
// (https://api.flutter.dev/flutter/services/StandardMethodCodec-class.html). Values are those of
// the standard message codec, with alignment counted from the first byte of the call or envelope.
// Pure functions, any thread; all throw CodecError as encodeMessage and decodeMessage do.

[[nodiscard]] Bytes encodeMethodCall(const FlutterMethodCall& call);
// The method must be a string; exactly one value, the arguments, follows it.
[[nodiscard]] FlutterMethodCall decodeMethodCall(std::span<const std::uint8_t> message);

// The first byte of an envelope: what follows it.
inline constexpr std::uint8_t successMark = 0;
inline constexpr std::uint8_t errorMark = 1;

[[nodiscard]] Bytes encodeSuccessEnvelope(const Value& result);
[[nodiscard]] Bytes encodeErrorEnvelope(const FlutterError& error);
// A stack trace behind an error's details, which some senders add, is checked and dropped. The
// empty message ("not implemented", "end of stream") is no envelope and thus an error here.
[[nodiscard]] FlutterEvent decodeEnvelope(std::span<const std::uint8_t> message);
// The same; byte lists stay in the message's storage, which they keep.
[[nodiscard]] FlutterEvent decodeSharedEnvelope(const Data& message);

}  // namespace quorvin
