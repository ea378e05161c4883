#pragma once

#include <spawn.h>

#include <csignal>

namespace quorvin {

// How posix_spawn starts a program: with this process' descriptors, and with signals as if nobody
// here had ever touched one. What else is to be different is added to the two members.
struct SpawnSetup {
  SpawnSetup() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    sigset_t set;
    sigfillset(&set);
    posix_spawnattr_setsigdefault(&attributes, &set);
    sigemptyset(&set);
    posix_spawnattr_setsigmask(&attributes, &set);
    posix_spawnattr_setflags(&attributes, flags);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;
  ~SpawnSetup() {
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
  }

  static constexpr short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;

  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attributes{};
};

}  // namespace quorvin
