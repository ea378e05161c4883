#import "platform/macos/Files.h"

#import <Foundation/Foundation.h>

#import "platform/macos/Bridging.h"

namespace quorvin {
namespace {

NSString* textOf(const std::filesystem::path& path) { return toNSString(path.native()); }

NSURL* urlOf(const std::filesystem::path& path) { return [NSURL fileURLWithPath:textOf(path)]; }

std::optional<std::filesystem::path> pathOf(NSURL* url) {
  if (url == nil) return std::nullopt;
  return toString(url.path);
}

// The system composes characters in one way or the other, whichever way a path came, and finds a
// file by either. Paths that are compared are all decomposed, as the system's own file paths are.
std::filesystem::path comparable(NSString* path) {
  return toString(path.decomposedStringWithCanonicalMapping);
}

void requireSuccess(BOOL isDone, NSError* error) {
  if (!isDone) throw toError(error);
}

}  // namespace

std::filesystem::path MacFiles::bundlePath() {
  return comparable(NSBundle.mainBundle.bundleURL.URLByStandardizingPath.path);
}

std::optional<std::filesystem::path> MacFiles::executablePath() {
  return pathOf(NSBundle.mainBundle.executableURL);
}

std::filesystem::path MacFiles::homeDirectoryForCurrentUser() {
  return toString(NSFileManager.defaultManager.homeDirectoryForCurrentUser.path);
}

std::filesystem::path MacFiles::homeDirectory() { return comparable(NSHomeDirectory()); }

std::optional<std::filesystem::path> MacFiles::desktopDirectory() {
  NSArray<NSURL*>* folders = [NSFileManager.defaultManager URLsForDirectory:NSDesktopDirectory
                                                                  inDomains:NSUserDomainMask];
  return pathOf(folders.firstObject);
}

std::filesystem::path MacFiles::standardized(const std::filesystem::path& path) {
  return comparable(urlOf(path).URLByStandardizingPath.path);
}

void MacFiles::createDirectory(const std::filesystem::path& path) {
  NSError* error = nil;
  const BOOL isDone = [NSFileManager.defaultManager
             createDirectoryAtURL:[NSURL fileURLWithPath:textOf(path) isDirectory:YES]
      withIntermediateDirectories:YES
                       attributes:nil
                            error:&error];
  requireSuccess(isDone, error);
}

std::optional<Data> MacFiles::contents(const std::filesystem::path& path) {
  NSData* bytes = [NSData dataWithContentsOfURL:urlOf(path) options:0 error:nil];
  if (bytes == nil) return std::nullopt;
  return toData(bytes);
}

void MacFiles::writeAtomically(std::span<const std::uint8_t> bytes,
                               const std::filesystem::path& path) {
  NSData* data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
  NSError* error = nil;
  const BOOL isDone = [data writeToURL:urlOf(path) options:NSDataWritingAtomic error:&error];
  requireSuccess(isDone, error);
}

void MacFiles::removeItem(const std::filesystem::path& path) {
  NSError* error = nil;
  const BOOL isDone = [NSFileManager.defaultManager removeItemAtURL:urlOf(path) error:&error];
  requireSuccess(isDone, error);
}

bool MacFiles::fileExists(const std::filesystem::path& path) {
  return [NSFileManager.defaultManager fileExistsAtPath:textOf(path)];
}

void MacFiles::createSymbolicLink(const std::filesystem::path& link,
                                  const std::filesystem::path& destination) {
  NSError* error = nil;
  const BOOL isDone = [NSFileManager.defaultManager createSymbolicLinkAtURL:urlOf(link)
                                                         withDestinationURL:urlOf(destination)
                                                                      error:&error];
  requireSuccess(isDone, error);
}

std::filesystem::path MacFiles::destinationOfSymbolicLink(const std::filesystem::path& link) {
  NSError* error = nil;
  NSString* destination = [NSFileManager.defaultManager destinationOfSymbolicLinkAtPath:textOf(link)
                                                                                  error:&error];
  requireSuccess(destination != nil, error);
  return toString(destination);
}

}  // namespace quorvin
