#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/Error.h"
#include "platform/linux/system/Process.h"
#include "platform/linux/system/PropertyList.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {
namespace {

constexpr auto envProgram = "/usr/bin/env";

std::string xml(const Value& value) {
  const auto data = LinuxPropertyList().xmlData(value);
  return {data.bytes().begin(), data.bytes().end()};
}

std::string refusal(const Value& value) {
  try {
    (void)LinuxPropertyList().xmlData(value);
  } catch (const Error& error) {
    EXPECT_EQ(error.domain, "com.quorvin.support.propertylist");
    return error.localizedDescription;
  }
  return {};
}

// Whether Python's own reader takes the file for what the expression says.
bool pythonReads(const std::string& file, const std::string& expression) {
  return runProgram(envProgram, {"python3", "-c",
                                 "import plistlib, sys\n"
                                 "read = plistlib.load(open(sys.argv[1], 'rb'))\n"
                                 "sys.exit(0 if read == " +
                                     expression + " else 1)",
                                 file}) == 0;
}

TEST(LinuxPropertyList, WritesTheCurrentXmlFormat) {
  const auto text = xml(Map{{"Label", "a"}});
  EXPECT_TRUE(
      text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC "))
      << text;
  EXPECT_THAT(text, testing::HasSubstr("<plist version=\"1.0\">"));
  EXPECT_TRUE(text.ends_with("</plist>\n")) << text;
}

TEST(LinuxPropertyList, IsReadBackByOtherReaders) {
  const TemporaryFolder folder;
  const auto file = folder.write(
      "list.plist",
      xml(Map{{"Label", "com.example.agent"},
              {"ProgramArguments", List{"/Applications/A & B <c>.app/\"x\"", "Bü☺🎉", ""}},
              {"RunAtLoad", true},
              {"Off", false},
              {"Number", std::int64_t{1} << 40},
              {"Real", 0.5},
              {"Data", Data(Bytes{0, 1, 255})},
              {"Empty", Map{}},
              {"List", List{List{}, Map{{"a", 1}}}}}));
  EXPECT_TRUE(pythonReads(file,
                          "{'Label': 'com.example.agent',"
                          " 'ProgramArguments': ['/Applications/A & B <c>.app/\"x\"', 'Bü☺🎉', ''],"
                          " 'RunAtLoad': True, 'Off': False, 'Number': 1 << 40, 'Real': 0.5,"
                          " 'Data': b'\\x00\\x01\\xff', 'Empty': {}, 'List': [[], {'a': 1}]}"));
  EXPECT_FALSE(pythonReads(file, "{}")) << "the reader can say no";
  EXPECT_EQ(runProgram(envProgram, {"plistutil", "-i", file}), 0);
}

TEST(LinuxPropertyList, RefusesWhatNoPropertyListCanHold) {
  EXPECT_EQ(refusal(Map{{"key", Value()}}), "A property list cannot hold this kind of value.");
  EXPECT_EQ(refusal(Map{{1, "value"}}), "A property list cannot hold a key that is no text.");
  EXPECT_EQ(refusal(List{std::vector<float>{1}}),
            "A property list cannot hold this kind of value.");
  EXPECT_EQ(refusal(std::string("a\0b", 3)),
            "A property list cannot hold a text with a NUL character in it.");
}

}  // namespace
}  // namespace quorvin
