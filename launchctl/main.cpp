// Does on Linux what the host asks of "/bin/launchctl" on macOS: a program that lies beside it.

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>

#include "launchctl/AgentFile.h"
#include "launchctl/CommandLine.h"
#include "launchctl/LaunchctlError.h"
#include "launchctl/LoginFiles.h"
#include "launchctl/Registration.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/ProgramStart.h"

namespace {

using namespace quorvin::launchctl;

// What a file is called, or systemctl says, may hold anything; standard error gets one line.
std::string oneLine(const std::string& text) {
  const quorvin::GlibPtr<char> valid(g_utf8_make_valid(text.c_str(), -1));
  std::string line = valid.get();
  constexpr char firstPrintable = ' ';
  std::ranges::replace_if(
      line, [](char letter) { return letter >= 0 && letter < firstPrintable; }, ' ');
  return line;
}

// Registers the agent that a file describes with the login of this user, and leaves everything as
// it was when that is not possible or it is registered already.
void bootstrap(const std::filesystem::path& file) {
  const auto environment = Environment::fromEnvironment();
  const Lock lock(environment.stateFolder);
  const auto agent = readAgentFile(file);
  const Registration registration(agent.label, environment);
  registration.requireFreePlaces();
  if (registration.isComplete()) {
    throw LaunchctlError(agent.label + " is registered already; boot it out first");
  }
  // What an earlier try has left, that was cut short.
  if (registration.hasTraces()) registration.remove();
  registration.add(agent);
}

// Ends that agent and unregisters it.
void bootout(const std::filesystem::path& file) {
  const auto label = labelOfAgentFile(file);
  if (!label) {
    throw LaunchctlError(ExitStatus::noSuchAgent,
                         "neither the content nor the name of " + file.string() +
                             " says which agent it is about; name the file LABEL.plist");
  }
  const auto environment = Environment::fromEnvironment();
  const Registration registration(*label, environment);
  if (!registration.hasTraces()) {
    throw LaunchctlError(ExitStatus::noSuchAgent,
                         *label + " is not registered, so there is nothing to do");
  }
  const Lock lock(environment.stateFolder);
  registration.remove();
}

void carryOut(const Request& request) {
  switch (request.command) {
    case Command::bootstrap:
      return bootstrap(request.file);
    case Command::bootout:
      return bootout(request.file);
    case Command::help:
      std::fputs(usageText().c_str(), stdout);
      return;
    case Command::version:
      std::puts("quorvin-launchctl " QUORVIN_VERSION);
      return;
  }
}

// The host that calls this program throws away what it says. The newest line comes first.
void writeDown(const std::string& line) {
  constexpr std::size_t earlierBytesMax = 4096;
  try {
    const ManagedFile log(Environment::fromEnvironment().stateFolder / "log");
    log.replace(line + log.content().substr(0, earlierBytesMax));
  } catch (const LaunchctlError&) {
    // There is nobody left to tell.
  }
}

int report(const std::string& message, ExitStatus status) {
  const auto line = oneLine(message) + "\n";
  std::fputs(("quorvin-launchctl: " + line).c_str(), stderr);
  if (status == ExitStatus::failed) writeDown(line);
  return static_cast<int>(status);
}

}  // namespace

int main(int count, char** words) {
  quorvin::prepareProcess();
  try {
    carryOut(parseCommandLine({words + std::min(count, 1), words + count}, ::getuid()));
    return static_cast<int>(ExitStatus::success);
  } catch (const LaunchctlError& failure) {
    return report(failure.what(), failure.status());
  } catch (const std::exception& failure) {
    return report(failure.what(), ExitStatus::failed);
  }
}
