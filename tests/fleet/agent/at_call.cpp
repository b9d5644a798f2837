// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Runs a program, and before its Nth system call a command; without one the program is killed
// there (SIGKILL).
//
//   at_call N PATH COMMAND PROGRAM ARGUMENT...
//
// Calls are counted from the first one that names PATH or something below it, which leaves out what
// the loader does. COMMAND is for the shell, and may be empty. With N = 0 nothing happens. Prints
// how many calls were counted and the program's wait status. Its children are followed too; they
// end with it. Ends with 77 where the system does not allow it.
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int kNotAllowed = 77;

bool Names(pid_t process, std::uint64_t address, const std::string& path) {
  std::string text(path.size(), '\0');
  const iovec local = {text.data(), text.size()};
  const iovec remote = {reinterpret_cast<void*>(address), text.size()};  // NOLINT
  return process_vm_readv(process, &local, 1, &remote, 1, 0) == static_cast<ssize_t>(text.size()) &&
         text == path;
}

}  // namespace

int main(int count, char** words) {
  if (count < 5) return 2;
  const long at = std::strtol(words[1], nullptr, 10);
  const std::string path = words[2];
  const std::string command = words[3];
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kNotAllowed);
    std::raise(SIGSTOP);
    execv(words[4], words + 4);
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFSTOPPED(status)) return kNotAllowed;
  ptrace(PTRACE_SETOPTIONS, child, nullptr,
         PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEFORK | PTRACE_O_TRACECLONE);
  ptrace(PTRACE_SYSCALL, child, nullptr, 0);
  long calls = 0;
  int ended = 0;
  for (pid_t process = 0; (process = waitpid(-1, &status, __WALL)) > 0;) {
    if (!WIFSTOPPED(status)) {
      if (process == child) ended = status;
      continue;
    }
    __ptrace_syscall_info info = {};
    const auto size = reinterpret_cast<void*>(sizeof(info));  // NOLINT
    const bool isCall = WSTOPSIG(status) == (SIGTRAP | 0x80);
    if (isCall && ptrace(PTRACE_GET_SYSCALL_INFO, process, size, &info) <= 0) {
      if (errno == ESRCH) continue;  // killed meanwhile, as the child of one that was
      return kNotAllowed;
    }
    if (isCall && info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      const bool counts = calls > 0 || Names(process, info.entry.args[0], path) ||
                          Names(process, info.entry.args[1], path);
      calls += counts;
      if (counts && calls == at && command.empty()) kill(child, SIGKILL);
      if (counts && calls == at && !command.empty() && std::system(command.c_str()) != 0) return 1;
    }
    ptrace(PTRACE_SYSCALL, process, nullptr, 0);  // no signal but SIGKILL is sent to these
  }
  status = ended;
  std::printf("%ld %d\n", calls, status);
}
