#import "tests/macos/frameworks/Foundation/Support.h"

#include <cerrno>

#include "tests/macos/frameworks/Foundation/FileSupport.h"

namespace standin {
namespace {

using Kind = FileFailure::Kind;

NSInteger readingCode(int errnoValue) {
  switch (errnoValue) {
    case ENOENT:
      return NSFileReadNoSuchFileError;
    case EPERM:
    case EACCES:
      return NSFileReadNoPermissionError;
    case ENAMETOOLONG:
      return NSFileReadInvalidFileNameError;
    case EFBIG:
      return NSFileReadTooLargeError;
    default:
      return NSFileReadUnknownError;
  }
}

NSInteger writingCode(int errnoValue) {
  switch (errnoValue) {
    case ENOENT:
      return NSFileNoSuchFileError;
    case EPERM:
    case EACCES:
      return NSFileWriteNoPermissionError;
    case EEXIST:
      return NSFileWriteFileExistsError;
    case ENAMETOOLONG:
      return NSFileWriteInvalidFileNameError;
    case ENOSPC:
    case EDQUOT:
      return NSFileWriteOutOfSpaceError;
    case EROFS:
      return NSFileWriteVolumeReadOnlyError;
    default:
      return NSFileWriteUnknownError;
  }
}

std::string quoted(const std::string& text) { return "“" + text + "”"; }

std::string removalText(NSInteger code, const std::string& file) {
  if (code == NSFileWriteNoPermissionError) {
    return file + " couldn’t be removed because you don’t have permission to access it.";
  }
  return file + " couldn’t be removed.";
}

std::string readingText(NSInteger code, const std::string& file) {
  const auto opening = "The file " + file + " couldn’t be opened";
  if (code == NSFileReadNoSuchFileError) return opening + " because there is no such file.";
  if (code == NSFileReadNoPermissionError) {
    return opening + " because you don’t have permission to view it.";
  }
  return opening + ".";
}

std::string writingText(NSInteger code, const std::string& file, const FileFailure& failure) {
  const auto folder = quoted(lastComponent(folderOf(failure.path)));
  if (code == NSFileNoSuchFileError) {
    return (failure.isMissingFolder ? "The folder " : "The file ") + file + " doesn’t exist.";
  }
  if (code == NSFileWriteNoPermissionError) {
    return "You don’t have permission to save the file " + file + " in the folder " + folder + ".";
  }
  const auto saving = "The file " + file + " couldn’t be saved in the folder " + folder;
  if (code == NSFileWriteFileExistsError) {
    return saving + " because a file with the same name already exists.";
  }
  return saving + ".";
}

std::string textOf(NSInteger code, const FileFailure& failure) {
  const auto file = quoted(lastComponent(failure.path));
  switch (failure.kind) {
    case Kind::reading:
      return readingText(code, file);
    case Kind::removing:
      return removalText(code, file);
    case Kind::writing:
      break;
  }
  return writingText(code, file, failure);
}

}  // namespace

NSError* errorOf(const FileFailure& failure) {
  const auto code = failure.kind == Kind::reading ? readingCode(failure.errnoValue)
                                                  : writingCode(failure.errnoValue);
  NSError* underlying = [NSError errorWithDomain:NSPOSIXErrorDomain
                                            code:failure.errnoValue
                                        userInfo:nil];
  NSDictionary* userInfo = @{
    NSFilePathErrorKey : stringOf(std::string_view(failure.path)),
    NSUnderlyingErrorKey : underlying,
    NSLocalizedDescriptionKey : stringOf(std::string_view(textOf(code, failure))),
  };
  return [NSError errorWithDomain:NSCocoaErrorDomain code:code userInfo:userInfo];
}

bool succeeded(const FileOutcome& outcome, NSError** error) {
  if (!outcome) return true;
  if (error != nullptr) *error = [[errorOf(*outcome) retain] autorelease];
  return false;
}

}  // namespace standin
