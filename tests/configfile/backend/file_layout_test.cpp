// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The catalogue in the file: how it is laid out, and what a hand-edited one answers.
#include <gtest/gtest.h>

#include <string>

#include "backend/catalogue.h"

namespace ConfigFileTest {
namespace {

class FileLayout : public HostTest {
 protected:
  FileLayout() { Switch(Kind::kFile); }

  void EditPolicies(const std::string& items) const {
    EditByHand("{\"Quor\": {\"Policy-Info\": {\"policy\": [" + items + "]}}}");
  }
  void EditDatastores(const std::string& items) const {
    EditByHand("{\"Quor\": {\"Datastore-Info\": {\"Datastore\": [" + items + "]}}}");
  }
  static Texts Names() {
    Texts names;
    for (const QuorPolicyInfo& policy : QuorLib::ListPolicyInfo())
      names.push_back(policy.name);
    return names;
  }
  static Texts Urls() {
    Texts urls;
    for (const QuorDatastoreInfo& datastore : QuorLib::ListDatastoreInfo())
      urls.push_back(datastore.url);
    return urls;
  }
};

constexpr char kGood[] =
    R"({"name": "good", "description": "", "policy-id": "good", "generation-number": "7",
        "blobs": [{"datastore-namespace": "RILK", "blob": "Z29vZA=="}]})";

TEST_F(FileLayout, IsReadableInTheFile) {
  QuorLib::AddPolicyInfo({Policy("id", {{"blob", "RILK"}}, -1)});
  QuorLib::AddDatastoreInfo({{"ds:///a/", "RILK", "id"}});
  EXPECT_EQ(Document(), R"({
  "Quor": {
    "Policy-Info": {
      "policy": [
        {
          "name": "name of id",
          "description": "description of id",
          "policy-id": "id",
          "generation-number": "18446744073709551615",
          "blobs": [
            {
              "datastore-namespace": "RILK",
              "blob": "YmxvYg=="
            }
          ]
        }
      ]
    },
    "Datastore-Info": {
      "Datastore": [
        {
          "url": "ds:///a/",
          "datastore-namespace": "RILK",
          "default-policy-id": "id"
        }
      ]
    }
  }
}
)");
}

TEST_F(FileLayout, OfNothingKeepsTheEmptyArrays) {
  QuorLib::AddPolicyInfo({});
  QuorLib::AddDatastoreInfo({});
  EXPECT_TRUE(Contains(Document(), "\"Policy-Info\": {\n      \"policy\": []\n    }"));
  EXPECT_TRUE(Contains(Document(), "\"Datastore-Info\": {\n      \"Datastore\": []\n    }"));
}

TEST_F(FileLayout, AfterResetHasAnArrayOfPoliciesAndNoneOfDatastores) {
  QuorLib::AddDatastoreInfo(SomeDatastores());
  QuorLib::Reset();
  EXPECT_TRUE(Contains(Document(), "\"policy\": []"));
  EXPECT_TRUE(Contains(Document(), "\"Datastore-Info\": {}"));
}

TEST_F(FileLayout, OfOtherProgramsIsKept) {
  EditByHand("{\n  \"Else\": {\n    \"n\": 1.10\n  }\n}\n");
  QuorLib::AddPolicyInfo(SomePolicies());
  QuorLib::Reset();
  EXPECT_TRUE(Document().starts_with("{\n  \"Else\": {\n    \"n\": 1.10\n  },\n"));
}

TEST_F(FileLayout, OfAPolicyThatLacksAValueIsNotListed) {
  EditPolicies(std::string(R"({"description": "", "policy-id": "a", "generation-number": "1"},
    {"name": "b", "policy-id": "b", "generation-number": "1"},
    {"name": "c", "description": "", "generation-number": "1"},
    {"name": "d", "description": "", "policy-id": "d"},
    {"name": "e", "description": "", "policy-id": "e", "generation-number": "many"},
    {"name": "f", "description": null, "policy-id": "f", "generation-number": 1},)") +
               kGood);
  EXPECT_EQ(Names(), Texts{"good"});
}

TEST_F(FileLayout, OfAPolicyWithNumbersAndNoBlobsIsListed) {
  EditPolicies(R"({"name": 5, "description": true, "policy-id": 1.10, "generation-number": -7})");
  const Policies policies = QuorLib::ListPolicyInfo();
  ASSERT_EQ(policies.size(), 1U);
  EXPECT_EQ(policies[0].name, "5");
  EXPECT_EQ(policies[0].description, "true");
  EXPECT_EQ(policies[0].policyId, "1.10");
  EXPECT_EQ(policies[0].generationNumber, -7);
}

TEST_F(FileLayout, OfAPolicyWithInvalidBase64IsLeftOutAndRaisedWhenItIsAskedFor) {
  for (const char* const text : {"!!", "Z29vZA", "Z29vZA=", "Z29v\\nZA==", "Z29vZB=="}) {
    EditPolicies(std::string(R"({"name": "bad", "description": "", "policy-id": "bad",
      "generation-number": "1", "blobs": [{"datastore-namespace": "RILK", "blob": ")") +
                 text + "\"}]}, " + kGood);
    EXPECT_EQ(Names(), Texts{"good"});
    EXPECT_EQ(MessageOf([] { QuorLib::GetRilkPolicyBlobById("bad"); }), "Unable to Decode string");
    EXPECT_EQ(MessageOf([] { QuorLib::GetRilkPolicyBlobByName("bad"); }),
              "Unable to Decode string");
    EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("good"), "good");
  }
}

TEST_F(FileLayout, OfABlobEndsAtItsFirstNul) {
  EditPolicies(R"({"name": "n", "policy-id": "n", "blobs": [
    {"datastore-namespace": "RILK", "blob": "Z29vZA==\u0000!"}]})");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("n"), "good");
}

TEST_F(FileLayout, OfBlobsThatLackAValueIsPassedOver) {
  EditPolicies(R"({"name": "n", "description": "", "policy-id": "n", "generation-number": 1,
    "blobs": [{"blob": "AAAA"}, {"datastore-namespace": "RILK"},
              {"datastore-namespace": "RILK", "blob": null},
              {"datastore-namespace": "RILK", "blob": "Z29vZA=="}]})");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("n"), "good");
  const Policies policies = QuorLib::ListPolicyInfo();
  ASSERT_EQ(policies.size(), 1U);
  EXPECT_EQ(policies[0].blobs.size(), 1U);
}

TEST_F(FileLayout, OfAPolicyWithAWrongTypeInsideIsLeftOutAlone) {
  EditPolicies(std::string(R"({"name": [], "description": "", "policy-id": "a",
    "generation-number": "1"},
    {"name": "b", "description": "", "policy-id": "b", "generation-number": "1", "blobs": {}},
    {"name": "c", "description": "", "policy-id": "c", "generation-number": "1",
     "blobs": ["text"]},)") +
               kGood);
  EXPECT_EQ(Names(), Texts{"good"});
  EXPECT_TRUE(Contains(MessageOf([] { QuorLib::GetRilkPolicyBlobById("b"); }),
                       "/Quor/Policy-Info/policy[1]/blobs"));
  EXPECT_TRUE(Contains(MessageOf([] { QuorLib::GetRilkPolicyBlobByName("good"); }),
                       "/Quor/Policy-Info/policy[0]/name"));
}

TEST_F(FileLayout, WithoutAnArrayOfBranchesIsRaisedByListingsToo) {
  EditPolicies(std::string(kGood) + ", 5");
  EXPECT_TRUE(Contains(MessageOf([] { QuorLib::ListPolicyInfo(); }),
                       FilePath() + ": /Quor/Policy-Info/policy[1]"));
  EditDatastores("\"text\"");
  EXPECT_TRUE(Contains(MessageOf([] { QuorLib::ListDatastoreInfo(); }),
                       FilePath() + ": /Quor/Datastore-Info/Datastore[0]"));
}

TEST_F(FileLayout, OfADatastoreThatLacksAValueIsNotListed) {
  EditDatastores(R"({"url": "u", "datastore-namespace": "RILK"},
    {"url": "u", "default-policy-id": "good"},
    {"datastore-namespace": "x", "default-policy-id": "x"},
    {"url": "v", "datastore-namespace": [], "default-policy-id": "x"},
    {"url": "w", "datastore-namespace": "x", "default-policy-id": "x"})");
  EXPECT_EQ(Urls(), Texts{"w"});
}

TEST_F(FileLayout, OfADefaultIsTakenFromALaterDatastoreOfTheUrl) {
  EditByHand(std::string(R"({"Quor": {"Datastore-Info": {"Datastore": [
    {"url": "u", "datastore-namespace": "RILK"},
    {"url": "u", "default-policy-id": "good"}]}, "Policy-Info": {"policy": [)") +
             kGood + "]}}}");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("u"), "good");
}

TEST_F(FileLayout, OfAnEmptyUrlIsNeverFound) {
  EditByHand(std::string(R"({"Quor": {"Datastore-Info": {"Datastore": [
    {"url": "", "datastore-namespace": "RILK", "default-policy-id": "good"}]},
    "Policy-Info": {"policy": [)") +
             kGood + "]}}}");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob(""), "");
  EXPECT_EQ(QuorLib::GetPolicyBlobById("good", ""), "");
  EXPECT_EQ(Urls(), Texts{""});
}

TEST_F(FileLayout, ReplacementHealsRecordsThatCouldNotBeRead) {
  EditPolicies("5, \"text\", {}");
  QuorLib::AddPolicyInfo(SomePolicies());
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SomePolicies());
}

}  // namespace
}  // namespace ConfigFileTest
