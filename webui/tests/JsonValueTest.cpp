#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "webui/PageMessage.h"

namespace quorvin::webui {
namespace {

Value read(std::string_view text) {
  const auto document = parseJson(text);
  EXPECT_TRUE(document) << text;
  return document ? valueFromJson(*document) : Value("not JSON");
}

std::string written(const Value& value) {
  return textOfJson(jsonFromValue(value));
}

TEST(JsonValue, KeepsWholeNumbersWholeAndOthersFractional) {
  EXPECT_EQ(read("7"), Value(7));
  EXPECT_EQ(read("-9223372036854775808"), Value(std::numeric_limits<std::int64_t>::min()));
  EXPECT_EQ(read("9223372036854775807"), Value(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(read("7.0"), Value(7.0));
  EXPECT_EQ(read("1e2"), Value(100.0));
  EXPECT_EQ(read("9223372036854775808"), Value(9223372036854775808.0));
}

TEST(JsonValue, DoesNotMixUpFlagsNullsAndNumbers) {
  EXPECT_EQ(read("true"), Value(true));
  EXPECT_EQ(read("null"), Value());
  EXPECT_EQ(read(R"("1")"), Value("1"));
}

TEST(JsonValue, ReadsNestedListsAndMaps) {
  const Map inner{{"x", 0.5}, {"button", "left"}};
  EXPECT_EQ(read(R"([{"x":0.5,"button":"left"},[],{}])"),
            Value(List{Map{{"button", "left"}, {"x", 0.5}}, List{}, Map{}}));
}

TEST(JsonValue, RefusesWhatIsNoJson) {
  for (const auto* text : {"", "{", "{}x", "[1,]", "nul", "\"\xFF\"", "\"\\ud800\"", "1e999"}) {
    EXPECT_FALSE(parseJson(text)) << text;
  }
}

TEST(JsonValue, RefusesDeepNestingWithoutUsingTheStack) {
  const auto nested = [](int depth) {
    return std::string(static_cast<std::size_t>(depth), '[') +
           std::string(static_cast<std::size_t>(depth), ']');
  };
  EXPECT_TRUE(parseJson(nested(jsonDepthMax)));
  EXPECT_FALSE(parseJson(nested(jsonDepthMax + 1)));
  EXPECT_FALSE(parseJson(nested(500'000)));
  EXPECT_FALSE(parseJson(std::string(500'000, '[')));
  std::string objects;
  for (int depth = 0; depth < 100'000; ++depth) objects += R"({"a":)";
  EXPECT_FALSE(parseJson(objects));
}

TEST(JsonValue, WritesWhatAHostMayReply) {
  EXPECT_EQ(written(Map{{"platform", "macos"}, {"unattended", false}}),
            R"({"platform":"macos","unattended":false})");
  EXPECT_EQ(written(List{nullptr, 1, 1.5}), "[null,1,1.5]");
  EXPECT_EQ(written(Data(Bytes{1, 255})), "[1,255]");
  EXPECT_EQ(written(std::vector<std::int32_t>{-1, 2}), "[-1,2]");
  EXPECT_EQ(written(Map{{7, "seven"}}), R"({"7":"seven"})");
}

TEST(JsonValue, WritesValidTextWhateverTheHostSent) {
  EXPECT_EQ(written(Value(std::string("a\xFF"))), "\"a\xEF\xBF\xBD\"");
  EXPECT_EQ(written(std::nan("")), "null");
  EXPECT_EQ(written(std::string("a\0b", 3)), R"("a\u0000b")");
}

}  // namespace
}  // namespace quorvin::webui
