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

#include "api/lasting_string.h"

namespace TavQuor::ConfigFileBackend {

inline const LastingString kPolicyBranch("/Quor/Policy-Info");
inline const LastingString kPolicyArray("policy");
inline const LastingString kDatastoreBranch("/Quor/Datastore-Info");
inline const LastingString kDatastoreArray("Datastore");
inline const LastingString kBlobArray("blobs");

inline const LastingString kName("name");
inline const LastingString kDescription("description");
inline const LastingString kPolicyId("policy-id");
inline const LastingString kGenerationNumber("generation-number");
inline const LastingString kBlob("blob");
inline const LastingString kDatastoreNamespace("datastore-namespace");
inline const LastingString kUrl("url");
inline const LastingString kDefaultPolicyId("default-policy-id");

// Part of the layout, but used by no operation here.
inline const LastingString kRilk("RILK");
inline const LastingString kAll("ALL");

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_KEYS_H_
