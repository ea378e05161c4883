#include <gtest/gtest.h>

#include <algorithm>

#include "webui/tests/trust/Hex.h"
#include "webui/trust/Cpace.h"

namespace quorvin::webui {
namespace {

CpaceElement elementOf(const Bytes& bytes) {
  CpaceElement element{};
  std::ranges::copy(bytes, element.begin());
  return element;
}
Secret<32> scalarOf(const Bytes& bytes) {
  Secret<32> scalar;
  std::ranges::copy(bytes, scalar.bytes().begin());
  return scalar;
}

// The draft's own vectors.
class CpaceVectors : public testing::Test {
 protected:
  Bytes at(const char* name) const { return fromHex(vectors.at(name).get<std::string>()); }
  Cpace runWith(const char* scalar) const {
    return Cpace({password, channel, session}, GivenBytes(at(scalar)));
  }

  nlohmann::json vectors = readVectors("cpace.json");
  Bytes password = at("password"), channel = at("channel"), session = at("session");
};

TEST_F(CpaceVectors, HaveThisGenerator) {
  EXPECT_EQ(cpaceGenerator({password, channel, session}), elementOf(at("generator")));
}

TEST_F(CpaceVectors, HaveTheseSharesAndThisProduct) {
  EXPECT_EQ(runWith("scalarA").share(), elementOf(at("shareA")));
  EXPECT_EQ(runWith("scalarB").share(), elementOf(at("shareB")));
  for (const auto& [scalar, share] : {std::pair("scalarA", "shareB"), {"scalarB", "shareA"}}) {
    const auto product = scalarMultVfy(scalarOf(at(scalar)), elementOf(at(share)));
    ASSERT_TRUE(product);
    EXPECT_EQ(joined({product->bytes()}), at("product"));
  }
}

TEST_F(CpaceVectors, HaveThisKeyAtBothEnds) {
  const auto initiators = runWith("scalarA").key(CpaceRole::initiator, at("dataA"),
                                                 elementOf(at("shareB")), at("dataB"));
  const auto responders = runWith("scalarB").key(CpaceRole::responder, at("dataB"),
                                                 elementOf(at("shareA")), at("dataA"));
  ASSERT_TRUE(initiators && responders);
  EXPECT_EQ(joined({initiators->bytes()}), at("key"));
  EXPECT_EQ(joined({responders->bytes()}), at("key"));
}

TEST_F(CpaceVectors, RefuseTheIdentityAndWhatIsNoCanonicalEncoding) {
  const auto& valid = vectors["valid"];
  const auto scalar = scalarOf(fromHex(valid["scalar"].get<std::string>()));
  const auto product =
      scalarMultVfy(scalar, elementOf(fromHex(valid["element"].get<std::string>())));
  ASSERT_TRUE(product);
  EXPECT_EQ(toHex(product->bytes()), valid["product"].get<std::string>());
  std::vector<std::string> elements = vectors["invalid"];
  // The prime 2^255 - 19, which is 0 in disguise, and an element with a bit above it.
  elements.push_back("ed" + std::string(60, 'f') + "7f");
  auto high = at("shareA");
  high.back() |= 0x80U;
  elements.push_back(toHex(high));
  ASSERT_EQ(elements.size(), 4U);
  for (const auto& element : elements) {
    EXPECT_FALSE(scalarMultVfy(scalar, elementOf(fromHex(element)))) << element;
    EXPECT_FALSE(runWith("scalarA").key(CpaceRole::initiator, {}, elementOf(fromHex(element)), {}));
  }
}

TEST_F(CpaceVectors, GiveAnotherKeyWhateverDiffers) {
  const auto key = [&](ByteView usedPassword, ByteView usedChannel, ByteView usedSession,
                       std::string_view ours, std::string_view theirs) {
    const Cpace run({usedPassword, usedChannel, usedSession}, GivenBytes(at("scalarA")));
    const auto made =
        run.key(CpaceRole::initiator, bytesOf(ours), elementOf(at("shareB")), bytesOf(theirs));
    return made ? toHex(made->bytes()) : "";
  };
  const auto expected = toHex(at("key"));
  ASSERT_EQ(key(password, channel, session, "ADa", "ADb"), expected);
  EXPECT_NE(key(bytesOf("password"), channel, session, "ADa", "ADb"), expected);
  EXPECT_NE(key(password, session, session, "ADa", "ADb"), expected);
  EXPECT_NE(key(password, channel, channel, "ADa", "ADb"), expected);
  EXPECT_NE(key(password, channel, session, "ADb", "ADa"), expected);
  EXPECT_NE(key(password, channel, session, "ADaADb", ""), expected);
}

TEST_F(CpaceVectors, DoNotStartWithoutRandomBytes) {
  EXPECT_THROW(Cpace({password, channel, session}, GivenBytes({})), std::runtime_error);
}

}  // namespace
}  // namespace quorvin::webui
