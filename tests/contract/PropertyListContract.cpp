#include "tests/contract/PropertyListContract.h"

#include "platform/Error.h"

namespace quorvin::contract {

std::string PropertyListContract::xml(const Value& value) {
  const auto data = world->propertyList().xmlData(value);
  return {data.bytes().begin(), data.bytes().end()};
}

std::string PropertyListContract::content(const Value& value) {
  const std::string opening = "<plist version=\"1.0\">";
  const auto text = xml(value);
  const auto begin = text.find(opening) + opening.size();
  std::string inside = text.substr(begin, text.rfind("</plist>") - begin);
  std::erase_if(inside, [](char letter) { return letter == '\n' || letter == '\t'; });
  return inside;
}

bool PropertyListContract::isRefused(const Value& value) {
  try {
    (void)xml(value);
  } catch (const Error& error) {
    EXPECT_NE(error.localizedDescription, "");
    return true;
  }
  return false;
}

TEST_P(PropertyListContract, WritesAWholeDocument) {
  const auto text = xml(Map{});
  EXPECT_TRUE(text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist "))
      << text;
  EXPECT_TRUE(text.ends_with("</plist>\n")) << text;
}

TEST_P(PropertyListContract, WritesEveryKindOfValueThatAPropertyListHas) {
  EXPECT_EQ(content(Map{{"Label", "Büro \U0001F600"}}),
            "<dict><key>Label</key><string>Büro \U0001F600</string></dict>");
  EXPECT_EQ(content(List{true, false, 7, List{}, Map{}}),
            "<array><true/><false/><integer>7</integer><array/><dict/></array>");
  EXPECT_EQ(content(Map{{"List", List{"a", Map{{"b", "c"}}}}}),
            "<dict><key>List</key><array><string>a</string>"
            "<dict><key>b</key><string>c</string></dict></array></dict>");
  EXPECT_EQ(content(Data(Bytes{1, 2, 3, 255})), "<data>AQID/w==</data>");
}

TEST_P(PropertyListContract, EscapesWhatXmlWouldTakeForItsOwn) {
  EXPECT_EQ(content("a & <b>"), "<string>a &amp; &lt;b&gt;</string>");
}

TEST_P(PropertyListContract, RefusesWhatNoPropertyListCanHold) {
  EXPECT_TRUE(isRefused(Map{{"key", Value()}}));
  EXPECT_TRUE(isRefused(Map{{1, "value"}}));
  EXPECT_TRUE(isRefused(List{std::vector<std::int32_t>{1}}));
}

}  // namespace quorvin::contract
