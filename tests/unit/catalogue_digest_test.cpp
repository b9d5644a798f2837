// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The two digests over listed records.
#include "digest/catalogue_digest.h"

#include <algorithm>
#include <cinttypes>
#include <limits>
#include <numeric>
#include <random>
#include <stdexcept>

#include "support/fixture.h"
#include "support/reference_digest.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;
using TavQuor::Digest::DatastoreDbHash;
using TavQuor::Digest::PolicyDbHash;

class PolicyDigest : public RecordingTest {
 protected:
  // The text that is hashed for one policy.
  static std::string HashedText(const TavQuor::QuorPolicyInfo& policy) {
    ThePlatform().log.clear();
    PolicyDbHash({policy});
    return FirstOf(CallsOf("CryptoHash_ComputeMD5"));
  }
};

class DatastoreDigest : public RecordingTest {};

// The log's line for hashing `text`.
std::string Hashing(const std::string& text) {
  return "CryptoHash_ComputeMD5 " + Recording::Quoted(text);
}

// The digests with the records themselves sorted, which is what decides between those that tie.
std::string DigestOfSorted(Policies policies) {
  std::sort(policies.begin(), policies.end(),
            [](const auto& a, const auto& b) { return a.policyId < b.policyId; });
  std::string digests;
  for (auto& policy : policies) {
    std::sort(policy.blobs.begin(), policy.blobs.end(),
              [](const auto& a, const auto& b) { return a.second < b.second; });
    std::string text = policy.name + policy.policyId + policy.description;
    text += std::to_string(policy.generationNumber);
    for (const auto& [blob, blobNamespace] : policy.blobs)
      text += blobNamespace + blob;
    digests += ReferenceMd5Hex(text);
  }
  return ReferenceMd5Hex(digests);
}
std::string DigestOfSorted(Datastores datastores) {
  std::sort(datastores.begin(), datastores.end(),
            [](const auto& a, const auto& b) { return a.url < b.url; });
  std::string digests;
  for (const auto& datastore : datastores) {
    digests +=
        ReferenceMd5Hex(datastore.url + datastore.datastoreNamespace + datastore.defaultPolicyId);
  }
  return ReferenceMd5Hex(digests);
}

TEST_F(PolicyDigest, NoPoliciesGiveTheEmptyStringAndNotTheDigestOfNothing) {
  EXPECT_EQ(PolicyDbHash({}), "");
  EXPECT_EQ(ThePlatform().log, Lines());
}

TEST_F(PolicyDigest, IsTheHashOfTheHexadecimalHashesOfThePolicies) {
  EXPECT_EQ(PolicyDbHash(SamplePolicies()), "c6c8a9a412ed8388d4877a186f4feda6");
  const std::string gold = "goldid-1fast7RILKG-rilkvolG-vol";
  const std::string silver = "silverid-2cheap-3volS-vol";
  EXPECT_EQ(CallsOf("CryptoHash_ComputeMD5"),
            (Lines{Hashing(gold), Hashing(silver),
                   Hashing(ReferenceMd5Hex(gold) + ReferenceMd5Hex(silver))}));
}

TEST_F(PolicyDigest, HeadIsFormattedAsNameIdentifierDescriptionAndNumber) {
  PolicyDbHash({Policy("n", "i", "d", 12, {})});
  EXPECT_EQ(CallsOf("StrPrintf"), Lines{R"(StrPrintf "%s%s%s%)" PRId64 R"(" gives "nid12")"});
}

TEST_F(PolicyDigest, PoliciesListedAsBACAreHashedAsABC) {
  PolicyDbHash(
      {Policy("", "b", "", 0, {}), Policy("", "a", "", 0, {}), Policy("", "c", "", 0, {})});
  const Lines hashed = CallsOf("CryptoHash_ComputeMD5");
  ASSERT_EQ(hashed.size(), 4U);
  EXPECT_EQ(Lines(hashed.begin(), hashed.begin() + 3),
            (Lines{Hashing("a0"), Hashing("b0"), Hashing("c0")}));
}

TEST_F(PolicyDigest, BlobOfRilkIsHashedBeforeNamespacesThatBeginWithALowerCaseLetter) {
  EXPECT_EQ(HashedText(Policy("n", "i", "d", 1, {{"-A-", "abc"}, {"-R-", "RILK"}})),
            Hashing("nid1RILK-R-abc-A-"));
}

TEST_F(PolicyDigest, NamespaceGoesBeforeTheBlob) {
  EXPECT_EQ(HashedText(Policy("n", "i", "d", 1, {{"X", "N"}})), Hashing("nid1NX"));
}

TEST_F(PolicyDigest, PolicyWithoutBlobsHashesNameIdDescriptionAndNumberOnly) {
  EXPECT_EQ(HashedText(Policy("n", "i", "d", 1, {})), Hashing("nid1"));
}

TEST_F(PolicyDigest, NegativeGenerationNumberPrintsAMinusSign) {
  EXPECT_EQ(HashedText(Policy("n", "i", "d", -1, {})), Hashing("nid-1"));
  EXPECT_EQ(PolicyDbHash({Policy("n", "i", "d", -1, {})}), "6d28f079da0d8dd81474d1535d09f419");
}

TEST_F(PolicyDigest, ExtremeGenerationNumbersPrintWhole) {
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(HashedText(Policy("n", "i", "d", Limits::min(), {})),
            Hashing("nid-9223372036854775808"));
  EXPECT_EQ(HashedText(Policy("n", "i", "d", Limits::max(), {})),
            Hashing("nid9223372036854775807"));
  EXPECT_EQ(PolicyDbHash({Policy("n", "i", "d", Limits::min(), {})}),
            "89b65977335c0a8dd5de7a0e74b7f0da");
  EXPECT_EQ(PolicyDbHash({Policy("n", "i", "d", Limits::max(), {})}),
            "48897bbc57f05d05898a8f55470a25a6");
}

TEST_F(PolicyDigest, PolicyWithAllFieldsEmptyStillAddsADigest) {
  EXPECT_EQ(HashedText(Policy("", "", "", 0, {})), Hashing("0"));
  EXPECT_EQ(PolicyDbHash({Policy("", "", "", 0, {})}), ReferenceMd5Hex(ReferenceMd5Hex("0")));
}

TEST_F(PolicyDigest, NameIdAndDescriptionEndAtTheirFirstZeroByte) {
  EXPECT_EQ(HashedText(Policy(std::string("n\0-", 3), std::string("i\0-", 3),
                              std::string("d\0-", 3), 1, {})),
            Hashing("nid1"));
}

// Sorting, unlike formatting, sees the whole identifier.
TEST_F(PolicyDigest, IdentifiersAreSortedBeyondTheirZeroByte) {
  PolicyDbHash({Policy("second", std::string("i\0b", 3), "", 1, {}),
                Policy("first", std::string("i\0a", 3), "", 1, {})});
  EXPECT_EQ(FirstOf(CallsOf("CryptoHash_ComputeMD5")), Hashing("firsti1"));
}

TEST_F(PolicyDigest, BlobsAndNamespacesEnterWithTheirZeroBytes) {
  const std::string blob("\0x\0", 3);
  const std::string blobNamespace("n\0s", 3);
  EXPECT_EQ(HashedText(Policy("n", "i", "d", 1, {{blob, blobNamespace}})),
            Hashing("nid1" + blobNamespace + blob));
}

TEST_F(PolicyDigest, ChangingAnyFieldChangesTheDigest) {
  const auto base = Policy("n", "i", "d", 1, {{"B", "N"}});
  const Policies changed = {Policy("N", "i", "d", 1, {{"B", "N"}}),
                            Policy("n", "I", "d", 1, {{"B", "N"}}),
                            Policy("n", "i", "D", 1, {{"B", "N"}}),
                            Policy("n", "i", "d", 2, {{"B", "N"}}),
                            Policy("n", "i", "d", 1, {{"b", "N"}}),
                            Policy("n", "i", "d", 1, {{"B", "n"}}),
                            Policy("n", "i", "d", 1, {}),
                            Policy("n", "i", "d", 1, {{"B", "N"}, {"", ""}, {"C", "O"}})};
  for (const auto& policy : changed)
    EXPECT_NE(PolicyDbHash({policy}), PolicyDbHash({base}));
}

TEST_F(PolicyDigest, IsTheSameForEveryOrderOfPoliciesAndOfBlobs) {
  Policies policies = {
      Policy("z", "10", "", 0, {{"1", "a"}, {"2", "RILK"}, {"3", "ab"}, {"4", ""}}),
      Policy("y", "9", "", 1, {{"5", "vol"}}), Policy("x", "", "", 2, {}),
      Policy("w", "\xff", "", 3, {{"", "x"}, {"", "y"}})};
  const std::string expected = ReferencePolicyDigest(policies);
  std::vector<std::size_t> order(policies.size());
  std::iota(order.begin(), order.end(), 0U);
  int permutations = 0;
  do {
    Policies permuted;
    for (const std::size_t i : order)
      permuted.push_back(policies[i]);
    EXPECT_EQ(PolicyDbHash(permuted), expected);
    std::next_permutation(policies[0].blobs.begin(), policies[0].blobs.end());
    ++permutations;
  } while (std::next_permutation(order.begin(), order.end()));
  EXPECT_EQ(permutations, 24);
}

// Enough records that the sort leaves its simple case for short sequences.
TEST_F(PolicyDigest, IsTheSameForShuffledLargeCatalogues) {
  Policies policies;
  for (int i = 0; i < 200; ++i) {
    auto policy = Policy("name", "id-" + std::to_string(i), "", i, {});
    for (int j = 0; j < 30; ++j) {
      policy.blobs.emplace_back("blob " + std::to_string(i * j), "ns-" + std::to_string(j));
    }
    policies.push_back(policy);
  }
  const std::string expected = ReferencePolicyDigest(policies);
  std::mt19937 random(20240607);
  for (int round = 0; round < 5; ++round) {
    std::shuffle(policies.begin(), policies.end(), random);
    for (auto& policy : policies)
      std::shuffle(policy.blobs.begin(), policy.blobs.end(), random);
    ThePlatform().log.clear();
    EXPECT_EQ(PolicyDbHash(policies), expected);
  }
}

TEST_F(PolicyDigest, TiedPoliciesThatAreEqualInEveryFieldHashTheSameInEitherOrder) {
  const auto twin = Policy("n", "i", "d", 1, {{"B", "N"}});
  const auto other = Policy("m", "h", "d", 1, {});
  EXPECT_EQ(PolicyDbHash({twin, other, twin}), PolicyDbHash({other, twin, twin}));
  EXPECT_NE(PolicyDbHash({twin, other, twin}), PolicyDbHash({twin, other}));
}

// Records that tie come out as the library's sort of the records themselves leaves them, so the
// digest depends on the order of the listing then.
TEST_F(PolicyDigest, TiedRecordsThatDifferAreHashedAsTheSortOfTheRecordsLeavesThem) {
  std::mt19937 random(20261121);
  int differences = 0;
  for (std::size_t size = 1; size < 120; size += 7) {
    Policies policies;
    for (std::size_t i = 0; i < size; ++i) {
      auto policy = Policy(std::to_string(i), std::string(random() % 12, 'i'), "", 0, {});
      for (std::size_t j = 0; j < i % 40; ++j) {
        policy.blobs.emplace_back(std::to_string(random()), std::string(random() % 3, 'n'));
      }
      policies.push_back(policy);
    }
    const std::string digest = PolicyDbHash(policies);
    EXPECT_EQ(digest, DigestOfSorted(policies));
    std::reverse(policies.begin(), policies.end());
    differences += PolicyDbHash(policies) != digest;
  }
  EXPECT_GT(differences, 10);
}

// There is nothing to clean up around the formatters: the process ends rather than go on.
TEST_F(PolicyDigest, ExceptionFromTheFormatterEndsTheProcess) {
  ThePlatform().duringFormatting = [] { throw std::runtime_error("no format"); };
  EXPECT_DEATH(PolicyDbHash(SamplePolicies()), "no format");
}

TEST_F(DatastoreDigest, NoDatastoresGiveTheEmptyString) {
  EXPECT_EQ(DatastoreDbHash({}), "");
  EXPECT_EQ(ThePlatform().log, Lines());
}

TEST_F(DatastoreDigest, OneDatastoreOfAAndBAndCIsTheHashOfTheHashOfAbc) {
  EXPECT_EQ(DatastoreDbHash({Datastore("a", "b", "c")}), "ec0405c5aef93e771cd80e0db180b88b");
  EXPECT_EQ(CallsOf("CryptoHash_ComputeMD5"),
            (Lines{Hashing("abc"), Hashing("900150983cd24fb0d6963f7d28e17f72")}));
  EXPECT_EQ(CallsOf("StrCat"), Lines{R"(StrCat gives "abc")"});
}

TEST_F(DatastoreDigest, DatastoresWithAllFieldsEmptyAddNothing) {
  EXPECT_EQ(DatastoreDbHash({Datastore("", "", ""), Datastore("", "", "")}), "");
  EXPECT_EQ(DatastoreDbHash({Datastore("", "", ""), Datastore("a", "b", "c")}),
            DatastoreDbHash({Datastore("a", "b", "c")}));
}

TEST_F(DatastoreDigest, ShorterUrlOfASharedPrefixComesFirst) {
  DatastoreDbHash(
      {Datastore("ds:///ab", "", ""), Datastore("ds:///a", "", ""), Datastore("ds:///", "", "")});
  const Lines hashed = CallsOf("CryptoHash_ComputeMD5");
  ASSERT_EQ(hashed.size(), 4U);
  EXPECT_EQ(Lines(hashed.begin(), hashed.begin() + 3),
            (Lines{Hashing("ds:///"), Hashing("ds:///a"), Hashing("ds:///ab")}));
}

TEST_F(DatastoreDigest, EveryFieldEntersWithItsZeroBytes) {
  const std::string zero("\0x", 2);
  DatastoreDbHash({Datastore("u" + zero, "n" + zero, "p" + zero)});
  EXPECT_EQ(FirstOf(CallsOf("CryptoHash_ComputeMD5")),
            Hashing("u" + zero + "n" + zero + "p" + zero));
}

TEST_F(DatastoreDigest, IsTheSameForEveryOrderOfDatastores) {
  Datastores datastores = {Datastore("b", "2", "x"), Datastore("a", "3", "y"),
                           Datastore("", "1", "z"), Datastore("A", "1", "z"),
                           Datastore("\xff", "", "")};
  const std::string expected = ReferenceDatastoreDigest(datastores);
  std::vector<std::size_t> order(datastores.size());
  std::iota(order.begin(), order.end(), 0U);
  int permutations = 0;
  do {
    Datastores permuted;
    for (const std::size_t i : order)
      permuted.push_back(datastores[i]);
    EXPECT_EQ(DatastoreDbHash(permuted), expected);
    ++permutations;
  } while (std::next_permutation(order.begin(), order.end()));
  EXPECT_EQ(permutations, 120);
}

TEST_F(DatastoreDigest, IsTheSameForShuffledLargeCatalogues) {
  Datastores datastores;
  for (int i = 0; i < 1000; ++i)
    datastores.push_back(Datastore(std::to_string(i), "vol", "id"));
  const std::string expected = ReferenceDatastoreDigest(datastores);
  std::mt19937 random(20240607);
  for (int round = 0; round < 5; ++round) {
    std::shuffle(datastores.begin(), datastores.end(), random);
    EXPECT_EQ(DatastoreDbHash(datastores), expected);
  }
}

TEST_F(DatastoreDigest, TiedDatastoresThatDifferAreHashedAsTheSortOfTheRecordsLeavesThem) {
  std::mt19937 random(20261121);
  Datastores datastores;
  for (int i = 0; i < 200; ++i)
    datastores.push_back(Datastore(std::string(random() % 20, 'u'), std::to_string(i), "id"));
  EXPECT_EQ(DatastoreDbHash(datastores), DigestOfSorted(datastores));
}

TEST_F(DatastoreDigest, ChangingAnyFieldChangesTheDigest) {
  const std::string base = DatastoreDbHash({Datastore("u", "n", "p")});
  EXPECT_NE(DatastoreDbHash({Datastore("U", "n", "p")}), base);
  EXPECT_NE(DatastoreDbHash({Datastore("u", "N", "p")}), base);
  EXPECT_NE(DatastoreDbHash({Datastore("u", "n", "P")}), base);
}

TEST_F(DatastoreDigest, ExceptionFromTheFormatterEndsTheProcess) {
  ThePlatform().duringFormatting = [] { throw std::runtime_error("no format"); };
  EXPECT_DEATH(DatastoreDbHash(SampleDatastores()), "no format");
}

class StoredDigest : public RecordingTest {};

TEST_F(StoredDigest, IsOfTheStoredCatalogueInWhateverOrderItIsStored) {
  const auto expected = std::make_pair(std::string("c6c8a9a412ed8388d4877a186f4feda6"),
                                       std::string("3e44728d5a9e2f5e4fe33b177d9ead89"));
  QuorLib::AddPolicyInfo(SamplePolicies());
  QuorLib::AddDatastoreInfo(SampleDatastores());
  EXPECT_EQ(QuorLib::GetDbHash(), expected);

  Policies policies = SamplePolicies();
  Datastores datastores = SampleDatastores();
  std::reverse(policies.begin(), policies.end());
  std::reverse(policies[1].blobs.begin(), policies[1].blobs.end());
  std::reverse(datastores.begin(), datastores.end());
  QuorLib::AddPolicyInfo(policies);
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(QuorLib::GetDbHash(), expected);
}

TEST_F(StoredDigest, ComputingItWritesNothingAndKeepsNothing) {
  StoreSample();
  QuorLib::GetDbHash();
  ExpectNothingIsKept();
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
  for (const char* call : {"BeginTransaction", "SetObject", "DeleteObjects", "SetValue"}) {
    EXPECT_EQ(CallsOf(call), Lines()) << call;
  }
}

TEST_F(StoredDigest, IsReadAfreshByEveryCall) {
  StoreSample();
  const auto before = QuorLib::GetDbHash();
  ThePlatform().stored[0].values["description"] = std::string("changed elsewhere");
  const auto after = QuorLib::GetDbHash();
  EXPECT_NE(after.first, before.first);
  EXPECT_EQ(after.second, before.second);
}

TEST_F(StoredDigest, OneOfTheTwoMayBeEmpty) {
  ThePlatform().stored = Stored({}, SampleDatastores());
  EXPECT_EQ(QuorLib::GetDbHash(),
            std::make_pair(std::string(), std::string("3e44728d5a9e2f5e4fe33b177d9ead89")));
  ThePlatform().stored = Stored(SamplePolicies(), {});
  EXPECT_EQ(QuorLib::GetDbHash(),
            std::make_pair(std::string("c6c8a9a412ed8388d4877a186f4feda6"), std::string()));
}

}  // namespace
}  // namespace QuorTest
