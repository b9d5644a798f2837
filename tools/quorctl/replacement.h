// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Putting a catalogue in the place of another one, in an order in which no reader finds a datastore
// without its default policy.
#ifndef TOOLS_QUORCTL_REPLACEMENT_H_
#define TOOLS_QUORCTL_REPLACEMENT_H_

#include "change_record.h"
#include "live_catalogue.h"
#include "lock_wait.h"
#include "progress_line.h"

namespace Quorctl {

// The two kinds are replaced one after the other: first the new policies and those of the old ones
// that the old datastores name and the new list lacks; then the datastores; then, after a moment
// for lookups that are under way, the new policies alone. Of two policies with one name the
// configuration store keeps one: where a name gets another identifier the old one is gone with the
// first step.
class Replacement {
 public:
  Replacement(const LiveCatalogue& present, const Catalogue& next, bool policies, bool datastores)
      : present_(present), next_(next), policies_(policies), datastores_(datastores) {}

  // A signal may end it before the first replacement. Raises CommandError with the state in which
  // the host was left.
  void Run(LockWait* wait, ProgressLine* progress, const ChangeRecord& record) const;

 private:
  void ReplaceBoth(LockWait* wait, ProgressLine* progress, const ChangeRecord& record) const;
  void DeleteAndWrite(LockWait* wait, ProgressLine* progress) const;

  const LiveCatalogue& present_;
  const Catalogue& next_;
  const bool policies_;
  const bool datastores_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_REPLACEMENT_H_
