// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Sets of policies and of datastores that bear a number in all that they hold, so that every answer
// of the library tells which set it is of, or that it is of none.
#ifndef TESTS_STRESS_CATALOGUE_SETS_H_
#define TESTS_STRESS_CATALOGUE_SETS_H_

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "quor/quor_lib.h"

namespace StressTest {

inline constexpr int kSets = 200;  // they are numbered from 1; number 0 is the empty set
inline constexpr int kPolicies = 3;
inline constexpr int kDatastores = 2;
inline constexpr int kNoPolicy = kPolicies;  // in place of a policy: there is none
inline constexpr int kRilk = 0;              // the namespace of the lookups without a datastore
inline constexpr int kNamespaces = 3;

std::string PolicyName(int policy);
std::string PolicyId(int policy);
std::string Url(int datastore);

std::vector<TavQuor::QuorPolicyInfo> PoliciesOf(int set);
std::vector<TavQuor::QuorDatastoreInfo> DatastoresOf(int set);

// Which policy is the datastore's default in that set of datastores, kNoPolicy for none, and which
// namespace it has; of the empty set kNoPolicy and kNamespaces, for which there are no blobs.
int DefaultPolicyIn(int set, int datastore);
int NamespaceIn(int set, int datastore);
// Number of the policy's blob for the namespace in that set of policies; 0 when there is none.
int BlobIn(int set, int policy, int blobNamespace);
int SetOfBlob(int blob);

// What the library has answered, as a number of a set or of a blob. Raise std::runtime_error for an
// answer that is of no set.
int NumberOf(const std::vector<TavQuor::QuorPolicyInfo>& policies);
int NumberOf(const std::vector<TavQuor::QuorDatastoreInfo>& datastores);
int NumberOfBlob(const std::string& blob);

// The digests of all sets, as the library has them while nobody else is there.
class Digests {
 public:
  // Writes each set once, and leaves the last ones.
  Digests();

  // The sets of policies and of datastores that the digests are of.
  std::pair<int, int> NumbersOf(const std::pair<std::string, std::string>& digests) const;

 private:
  using Texts = std::array<std::string, kSets + 1>;
  static int Find(const Texts& texts, const std::string& digest);

  Texts policies_;
  Texts datastores_;
};

}  // namespace StressTest

#endif  // TESTS_STRESS_CATALOGUE_SETS_H_
