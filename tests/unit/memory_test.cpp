// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Memory that runs out within the library, and the memory that the platform's Base64 hands over.
#include "recording/memory.h"

#include "configfile/blob_codec.h"
#include "digest/catalogue_digest.h"
#include "digest/md5_hex.h"
#include "support/fixture.h"

namespace QuorTest {
namespace {

using Recording::TheBase64Memory;
using TavQuor::ConfigFileBackend::DecodeBlob;
using TavQuor::ConfigFileBackend::EncodeBlob;

const std::string kBlob(99, 'a');

class Memory : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    TheBase64Memory() = Recording::Base64Memory();
  }
  void TearDown() override {
    TheBase64Memory() = Recording::Base64Memory();
    RecordingTest::TearDown();
  }

  // Runs `call` with its first, its second, its third ... allocation failing until it has no such
  // allocation any more, and returns how many failed. Each must be raised.
  template <typename Call>
  static int FailEveryAllocation(const Call& call) {
    for (int number = 1;; ++number) {
      bool isRaised = false;
      Recording::FailAllocation(number);
      try {
        call();
      } catch (const std::bad_alloc&) {
        isRaised = true;
      }
      const bool hasFailed = !Recording::AllocationWillFail();
      Recording::FailAllocation(0);
      EXPECT_EQ(isRaised, hasFailed) << number;
      if (!hasFailed) return number - 1;
    }
  }
};

TEST_F(Memory, ThatRunsOutInADigestIsRaisedButForTheTextOfARecord) {
  const Policies policies = SamplePolicies();
  const Datastores datastores = SampleDatastores();
  EXPECT_GE(FailEveryAllocation([&] { TavQuor::Digest::PolicyDbHash(policies); }), 6);
  EXPECT_GE(FailEveryAllocation([&] { TavQuor::Digest::DatastoreDbHash(datastores); }), 4);
  EXPECT_GE(FailEveryAllocation([] { TavQuor::Digest::Md5Hex("abc"); }), 1);
}

TEST_F(Memory, ThatRunsOutForTheTextOfARecordEndsTheProcess) {
  ThePlatform().duringFormatting = [] { throw std::bad_alloc(); };
  EXPECT_DEATH(TavQuor::Digest::PolicyDbHash(SamplePolicies()), "bad_alloc");
  EXPECT_DEATH(TavQuor::Digest::DatastoreDbHash(SampleDatastores()), "bad_alloc");
}

TEST_F(Memory, OfEncodedAndDecodedBlobsIsFreed) {
  const std::string text = EncodeBlob(kBlob);
  EXPECT_TRUE(TheBase64Memory().wasFreed);
  TheBase64Memory().wasFreed = false;
  DecodeBlob(text);
  EXPECT_TRUE(TheBase64Memory().wasFreed);
}

TEST_F(Memory, OfBlobsIsFreedWhenThereIsNoneForACopy) {
  const std::string text = EncodeBlob(kBlob);
  for (const auto& call : {+[](const std::string&) { EncodeBlob(kBlob); },
                           +[](const std::string& encoded) { DecodeBlob(encoded); }}) {
    TheBase64Memory() = Recording::Base64Memory();
    TheBase64Memory().nextAllocationFails = true;
    EXPECT_THROW(call(text), std::bad_alloc);
    EXPECT_TRUE(TheBase64Memory().wasFreed);
  }
}

TEST_F(Memory, ThatAFailedCallLeftInItsResultIsNotFreed) {
  char left = 0;
  TheBase64Memory().left = &left;
  ThePlatform().base64Fails = [](int) { return true; };
  EXPECT_EQ(Attempt([] { EncodeBlob("Man"); }).message, "Unable to Encode string");
  EXPECT_EQ(Attempt([] { DecodeBlob("TWFu"); }).message, "Unable to Decode string");
  EXPECT_FALSE(TheBase64Memory().wasFreed);
}

TEST_F(Memory, OfResultsStartsAsNull) {
  EncodeBlob("Man");
  EXPECT_EQ(TheBase64Memory().before, nullptr);
  TheBase64Memory().before = "";
  DecodeBlob("TWFu");
  EXPECT_EQ(TheBase64Memory().before, nullptr);
}

}  // namespace
}  // namespace QuorTest
