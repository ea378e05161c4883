#import "platform/macos/NibClasses.h"

#include <memory>

#import "platform/macos/Window.h"

namespace quorvin {

ApplicationFactories& nibFactories() {
  static ApplicationFactories factories;
  return factories;
}

}  // namespace quorvin

@implementation AppDelegate {
  std::unique_ptr<quorvin::ApplicationDelegate> part;
}

- (instancetype)init {
  self = [super init];
  if (self != nil) part = quorvin::nibFactories().makeDelegate();
  return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  part->applicationDidFinishLaunching([&] {
    // Flutter's delegate does this work elsewhere, and may or may not have such a method.
    if (![FlutterAppDelegate
            instancesRespondToSelector:@selector(applicationDidFinishLaunching:)]) {
      return;
    }
    [super applicationDidFinishLaunching:notification];
  });
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender {
  return part->applicationShouldTerminateAfterLastWindowClosed();
}

- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)app {
  return part->applicationSupportsSecureRestorableState();
}

@end

@implementation MainFlutterWindow {
  std::unique_ptr<quorvin::MacWindow> window;
  std::shared_ptr<quorvin::MainWindow> part;
}

- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag {
  return [super initWithContentRect:contentRect
                          styleMask:style
                            backing:backingStoreType
                              defer:flag];
}

- (void)awakeFromNib {
  window = std::make_unique<quorvin::MacWindow>(self);
  part = quorvin::nibFactories().makeMainWindow(*window);
  part->awakeFromNib([self] { [super awakeFromNib]; });
}

- (void)dealloc {
  // It refers to the window, and goes before anything of that does.
  part.reset();
}

@end
