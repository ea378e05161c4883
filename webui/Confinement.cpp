#include "webui/Confinement.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <type_traits>

#include "platform/unix/FileDescriptor.h"

namespace quorvin::webui {

namespace {

constexpr rlim_t descriptorsMax = 256;
// Each of eight pages may have two frames of 16 MiB on their way.
constexpr rlim_t memoryMax = rlim_t{1} << 30U;

constexpr std::array programs{SCMP_SYS(execve), SCMP_SYS(execveat), SCMP_SYS(fork),
                              SCMP_SYS(vfork)};
constexpr std::array otherProcesses{SCMP_SYS(ptrace),
                                    SCMP_SYS(process_vm_readv),
                                    SCMP_SYS(process_vm_writev),
                                    SCMP_SYS(process_madvise),
                                    SCMP_SYS(kcmp),
                                    SCMP_SYS(pidfd_open),
                                    SCMP_SYS(pidfd_getfd),
                                    SCMP_SYS(pidfd_send_signal),
                                    SCMP_SYS(kill),
                                    SCMP_SYS(tkill),
                                    SCMP_SYS(rt_sigqueueinfo),
                                    SCMP_SYS(rt_tgsigqueueinfo),
                                    SCMP_SYS(shmget),
                                    SCMP_SYS(msgget),
                                    SCMP_SYS(semget)};
constexpr std::array outgoingSockets{SCMP_SYS(socket), SCMP_SYS(bind), SCMP_SYS(connect)};
constexpr std::array incomingSockets{SCMP_SYS(listen)};
constexpr std::array fileChanges{
    SCMP_SYS(creat),     SCMP_SYS(truncate),  SCMP_SYS(rename),    SCMP_SYS(renameat),
    SCMP_SYS(renameat2), SCMP_SYS(link),      SCMP_SYS(linkat),    SCMP_SYS(symlink),
    SCMP_SYS(symlinkat), SCMP_SYS(mkdir),     SCMP_SYS(mkdirat),   SCMP_SYS(mknod),
    SCMP_SYS(mknodat),   SCMP_SYS(chmod),     SCMP_SYS(fchmod),    SCMP_SYS(fchmodat),
    SCMP_SYS(chown),     SCMP_SYS(fchown),    SCMP_SYS(fchownat),  SCMP_SYS(lchown),
    SCMP_SYS(setxattr),  SCMP_SYS(fsetxattr), SCMP_SYS(lsetxattr), SCMP_SYS(open_by_handle_at)};
// Faults in the kernel are mostly found in these.
constexpr std::array kernelParts{SCMP_SYS(bpf),           SCMP_SYS(perf_event_open),
                                 SCMP_SYS(userfaultfd),   SCMP_SYS(keyctl),
                                 SCMP_SYS(add_key),       SCMP_SYS(request_key),
                                 SCMP_SYS(mount),         SCMP_SYS(umount2),
                                 SCMP_SYS(pivot_root),    SCMP_SYS(chroot),
                                 SCMP_SYS(open_tree),     SCMP_SYS(move_mount),
                                 SCMP_SYS(fsopen),        SCMP_SYS(fsconfig),
                                 SCMP_SYS(fsmount),       SCMP_SYS(fspick),
                                 SCMP_SYS(mount_setattr), SCMP_SYS(unshare),
                                 SCMP_SYS(setns),         SCMP_SYS(init_module),
                                 SCMP_SYS(finit_module),  SCMP_SYS(delete_module),
                                 SCMP_SYS(kexec_load),    SCMP_SYS(kexec_file_load),
                                 SCMP_SYS(personality),   SCMP_SYS(syslog),
                                 SCMP_SYS(fanotify_init), SCMP_SYS(quotactl),
                                 SCMP_SYS(acct),          SCMP_SYS(modify_ldt)};
// Whoever asks for these takes an older call when told that they are not there.
constexpr std::array unreadable{SCMP_SYS(clone3), SCMP_SYS(openat2), SCMP_SYS(io_uring_setup),
                                SCMP_SYS(io_uring_enter), SCMP_SYS(io_uring_register)};

// The library's own macros for this are not C++.
constexpr scmp_arg_cmp argument(unsigned index, scmp_compare comparison, scmp_datum_t first,
                                scmp_datum_t second = 0) {
  return {index, comparison, first, second};
}

class Filter {
 public:
  template <std::size_t count>
  void refuse(const std::array<int, count>& calls, std::uint16_t error = EPERM) {
    for (const int call : calls) {
      check(seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(error), call, 0, nullptr));
    }
  }
  void refuseWhere(int call, scmp_arg_cmp condition) {
    check(seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(EPERM), call, 1, &condition));
  }
  void load() {
    check(seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1));
    check(seccomp_load(filter.get()));
  }

 private:
  static void check(int result) {
    if (result != 0) throw std::runtime_error("the system does not confine this program (seccomp)");
  }

  struct Release {
    void operator()(scmp_filter_ctx context) const { seccomp_release(context); }
  };
  std::unique_ptr<std::remove_pointer_t<scmp_filter_ctx>, Release> filter{
      seccomp_init(SCMP_ACT_ALLOW)};
};

void limit(__rlimit_resource resource, rlim_t most) {
  rlimit now{};
  if (getrlimit(resource, &now) != 0) return;
  const rlim_t allowed = std::min(most, now.rlim_max);
  const rlimit wanted{allowed, allowed};
  if (setrlimit(resource, &wanted) != 0) throw std::runtime_error("a limit cannot be set");
}

// Everything but these is out of reach: the name service's settings, some of them kept by who looks
// after the network, its parts and the system's certificates.
void readOnlyForNames() {
  constexpr auto reading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
  landlock_ruleset_attr handled{};
  handled.handled_access_fs = reading | LANDLOCK_ACCESS_FS_EXECUTE |
                              LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR;
  const FileDescriptor rules(
      static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
  if (!rules.isOpen()) return;  // a kernel that does not know how
  for (const char* path :
       {"/etc", "/usr", "/run/systemd/resolve", "/run/resolvconf", "/run/NetworkManager"}) {
    const FileDescriptor folder(::open(path, O_PATH | O_CLOEXEC));
    landlock_path_beneath_attr allowed{reading, folder.get()};
    if (folder.isOpen()) {
      syscall(SYS_landlock_add_rule, rules.get(), LANDLOCK_RULE_PATH_BENEATH, &allowed, 0);
    }
  }
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      syscall(SYS_landlock_restrict_self, rules.get(), 0) != 0) {
    throw std::runtime_error("the system does not confine this program (landlock)");
  }
}

}  // namespace

void confine(Network network) {
  if (network == Network::outgoing) readOnlyForNames();
  limit(RLIMIT_NOFILE, descriptorsMax);
  limit(RLIMIT_DATA, memoryMax);
  limit(RLIMIT_CORE, 0);
  Filter filter;
  filter.refuse(programs);
  filter.refuse(otherProcesses);
  filter.refuse(incomingSockets);
  if (network == Network::none) {
    filter.refuse(outgoingSockets);
  } else {
    // The user's other programs listen on local ones.
    filter.refuseWhere(SCMP_SYS(socket), argument(0, SCMP_CMP_EQ, AF_UNIX));
  }
  filter.refuse(fileChanges);
  filter.refuse(kernelParts);
  filter.refuse(unreadable, ENOSYS);
  // Threads of its own are needed, and so are signals to them: abort() is one.
  filter.refuseWhere(SCMP_SYS(clone), argument(0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0));
  const auto self = static_cast<scmp_datum_t>(::getpid());
  filter.refuseWhere(SCMP_SYS(tgkill), argument(0, SCMP_CMP_NE, self));
  filter.refuseWhere(SCMP_SYS(prlimit64), argument(0, SCMP_CMP_NE, 0));
  for (const auto writing : {scmp_datum_t{O_WRONLY}, scmp_datum_t{O_RDWR}, scmp_datum_t{O_CREAT},
                             scmp_datum_t{O_TRUNC}}) {
    filter.refuseWhere(SCMP_SYS(open), argument(1, SCMP_CMP_MASKED_EQ, writing, writing));
    filter.refuseWhere(SCMP_SYS(openat), argument(2, SCMP_CMP_MASKED_EQ, writing, writing));
  }
  filter.load();
}

}  // namespace quorvin::webui
