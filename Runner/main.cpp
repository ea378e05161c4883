#include <memory>

#include "Runner/AppDelegate.h"
#include "Runner/MainFlutterWindow.h"
#include "platform/Platform.h"

int main(int argc, char** argv) {
  using namespace quorvin;
  auto& platform = hostPlatform();
  const int status = platform.application.run(
      argc, argv,
      {.makeDelegate = [&platform] { return std::make_unique<AppDelegate>(platform); },
       .makeMainWindow =
           [&platform](Window& window) {
             return MainFlutterWindow::make(platform, window);
           }});
  platform.process.exit(status);
}
