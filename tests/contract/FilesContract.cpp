#include "tests/contract/FilesContract.h"

#include <vector>

#include "platform/Error.h"

namespace quorvin::contract {

void FilesContract::write(std::string_view name, std::string_view text) {
  files.writeAtomically(std::vector<std::uint8_t>(text.begin(), text.end()), at(name));
}

std::optional<std::string> FilesContract::textAt(std::string_view name) {
  const auto content = files.contents(at(name));
  if (!content) return {};
  return std::string(content->bytes().begin(), content->bytes().end());
}

bool FilesContract::isRefused(const std::function<void()>& work) {
  try {
    work();
  } catch (const Error& error) {
    EXPECT_FALSE(error.domain.empty());
    EXPECT_NE(error.code, 0);
    EXPECT_FALSE(error.localizedDescription.empty());
    return true;
  }
  return false;
}

TEST_P(FilesContract, MakesAFolderWithThoseOnTheWayToIt) {
  files.createDirectory(at("a/b/c"));
  EXPECT_TRUE(files.fileExists(at("a/b/c")));
  files.createDirectory(at("a/b/c"));
  write("file", "x");
  EXPECT_TRUE(isRefused([&] { files.createDirectory(at("file")); }));
  EXPECT_TRUE(isRefused([&] { files.createDirectory(at("file/below")); }));
  EXPECT_EQ(textAt("file"), "x");
}

TEST_P(FilesContract, ReadsWhatItWrote) {
  write("file", "one");
  EXPECT_EQ(textAt("file"), "one");
  write("file", "");
  EXPECT_EQ(textAt("file"), "");
  write("file", std::string(100'000, 'x'));
  EXPECT_EQ(textAt("file"), std::string(100'000, 'x'));
}

TEST_P(FilesContract, ReadsNothingFromWhatIsNoFile) {
  EXPECT_EQ(files.contents(at("missing")), std::nullopt);
  files.createDirectory(at("folder"));
  EXPECT_EQ(files.contents(at("folder")), std::nullopt);
  files.createSymbolicLink(at("dangling"), at("missing"));
  EXPECT_EQ(files.contents(at("dangling")), std::nullopt);
  files.createSymbolicLink(at("loop"), at("loop"));
  EXPECT_EQ(files.contents(at("loop")), std::nullopt);
}

TEST_P(FilesContract, RefusesToWriteWhereNoFileCanBe) {
  EXPECT_TRUE(isRefused([&] { write("missing/file", "x"); }));
  files.createDirectory(at("folder"));
  EXPECT_TRUE(isRefused([&] { write("folder", "x"); }));
  EXPECT_EQ(files.contents(at("folder")), std::nullopt);
}

TEST_P(FilesContract, ReplacesALinkAndNotWhatItLeadsTo) {
  write("target", "old");
  files.createSymbolicLink(at("link"), at("target"));
  write("link", "new");
  EXPECT_EQ(textAt("link"), "new");
  EXPECT_EQ(textAt("target"), "old");
  EXPECT_TRUE(isRefused([&] { (void)files.destinationOfSymbolicLink(at("link")); }));
}

TEST_P(FilesContract, RemovesAFolderWithAllThatIsInIt) {
  files.createDirectory(at("folder/inner"));
  write("folder/inner/file", "x");
  write("folder2", "stays");
  files.removeItem(at("folder"));
  EXPECT_FALSE(files.fileExists(at("folder/inner/file")));
  EXPECT_FALSE(files.fileExists(at("folder")));
  EXPECT_TRUE(files.fileExists(at("folder2")));
  EXPECT_TRUE(isRefused([&] { files.removeItem(at("folder")); }));
}

TEST_P(FilesContract, RemovesALinkAndNotWhatItLeadsTo) {
  write("target", "stays");
  files.createSymbolicLink(at("link"), at("target"));
  files.removeItem(at("link"));
  EXPECT_FALSE(files.fileExists(at("link")));
  EXPECT_EQ(textAt("target"), "stays");
  files.createSymbolicLink(at("dangling"), at("missing"));
  files.removeItem(at("dangling"));
  files.createSymbolicLink(at("dangling"), at("missing"));
}

TEST_P(FilesContract, FollowsLinksToTellWhetherSomethingExists) {
  files.createSymbolicLink(at("link"), at("target"));
  EXPECT_FALSE(files.fileExists(at("link")));
  write("target", "x");
  EXPECT_TRUE(files.fileExists(at("link")));
  EXPECT_EQ(textAt("link"), "x");
}

TEST_P(FilesContract, MakesNoLinkWhereTheNameIsTaken) {
  files.createSymbolicLink(at("link"), at("nowhere"));
  EXPECT_EQ(files.destinationOfSymbolicLink(at("link")), at("nowhere"));
  EXPECT_TRUE(isRefused([&] { files.createSymbolicLink(at("link"), at("other")); }));
  EXPECT_EQ(files.destinationOfSymbolicLink(at("link")), at("nowhere"));
  EXPECT_TRUE(isRefused([&] { files.createSymbolicLink(at("no/link"), at("x")); }));
}

TEST_P(FilesContract, SaysWhatALinkSaysAndNothingElse) {
  write("file", "x");
  EXPECT_TRUE(isRefused([&] { (void)files.destinationOfSymbolicLink(at("file")); }));
  EXPECT_TRUE(isRefused([&] { (void)files.destinationOfSymbolicLink(at("gone")); }));
  world->makeLink(at("link"), "../a/b");
  EXPECT_EQ(files.destinationOfSymbolicLink(at("link")).native(), "../a/b");
}

TEST_P(FilesContract, StandardizesAPathWithoutLookingAtIt) {
  EXPECT_EQ(files.standardized("/a/./b//c/../d/"), "/a/b/d");
  EXPECT_EQ(files.standardized("/a/b"), "/a/b");
  EXPECT_EQ(files.standardized("/../a/.."), "/");
}

TEST_P(FilesContract, TakesNamesOfAnyScriptAndBytesOfAnyValue) {
  const std::string bytes("\0\xFF\r\n\0", 5);
  for (const std::string name : {"two words", "Büro", "\U0001F600", "50%", "a#b?c", "quote'\""}) {
    files.createDirectory(at(name));
    write(name + "/" + name, bytes);
    EXPECT_EQ(textAt(name + "/" + name), bytes) << name;
    files.createSymbolicLink(at(name + " link"), at(name));
    EXPECT_EQ(files.standardized(files.destinationOfSymbolicLink(at(name + " link"))),
              files.standardized(at(name)));
    files.removeItem(at(name));
    EXPECT_FALSE(files.fileExists(at(name))) << name;
  }
}

TEST_P(FilesContract, KnowsWhereTheProgramAndTheUserLive) {
  EXPECT_TRUE(files.bundlePath().is_absolute());
  EXPECT_TRUE(files.homeDirectory().is_absolute());
  EXPECT_TRUE(files.homeDirectoryForCurrentUser().is_absolute());
  EXPECT_TRUE(files.executablePath().value().is_absolute());
  EXPECT_TRUE(files.desktopDirectory().value().is_absolute());
}

}  // namespace quorvin::contract
