#import "platform/macos/Process.h"

#import <Foundation/Foundation.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#import "platform/macos/Bridging.h"

namespace quorvin {
namespace {

class Activity final : public ActivityToken {
 public:
  explicit Activity(id<NSObject> token) : token(token) {}

  // Nil after the first time.
  id<NSObject> take() { return std::exchange(token, nil); }

 private:
  id<NSObject> token;
};

void write(std::string_view utf8, NSFileHandle* handle, int descriptor) {
  // A pipe that nobody reads is no reason to end. The system raises SIGPIPE for the whole process,
  // so that no mask of this thread would keep it off.
  fcntl(descriptor, F_SETNOSIGPIPE, 1);
  NSData* bytes = [NSData dataWithBytes:utf8.data() length:utf8.size()];
  // The variant without an error raises an exception when the handle is closed.
  [handle writeData:bytes error:nil];
}

}  // namespace

std::vector<std::string> MacProcess::arguments() {
  std::vector<std::string> list;
  for (NSString* argument in NSProcessInfo.processInfo.arguments) {
    list.push_back(toString(argument));
  }
  return list;
}

void MacProcess::exit(int status) { ::exit(status); }

void MacProcess::writeToStandardOutput(std::string_view utf8) {
  write(utf8, NSFileHandle.fileHandleWithStandardOutput, STDOUT_FILENO);
}

void MacProcess::writeToStandardError(std::string_view utf8) {
  write(utf8, NSFileHandle.fileHandleWithStandardError, STDERR_FILENO);
}

std::uint32_t MacProcess::userID() { return getuid(); }

std::int32_t MacProcess::runTask(const std::string& executablePath,
                                 const std::vector<std::string>& arguments) {
  NSMutableArray<NSString*>* texts = [NSMutableArray arrayWithCapacity:arguments.size()];
  for (const auto& argument : arguments) [texts addObject:toNSString(argument)];
  NSTask* task = [[NSTask alloc] init];
  task.executableURL = [NSURL fileURLWithPath:toNSString(executablePath)];
  task.arguments = texts;
  task.standardOutput = NSFileHandle.fileHandleWithNullDevice;
  task.standardError = NSFileHandle.fileHandleWithNullDevice;
  NSError* error = nil;
  if (![task launchAndReturnError:&error]) throw toError(error);
  [task waitUntilExit];
  return task.terminationStatus;
}

std::shared_ptr<ActivityToken> MacProcess::beginActivity(std::uint64_t options,
                                                         const std::string& reason) {
  return std::make_shared<Activity>([NSProcessInfo.processInfo
      beginActivityWithOptions:static_cast<NSActivityOptions>(options)
                        reason:toNSString(reason)]);
}

void MacProcess::endActivity(const std::shared_ptr<ActivityToken>& token) {
  const auto activity = std::dynamic_pointer_cast<Activity>(token);
  if (activity == nullptr) return;
  if (id<NSObject> running = activity->take()) [NSProcessInfo.processInfo endActivity:running];
}

bool MacProcess::isMacOSAtLeast(int major, int minor) {
  return [NSProcessInfo.processInfo
      isOperatingSystemAtLeastVersion:NSOperatingSystemVersion{major, minor, 0}];
}

}  // namespace quorvin
