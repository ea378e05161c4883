#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "launchctl/AgentFile.h"
#include "launchctl/LaunchctlError.h"
#include "tests/linux/launchctl/LaunchctlHarness.h"

namespace quorvin::launchctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr auto usualLabel = "<key>Label</key><string>com.example.agent</string>";
constexpr auto usualProgram =
    "<key>ProgramArguments</key><array><string>/bin/sleep</string></array>";
constexpr auto usualStart = "<key>RunAtLoad</key><true/>";

class AgentFile : public testing::Test {
 protected:
  // Why a file with this content is refused; empty when it is not.
  std::string refusalOf(const std::string& content) const {
    return refusalOfFile(folder.write("com.example.agent.plist", content));
  }
  static std::string refusalOfFile(const std::string& file) {
    try {
      static_cast<void>(readAgentFile(file));
      return {};
    } catch (const LaunchctlError& failure) {
      EXPECT_EQ(failure.status(), ExitStatus::failed);
      EXPECT_THAT(failure.what(), HasSubstr(file));
      return failure.what();
    }
  }
  static std::string list(const std::string& entries) { return propertyListXml(entries); }

  TemporaryFolder folder;
};

TEST_F(AgentFile, SaysWhatToRunAndWhen) {
  const AgentDescription description{
      "com.example.agent",
      {"/bin/sleep", "a b", "\"<&>'", "", "ä€😀"},
      "<key>RunAtLoad</key><true/><key>KeepAlive</key><true/>"
      "<key>ProcessType</key><string>Interactive</string>"
      "<key>LimitLoadToSessionType</key><string>Aqua</string>"
      "<key>Something</key><dict><key>else</key><real>1</real></dict>"};
  const auto agent = readAgentFile(folder.write("a.plist", description.xml()));
  EXPECT_EQ(agent.label, "com.example.agent");
  EXPECT_THAT(agent.programArguments, ElementsAre("/bin/sleep", "a b", "\"<&>'", "", "ä€😀"));
  EXPECT_TRUE(agent.keepAlive);
}

TEST_F(AgentFile, IsNotKeptAliveUnlessItSaysSo) {
  const auto file =
      folder.write("a.plist", list(std::string(usualLabel) + usualProgram + usualStart));
  EXPECT_FALSE(readAgentFile(file).keepAlive);
}

TEST_F(AgentFile, MayFollowALinkToAFileOfOnesOwn) {
  const auto file = folder.write("real.plist", AgentDescription{}.xml());
  std::filesystem::create_symlink(file, folder.path("link.plist"));
  EXPECT_EQ(readAgentFile(folder.path("link.plist")).label, agentLabel);
}

TEST_F(AgentFile, IsRefusedWhenItIsNoPropertyList) {
  const std::string notOne = "not a property list";
  EXPECT_THAT(refusalOf(""), HasSubstr(notOne));
  EXPECT_THAT(refusalOf("hello"), HasSubstr(notOne));
  EXPECT_THAT(refusalOf("<?xml version=\"1.0\"?><html/>"), HasSubstr(notOne));
  EXPECT_THAT(refusalOf("<plist><string>a</string></plist>"), HasSubstr(notOne));
  EXPECT_THAT(refusalOf("<plist><dict><key>Label"), HasSubstr(notOne));
  EXPECT_THAT(refusalOf("{ Label = a; }"), HasSubstr(notOne));
  EXPECT_THAT(refusalOf(std::string(1000, '\0')), HasSubstr(notOne));
  EXPECT_THAT(refusalOf("bplist00" + std::string(40, '\xff')), HasSubstr("binary"));
}

TEST_F(AgentFile, IsRefusedWhenItCutsOffAnywhere) {
  const auto whole = AgentDescription{}.xml();
  const auto end = whole.rfind("</dict>");
  for (std::size_t length = 0; length < end; ++length) {
    EXPECT_NE(refusalOf(whole.substr(0, length)), "") << length;
  }
}

TEST_F(AgentFile, IsRefusedWhenItIsNestedWithoutEnd) {
  std::string nested;
  while (nested.size() < 60000) nested += "<array>";
  EXPECT_NE(refusalOf("<plist>" + nested), "");
  std::string closed = nested;
  for (std::size_t tag = 0; tag < nested.size() / 7; ++tag) closed += "</array>";
  EXPECT_NE(refusalOf("<plist>" + closed + "</plist>"), "");
}

TEST_F(AgentFile, IsRefusedWhenItIsLarge) {
  EXPECT_THAT(refusalOf(std::string(1 << 20, ' ')), HasSubstr("larger than 64 KiB"));
  auto description = AgentDescription{};
  description.arguments.push_back(std::string(1 << 20, 'x'));
  EXPECT_THAT(refusalOf(description.xml()), HasSubstr("larger than 64 KiB"));
}

TEST_F(AgentFile, IsRefusedWhenItsTextIsNotUtf8) {
  auto description = AgentDescription{};
  EXPECT_EQ(refusalOf(description.xml()), "");
  auto broken = description.xml();
  broken.replace(broken.find("1000"), 2, "\xc3\x28");
  EXPECT_THAT(refusalOf(broken), HasSubstr("ProgramArguments is not a list of texts in UTF-8"));
}

TEST_F(AgentFile, IsRefusedWithoutAGoodLabel) {
  const auto withLabel = [](const std::string& xml) {
    return list("<key>Label</key>" + xml + usualProgram + usualStart);
  };
  EXPECT_THAT(refusalOf(list(std::string(usualProgram) + usualStart)),
              HasSubstr("Label is missing"));
  EXPECT_THAT(refusalOf(withLabel("<integer>1</integer>")), HasSubstr("Label is not a text"));
  for (const std::string label : {"", ".a", "-a", "_a", "a b", "a/b", "../a", "a@b", "ä", "a\nb"}) {
    EXPECT_THAT(refusalOf(withLabel("<string>" + label + "</string>")), HasSubstr("its Label"))
        << label;
  }
  EXPECT_THAT(refusalOf(withLabel("<string>" + std::string(201, 'a') + "</string>")),
              HasSubstr("its Label"));
  EXPECT_EQ(refusalOf(withLabel("<string>" + std::string(200, 'a') + "</string>")), "");
}

TEST_F(AgentFile, IsRefusedWithoutAProgramThatCanRun) {
  const auto withArguments = [](const std::string& xml) {
    return list(std::string(usualLabel) + "<key>ProgramArguments</key>" + xml + usualStart);
  };
  const auto program = [&](const std::string& path) {
    return withArguments("<array><string>" + path + "</string></array>");
  };
  EXPECT_THAT(refusalOf(list(std::string(usualLabel) + usualStart)), HasSubstr("name no program"));
  EXPECT_THAT(refusalOf(withArguments("<array/>")), HasSubstr("name no program"));
  EXPECT_THAT(refusalOf(withArguments("<string>/bin/sleep</string>")), HasSubstr("list of texts"));
  EXPECT_THAT(refusalOf(withArguments("<array><true/></array>")), HasSubstr("list of texts"));
  EXPECT_THAT(refusalOf(program("sleep")), HasSubstr("not an absolute path"));
  EXPECT_THAT(refusalOf(program("")), HasSubstr("not an absolute path"));
  EXPECT_THAT(refusalOf(program("/no/such/program")), HasSubstr("can be executed"));
  EXPECT_THAT(refusalOf(program("/bin")), HasSubstr("can be executed"));
  EXPECT_THAT(refusalOf(program(folder.write("plain", ""))), HasSubstr("can be executed"));
  AgentDescription many;
  many.arguments.resize(257, "x");
  EXPECT_THAT(refusalOf(many.xml()), HasSubstr("more than 256"));
}

TEST_F(AgentFile, IsRefusedWhenItAsksForWhatThereIsNot) {
  const auto with = [](const std::string& entries) {
    return list(std::string(usualLabel) + usualProgram + entries);
  };
  const auto type = [&](const std::string& key, const std::string& value) {
    return with(usualStart + ("<key>" + key + "</key>" + value));
  };
  EXPECT_THAT(refusalOf(with("")), HasSubstr("nothing would ever start"));
  EXPECT_THAT(refusalOf(with("<key>RunAtLoad</key><false/>")),
              HasSubstr("nothing would ever start"));
  EXPECT_THAT(refusalOf(with("<key>RunAtLoad</key><string>YES</string>")),
              HasSubstr("RunAtLoad is not true or false"));
  EXPECT_THAT(refusalOf(with("<key>KeepAlive</key><dict/>")),
              HasSubstr("KeepAlive is not true or false"));
  EXPECT_THAT(refusalOf(type("LimitLoadToSessionType", "<string>Background</string>")),
              HasSubstr("not Aqua"));
  EXPECT_THAT(refusalOf(type("LimitLoadToSessionType", "<array/>")), HasSubstr("not a text"));
  EXPECT_THAT(refusalOf(type("ProcessType", "<string>Fast</string>")), HasSubstr("ProcessType"));
  EXPECT_EQ(refusalOf(type("ProcessType", "<string>Background</string>")), "");
}

TEST_F(AgentFile, IsRefusedWhenOthersCanWriteIt) {
  const auto file = folder.write("com.example.agent.plist", AgentDescription{}.xml());
  for (const mode_t mode : {0646U, 0666U, 0602U}) {
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
    EXPECT_THAT(refusalOfFile(file), HasSubstr("chmod go-w"));
  }
  ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
  EXPECT_EQ(refusalOfFile(file), "");
}

TEST_F(AgentFile, IsRefusedUnlessItIsARegularFileOfThatName) {
  EXPECT_THAT(refusalOfFile(folder.path("no.plist")), HasSubstr("No such file"));
  EXPECT_THAT(refusalOfFile(folder.write("a.txt", AgentDescription{}.xml())),
              HasSubstr("does not end in .plist"));
  std::filesystem::create_directory(folder.path("folder.plist"));
  EXPECT_THAT(refusalOfFile(folder.path("folder.plist")), HasSubstr("not a regular file"));
  ASSERT_EQ(::mkfifo(folder.path("pipe.plist").c_str(), 0600), 0);
  EXPECT_THAT(refusalOfFile(folder.path("pipe.plist")), HasSubstr("not a regular file"));
}

TEST_F(AgentFile, NamesTheAgentByItsContentBeforeItsName) {
  EXPECT_EQ(labelOfAgentFile(folder.write("com.other.plist", AgentDescription{}.xml())),
            agentLabel);
  EXPECT_EQ(labelOfAgentFile(folder.write("com.broken.plist", "<plist>")), "com.broken");
  EXPECT_EQ(labelOfAgentFile(folder.path("com.gone.plist")), "com.gone");
  EXPECT_EQ(labelOfAgentFile(folder.path("com.gone.txt")), std::nullopt);
  EXPECT_EQ(labelOfAgentFile(folder.path("what is this.plist")), std::nullopt);
}

TEST_F(AgentFile, NamesAnAgentWhoseProgramIsGone) {
  const AgentDescription description{"com.example.agent", {"/no/such/program"}, ""};
  EXPECT_EQ(labelOfAgentFile(folder.write("b.plist", description.xml())), agentLabel);
}

}  // namespace
}  // namespace quorvin::launchctl
