// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The members of a record, in one table for each kind. Code that reads, writes, compares or shows
// records iterates over the table, so that it cannot forget a field.
#ifndef TOOLS_CATALOGUE_RECORD_FIELDS_H_
#define TOOLS_CATALOGUE_RECORD_FIELDS_H_

#include <array>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "quor/quor_lib.h"

namespace Quorctl {

using Blobs = std::vector<std::pair<std::string, std::string>>;  // (blob, namespace)

template <typename Record>
struct Field {
  const char* key;      // in a document, in options and in messages
  const char* heading;  // in tables
  std::variant<std::string Record::*, std::int64_t Record::*, Blobs Record::*> member;

  // Calls `use` with the member of each of the records: a string, a number or blobs.
  template <typename Use, typename... Records>
  decltype(auto) Visit(const Use& use, Records&&... records) const {
    return std::visit([&](auto pointer) -> decltype(auto) { return use(records.*pointer...); },
                      member);
  }
};

// In the order of a document.
template <typename Record>
inline constexpr std::array<Field<Record>, 0> kFields = {};

template <>
inline constexpr std::array<Field<TavQuor::QuorPolicyInfo>, 5> kFields<TavQuor::QuorPolicyInfo> = {{
    {"id", "ID", &TavQuor::QuorPolicyInfo::policyId},
    {"name", "NAME", &TavQuor::QuorPolicyInfo::name},
    {"description", "DESCRIPTION", &TavQuor::QuorPolicyInfo::description},
    {"generation", "GENERATION", &TavQuor::QuorPolicyInfo::generationNumber},
    {"blobs", "BLOBS", &TavQuor::QuorPolicyInfo::blobs},
}};

template <>
inline constexpr std::array<Field<TavQuor::QuorDatastoreInfo>, 3>
    kFields<TavQuor::QuorDatastoreInfo> = {{
        {"url", "URL", &TavQuor::QuorDatastoreInfo::url},
        {"namespace", "NAMESPACE", &TavQuor::QuorDatastoreInfo::datastoreNamespace},
        {"defaultPolicy", "DEFAULT POLICY", &TavQuor::QuorDatastoreInfo::defaultPolicyId},
    }};

// All members of a record. One that is new does not compile here, and then not below.
inline auto Members(const TavQuor::QuorPolicyInfo& record) {
  const auto& [blobs, name, policyId, description, generationNumber] = record;
  return std::tie(blobs, name, policyId, description, generationNumber);
}
inline auto Members(const TavQuor::QuorDatastoreInfo& record) {
  const auto& [url, datastoreNamespace, defaultPolicyId] = record;
  return std::tie(url, datastoreNamespace, defaultPolicyId);
}

template <typename Record>
inline constexpr bool kTableIsComplete =
    kFields<Record>.size() == std::tuple_size_v<decltype(Members(std::declval<const Record&>()))>;
static_assert(kTableIsComplete<TavQuor::QuorPolicyInfo>);
static_assert(kTableIsComplete<TavQuor::QuorDatastoreInfo>);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_RECORD_FIELDS_H_
