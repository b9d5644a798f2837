// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Each allocation of a call fails in turn: the call says so, and the process goes on.
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>

#include "changes_support.h"

namespace {

long allocationsLeft = -1;  // -1: as many as one likes

void* Allocate(std::size_t size) {
  if (allocationsLeft == 0) return nullptr;
  if (allocationsLeft > 0) --allocationsLeft;
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* const memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace CTest {
namespace {

class Memory : public InBothStores {
 protected:
  // How many of the call's allocations were made to fail before it succeeded.
  static int FailEach(const std::function<quor_status(quor_error**)>& call) {
    for (int failing = 0; failing < 100'000; ++failing) {
      quor_error* error = nullptr;
      allocationsLeft = failing;
      const quor_status status = call(&error);
      const bool met = allocationsLeft == 0;
      allocationsLeft = -1;
      if (status == QUOR_OK && !met) return failing;
      const Failure failure(error);
      if (status == QUOR_OK) continue;  // a part that does without
      EXPECT_EQ(failure.kind, status);
      // The configuration file tells a lack of memory while it decodes as a blob that it cannot.
      if (failure.message == "Unable to Decode string") continue;
      EXPECT_EQ(status, QUOR_NO_MEMORY) << failure.message;
      EXPECT_EQ(failure.message, "no memory is left in this process");
    }
    ADD_FAILURE() << "the call never succeeded";
    return 0;
  }
};
INSTANTIATE_TEST_SUITE_P(, Memory, testing::Bool(), NameOfStore);

TEST_P(Memory, LookupsSayThatThereIsNone) {
  PutCatalogue(std::string(100, 'b'));
  EXPECT_GT(FailEach([](quor_error** error) {
              quor_bytes blob;
              const quor_status status =
                  quor_default_blob("ds:///shares/mail/", QUOR_TERMINATED, &blob, error);
              EXPECT_EQ(blob.length, status == QUOR_OK ? 100U : 0U);
              quor_bytes_free(&blob);
              return status;
            }),
            1);
}

TEST_P(Memory, ShortBlobsToo) {
  PutCatalogue("b");
  EXPECT_GT(FailEach([](quor_error** error) {
              quor_bytes blob;
              const quor_status status = quor_rilk_blob_by_name("Gold", 4, &blob, error);
              quor_bytes_free(&blob);
              return status;
            }),
            1);
}

TEST_P(Memory, ListingsSayThatThereIsNone) {
  PutCatalogue(std::string(100, 'b'));
  EXPECT_GT(FailEach([](quor_error** error) {
              quor_policies* list;
              const quor_status status = quor_policies_list(&list, error);
              EXPECT_EQ(list != nullptr, status == QUOR_OK);
              quor_policies_free(list);
              return status;
            }),
            3);
}

TEST_P(Memory, ReplacementsSayThatThereIsNone) {
  PutCatalogue("b");
  quor_policies* list;
  ASSERT_EQ(quor_policies_list(&list, nullptr), QUOR_OK);
  EXPECT_GT(FailEach([&](quor_error** error) { return quor_policies_replace(list, error); }), 3);
  quor_policies_free(list);
}

class MemoryOfChanges : public CInterface {};

TEST_F(MemoryOfChanges, WhatCouldNotBeLookedAtIsToldALittleLater) {
  UseStore(true);
  PutCatalogue("b");
  const std::string other = temporary_.PathOf("other");
  int failed = 0;
  for (const int allocations : {0, 1, 4, 12, 24}) {
    const Noticed changes;
    // Both the watched directory and its file are others then.
    std::filesystem::copy(PathOf(""), other);
    std::filesystem::rename(PathOf(""), temporary_.PathOf("old"));
    std::filesystem::rename(other, PathOf(""));
    ASSERT_TRUE(changes.Waits(1000));
    allocationsLeft = allocations;
    const quor_status status = quor_changes_read(changes.get(), nullptr, nullptr);
    allocationsLeft = -1;
    std::filesystem::remove_all(temporary_.PathOf("old"));
    if (status == QUOR_OK) continue;
    ++failed;
    EXPECT_EQ(status, QUOR_NO_MEMORY);
    ASSERT_TRUE(changes.Waits(3000)) << "deaf after " << allocations << " allocations";
    constexpr unsigned kAll = QUOR_CHANGED_STORE | QUOR_CHANGED_FILE | QUOR_CHANGED_SWITCH;
    EXPECT_EQ(changes.Read() & kAll, kAll);
    ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
    ASSERT_TRUE(changes.Waits(1000));
    EXPECT_EQ(changes.Read() & QUOR_CHANGED_STORE, QUOR_CHANGED_STORE);
  }
  EXPECT_GE(failed, 3);
}

TEST(MemoryOfLists, BuildingOneSaysThatThereIsNone) {
  quor_policies* const list = quor_policies_new();
  quor_policy* const policy = quor_policies_add(list);
  const std::string name(100, 'n');
  allocationsLeft = 0;
  EXPECT_EQ(quor_policies_new(), nullptr);
  EXPECT_EQ(quor_policies_add(list), nullptr);
  EXPECT_EQ(quor_policy_set_name(policy, name.data(), name.size()), QUOR_NO_MEMORY);
  EXPECT_EQ(quor_policy_add_blob(policy, "RILK", 4, name.data(), name.size()), QUOR_NO_MEMORY);
  allocationsLeft = -1;
  EXPECT_EQ(quor_policies_count(list), 1U);
  EXPECT_EQ(quor_policy_blob_count(policy), 0U);
  quor_policies_free(list);
}

}  // namespace
}  // namespace CTest
