#import "tests/macos/frameworks/Foundation/Support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/macos/frameworks/Foundation/FileSupport.h"
#include "tests/macos/frameworks/Foundation/FoundationState.h"

NSFileAttributeKey const NSFilePosixPermissions = @"NSFilePosixPermissions";

namespace standin {
namespace {

std::string pathOf(NSURL* url) {
  if (!url.isFileURL) raiseInvalidArgument("a file operation needs a file URL");
  return utf8Of(url.path);
}

FileFailure writingFailure(const std::string& path) { return {.errnoValue = errno, .path = path}; }

bool isExistingFolder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

FileOutcome makeFolder(const std::string& path, NSDictionary* attributes) {
  if (mkdir(path.c_str(), 0777) != 0) return writingFailure(path);
  if (NSNumber* mode = attributes[NSFilePosixPermissions]) {
    chmod(path.c_str(), static_cast<mode_t>(mode.unsignedIntValue));
  }
  return std::nullopt;
}

FileOutcome makeFolders(const std::string& path, NSDictionary* attributes) {
  if (isExistingFolder(path)) return std::nullopt;
  auto outcome = makeFolder(path, attributes);
  if (!outcome || outcome->errnoValue != ENOENT || path == folderOf(path)) return outcome;
  if (auto earlier = makeFolders(folderOf(path), attributes)) {
    // A file where a folder should be.
    if (earlier->errnoValue == EEXIST) earlier->errnoValue = ENOTDIR;
    return earlier;
  }
  return makeFolder(path, attributes);
}

FileOutcome removeItem(const std::string& path) {
  std::error_code error;
  const auto removed = std::filesystem::remove_all(path, error);
  FileFailure failure{.path = path, .kind = FileFailure::Kind::removing};
  if (!error && removed > 0) return std::nullopt;
  failure.errnoValue = error ? error.value() : ENOENT;
  if (failure.errnoValue == ENOTEMPTY) failure.errnoValue = EPERM;
  return failure;
}

std::string folderInHome(NSSearchPathDirectory directory) {
  switch (directory) {
    case NSApplicationDirectory:
      return "/Applications";
    case NSLibraryDirectory:
      return "/Library";
    case NSDesktopDirectory:
      return "/Desktop";
    case NSDocumentDirectory:
      return "/Documents";
    case NSCachesDirectory:
      return "/Library/Caches";
    case NSApplicationSupportDirectory:
      return "/Library/Application Support";
  }
  raiseInvalidArgument("an unknown directory was asked for");
}

}  // namespace
}  // namespace standin

@implementation NSFileManager

+ (NSFileManager*)defaultManager {
  static NSFileManager* const manager = standin::immortal([[NSFileManager alloc] init]);
  return manager;
}

- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory
                   inDomains:(NSSearchPathDomainMask)domainMask {
  NSMutableArray* urls = [NSMutableArray array];
  const auto folder = standin::folderInHome(directory);
  const auto add = [urls](const std::string& path) {
    [urls addObject:[NSURL fileURLWithPath:standin::stringOf(std::string_view(path))
                               isDirectory:YES]];
  };
  if ((domainMask & NSUserDomainMask) != 0) add(standin::utf8Of(NSHomeDirectory()) + folder);
  if ((domainMask & NSLocalDomainMask) != 0) add(folder);
  return urls;
}

- (BOOL)createDirectoryAtURL:(NSURL*)url
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(NSDictionary*)attributes
                          error:(NSError**)error {
  const auto path = standin::pathOf(url);
  return standin::succeeded(createIntermediates ? standin::makeFolders(path, attributes)
                                                : standin::makeFolder(path, attributes),
                            error);
}

- (BOOL)createSymbolicLinkAtURL:(NSURL*)url
             withDestinationURL:(NSURL*)destURL
                          error:(NSError**)error {
  const auto path = standin::pathOf(url);
  standin::FileOutcome outcome;
  if (symlink(standin::pathOf(destURL).c_str(), path.c_str()) != 0) {
    outcome = standin::writingFailure(path);
  }
  return standin::succeeded(outcome, error);
}

- (BOOL)setAttributes:(NSDictionary*)attributes
         ofItemAtPath:(NSString*)path
                error:(NSError**)error {
  const auto name = standin::utf8Of(path);
  NSNumber* mode = attributes[NSFilePosixPermissions];
  standin::FileOutcome outcome;
  if (mode != nil && chmod(name.c_str(), static_cast<mode_t>(mode.unsignedIntValue)) != 0) {
    outcome = standin::writingFailure(name);
  }
  return standin::succeeded(outcome, error);
}

- (NSString*)destinationOfSymbolicLinkAtPath:(NSString*)path error:(NSError**)error {
  const auto name = standin::utf8Of(path);
  std::error_code failed;
  const auto destination = std::filesystem::read_symlink(name, failed);
  standin::FileOutcome outcome;
  if (failed) {
    outcome = {failed.value(), name, standin::FileFailure::Kind::reading};
  }
  if (!standin::succeeded(outcome, error)) return nil;
  return standin::stringOf(std::string_view(destination.string()));
}

- (BOOL)removeItemAtURL:(NSURL*)URL error:(NSError**)error {
  return standin::succeeded(standin::removeItem(standin::pathOf(URL)), error);
}

- (BOOL)fileExistsAtPath:(NSString*)path {
  return [self fileExistsAtPath:path isDirectory:nullptr];
}

- (BOOL)fileExistsAtPath:(NSString*)path isDirectory:(BOOL*)isDirectory {
  struct stat status {};
  const bool exists = stat(standin::utf8Of(path).c_str(), &status) == 0;
  if (isDirectory != nullptr) *isDirectory = exists && S_ISDIR(status.st_mode);
  return exists;
}

@end

@implementation NSFileManager (NSUserInformation)

- (NSURL*)homeDirectoryForCurrentUser {
  return [NSURL fileURLWithPath:NSHomeDirectory() isDirectory:YES];
}

- (NSURL*)temporaryDirectory {
  return [NSURL fileURLWithPath:NSTemporaryDirectory() isDirectory:YES];
}

@end

NSString* NSHomeDirectory() {
  const std::lock_guard guard(standin::foundationState().mutex);
  return standin::stringOf(std::string_view(standin::foundationState().homeFolder));
}

NSString* NSTemporaryDirectory() {
  return standin::stringOf(std::string_view(std::filesystem::temp_directory_path().string() + "/"));
}
