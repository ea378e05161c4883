#include <gtest/gtest.h>

#include "webui/tests/trust/Hex.h"
#include "webui/trust/Messages.h"

namespace quorvin::webui {
namespace {

const std::string opening = "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8";  // 0 to 31

std::optional<Hello> read(std::string_view text) {
  return readHello(bytesOf(text));
}
std::string nameOf(const std::string& name) {
  const auto hello =
      read(nlohmann::json{{"type", "hello"}, {"name", name}, {"opening", opening}}.dump());
  return hello ? hello->name : "nothing";
}

TEST(Envelope, HasAHeadThatAllVersionsHave) {
  const Nonce nonce{1, 2, 3};
  const auto bytes = writeEnvelope(Kind::sealed, nonce, bytesOf("rest"));
  ASSERT_EQ(bytes.size(), 38U);
  EXPECT_EQ(joined({ByteView(bytes).first(5)}), (Bytes{1, 3, 1, 2, 3}));
  const auto read = readEnvelope(bytes).value();
  EXPECT_EQ(read.version, 1);
  EXPECT_EQ(read.kind, Kind::sealed);
  EXPECT_EQ(read.nonce, nonce);
  EXPECT_EQ(textOf(read.rest), "rest");
}

TEST(Envelope, IsNothingWithoutThatHead) {
  const Bytes bytes(34);
  for (std::size_t length = 0; length < 34; ++length) {
    EXPECT_FALSE(readEnvelope(ByteView(bytes).first(length))) << length;
  }
  EXPECT_TRUE(readEnvelope(bytes));
}

TEST(HelloMessage, HasANameAndAnOpening) {
  const auto hello =
      read(R"({"name":"Ann","opening":")" + opening + R"(","type":"hello","x":[1]})");
  ASSERT_TRUE(hello);
  EXPECT_EQ(hello->name, "Ann");
  for (std::uint8_t index = 0; index < 32; ++index) EXPECT_EQ(hello->opening.at(index), index);
}

TEST(HelloMessage, IsNothingElse) {
  const auto with = [](const std::string& type, const std::string& name, const std::string& code) {
    return read(R"({"type":)" + type + R"(,"name":)" + name + R"(,"opening":)" + code + "}");
  };
  const std::string good = '"' + opening + '"';
  ASSERT_TRUE(with(R"("hello")", R"("Ann")", good));
  EXPECT_FALSE(with(R"("hallo")", R"("Ann")", good));
  EXPECT_FALSE(with("1", R"("Ann")", good));
  EXPECT_FALSE(with(R"("hello")", R"(["Ann"])", good));
  EXPECT_FALSE(with(R"("hello")", R"("Ann")", "null"));
  EXPECT_FALSE(with(R"("hello")", R"("Ann")", R"("")"));
  EXPECT_FALSE(with(R"("hello")", R"("Ann")", '"' + opening.substr(1) + '"'));
  EXPECT_FALSE(with(R"("hello")", R"("Ann")", '"' + opening + "A\""));
  EXPECT_FALSE(
      with(R"("hello")", R"("Ann")", '"' + opening.substr(0, 42) + "9\""));  // bits too many
  EXPECT_FALSE(with(R"("hello")", R"("Ann")", '"' + opening + "=\""));
  for (const auto* text : {"", "{", "[]", "null", "\"hello\"", R"({"type":"hello"})"}) {
    EXPECT_FALSE(read(text)) << text;
  }
  EXPECT_FALSE(read(std::string(16'384, '[')));
  EXPECT_FALSE(with(R"("hello")", "\"A\xC3\"", good));  // no UTF-8
  EXPECT_FALSE(with(R"("hello")", R"("\ud800")", good));
}

// The same names as the supporter's page is tried with.
TEST(HelloMessage, CleansTheNameThatIsShown) {
  const auto names = readVectors("names.json");
  for (const auto& [given, shown] : names.items()) {
    EXPECT_EQ(nameOf(given), shown.get<std::string>()) << given;
  }
}

TEST(HelloMessage, BoundsTheName) {
  const std::string character = "\xC3\xA9";
  std::string name;
  for (int count = 0; count < 64; ++count) name += character;
  EXPECT_EQ(nameOf(name), name);
  EXPECT_EQ(nameOf(name + character), "nothing");
  EXPECT_EQ(nameOf(name + std::string(1000, '\n')), name);
}

}  // namespace
}  // namespace quorvin::webui
