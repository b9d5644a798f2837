// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The catalogues that were in place, and those that changes put there.
//
// A change first keeps what there is, unless it is what the change before it left, then what is to
// be, under a name that ends in ".pending" until the change is complete: one that is found later
// tells of a change that was interrupted.
//
// Each is a complete catalogue document, the records in the order in which they were stored, in a
// file of its own below history/ in the host directory. What else is known of it stands in the
// file's name, so that entry and document cannot come apart:
//
//   NUMBER.TIME.REASON.STORE.POLICIES.DATASTORES.POLICY-DIGEST.DATASTORE-DIGEST.json
//
// One that is to stay ends in ".kept" behind it. How many of the others stay is said in .length.
#ifndef TOOLS_QUORCTL_HISTORY_H_
#define TOOLS_QUORCTL_HISTORY_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "catalogue/digests.h"

namespace Quorctl {

inline constexpr std::size_t kUsualHistoryLength = 20;
inline constexpr std::size_t kLongestHistory = 10000;
inline constexpr char kFound[] = "found";  // as the reason: quorctl did not put it there

struct HistoryEntry {
  std::uint64_t number = 0;
  std::string time;      // "2026-11-20T13:31:03Z"
  std::string reason;    // the command that put it there; "found" for others' changes
  bool inStore = false;  // kept from the configuration store; otherwise from the file
  std::size_t policies = 0;
  std::size_t datastores = 0;
  Digests digests;
  std::string path;
  bool kept = false;  // stays whatever comes later
};

// "/var/lib/quor/history"
std::string HistoryDirectory();

// The entries of the history, the newest first. Other files are ignored. Raises std::system_error
// if the directory cannot be read.
std::vector<HistoryEntry> ListHistory();

// Likewise the catalogues of changes that were interrupted or are still going on.
std::vector<HistoryEntry> ListPending();

// The entry of that number. Raises CommandError (absent) when there is none.
HistoryEntry FindHistoryEntry(std::uint64_t number);

// The catalogue of an entry. Raises CommandError if the document cannot be read, and as bad input
// if it does not match its name: the number of records and their digests.
Catalogue ReadHistoryEntry(const HistoryEntry& entry);

// Keeps the catalogue, durably, unless the newest of that store is the same; returns its number,
// or 0. Raises when it cannot be kept, and when the document would be too large to be read again.
std::uint64_t KeepInHistory(const Catalogue& catalogue, const Digests& digests, bool inStore,
                            const std::string& reason);

// Keeps the catalogue that a change will put in place, as pending.
std::uint64_t KeepPending(const Catalogue& catalogue, const Digests& digests, bool inStore,
                          const std::string& reason);

// The change is complete: its entry is one as the others are, and those of changes of that store
// that were interrupted before are removed. Raises std::system_error.
void EndPending(std::uint64_t number, bool inStore);

// Takes an entry back whose change did not happen. Raises nothing.
void RemoveFromHistory(std::uint64_t number) noexcept;

// How many are left of those that need not stay. Raises CommandError when .length holds no such
// number.
std::size_t HistoryLength();

// Raises CommandError when there is no history yet, std::system_error.
void SetHistoryLength(std::size_t length);

// Removes the oldest ones beyond HistoryLength(). Raises std::system_error.
void TrimHistory();

// The entry stays, or need not stay any more. Raises std::system_error.
void MakeKept(const HistoryEntry& entry, bool kept);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_HISTORY_H_
