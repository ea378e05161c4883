#include "tests/linux/launchctl/RecordingSystemctl.h"

#include <filesystem>
#include <fstream>

namespace quorvin::launchctl {
namespace {

constexpr auto script = R"sh(#!/bin/sh
# $1 and $2 are "--user --no-pager".
here=${0%/*}
shift 2
echo "$*" >>"$here/calls"
units=$HOME/.config/systemd/user
if [ "$(wc -l <"$here/calls")" -eq "$(cat "$here/killing")" ]; then kill -KILL "$PPID"; fi
if [ "$1" = "$(cat "$here/failing")" ]; then
  echo "no luck with $1 today" >&2
  exit 1
fi
case $1 in
  show-environment) cat "$here/environment" ;;
  is-active) [ "$2" = "$(cat "$here/active")" ] || exit 3 ;;
  enable)
    mkdir -p "$units/graphical-session.target.wants"
    ln -sf "$units/$2" "$units/graphical-session.target.wants/$2"
    ;;
  disable) rm -f "$units/graphical-session.target.wants/$2" ;;
esac
)sh";

}  // namespace

RecordingSystemctl::RecordingSystemctl(LaunchctlHarness& harness) : harness(harness) {
  const auto program = harness.folder.write("systemctl", script);
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  setEnvironment("HOME=/home/somebody\nDISPLAY=:0\n");
  failAt("");
  setActive("");
  killAt(0);
  harness.environment.push_back("QUORVIN_SYSTEMCTL=" + program);
}

std::vector<std::string> RecordingSystemctl::calls() const {
  std::vector<std::string> lines;
  std::ifstream file(harness.folder.path("calls"));
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

void RecordingSystemctl::forgetCalls() const {
  std::filesystem::remove(harness.folder.path("calls"));
}

}  // namespace quorvin::launchctl
