#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/flutter/LittleEndian.h"
#include "platform/flutter/MessageCoding.h"
#include "platform/flutter/StandardMessageCodec.h"
#include "platform/flutter/Utf8.h"

namespace quorvin {

MessageReader::MessageReader(std::span<const std::uint8_t> message)
    : message(message), valuesLeft(std::min(message.size(), messageValuesMax)) {}

void MessageReader::fail(const char* what) const {
  throw CodecError(what, position);
}

void MessageReader::expectEnd() const {
  if (!atEnd()) fail("bytes after the end of the message");
}

std::span<const std::uint8_t> MessageReader::take(std::size_t count) {
  if (count > message.size() - position) fail("message ends too early");
  const auto taken = message.subspan(position, count);
  position += count;
  return taken;
}

std::uint8_t MessageReader::readByte() {
  return take(1).front();
}

template <typename T>
T MessageReader::readNumber() {
  return fromLittleEndian<T>(take(sizeof(T)).data());
}

std::size_t MessageReader::readSize() {
  const std::uint8_t first = readByte();
  if (first == size16Mark) return readNumber<std::uint16_t>();
  if (first == size32Mark) return readNumber<std::uint32_t>();
  return first;
}

void MessageReader::skipPadding(std::size_t alignment) {
  static_cast<void>(take(paddingAt(position, alignment)));
}

std::string MessageReader::readTextContent() {
  const std::size_t size = readSize();
  const std::size_t start = position;
  const auto bytes = take(size);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (!isUtf8(text)) throw CodecError("text is not UTF-8", start);
  return std::string(text);
}

Data MessageReader::readBytes() {
  const auto bytes = take(readSize());
  return Data(Bytes(bytes.begin(), bytes.end()));
}

template <typename T>
std::vector<T> MessageReader::readNumbers() {
  const std::size_t count = readSize();
  skipPadding(sizeof(T));
  const auto bytes = take(count * sizeof(T));
  std::vector<T> numbers(count);
  for (std::size_t i = 0; i < count; ++i) {
    numbers[i] = fromLittleEndian<T>(bytes.data() + i * sizeof(T));
  }
  return numbers;
}

void MessageReader::enter() {
  if (nesting == messageNestingMax) fail("nested too deeply");
  ++nesting;
}

std::size_t MessageReader::claimElements(std::size_t valuesPerElement) {
  const std::size_t count = readSize();
  const std::size_t values = count * valuesPerElement;
  if (values > message.size() - position) fail("more elements than bytes");
  if (values > valuesLeft) fail("too many values");
  valuesLeft -= values;
  return count;
}

List MessageReader::readList() {
  enter();
  const std::size_t count = claimElements(1);
  List list;
  list.reserve(count);
  for (std::size_t i = 0; i < count; ++i) list.push_back(readValue());
  --nesting;
  return list;
}

Map MessageReader::readMap() {
  enter();
  const std::size_t count = claimElements(2);
  Map map;
  for (std::size_t i = 0; i < count; ++i) {
    Value key = readValue();
    map.append(std::move(key), readValue());
  }
  --nesting;
  return map;
}

Value MessageReader::readValue() {
  if (atEnd()) fail("message ends too early");
  const std::uint8_t tag = message[position];
  if (tag > static_cast<std::uint8_t>(MessageTag::float32List)) fail("unknown type");
  ++position;
  return readContent(static_cast<MessageTag>(tag));
}

Value MessageReader::readContent(MessageTag tag) {
  switch (tag) {
    case MessageTag::null:
      return nullptr;
    case MessageTag::boolTrue:
      return true;
    case MessageTag::boolFalse:
      return false;
    case MessageTag::int32:
      return readNumber<std::int32_t>();
    case MessageTag::int64:
      return readNumber<std::int64_t>();
    case MessageTag::bigInteger:
    case MessageTag::text:
      return readTextContent();
    case MessageTag::float64:
      skipPadding(sizeof(double));
      return readNumber<double>();
    case MessageTag::uint8List:
      return readBytes();
    case MessageTag::int32List:
      return readNumbers<std::int32_t>();
    case MessageTag::int64List:
      return readNumbers<std::int64_t>();
    case MessageTag::float64List:
      return readNumbers<double>();
    case MessageTag::list:
      return readList();
    case MessageTag::map:
      return readMap();
    case MessageTag::float32List:
      return readNumbers<float>();
  }
  fail("unknown type");
}

std::string MessageReader::readText() {
  const std::size_t start = position;
  auto text = readOptionalText();
  if (!text) throw CodecError("text expected", start);
  return *std::move(text);
}

std::optional<std::string> MessageReader::readOptionalText() {
  const std::size_t start = position;
  const Value value = readValue();
  if (value.isNull()) return std::nullopt;
  const auto* text = value.as<std::string>();
  if (text == nullptr) throw CodecError("text or null expected", start);
  return *text;
}

Value decodeMessage(std::span<const std::uint8_t> message) {
  MessageReader reader(message);
  Value value = reader.readValue();
  reader.expectEnd();
  return value;
}

}  // namespace quorvin
