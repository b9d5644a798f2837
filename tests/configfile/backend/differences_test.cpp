// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Where the backends answer differently, on purpose. One table, and one test that runs it.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "backend/catalogue.h"
#include "tavconfigstore/exception.h"

namespace ConfigFileTest {
namespace {

// What a case ends with, as text, so that both answers stand side by side in the table.
using Answer = std::function<std::string()>;

std::string Described(const Policies& policies) {
  std::string text;
  for (const QuorPolicyInfo& policy : policies) {
    text += policy.name + '(' + policy.policyId + ' ' + std::to_string(policy.generationNumber);
    for (const auto& [blob, blobNamespace] : policy.blobs)
      text += ' ' + blobNamespace + '=' + blob;
    text += ')';
  }
  return text;
}

std::string Described(const Datastores& datastores) {
  std::string text;
  for (const QuorDatastoreInfo& datastore : datastores)
    text +=
        datastore.url + '(' + datastore.datastoreNamespace + ' ' + datastore.defaultPolicyId + ')';
  return text;
}

QuorPolicyInfo Named(const std::string& name, const std::string& id,
                     std::vector<std::pair<std::string, std::string>> blobs) {
  QuorPolicyInfo policy = Policy(id, std::move(blobs));
  policy.name = name;
  return policy;
}

std::string ListedGeneration(std::int64_t number) {
  QuorLib::AddPolicyInfo({Policy("id", {}, number)});
  const Policies policies = QuorLib::ListPolicyInfo();
  return policies.size() == 1 ? std::to_string(policies[0].generationNumber) : "not listed";
}

struct Difference {
  const char* name;
  Answer answer;
  std::string ofTheStore;
  std::string ofTheFile;
};

void PrintTo(const Difference& difference, std::ostream* out) {
  *out << difference.name;
}

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

const Difference kDifferences[] = {
    {"TwoPoliciesWithOneName",
     [] {
       QuorLib::AddPolicyInfo({Named("n", "1", {}), Named("m", "2", {}), Named("n", "3", {})});
       return Described(QuorLib::ListPolicyInfo());
     },
     "n(3 0)m(2 0)", "n(1 0)m(2 0)n(3 0)"},
    {"BlobByANameThatTwoPoliciesHave",
     [] {
       QuorLib::AddPolicyInfo(
           {Named("n", "1", {{"first", "RILK"}}), Named("n", "2", {{"second", "RILK"}})});
       return QuorLib::GetRilkPolicyBlobByName("n");
     },
     "second", "first"},
    {"TwoDatastoresWithOneUrl",
     [] {
       QuorLib::AddDatastoreInfo({{"u", "one", "1"}, {"v", "", ""}, {"u", "two", "2"}});
       return Described(QuorLib::ListDatastoreInfo());
     },
     "u(two 2)v( )", "u(one 1)v( )u(two 2)"},
    {"DefaultOfAUrlThatTwoDatastoresHave",
     [] {
       QuorLib::AddPolicyInfo({Policy("1", {{"one", "N"}}), Policy("2", {{"two", "N"}})});
       QuorLib::AddDatastoreInfo({{"u", "N", "1"}, {"u", "N", "2"}});
       return QuorLib::GetDefaultPolicyBlob("u");
     },
     "two", "one"},
    {"TwoBlobsForOneNamespace",
     [] {
       QuorLib::AddPolicyInfo({Named("n", "1", {{"first", "N"}, {"second", "N"}})});
       return Described(QuorLib::ListPolicyInfo());
     },
     "n(1 0 N=second)", "n(1 0 N=first N=second)"},
    {"BlobWithoutNamespace",
     [] {
       QuorLib::AddPolicyInfo({Named("n", "1", {{"blob", ""}})});
       return Described(QuorLib::ListPolicyInfo());
     },
     "n(1 0)", "n(1 0 =blob)"},
    {"BlobForADatastoreThatIsUnknown",
     [] {
       QuorLib::AddPolicyInfo({Named("n", "1", {{"blob", ""}})});
       return QuorLib::GetPolicyBlobById("1", "ds:///unknown/");
     },
     "", "blob"},
    {"BlobForADatastoreWithAnEmptyNamespace",
     [] {
       QuorLib::AddPolicyInfo({Named("n", "1", {{"blob", ""}})});
       QuorLib::AddDatastoreInfo({{"u", "", "1"}});
       return QuorLib::GetDefaultPolicyBlob("u");
     },
     "", "blob"},
    {"BlobByAnEmptyIdentifier",
     [] {
       QuorLib::AddPolicyInfo({Named("n", "", {{"blob", "RILK"}})});
       return QuorLib::GetRilkPolicyBlobById("");
     },
     "", "blob"},
    {"BlobByAnEmptyName",
     [] {
       QuorLib::AddPolicyInfo({Named("", "1", {{"blob", "RILK"}})});
       return QuorLib::GetRilkPolicyBlobByName("");
     },
     "", "blob"},
    {"GenerationAbove32Bits", [] { return ListedGeneration((std::int64_t{1} << 32) + 5); },
     "4294967301", "5"},
    {"GenerationOfTwoToThe31", [] { return ListedGeneration(std::int64_t{1} << 31); }, "2147483648",
     "-2147483648"},
    {"GenerationBelow32Bits",
     [] { return ListedGeneration(std::int64_t{std::numeric_limits<std::int32_t>::min()} - 1); },
     "-2147483649", "2147483647"},
    {"GreatestGeneration", [] { return ListedGeneration(kMost); }, std::to_string(kMost), "-1"},
    {"LeastGeneration", [] { return ListedGeneration(kLeast); }, std::to_string(kLeast), "0"},
};

class Differences : public HostTest, public testing::WithParamInterface<Difference> {};

TEST_P(Differences, AreAsTheTableSays) {
  const Difference& difference = GetParam();
  ASSERT_NE(difference.ofTheStore, difference.ofTheFile) << "no difference; a case for both";
  Switch(Kind::kStore);
  EXPECT_EQ(difference.answer(), difference.ofTheStore);
  Switch(Kind::kFile);
  EXPECT_EQ(difference.answer(), difference.ofTheFile);
}

INSTANTIATE_TEST_SUITE_P(All, Differences, testing::ValuesIn(kDifferences),
                         [](const auto& test) { return test.param.name; });

class Digest : public HostTest {};

TEST_F(Digest, OfEqualCataloguesIsTheSameInBothBackends) {
  Policies policies = SomePolicies();
  policies[1].generationNumber = -1;
  policies[2].name = EveryByte();
  const auto digestIn = [&](Kind kind) {
    Switch(kind);
    QuorLib::AddPolicyInfo(policies);
    QuorLib::AddDatastoreInfo(SomeDatastores());
    return QuorLib::GetDbHash();
  };
  const Digests ofTheStore = digestIn(Kind::kStore);
  EXPECT_EQ(ofTheStore.first.size(), 32U);
  EXPECT_EQ(digestIn(Kind::kFile), ofTheStore);
}

TEST_F(Digest, OfCataloguesInAnotherOrderIsTheSameInBothBackends) {
  Switch(Kind::kStore);
  QuorLib::AddPolicyInfo(SomePolicies());
  QuorLib::AddDatastoreInfo(SomeDatastores());
  const Digests ofTheStore = QuorLib::GetDbHash();
  Policies policies = SomePolicies();
  Datastores datastores = SomeDatastores();
  std::reverse(policies.begin(), policies.end());
  std::reverse(datastores.begin(), datastores.end());
  for (QuorPolicyInfo& policy : policies)
    std::reverse(policy.blobs.begin(), policy.blobs.end());
  Switch(Kind::kFile);
  QuorLib::AddPolicyInfo(policies);
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(QuorLib::GetDbHash(), ofTheStore);
}

class Exceptions : public HostTest {};

TEST_F(Exceptions, AreThoseOfTheBackendThatIsSwitchedTo) {
  Switch(Kind::kStore);
  WriteFile(PathOf("config-store.cdb"), "damaged");
  WriteFile(FilePath(), "damaged");
  EXPECT_THROW(QuorLib::ListPolicyInfo(), TavConfigStore::ConfigStoreException);
  Switch(Kind::kFile);
  EXPECT_THROW(QuorLib::ListPolicyInfo(), ConfigFileException);
  EXPECT_THROW(QuorLib::AddPolicyInfo({}), ConfigFileException);
  EXPECT_THROW(QuorLib::Reset(), ConfigFileException);
  EXPECT_EQ(ReadFile(FilePath()), "damaged");
}

}  // namespace
}  // namespace ConfigFileTest
