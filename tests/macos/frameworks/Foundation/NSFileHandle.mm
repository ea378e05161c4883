#import "tests/macos/frameworks/Foundation/Support.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "tests/macos/frameworks/Foundation/FileSupport.h"
#include "tests/macos/frameworks/Foundation/FoundationState.h"
#include "tests/macos/standin/CallLog.h"

// What is written to standard output and error is kept for the test; the null device keeps nothing.
@interface NSFileHandle () {
  std::string standin::FoundationState::*kept;
  int descriptor;  // of the null device -1
}
@end

@implementation NSFileHandle

- (BOOL)writeData:(NSData*)data error:(NSError**)error {
  auto& state = standin::foundationState();
  int failure = 0;
  {
    const std::lock_guard guard(state.mutex);
    failure = state.fileHandleErrno;
    if (failure == EPIPE && !state.descriptorsWithoutPipeSignal.contains(descriptor)) {
      standin::violation("a write that nobody reads would have ended the process");
    }
    if (kept != nullptr && failure == 0) {
      (state.*kept).append(static_cast<const char*>(data.bytes), data.length);
    }
  }
  standin::record("-[NSFileHandle writeData:error:]", {std::to_string(data.length)});
  if (failure == 0) return YES;
  return standin::succeeded(standin::FileFailure{.errnoValue = failure, .path = ""}, error);
}

@end

@implementation NSFileHandle (NSFileHandleCreation)

+ (NSFileHandle*)fileHandleWithStandardOutput {
  static NSFileHandle* const handle = [] {
    NSFileHandle* made = standin::immortal([[NSFileHandle alloc] init]);
    made->kept = &standin::FoundationState::standardOutput;
    made->descriptor = STDOUT_FILENO;
    return made;
  }();
  return handle;
}

+ (NSFileHandle*)fileHandleWithStandardError {
  static NSFileHandle* const handle = [] {
    NSFileHandle* made = standin::immortal([[NSFileHandle alloc] init]);
    made->kept = &standin::FoundationState::standardError;
    made->descriptor = STDERR_FILENO;
    return made;
  }();
  return handle;
}

+ (NSFileHandle*)fileHandleWithNullDevice {
  static NSFileHandle* const handle = [] {
    NSFileHandle* made = standin::immortal([[NSFileHandle alloc] init]);
    made->kept = nullptr;
    made->descriptor = -1;
    return made;
  }();
  return handle;
}

@end

int standinFileControl(int descriptor, int command, int argument) {
  if (command != F_SETNOSIGPIPE) return (fcntl)(descriptor, command, argument);
  standin::record("fcntl",
                  {std::to_string(descriptor), "F_SETNOSIGPIPE", std::to_string(argument)});
  auto& state = standin::foundationState();
  const std::lock_guard guard(state.mutex);
  if (argument == 0) {
    state.descriptorsWithoutPipeSignal.erase(descriptor);
  } else {
    state.descriptorsWithoutPipeSignal.insert(descriptor);
  }
  return 0;
}
