#pragma once

#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "platform/Permissions.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

// What the user allowed, and what the computer is called.
class PermissionsWorld {
 public:
  PermissionsWorld() = default;
  PermissionsWorld(const PermissionsWorld&) = delete;
  PermissionsWorld& operator=(const PermissionsWorld&) = delete;
  virtual ~PermissionsWorld() = default;

  // To be called first, once.
  virtual void decide(bool screenRecording, bool accessibility) = 0;
  virtual void nameComputer(const std::optional<std::string>& name) = 0;
  virtual Permissions& permissions() = 0;
  // On a thread that the test has to itself, made as the system likes its threads.
  virtual void runElsewhere(const std::function<void()>& work) { std::thread(work).join(); }
};

class PermissionsContract : public Contract<PermissionsWorld> {
 protected:
  Permissions& permissions() { return world->permissions(); }
  void expectPermissions(bool screenRecording, bool accessibility);
};

// Systems on which each permission may be given without the other.
class SeparatePermissionsContract : public PermissionsContract {};

// Systems on which a computer may have no name at all.
class NamelessComputerContract : public PermissionsContract {};

}  // namespace quorvin::contract
