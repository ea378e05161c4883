#import <AppKit/AppKitState.h>

#include <array>
#include <cstdio>
#include <utility>

#include "tests/macos/standin/CallLog.h"

namespace standin {

AppKitState& appKitState() {
  static AppKitState state;
  return state;
}

void appKitCall(const std::string& name, std::vector<std::string> arguments) {
  requireMainThread(name);
  record(name, std::move(arguments));
}

void post(NSNotificationName name, id sender) {
  [NSNotificationCenter.defaultCenter postNotificationName:name object:sender];
}

std::string describe(NSSize size) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%g x %g", size.width, size.height);
  return text.data();
}

void resetAppKit() {
  NSApp = nil;
  appKitState() = {};
}

void setMainNib(MainNib nib) { appKitState().mainNib = std::move(nib); }

void setApplicationScript(std::function<void()> script) {
  appKitState().script = std::move(script);
}

bool applicationHasTerminated() { return appKitState().hasTerminated; }

void activateApplication() { [NSApp standInSetActive:YES]; }

void deactivateApplication() { [NSApp standInSetActive:NO]; }

void changeApplicationOcclusion() { post(NSApplicationDidChangeOcclusionStateNotification, NSApp); }

void coverWindow(NSWindow* window) { window.coveredByOthers = YES; }

void uncoverWindow(NSWindow* window) { window.coveredByOthers = NO; }

}  // namespace standin
