#include "tests/macos/host/HostFixture.h"

#import <AppKit/DecodedJpeg.h>
#import <AppKit/NSBitmapImageRepControl.h>
#import <AppKit/NSScreenControl.h>
#import <ApplicationServices/ApplicationServicesControl.h>
#import <CoreGraphics/CoreGraphicsControl.h>
#import <CoreImage/CoreImageControl.h>
#import <Foundation/FoundationControl.h>
#import <SystemConfiguration/SystemConfigurationControl.h>
#import <VideoToolbox/VideoToolboxControl.h>

#include <array>
#include <cstdlib>
#include <utility>
#include <variant>

#include "Runner/AppDelegate.h"
#include "Runner/MainFlutterWindow.h"
#include "platform/Platform.h"

namespace quorvin {
namespace {

constexpr auto executable = "/Applications/Quorvin Support.app/Contents/MacOS/Quorvin Support";
constexpr auto hostChannel = "com.quorvin.support/host";
constexpr auto frameChannel = "com.quorvin.support/frames";
constexpr auto lifecycleChannel = "flutter/lifecycle";

void resetMachine() {
  standin::resetAppKit();
  standin::resetApplicationServices();
  standin::resetBitmaps();
  standin::resetCoreGraphics();
  standin::resetCoreImage();
  standin::resetFoundation();
  standin::resetScreenCaptureKit();
  standin::resetScreens();
  standin::resetSystemConfiguration();
  standin::resetVideoToolbox();
}

ApplicationFactories programFactories(Platform& platform) {
  return {.makeDelegate = [&platform] { return std::make_unique<AppDelegate>(platform); },
          .makeMainWindow =
              [&platform](Window& window) { return MainFlutterWindow::make(platform, window); }};
}

}  // namespace

void HostFixture::SetUp() {
  resetMachine();
  static_cast<void>(hostPlatform());
  StandInTest::SetUp();
  setArguments({executable});
  standin::setSystemVersion(15, 0);
  standin::setScreenCapturePreflight(true);
  standin::setProcessTrusted(true);
  standin::setShareableContent({.displays = {{.displayID = 3, .width = 128, .height = 72},
                                             {.displayID = 7, .width = 240, .height = 150}}});
  @autoreleasepool {
    standin::setMainScreen(@{@"NSScreenNumber" : [NSNumber numberWithUnsignedInt:7]});
  }
  standin::setMainNib({.delegateClass = "AppDelegate", .windowClass = "MainFlutterWindow"});
}

void HostFixture::TearDown() {
  standin::settle();
  EXPECT_THAT(standin::runningActivities(), testing::IsEmpty());
  EXPECT_EQ(standin::notificationObserverCount(), 0U);
  for (const auto& stream : standin::captureStreams()) {
    EXPECT_FALSE(stream->isAlive());
    EXPECT_EQ(stream->framesHeld(), 0U);
  }
  EXPECT_EQ(standin::liveCompressionSessions(), 0U);
  resetMachine();
  StandInTest::TearDown();
}

int HostFixture::run(const Script& script) {
  standin::setApplicationScript([this, &script] {
    @autoreleasepool {
      userInterface.emplace(
          static_cast<::FlutterViewController*>(window().contentViewController).engine);
    }
    script();
    userInterface.reset();
  });
  auto& platform = hostPlatform();
  std::string name = executable;
  std::array<char*, 2> arguments{name.data(), nullptr};
  const int status = platform.application.run(1, arguments.data(), programFactories(platform));
  standin::setApplicationScript({});
  standin::settle();
  return status;
}

void HostFixture::authorizeUnattended(const std::string& deviceName) {
  setArguments({executable, "--unattended"});
  @autoreleasepool {
    standin::presetUserDefault("unattendedAccessEnabled", @YES);
    standin::presetUserDefault("unattendedAccessDeviceName",
                               [NSString stringWithUTF8String:deviceName.c_str()]);
  }
}

void HostFixture::setArguments(const std::vector<std::string>& arguments) {
  standin::setProcessArguments(arguments);
}

NSWindow* HostFixture::window() { return NSApp.windows.firstObject; }

HostFixture::Reply HostFixture::call(const std::string& method, const Value& arguments) {
  auto reply = ui().call(hostChannel, method, arguments);
  standin::settle();
  return reply;
}

FlutterReply HostFixture::answer(const std::string& method, const Value& arguments) {
  const auto reply = call(method, arguments);
  EXPECT_TRUE(reply->hasArrived);
  return reply->answer;
}

void HostFixture::listen() { EXPECT_EQ(ui().listen(frameChannel)->answer, nothing()); }

void HostFixture::startSession() {
  listen();
  EXPECT_EQ(answer("startCapture", consent()), nothing());
}

bool HostFixture::sendFrame(standin::Colour colour) { return sendSample({.colour = colour}); }

bool HostFixture::sendSample(const standin::SampleScript& sample) {
  bool delivered = false;
  @autoreleasepool {
    delivered = newestStream()->sendSample(sample);
  }
  standin::settle();
  return delivered;
}

std::shared_ptr<standin::CaptureStream> HostFixture::newestStream() {
  return standin::captureStreams().back();
}

std::vector<standin::DartEvent> HostFixture::takeEvents() { return ui().takeEvents(frameChannel); }

std::string HostFixture::takeLifecycleState() {
  standin::settle();
  const auto texts = ui().takeTexts(lifecycleChannel);
  return texts.empty() ? std::string() : texts.back();
}

std::optional<standin::Colour> frameColour(const standin::DartEvent& event) {
  const auto* value = std::get_if<Value>(&event);
  const auto* bytes = value == nullptr ? nullptr : value->as<Data>();
  if (bytes == nullptr) return {};
  const auto frame = standin::decodeJpeg(bytes->bytes());
  if (!frame) return {};
  return frame->at(frame->width / 2, frame->height / 2);
}

void endProcessIfFailed() {
  if (testing::Test::HasFailure()) std::_Exit(1);
}

}  // namespace quorvin
