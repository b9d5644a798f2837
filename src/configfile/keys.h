// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The catalogue's layout in the host configuration file.
//
//   /Quor/Policy-Info      branch
//     policy               array, one instance per policy: name, description, policy-id,
//                          generation-number
//       blobs              array, one instance per blob: datastore-namespace, blob (Base64)
//   /Quor/Datastore-Info   branch
//     Datastore            array, one instance per datastore: url, datastore-namespace,
//                          default-policy-id
//
// Instances have no key: lookups scan them in the order of their addition.
#ifndef SRC_CONFIGFILE_KEYS_H_
#define SRC_CONFIGFILE_KEYS_H_

namespace TavQuor::ConfigFileBackend {

inline const char* const kPolicyBranch = "/Quor/Policy-Info";
inline const char* const kPolicyArray = "policy";
inline const char* const kDatastoreBranch = "/Quor/Datastore-Info";
inline const char* const kDatastoreArray = "Datastore";
inline const char* const kBlobArray = "blobs";

inline const char* const kName = "name";
inline const char* const kDescription = "description";
inline const char* const kPolicyId = "policy-id";
inline const char* const kGenerationNumber = "generation-number";
inline const char* const kBlob = "blob";
inline const char* const kDatastoreNamespace = "datastore-namespace";
inline const char* const kUrl = "url";
inline const char* const kDefaultPolicyId = "default-policy-id";

// Part of the layout, but used by no operation here.
inline const char* const kRilk = "RILK";
inline const char* const kAll = "ALL";

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_KEYS_H_
