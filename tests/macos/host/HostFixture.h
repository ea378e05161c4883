#pragma once

#import <AppKit/AppKitControl.h>
#import <FlutterMacOS/FlutterControl.h>
#import <FlutterMacOS/FlutterMacOS.h>
#import <ScreenCaptureKit/ScreenCaptureKitControl.h>
#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Flutter.h"
#include "tests/macos/standin/StandInTest.h"

namespace quorvin {

// The whole program on a machine that the test scripts: from the run of the application to the
// frame that reaches the user interface. By the end of every test all of it has gone again.
class HostFixture : public standin::StandInTest {
 protected:
  using Reply = std::shared_ptr<const standin::DartReply>;
  using Script = std::function<void()>;

  void SetUp() override;
  void TearDown() override;

  // Runs the application as main() does, with the script as its life. Returns the exit status.
  int run(const Script& script);
  // Starts the program for unattended use, which this account then allows.
  static void authorizeUnattended(const std::string& deviceName);
  static void setArguments(const std::vector<std::string>& arguments);

  // ---- within the script ----

  [[nodiscard]] static NSWindow* window();
  [[nodiscard]] standin::DartSide& ui() { return *userInterface; }
  // Calls the host and lets everything settle that follows.
  Reply call(const std::string& method, const Value& arguments = {});
  // The answer to such a call, which must have come.
  FlutterReply answer(const std::string& method, const Value& arguments = {});
  void listen();
  void startSession();
  // Delivers a sample of a complete frame, or of what the script says.
  static bool sendFrame(standin::Colour colour);
  static bool sendSample(const standin::SampleScript& sample);
  [[nodiscard]] static std::shared_ptr<standin::CaptureStream> newestStream();
  std::vector<standin::DartEvent> takeEvents();
  // The newest state that the user interface was told.
  std::string takeLifecycleState();

  static FlutterReply nothing() { return Value(); }
  static FlutterReply error(const std::string& code, const std::string& message) {
    return FlutterError{code, message, {}};
  }
  static Value consent() { return Map{{"locallyAuthorized", true}}; }

 private:
  std::optional<standin::DartSide> userInterface;
};

// The colour that a frame shows in its middle; nothing when the event is no frame.
std::optional<standin::Colour> frameColour(const standin::DartEvent& event);

// Leaves the application with the results so far: status 1 if an expectation failed. For scripts
// that run in a process of their own.
void endProcessIfFailed();

}  // namespace quorvin
