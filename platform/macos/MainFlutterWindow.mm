#import "platform/macos/MainFlutterWindow.h"

#include <memory>

#include "platform/macos/NibFactories.h"
#import "platform/macos/Window.h"

@implementation MainFlutterWindow {
  std::unique_ptr<quorvin::MacWindow> _window;
  std::shared_ptr<quorvin::MainWindow> _part;
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
  _window = std::make_unique<quorvin::MacWindow>(self);
  _part = quorvin::nibFactories().makeMainWindow(*_window);
  _part->awakeFromNib([self] { [super awakeFromNib]; });
}

- (void)dealloc {
  // It refers to the window, and goes before anything of that does.
  _part.reset();
}

@end
