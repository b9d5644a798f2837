// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Cache of the newest version of a stored file, shared by all threads of the process.
#ifndef PLATFORM_SRC_OS_NEWEST_H_
#define PLATFORM_SRC_OS_NEWEST_H_

#include <sys/stat.h>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "os/fork.h"

namespace HostPlatform::Io {

// Message, after the path, for a stored file that the process has read and that is missing now: a
// restore is under way, a volume is not mounted, or the process has changed its root directory.
// "Nothing is stored" would be a wrong answer that the caller may act on.
inline constexpr char kGone[] =
    ": it is gone, and it was there before; nothing was changed. Put it back; to go on without "
    "what it held, fill the store by quorctl, or start this program again";

// Sharded per processor to avoid contention on mutex and reference count. Shard 0 is authoritative;
// Get() fills the others from it, Set() clears them. Never destroyed: threads may still call while
// the program exits.
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

  // Releases the former versions after the locks, since that takes time.
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
    // The process was forked during Exchange(): the pointer is torn, its version is leaked.
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

// True if inode, size and both times are equal: the same file with the same content.
inline bool SameFile(const struct stat& a, const struct stat& b) {
  const auto same = [](const struct timespec& x, const struct timespec& y) {
    return x.tv_sec == y.tv_sec && x.tv_nsec == y.tv_nsec;
  };
  return a.st_ino == b.st_ino && a.st_dev == b.st_dev && a.st_size == b.st_size &&
         same(a.st_mtim, b.st_mtim) && same(a.st_ctim, b.st_ctim);
}

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_NEWEST_H_
