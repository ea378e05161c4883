// Whose group may write to an agent's file, with user databases of the test's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <fstream>

#include "launchctl/AgentFile.h"
#include "launchctl/LaunchctlError.h"
#include "tests/ChildProgram.h"
#include "tests/linux/launchctl/LaunchctlHarness.h"

namespace quorvin::launchctl {
namespace {

constexpr int accepted = 10;
constexpr int refused = 11;

class OwnGroup : public testing::Test {
 protected:
  OwnGroup() { EXPECT_EQ(::chmod(file.c_str(), 0664), 0); }

  // What becomes of a file that its group may write to, where the system has these accounts and
  // groups.
  [[nodiscard]] int outcome(const std::string& passwd, const std::string& group) const {
    const auto accounts = folder.write("passwd", passwd);
    const auto groups = folder.write("group", group);
    const pid_t child = forkChild();
    if (child == 0) ::_exit(see(accounts, groups) ? tryFile() : 1);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  const std::string uid = std::to_string(::getuid());
  const std::string gid = std::to_string(::getgid());
  const std::string me = "me:x:" + uid + ":" + gid + "::/:/bin/sh\n";
  TemporaryFolder folder;
  const std::string file = folder.write("com.example.agent.plist", AgentDescription{}.xml());

 private:
  // Nobody but this process sees them.
  [[nodiscard]] bool see(const std::string& accounts, const std::string& groups) const {
    if (::unshare(::getuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    if (::getuid() != std::stoul(uid)) {
      std::ofstream("/proc/self/setgroups") << "deny";
      std::ofstream("/proc/self/uid_map") << uid + " " + uid + " 1";
      std::ofstream("/proc/self/gid_map") << gid + " " + gid + " 1";
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount(accounts.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) == 0 &&
           ::mount(groups.c_str(), "/etc/group", nullptr, MS_BIND, nullptr) == 0;
  }
  [[nodiscard]] int tryFile() const {
    try {
      static_cast<void>(readAgentFile(file));
      return accepted;
    } catch (const LaunchctlError& failure) {
      return std::string(failure.what()).find("chmod go-w") == std::string::npos ? 2 : refused;
    }
  }
};

TEST_F(OwnGroup, MayWriteWhenNobodyElseIsInIt) {
  const std::string others = "other:x:4242:4242::/:/bin/sh\n";
  EXPECT_EQ(outcome(me + others, "me:x:" + gid + ":\nother:x:4242:me\n"), accepted);
  EXPECT_EQ(outcome(others + me, "me:x:" + gid + ":me\n"), accepted);
}

TEST_F(OwnGroup, MayNotWhenItHasAnotherMember) {
  EXPECT_EQ(outcome(me, "me:x:" + gid + ":other\n"), refused);
  EXPECT_EQ(outcome(me, "me:x:" + gid + ":me,other\n"), refused);
}

TEST_F(OwnGroup, MayNotWhenItIsAnotherAccountsOwnToo) {
  const auto other = "other:x:4242:" + gid + "::/:/bin/sh\n";
  EXPECT_EQ(outcome(me + other, "me:x:" + gid + ":\n"), refused);
  EXPECT_EQ(outcome(other + me, "me:x:" + gid + ":\n"), refused);
}

TEST_F(OwnGroup, MayNotWhenItIsNotNamedAfterTheUser) {
  EXPECT_EQ(outcome(me, "users:x:" + gid + ":\n"), refused);
  EXPECT_EQ(outcome(me, ""), refused);
  EXPECT_EQ(outcome("", "me:x:" + gid + ":\n"), refused);
}

TEST_F(OwnGroup, MayNotWhenItIsNotTheUsersOwn) {
  EXPECT_EQ(outcome("me:x:" + uid + ":4242::/:/bin/sh\n", "me:x:" + gid + ":\n"), refused);
}

// acl(5); the mask of the list is what a listing shows as the permissions of the group.
TEST_F(OwnGroup, MayNotWhenAnAccessListSpeaksForOthers) {
  struct Entry {
    std::uint16_t tag;
    std::uint16_t permissions;
    std::uint32_t id;
  };
  struct List {
    std::uint32_t version = 2;
    std::array<Entry, 5> entries{{{0x01, 6, ~0U},    // the owner
                                  {0x02, 6, 4242},   // somebody else
                                  {0x04, 4, ~0U},    // the group
                                  {0x10, 6, ~0U},    // the mask
                                  {0x20, 4, ~0U}}};  // everybody
  } list;
  ASSERT_EQ(::setxattr(file.c_str(), "system.posix_acl_access", &list, sizeof list, 0), 0);
  EXPECT_EQ(outcome(me, "me:x:" + gid + ":\n"), refused);
}

}  // namespace
}  // namespace quorvin::launchctl
