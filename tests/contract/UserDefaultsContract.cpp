#include "tests/contract/UserDefaultsContract.h"

namespace quorvin::contract {

TEST_P(UserDefaultsContract, HoldsNothingForAnAbsentKey) {
  world->store("other", true);
  EXPECT_FALSE(boolFor("key"));
  EXPECT_EQ(stringFor("key"), std::nullopt);
}

TEST_P(UserDefaultsContract, ReadsTruthValues) {
  world->store("on", true);
  world->store("off", false);
  EXPECT_TRUE(boolFor("on"));
  EXPECT_FALSE(boolFor("off"));
}

TEST_P(UserDefaultsContract, ReadsTextAsItIs) {
  for (const std::string text : {"Front desk", "Büro \U0001F600", " spaces at both ends ",
                                 "a\tb\\c", "first\nsecond", "\"quoted\"", "50%"}) {
    world->store("name", text);
    EXPECT_EQ(stringFor("name"), text);
  }
}

TEST_P(UserDefaultsContract, KnowsEmptyTextFromNone) {
  world->store("name", "");
  EXPECT_EQ(stringFor("name"), "");
}

TEST_P(UserDefaultsContract, CountsItsOwnChangesAtOnceAndWhenTheyAreStored) {
  world->store("name", "before");
  world->store("gone", "before");
  auto& defaults = world->userDefaults();
  defaults.setBool(true, "on");
  defaults.setBool(false, "off");
  defaults.setString("Büro \U0001F600", "name");
  defaults.removeObject("gone");
  defaults.removeObject("never there");
  for (const bool isStored : {false, true}) {
    if (isStored) defaults.synchronize();
    EXPECT_TRUE(boolFor("on"));
    EXPECT_FALSE(boolFor("off"));
    EXPECT_EQ(stringFor("name"), "Büro \U0001F600");
    EXPECT_EQ(stringFor("gone"), std::nullopt);
  }
}

TEST_P(UserDefaultsContract, StoresNothingWhenNothingWasChanged) {
  world->store("name", "before");
  world->userDefaults().synchronize();
  EXPECT_EQ(stringFor("name"), "before");
}

TEST_P(UserDefaultsContract, ReadsNewlyAtEveryCall) {
  world->store("key", true);
  world->store("name", "before");
  EXPECT_TRUE(boolFor("key"));
  EXPECT_EQ(stringFor("name"), "before");
  world->store("key", false);
  world->store("name", "after");
  EXPECT_FALSE(boolFor("key"));
  EXPECT_EQ(stringFor("name"), "after");
  world->store("key", true);
  world->remove("key");
  world->remove("name");
  EXPECT_FALSE(boolFor("key"));
  EXPECT_EQ(stringFor("name"), std::nullopt);
}

TEST_P(UserDefaultsCoercionContract, ReadsNumbersAsText) {
  for (const std::int64_t number : {0, 42, -7}) {
    world->store("number", number);
    EXPECT_EQ(stringFor("number"), std::to_string(number));
  }
}

TEST_P(UserDefaultsCoercionContract, TakesTheUsualWordsForTrueInAnyCase) {
  for (const std::string truth : {"YES", "yes", "true", "TRUE", "True", "1"}) {
    world->store("key", truth);
    EXPECT_TRUE(boolFor("key")) << truth;
  }
  for (const std::string untruth : {"NO", "no", "false", "0", "", "maybe"}) {
    world->store("key", untruth);
    EXPECT_FALSE(boolFor("key")) << untruth;
  }
}

TEST_P(UserDefaultsCoercionContract, TakesOneForTrueAndZeroForFalse) {
  world->store("key", std::int64_t{1});
  EXPECT_TRUE(boolFor("key"));
  world->store("key", std::int64_t{0});
  EXPECT_FALSE(boolFor("key"));
}

}  // namespace quorvin::contract
