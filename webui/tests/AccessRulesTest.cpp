#include <gtest/gtest.h>

#include <string>

#include "webui/AccessRules.h"

namespace quorvin::webui {
namespace {

const std::string token = "0123456789abcdef0123456789abcdef";
const std::string supportersToken = "fedcba9876543210fedcba9876543210";

AccessRules rules() {
  return AccessRules(8765, {}, {token, supportersToken});
}

TEST(AccessRules, TokenIs128RandomBitsInHexadecimal) {
  const auto first = makeToken();
  EXPECT_EQ(first.size(), 32U);
  EXPECT_EQ(first.find_first_not_of("0123456789abcdef"), std::string::npos);
  EXPECT_NE(first, makeToken());
}

TEST(AccessRules, ComparisonSeesEveryDifference) {
  EXPECT_TRUE(equalInConstantTime(token, token));
  EXPECT_FALSE(equalInConstantTime("", token));
  EXPECT_FALSE(equalInConstantTime(token + "0", token));
  for (std::size_t index = 0; index < token.size(); ++index) {
    auto other = token;
    other[index] = 'g';
    EXPECT_FALSE(equalInConstantTime(other, token)) << index;
  }
}

TEST(AccessRules, OnlyThisServerIsAHost) {
  EXPECT_TRUE(rules().hostAllowed("127.0.0.1:8765"));
  for (const auto* host :
       {"", "127.0.0.1", "localhost", "localhost:8765", "[::1]:8765", "127.0.0.1:8766",
        "example.com:8765", "localhost:8765.example.com", "127.0.0.1:8765, 127.0.0.1:8765"}) {
    EXPECT_FALSE(rules().hostAllowed(host)) << host;
  }
}

TEST(AccessRules, OnlyOwnPagesAreAnOrigin) {
  EXPECT_TRUE(rules().originAllowed("http://127.0.0.1:8765"));
  for (const auto* origin :
       {"", "null", "http://localhost:8765", "http://[::1]:8765", "https://127.0.0.1:8765",
        "http://127.0.0.1", "http://example.com:8765", "http://127.0.0.1:8765/"}) {
    EXPECT_FALSE(rules().originAllowed(origin)) << origin;
  }
}

TEST(AccessRules, OnlyPathsBehindTheTokenLeadSomewhere) {
  EXPECT_EQ(rules().resourceOf("/" + token + "/")->name, "");
  EXPECT_EQ(rules().resourceOf("/" + token + "/app.css")->name, "app.css");
  for (const auto& path : {std::string(), std::string("/"), std::string("/app.css"), "/" + token,
                           token + "/", "//" + token + "/", "/" + token + "0/",
                           "/0" + token.substr(1, 30) + "0/", "/" + token.substr(1) + "/"}) {
    EXPECT_FALSE(rules().resourceOf(path)) << path;
  }
}

TEST(AccessRules, TheTokenTellsTheRole) {
  for (const auto* name : {"", "ws", "app.css"}) {
    EXPECT_EQ(rules().resourceOf("/" + token + "/" + name)->role, PageRole::customer);
    EXPECT_EQ(rules().resourceOf("/" + supportersToken + "/" + name)->role, PageRole::supporter);
  }
  EXPECT_EQ(rules().address(PageRole::customer), "http://127.0.0.1:8765/" + token + "/");
  EXPECT_EQ(rules().address(PageRole::supporter), "http://127.0.0.1:8765/" + supportersToken + "/");
  const AccessRules random(8765);
  EXPECT_NE(random.address(PageRole::customer), random.address(PageRole::supporter));
}

TEST(AccessRules, GuestHasAWebSocketBehindTheCustomersToken) {
  for (const RemoteId id : {0U, 7U, 4294967295U}) {
    const auto resource = rules().resourceOf("/" + token + "/guest-" + std::to_string(id));
    EXPECT_EQ(resource->role, PageRole::guest);
    EXPECT_EQ(resource->remote, id);
    EXPECT_EQ(resource->name, AccessRules::webSocket);
  }
  for (const auto* name : {"guest-", "guest-07", "guest-+7", "guest--7", "guest-7 ", "guest-7/",
                           "guest-x", "guest-4294967296", "guest", "Guest-7"}) {
    EXPECT_EQ(rules().resourceOf("/" + token + "/" + name)->role, PageRole::customer) << name;
    EXPECT_EQ(rules().resourceOf("/" + token + "/" + name)->name, name);
  }
  EXPECT_EQ(rules().resourceOf("/" + supportersToken + "/guest-7")->role, PageRole::supporter);
}

TEST(AccessRules, PolicyLetsNothingInFromElsewhere) {
  const auto policy = rules().contentPolicy();
  EXPECT_TRUE(policy.starts_with("default-src 'none'; "));
  EXPECT_NE(policy.find("frame-ancestors 'none'"), std::string::npos);
  EXPECT_EQ(policy.find("unsafe"), std::string::npos);
  EXPECT_EQ(policy.find('*'), std::string::npos);
}

TEST(AccessRules, ThePageMayReadWhatIsBesideTheSupportersPage) {
  const auto sources = [](const char* place) {
    const auto policy = AccessRules(8765, place).contentPolicy();
    const auto from = policy.find("connect-src");
    return policy.substr(from, policy.find(';', from) - from);
  };
  const std::string own = "connect-src 'self' ws://127.0.0.1:8765 ";
  EXPECT_EQ(sources("https://help.example.org/page/"), own + "https://help.example.org");
  EXPECT_EQ(sources("http://127.0.0.1:8080"), own + "http://127.0.0.1:8080");
  for (const auto* place : {"", "https://a *", "https://a;script-src", "https://a,b/", "*"}) {
    EXPECT_EQ(sources(place), own) << place;
  }
}

}  // namespace
}  // namespace quorvin::webui
