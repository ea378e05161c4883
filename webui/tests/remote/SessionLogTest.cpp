#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/TemporaryFolder.h"
#include "webui/remote/SessionLog.h"

namespace quorvin::webui {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class SessionLogTest : public testing::Test {
 protected:
  static constexpr fs::perms onlyMine = fs::perms::owner_read | fs::perms::owner_write;

  ~SessionLogTest() override { umask(formerMask); }

  SessionLog open() const {
    return {path.parent_path(), [this] {
              return seconds;
            }};
  }
  std::string content() const {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
  // What a log keeps that finds this file.
  static std::size_t keptIn(const SessionLog& log) { return log.newest().size(); }

  std::int64_t seconds = 0;
  TemporaryFolder folder;
  fs::path path = folder.path("made") / "sessions.jsonl";
  mode_t formerMask = umask(0);
};

TEST_F(SessionLogTest, KeepsALineForEachEventWithItsTime) {
  auto log = open();
  seconds = 1'000'000'000;
  log.add({{"event", "invited"}});
  seconds += 60;
  log.add({{"event", "asked"}, {"name", "Ann\n\"x\" \xC3\xA9"}});
  EXPECT_EQ(content(),
            "{\"event\":\"invited\",\"time\":\"2001-09-09T01:46:40Z\"}\n"
            "{\"event\":\"asked\",\"name\":\"Ann\\n\\\"x\\\" \xC3\xA9\","
            "\"time\":\"2001-09-09T01:47:40Z\"}\n");
  EXPECT_EQ(log.newest()[0]["event"], "asked");
  EXPECT_EQ(open().newest(), log.newest());
}

TEST_F(SessionLogTest, IsForThisUserOnlyWhateverTheMaskSays) {
  for (const mode_t mask : {0U, 0277U}) {
    umask(mask);
    fs::remove_all(path.parent_path());
    const auto log = open();
    EXPECT_EQ(fs::status(path).permissions(), onlyMine) << mask;
  }
}

TEST_F(SessionLogTest, ClosesAFileThatIsOpenToOthers) {
  open().add({{"event", "invited"}});
  fs::permissions(path, fs::perms::all);
  EXPECT_EQ(keptIn(open()), 1U);
  EXPECT_EQ(fs::status(path).permissions(), onlyMine);
}

TEST_F(SessionLogTest, RefusesWhatIsNotPlainlyThisUsersOwn) {
  fs::create_directories(path.parent_path());
  const auto refuses = [this] {
    testing::internal::CaptureStderr();
    auto log = open();
    log.add({{"event", "invited"}});
    EXPECT_EQ(keptIn(log), 0U);
    return !testing::internal::GetCapturedStderr().empty();
  };
  const auto other = folder.write("other", "mine");
  fs::create_symlink(other, path);
  EXPECT_TRUE(refuses());
  fs::remove(path);
  fs::create_hard_link(other, path);
  EXPECT_TRUE(refuses());
  fs::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_TRUE(refuses());
  std::ifstream unchanged(other);
  std::string text;
  std::getline(unchanged, text);
  EXPECT_EQ(text, "mine");
}

TEST_F(SessionLogTest, RefusesAFileOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make one";
  open().add({{"event", "invited"}});
  constexpr uid_t nobody = 65534;
  ASSERT_EQ(chown(path.c_str(), nobody, nobody), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(keptIn(open()), 0U);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST_F(SessionLogTest, OldestLinesGoWhole) {
  auto log = open();
  const std::string name(1000, 'n');
  for (int count = 0; count < 300; ++count) {
    log.add({{"remote", count}, {"name", name}});
    ASSERT_LE(fs::file_size(path), SessionLog::bytesMax);
  }
  EXPECT_GT(fs::file_size(path), SessionLog::bytesMax - 2 * name.size());
  std::ifstream lines(path);
  std::string line;
  int last = -1;
  while (std::getline(lines, line)) {
    const auto entry = json::parse(line, nullptr, false);
    ASSERT_TRUE(entry.is_object()) << line.substr(0, 40);
    EXPECT_TRUE(last < 0 || entry["remote"] == last + 1) << last;
    last = entry["remote"];
  }
  EXPECT_EQ(last, 299);
  EXPECT_EQ(log.newest().size(), SessionLog::newestMax);
  EXPECT_EQ(log.newest().back()["remote"], 200);
}

TEST_F(SessionLogTest, LineThatWasCutShortCostsNoOther) {
  open().add({{"event", "invited"}});
  std::ofstream(path, std::ios::app) << R"({"event":"as)";
  auto log = open();
  log.add({{"event", "allowed"}});
  EXPECT_EQ(keptIn(log), 2U);
  EXPECT_EQ(log.newest()[0]["event"], "allowed");
}

TEST_F(SessionLogTest, SeveralProgramsWriteTheSameFile) {
  auto first = open();
  auto second = open();
  first.add({{"event", "invited"}});
  second.add({{"event", "asked"}});
  first.add({{"event", "allowed"}});
  EXPECT_EQ(keptIn(second), 3U);
}

}  // namespace
}  // namespace quorvin::webui
