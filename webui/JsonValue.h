#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string_view>

#include "platform/Value.h"

namespace quorvin::webui {

// The deepest nesting of arrays and objects that is read from a page.
inline constexpr int jsonDepthMax = 32;

// JSON text from a page, or nothing if it is no JSON or nested too deeply. Never throws, and needs
// no more stack for deep text than for flat.
[[nodiscard]] std::optional<nlohmann::json> parseJson(std::string_view text);

// Numbers written without fraction and exponent are integers (above 64 bits: doubles), all others
// doubles. The value must come from parseJson.
[[nodiscard]] Value valueFromJson(const nlohmann::json& json);

// Byte lists and typed lists become arrays of numbers. Keys that are no strings become their JSON
// text, numbers that JSON cannot say (infinities, not-a-number) null.
[[nodiscard]] nlohmann::json jsonFromValue(const Value& value);

// The JSON text of a document; text in it that is no UTF-8 gets replacement characters.
[[nodiscard]] std::string textOfJson(const nlohmann::json& json);

}  // namespace quorvin::webui
