#import "tests/macos/frameworks/Foundation/Support.h"

@implementation NSOperationQueue

+ (NSOperationQueue*)mainQueue {
  static NSOperationQueue* const queue = standin::immortal([[NSOperationQueue alloc] init]);
  return queue;
}

- (void)addOperationWithBlock:(void (^)(void))block {
  dispatch_async(dispatch_get_main_queue(), block);
}

@end
