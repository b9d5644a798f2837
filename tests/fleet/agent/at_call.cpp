// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Runs a program, and before its Nth system call a command; without one the program is killed
// there (SIGKILL).
//
//   at_call N PATH COMMAND PROGRAM ARGUMENT...
//
// Calls are counted from the first one that names PATH or something below it, which leaves out what
// the loader does. COMMAND is for the shell, and may be empty. With N = 0 nothing happens. Prints
// how many calls were counted and the program's wait status. Ends with 77 where the system does not
// allow it.
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

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
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  long calls = 0;
  int signal = 0;
  for (;;) {
    ptrace(PTRACE_SYSCALL, child, nullptr, signal);
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status)) break;
    signal = WSTOPSIG(status);
    if (signal != (SIGTRAP | 0x80)) {
      if (signal == SIGTRAP) signal = 0;  // of the new program
      continue;
    }
    signal = 0;
    __ptrace_syscall_info info = {};
    const auto size = reinterpret_cast<void*>(sizeof(info));  // NOLINT
    if (ptrace(PTRACE_GET_SYSCALL_INFO, child, size, &info) <= 0) return kNotAllowed;
    if (info.op != PTRACE_SYSCALL_INFO_ENTRY) continue;
    const bool counts = calls > 0 || Names(child, info.entry.args[0], path) ||
                        Names(child, info.entry.args[1], path);
    calls += counts;
    if (!counts || calls != at) continue;
    if (command.empty()) {
      kill(child, SIGKILL);
    } else if (std::system(command.c_str()) != 0) {
      return 1;
    }
  }
  std::printf("%ld %d\n", calls, status);
}
