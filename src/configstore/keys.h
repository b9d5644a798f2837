// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The catalogue's layout in the host configuration store.
//
//   object                                   instance       values
//   (quor_policies, storage, tav)            policy name    name, policy_id, description,
//                                                           generation_number
//     sub-object "blobs"                     namespace      blob, datastore_namespace
//   (quor_datastores, storage, tav)          URL            url, datastore_namespace, drp_policy_id
//
// The policy's name is the instance, so that a lookup by name is one fetch; a lookup by identifier
// is a search for the value. Records are read from their values, never from the instance.
#ifndef SRC_CONFIGSTORE_KEYS_H_
#define SRC_CONFIGSTORE_KEYS_H_

#include <string>

#include "tavconfigstore/object_id.h"

namespace TavQuor::ConfigStoreBackend {

inline constexpr char kComponent[] = "tav";
inline constexpr char kGroup[] = "storage";
inline constexpr char kPolicies[] = "quor_policies";
inline constexpr char kDatastores[] = "quor_datastores";
inline constexpr char kBlobs[] = "blobs";

inline constexpr char kName[] = "name";
inline constexpr char kPolicyId[] = "policy_id";
inline constexpr char kDescription[] = "description";
inline constexpr char kGenerationNumber[] = "generation_number";
inline constexpr char kBlob[] = "blob";
inline constexpr char kDatastoreNamespace[] = "datastore_namespace";
inline constexpr char kUrl[] = "url";
inline constexpr char kDefaultPolicyId[] = "drp_policy_id";

// Address of all policies, without an instance.
inline TavConfigStore::ConfigStoreObjectId PolicyObjectId() {
  return TavConfigStore::ConfigStoreObjectId(kPolicies, kGroup, kComponent);
}
// Address of one policy.
inline TavConfigStore::ConfigStoreObjectId PolicyObjectId(const std::string& instance) {
  TavConfigStore::ConfigStoreObjectId id = PolicyObjectId();
  id.instance = instance;
  return id;
}

// Address of all datastores, without an instance.
inline TavConfigStore::ConfigStoreObjectId DatastoreObjectId() {
  return TavConfigStore::ConfigStoreObjectId(kDatastores, kGroup, kComponent);
}
// Address of one datastore.
inline TavConfigStore::ConfigStoreObjectId DatastoreObjectId(const std::string& instance) {
  TavConfigStore::ConfigStoreObjectId id = DatastoreObjectId();
  id.instance = instance;
  return id;
}

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_KEYS_H_
