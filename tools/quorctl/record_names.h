// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which records of a catalogue an operator means.
#ifndef TOOLS_QUORCTL_RECORD_NAMES_H_
#define TOOLS_QUORCTL_RECORD_NAMES_H_

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "catalogue/text/suggestion.h"
#include "catalogue/text/terminal_text.h"
#include "exit_status.h"
#include "quor/quor_lib.h"

namespace Quorctl {

// The fields by which a record is named, in the order in which they are tried.
inline std::array<const std::string*, 2> NamesOf(const TavQuor::QuorPolicyInfo& policy) {
  return {&policy.policyId, &policy.name};
}
inline std::array<const std::string*, 1> NamesOf(const TavQuor::QuorDatastoreInfo& datastore) {
  return {&datastore.url};
}

template <typename Record>
inline constexpr std::size_t kNameCount = std::tuple_size_v<decltype(NamesOf(Record()))>;

// The message for one that is not there.
inline std::string NoSuchRecord(bool isPolicy, const std::string& wanted) {
  return isPolicy ? "there is no policy with the identifier or name " + Quoted(wanted)
                  : "there is no datastore " + Quoted(wanted);
}

// The indexes of the policies with this identifier, else of those of this name; of the datastores
// with this URL.
template <typename Record>
std::vector<std::size_t> FindByKey(const std::vector<Record>& records, const std::string& key) {
  std::vector<std::size_t> found;
  for (std::size_t name = 0; name < kNameCount<Record> && found.empty(); ++name) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (*NamesOf(records[i])[name] == key) found.push_back(i);
    }
  }
  return found;
}

// The index of the only one; raises CommandError where there is none, or several.
template <typename Record>
std::size_t FindOne(const std::vector<Record>& records, const std::string& key) {
  const std::vector<std::size_t> found = FindByKey(records, key);
  if (found.empty()) {
    throw CommandError(ExitStatus::kAbsent, NoSuchRecord(kNameCount<Record> > 1, key));
  }
  if (found.size() == 1) return found.front();
  throw CommandError(ExitStatus::kUsage, std::to_string(found.size()) + " records are named " +
                                             Quoted(key) + "; nothing was changed");
}

// Like FindByKey(); if nothing has that key and it contains a pattern character (* ? []), the
// records whose name matches.
template <typename Record>
std::vector<std::size_t> FindNamed(const std::vector<Record>& records, const std::string& wanted) {
  std::vector<std::size_t> found = FindByKey(records, wanted);
  if (!found.empty() || wanted.find_first_of("*?[") == wanted.npos) return found;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto names = NamesOf(records[i]);
    const auto fits = [&wanted](const std::string* name) {
      return fnmatch(wanted.c_str(), name->c_str(), 0) == 0;
    };
    if (std::any_of(names.begin(), names.end(), fits)) found.push_back(i);
  }
  return found;
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
