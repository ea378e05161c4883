#pragma once

#import <AppKit/AppKitControl.h>
#import <FlutterMacOS/FlutterControl.h>
#import <Foundation/FoundationControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace quorvin {

// On a machine whose application object has not been made yet.
class ApplicationFixture : public standin::StandInTest {
 protected:
  void SetUp() override {
    reset();
    StandInTest::SetUp();
  }
  void TearDown() override {
    reset();
    StandInTest::TearDown();
  }

  static NSWindow* makeNSWindow() {
    return [[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, 100, 100)
                                       styleMask:NSWindowStyleMaskTitled
                                         backing:NSBackingStoreBuffered
                                           defer:NO];
  }

 private:
  static void reset() {
    standin::resetAppKit();
    standin::resetFoundation();
    standin::letFlutterAppDelegateFinishLaunching(false);
  }
};

}  // namespace quorvin
