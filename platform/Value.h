#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "platform/Data.h"

namespace quorvin {

class Value;
using List = std::vector<Value>;

struct MapEntry;

// A map. Keys may be of any type, as on the wire. The order of the entries says nothing, and not
// every back end keeps it. Where a sender repeats a key, the last entry counts.
class Map {
 public:
  Map();
  Map(std::initializer_list<MapEntry> entries);
  Map(const Map& other);
  Map(Map&& other) noexcept;
  Map& operator=(const Map& other);
  Map& operator=(Map&& other) noexcept;
  ~Map();

  void append(Value key, Value value);
  // The value of a string key, or nullptr.
  [[nodiscard]] const Value* find(std::string_view key) const;
  [[nodiscard]] bool hasOnlyStringKeys() const;
  [[nodiscard]] const std::vector<MapEntry>& entries() const { return storage; }
  [[nodiscard]] std::size_t size() const;

  friend bool operator==(const Map& a, const Map& b);

 private:
  std::vector<MapEntry> storage;
};

// A value that crosses a channel: what Flutter's standard message codec can say
// (https://api.flutter.dev/flutter/services/StandardMessageCodec-class.html). Booleans are not
// numbers, and integers (always 64-bit here, whatever their width on the wire) are not doubles.
// The default value is null, which also stands for "absent".
class Value {
 public:
  using Storage = std::variant<std::monostate, bool, std::int64_t, double, std::string, Data,
                               std::vector<std::int32_t>, std::vector<std::int64_t>,
                               std::vector<float>, std::vector<double>, List, Map>;

  Value() = default;
  Value(const Value& other);
  Value(Value&& other) noexcept;
  Value& operator=(const Value& other);
  Value& operator=(Value&& other) noexcept;
  ~Value();
  Value(std::nullptr_t) {}                                  // NOLINT: implicit
  Value(std::same_as<bool> auto value) : storage(value) {}  // NOLINT: implicit
  template <typename T>
  requires(std::integral<T> && !std::same_as<T, bool>) Value(T value)
      : storage(static_cast<std::int64_t>(value)) {}  // NOLINT: implicit
  Value(std::floating_point auto value) : storage(static_cast<double>(value)) {}  // NOLINT
  Value(const char* value);                // NOLINT: implicit
  Value(std::string_view value);           // NOLINT: implicit
  Value(std::string value);                // NOLINT: implicit
  Value(Data value);                       // NOLINT: implicit
  Value(List value);                       // NOLINT: implicit
  Value(Map value);                        // NOLINT: implicit
  Value(std::vector<std::int32_t> value);  // NOLINT: implicit
  Value(std::vector<std::int64_t> value);  // NOLINT: implicit
  Value(std::vector<float> value);         // NOLINT: implicit
  Value(std::vector<double> value);        // NOLINT: implicit

  [[nodiscard]] bool isNull() const { return std::holds_alternative<std::monostate>(storage); }
  // The alternative asked for, or nullptr when the value is of another type.
  template <typename T>
  [[nodiscard]] const T* as() const {
    return std::get_if<T>(&storage);
  }
  [[nodiscard]] const Storage& variant() const { return storage; }

  friend bool operator==(const Value& a, const Value& b);

 private:
  Storage storage;
};

struct MapEntry {
  Value key;
  Value value;

  friend bool operator==(const MapEntry&, const MapEntry&);
};

}  // namespace quorvin
