#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "launchctl/AutostartEntry.h"

namespace quorvin::launchctl {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr auto group = "Desktop Entry";

// The arguments as GLib, with which desktops read these files, finds them.
std::vector<std::string> readBack(const std::string& text) {
  const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(),
                                                                   g_key_file_free);
  EXPECT_TRUE(
      g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr));
  const std::unique_ptr<char, decltype(&g_free)> exec(
      g_key_file_get_string(file.get(), group, "Exec", nullptr), g_free);
  std::string line;
  for (const char* letter = exec.get(); *letter != '\0'; ++letter) {
    line += *letter;
    if (*letter != '%') continue;
    ++letter;
    EXPECT_EQ(*letter, '%') << "a field code";
  }
  char** words = nullptr;
  EXPECT_TRUE(g_shell_parse_argv(line.c_str(), nullptr, &words, nullptr));
  const std::unique_ptr<char*, decltype(&g_strfreev)> owned(words, g_strfreev);
  return {words, words + g_strv_length(words)};
}

std::string textFor(const std::vector<std::string>& command) {
  return autostartEntryText("a.b", command, AutostartReader::every);
}

TEST(AutostartEntry, HasTheCommandRunAtLogin) {
  EXPECT_EQ(textFor({"/opt/agent", "--unattended"}),
            "[Desktop Entry]\n"
            "Type=Application\n"
            "Name=a.b\n"
            "Exec=\"/opt/agent\" \"--unattended\"\n"
            "Terminal=false\n"
            "NoDisplay=true\n");
}

TEST(AutostartEntry, IsLeftToDesktopsThatSystemdDoesNotLogIn) {
  EXPECT_THAT(autostartEntryText("a.b", {"/opt/agent"}, AutostartReader::desktopsWithoutSystemd),
              HasSubstr("\nX-systemd-skip=true\n"));
  EXPECT_THAT(textFor({"/opt/agent"}), Not(HasSubstr("X-systemd-skip")));
}

TEST(AutostartEntry, CarriesEveryArgumentAsItIs) {
  const std::vector<std::string> command{
      "/opt/an agent", "",     "a b", "\"", "\\", "\\\\", "'",   "`", "$HOME", "%f", "%%",
      "100%",          "a\nb", "\t",  "\r", "~",  "a;b",  "ä€😀", " ", "\\n",   "#"};
  EXPECT_EQ(readBack(textFor(command)), command);
}

TEST(AutostartEntry, GoesThroughAShellToAProgramWithAnEqualsSign) {
  EXPECT_EQ(readBack(textFor({"/opt/a=b", "c=d"})),
            (std::vector<std::string>{"/bin/sh", "-c", "exec \"$@\"", "sh", "/opt/a=b", "c=d"}));
}

}  // namespace
}  // namespace quorvin::launchctl
