#import "platform/macos/UserDefaults.h"

#include "tests/macos/backend/SystemTest.h"

namespace quorvin {
namespace {

class UserDefaultsTest : public SystemTest {
 protected:
  bool boolOf(id value) {
    standin::presetUserDefault("key", value);
    @autoreleasepool {
      return defaults.boolForKey("key");
    }
  }
  std::optional<std::string> stringOf(id value) {
    standin::presetUserDefault("key", value);
    @autoreleasepool {
      return defaults.stringForKey("key");
    }
  }

  MacUserDefaults defaults;
};

TEST_F(UserDefaultsTest, ReadsBooleans) {
  EXPECT_TRUE(boolOf(@YES));
  EXPECT_FALSE(boolOf(@NO));
  EXPECT_TRUE(boolOf(@2));
  EXPECT_FALSE(boolOf(@0));
  EXPECT_TRUE(boolOf(@"YES"));
  EXPECT_FALSE(boolOf(@"no"));
  EXPECT_FALSE(boolOf(@[ @YES ]));
  EXPECT_FALSE(boolOf(nil));
}

TEST_F(UserDefaultsTest, ReadsTextAndNumbersAsText) {
  EXPECT_EQ(stringOf(@"Büro"), "Büro");
  EXPECT_EQ(stringOf(@""), "");
  EXPECT_EQ(stringOf(@42), "42");
  EXPECT_EQ(stringOf(@1.5), "1.5");
  EXPECT_EQ(stringOf(@[ @"x" ]), std::nullopt);
  EXPECT_EQ(stringOf(nil), std::nullopt);
}

TEST_F(UserDefaultsTest, ReadsAfreshAtEveryCall) {
  EXPECT_EQ(stringOf(@"one"), "one");
  EXPECT_EQ(stringOf(@"two"), "two");
}

TEST_F(UserDefaultsTest, StoresAndRemoves) {
  @autoreleasepool {
    defaults.setBool(true, "on");
    defaults.setString("Büro", "name");
    defaults.synchronize();
    NSUserDefaults* stored = NSUserDefaults.standardUserDefaults;
    EXPECT_EQ([stored objectForKey:@"on"], (__bridge id)kCFBooleanTrue);
    EXPECT_TRUE([[stored objectForKey:@"name"] isEqual:@"Büro"]);
    defaults.removeObject("name");
    EXPECT_EQ([stored objectForKey:@"name"], nil);
    defaults.removeObject("on");
  }
}

}  // namespace
}  // namespace quorvin
