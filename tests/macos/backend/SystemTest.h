#pragma once

#import <ApplicationServices/ApplicationServicesControl.h>
#import <CoreGraphics/CoreGraphicsControl.h>
#import <Foundation/Foundation.h>
#import <Foundation/FoundationControl.h>
#import <SystemConfiguration/SystemConfigurationControl.h>

#include "tests/macos/standin/StandInTest.h"

namespace quorvin {

// On a machine that nothing was said about yet.
class SystemTest : public standin::StandInTest {
 protected:
  void SetUp() override {
    resetMachine();
    StandInTest::SetUp();
  }
  void TearDown() override {
    resetMachine();
    StandInTest::TearDown();
  }

 private:
  static void resetMachine() {
    standin::resetFoundation();
    standin::resetApplicationServices();
    standin::resetCoreGraphics();
    standin::resetSystemConfiguration();
  }
};

}  // namespace quorvin
