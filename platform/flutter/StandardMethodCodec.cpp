#include "platform/flutter/StandardMethodCodec.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <utility>

namespace quorvin {

namespace {

// `message` already holds what comes in front of the values.
Bytes withValues(Bytes message, std::initializer_list<const Value*> values) {
  std::size_t size = message.size();
  for (const Value* value : values) size = measureValue(*value, size);
  message.reserve(size);
  for (const Value* value : values) appendValue(*value, 0, message);
  return message;
}

FlutterError readError(MessageReader& reader) {
  FlutterError error;
  error.code = reader.readText();
  error.message = reader.readOptionalText();
  error.details = reader.readValue();
  if (!reader.atEnd()) static_cast<void>(reader.readOptionalText());
  return error;
}

}  // namespace

Bytes encodeMethodCall(const FlutterMethodCall& call) {
  const Value method(call.method);
  return withValues({}, {&method, &call.arguments});
}

FlutterMethodCall decodeMethodCall(std::span<const std::uint8_t> message) {
  MessageReader reader(message);
  FlutterMethodCall call;
  call.method = reader.readText();
  call.arguments = reader.readValue();
  reader.expectEnd();
  return call;
}

Bytes encodeSuccessEnvelope(const Value& result) {
  return withValues({successMark}, {&result});
}

Bytes encodeErrorEnvelope(const FlutterError& error) {
  const Value code(error.code);
  const Value message = error.message ? Value(*error.message) : Value();
  return withValues({errorMark}, {&code, &message, &error.details});
}

FlutterEvent decodeEnvelope(std::span<const std::uint8_t> message) {
  MessageReader reader(message);
  FlutterEvent event;
  switch (reader.readByte()) {
    case successMark:
      event = reader.readValue();
      break;
    case errorMark:
      event = readError(reader);
      break;
    default:
      throw CodecError("unknown envelope", 0);
  }
  reader.expectEnd();
  return event;
}

}  // namespace quorvin
