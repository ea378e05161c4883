#import "tests/macos/frameworks/Foundation/Support.h"

#include <filesystem>

#include "tests/macos/frameworks/Foundation/FileSupport.h"

@interface NSURL () {
  std::string text;  // the path
}
@end

namespace {

std::string absolute(const std::string& path) {
  if (path.starts_with('/')) return path;
  return standin::joined(std::filesystem::current_path().string(), path);
}

std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

}  // namespace

@implementation NSURL

+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir {
  return [self fileURLWithPath:path];
}

+ (NSURL*)fileURLWithPath:(NSString*)path {
  if (path == nil) standin::raiseInvalidArgument("+[NSURL fileURLWithPath:]: nil string parameter");
  NSURL* url = [[self alloc] init];
  const auto text = standin::utf8Of(path.decomposedStringWithCanonicalMapping);
  url->text = withoutTrailingSlashes(absolute(text));
  return autoreleased(url);
}

- (NSString*)path {
  return standin::stringOf(std::string_view(text));
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

@end

@implementation NSURL (NSURLPathUtilities)

- (NSURL*)URLByStandardizingPath {
  return
      [NSURL fileURLWithPath:standin::stringOf(std::string_view(standin::standardizedPath(text)))];
}

@end
