#import "tests/macos/frameworks/Foundation/Support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/macos/frameworks/Foundation/FileSupport.h"
#include "tests/macos/frameworks/Foundation/FoundationState.h"
#include "tests/macos/standin/CallLog.h"

namespace standin {
namespace {

std::string pathOf(NSURL* url) { return utf8Of(url.path); }

// A Mac's file systems find a name whichever way it is composed.
std::string pathOf(NSString* path) { return utf8Of(path.decomposedStringWithCanonicalMapping); }

FileFailure writingFailure(const std::string& path) { return {.errnoValue = errno, .path = path}; }

bool isExistingFolder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

FileOutcome makeFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0777) != 0) return writingFailure(path);
  return std::nullopt;
}

FileOutcome makeFolders(const std::string& path) {
  if (isExistingFolder(path)) return std::nullopt;
  auto outcome = makeFolder(path);
  if (!outcome || outcome->errnoValue != ENOENT || path == folderOf(path)) return outcome;
  if (auto earlier = makeFolders(folderOf(path))) return earlier;
  return makeFolder(path);
}

FileOutcome removeItem(const std::string& path) {
  std::error_code error;
  const auto removed = std::filesystem::remove_all(path, error);
  if (!error && removed > 0) return std::nullopt;
  return FileFailure{.errnoValue = error ? error.value() : ENOENT, .path = path};
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
  if (directory != NSDesktopDirectory || domainMask != NSUserDomainMask) {
    standin::violation("no folder is known but the user's Desktop");
  }
  const auto desktop = standin::utf8Of(NSHomeDirectory()) + "/Desktop";
  return @[ [NSURL fileURLWithPath:standin::stringOf(std::string_view(desktop))] ];
}

- (BOOL)createDirectoryAtURL:(NSURL*)url
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(NSDictionary*)attributes
                          error:(NSError**)error {
  if (!createIntermediates || attributes != nil) {
    standin::violation("folders are made with those above them, and without attributes");
  }
  return standin::succeeded(standin::makeFolders(standin::pathOf(url)), error);
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

- (NSString*)destinationOfSymbolicLinkAtPath:(NSString*)path error:(NSError**)error {
  const auto name = standin::pathOf(path);
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
  struct stat status {};
  return stat(standin::pathOf(path).c_str(), &status) == 0;
}

@end

@implementation NSFileManager (NSUserInformation)

- (NSURL*)homeDirectoryForCurrentUser {
  return [NSURL fileURLWithPath:NSHomeDirectory() isDirectory:YES];
}

@end

NSString* NSHomeDirectory() {
  const std::lock_guard guard(standin::foundationState().mutex);
  return standin::stringOf(std::string_view(standin::foundationState().homeFolder));
}
