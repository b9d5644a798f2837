// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "faults/trapped_calls.h"

#include <elf.h>
#include <link.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <system_error>
#include <vector>

#include "faults/raw_call.h"

namespace PlatformTest {
namespace {

// The first would end in an endless loop, as the signal's handler returns by it; the others are of
// signals and of processes, whose makers block the signal.
constexpr long kLeftAlone[] = {
    SYS_rt_sigreturn, SYS_rt_sigprocmask,  SYS_sigaltstack, SYS_exit,  SYS_exit_group, SYS_clone,
    SYS_clone3,       SYS_set_robust_list, SYS_rseq,        SYS_wait4, SYS_gettid,     SYS_tgkill,
    SYS_kill,
#ifdef SYS_fork
    SYS_fork,         SYS_vfork,
#endif
};

// They have no way to say that they failed.
constexpr long kNeverFailing[] = {SYS_getpid, SYS_geteuid, SYS_getuid, SYS_getegid, SYS_getgid};

bool watching = false;
FailurePlan plan;
WatchedCalls calls;

struct AddressRange {
  std::uint64_t begin;
  std::uint64_t end;
};

// Where the sanitizers' own code is: nothing that is tested.
std::vector<AddressRange> SanitizerRuntimes() {
  std::vector<AddressRange> ranges;
  dl_iterate_phdr(
      [](struct dl_phdr_info* module, std::size_t, void* found) {
        const char* const name = module->dlpi_name;
        if (std::strstr(name, "libasan") == nullptr && std::strstr(name, "libubsan") == nullptr) {
          return 0;
        }
        for (int i = 0; i < module->dlpi_phnum; ++i) {
          const auto& segment = module->dlpi_phdr[i];
          if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
          const std::uint64_t begin = module->dlpi_addr + segment.p_vaddr;
          static_cast<std::vector<AddressRange>*>(found)->push_back(
              {begin, begin + segment.p_memsz});
        }
        return 0;
      },
      &ranges);
  return ranges;
}

class Filter {
 public:
  Filter() {
    Load(offsetof(seccomp_data, nr));
    for (const long number : kLeftAlone)
      AllowWhere({{BPF_JEQ, static_cast<std::uint32_t>(number), true}});
    const auto own = reinterpret_cast<std::uint64_t>(&quor_raw_call_made);
    AllowCallsFrom({own, own + 1});
    for (const AddressRange& range : SanitizerRuntimes())
      AllowCallsFrom(range);
    code_.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP));
  }

  void Install() {
    struct sock_fprog program = {static_cast<unsigned short>(code_.size()), code_.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
      throw std::system_error(errno, std::generic_category(), "trap the system calls");
    }
  }

 private:
  struct Test {
    unsigned short jump;
    std::uint32_t value;
    bool wanted;
  };

  void Load(std::size_t offset) {
    code_.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
  }

  // The tests are made in turn, of what was loaded last; the last one decides together with all
  // before it.
  void AllowWhere(const std::vector<Test>& tests) {
    for (std::size_t i = 0; i < tests.size(); ++i) {
      const auto past = static_cast<unsigned char>(tests.size() - i);  // the rest and the return
      const Test& test = tests[i];
      code_.push_back({static_cast<unsigned short>(BPF_JMP | BPF_K | test.jump),
                       static_cast<unsigned char>(test.wanted ? 0 : past),
                       static_cast<unsigned char>(test.wanted ? past : 0), test.value});
    }
    code_.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  }

  // Addresses are compared by halves; the upper one is the same at both ends.
  void AllowCallsFrom(const AddressRange& range) {
    const auto upper = static_cast<std::uint32_t>(range.begin >> 32);
    if (range.end >> 32 != upper) throw std::length_error("a module across 4 GiB");
    Load(offsetof(seccomp_data, instruction_pointer) + 4);
    code_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, upper, 0, 4));
    Load(offsetof(seccomp_data, instruction_pointer));
    AllowWhere({{BPF_JGE, static_cast<std::uint32_t>(range.begin), true},
                {BPF_JGE, static_cast<std::uint32_t>(range.end), false}});
  }

  std::vector<struct sock_filter> code_;
};

bool MovesBytes(long number) {
  return number == SYS_read || number == SYS_write || number == SYS_pread64 ||
         number == SYS_pwrite64;
}

bool Removes(long number) {
#ifdef SYS_unlink
  if (number == SYS_unlink || number == SYS_rmdir) return true;
#endif
  return number == SYS_unlinkat;
}

// Whether the plan has this call fail. Runs in the signal's handler, perhaps in the middle of
// malloc(): nothing here allocates or calls the system.
bool IsToFail(long number, const std::array<long, 6>& arguments) {
  if (!watching) return false;
  for (const long neverFailing : kNeverFailing) {
    if (number == neverFailing) return false;
  }
  if (plan.first != 0 && plan.error == 0 && !(MovesBytes(number) && arguments[2] > 1)) return false;
  ++calls.made;
  if (plan.first == 0 || calls.made < plan.first) return false;
  if (calls.made > plan.first && !plan.forEver) return false;
  if (calls.failed < WatchedCalls::kRoom) {
    calls.failedCalls[static_cast<std::size_t>(calls.failed)] = number;
  }
  ++calls.failed;
  return true;
}

long Perform(long number, const std::array<long, 6>& a) {
  return quor_raw_call(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

long Fail(long number, std::array<long, 6> arguments) {
  if (plan.error == 0) {
    arguments[2] = arguments[2] / 2;
    return Perform(number, arguments);
  }
  if (Removes(number)) calls.removalFailed = true;
  const bool flushes = number == SYS_fsync || number == SYS_fdatasync;
  if (flushes && plan.error != EINTR) calls.flushFailed = true;
  if (number == SYS_brk) return Perform(number, {});  // as where the present end stays
  if (number == SYS_close || number == SYS_munmap) Perform(number, arguments);
  return -plan.error;
}

void HandleCall(int /*signal*/, siginfo_t* information, void* context) {
  auto& machine = static_cast<ucontext_t*>(context)->uc_mcontext;
  const long number = information->si_syscall;
  const std::array<long, 6> arguments = ArgumentsIn(machine);
  ResultIn(machine) =
      IsToFail(number, arguments) ? Fail(number, arguments) : Perform(number, arguments);
}

}  // namespace

void TrapSystemCalls() {
  Filter filter;
  struct sigaction action = {};
  action.sa_sigaction = &HandleCall;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigaction(SIGSYS, &action, nullptr);
  filter.Install();
}

void WatchCalls(const FailurePlan& thePlan) {
  plan = thePlan;
  calls = WatchedCalls();
  watching = true;
}

WatchedCalls StopWatchingCalls() {
  watching = false;
  return calls;
}

std::string NameOfCall(long number) {
  static const std::map<long, std::string> kNames = {
      {SYS_openat, "openat"},
      {SYS_close, "close"},
      {SYS_read, "read"},
      {SYS_write, "write"},
      {SYS_pread64, "pread"},
      {SYS_pwrite64, "pwrite"},
      {SYS_fsync, "fsync"},
      {SYS_fdatasync, "fdatasync"},
      {SYS_ftruncate, "ftruncate"},
      {SYS_fcntl, "fcntl"},
      {SYS_fchmod, "fchmod"},
      {SYS_fchown, "fchown"},
      {SYS_fstat, "fstat"},
      {SYS_newfstatat, "fstatat"},
      {SYS_unlinkat, "unlinkat"},
      {SYS_renameat, "renameat"},
      {SYS_renameat2, "renameat2"},
      {SYS_mmap, "mmap"},
      {SYS_process_vm_readv, "process_vm_readv"},
      {SYS_munmap, "munmap"},
      {SYS_mremap, "mremap"},
      {SYS_brk, "brk"},
      {SYS_mkdirat, "mkdirat"},
      {SYS_getdents64, "getdents"},
      {SYS_flistxattr, "flistxattr"},
      {SYS_fgetxattr, "fgetxattr"},
      {SYS_fsetxattr, "fsetxattr"},
      {SYS_fremovexattr, "fremovexattr"},
      {SYS_getrandom, "getrandom"},
      {SYS_lseek, "lseek"},
      {SYS_geteuid, "geteuid"},
      {SYS_getpid, "getpid"},
      {SYS_readlinkat, "readlinkat"},
      {SYS_faccessat, "faccessat"},
      {SYS_faccessat2, "faccessat2"},
      {SYS_getcwd, "getcwd"},
#ifdef SYS_open
      {SYS_open, "open"},
      {SYS_stat, "stat"},
      {SYS_lstat, "lstat"},
      {SYS_mkdir, "mkdir"},
      {SYS_readlink, "readlink"},
      {SYS_unlink, "unlink"},
#endif
  };
  const auto found = kNames.find(number);
  return found != kNames.end() ? found->second : "system call " + std::to_string(number);
}

}  // namespace PlatformTest
