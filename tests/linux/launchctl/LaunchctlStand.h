#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/TemporaryFolder.h"
#include "tests/linux/launchctl/ProgramRun.h"

namespace quorvin::launchctl {

constexpr auto agentLabel = "com.example.agent";

// A property list that describes an agent: the usual entries, or others in their place.
struct AgentDescription {
  std::string label = agentLabel;
  std::vector<std::string> arguments{"/bin/sleep", "1000"};
  // More entries, as XML.
  std::string others = "<key>RunAtLoad</key><true/><key>KeepAlive</key><true/>";

  [[nodiscard]] std::string xml() const;
};

// The content of a dictionary as a whole property list.
[[nodiscard]] std::string propertyListXml(const std::string& entries);
[[nodiscard]] std::string contentOf(const std::filesystem::path& file);
// What an autostart entry starts, as GLib reads it, with which desktops read these files.
[[nodiscard]] std::vector<std::string> commandOfEntry(const std::string& text);

// The real program with a home folder of its own.
class LaunchctlStand {
 public:
  TemporaryFolder folder;

  // Writes the description to the file that is named after its label, and returns the path.
  std::string writeAgent(const AgentDescription& description = {}) const;
  // Writes a file in the stand's folder.
  void put(const std::string& name, const std::string& content) const;
  [[nodiscard]] ProgramRun bootstrap(const std::string& file) const;
  [[nodiscard]] ProgramRun bootout(const std::string& file) const;
  [[nodiscard]] ProgramRun run(const std::vector<std::string>& arguments) const;
  // The variables that a run finds changed; tests add to them.
  std::vector<std::string> environment{"HOME=" + home(),
                                       "XDG_CONFIG_HOME=", "XDG_STATE_HOME=", "XDG_RUNTIME_DIR="};

  [[nodiscard]] std::string home() const { return folder.path("home"); }
  [[nodiscard]] std::filesystem::path unit(const std::string& label = agentLabel) const;
  [[nodiscard]] std::filesystem::path entry(const std::string& label = agentLabel) const;
  // Where it writes down why it has failed.
  [[nodiscard]] std::filesystem::path log() const;
  // Every other file below the home folder.
  [[nodiscard]] std::vector<std::string> files() const;

 private:
  [[nodiscard]] ProgramRun runOnFile(const char* command, const std::string& file) const;
};

}  // namespace quorvin::launchctl
