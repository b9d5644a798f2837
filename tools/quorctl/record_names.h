// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which records of a catalogue an operator means.
#ifndef TOOLS_QUORCTL_RECORD_NAMES_H_
#define TOOLS_QUORCTL_RECORD_NAMES_H_

#include <fnmatch.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "catalogue/text/terminal_text.h"
#include "exit_status.h"
#include "quor/quor_lib.h"
#include "text/suggestion.h"

namespace Quorctl {

// By what a record is named, the first before the second.
inline std::array<std::string, 2> NamesOf(const TavQuor::QuorPolicyInfo& policy) {
  return {policy.policyId, policy.name};
}
inline std::array<std::string, 1> NamesOf(const TavQuor::QuorDatastoreInfo& datastore) {
  return {datastore.url};
}

// The indexes of the policies with this identifier, else of those of this name, else, where it is a
// pattern (* ? []), of those with an identifier or name that fits; of datastores by the URL.
template <typename Record>
std::vector<std::size_t> FindNamed(const std::vector<Record>& records, const std::string& wanted) {
  constexpr std::size_t kNames = std::tuple_size_v<decltype(NamesOf(Record()))>;
  std::array<std::vector<std::size_t>, kNames + 1> found;  // by each name, by the pattern
  const bool isPattern = wanted.find_first_of("*?[") != wanted.npos;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto names = NamesOf(records[i]);
    bool fits = false;
    for (std::size_t name = 0; name < kNames; ++name) {
      if (names[name] == wanted) found[name].push_back(i);
      fits = fits || (isPattern && fnmatch(wanted.c_str(), names[name].c_str(), 0) == 0);
    }
    if (fits) found[kNames].push_back(i);
  }
  for (const auto& indexes : found) {
    if (!indexes.empty()) return indexes;
  }
  return {};
}

// The message for one that is not there.
inline std::string NoSuchRecord(bool isPolicy, const std::string& wanted) {
  return isPolicy ? "there is no policy with the identifier or name " + Quoted(wanted)
                  : "there is no datastore " + Quoted(wanted);
}

// Whether the word for a kind means policies; raises UsageError for others than it and datastores.
inline bool IsPolicyKind(const std::string& kind) {
  if (kind == "policy" || kind == "policies") return true;
  if (kind == "datastore" || kind == "datastores") return false;
  throw UsageError("unknown kind " + Quoted(kind) + "; choose policies or datastores" +
                   DidYouMean(kind, {"policy", "policies", "datastore", "datastores"}));
}

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_RECORD_NAMES_H_
