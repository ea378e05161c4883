#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Runner/QuorvinHostBridge.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {

// A bridge on a fake machine, with the user interface's end in the test's hands. At the end the
// engine shuts down, and by then nothing may be left running.
class BridgeTest : public testing::Test {
 protected:
  using Call = std::shared_ptr<fakes::FakeMessenger::Call>;

  ~BridgeTest() override {
    bridge.reset();
    messenger().shutDown();
    machine.dispatch.runUntilIdle();
    EXPECT_EQ(machine.process.runningActivities(), 0U);
    EXPECT_THAT(machine.violations(), testing::IsEmpty());
  }

  fakes::FakeMessenger& messenger() { return *machine.flutter.messenger; }
  Call invoke(const std::string& method, Value arguments = {}) {
    return messenger().invoke("com.quorvin.support/host", method, std::move(arguments));
  }
  // Calls and lets everything that follows happen.
  Call invokeAndRun(const std::string& method, Value arguments = {}) {
    auto call = invoke(method, std::move(arguments));
    machine.dispatch.runUntilIdle();
    return call;
  }
  Call startSession() { return invokeAndRun("startCapture", Map{{"locallyAuthorized", true}}); }
  void listen() { EXPECT_FALSE(messenger().listen("com.quorvin.support/frames")); }
  void cancel() { EXPECT_FALSE(messenger().cancel("com.quorvin.support/frames")); }
  std::shared_ptr<fakes::FakeStream> stream() { return machine.screenCapture.newestStream(); }
  void sendFrame(std::uint32_t content) {
    stream()->send(fakes::FakeSample::complete(content));
    machine.dispatch.runUntilIdle();
  }
  const std::vector<FlutterEvent>& events() { return messenger().events; }

  static FlutterReply error(const std::string& code, const std::string& message) {
    return FlutterError{code, message, {}};
  }
  static FlutterReply nothing() { return Value(); }
  static FlutterEvent frame(std::uint32_t content) {
    return Value(fakes::FakeImageEncoder::file(content));
  }

  fakes::FakeMachine machine;
  std::shared_ptr<QuorvinHostBridge> bridge =
      QuorvinHostBridge::make(machine.platform, machine.flutter.messenger);
};

// Expects that a call was answered once, and so.
inline void expectReply(const std::shared_ptr<fakes::FakeMessenger::Call>& call,
                        const FlutterReply& reply) {
  EXPECT_EQ(call->replies, 1);
  EXPECT_EQ(call->reply, reply);
}

}  // namespace quorvin
