#import "tests/macos/frameworks/Foundation/Support.h"

#include <cerrno>

#include "tests/macos/frameworks/Foundation/FileSupport.h"

namespace standin {
namespace {

NSInteger codeOf(const FileFailure& failure) {
  const bool isReading = failure.kind == FileFailure::Kind::reading;
  switch (failure.errnoValue) {
    case ENOENT:
      return isReading ? NSFileReadNoSuchFileError : NSFileNoSuchFileError;
    case EEXIST:
      return NSFileWriteFileExistsError;
    default:
      return isReading ? NSFileReadUnknownError : NSFileWriteUnknownError;
  }
}

std::string textOf(const FileFailure& failure) {
  const auto file = "“" + lastComponent(failure.path) + "”";
  if (failure.kind == FileFailure::Kind::reading) {
    return "The file " + file + " couldn’t be opened.";
  }
  return "The file " + file + " couldn’t be saved or removed.";
}

}  // namespace

bool succeeded(const FileOutcome& outcome, NSError** error) {
  if (!outcome) return true;
  if (error == nullptr) return false;
  NSString* text = stringOf(std::string_view(textOf(*outcome)));
  *error = [NSError errorWithDomain:NSCocoaErrorDomain
                               code:codeOf(*outcome)
                           userInfo:@{NSLocalizedDescriptionKey : text}];
  return false;
}

}  // namespace standin
