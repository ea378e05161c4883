#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Flutter.h"

namespace quorvin {

// Sizes are in points.
struct Size {
  double width = 0;
  double height = 0;

  friend bool operator==(const Size&, const Size&) = default;
};

// A window of the system. Main thread, like everything here.
class Window {
 public:
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;
  virtual ~Window() = default;

  virtual void setContentViewController(std::shared_ptr<FlutterViewController> controller) = 0;
  virtual void setContentSize(Size size) = 0;
  virtual void center() = 0;
  virtual void setContentMinSize(Size size) = 0;
  virtual void setTitle(const std::string& title) = 0;
  virtual void setAlphaValue(double alpha) = 0;
  virtual void orderOut() = 0;

 protected:
  Window() = default;
};

// What the application framework asks of the program.
class ApplicationDelegate {
 public:
  ApplicationDelegate(const ApplicationDelegate&) = delete;
  ApplicationDelegate& operator=(const ApplicationDelegate&) = delete;
  virtual ~ApplicationDelegate() = default;

  virtual void applicationDidFinishLaunching() = 0;
  virtual bool applicationShouldTerminateAfterLastWindowClosed() = 0;
  virtual bool applicationSupportsSecureRestorableState() = 0;

 protected:
  ApplicationDelegate() = default;
};

// The program's side of the main window; owned by that window for its whole life.
class MainWindow {
 public:
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;
  virtual ~MainWindow() = default;

  // Called once, when the window has been loaded and before it is shown.
  virtual void awakeFromNib() = 0;

 protected:
  MainWindow() = default;
};

enum class ActivationPolicy { regular = 0, accessory = 1, prohibited = 2 };

struct ApplicationFactories {
  std::function<std::unique_ptr<ApplicationDelegate>()> makeDelegate;
  // The window outlives the object made for it.
  std::function<std::unique_ptr<MainWindow>(Window& window)> makeMainWindow;
};

class Application {
 public:
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;
  virtual ~Application() = default;

  // Makes the delegate, loads the main window, runs the event loop and returns the status with
  // which the process is to end. The delegate is made before anything else happens.
  virtual int run(int argc, char** argv, ApplicationFactories factories) = 0;

  virtual void setActivationPolicy(ActivationPolicy policy) = 0;
  // The application's windows, in its own order.
  [[nodiscard]] virtual std::vector<Window*> windows() = 0;

 protected:
  Application() = default;
};

}  // namespace quorvin
