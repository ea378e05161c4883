#include "webui/JsonValue.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>

namespace quorvin::webui {

using nlohmann::json;

std::optional<json> parseJson(std::string_view text) {
  bool tooDeep = false;
  const auto watchDepth = [&](int depth, json::parse_event_t event, json& /*parsed*/) {
    const bool opens =
        event == json::parse_event_t::object_start || event == json::parse_event_t::array_start;
    if (opens && depth >= jsonDepthMax) tooDeep = true;
    return !tooDeep;
  };
  auto document = json::parse(text, watchDepth, /*allow_exceptions=*/false);
  if (tooDeep || document.is_discarded()) return std::nullopt;
  return document;
}

namespace {

Value valueFromUnsigned(std::uint64_t number) {
  if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return static_cast<double>(number);
  }
  return static_cast<std::int64_t>(number);
}

Value listFromJson(const json& array) {
  List list;
  list.reserve(array.size());
  for (const auto& element : array) list.push_back(valueFromJson(element));
  return list;
}

Value mapFromJson(const json& object) {
  Map map;
  for (const auto& [key, value] : object.items()) map.append(key, valueFromJson(value));
  return map;
}

json jsonFromMap(const Map& map) {
  auto object = json::object();
  for (const auto& entry : map.entries()) {
    const auto* name = entry.key.as<std::string>();
    object[name != nullptr ? *name : textOfJson(jsonFromValue(entry.key))] =
        jsonFromValue(entry.value);
  }
  return object;
}

}  // namespace

Value valueFromJson(const json& json) {
  switch (json.type()) {
    case json::value_t::boolean:
      return json.get<bool>();
    case json::value_t::number_integer:
      return json.get<std::int64_t>();
    case json::value_t::number_unsigned:
      return valueFromUnsigned(json.get<std::uint64_t>());
    case json::value_t::number_float:
      return json.get<double>();
    case json::value_t::string:
      return json.get<std::string>();
    case json::value_t::array:
      return listFromJson(json);
    case json::value_t::object:
      return mapFromJson(json);
    case json::value_t::null:
    case json::value_t::binary:
    case json::value_t::discarded:
      break;
  }
  return {};
}

json jsonFromValue(const Value& value) {
  return std::visit(
      [](const auto& content) -> json {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, std::monostate>) {
          return nullptr;
        } else if constexpr (std::is_same_v<Content, Data>) {
          return json(Bytes(content.bytes().begin(), content.bytes().end()));
        } else if constexpr (std::is_same_v<Content, List>) {
          auto array = json::array();
          for (const auto& element : content) array.push_back(jsonFromValue(element));
          return array;
        } else if constexpr (std::is_same_v<Content, Map>) {
          return jsonFromMap(content);
        } else {
          return json(content);
        }
      },
      value.variant());
}

std::string textOfJson(const json& json) {
  return json.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace quorvin::webui
