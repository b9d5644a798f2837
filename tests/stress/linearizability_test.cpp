// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which histories have an explanation and which have none.
#include "linearizability.h"

#include <gtest/gtest.h>

#include "catalogue_sets.h"
#include "history.h"

namespace StressTest {
namespace {

constexpr StoredSets kInitial = {1, 1};

Operation Made(Call call, Stamp start, Stamp end) {
  Operation operation;
  operation.call = call;
  operation.ending = end == kNever ? Ending::kNever : Ending::kReturned;
  operation.start = start;
  operation.end = end;
  return operation;
}

Operation Replacement(int set, Stamp start, Stamp end) {
  Operation operation = Made(Call::kReplacePolicies, start, end);
  operation.set = set;
  return operation;
}

Operation DatastoreReplacement(int set, Stamp start, Stamp end) {
  Operation operation = Replacement(set, start, end);
  operation.call = Call::kReplaceDatastores;
  return operation;
}

Operation Listing(int answer, Stamp start, Stamp end) {
  Operation operation = Made(Call::kListPolicies, start, end);
  operation.answer = answer;
  return operation;
}

Operation DatastoreListing(int answer, Stamp start, Stamp end) {
  Operation operation = Listing(answer, start, end);
  operation.call = Call::kListDatastores;
  return operation;
}

Operation DigestPair(int policies, int datastores, Stamp start, Stamp end) {
  Operation operation = Made(Call::kDigests, start, end);
  operation.answer = policies;
  operation.secondAnswer = datastores;
  return operation;
}

Operation DefaultBlob(int blob, Stamp start, Stamp end) {
  Operation operation = Made(Call::kDefaultBlob, start, end);
  operation.answer = blob;
  return operation;
}

Operation ButBusy(Operation operation) {
  operation.ending = Ending::kBusy;
  return operation;
}

bool IsExplainedBothWays(const History& history) {
  const bool atOnce = IsExplained(history, kInitial, Resets::kAtOnce);
  EXPECT_EQ(atOnce, IsExplained(history, kInitial, Resets::kInTwoSteps));
  return atOnce;
}

TEST(Linearizability, OfNothingIsGiven) {
  EXPECT_TRUE(IsExplainedBothWays({}));
}

TEST(Linearizability, ListingShowsWhatWasThereBefore) {
  EXPECT_TRUE(IsExplainedBothWays({Listing(1, 1, 2)}));
  EXPECT_FALSE(IsExplainedBothWays({Listing(2, 1, 2)}));
}

TEST(Linearizability, StaleAnswerIsRefused) {
  EXPECT_TRUE(IsExplainedBothWays({Replacement(2, 1, 2), Listing(2, 3, 4)}));
  EXPECT_FALSE(IsExplainedBothWays({Replacement(2, 1, 2), Listing(1, 3, 4)}));
}

TEST(Linearizability, AnswerDuringAReplacementIsOldOrNew) {
  EXPECT_TRUE(IsExplainedBothWays({Replacement(2, 1, 4), Listing(1, 2, 3)}));
  EXPECT_TRUE(IsExplainedBothWays({Replacement(2, 1, 4), Listing(2, 2, 3)}));
  EXPECT_FALSE(IsExplainedBothWays({Replacement(2, 1, 4), Listing(0, 2, 3)}));
}

TEST(Linearizability, OldAnswerAfterANewOneIsRefused) {
  EXPECT_TRUE(IsExplainedBothWays({Replacement(2, 1, 6), Listing(1, 2, 3), Listing(2, 4, 5)}));
  EXPECT_FALSE(IsExplainedBothWays({Replacement(2, 1, 6), Listing(2, 2, 3), Listing(1, 4, 5)}));
}

TEST(Linearizability, ReadersThatDisagreeOnTheOrderOfReplacementsAreRefused) {
  const History writers = {Replacement(2, 1, 10), Replacement(3, 2, 11)};
  History agreeing = writers;
  agreeing.insert(agreeing.end(), {Listing(2, 3, 4), Listing(3, 5, 6), Listing(3, 7, 8)});
  EXPECT_TRUE(IsExplainedBothWays(agreeing));
  History disagreeing = writers;
  disagreeing.insert(disagreeing.end(), {Listing(2, 3, 4), Listing(3, 5, 6), Listing(2, 7, 8)});
  EXPECT_FALSE(IsExplainedBothWays(disagreeing));
}

TEST(Linearizability, LostReplacementIsRefused) {
  EXPECT_FALSE(IsExplainedBothWays(
      {Replacement(2, 1, 2), DatastoreReplacement(3, 3, 4), DigestPair(1, 3, 5, 6)}));
}

TEST(Linearizability, ReplacementThatWasBusyHasNoEffect) {
  EXPECT_TRUE(IsExplainedBothWays({ButBusy(Replacement(2, 1, 2)), Listing(1, 3, 4)}));
  EXPECT_FALSE(IsExplainedBothWays({ButBusy(Replacement(2, 1, 2)), Listing(2, 3, 4)}));
}

TEST(Linearizability, ReplacementWithoutEndMayTakeEffectAtAnyTimeOrNever) {
  const Operation killed = Replacement(2, 1, kNever);
  EXPECT_TRUE(IsExplainedBothWays({killed, Listing(1, 3, 4)}));
  EXPECT_TRUE(IsExplainedBothWays({killed, Listing(2, 3, 4)}));
  EXPECT_TRUE(IsExplainedBothWays({killed, Listing(1, 3, 4), Listing(2, 5, 6)}));
  EXPECT_FALSE(IsExplainedBothWays({killed, Listing(2, 3, 4), Listing(1, 5, 6)}));
}

TEST(Linearizability, ReplacementHasNoEffectBeforeItBegins) {
  EXPECT_FALSE(IsExplainedBothWays({Listing(2, 1, 2), Replacement(2, 3, kNever)}));
}

TEST(Linearizability, ResetEmptiesBothSetsAtOnceOrThePoliciesFirst) {
  const Operation reset = Made(Call::kReset, 1, 10);
  const History policiesFirst = {reset, Listing(0, 2, 3), DatastoreListing(1, 4, 5)};
  EXPECT_FALSE(IsExplained(policiesFirst, kInitial, Resets::kAtOnce));
  EXPECT_TRUE(IsExplained(policiesFirst, kInitial, Resets::kInTwoSteps));
  EXPECT_FALSE(IsExplainedBothWays({reset, DatastoreListing(0, 2, 3), Listing(1, 4, 5)}));
  EXPECT_TRUE(IsExplainedBothWays({reset, DigestPair(0, 0, 11, 12)}));
  EXPECT_FALSE(IsExplainedBothWays({reset, DigestPair(0, 1, 11, 12)}));
}

TEST(Linearizability, ResetThatWasBusyMayHaveEmptiedThePoliciesInTwoStepsOnly) {
  const Operation reset = ButBusy(Made(Call::kReset, 1, 2));
  EXPECT_TRUE(IsExplainedBothWays({reset, DigestPair(1, 1, 3, 4)}));
  EXPECT_FALSE(IsExplainedBothWays({reset, DigestPair(0, 0, 3, 4)}));
  EXPECT_FALSE(IsExplained({reset, DigestPair(0, 1, 3, 4)}, kInitial, Resets::kAtOnce));
  EXPECT_TRUE(IsExplained({reset, DigestPair(0, 1, 3, 4)}, kInitial, Resets::kInTwoSteps));
}

TEST(Linearizability, ResetWithoutEndMayHaveStoppedBetweenItsSteps) {
  const History between = {Made(Call::kReset, 1, kNever), DigestPair(0, 1, 3, 4),
                           DigestPair(0, 1, 5, 6)};
  EXPECT_FALSE(IsExplained(between, kInitial, Resets::kAtOnce));
  EXPECT_TRUE(IsExplained(between, kInitial, Resets::kInTwoSteps));
}

TEST(Linearizability, DigestsAreReadPoliciesFirst) {
  const History writers = {Replacement(2, 2, 3), DatastoreReplacement(2, 4, 5)};
  History newerDatastores = writers;
  newerDatastores.push_back(DigestPair(1, 2, 1, 6));
  EXPECT_TRUE(IsExplainedBothWays(newerDatastores));
  History newerPolicies = {DatastoreReplacement(2, 2, 3), Replacement(2, 4, 5),
                           DigestPair(2, 1, 1, 6)};
  EXPECT_FALSE(IsExplainedBothWays(newerPolicies));
}

// The datastore's default and its namespace of one set of datastores, the blob of a newer set of
// policies, and the other way round.
TEST(Linearizability, DefaultBlobIsLookedUpStepByStepButNeverBackInTime) {
  const int newer = BlobIn(2, DefaultPolicyIn(1, 0), NamespaceIn(1, 0));
  ASSERT_NE(newer, 0);
  const Operation replacement = Replacement(2, 2, 3);
  EXPECT_TRUE(IsExplainedBothWays({replacement, DefaultBlob(newer, 1, 4)}));
  EXPECT_FALSE(IsExplainedBothWays({Replacement(2, 5, 6), DefaultBlob(newer, 1, 4)}));
  const int older = BlobIn(1, DefaultPolicyIn(2, 0), NamespaceIn(2, 0));
  ASSERT_NE(older, 0);
  ASSERT_NE(older, BlobIn(1, DefaultPolicyIn(1, 0), NamespaceIn(1, 0)));
  EXPECT_TRUE(IsExplainedBothWays({DatastoreReplacement(2, 2, 3), DefaultBlob(older, 1, 4)}));
  // The policies that the older blob is of were gone before these datastores came.
  EXPECT_FALSE(IsExplainedBothWays(
      {Replacement(2, 2, 3), DatastoreReplacement(2, 4, 5), DefaultBlob(older, 1, 6)}));
}

}  // namespace
}  // namespace StressTest
