// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Protocol by which readers of the configuration store avoid system calls, and commits invalidate
// their snapshots.
//
// A reader that has checked the snapshot's file may use its snapshot until the next tick of the
// coarse clock. A commit creates a notice file in the host directory, waits for a tick, and then
// renames; a reader that finds the notice checks the file in every call. So no reader uses the old
// snapshot once the new one is in place. Young snapshots are always checked, so that only the first
// of several commits in a row waits. docs/architecture.md proves the order of the steps.
#ifndef PLATFORM_SRC_STORE_CHANGE_NOTICE_H_
#define PLATFORM_SRC_STORE_CHANGE_NOTICE_H_

#include <cstdint>

#include "os/directory.h"

namespace TavConfigStore {

// The writer's side. The writer holds the store's lock; it takes over a notice left by a killed
// writer.
class ChangeNotice {
 public:
  // Creates the notice file. Raises Io::Error.
  explicit ChangeNotice(const HostPlatform::Io::Directory& directory);
  ChangeNotice(const ChangeNotice&) = delete;
  ChangeNotice& operator=(const ChangeNotice&) = delete;
  ~ChangeNotice() { TakeDown(); }

  // Waits until no reader uses a check made before the notice existed. The tick has usually passed
  // already, while the new snapshot was written and flushed.
  void WaitForReaders() const;
  void TakeDown() noexcept;

 private:
  const HostPlatform::Io::Directory& directory_;
  bool isUp_ = true;
  bool mayBeReliedOn_ = false;  // readers may use the old snapshot for the rest of tick_
  std::int64_t tick_ = 0;       // in which the notice was created
};

// The reader's side: constructed before the snapshot's file is checked.
class Look {
 public:
  Look();
  // True if the snapshot, whose file was last changed at that time, may be used for the rest of
  // tick() without another check.
  bool Lasts(std::int64_t changed) const;
  std::int64_t tick() const { return tick_; }

 private:
  std::int64_t tick_;
  std::int64_t realTime_;
  bool noticeIsUp_ = true;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_CHANGE_NOTICE_H_
