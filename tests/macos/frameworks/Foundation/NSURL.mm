#import "tests/macos/frameworks/Foundation/Support.h"

#include <sys/stat.h>

#include "tests/macos/frameworks/Foundation/FileSupport.h"

// A file URL is a path and whether it ends in a slash; any other is its text.
@interface NSURL () {
  std::string text;
  bool isFile;
  bool isDirectory;
}
@end

namespace {

NSString* string(const std::string& text) { return standin::stringOf(std::string_view(text)); }

std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

// A link to a folder is none.
bool isFolder(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// What a path may not contain in a URL is written as the hexadecimal number of every byte.
std::string percentEncoded(const std::string& path) {
  static constexpr auto allowed =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~!$&'()*+,=:@/";
  std::string encoded;
  for (const char byte : path) {
    if (std::string_view(allowed).find(byte) != std::string_view::npos) {
      encoded += byte;
    } else {
      char hexadecimal[4];
      std::snprintf(hexadecimal, sizeof hexadecimal, "%%%02X",
                    static_cast<unsigned>(static_cast<unsigned char>(byte)));
      encoded += hexadecimal;
    }
  }
  return encoded;
}

}  // namespace

@implementation NSURL

+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir {
  return autoreleased([[self alloc] initFileURLWithPath:path isDirectory:isDir]);
}

+ (NSURL*)fileURLWithPath:(NSString*)path {
  return autoreleased([[self alloc] initFileURLWithPath:path]);
}

+ (instancetype)URLWithString:(NSString*)URLString {
  const auto text = standin::utf8Of(URLString);
  if (text.empty() || text.find(' ') != text.npos) return nil;
  NSURL* url = [[self alloc] init];
  url->text = text;
  return autoreleased(url);
}

- (instancetype)initFileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir {
  if (path == nil)
    standin::raiseInvalidArgument("-[NSURL initFileURLWithPath:]: nil string parameter");
  self = [super init];
  text = withoutTrailingSlashes(standin::utf8Of(path));
  isFile = true;
  isDirectory = isDir;
  return self;
}

- (instancetype)initFileURLWithPath:(NSString*)path {
  const auto utf8 = standin::utf8Of(path);
  return [self initFileURLWithPath:path isDirectory:utf8.ends_with('/') || isFolder(utf8)];
}

- (NSString*)absoluteString {
  if (!isFile) return string(text);
  return string("file://" + percentEncoded(text) + (isDirectory && text != "/" ? "/" : ""));
}

- (NSString*)scheme {
  if (isFile) return @"file";
  const auto colon = text.find(':');
  return colon == text.npos ? nil : string(text.substr(0, colon));
}

- (NSString*)path {
  if (isFile) return string(text);
  const auto authority = text.find("//");
  const auto begin = text.find('/', authority == text.npos ? 0 : authority + 2);
  return begin == text.npos ? @"" : string(text.substr(begin, text.find_first_of("?#") - begin));
}

- (BOOL)hasDirectoryPath {
  return isFile ? isDirectory : text.ends_with('/');
}

- (BOOL)isFileURL {
  return isFile;
}

- (NSURL*)standardizedURL {
  if (!isFile) return self;
  return [NSURL fileURLWithPath:string(standin::withoutDots(text)) isDirectory:isDirectory];
}

- (const char*)fileSystemRepresentation {
  return self.path.UTF8String;
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (BOOL)isEqual:(id)object {
  return
      [object isKindOfClass:[NSURL class]] && [self.absoluteString isEqual:[object absoluteString]];
}

- (NSUInteger)hash {
  return std::hash<std::string>()(text);
}

- (NSString*)description {
  return self.absoluteString;
}

@end

@implementation NSURL (NSURLPathUtilities)

- (NSString*)lastPathComponent {
  return self.path.lastPathComponent;
}

- (NSString*)pathExtension {
  return self.path.pathExtension;
}

- (NSURL*)URLByAppendingPathComponent:(NSString*)pathComponent {
  const auto added = standin::utf8Of(pathComponent);
  const auto path = standin::joined(text, added);
  return [self URLByAppendingPathComponent:pathComponent
                               isDirectory:added.ends_with('/') || isFolder(path)];
}

- (NSURL*)URLByAppendingPathComponent:(NSString*)pathComponent isDirectory:(BOOL)isDir {
  const auto path = standin::joined(text, standin::utf8Of(pathComponent));
  return [NSURL fileURLWithPath:string(path) isDirectory:isDir];
}

- (NSURL*)URLByDeletingLastPathComponent {
  return [NSURL fileURLWithPath:string(standin::folderOf(text)) isDirectory:YES];
}

- (NSURL*)URLByStandardizingPath {
  if (!isFile || text.empty()) return self;
  return [NSURL fileURLWithPath:string(standin::standardizedPath(text)) isDirectory:isDirectory];
}

@end
