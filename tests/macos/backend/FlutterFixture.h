#pragma once

#import <AppKit/AppKitControl.h>
#import <FlutterMacOS/FlutterControl.h>
#import <Foundation/FoundationControl.h>

#include <gmock/gmock.h>

#include <memory>
#include <optional>

#import "platform/macos/Flutter.h"
#include "tests/macos/standin/StandInTest.h"

namespace quorvin {

// A view controller whose engine runs, and the user interface that talks to it.
class FlutterFixture : public standin::StandInTest {
 protected:
  void SetUp() override {
    standin::resetAppKit();
    standin::resetFoundation();
    StandInTest::SetUp();
    @autoreleasepool {
      controller = flutter.makeViewController();
      messenger = controller->binaryMessenger();
      [flutterController() viewWillAppear];
      ui.emplace(flutterController().engine);
    }
    standin::resetCallLog();
  }
  void TearDown() override {
    endEngine();
    ui.reset();
    messenger.reset();
    StandInTest::TearDown();
  }

  [[nodiscard]] ::FlutterViewController* flutterController() const {
    return dynamic_cast<MacFlutterViewController&>(*controller).controller();
  }
  void endEngine() {
    @autoreleasepool {
      controller.reset();
    }
  }

  MacFlutter flutter;
  std::shared_ptr<FlutterViewController> controller;
  std::shared_ptr<FlutterBinaryMessenger> messenger;
  std::optional<standin::DartSide> ui;
};

// A messenger that no engine made.
class ForeignMessenger final : public FlutterBinaryMessenger {};

}  // namespace quorvin
