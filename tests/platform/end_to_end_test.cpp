// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The library over the real platform: a catalogue is pushed by one process and asked by others.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "platform/crypto_hash.h"
#include "quor/quor_lib.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"
#include "support/random.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes
using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

std::vector<QuorPolicyInfo> Policies(const std::string& version, int count = 12) {
  std::vector<QuorPolicyInfo> policies;
  for (int i = count - 1; i >= 0; --i) {
    const std::string number = std::to_string(i);
    QuorPolicyInfo policy;
    policy.name = "Policy " + number;
    policy.policyId = "id-" + number;
    policy.description = version;
    policy.generationNumber = i;
    policy.blobs = {{"rilk " + number + ' ' + version, "RILK"},
                    {std::string("\0\xff binary ", 10) + number, "OTHER"}};
    policies.push_back(policy);
  }
  return policies;
}

std::vector<QuorDatastoreInfo> Datastores(int count = 20) {
  std::vector<QuorDatastoreInfo> datastores;
  for (int i = 0; i < count; ++i) {
    datastores.push_back({"ds:///volumes/" + std::to_string(i) + '/', i % 2 == 0 ? "RILK" : "OTHER",
                          i < 12 ? "id-" + std::to_string(i) : ""});
  }
  return datastores;
}

Texts Names(const std::vector<QuorPolicyInfo>& policies) {
  Texts names;
  for (const QuorPolicyInfo& policy : policies)
    names.push_back(policy.name);
  return names;
}

class EndToEnd : public HostTest {
 protected:
  static void Push(const std::string& version) {
    QuorLib::AddPolicyInfo(Policies(version));
    QuorLib::AddDatastoreInfo(Datastores());
  }

  // Damages the first place where the stored file says so.
  std::string Damage(const std::string& text) const {
    std::string bytes = ReadFile(SnapshotPath());
    const std::size_t place = bytes.find(text);
    EXPECT_NE(place, std::string::npos);
    bytes[place] = static_cast<char>(bytes[place] ^ 1);
    ReplaceFile(SnapshotPath(), bytes);
    return bytes;
  }
};

TEST_F(EndToEnd, HostWithoutCatalogueAnswersNotFound) {
  EXPECT_TRUE(QuorLib::ListPolicyInfo().empty());
  EXPECT_TRUE(QuorLib::ListDatastoreInfo().empty());
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-1"), "");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/1/"), "");
  EXPECT_EQ(QuorLib::GetDbHash(), (std::pair<std::string, std::string>("", "")));
  EXPECT_FALSE(Exists(HostPath()));
}

TEST_F(EndToEnd, AnotherProcessAsksForTheBlobsThatWerePushed) {
  RunInChild([] { Push("first"); });
  EXPECT_EQ(Names(QuorLib::ListPolicyInfo()), Names(Policies("first")));
  EXPECT_EQ(QuorLib::ListDatastoreInfo().size(), 20U);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-3"), "rilk 3 first");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("Policy 4"), "rilk 4 first");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/2/"), "rilk 2 first");
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-5", "ds:///volumes/1/"),
            std::string("\0\xff binary ", 10) + "5");
  EXPECT_EQ(QuorLib::ListPolicyInfo()[0].generationNumber, 11);
}

TEST_F(EndToEnd, DigestTellsChangeToOtherProcesses) {
  Push("first");
  const auto first = QuorLib::GetDbHash();
  EXPECT_EQ(first.first.size(), 32U);
  RunInChild([] { Push("second"); });
  EXPECT_NE(QuorLib::GetDbHash().first, first.first);
  EXPECT_EQ(QuorLib::GetDbHash().second, first.second);
  RunInChild([] { Push("first"); });
  EXPECT_EQ(QuorLib::GetDbHash(), first);
}

std::string Md5(const std::string& text) {
  unsigned char digest[kCryptoHashMd5Size];
  CryptoHash_ComputeMD5(text.data(), text.size(), digest);
  std::string hex;
  for (const unsigned char byte : digest) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    hex += digits;
  }
  return hex;
}

// Those of several records are computed at once, at most 64 and about a megabyte of text.
TEST_F(EndToEnd, DigestsOfManyRecordsAreThoseOfEachByItself) {
  for (const int count : {1, 2, 63, 64, 65, 200}) {
    std::vector<QuorPolicyInfo> policies = Policies("version", count);
    if (count > 2) policies[1].blobs.front().first.assign(3'000'000, 'x');
    QuorLib::AddPolicyInfo(policies);
    QuorLib::AddDatastoreInfo(Datastores(count));
    std::map<std::string, std::string> texts;  // by the records' keys
    for (QuorPolicyInfo& policy : policies) {
      std::string& text = texts[policy.policyId];
      text = policy.name + policy.policyId + policy.description +
             std::to_string(policy.generationNumber);
      std::sort(policy.blobs.begin(), policy.blobs.end(),
                [](const auto& a, const auto& b) { return a.second < b.second; });
      for (const auto& [blob, blobNamespace] : policy.blobs)
        text.append(blobNamespace).append(blob);
    }
    std::string digests;
    for (const auto& [id, text] : texts)
      digests += Md5(text);
    EXPECT_EQ(QuorLib::GetDbHash().first, Md5(digests)) << count;
    texts.clear();
    for (const QuorDatastoreInfo& datastore : Datastores(count)) {
      texts[datastore.url] =
          datastore.url + datastore.datastoreNamespace + datastore.defaultPolicyId;
    }
    digests.clear();
    for (const auto& [url, text] : texts)
      digests += Md5(text);
    EXPECT_EQ(QuorLib::GetDbHash().second, Md5(digests)) << count;
  }
}

TEST_F(EndToEnd, DatastoreOfEmptyFieldsAddsNothingToTheDigest) {
  std::vector<QuorDatastoreInfo> datastores = Datastores(3);
  QuorLib::AddDatastoreInfo(datastores);
  const auto digest = QuorLib::GetDbHash();
  datastores.push_back({});
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(QuorLib::ListDatastoreInfo().size(), 4U);
  EXPECT_EQ(QuorLib::GetDbHash(), digest);
}

TEST_F(EndToEnd, ResetLeavesNothing) {
  Push("first");
  QuorLib::Reset();
  EXPECT_TRUE(QuorLib::ListPolicyInfo().empty());
  EXPECT_TRUE(QuorLib::ListDatastoreInfo().empty());
}

TEST_F(EndToEnd, ReaderOfAnotherUserAsksEverythingAndWritesNothing) {
  Machine::NeedRoot();
  Push("first");
  ASSERT_EQ(chown(HostPath().c_str(), 0, kReaders), 0);
  Push("second");
  ASSERT_EQ(chown(SnapshotPath().c_str(), 0, kReaders), 0);
  const Texts names = NamesIn(HostPath());
  RunInChild([] {
    BecomeUser(kStranger, {kReaders});
    EXPECT_EQ(QuorLib::ListPolicyInfo().size(), 12U);
    EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/2/"), "rilk 2 second");
    EXPECT_EQ(QuorLib::GetDbHash().first.size(), 32U);
    EXPECT_EQ(CodeOf([] { QuorLib::AddPolicyInfo({}); }), kPermissionDenied);
    EXPECT_EQ(CodeOf([] { QuorLib::Reset(); }), kPermissionDenied);
  });
  EXPECT_EQ(NamesIn(HostPath()), names);
  EXPECT_EQ(QuorLib::ListPolicyInfo().size(), 12U);
}

TEST_F(EndToEnd, DamagedPolicyIsLeftOutOfTheListAloneAndRaisedWhenItIsAskedFor) {
  Push("first");
  const std::string damaged = Damage("rilk 3 first");
  Texts expected = Names(Policies("first"));
  std::erase(expected, "Policy 3");
  EXPECT_EQ(Names(QuorLib::ListPolicyInfo()), expected);
  EXPECT_EQ(QuorLib::ListDatastoreInfo().size(), 20U);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("Policy 4"), "rilk 4 first");
  EXPECT_EQ(CodeOf([] { QuorLib::GetRilkPolicyBlobByName("Policy 3"); }), kCorrupt);
  EXPECT_TRUE(ReadFile(SnapshotPath()) == damaged);
}

TEST_F(EndToEnd, DamagedPolicyIsNotOverwrittenByDatastoresAndHealedByTheNextPolicies) {
  Push("first");
  const std::string damaged = Damage("rilk 3 first");
  EXPECT_EQ(CodeOf([] { QuorLib::AddDatastoreInfo({}); }), kCorrupt);
  EXPECT_TRUE(ReadFile(SnapshotPath()) == damaged);
  QuorLib::AddPolicyInfo(Policies("second"));
  EXPECT_EQ(QuorLib::ListPolicyInfo().size(), 12U);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("Policy 3"), "rilk 3 second");
  EXPECT_EQ(QuorLib::ListDatastoreInfo().size(), 20U);
}

TEST_F(EndToEnd, DamagedStoreIsRaisedAndNotTakenForAnEmptyCatalogue) {
  Push("first");
  WriteFile(SnapshotPath(), "");
  EXPECT_EQ(CodeOf([] { QuorLib::ListPolicyInfo(); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { QuorLib::GetRilkPolicyBlobByName("Policy 3"); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { QuorLib::GetDbHash(); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { QuorLib::AddPolicyInfo(Policies("second")); }), kCorrupt);
  EXPECT_EQ(ReadFile(SnapshotPath()), "");
}

TEST_F(EndToEnd, KilledManagerLeavesTheOldCatalogueOrTheNew) {
  Push("version 0");
  Random random(SeedOfThisRun());
  for (int i = 0; i < 25 && !HasFailure(); ++i) {
    ChildProcess manager([] {
      for (int version = 0;; ++version)
        QuorLib::AddPolicyInfo(Policies("version " + std::to_string(version)));
    });
    usleep(static_cast<useconds_t>(random.Below(20'000)));
    manager.Kill();
    const auto policies = QuorLib::ListPolicyInfo();
    EXPECT_EQ(Names(policies), Names(Policies("")));
    for (const QuorPolicyInfo& policy : policies)
      EXPECT_EQ(policy.description, policies.front().description);
    EXPECT_EQ(QuorLib::ListDatastoreInfo().size(), 20U);
  }
}

}  // namespace
}  // namespace PlatformTest
