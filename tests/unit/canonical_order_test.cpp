// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The orders of the digest.
#include "digest/canonical_order.h"

#include <gtest/gtest.h>

#include "support/catalogue.h"

namespace QuorTest {
namespace {

using TavQuor::Digest::ComesBefore;

// Keys in ascending order; every one is less than all that follow it.
const std::vector<std::string> kAscendingKeys = {"",
                                                 std::string(1, '\0'),
                                                 std::string("\0a", 2),
                                                 " ",
                                                 "10",
                                                 "9",
                                                 "AB",
                                                 "Ab",
                                                 "RILK",
                                                 "a",
                                                 "aB",
                                                 "aa",
                                                 "ab",
                                                 "ab/",
                                                 "ab/c",
                                                 "\x7f",
                                                 "\x80",
                                                 "\xc3\xa4",
                                                 "\xff"};

template <typename Record>
using Order = bool (*)(const Record&, const Record&);

// `make` gives a record of that key; `other` and the rest of it must not matter.
template <typename Record>
void ExpectOrderByKeyOnly(Order<Record> comesBefore,
                          Record (*make)(const std::string& key, const std::string& other)) {
  for (std::size_t i = 0; i < kAscendingKeys.size(); ++i) {
    for (std::size_t j = 0; j < kAscendingKeys.size(); ++j) {
      const std::string& a = kAscendingKeys[i];
      const std::string& b = kAscendingKeys[j];
      SCOPED_TRACE(Recording::Quoted(a) + " and " + Recording::Quoted(b));
      EXPECT_EQ(comesBefore(make(a, "x"), make(b, "y")), i < j);
      EXPECT_EQ(comesBefore(make(a, "y"), make(b, "x")), i < j);
    }
  }
}

TEST(CanonicalOrder, PoliciesAreOrderedByIdentifierOnly) {
  ExpectOrderByKeyOnly<TavQuor::QuorPolicyInfo>(
      &ComesBefore<TavQuor::QuorPolicyInfo>, [](const std::string& key, const std::string& other) {
        return Policy(other, key, other, other == "x" ? 1 : 2, {{other, other}});
      });
}

TEST(CanonicalOrder, BlobsAreOrderedByNamespaceOnly) {
  ExpectOrderByKeyOnly<std::pair<std::string, std::string>>(
      &ComesBefore<std::pair<std::string, std::string>>,
      [](const std::string& key, const std::string& other) { return std::make_pair(other, key); });
}

TEST(CanonicalOrder, DatastoresAreOrderedByUrlOnly) {
  ExpectOrderByKeyOnly<TavQuor::QuorDatastoreInfo>(
      &ComesBefore<TavQuor::QuorDatastoreInfo>,
      [](const std::string& key, const std::string& other) {
        return Datastore(key, other, other);
      });
}

}  // namespace
}  // namespace QuorTest
