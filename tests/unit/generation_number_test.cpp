// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The generation number that a listing carries on: a stored policy without one takes the number
// that was last read before it in the same listing.
#include <limits>

#include "support/fixture.h"
#include "support/reference_digest.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class GenerationNumber : public RecordingTest {
 protected:
  // Adds a policy that is stored with the number, or without any.
  static void StorePolicy(const std::string& name) {
    ThePlatform().stored.push_back(Stored(Policy(name, "id-" + name, "", 0, {{"B", "vol"}})));
    ThePlatform().stored.back().values.erase("generation_number");
  }
  static void StorePolicy(const std::string& name, long long number) {
    StorePolicy(name);
    ThePlatform().stored.back().values["generation_number"] = number;
  }

  static std::vector<std::int64_t> ListedNumbers() {
    std::vector<std::int64_t> numbers;
    for (const auto& policy : QuorLib::ListPolicyInfo())
      numbers.push_back(policy.generationNumber);
    return numbers;
  }
};

using Numbers = std::vector<std::int64_t>;

TEST_F(GenerationNumber, FirstPolicyWithoutOneListsZero) {
  StorePolicy("a");
  StorePolicy("b", 5);
  EXPECT_EQ(ListedNumbers(), (Numbers{0, 5}));
}

TEST_F(GenerationNumber, PolicyWithoutOneTakesThatOfThePolicyListedBeforeIt) {
  StorePolicy("a", 5);
  StorePolicy("b");
  StorePolicy("c", -8);
  StorePolicy("d");
  StorePolicy("e");
  EXPECT_EQ(ListedNumbers(), (Numbers{5, 5, -8, -8, -8}));
}

TEST_F(GenerationNumber, StoredZeroIsANumberAndReplacesTheCarriedOne) {
  StorePolicy("a", 5);
  StorePolicy("b", 0);
  StorePolicy("c");
  EXPECT_EQ(ListedNumbers(), (Numbers{5, 0, 0}));
}

TEST_F(GenerationNumber, NothingIsCarriedFromOneListingToTheNext) {
  StorePolicy("a");
  StorePolicy("b", 5);
  EXPECT_EQ(ListedNumbers(), (Numbers{0, 5}));
  EXPECT_EQ(ListedNumbers(), (Numbers{0, 5}));
}

TEST_F(GenerationNumber, ExtremesAreCarriedWhole) {
  using Limits = std::numeric_limits<long long>;
  StorePolicy("a", Limits::min());
  StorePolicy("b");
  StorePolicy("c", Limits::max());
  StorePolicy("d");
  EXPECT_EQ(ListedNumbers(), (Numbers{Limits::min(), Limits::min(), Limits::max(), Limits::max()}));
}

TEST_F(GenerationNumber, NumberOfTheWrongTypeLeavesThePolicyOutAndCarriesTheOneBefore) {
  StorePolicy("a", 5);
  StorePolicy("b");
  ThePlatform().stored.back().values["generation_number"] = std::string("9");
  StorePolicy("c");
  EXPECT_EQ(ListedNumbers(), (Numbers{5, 5}));
}

// What a policy after one that is left out carries depends on how far the reading of that one got:
// a number that was read stays, one that was not read does not.
TEST_F(GenerationNumber, PolicyLeftOutHandsItsNumberOnOnceThatWasRead) {
  StorePolicy("a", 5);
  StorePolicy("b", 9);
  StorePolicy("c");
  ASSERT_EQ(ListedNumbers(), (Numbers{5, 9, 9}));
  const Lines undisturbed = ThePlatform().log;
  const std::string first = R"(GetValue quor_policies/storage/tav["b"] name: text)";
  const std::string number =
      R"(GetValue quor_policies/storage/tav["b"] generation_number: integer)";
  const std::string last =
      R"(GetValue quor_policies/storage/tav["b"].blobs["vol"] datastore_namespace: text)";

  int before = 0;
  int after = 0;
  bool inPolicy = false;
  bool numberWasRead = false;
  for (std::size_t i = 0; i < undisturbed.size(); ++i) {
    inPolicy = inPolicy || undisturbed[i] == first;
    if (inPolicy) {
      ThePlatform().storeCalls = 0;
      ThePlatform().duringStoreCall = [i](int call, const std::string&) {
        if (call == static_cast<int>(i) + 1) Raise(Failure::kStoreException);
      };
      EXPECT_EQ(ListedNumbers(), (Numbers{5, numberWasRead ? 9 : 5})) << undisturbed[i];
      ++(numberWasRead ? after : before);
    }
    numberWasRead = numberWasRead || undisturbed[i] == number;
    if (undisturbed[i] == last) break;
  }
  EXPECT_EQ(before, 4);  // name, identifier, description, and the number itself
  EXPECT_EQ(after, 4);   // filter, enumeration of the blobs, blob, its namespace
}

TEST_F(GenerationNumber, FirstPolicyLeftOutBeforeItsNumberWasReadHandsOnZero) {
  StorePolicy("a", 5);
  StorePolicy("b");
  FailCallsOf(R"(GetValue quor_policies/storage/tav["a"] description)", Failure::kStoreException);
  EXPECT_EQ(ListedNumbers(), Numbers{0});
  FailCallsOf(R"(GetSubObjectInstances quor_policies/storage/tav["a"])", Failure::kStoreException);
  EXPECT_EQ(ListedNumbers(), Numbers{5});
}

TEST_F(GenerationNumber, CarriedNumberEntersTheDigest) {
  StorePolicy("a", 5);
  StorePolicy("b");
  EXPECT_EQ(QuorLib::GetDbHash().first,
            ReferencePolicyDigest({Policy("a", "id-a", "", 5, {{"B", "vol"}}),
                                   Policy("b", "id-b", "", 5, {{"B", "vol"}})}));
}

}  // namespace
}  // namespace QuorTest
