// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "os/fork.h"

#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <memory>

#include "os/call_scope.h"
#include "os/file_descriptor.h"
#include "os/page_size.h"

namespace HostPlatform::Io {
namespace {

enum State : unsigned { kForked, kRebuilding, kCurrent };

// Fills a page of its own, which the kernel replaces by zeros in a child.
struct alignas(kPageSize) WipedPage {
  std::atomic<unsigned> state{kForked};
  std::atomic<int> process{0};
  unsigned char rest[kPageSize - 2 * sizeof(std::atomic<int>)] = {};
};
constinit WipedPage wiped;

constinit std::atomic<unsigned> generation{0};
constinit std::atomic<unsigned> forksBegun{0};
constinit std::atomic<unsigned> forksEnded{0};

constinit std::mutex featuresMutex;
constinit std::mutex openingMutex;

struct alignas(64) CacheLock {
  std::mutex mutex;
};
constinit CacheLock cacheLocks[kCachePlaces];

constexpr int kPauses = 1000;
constexpr long kPause = 100'000;  // ns

void BeforeFork() {
  ++forksBegun;
}

void AfterForkInParent() {
  ++forksEnded;
}

// Resets the state too, for systems without MADV_WIPEONFORK.
void AfterForkInChild() {
  const CallScope scope;
  FileDescriptor::CloseAllInChild();
  wiped.state.store(kForked);
}

// A locked mutex belongs to a thread of the parent, or to a call of this thread that a signal
// handler interrupted; the latter unlocks it a second time, which is harmless.
void MakeAnewIfHeld(std::mutex* mutex) {
  if (mutex->try_lock()) {
    mutex->unlock();
  } else {
    std::construct_at(mutex);
  }
}

void Rebuild() {
  unsigned expected = kForked;
  if (!wiped.state.compare_exchange_strong(expected, kRebuilding)) {
    while (wiped.state.load() == kRebuilding)
      sched_yield();  // another thread of the child was faster
    return;
  }
  FileDescriptor::ForgetAllInChild();
  MakeAnewIfHeld(&featuresMutex);
  MakeAnewIfHeld(&openingMutex);
  for (CacheLock& lock : cacheLocks)
    MakeAnewIfHeld(&lock.mutex);
  forksEnded.store(forksBegun.load());
  ++generation;
  wiped.process.store(getpid());
  wiped.state.store(kCurrent);
}

}  // namespace

void RegisterForkHandlers() {
  FollowFork();
  pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);
  // Fails before Linux 4.14, where children of _Fork() and clone() must not call the platform.
  madvise(&wiped, sizeof wiped, MADV_WIPEONFORK);
}

void FollowFork() {
  if (wiped.state.load(std::memory_order_acquire) != kCurrent) [[unlikely]]
    Rebuild();
}

unsigned Generation() {
  FollowFork();
  return generation.load();
}

int ProcessNumber() {
  FollowFork();
  return wiped.process.load(std::memory_order_relaxed);
}

std::mutex& FeaturesMutex() {
  FollowFork();
  return featuresMutex;
}

std::mutex& OpeningMutex() {
  FollowFork();
  return openingMutex;
}

std::mutex& CacheMutex(unsigned place) {
  FollowFork();
  return cacheLocks[place].mutex;
}

unsigned CachePlace() {
  const int processor = sched_getcpu();
  return processor < 0 ? 0 : static_cast<unsigned>(processor) % kCachePlaces;
}

ForkWatch::ForkWatch() {
  FollowFork();
  begun_ = forksBegun.load();
  quiet_ = forksEnded.load() == begun_;
}

bool ForkWatch::SawFork() const {
  return !quiet_ || forksBegun.load() != begun_;
}

void WaitForForks() {
  for (int i = 0; i < kPauses && forksEnded.load() != forksBegun.load(); ++i) {
    const struct timespec pause = {0, kPause};
    nanosleep(&pause, nullptr);
  }
}

}  // namespace HostPlatform::Io
