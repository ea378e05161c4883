#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/flutter/LittleEndian.h"
#include "platform/flutter/MessageCoding.h"
#include "platform/flutter/StandardMessageCodec.h"
#include "platform/flutter/Utf8.h"

namespace quorvin {

namespace {

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

}  // namespace quorvin
