// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Bytes of the stored catalogue that changed on the disk: what the library answers then. The store
// has checksums. The file has none, since people edit it: what is still a document is believed, but
// no change of an answer gets past the digests.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "backend/catalogue.h"

namespace ConfigFileTest {
namespace {

const Policies kPolicies = {Policy("gold", {{"three copies", "RILK"}, {"\x00\xff", "OBJS"}}, 7),
                            Policy("silver", {{"two copies", "RILK"}}, -1), Policy("scratch")};
const Datastores kDatastores = {{"ds:///volumes/a/", "RILK", "gold"},
                                {"ds:///volumes/b/", "RILK", "silver"},
                                {"ds:///objects/", "OBJS", ""}};

struct Answers {
  Policies policies = kPolicies;
  Datastores datastores = kDatastores;
  Texts blobs = {"three copies", "two copies", "three copies"};
  Digests digests;
  int raised = 0;  // of the questions; an answer that was raised stays as it is here

  bool operator==(const Answers&) const = default;
};

Answers Ask(const Digests& digests) {
  Answers answers;
  answers.digests = digests;
  const auto ask = [&](const std::function<void()>& question) {
    try {
      question();
    } catch (const std::exception&) {
      ++answers.raised;
    }
  };
  ask([&] { answers.policies = QuorLib::ListPolicyInfo(); });
  ask([&] { answers.datastores = QuorLib::ListDatastoreInfo(); });
  ask([&] { answers.blobs[0] = QuorLib::GetRilkPolicyBlobById("gold"); });
  ask([&] { answers.blobs[1] = QuorLib::GetRilkPolicyBlobByName("name of silver"); });
  ask([&] { answers.blobs[2] = QuorLib::GetDefaultPolicyBlob("ds:///volumes/a/"); });
  ask([&] { answers.digests = QuorLib::GetDbHash(); });
  return answers;
}

// Whether the first holds nothing but records of the second, in their order.
template <typename Records>
bool IsPartOf(const Records& some, const Records& all) {
  auto next = all.begin();
  for (const auto& record : some) {
    next = std::find(next, all.end(), record);
    if (next++ == all.end()) return false;
  }
  return true;
}

bool HasNoOtherAnswer(const Answers& answers) {
  const Answers right;
  for (std::size_t i = 0; i < right.blobs.size(); ++i) {
    if (answers.blobs[i] != right.blobs[i] && !answers.blobs[i].empty()) return false;
  }
  return IsPartOf(answers.policies, right.policies) &&
         IsPartOf(answers.datastores, right.datastores);
}

class FlippedBytes : public HostTest, public testing::WithParamInterface<Kind> {
 protected:
  FlippedBytes() {
    Switch(GetParam());
    QuorLib::AddPolicyInfo(kPolicies);
    QuorLib::AddDatastoreInfo(kDatastores);
    digests_ = QuorLib::GetDbHash();
  }

  std::string Path() const {
    return GetParam() == Kind::kStore ? PathOf("config-store.cdb") : FilePath();
  }

  Answers AskWith(const std::string& bytes) const {
    std::filesystem::remove(Path());
    WriteFile(Path(), bytes);
    return Ask(digests_);
  }

  Digests digests_;
};

INSTANTIATE_TEST_SUITE_P(Backends, FlippedBytes, testing::Values(Kind::kStore, Kind::kFile),
                         [](const auto& test) {
                           return test.param == Kind::kStore ? "Store" : "File";
                         });

TEST_P(FlippedBytes, AreRaisedLeftOutOrToldByTheDigests) {
  const std::string bytes = ReadFile(Path());
  Answers right;
  right.digests = digests_;
  ASSERT_EQ(AskWith(bytes), right);
  int flips = 0;
  int refused = 0;
  int leftOut = 0;
  int other = 0;
  for (std::size_t place = 0; place < bytes.size(); ++place) {
    for (const int pattern : {0x01, 0x80}) {
      std::string damaged = bytes;
      damaged[place] = static_cast<char>(damaged[place] ^ pattern);
      const Answers answers = AskWith(damaged);
      SCOPED_TRACE("byte " + std::to_string(place) + " ^ " + std::to_string(pattern));
      ++flips;
      refused += answers.raised > 0 ? 1 : 0;
      if (answers.raised == 0 && answers != right) ++(HasNoOtherAnswer(answers) ? leftOut : other);
      if (GetParam() == Kind::kStore) {
        ASSERT_TRUE(HasNoOtherAnswer(answers));
      }
      if (answers.raised == 0 && answers != right) {
        ASSERT_NE(answers.digests, digests_) << "an answer changed, and no digest tells";
      }
    }
  }
  std::printf(
      "%zu bytes, %d flips: %d raised, %d left something out, %d gave another answer and "
      "digest, %d without effect\n",
      bytes.size(), flips, refused, leftOut, other, flips - refused - leftOut - other);
  EXPECT_EQ(AskWith(bytes), right);
}

}  // namespace
}  // namespace ConfigFileTest
