#include "platform/flutter/StandardCodec.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "platform/flutter/Utf8.h"

namespace quorvin {

namespace {

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

// A size is one byte below the first mark; a mark says that 16 or 32 bits follow.
constexpr std::uint8_t size16Mark = 254;
constexpr std::uint8_t size32Mark = 255;

// Zero bytes in front of a number at `offset`, which counts from the start of the message.
constexpr std::size_t paddingAt(std::size_t offset, std::size_t alignment) {
  return (alignment - offset % alignment) % alignment;
}

// Takes the writer's output and keeps only its length.
class Measure {
 public:
  explicit Measure(std::size_t offset) : length(offset) {}

  [[nodiscard]] std::size_t offset() const { return length; }
  void byte(std::uint8_t /*value*/) { ++length; }
  void bytes(std::span<const std::uint8_t> run) { length += run.size(); }
  void zeros(std::size_t count) { length += count; }
  template <typename T>
  void numbers(const std::vector<T>& values) {
    length += values.size() * sizeof(T);
  }

 private:
  std::size_t length;
};

// Takes the writer's output into a buffer; `insert` leaves no byte written twice.
class Append {
 public:
  Append(Bytes& out, std::size_t origin) : out(out), origin(origin) {}

  [[nodiscard]] std::size_t offset() const { return out.size() - origin; }
  void byte(std::uint8_t value) { out.push_back(value); }
  void bytes(std::span<const std::uint8_t> run) { out.insert(out.end(), run.begin(), run.end()); }
  void zeros(std::size_t count) { out.insert(out.end(), count, 0); }
  template <typename T>
  void numbers(const std::vector<T>& values) {
    for (const T value : values) bytes(toLittleEndian(value));
  }

 private:
  Bytes& out;
  std::size_t origin;
};

template <typename Sink>
class Writer {
 public:
  explicit Writer(Sink& sink) : sink(sink) {}

  void write(const Value& value) {
    std::visit([this](const auto& content) { this->put(content); }, value.variant());
  }

 private:
  void put(std::monostate /*null*/) { tag(MessageTag::null); }
  void put(bool value) { tag(value ? MessageTag::boolTrue : MessageTag::boolFalse); }

  void put(std::int64_t value) {
    if (std::in_range<std::int32_t>(value)) {
      tag(MessageTag::int32);
      sink.bytes(toLittleEndian(static_cast<std::int32_t>(value)));
    } else {
      tag(MessageTag::int64);
      sink.bytes(toLittleEndian(value));
    }
  }

  void put(double value) {
    tag(MessageTag::float64);
    align(sizeof(double));
    sink.bytes(toLittleEndian(value));
  }

  void put(const std::string& text) {
    if (!isUtf8(text)) throw CodecError("text is not UTF-8", sink.offset());
    tag(MessageTag::text);
    size(text.size());
    sink.bytes({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  }

  void put(const Data& data) {
    tag(MessageTag::uint8List);
    size(data.size());
    sink.bytes(data.bytes());
  }

  void put(const std::vector<std::int32_t>& values) { numbers(MessageTag::int32List, values); }
  void put(const std::vector<std::int64_t>& values) { numbers(MessageTag::int64List, values); }
  void put(const std::vector<float>& values) { numbers(MessageTag::float32List, values); }
  void put(const std::vector<double>& values) { numbers(MessageTag::float64List, values); }

  void put(const List& list) {
    enter(list.size());
    tag(MessageTag::list);
    size(list.size());
    for (const auto& element : list) write(element);
    --nesting;
  }

  void put(const Map& map) {
    enter(2 * map.size());
    tag(MessageTag::map);
    size(map.size());
    for (const auto& entry : map.entries()) {
      write(entry.key);
      write(entry.value);
    }
    --nesting;
  }

  template <typename T>
  void numbers(MessageTag type, const std::vector<T>& values) {
    tag(type);
    size(values.size());
    align(sizeof(T));
    sink.numbers(values);
  }

  void enter(std::size_t values) {
    if (nesting == messageNestingMax) throw CodecError("nested too deeply", sink.offset());
    if (values > valuesLeft) throw CodecError("too many values", sink.offset());
    ++nesting;
    valuesLeft -= values;
  }

  void tag(MessageTag type) { sink.byte(static_cast<std::uint8_t>(type)); }
  void align(std::size_t alignment) { sink.zeros(paddingAt(sink.offset(), alignment)); }

  void size(std::size_t count) {
    if (count < size16Mark) {
      sink.byte(static_cast<std::uint8_t>(count));
    } else if (std::in_range<std::uint16_t>(count)) {
      sink.byte(size16Mark);
      sink.bytes(toLittleEndian(static_cast<std::uint16_t>(count)));
    } else if (std::in_range<std::uint32_t>(count)) {
      sink.byte(size32Mark);
      sink.bytes(toLittleEndian(static_cast<std::uint32_t>(count)));
    } else {
      throw CodecError("size does not fit 32 bits", sink.offset());
    }
  }

  Sink& sink;
  std::size_t valuesLeft = messageValuesMax;
  int nesting = 0;
};

}  // namespace

MessageReader::MessageReader(std::span<const std::uint8_t> message)
    : message(message), valuesLeft(std::min(message.size(), messageValuesMax)) {}

MessageReader::MessageReader(const Data& message) : MessageReader(message.bytes()) {
  storage = message;
}

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
  if (storage) return storage->slice(position - bytes.size(), bytes.size());
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
  const std::size_t start = position;
  switch (static_cast<MessageTag>(readByte())) {
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
  throw CodecError("unknown type", start);
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

std::size_t measureValue(const Value& value, std::size_t offset) {
  Measure measure(offset);
  Writer<Measure>(measure).write(value);
  return measure.offset();
}

void appendValue(const Value& value, std::size_t origin, Bytes& out) {
  Append append(out, origin);
  Writer<Append>(append).write(value);
}

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

// --- Calls and envelopes

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

FlutterEvent readEnvelope(MessageReader& reader) {
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
  return readEnvelope(reader);
}

FlutterEvent decodeSharedEnvelope(const Data& message) {
  MessageReader reader(message);
  return readEnvelope(reader);
}

}  // namespace quorvin
