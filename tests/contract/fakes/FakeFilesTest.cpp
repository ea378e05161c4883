#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/fakes/FakeFiles.h"

namespace quorvin::fakes {
namespace {

// Of the failure that the work ends in; 0 when it ends in none.
std::int64_t failureCode(const std::function<void()>& work) {
  try {
    work();
  } catch (const Error& error) {
    return error.code;
  }
  return 0;
}

TEST(FakeFiles, FailsWhereItIsTold) {
  FakeFiles files;
  files.addFile("/a/file", "old");
  files.addLink("/a/link", "file");
  for (const auto* operation : {"createDirectory", "writeAtomically", "removeItem", "contents",
                                "createSymbolicLink", "destinationOfSymbolicLink"}) {
    files.failures.emplace(operation, Error("scripted", 7, "No."));
  }
  EXPECT_EQ(failureCode([&] { files.createDirectory("/a/b"); }), 7);
  EXPECT_EQ(failureCode([&] { files.writeAtomically(Bytes{'n'}, "/a/file"); }), 7);
  EXPECT_EQ(failureCode([&] { files.removeItem("/a/file"); }), 7);
  EXPECT_EQ(failureCode([&] { files.createSymbolicLink("/a/other", "file"); }), 7);
  EXPECT_EQ(failureCode([&] { (void)files.destinationOfSymbolicLink("/a/link"); }), 7);
  EXPECT_EQ(files.contents("/a/file"), std::nullopt);
  EXPECT_EQ(files.textAt("/a/file"), "old");
  EXPECT_EQ(files.textAt("/a/link"), std::nullopt);
  EXPECT_FALSE(files.isDirectory("/a/b"));
  EXPECT_FALSE(files.hasItem("/a/other"));
  EXPECT_EQ(files.changes,
            (std::vector<std::string>{"createDirectory /a/b", "writeAtomically /a/file",
                                      "removeItem /a/file", "createSymbolicLink /a/other"}));
}

}  // namespace
}  // namespace quorvin::fakes
