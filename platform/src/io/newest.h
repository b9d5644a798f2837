// What the process keeps of a stored file: the newest version that it has read.
#ifndef PLATFORM_SRC_IO_NEWEST_H_
#define PLATFORM_SRC_IO_NEWEST_H_

#include <sys/stat.h>

#include <memory>
#include <mutex>
#include <utility>

#include "io/fork.h"

namespace HostPlatform::Io {

// Shared by all threads. Never destroyed, only emptied: threads that still run while the program
// ends may come by.
template <typename Version>
class Newest {
 public:
  constexpr Newest() : version_() {}
  Newest(const Newest&) = delete;
  Newest& operator=(const Newest&) = delete;
  ~Newest() {}

  std::shared_ptr<const Version> Get() {
    const std::lock_guard lock(CacheMutex());
    return version_;
  }

  // The one before is released outside of the lock, by the argument: that takes time.
  void Set(std::shared_ptr<const Version> version) {
    const std::lock_guard lock(CacheMutex());
    version_.swap(version);
  }

 private:
  union {
    std::shared_ptr<const Version> version_;
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
