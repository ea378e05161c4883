#import <FlutterMacOS/FlutterEngineStandIn.h>
#import <FlutterMacOS/FlutterViewController.h>

#include "tests/macos/standin/CallLog.h"

@implementation FlutterViewController

- (instancetype)initWithNibName:(NSString*)nibNameOrNil bundle:(NSBundle*)nibBundleOrNil {
  self = [super initWithNibName:nibNameOrNil bundle:nibBundleOrNil];
  if (self != nil) {
    standin::record("-[FlutterViewController initWithNibName:bundle:]");
    _engine = [[FlutterEngine alloc] initWithName:@"io.flutter"
                                          project:nil
                           allowHeadlessExecution:NO];
  }
  return self;
}

- (void)dealloc {
  standin::requireMainThread("-[FlutterViewController dealloc]");
  // An engine that may not be without a view ends with it.
  [_engine shutDownEngine];
}

- (void)viewWillAppear {
  [super viewWillAppear];
  if (!_engine.isRunning) [_engine runWithEntrypoint:nil];
}

- (id<FlutterPluginRegistrar>)registrarForPlugin:(NSString*)pluginKey {
  return [_engine registrarForPlugin:pluginKey];
}

@end
