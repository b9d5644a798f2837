// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/change_notice.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "errors/error.h"
#include "os/coarse_clock.h"
#include "os/file_descriptor.h"
#include "os/host_paths.h"

namespace TavConfigStore {

using HostPlatform::Io::CoarseRealTime;
using HostPlatform::Io::ErrnoKeeper;
using HostPlatform::Io::FileDescriptor;
using HostPlatform::Io::kChangeNoticeName;
using HostPlatform::Io::PresentTick;

namespace {

constexpr std::int64_t kYoung = 100'000'000;  // ns
constexpr long kPause = 200'000;              // ns, of a tick of 1 to 10 ms

// Readers and writers compare the same clock with the same file time. A step of the clock starts a
// new tick, so both see it or neither does.
bool IsOldEnough(std::int64_t changed, std::int64_t realTime) {
  return realTime - changed >= kYoung;
}

}  // namespace

// Reads the clocks after creating the notice; a reader that did not find the notice has read them
// before.
ChangeNotice::ChangeNotice(const HostPlatform::Io::Directory& directory) : directory_(directory) {
  const FileDescriptor notice(directory.get(), kChangeNoticeName,
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
  if (!notice && errno != EEXIST) {
    HostPlatform::Io::RaiseSystemError(errno, directory.PathOf(kChangeNoticeName),
                                       "tell readers of a change");
  }
  struct stat status;
  const bool isThere = fstatat(directory.get(), HostPlatform::Io::kConfigStoreName, &status,
                               AT_SYMLINK_NOFOLLOW) == 0;
  tick_ = PresentTick();
  mayBeReliedOn_ =
      isThere && IsOldEnough(HostPlatform::Io::Nanoseconds(status.st_ctim), CoarseRealTime());
}

void ChangeNotice::WaitForReaders() const {
  while (mayBeReliedOn_ && PresentTick() == tick_) {
    const struct timespec pause = {0, kPause};
    nanosleep(&pause, nullptr);
  }
}

// Best effort: a remaining notice only slows readers down.
void ChangeNotice::TakeDown() noexcept {
  const ErrnoKeeper keeper;
  if (isUp_) unlinkat(directory_.get(), kChangeNoticeName, 0);
  isUp_ = false;
}

Look::Look() : tick_(PresentTick()), realTime_(CoarseRealTime()) {
  struct stat status;
  noticeIsUp_ = lstat(HostPlatform::Io::ChangeNoticePath(), &status) == 0 || errno != ENOENT;
}

bool Look::Lasts(std::int64_t changed) const {
  return !noticeIsUp_ && IsOldEnough(changed, realTime_);
}

}  // namespace TavConfigStore
