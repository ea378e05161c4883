// Does on Linux what the host asks of "/bin/launchctl" on macOS: a program that lies beside it.

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>

#include "launchctl/Launchctl.h"
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

void report(const std::string& message) {
  std::fputs(("quorvin-launchctl: " + oneLine(message) + "\n").c_str(), stderr);
}

}  // namespace

int main(int count, char** words) {
  quorvin::prepareProcess();
  try {
    carryOut(parseCommandLine({words + std::min(count, 1), words + count}, ::getuid()));
    return static_cast<int>(ExitStatus::success);
  } catch (const Failure& failure) {
    report(failure.what());
    return static_cast<int>(failure.status());
  } catch (const std::exception& failure) {
    report(failure.what());
    return static_cast<int>(ExitStatus::failed);
  }
}
