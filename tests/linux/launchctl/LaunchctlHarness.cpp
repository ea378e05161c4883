#include "tests/linux/launchctl/LaunchctlHarness.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

namespace quorvin::launchctl {

namespace {

std::string inXml(const std::string& text) {
  const std::unique_ptr<char, decltype(&g_free)> escaped(
      g_markup_escape_text(text.data(), static_cast<gssize>(text.size())), g_free);
  return escaped.get();
}

}  // namespace

std::string propertyListXml(const std::string& entries) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\">\n<dict>" +
         entries + "</dict>\n</plist>\n";
}

std::string AgentDescription::xml() const {
  std::string list;
  for (const auto& argument : arguments) list += "<string>" + inXml(argument) + "</string>";
  return propertyListXml("<key>Label</key><string>" + inXml(label) + "</string>" +
                         "<key>ProgramArguments</key><array>" + list + "</array>" + others);
}

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> commandOfEntry(const std::string& text) {
  const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(),
                                                                   g_key_file_free);
  EXPECT_TRUE(
      g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr));
  const std::unique_ptr<char, decltype(&g_free)> exec(
      g_key_file_get_string(file.get(), "Desktop Entry", "Exec", nullptr), g_free);
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

std::string LaunchctlHarness::writeAgent(const AgentDescription& description) const {
  return folder.write(description.label + ".plist", description.xml());
}

void LaunchctlHarness::put(const std::string& name, const std::string& content) const {
  static_cast<void>(folder.write(name, content));
}

ProgramRun LaunchctlHarness::bootstrap(const std::string& file) const {
  return runOnFile("bootstrap", file);
}

ProgramRun LaunchctlHarness::bootout(const std::string& file) const {
  return runOnFile("bootout", file);
}

ProgramRun LaunchctlHarness::runOnFile(const char* command, const std::string& file) const {
  return run({command, "gui/" + std::to_string(::getuid()), file});
}

ProgramRun LaunchctlHarness::run(const std::vector<std::string>& arguments) const {
  std::filesystem::create_directory(home());
  std::vector<std::string> command{QUORVIN_LAUNCHCTL};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return runProgram(std::move(command), environment);
}

std::filesystem::path LaunchctlHarness::unit(const std::string& label) const {
  return home() + "/.config/systemd/user/" + label + ".service";
}

std::filesystem::path LaunchctlHarness::entry(const std::string& label) const {
  return home() + "/.config/autostart/" + label + ".desktop";
}

std::filesystem::path LaunchctlHarness::log() const {
  return home() + "/.local/state/quorvin-launchctl/log";
}

std::vector<std::string> LaunchctlHarness::files() const {
  std::vector<std::string> found;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(home(), ignored)) {
    if (!entry.is_directory() && entry.path() != log()) found.push_back(entry.path());
  }
  return found;
}

}  // namespace quorvin::launchctl
