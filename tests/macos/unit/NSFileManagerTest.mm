#import <Foundation/Foundation.h>

#include <filesystem>
#include <string>

#include "tests/TemporaryFolder.h"
#include "tests/macos/standin/StandInTest.h"

namespace {

class NSFileManagerTest : public standin::StandInTest {
 protected:
  NSString* path(const std::string& name) const { return @(folder.path(name).c_str()); }
  NSURL* url(const std::string& name) const { return [NSURL fileURLWithPath:path(name)]; }
  bool makeFolder(const std::string& name, bool withIntermediates) {
    NSError* failure = nil;
    const bool isMade = [files createDirectoryAtURL:url(name)
                        withIntermediateDirectories:withIntermediates
                                         attributes:@{
                                           NSFilePosixPermissions : @0700
                                         }
                                              error:&failure];
    folderError = failure;
    return isMade;
  }

  quorvin::TemporaryFolder folder;
  NSFileManager* files = NSFileManager.defaultManager;
  NSError* folderError = nil;  // why a folder could not be made
};

TEST_F(NSFileManagerTest, MakesAFolderAndThoseAboveIt) {
  EXPECT_TRUE(makeFolder("a/b/c", true));
  EXPECT_TRUE(makeFolder("a/b/c", true));
  BOOL isFolder = NO;
  EXPECT_TRUE([files fileExistsAtPath:path("a/b/c") isDirectory:&isFolder]);
  EXPECT_TRUE(isFolder);
  EXPECT_EQ(std::filesystem::status(folder.path("a")).permissions(), std::filesystem::perms(0700));
}

TEST_F(NSFileManagerTest, FolderThatCannotBeMadeGivesTheSystemsErrors) {
  EXPECT_FALSE(makeFolder("a/b", false));
  EXPECT_EQ(folderError.code, NSFileNoSuchFileError);
  [[NSData data] writeToURL:url("file") options:0 error:nil];
  EXPECT_FALSE(makeFolder("file", true));
  EXPECT_EQ(folderError.code, NSFileWriteFileExistsError);
  EXPECT_FALSE(makeFolder("file/b", true));
  EXPECT_EQ(folderError.code, NSFileWriteUnknownError);
  makeFolder("c", false);
  EXPECT_FALSE(makeFolder("c", false));
  EXPECT_EQ(folderError.code, NSFileWriteFileExistsError);
}

TEST_F(NSFileManagerTest, LinkIsMadeReadAndNotOverwritten) {
  NSError* error = nil;
  EXPECT_TRUE([files createSymbolicLinkAtURL:url("link")
                          withDestinationURL:url("none")
                                       error:&error]);
  EXPECT_TRUE([[files destinationOfSymbolicLinkAtPath:path("link")
                                                error:&error] isEqual:path("none")]);
  EXPECT_FALSE([files fileExistsAtPath:path("link")]);
  EXPECT_FALSE([files createSymbolicLinkAtURL:url("link")
                           withDestinationURL:url("b")
                                        error:&error]);
  EXPECT_EQ(error.code, NSFileWriteFileExistsError);
  const auto text = "The file “link” couldn’t be saved in the folder “" +
                    folder.path().filename().string() +
                    "” because a file with the same name already exists.";
  EXPECT_EQ(std::string(error.localizedDescription.UTF8String), text);
}

TEST_F(NSFileManagerTest, RemovesALinkAndNotItsTarget) {
  NSError* error = nil;
  makeFolder("a/b", true);
  [files createSymbolicLinkAtURL:url("link") withDestinationURL:url("a") error:nil];
  EXPECT_TRUE([files removeItemAtURL:url("link") error:&error]);
  EXPECT_TRUE([files fileExistsAtPath:path("a/b")]);
  EXPECT_TRUE([files removeItemAtURL:url("a") error:&error]);
  EXPECT_FALSE([files fileExistsAtPath:path("a")]);
  EXPECT_FALSE([files removeItemAtURL:url("a") error:&error]);
  EXPECT_EQ(error.code, NSFileNoSuchFileError);
  EXPECT_STREQ(error.localizedDescription.UTF8String, "“a” couldn’t be removed.");
}

TEST_F(NSFileManagerTest, ReadingNoLinkGivesAReadingError) {
  NSError* error = nil;
  EXPECT_EQ([files destinationOfSymbolicLinkAtPath:path("none") error:&error], nil);
  EXPECT_EQ(error.code, NSFileReadNoSuchFileError);
}

TEST_F(NSFileManagerTest, FoldersOfTheUserLieInTheHomeThatTheTestChose) {
  standin::setHomeFolder("/Users/ada");
  EXPECT_STREQ(NSHomeDirectory().UTF8String, "/Users/ada");
  EXPECT_STREQ(files.homeDirectoryForCurrentUser.absoluteString.UTF8String, "file:///Users/ada/");
  NSURL* support =
      [files URLsForDirectory:NSApplicationSupportDirectory inDomains:NSUserDomainMask].firstObject;
  EXPECT_STREQ(support.path.UTF8String, "/Users/ada/Library/Application Support");
}

TEST_F(NSFileManagerTest, UrlKnowsFoldersThatExist) {
  makeFolder("a", false);
  EXPECT_TRUE(url("a").hasDirectoryPath);
  EXPECT_FALSE(url("none").hasDirectoryPath);
  EXPECT_FALSE([url("a") isEqual:[NSURL fileURLWithPath:path("a") isDirectory:NO]]);
  EXPECT_TRUE([url("a").path isEqual:path("a")]);
  EXPECT_TRUE([[url("a") URLByAppendingPathComponent:@"b.txt"].path isEqual:path("a/b.txt")]);
  EXPECT_STREQ([url("a") URLByAppendingPathComponent:@"b.txt"].pathExtension.UTF8String, "txt");
  EXPECT_TRUE([url("a/../a/./c").URLByStandardizingPath.path isEqual:path("a/c")]);
  EXPECT_TRUE([url("a/b").URLByDeletingLastPathComponent.path isEqual:path("a")]);
}

TEST_F(NSFileManagerTest, UrlWritesUnusualCharactersAsNumbers) {
  NSURL* url = [NSURL fileURLWithPath:@"/a b/ü" isDirectory:NO];
  EXPECT_STREQ(url.absoluteString.UTF8String, "file:///a%20b/%C3%BC");
  EXPECT_STREQ(url.path.UTF8String, "/a b/ü");
}

}  // namespace
