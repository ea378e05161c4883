#import "platform/macos/MainFlutterWindow.h"

#include <memory>

#include "platform/macos/NibFactories.h"
#import "platform/macos/Window.h"

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
