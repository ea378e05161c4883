#include "platform/flutter/StandardMessageCodec.h"

#include "platform/flutter/MessageReader.h"
#include "platform/flutter/MessageWriter.h"

namespace quorvin {

Bytes encodeMessage(const Value& value) {
  Bytes message;
  message.reserve(measureValue(value, 0));
  appendValue(value, 0, message);
  return message;
}

Value decodeMessage(std::span<const std::uint8_t> message) {
  MessageReader reader(message);
  Value value = reader.readValue();
  reader.expectEnd();
  return value;
}

}  // namespace quorvin
