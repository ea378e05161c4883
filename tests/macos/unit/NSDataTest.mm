#import <Foundation/Foundation.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/TemporaryFolder.h"
#include "tests/macos/standin/StandInTest.h"

namespace {

class NSDataTest : public standin::StandInTest {
 protected:
  NSURL* url(const std::string& name) const {
    return [NSURL fileURLWithPath:@(folder.path(name).c_str())];
  }

  quorvin::TemporaryFolder folder;
};

TEST_F(NSDataTest, CopiesTheBytesItIsMadeOf) {
  char bytes[] = "abc";
  NSData* data = [NSData dataWithBytes:bytes length:3];
  bytes[0] = 'x';
  EXPECT_EQ(std::string(static_cast<const char*>(data.bytes), data.length), "abc");
  EXPECT_TRUE([data isEqualToData:[NSData dataWithData:data]]);
  EXPECT_FALSE([data isEqual:[NSData dataWithBytes:bytes length:3]]);
}

TEST_F(NSDataTest, DeallocatorRunsOnceWhenTheLastReferenceGoes) {
  char characters[] = "abc";
  void* bytes = characters;
  __block int runs = 0;
  __block NSUInteger freed = 0;
  NSData* data = [[NSData alloc] initWithBytesNoCopy:bytes
                                              length:3
                                         deallocator:^(void* memory, NSUInteger length) {
                                           ++runs;
                                           freed = length;
                                           EXPECT_EQ(memory, bytes);
                                         }];
  NSData* copy = [data copy];
  @autoreleasepool {
    EXPECT_EQ(data.bytes, bytes);  // which keeps the data alive as long as the pool
  }
  data = nil;
  EXPECT_EQ(runs, 0);
  EXPECT_EQ(copy.length, 3U);
  copy = nil;
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(freed, 3U);
}

TEST_F(NSDataTest, FreesMemoryThatWasHandedOver) {
  void* memory = std::malloc(8);
  NSData* data = [[NSData alloc] initWithBytesNoCopy:memory length:8 freeWhenDone:YES];
  EXPECT_EQ(data.bytes, memory);  // the leak sanitizer sees the rest
}

TEST_F(NSDataTest, MutableDataGrowsAndItsCopyDoesNot) {
  NSMutableData* data = [NSMutableData dataWithLength:2];
  NSData* copy = [data copy];
  [data appendBytes:"ab" length:2];
  static_cast<char*>(data.mutableBytes)[0] = 'x';
  EXPECT_EQ(data.length, 4U);
  EXPECT_EQ(copy.length, 2U);
  EXPECT_EQ(static_cast<const char*>(copy.bytes)[0], 0);
}

TEST_F(NSDataTest, WritesAndReadsAFile) {
  NSError* error = nil;
  EXPECT_TRUE([[NSData dataWithBytes:"abc" length:3] writeToURL:url("file")
                                                        options:NSDataWritingAtomic
                                                          error:&error]);
  NSData* read = [NSData dataWithContentsOfURL:url("file") options:0 error:&error];
  EXPECT_EQ(std::string(static_cast<const char*>(read.bytes), read.length), "abc");
  EXPECT_EQ(error, nil);
}

TEST_F(NSDataTest, AtomicWriteReplacesALinkAndKeepsAFilesMode) {
  const auto file = folder.path("file");
  [[NSData data] writeToURL:url("file") options:0 error:nil];
  ASSERT_EQ(chmod(file.c_str(), 0600), 0);
  std::filesystem::create_symlink(file, folder.path("link"));
  [[NSData dataWithBytes:"x" length:1] writeToURL:url("link")
                                          options:NSDataWritingAtomic
                                            error:nil];
  [[NSData dataWithBytes:"y" length:1] writeToURL:url("file")
                                          options:NSDataWritingAtomic
                                            error:nil];
  EXPECT_FALSE(std::filesystem::is_symlink(folder.path("link")));
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
  EXPECT_EQ(std::filesystem::file_size(file), 1U);
}

TEST_F(NSDataTest, MissingFilesAndFoldersGiveTheSystemsErrors) {
  NSError* error = nil;
  EXPECT_EQ([NSData dataWithContentsOfURL:url("none") options:0 error:&error], nil);
  EXPECT_EQ(error.code, NSFileReadNoSuchFileError);
  EXPECT_STREQ(error.localizedDescription.UTF8String,
               "The file “none” couldn’t be opened because there is no such file.");
  EXPECT_FALSE([[NSData data] writeToURL:url("none/file")
                                 options:NSDataWritingAtomic
                                   error:&error]);
  EXPECT_EQ(error.code, NSFileNoSuchFileError);
  EXPECT_STREQ(error.localizedDescription.UTF8String, "The folder “file” doesn’t exist.");
  NSError* underlying = error.userInfo[NSUnderlyingErrorKey];
  EXPECT_TRUE([underlying.domain isEqualToString:NSPOSIXErrorDomain]);
  EXPECT_EQ(underlying.code, ENOENT);
}

}  // namespace
