#pragma once

#include <csignal>

namespace quorvin::launchctl {

// A write that is too much for the file's size limit, or that nobody reads, is to fail with an
// error, not to end this program between two steps.
inline void ignoreWriteSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

// For a program that takes this one's place: it would inherit what is ignored. Does nothing that is
// not allowed between fork and exec. The argument is not used.
inline void takeDefaultSignals(void* /*unused*/) {
  std::signal(SIGPIPE, SIG_DFL);
  std::signal(SIGXFSZ, SIG_DFL);
}

}  // namespace quorvin::launchctl
