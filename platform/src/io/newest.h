// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the process keeps of a stored file: the newest version that it has read.
#ifndef PLATFORM_SRC_IO_NEWEST_H_
#define PLATFORM_SRC_IO_NEWEST_H_

#include <sys/stat.h>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "io/fork.h"

namespace HostPlatform::Io {

// Of a stored file that the process has read before and that is not there any more, behind its
// path. A restore is under way, a volume is not mounted, or the root directory is another one: to
// answer that nothing is stored could make the caller act on it.
inline constexpr char kGone[] =
    ": it is gone, and it was there before; nothing was changed. Put it back; to go on without "
    "what it held, fill the store by quorctl, or start this program again";

// Shared by all threads. Never destroyed, only emptied: threads that still run while the program
// ends may come by.
//
// Threads that take the version at the same time would hand the mutex, and the count of the
// version's owners, from processor to processor: two of them would hardly be faster than one. So
// there is a place for each of some processors, with a mutex and a count of its own. The first
// place is the one that counts; the others are filled from it, and emptied with every change of it.
template <typename Version>
class Newest {
 public:
  using Pointer = std::shared_ptr<const Version>;

  constexpr Newest() : places_() {}
  Newest(const Newest&) = delete;
  Newest& operator=(const Newest&) = delete;
  ~Newest() {}

  Pointer Get() {
    const unsigned number = CachePlace();
    Pointer version = Take(number);
    if (version || number == 0) return version;
    version = Take(0);
    if (!version) return nullptr;
    Pointer counted(std::make_shared<Pointer>(version), version.get());
    Pointer former(counted);  // released outside of the locks
    const std::lock_guard lock(CacheMutex(0));
    if (places_[0].Share() != version) return version;  // there is a newer one by now
    const std::lock_guard lockOfPlace(CacheMutex(number));
    places_[number].Exchange(&former);
    return counted;
  }

  // The ones before are released outside of the locks, at the end: that takes time.
  void Set(Pointer version) {
    std::array<Pointer, kCachePlaces> former;
    const std::lock_guard lock(CacheMutex(0));
    former[0] = std::move(version);
    places_[0].Exchange(&former[0]);
    for (unsigned i = 1; i < kCachePlaces; ++i) {
      const std::lock_guard lockOfPlace(CacheMutex(i));
      places_[i].Exchange(&former[i]);
    }
  }

 private:
  class alignas(64) Place {
   public:
    Pointer Share() {
      ForgetTheHalfChanged();
      return version_;
    }
    void Exchange(Pointer* other) {
      ForgetTheHalfChanged();
      isChanging_.store(true, std::memory_order_relaxed);
#ifndef __SANITIZE_THREAD__  // which knows no fences
      std::atomic_thread_fence(std::memory_order_release);
#endif
      version_.swap(*other);
      isChanging_.store(false, std::memory_order_release);
    }

   private:
    // A fork has caught it: what is there is no pointer, and what it led to stays behind.
    void ForgetTheHalfChanged() {
      if (!isChanging_.load(std::memory_order_relaxed)) return;
      std::construct_at(&version_);
      isChanging_.store(false, std::memory_order_relaxed);
    }

    Pointer version_;
    std::atomic<bool> isChanging_{false};
  };

  Pointer Take(unsigned number) {
    const std::lock_guard lock(CacheMutex(number));
    return places_[number].Share();
  }

  union {
    std::array<Place, kCachePlaces> places_;
  };
};

// Whether both are the same file with the same content: inode, size, and both times.
inline bool SameFile(const struct stat& a, const struct stat& b) {
  const auto same = [](const struct timespec& x, const struct timespec& y) {
    return x.tv_sec == y.tv_sec && x.tv_nsec == y.tv_nsec;
  };
  return a.st_ino == b.st_ino && a.st_dev == b.st_dev && a.st_size == b.st_size &&
         same(a.st_mtim, b.st_mtim) && same(a.st_ctim, b.st_ctim);
}

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_NEWEST_H_
