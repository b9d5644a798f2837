// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How readers of the configuration store go without system calls, and commits wait for them.
//
// A reader that has looked at the snapshot's file may rely on what it saw until the coarse clock's
// next tick. A commit puts up a notice, a file in the host directory, waits for a tick, and renames
// then; a reader that finds the notice looks at every call. So nobody answers by the old snapshot
// once the new one is in place. Young snapshots are not relied on, so that of commits in a row only
// the first one waits. docs/architecture.md says why each order of these steps is right.
#ifndef PLATFORM_SRC_CONFIGSTORE_CHANGE_NOTICE_H_
#define PLATFORM_SRC_CONFIGSTORE_CHANGE_NOTICE_H_

#include <cstdint>

#include "io/directory.h"

namespace TavConfigStore {

// A writer's, who has the store's lock. One that a killed writer left up becomes the next one's.
class ChangeNotice {
 public:
  // Puts the notice up. Raises Io::Error.
  explicit ChangeNotice(const HostPlatform::Io::Directory& directory);
  ChangeNotice(const ChangeNotice&) = delete;
  ChangeNotice& operator=(const ChangeNotice&) = delete;
  ~ChangeNotice() { TakeDown(); }

  // Returns when no reader relies on what it saw before the notice was up. The tick mostly comes
  // while the new snapshot is written and flushed.
  void WaitForReaders() const;
  void TakeDown() noexcept;

 private:
  const HostPlatform::Io::Directory& directory_;
  bool isUp_ = true;
  bool mayBeReliedOn_ = false;  // the old snapshot, by readers, in the tick in which
  std::int64_t tick_ = 0;       // the notice was up
};

// A reader's look at the snapshot's file. Made before the file is looked at.
class Look {
 public:
  Look();
  // Whether the snapshot that the look finds, last changed at that time, may be relied on for the
  // rest of tick().
  bool Lasts(std::int64_t changed) const;
  std::int64_t tick() const { return tick_; }

 private:
  std::int64_t tick_;
  std::int64_t realTime_;
  bool noticeIsUp_ = true;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_CHANGE_NOTICE_H_
