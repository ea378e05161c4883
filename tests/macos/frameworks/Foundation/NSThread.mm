#import <Foundation/NSThread.h>

#include "tests/macos/standin/Threads.h"

@implementation NSThread

+ (BOOL)isMainThread {
  return standin::isMainThread();
}

@end
