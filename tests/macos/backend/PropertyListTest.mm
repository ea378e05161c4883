#import "platform/macos/PropertyList.h"

#include <string>

#include "platform/Error.h"
#include "tests/macos/backend/SystemTest.h"

namespace quorvin {
namespace {

class PropertyListTest : public SystemTest {
 protected:
  std::string xml(const Value& value) {
    @autoreleasepool {
      const auto data = list.xmlData(value);
      return {data.bytes().begin(), data.bytes().end()};
    }
  }
  bool isRefused(const Value& value) {
    @autoreleasepool {
      try {
        (void)list.xmlData(value);
      } catch (const Error& error) {
        EXPECT_EQ(error.domain, "NSCocoaErrorDomain");
        EXPECT_EQ(error.code, NSPropertyListWriteInvalidError);
        return true;
      }
      return false;
    }
  }

  MacPropertyList list;
};

TEST_F(PropertyListTest, WritesAnAgent) {
  EXPECT_EQ(xml(Map{{"RunAtLoad", true},
                    {"Label", "a & b"},
                    {"ProgramArguments", List{"/x", "--unattended"}},
                    {"Off", false},
                    {"Data", Data(Bytes{1, 2, 3, 255})},
                    {"Number", 7}}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
            "<plist version=\"1.0\">\n"
            "<dict>\n"
            "\t<key>Data</key>\n\t<data>\n\tAQID/w==\n\t</data>\n"
            "\t<key>Label</key>\n\t<string>a &amp; b</string>\n"
            "\t<key>Number</key>\n\t<integer>7</integer>\n"
            "\t<key>Off</key>\n\t<false/>\n"
            "\t<key>ProgramArguments</key>\n"
            "\t<array>\n\t\t<string>/x</string>\n\t\t<string>--unattended</string>\n\t</array>\n"
            "\t<key>RunAtLoad</key>\n\t<true/>\n"
            "</dict>\n"
            "</plist>\n");
}

TEST_F(PropertyListTest, AsksForXmlWithoutOptions) {
  (void)xml(Map{});
  const auto calls =
      standin::callsOf("+[NSPropertyListSerialization dataWithPropertyList:format:options:error:]");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].arguments, (std::vector<std::string>{"100", "0"}));
}

TEST_F(PropertyListTest, PassesOnWhatTheSystemRefuses) {
  EXPECT_TRUE(isRefused(Map{{"key", Value()}}));
  EXPECT_TRUE(isRefused(Map{{1, "value"}}));
  EXPECT_TRUE(isRefused(List{std::vector<float>{1}}));
  EXPECT_FALSE(isRefused(List{}));
}

}  // namespace
}  // namespace quorvin
