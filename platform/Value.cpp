#include "platform/Value.h"

#include <utility>

namespace quorvin {

Map::Map() = default;
Map::Map(std::initializer_list<MapEntry> entries) : storage(entries) {}
Map::Map(const Map& other) = default;
Map::Map(Map&& other) noexcept = default;
Map& Map::operator=(const Map& other) = default;
Map& Map::operator=(Map&& other) noexcept = default;
Map::~Map() = default;

void Map::append(Value key, Value value) {
  storage.push_back(MapEntry{std::move(key), std::move(value)});
}

const Value* Map::find(std::string_view key) const {
  for (auto entry = storage.rbegin(); entry != storage.rend(); ++entry) {
    const auto* text = entry->key.as<std::string>();
    if (text != nullptr && *text == key) return &entry->value;
  }
  return nullptr;
}

bool Map::hasOnlyStringKeys() const {
  for (const auto& entry : storage) {
    if (entry.key.as<std::string>() == nullptr) return false;
  }
  return true;
}

std::size_t Map::size() const {
  return storage.size();
}

bool operator==(const Map& a, const Map& b) {
  return a.storage == b.storage;
}

// Here and not in the header: what a variant of so many types does to be copied is a lot of code,
// which every file that copies a value would hold once more.
Value::Value(const Value& other) = default;
Value::Value(Value&& other) noexcept = default;
Value& Value::operator=(const Value& other) = default;
Value& Value::operator=(Value&& other) noexcept = default;
Value::~Value() = default;

Value::Value(const char* value) : storage(std::string(value)) {}
Value::Value(std::string_view value) : storage(std::string(value)) {}
Value::Value(std::string value) : storage(std::move(value)) {}
Value::Value(Data value) : storage(std::move(value)) {}
Value::Value(List value) : storage(std::move(value)) {}
Value::Value(Map value) : storage(std::move(value)) {}
Value::Value(std::vector<std::int32_t> value) : storage(std::move(value)) {}
Value::Value(std::vector<std::int64_t> value) : storage(std::move(value)) {}
Value::Value(std::vector<float> value) : storage(std::move(value)) {}
Value::Value(std::vector<double> value) : storage(std::move(value)) {}

bool operator==(const Value& a, const Value& b) {
  return a.storage == b.storage;
}

bool operator==(const MapEntry& a, const MapEntry& b) {
  return a.key == b.key && a.value == b.value;
}

}  // namespace quorvin
