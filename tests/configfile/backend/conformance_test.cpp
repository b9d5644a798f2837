// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What both backends have in common: the same cases over the store and over the file.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "backend/catalogue.h"

namespace ConfigFileTest {
namespace {

using namespace std::string_literals;

class Conformance : public HostTest, public testing::WithParamInterface<Kind> {
 protected:
  Conformance() { Switch(GetParam()); }

  static void Push() {
    QuorLib::AddPolicyInfo(SomePolicies());
    QuorLib::AddDatastoreInfo(SomeDatastores());
  }
};

INSTANTIATE_TEST_SUITE_P(Backends, Conformance, testing::Values(Kind::kStore, Kind::kFile),
                         [](const auto& test) {
                           return test.param == Kind::kStore ? "Store" : "File";
                         });

TEST_P(Conformance, HostWithoutCatalogueAnswersNotFoundAndStaysEmpty) {
  const Texts names = NamesIn(HostPath());
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{});
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{});
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-1"), "");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("name of id-1"), "");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/1/"), "");
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-1", "ds:///volumes/1/"), "");
  EXPECT_EQ(QuorLib::GetDbHash(), Digests("", ""));
  EXPECT_EQ(NamesIn(HostPath()), names);
}

TEST_P(Conformance, CatalogueIsListedAsItWasGiven) {
  Push();
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SomePolicies());
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), SomeDatastores());
}

TEST_P(Conformance, AnotherProcessAsksForTheBlobs) {
  RunInChild([] { Push(); });
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-3"), "rilk 3");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("name of id-4"), "rilk 4");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/2/"), "rilk 2");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/3/"), EveryByte() + "3");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/14/"), "") << "it has no default";
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-5", "ds:///volumes/1/"), EveryByte() + "5");
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-5", "ds:///unknown/"), "");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("ID-3"), "") << "names are not folded";
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-3 "), "");
}

TEST_P(Conformance, ReplacementLeavesNothingOfTheOldPoliciesAndAllDatastores) {
  Push();
  const Policies next = {Policy("new", {{"blob", "RILK"}})};
  QuorLib::AddPolicyInfo(next);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), next);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-3"), "");
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), SomeDatastores());
}

TEST_P(Conformance, ReplacementLeavesNothingOfTheOldDatastoresAndAllPolicies) {
  Push();
  const Datastores next = {{"ds:///new/", "RILK", "id-7"}};
  QuorLib::AddDatastoreInfo(next);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), next);
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/2/"), "");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///new/"), "rilk 7");
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SomePolicies());
}

TEST_P(Conformance, EmptyVectorsDeleteEverything) {
  Push();
  QuorLib::AddPolicyInfo({});
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{});
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), SomeDatastores());
  QuorLib::AddDatastoreInfo({});
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{});
  EXPECT_EQ(QuorLib::GetDbHash(), Digests("", ""));
}

TEST_P(Conformance, ResetDeletesEverythingAlsoWhereNothingIs) {
  EXPECT_NO_THROW(QuorLib::Reset());
  Push();
  QuorLib::Reset();
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{});
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{});
  EXPECT_EQ(QuorLib::GetDbHash(), Digests("", ""));
  Push();
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SomePolicies());
}

TEST_P(Conformance, InitDoesNothing) {
  const Texts names = NamesIn(HostPath());
  QuorLib::Init();
  EXPECT_EQ(NamesIn(HostPath()), names);
}

TEST_P(Conformance, EveryFieldHoldsAnyBytes) {
  const std::string bytes = EveryByte() + "\0base64:AAAA"s;
  QuorPolicyInfo policy;
  policy.name = "name" + bytes;
  policy.policyId = "id" + bytes;
  policy.description = "description" + bytes;
  policy.blobs = {{"blob" + bytes, "namespace" + bytes}, {"", "empty blob"}};
  QuorLib::AddPolicyInfo({policy});
  QuorLib::AddDatastoreInfo({{"url" + bytes, "namespace" + bytes, "id" + bytes}});
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{policy});
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("url" + bytes), "blob" + bytes);
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("url"), "");
}

TEST_P(Conformance, LongValuesComeBack) {
  const std::string longText(64 * 1024, 'x');
  const Policies policies = {Policy("a", {{std::string(1 << 20, '\0'), "RILK"}}),
                             Policy("b" + longText, {{longText, longText}})};
  QuorLib::AddPolicyInfo(policies);
  EXPECT_TRUE(QuorLib::ListPolicyInfo() == policies);
  EXPECT_TRUE(QuorLib::GetRilkPolicyBlobById("a") == std::string(1 << 20, '\0'));
}

TEST_P(Conformance, PolicyWithoutBlobsAndDatastoreWithoutDefaultAreListed) {
  const Policies policies = {Policy("bare")};
  const Datastores datastores = {{"ds:///bare/", "", ""}};
  QuorLib::AddPolicyInfo(policies);
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), datastores);
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///bare/"), "");
}

TEST_P(Conformance, GenerationNumbersOf32BitsComeBackAsTheyWere) {
  Policies policies;
  for (const std::int32_t number : {0, 1, -1, 7, std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::max()}) {
    policies.push_back(Policy("id " + std::to_string(number), {}, number));
  }
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_P(Conformance, FirstOfTwoPoliciesWithOneIdentifierAnswers) {
  QuorPolicyInfo second = Policy("id", {{"of the second", "RILK"}, {"more", "OTHER"}});
  second.name = "another name";
  QuorLib::AddPolicyInfo({Policy("id", {{"of the first", "RILK"}}), second});
  QuorLib::AddDatastoreInfo({{"ds:///other/", "OTHER", ""}});
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), "of the first");
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id", "ds:///other/"), "") << "only the first is searched";
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("another name"), "of the second");
}

TEST_P(Conformance, ThousandPoliciesKeepTheirOrder) {
  const Policies policies = SomePolicies(1000);
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-0"), "rilk 0");
}

TEST_P(Conformance, DigestTellsEveryChange) {
  Push();
  const Digests first = QuorLib::GetDbHash();
  EXPECT_EQ(first.first.size(), 32U);
  EXPECT_EQ(first.second.size(), 32U);
  Policies changed = SomePolicies();
  changed[3].generationNumber = 77;
  QuorLib::AddPolicyInfo(changed);
  EXPECT_NE(QuorLib::GetDbHash().first, first.first);
  EXPECT_EQ(QuorLib::GetDbHash().second, first.second);
  Push();
  EXPECT_EQ(QuorLib::GetDbHash(), first);
}

TEST_P(Conformance, WriterThatIsKilledLeavesAWholeCatalogue) {
  Push();
  for (int i = 0; i < 10; ++i) {
    ChildProcess manager([] {
      for (int version = 0;; ++version) {
        Policies policies = SomePolicies();
        for (QuorPolicyInfo& policy : policies)
          policy.generationNumber = version;
        QuorLib::AddPolicyInfo(policies);
      }
    });
    usleep(static_cast<useconds_t>(1'000 * i));
    manager.Kill();
    const Policies listed = QuorLib::ListPolicyInfo();
    ASSERT_EQ(listed.size(), SomePolicies().size());
    const auto version = listed.front().generationNumber;
    const bool isFirst = listed == SomePolicies();
    for (const QuorPolicyInfo& policy : listed)
      EXPECT_TRUE(isFirst || policy.generationNumber == version);
    EXPECT_EQ(QuorLib::ListDatastoreInfo(), SomeDatastores());
  }
}

TEST_P(Conformance, LeavesErrnoAsItWas) {
  errno = 4711;
  Push();
  QuorLib::ListPolicyInfo();
  QuorLib::GetDefaultPolicyBlob("ds:///volumes/2/");
  QuorLib::GetDbHash();
  QuorLib::Reset();
  EXPECT_EQ(errno, 4711);
}

}  // namespace
}  // namespace ConfigFileTest
