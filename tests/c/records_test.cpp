// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What goes in comes out, byte by byte, and what is not there is empty.
#include <cerrno>

#include "support.h"

namespace CTest {
namespace {

using namespace std::string_literals;

class Records : public InBothStores {};
INSTANTIATE_TEST_SUITE_P(, Records, testing::Bool(), NameOfStore);

TEST_P(Records, EveryLookupFindsItsBlob) {
  for (const std::string& stored :
       {"b"s, "fifteen bytes!!"s, "sixteen bytes!!!"s, std::string(5000, '\xff') + '\0' + "end"}) {
    PutCatalogue(stored);
    quor_bytes blob;
    ASSERT_EQ(quor_rilk_blob_by_id("gold-01", 7, &blob, nullptr), QUOR_OK);
    EXPECT_EQ(blob.data[blob.length], '\0');
    EXPECT_EQ(Take(&blob), stored);
    ASSERT_EQ(quor_rilk_blob_by_name("Gold", QUOR_TERMINATED, &blob, nullptr), QUOR_OK);
    EXPECT_EQ(Take(&blob), stored);
    ASSERT_EQ(quor_default_blob("ds:///shares/mail/", QUOR_TERMINATED, &blob, nullptr), QUOR_OK);
    EXPECT_EQ(Take(&blob), stored);
    ASSERT_EQ(quor_blob_by_id("gold-01", 7, "ds:///shares/mail/", 18, &blob, nullptr), QUOR_OK);
    EXPECT_EQ(Take(&blob), stored);
  }
}

TEST_P(Records, ACopyOfTheStructCanBeFreedInItsPlace) {
  for (const std::string& stored : {"short"s, std::string(100, 'l')}) {
    PutCatalogue(stored);
    quor_bytes copy;
    {
      quor_bytes blob;
      ASSERT_EQ(quor_rilk_blob_by_id("gold-01", 7, &blob, nullptr), QUOR_OK);
      copy = blob;
      blob.data = "overwritten";
    }
    EXPECT_EQ(Take(&copy), stored);
  }
}

TEST_P(Records, FreedBytesAreEmptyAndMayBeFreedAgain) {
  for (const std::string& stored : {"short"s, std::string(100, 'l')}) {
    PutCatalogue(stored);
    quor_bytes blob;
    ASSERT_EQ(quor_rilk_blob_by_id("gold-01", 7, &blob, nullptr), QUOR_OK);
    for (int i = 0; i < 2; ++i) {
      quor_bytes_free(&blob);
      EXPECT_STREQ(blob.data, "");
      EXPECT_EQ(blob.length, 0U);
    }
  }
}

TEST_P(Records, NotFoundIsNoFailureAndEmpty) {
  PutCatalogue("b");
  quor_error* error;
  quor_bytes blob;
  EXPECT_EQ(quor_rilk_blob_by_id("silver", 6, &blob, &error), QUOR_OK);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(blob.length, 0U);
  EXPECT_STREQ(blob.data, "");
  quor_bytes_free(&blob);
  EXPECT_EQ(quor_default_blob(nullptr, 0, &blob, &error), QUOR_OK);
  EXPECT_EQ(blob.length, 0U);
}

TEST_P(Records, AListHasWhatWasPut) {
  PutCatalogue("a\0b"s);
  quor_policies* policies;
  ASSERT_EQ(quor_policies_list(&policies, nullptr), QUOR_OK);
  ASSERT_EQ(quor_policies_count(policies), 1U);
  const quor_policy* const gold = quor_policies_at(policies, 0);
  EXPECT_EQ(quor_policies_at(policies, 1), nullptr);
  EXPECT_EQ(TextOf(quor_policy_id(gold)), "gold-01");
  EXPECT_EQ(TextOf(quor_policy_name(gold)), "Gold");
  EXPECT_EQ(TextOf(quor_policy_description(gold)), "Three copies");
  EXPECT_EQ(quor_policy_generation(gold), -41);
  ASSERT_EQ(quor_policy_blob_count(gold), 2U);
  EXPECT_EQ(TextOf(quor_policy_blob(gold, 0)), "a\0b"s);
  EXPECT_EQ(TextOf(quor_policy_blob_namespace(gold, 1)), "VOLB");
  EXPECT_EQ(TextOf(quor_policy_blob(gold, 2)), "");
  quor_policies_free(policies);

  quor_datastores* datastores;
  ASSERT_EQ(quor_datastores_list(&datastores, nullptr), QUOR_OK);
  ASSERT_EQ(quor_datastores_count(datastores), 1U);
  const quor_datastore* const mail = quor_datastores_at(datastores, 0);
  EXPECT_EQ(quor_datastores_at(datastores, 1), nullptr);
  EXPECT_EQ(TextOf(quor_datastore_url(mail)), "ds:///shares/mail/");
  EXPECT_EQ(TextOf(quor_datastore_namespace(mail)), "RILK");
  EXPECT_EQ(TextOf(quor_datastore_default_policy(mail)), "gold-01");
  quor_datastores_free(datastores);
}

TEST_P(Records, ANullListDeletesAllOfItsKindAndResetDeletesBoth) {
  PutCatalogue("b");
  quor_digests digests;
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_EQ(quor_digests_get(&digests, nullptr), QUOR_OK);
  EXPECT_STREQ(digests.policies, "");
  EXPECT_EQ(std::string(digests.datastores).size(), 32U);
  ASSERT_EQ(quor_datastores_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_EQ(quor_digests_get(&digests, nullptr), QUOR_OK);
  EXPECT_STREQ(digests.datastores, "");
  PutCatalogue("b");
  ASSERT_EQ(quor_reset(nullptr), QUOR_OK);
  ASSERT_EQ(quor_digests_get(&digests, nullptr), QUOR_OK);
  EXPECT_STREQ(digests.policies, "");
  EXPECT_STREQ(digests.datastores, "");
}

TEST_P(Records, ErrnoIsLeftAsItWas) {
  PutCatalogue("b");
  errno = 4711;
  quor_bytes blob;
  quor_rilk_blob_by_id("gold-01", 7, &blob, nullptr);
  quor_bytes_free(&blob);
  quor_digests digests;
  quor_digests_get(&digests, nullptr);
  EXPECT_EQ(errno, 4711);
}

}  // namespace
}  // namespace CTest
