// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The public records and the class as callers compile them: order, types and shape.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "quor/quor_lib.h"

namespace {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;
using Text = std::string;

TEST(PublicHeader, PolicyFieldsKeepTheirOrderAndTypes) {
  using Blobs = std::vector<std::pair<Text, Text>>;
  EXPECT_TRUE((std::is_same_v<decltype(QuorPolicyInfo::blobs), Blobs>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorPolicyInfo::name), Text>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorPolicyInfo::policyId), Text>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorPolicyInfo::description), Text>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorPolicyInfo::generationNumber), std::int64_t>));

  EXPECT_EQ(offsetof(QuorPolicyInfo, blobs), 0U);
  EXPECT_EQ(offsetof(QuorPolicyInfo, name), sizeof(Blobs));
  EXPECT_EQ(offsetof(QuorPolicyInfo, policyId), sizeof(Blobs) + sizeof(Text));
  EXPECT_EQ(offsetof(QuorPolicyInfo, description), sizeof(Blobs) + 2 * sizeof(Text));
  // The number stands at its alignment, which is 4 or 8 where pointers have 32 bits.
  constexpr std::size_t kAlignment = alignof(std::int64_t);
  constexpr std::size_t kNumber =
      (sizeof(Blobs) + 3 * sizeof(Text) + kAlignment - 1) / kAlignment * kAlignment;
  EXPECT_EQ(offsetof(QuorPolicyInfo, generationNumber), kNumber);
  EXPECT_EQ(sizeof(QuorPolicyInfo), kNumber + sizeof(std::int64_t));
}

TEST(PublicHeader, DatastoreFieldsKeepTheirOrderAndTypes) {
  EXPECT_TRUE((std::is_same_v<decltype(QuorDatastoreInfo::url), Text>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorDatastoreInfo::datastoreNamespace), Text>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorDatastoreInfo::defaultPolicyId), Text>));

  EXPECT_EQ(offsetof(QuorDatastoreInfo, url), 0U);
  EXPECT_EQ(offsetof(QuorDatastoreInfo, datastoreNamespace), sizeof(Text));
  EXPECT_EQ(offsetof(QuorDatastoreInfo, defaultPolicyId), 2 * sizeof(Text));
  EXPECT_EQ(sizeof(QuorDatastoreInfo), 3 * sizeof(Text));
}

TEST(PublicHeader, RecordsAreCopiedAndMovedMemberWise) {
  EXPECT_TRUE(std::is_copy_constructible_v<QuorPolicyInfo>);
  EXPECT_TRUE(std::is_copy_assignable_v<QuorPolicyInfo>);
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<QuorPolicyInfo>);
  EXPECT_TRUE(std::is_copy_constructible_v<QuorDatastoreInfo>);
  EXPECT_TRUE(std::is_copy_assignable_v<QuorDatastoreInfo>);
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<QuorDatastoreInfo>);
  EXPECT_FALSE(std::is_polymorphic_v<QuorPolicyInfo>);
  EXPECT_FALSE(std::is_polymorphic_v<QuorDatastoreInfo>);
}

TEST(PublicHeader, LibraryClassHasNoInstancesNoMembersAndNoVirtualFunctions) {
  EXPECT_FALSE(std::is_default_constructible_v<QuorLib>);
  EXPECT_TRUE(std::is_empty_v<QuorLib>);
  EXPECT_FALSE(std::is_polymorphic_v<QuorLib>);
}

TEST(PublicHeader, EntryPointsKeepTheirArgumentsAndResults) {
  using Policies = std::vector<QuorPolicyInfo>;
  using Datastores = std::vector<QuorDatastoreInfo>;
  using Procedure = void();
  using TextLookup = Text(const Text&);
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::Init), Procedure>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::Reset), Procedure>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::AddPolicyInfo), void(const Policies&)>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::AddDatastoreInfo), void(const Datastores&)>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::ListDatastoreInfo), Datastores()>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::ListPolicyInfo), Policies()>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::GetRilkPolicyBlobById), TextLookup>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::GetRilkPolicyBlobByName), TextLookup>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::GetDefaultPolicyBlob), TextLookup>));
  EXPECT_TRUE(
      (std::is_same_v<decltype(QuorLib::GetPolicyBlobById), Text(const Text&, const Text&)>));
  EXPECT_TRUE((std::is_same_v<decltype(QuorLib::GetDbHash), std::pair<Text, Text>()>));
}

}  // namespace
