#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

#include "platform/Data.h"
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

}  // namespace quorvin
