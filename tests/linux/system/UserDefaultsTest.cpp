#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/linux/system/UserDefaults.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {
namespace {

// Sets a variable of the environment, or removes it, for the length of a test.
class EnvironmentVariable {
 public:
  EnvironmentVariable(const char* name, const char* value) : name(name) {
    if (const char* before = std::getenv(name)) original = before;
    put(value);
  }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
  ~EnvironmentVariable() { put(original ? original->c_str() : nullptr); }

 private:
  void put(const char* value) {
    if (value != nullptr) {
      setenv(name, value, 1);
    } else {
      unsetenv(name);
    }
  }

  const char* name;
  std::optional<std::string> original;
};

class UserDefaultsTest : public testing::Test {
 protected:
  LinuxUserDefaults with(std::string_view content) {
    return LinuxUserDefaults(folder.write("defaults.ini", content));
  }

  TemporaryFolder folder;
};

TEST_F(UserDefaultsTest, TakesEverythingElseForFalse) {
  for (const char* untruth : {"NO", "false", "0", "", "yes please", "11", "on", "\xFF"}) {
    EXPECT_FALSE(with(std::string("[defaults]\nkey=") + untruth + "\n").boolForKey("key"))
        << untruth;
  }
}

TEST_F(UserDefaultsTest, ReadsTextAndNumbersAsTheyAreWritten) {
  auto defaults = with("[defaults]\nname = Büro Mac\nnumber=42\nreal=1.50\nempty=\n");
  EXPECT_EQ(defaults.stringForKey("name"), "Büro Mac");
  EXPECT_EQ(defaults.stringForKey("number"), "42");
  EXPECT_EQ(defaults.stringForKey("real"), "1.50");
  EXPECT_EQ(defaults.stringForKey("empty"), "");
}

TEST_F(UserDefaultsTest, ReadsEscapes) {
  EXPECT_EQ(with("[defaults]\nname=\\sa\\tb\\\\c\n").stringForKey("name"), " a\tb\\c");
}

TEST_F(UserDefaultsTest, HasNothingForAnAbsentKey) {
  auto defaults = with("[defaults]\nother=1\n[elsewhere]\nkey=1\n");
  EXPECT_FALSE(defaults.boolForKey("key"));
  EXPECT_EQ(defaults.stringForKey("key"), std::nullopt);
  EXPECT_EQ(defaults.stringForKey(""), std::nullopt);
  EXPECT_EQ(defaults.stringForKey(std::string("other\0x", 7)), std::nullopt);
}

TEST_F(UserDefaultsTest, ReadsTheFileAfreshAtEveryCall) {
  auto defaults = with("[defaults]\nkey=1\n");
  EXPECT_TRUE(defaults.boolForKey("key"));
  (void)folder.write("defaults.ini", "[defaults]\nkey=0\n");
  EXPECT_FALSE(defaults.boolForKey("key"));
  std::filesystem::remove(folder.path("defaults.ini"));
  EXPECT_EQ(defaults.stringForKey("key"), std::nullopt);
}

TEST_F(UserDefaultsTest, HoldsNoKeysInACorruptFile) {
  for (const char* content : {"key=1\n[defaults]\n", "[defaults\nkey=1\n", "[defaults]\nkey\n",
                              "[defaults]\nkey=\xFF\xFE\n", "[defaults]\nkey=\\x\n", "\x01\x02"}) {
    EXPECT_EQ(with(content).stringForKey("key"), std::nullopt) << content;
  }
}

TEST_F(UserDefaultsTest, ReadsAFileUpToAMebibyteOnly) {
  const std::string entry = "[defaults]\nkey=1\n#";
  const std::string fitting = entry + std::string((1 << 20) - entry.size(), 'x');
  EXPECT_TRUE(with(fitting).boolForKey("key"));
  EXPECT_FALSE(with(fitting + "x").boolForKey("key"));
}

TEST_F(UserDefaultsTest, HoldsNoKeysInWhatIsNoFile) {
  EXPECT_FALSE(LinuxUserDefaults(folder.path("")).boolForKey("key"));
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(LinuxUserDefaults(folder.path("pipe")).boolForKey("key"));
}

TEST_F(UserDefaultsTest, LiesInTheConfigurationDirectory) {
  const EnvironmentVariable home("HOME", "/home/customer");
  const EnvironmentVariable directory("XDG_CONFIG_HOME", "/configuration");
  EXPECT_EQ(LinuxUserDefaults::pathFromEnvironment(),
            "/configuration/com.quorvin.support/defaults.ini");
}

TEST_F(UserDefaultsTest, LiesUnderTheHomeDirectoryOtherwise) {
  const EnvironmentVariable home("HOME", "/home/customer");
  for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/path"}) {
    const EnvironmentVariable directory("XDG_CONFIG_HOME", unusable);
    EXPECT_EQ(LinuxUserDefaults::pathFromEnvironment(),
              "/home/customer/.config/com.quorvin.support/defaults.ini");
  }
}

}  // namespace
}  // namespace quorvin
