// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "interrupted_change.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "host_backend.h"
#include "quor/quor_lib.h"

namespace Quorctl {
namespace {

// A running change holds the turn. A user who may not ask for it cannot tell a running change from
// an interrupted one.
bool IsChangeGoingOn() {
  const std::string path = HistoryDirectory() + "/.lock";
  const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file == -1) return errno == EACCES;
  const bool taken = flock(file, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  close(file);
  return taken;
}

bool IsInPlace(const HistoryEntry& entry) {
  const bool used = BackendSwitch().on;
  UseBackend(entry.inStore);
  bool same = false;
  try {
    same = TavQuor::QuorLib::GetDbHash() == entry.digests;
  } catch (const std::exception&) {
    // A store that cannot be read holds it for nobody.
  }
  UseBackend(used);
  return same;
}

}  // namespace

std::vector<HistoryEntry> ListInterrupted() {
  std::vector<HistoryEntry> entries = ListPending();
  if (entries.empty() || IsChangeGoingOn()) return {};
  entries.erase(std::remove_if(entries.begin(), entries.end(), IsInPlace), entries.end());
  return entries;
}

std::string DescribeInterrupted(const HistoryEntry& entry) {
  return entry.reason + " of " + entry.time + " to the " + BackendName(entry.inStore) +
         " was interrupted; a part of it may be in place";
}

std::string AdviceOnInterrupted(const HistoryEntry& entry) {
  return "\"quorctl apply --resume\" ends it, \"quorctl restore --last\" goes back to what the " +
         BackendName(entry.inStore) + " held before";
}

}  // namespace Quorctl
