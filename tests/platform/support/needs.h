// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What some tests need of the machine: other users, mounts of their own. A test that does not get
// it is left out, neither passed nor failed, and says so on a line that scripts/test counts.
#ifndef TESTS_PLATFORM_SUPPORT_NEEDS_H_
#define TESTS_PLATFORM_SUPPORT_NEEDS_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

namespace Machine {

// Ends the running test, from any depth of its calls but not from a child process.
[[noreturn]] inline void LeaveOut(const std::string& need) {
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  std::printf("left out: %s.%s: needs %s\n", test->test_suite_name(), test->name(), need.c_str());
  constexpr auto kind = testing::TestPartResult::kSkip;
  GTEST_MESSAGE_(need.c_str(), kind);
  throw testing::AssertionException(testing::TestPartResult(kind, __FILE__, __LINE__, ""));
}

// For tests that give files to other users and act as them.
inline void NeedRoot() {
  if (geteuid() != 0) LeaveOut("root");
}

// Keeps the mounts that this process makes from the rest of the machine. In a chroot whose root
// directory is no mount point, the mount that holds it can be named only from outside.
inline bool KeepMountsPrivate() {
  const auto makePrivate = [](const char* path) {
    return mount("none", path, nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  };
  if (unshare(CLONE_NEWNS) != 0) return false;
  if (makePrivate("/")) return true;
  const int root = open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);
  const int here = open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
  struct stat below = {};
  struct stat above = {};
  bool succeeds = errno == EINVAL && root >= 0 && here >= 0 && chroot("/proc") == 0;
  do {
    succeeds = succeeds && stat(".", &below) == 0 && chdir("..") == 0 && stat(".", &above) == 0;
  } while (succeeds && (below.st_ino != above.st_ino || below.st_dev != above.st_dev));
  succeeds =
      succeeds && makePrivate(".") && fchdir(root) == 0 && chroot(".") == 0 && fchdir(here) == 0;
  close(root);
  close(here);
  return succeeds;
}

// For tests with mounts or processes in namespaces of their own.
inline void NeedNamespaces() {
  const pid_t child = fork();
  if (child == 0) _exit(KeepMountsPrivate() && unshare(CLONE_NEWPID) == 0 ? 0 : errno);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
    throw std::system_error(errno, std::generic_category(), "look for namespaces");
  const int error = WEXITSTATUS(status);
  if (error == EPERM) LeaveOut("mounts and namespaces of its own (CAP_SYS_ADMIN)");
  if (error != 0) throw std::system_error(error, std::generic_category(), "make namespaces");
}

}  // namespace Machine

#endif  // TESTS_PLATFORM_SUPPORT_NEEDS_H_
