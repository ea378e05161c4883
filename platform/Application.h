#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Flutter.h"
#include "platform/Geometry.h"
#include "platform/Interface.h"

namespace quorvin {

// Whoever notifications can come from. Main thread, like everything here.
class NotificationSender : public Interface {};

// Bits of a window's occlusion state; the values are those of NSWindowOcclusionState.
inline constexpr std::uint64_t windowOcclusionStateVisible = 1 << 1;

// A window of the system.
class Window : public NotificationSender {
 public:
  virtual void setContentViewController(std::shared_ptr<FlutterViewController> controller) = 0;
  virtual void setContentSize(Size size) = 0;
  virtual void center() = 0;
  virtual void setContentMinSize(Size size) = 0;
  virtual void setTitle(const std::string& title) = 0;
  virtual void setAlphaValue(double alpha) = 0;
  virtual void orderOut() = 0;

  // On the screen, minimised windows and those of a hidden application left out.
  [[nodiscard]] virtual bool isVisible() = 0;
  [[nodiscard]] virtual bool isMiniaturized() = 0;
  // The visible bit is unset while other windows cover all of it.
  [[nodiscard]] virtual std::uint64_t occlusionState() = 0;
};

// What the application framework asks of the program.
class ApplicationDelegate : public Interface {
 public:
  // `superApplicationDidFinishLaunching` is what the framework's own delegate does then; to be
  // called exactly once.
  virtual void applicationDidFinishLaunching(
      const std::function<void()>& superApplicationDidFinishLaunching) = 0;
  virtual bool applicationShouldTerminateAfterLastWindowClosed() = 0;
  virtual bool applicationSupportsSecureRestorableState() = 0;
};

// The program's side of the main window; owned by that window for its whole life.
class MainWindow : public Interface {
 public:
  // Called once, when the window has been loaded and before it is shown. `superAwakeFromNib` is
  // what the system's own window does then; to be called exactly once.
  virtual void awakeFromNib(const std::function<void()>& superAwakeFromNib) = 0;
};

enum class ActivationPolicy { regular = 0, accessory = 1, prohibited = 2 };

struct ApplicationFactories {
  std::function<std::unique_ptr<ApplicationDelegate>()> makeDelegate;
  // The window outlives the object made for it.
  std::function<std::shared_ptr<MainWindow>(Window& window)> makeMainWindow;
};

enum class Notification {
  applicationDidBecomeActive,
  applicationDidResignActive,
  applicationDidHide,
  applicationDidUnhide,
  applicationDidChangeOcclusionState,
  windowDidBecomeKey,
  windowDidMiniaturize,
  windowDidDeminiaturize,
  windowDidChangeOcclusionState,
};

// Stands for one subscription between addObserver and removeObserver.
class NotificationObserver : public Interface {};

class NotificationCenter : public Interface {
 public:
  // The handler runs on the main thread, possibly inside the change that it tells of, for
  // notifications of that name from that sender, or from any when there is none. The center keeps
  // it until it is removed, which it may do itself.
  [[nodiscard]] virtual std::shared_ptr<NotificationObserver> addObserver(
      Notification name, NotificationSender* sender, std::function<void()> handler) = 0;
  virtual void removeObserver(const std::shared_ptr<NotificationObserver>& observer) = 0;
};

class Application : public NotificationSender {
 public:
  // Makes the delegate, loads the main window, runs the event loop and returns the status with
  // which the process is to end. The delegate is made before anything else happens.
  virtual int run(int argc, char** argv, ApplicationFactories factories) = 0;

  // Whether the system's application object has been made yet. Without it only this and `run` may
  // be called.
  [[nodiscard]] virtual bool exists() = 0;
  [[nodiscard]] virtual bool isHidden() = 0;
  [[nodiscard]] virtual bool isActive() = 0;
  virtual void setActivationPolicy(ActivationPolicy policy) = 0;
  // The application's windows, in its own order; valid until this is called again.
  [[nodiscard]] virtual std::vector<Window*> windows() = 0;
};

}  // namespace quorvin
