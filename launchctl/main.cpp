// Does on Linux what the host asks of "/bin/launchctl" on macOS: a program that lies beside it.

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>

#include "launchctl/Launchctl.h"
#include "launchctl/OwnFile.h"
#include "platform/unix/ProgramStart.h"

namespace {

using namespace quorvin::launchctl;

// What a file is called, or systemctl says, may hold anything; standard error gets one line.
std::string oneLine(const std::string& text) {
  const std::unique_ptr<char, decltype(&g_free)> valid(g_utf8_make_valid(text.c_str(), -1), g_free);
  std::string line = valid.get();
  constexpr char firstPrintable = ' ';
  std::ranges::replace_if(
      line, [](char letter) { return letter >= 0 && letter < firstPrintable; }, ' ');
  return line;
}

void carryOut(const Request& request) {
  switch (request.command) {
    case Command::bootstrap:
      return bootstrap(request.file, lookAround());
    case Command::bootout:
      return bootout(request.file, lookAround());
    case Command::run:
      return run(request.label, request.program, lookAround());
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
    const OwnFile log(lookAround().stateFolder / "log");
    log.replace(line + log.content().substr(0, earlierBytesMax));
  } catch (const Failure&) {
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
  } catch (const Failure& failure) {
    return report(failure.what(), failure.status());
  } catch (const std::exception& failure) {
    return report(failure.what(), ExitStatus::failed);
  }
}
