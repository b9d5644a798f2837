// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The two entries that a change makes in the history: the catalogue before it and the one after it.
#ifndef TOOLS_QUORCTL_CHANGE_RECORD_H_
#define TOOLS_QUORCTL_CHANGE_RECORD_H_

#include <cstdint>
#include <functional>
#include <string>

#include "catalogue/digests.h"
#include "lock_wait.h"

namespace Quorctl {

// Both stay when the change is complete, or when nobody knows how far it came; a change that did
// not happen takes them along.
class ChangeRecord {
 public:
  ChangeRecord(std::string verb, bool inStore, LockWait* wait)
      : verb_(std::move(verb)), inStore_(inStore), wait_(wait) {}
  ChangeRecord(const ChangeRecord&) = delete;
  ChangeRecord& operator=(const ChangeRecord&) = delete;
  ~ChangeRecord();

  // Raise CommandError, which says that nothing was changed.
  void KeepPresent(const Catalogue& catalogue, const Digests& digests);
  void KeepNext(const Catalogue& catalogue, const Digests& digests);

  // The change stays half made.
  void Stay() { stays_ = true; }

  // The change is complete. Raises CommandError when the history could not be put in order.
  void Complete();

  // How to come back to the catalogue before, for messages; empty when it is not kept.
  std::string Advice() const;

 private:
  void Keep(const std::string& what, const std::function<void()>& keep);

  const std::string verb_;
  const bool inStore_;
  LockWait* const wait_;
  std::uint64_t present_ = 0;  // numbers in the history; 0 for none
  std::uint64_t next_ = 0;
  bool stays_ = false;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CHANGE_RECORD_H_
