#pragma once

#include <cstdint>
#include <span>

#include "platform/Data.h"
#include "platform/Flutter.h"
#include "platform/Value.h"
#include "platform/flutter/StandardMessageCodec.h"

namespace quorvin {

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

}  // namespace quorvin
