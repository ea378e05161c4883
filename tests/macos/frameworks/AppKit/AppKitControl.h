#pragma once

#import <AppKit/AppKit.h>

#include <functional>
#include <string>

namespace standin {

// What a test says about the application's surroundings, and what it can ask. Main thread.

// Forgets everything below and takes the application object away.
void resetAppKit();

// What the main nib holds. As in a nib, classes are named and not linked.
struct MainNib {
  std::string delegateClass;
  std::string windowClass;
  NSRect contentRect = NSMakeRect(0, 0, 800, 600);
  // When a window that is to be visible at launch is put on the screen: with the nib's objects, or
  // only once the application has been restored to what it was.
  bool showsWindowWithNib = true;
  // Nothing promises in which order the objects are woken.
  bool wakesWindowFirst = false;
};
void setMainNib(MainNib nib);

// What happens while the application runs: called once it has launched and its main queue has
// settled. When it returns, the application terminates, and NSApplicationMain returns.
void setApplicationScript(std::function<void()> script);
[[nodiscard]] bool applicationHasTerminated();

// What the user and the system do; each posts what AppKit then posts.
void activateApplication();
void deactivateApplication();
// All of the application's windows came into view, or none is in view any more.
void changeApplicationOcclusion();
void coverWindow(NSWindow* _Nonnull window);
void uncoverWindow(NSWindow* _Nonnull window);

}  // namespace standin
