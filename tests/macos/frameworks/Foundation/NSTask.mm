#import "tests/macos/frameworks/Foundation/Support.h"

#include "tests/macos/frameworks/Foundation/FileSupport.h"
#include "tests/macos/frameworks/Foundation/FoundationState.h"
#include "tests/macos/standin/CallLog.h"

// Nothing is run: the test says how each task ends.
@interface NSTask () {
  bool isLaunched;
  bool isWaitedFor;
  int status;
}
@end

namespace {

void requireNullDevice(id handle, const char* what) {
  if (handle == NSFileHandle.fileHandleWithNullDevice) return;
  standin::violation(std::string("a task's ") + what + " does not lead to the null device");
}

standin::Task described(NSTask* task) {
  standin::Task description;
  description.executablePath = standin::utf8Of(task.executableURL.path);
  for (NSString* argument in task.arguments) {
    description.arguments.push_back(standin::utf8Of(argument));
  }
  return description;
}

}  // namespace

@implementation NSTask

- (void)dealloc {
  if (isLaunched && !isWaitedFor) standin::violation("a task was let go before it had ended");
  [_executableURL release];
  [_arguments release];
  [_standardOutput release];
  [_standardError release];
  [super dealloc];
}

- (BOOL)launchAndReturnError:(NSError**)error {
  if (isLaunched) standin::raiseInvalidArgument("task already launched");
  if (self.executableURL == nil) standin::raiseInvalidArgument("must provide a launch path");
  requireNullDevice(self.standardOutput, "standard output");
  requireNullDevice(self.standardError, "standard error");
  const auto task = described(self);
  standin::record("-[NSTask launchAndReturnError:]", {task.executablePath});
  const auto outcome = standin::runTask(task);
  if (outcome.launchErrno != 0) {
    return standin::succeeded(
        standin::FileFailure{.errnoValue = outcome.launchErrno, .path = task.executablePath},
        error);
  }
  isLaunched = true;
  status = outcome.status;
  return YES;
}

- (int)terminationStatus {
  if (!isWaitedFor) standin::raiseInvalidArgument("task still running");
  return status;
}

@end

@implementation NSTask (NSTaskConveniences)

- (void)waitUntilExit {
  if (!isLaunched) standin::raiseInvalidArgument("task not launched");
  isWaitedFor = true;
}

@end
