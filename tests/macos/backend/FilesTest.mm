#import "platform/macos/Files.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "platform/Error.h"
#include "tests/TemporaryFolder.h"
#include "tests/macos/backend/SystemTest.h"

namespace quorvin {
namespace {

namespace fs = std::filesystem;

class FilesTest : public SystemTest {
 protected:
  void write(const fs::path& path, std::string_view text) {
    @autoreleasepool {
      files.writeAtomically(Bytes(text.begin(), text.end()), path);
    }
  }
  std::optional<std::string> read(const fs::path& path) {
    @autoreleasepool {
      const auto data = files.contents(path);
      if (!data) return {};
      return std::string(data->bytes().begin(), data->bytes().end());
    }
  }
  // The code of Foundation's error that the work ends in; 0 when it ends in none.
  static std::int64_t failureCode(const std::function<void()>& work) {
    @autoreleasepool {
      try {
        work();
      } catch (const Error& error) {
        EXPECT_EQ(error.domain, toText(NSCocoaErrorDomain));
        EXPECT_NE(error.localizedDescription, "");
        return error.code;
      }
      return 0;
    }
  }
  static std::string toText(NSString* text) { return text.UTF8String; }
  static mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
  }

  MacFiles files;
  TemporaryFolder folder;
  fs::path root = folder.path();
};

TEST_F(FilesTest, KnowsTheBundleStandardisedAndTheExecutableAsItIs) {
  standin::setMainBundle("/Applications/./Quorvin Support.app",
                         "/Applications/./Quorvin Support.app/Contents/MacOS/Quorvin Support");
  @autoreleasepool {
    EXPECT_EQ(files.bundlePath().native(), "/Applications/Quorvin Support.app");
    EXPECT_EQ(files.executablePath()->native(),
              "/Applications/./Quorvin Support.app/Contents/MacOS/Quorvin Support");
  }
}

TEST_F(FilesTest, ComposesPathsThatAreComparedInOneWay) {
  standin::setHomeFolder("/Users/J\u00FCrgen");
  standin::setMainBundle("/Users/J\u00FCrgen/A.app", "/Users/J\u00FCrgen/A.app/x");
  @autoreleasepool {
    EXPECT_EQ(files.homeDirectory(), files.bundlePath().parent_path());
    EXPECT_EQ(files.standardized("/Users/J\u00FCrgen/A.app"), files.bundlePath());
    EXPECT_EQ(files.standardized("/Users/Ju\u0308rgen/A.app"), files.bundlePath());
  }
}

TEST_F(FilesTest, KnowsNoExecutableWhenThereIsNone) {
  standin::setMainBundle("/Applications/A.app", "");
  @autoreleasepool {
    EXPECT_EQ(files.executablePath(), std::nullopt);
  }
}

TEST_F(FilesTest, KnowsTheUsersFolders) {
  standin::setHomeFolder("/Users/someone");
  @autoreleasepool {
    EXPECT_EQ(files.homeDirectoryForCurrentUser().native(), "/Users/someone");
    EXPECT_EQ(files.homeDirectory().native(), "/Users/someone");
    ASSERT_TRUE(files.desktopDirectory().has_value());
    EXPECT_EQ(files.desktopDirectory()->native(), "/Users/someone/Desktop");
  }
}

TEST_F(FilesTest, StandardisesAPath) {
  @autoreleasepool {
    EXPECT_EQ(files.standardized(root / "./a//b/").native(), (root / "a/b").native());
    EXPECT_EQ(files.standardized(root / "a/../b").native(), (root / "b").native());
    EXPECT_EQ(files.standardized("/").native(), "/");
  }
}

TEST_F(FilesTest, MakesAFolderWithThoseOnTheWayToIt) {
  EXPECT_EQ(failureCode([&] { files.createDirectory(root / "a/b c/ü"); }), 0);
  EXPECT_TRUE(fs::is_directory(root / "a/b c/u\u0308")) << "decomposed, as the system does it";
  EXPECT_EQ(failureCode([&] { files.createDirectory(root / "a/b c/ü"); }), 0);
  write(root / "file", "x");
  EXPECT_EQ(failureCode([&] { files.createDirectory(root / "file"); }), NSFileWriteFileExistsError);
}

TEST_F(FilesTest, ReadsWhatItWrote) {
  write(root / "file", "one");
  EXPECT_EQ(read(root / "file"), "one");
  write(root / "file", "");
  EXPECT_EQ(read(root / "file"), "");
}

TEST_F(FilesTest, ReadsNothingFromWhatCannotBeRead) {
  EXPECT_EQ(read(root / "missing"), std::nullopt);
  EXPECT_EQ(read(root), std::nullopt);
}

TEST_F(FilesTest, KeepsPermissionsAndReplacesALinkWhenItWrites) {
  write(root / "file", "old");
  ASSERT_EQ(chmod((root / "file").c_str(), 0600), 0);
  fs::create_symlink(root / "file", root / "link");
  write(root / "file", "new");
  write(root / "link", "its own");
  EXPECT_EQ(modeOf(root / "file"), 0600U);
  EXPECT_EQ(read(root / "file"), "new");
  EXPECT_FALSE(fs::is_symlink(root / "link"));
}

TEST_F(FilesTest, PassesOnWhyItCouldNotWrite) {
  EXPECT_EQ(failureCode([&] { write(root / "missing/file", "x"); }), NSFileNoSuchFileError);
}

TEST_F(FilesTest, RemovesAnItemOrSaysWhyNot) {
  fs::create_directories(root / "folder/inner");
  EXPECT_EQ(failureCode([&] { files.removeItem(root / "folder"); }), 0);
  EXPECT_FALSE(fs::exists(root / "folder"));
  EXPECT_EQ(failureCode([&] { files.removeItem(root / "folder"); }), NSFileNoSuchFileError);
}

TEST_F(FilesTest, RemovesALinkAndNotWhatItLeadsTo) {
  fs::create_directory(root / "target");
  fs::create_symlink(root / "target", root / "link");
  EXPECT_EQ(failureCode([&] { files.removeItem(root / "link"); }), 0);
  EXPECT_FALSE(fs::is_symlink(root / "link"));
  EXPECT_TRUE(fs::exists(root / "target"));
}

TEST_F(FilesTest, FollowsLinksToTellWhetherSomethingExists) {
  fs::create_symlink(root / "target", root / "link");
  @autoreleasepool {
    EXPECT_TRUE(files.fileExists(root));
    EXPECT_FALSE(files.fileExists(root / "link"));
    fs::create_directory(root / "target");
    EXPECT_TRUE(files.fileExists(root / "link"));
  }
}

TEST_F(FilesTest, MakesALinkUnlessTheNameIsTaken) {
  EXPECT_EQ(failureCode([&] { files.createSymbolicLink(root / "link", "/Applications/A.app"); }),
            0);
  EXPECT_EQ(fs::read_symlink(root / "link"), "/Applications/A.app");
  EXPECT_EQ(failureCode([&] { files.createSymbolicLink(root / "link", "/other"); }),
            NSFileWriteFileExistsError);
}

TEST_F(FilesTest, ReadsALinkOrSaysWhyNot) {
  fs::create_symlink("../a/./b", root / "link");
  @autoreleasepool {
    EXPECT_EQ(files.destinationOfSymbolicLink(root / "link").native(), "../a/./b");
  }
  EXPECT_EQ(failureCode([&] { (void)files.destinationOfSymbolicLink(root); }),
            NSFileReadUnknownError);
  EXPECT_EQ(failureCode([&] { (void)files.destinationOfSymbolicLink(root / "missing"); }),
            NSFileReadNoSuchFileError);
}

}  // namespace
}  // namespace quorvin
