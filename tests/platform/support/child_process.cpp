// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/child_process.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>

namespace PlatformTest {
namespace {

void Check(bool succeeded, const char* action) {
  if (!succeeded) throw std::system_error(errno, std::generic_category(), action);
}

// Of the running test in this process, those before the fork included.
int Failures() {
  const testing::TestResult* const result =
      testing::UnitTest::GetInstance()->current_test_info()->result();
  int failures = 0;
  for (int i = 0; i < result->total_part_count(); ++i) {
    if (result->GetTestPartResult(i).failed()) ++failures;
  }
  return failures;
}

[[noreturn]] void RunAndEnd(const std::function<void()>& body) {
  const int failuresBefore = Failures();
  int status = EXIT_SUCCESS;
  try {
    body();
  } catch (const std::exception& exception) {
    std::printf("exception left the child process: %s\n", exception.what());
    status = EXIT_FAILURE;
  }
  if (Failures() != failuresBefore) status = EXIT_FAILURE;
  std::fflush(nullptr);
  _exit(status);
}

}  // namespace

ChildProcess::ChildProcess(const std::function<void()>& body) : pid_(0) {
  std::fflush(nullptr);
  pid_ = fork();
  Check(pid_ >= 0, "fork");
  if (pid_ != 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  RunAndEnd(body);
}

ChildProcess::~ChildProcess() {
  if (reaped_) return;
  kill(pid_, SIGKILL);
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

int ChildProcess::WaitFor(int options) {
  int status = 0;
  pid_t waited;
  do {
    waited = waitpid(pid_, &status, options);
  } while (waited < 0 && errno == EINTR);
  Check(waited == pid_, "waitpid");
  return status;
}

void ChildProcess::Stop() {
  Check(kill(pid_, SIGSTOP) == 0, "stop a child");
  WaitFor(WUNTRACED);
}

void ChildProcess::Continue() {
  Check(kill(pid_, SIGCONT) == 0, "continue a child");
}

void ChildProcess::Kill() {
  Check(kill(pid_, SIGKILL) == 0, "kill a child");
  WaitFor(0);
  reaped_ = true;
}

bool ChildProcess::Succeeds() {
  const int status = WaitFor(0);
  reaped_ = true;
  if (WIFSIGNALED(status)) std::printf("child ended by signal %d\n", WTERMSIG(status));
  return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

void RunInChild(const std::function<void()>& body) {
  ChildProcess child(body);
  EXPECT_TRUE(child.Succeeds()) << "a child process failed; see above";
}

Gate::Gate() : event_(eventfd(0, EFD_CLOEXEC | EFD_SEMAPHORE)) {
  Check(event_ >= 0, "eventfd");
}

Gate::~Gate() {
  close(event_);
}

void Gate::Open() {
  const std::uint64_t one = 1;
  Check(write(event_, &one, sizeof one) == sizeof one, "open a gate");
}

bool Gate::Wait() {
  struct pollfd event = {event_, POLLIN, 0};
  int ready;
  do {
    ready = poll(&event, 1, 30'000);
  } while (ready < 0 && errno == EINTR);
  std::uint64_t count = 0;
  return ready == 1 && read(event_, &count, sizeof count) == sizeof count;
}

void BecomeUser(uid_t user, const std::vector<gid_t>& groups) {
  Check(setgroups(groups.size(), groups.data()) == 0, "setgroups");
  Check(setgid(groups.front()) == 0, "setgid");
  Check(setuid(user) == 0, "setuid");
}

}  // namespace PlatformTest
