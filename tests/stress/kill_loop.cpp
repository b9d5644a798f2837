// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Writers that are killed at random moments, one after the other, while other writers and readers
// go on.
//
//   kill_loop --store store|file --kills NUMBER [--seed NUMBER]
//
// Readers find one whole state all the while; no state whose commit had returned is lost; after
// each kill the next commit works; in the end no temporary is left over.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "numbered_state.h"
#include "place.h"
#include "platform/admin.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/shared.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

constexpr std::size_t kWriters = 2;
constexpr std::size_t kReaders = 2;
constexpr std::size_t kLongestPause = 1500;  // microseconds between two kills: some commits
constexpr useconds_t kPauseOfReaders = 50;   // microseconds: the writers need the processor too
constexpr std::uint32_t kLockTimeout = 60'000;

// What all processes know of each other.
struct Notes {
  std::atomic<int> begun{0};  // the newest state whose commit was begun
  std::atomic<int> done{0};   // the newest state whose commit has returned
  std::array<std::atomic<bool>, kWriters> committing{};
  std::atomic<long> reads{0};
  std::atomic<bool> failed{false};
  std::array<char, 400> failure{};
};

void Raise(std::atomic<int>* highest, int number) {
  for (int known = *highest; known < number && !highest->compare_exchange_weak(known, number);) {
  }
}

class KillLoop {
 public:
  explicit KillLoop(const Arguments& arguments)
      : arguments_(arguments),
        random_(arguments.seed),
        state_(NumberedState::Of(arguments.store)),
        hostPath_(temporary_.PathOf("host")) {
    HostPlatform::UseHostDirectory(hostPath_);
    HostPlatform::UseLockTimeout(kLockTimeout);
  }
  KillLoop(const KillLoop&) = delete;
  KillLoop& operator=(const KillLoop&) = delete;
  ~KillLoop() {
    for (const pid_t process : writers_)
      End(process);
    for (const pid_t process : readers_)
      End(process);
  }

  void Run() {
    Commit();
    for (std::size_t i = 0; i < kReaders; ++i)
      readers_.at(i) = Start([this] { ReadForEver(); });
    for (std::size_t i = 0; i < kWriters; ++i)
      writers_.at(i) = StartWriter(i);
    for (kills_ = 0; kills_ < arguments_.times;) {
      usleep(static_cast<useconds_t>(random_.Below(kLongestPause)));
      KillOne(random_.Below(kWriters));
      ++kills_;
    }
    Finish();
  }

  void Print(double seconds) const {
    std::printf(
        "store=%s seed=%llu kills=%d during-a-commit=%d commits=%d reads=%ld seconds=%.1f\n",
        arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed), kills_,
        duringACommit_, notes_->done.load(), notes_->reads.load(), seconds);
  }

 private:
  pid_t Start(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (process > 0) return process;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
      body();
    } catch (const std::exception& exception) {
      Fail(exception.what());
    }
    _exit(1);
  }

  pid_t StartWriter(std::size_t slot) {
    notes_->committing.at(slot) = false;
    return Start([this, slot] {
      std::atomic<bool>& committing = notes_->committing.at(slot);
      for (;;) {
        const int number = state_->Advance([&](int next) {
          Raise(&notes_->begun, next);
          committing = true;
        });
        committing = false;
        Raise(&notes_->done, number);
      }
    });
  }

  void End(pid_t process) const {
    if (process <= 0) return;
    kill(process, SIGKILL);
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

  // The first failure is the one that counts.
  void Fail(const char* message) {
    if (!notes_->failed.exchange(true)) {
      std::strncpy(notes_->failure.data(), message, notes_->failure.size() - 1);
    }
  }

  // Finds a whole state, not older than those that had been committed before.
  int Check() const {
    const int done = notes_->done;
    const int number = state_->Read();
    if (number < done) {
      throw std::runtime_error("state " + std::to_string(done) + " was committed and " +
                               std::to_string(number) + " is read");
    }
    if (number > notes_->begun) throw std::runtime_error("a state that nobody wrote");
    return number;
  }

  [[noreturn]] void ReadForEver() {
    for (int last = 0;; ++notes_->reads) {
      const int number = Check();
      if (number < last) throw std::runtime_error("an older state after a newer one");
      last = number;
      usleep(kPauseOfReaders);
    }
  }

  void Commit() {
    Raise(&notes_->done, state_->Advance([this](int next) { Raise(&notes_->begun, next); }));
  }

  void KillOne(std::size_t slot) {
    End(std::exchange(writers_.at(slot), 0));
    if (notes_->committing.at(slot)) ++duringACommit_;
    Check();
    Commit();
    if (notes_->failed) {
      throw std::runtime_error(std::string("another process: ") + notes_->failure.data());
    }
    writers_.at(slot) = StartWriter(slot);
  }

  // With all writers gone the next commit needs to wait for nobody.
  void Finish() {
    for (pid_t& process : writers_)
      End(std::exchange(process, 0));
    for (pid_t& process : readers_)
      End(std::exchange(process, 0));
    HostPlatform::UseLockTimeout(0);
    Commit();
    Check();
    for (const std::string& name : PlatformTest::NamesIn(hostPath_)) {
      if (name.front() == '.') throw std::runtime_error("left over: " + name);
    }
    if (duringACommit_ < kills_ / 20) {
      throw std::runtime_error("only " + std::to_string(duringACommit_) + " kills met a commit");
    }
    if (notes_->reads < kills_ / 20) throw std::runtime_error("the readers hardly read");
  }

  const Arguments& arguments_;
  PlatformTest::Random random_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  PlatformTest::Shared<Notes> notes_;
  std::unique_ptr<NumberedState> state_;
  std::string hostPath_;
  std::array<pid_t, kWriters> writers_{};
  std::array<pid_t, kReaders> readers_{};
  int kills_ = 0;
  int duringACommit_ = 0;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::KillLoop>(argc, argv, "--kills");
}
