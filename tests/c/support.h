// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A host directory of a test's own, and calls of libquorc in a line.
#ifndef TESTS_C_SUPPORT_H_
#define TESTS_C_SUPPORT_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/admin.h"
#include "quor/quor.h"
#include "support/temporary_directory.h"

namespace CTest {

inline constexpr int kStoreSwitch = 62;

class CInterface : public testing::Test {
 protected:
  CInterface() {
    HostPlatform::UseHostDirectory(PathOf(""));
    HostPlatform::UseLockTimeout(20'000);
  }
  ~CInterface() override { HostPlatform::UseHostDirectory(temporary_.path()); }

  static void UseStore(bool configStore) {
    HostPlatform::OverrideFeature(kStoreSwitch, configStore);
  }
  std::string PathOf(const std::string& name) const {
    return temporary_.PathOf(name.empty() ? "host" : "host/" + name);
  }

  PlatformTest::TemporaryDirectory temporary_;
};

// In both stores: the parameter tells whether it is the configuration store.
class InBothStores : public CInterface, public testing::WithParamInterface<bool> {
 protected:
  InBothStores() { UseStore(GetParam()); }
};

inline std::string NameOfStore(const testing::TestParamInfo<bool>& store) {
  return store.param ? "Store" : "File";
}

inline std::string TextOf(quor_view view) {
  return std::string(view.data, view.length);
}

// The bytes, freed.
inline std::string Take(quor_bytes* bytes) {
  std::string text(bytes->data, bytes->length);
  quor_bytes_free(bytes);
  return text;
}

// An error's parts, freed.
struct Failure {
  quor_status kind;
  std::string message;
  std::string file;

  explicit Failure(quor_error* error)
      : kind(quor_error_kind(error)),
        message(quor_error_message(error)),
        file(quor_error_file(error)) {
    quor_error_free(error);
  }
};

// One policy "Gold" with a blob for RILK and one for VOLB, and a datastore that has it by default.
inline void PutCatalogue(std::string_view blob) {
  quor_policies* const policies = quor_policies_new();
  quor_policy* const gold = quor_policies_add(policies);
  quor_policy_set_id(gold, "gold-01", QUOR_TERMINATED);
  quor_policy_set_name(gold, "Gold", QUOR_TERMINATED);
  quor_policy_set_description(gold, "Three copies", QUOR_TERMINATED);
  quor_policy_set_generation(gold, -41);
  quor_policy_add_blob(gold, "RILK", 4, blob.data(), blob.size());
  quor_policy_add_blob(gold, "VOLB", 4, "v", 1);
  quor_error* error;
  EXPECT_EQ(quor_policies_replace(policies, &error), QUOR_OK) << Failure(error).message;
  quor_policies_free(policies);
  quor_datastores* const datastores = quor_datastores_new();
  quor_datastore* const mail = quor_datastores_add(datastores);
  quor_datastore_set_url(mail, "ds:///shares/mail/", QUOR_TERMINATED);
  quor_datastore_set_namespace(mail, "RILK", QUOR_TERMINATED);
  quor_datastore_set_default_policy(mail, "gold-01", QUOR_TERMINATED);
  EXPECT_EQ(quor_datastores_replace(datastores, &error), QUOR_OK) << Failure(error).message;
  quor_datastores_free(datastores);
}

}  // namespace CTest

#endif  // TESTS_C_SUPPORT_H_
