// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fault_attempt.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>

#include "tavconfigstore/exception.h"
#include "zynctl/exception.h"

namespace StressTest {
namespace {

using PlatformTest::LastFailureWasIn;
using Outcome = Attempt::Outcome;

constexpr unsigned kLongestRound = 300;  // seconds: a busy machine is no failure
constexpr int kErrno = 4242;             // none of the system's
constexpr int kEndedAsItMay = 77;
constexpr int kEndedOtherwise = 78;

std::array<char, 512> roundDescription{};

void StopWatching(Attempt* attempt) {
  const int error = errno;
  attempt->calls = PlatformTest::StopWatchingCalls();
  attempt->allocations = PlatformTest::StopWatchingAllocations();
  attempt->keptErrno = error == kErrno;
}

void Note(Attempt* attempt, Outcome outcome, const char* message) {
  attempt->outcome = outcome;
  attempt->message = message;
}

void Write(const char* text) {
  [[maybe_unused]] const ssize_t ignored = write(STDOUT_FILENO, text, std::strlen(text));
}

void TellTheRound(int signal) {
  PlatformTest::StopWatchingCalls();
  Write("FAILED: ended by signal ");
  const char number[] = {static_cast<char>('0' + signal / 10), static_cast<char>('0' + signal % 10),
                         '\0'};
  Write(number);
  Write(signal == SIGALRM ? " (it took too long): " : ": ");
  Write(roundDescription.data());
  Write("\n");
  _exit(1);
}

[[noreturn]] void EndInAChild() {
  PlatformTest::StopWatchingCalls();
  PlatformTest::StopWatchingAllocations();
  const bool mayEnd = LastFailureWasIn("StrPrintf") || LastFailureWasIn("StrCat");
  _exit(mayEnd ? kEndedAsItMay : kEndedOtherwise);
}

}  // namespace

std::string NameOf(const FaultPlan& plan) {
  const bool ofCalls = plan.calls.first != 0;
  if (!ofCalls && plan.allocations.first == 0) return "no fault";
  const int first = ofCalls ? plan.calls.first : plan.allocations.first;
  std::string what = "allocation";
  if (ofCalls) {
    what = plan.calls.error == 0 ? std::string("transfer cut short")
                                 : std::string("call with ") + strerrorname_np(plan.calls.error);
  }
  const bool forEver = ofCalls ? plan.calls.forEver : plan.allocations.forEver;
  return what + " number " + std::to_string(first) + (forEver ? " and all after it" : "");
}

Attempt Try(const Operation& operation, const FaultPlan& plan, const std::string& store) {
  Attempt attempt;
  PlatformTest::WatchAllocations(plan.allocations);
  PlatformTest::WatchCalls(plan.calls);
  errno = kErrno;
  try {
    operation.call(&attempt.answers);
    StopWatching(&attempt);
  } catch (const std::bad_alloc& failure) {
    StopWatching(&attempt);
    Note(&attempt, Outcome::kBadAlloc, failure.what());
  } catch (const TavConfigStore::ConfigStoreException& failure) {
    StopWatching(&attempt);
    Note(&attempt, store == "store" ? Outcome::kFailureOfTheStore : Outcome::kAnythingElse,
         failure.what());
  } catch (const ZynCtl::Config::ConfigFileException& failure) {
    StopWatching(&attempt);
    Note(&attempt, store == "file" ? Outcome::kFailureOfTheStore : Outcome::kAnythingElse,
         failure.what());
  } catch (const std::system_error& failure) {
    StopWatching(&attempt);
    Note(&attempt, Outcome::kSystemError, failure.what());
  } catch (const std::exception& failure) {
    StopWatching(&attempt);
    Note(&attempt, Outcome::kAnythingElse, failure.what());
  } catch (...) {
    StopWatching(&attempt);
    Note(&attempt, Outcome::kAnythingElse, "no std::exception");
  }
  return attempt;
}

bool EndsTheProcess(const std::function<void()>& body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child == 0) {
    std::set_terminate(&EndInAChild);
    body();
    std::fflush(nullptr);
    _exit(0);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (status != 0 && (!WIFEXITED(status) || WEXITSTATUS(status) != kEndedAsItMay)) {
    throw std::runtime_error("a child process ended with status " + std::to_string(status));
  }
  return status != 0;
}

void WatchOverRounds() {
  for (const int signal : {SIGALRM, SIGABRT, SIGSEGV, SIGBUS, SIGILL, SIGFPE})
    std::signal(signal, &TellTheRound);
}

void BeginRound(const std::string& description) {
  roundDescription.fill('\0');
  description.copy(roundDescription.data(), roundDescription.size() - 1);
  alarm(kLongestRound);
}

}  // namespace StressTest
