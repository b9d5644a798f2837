// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Where the two host stores keep the catalogue. For code that reads below the library, which
// silently leaves records that it cannot read out of its answers.
#ifndef TOOLS_QUORCTL_STORED_LAYOUT_H_
#define TOOLS_QUORCTL_STORED_LAYOUT_H_

namespace Quorctl::StoredLayout {

// The configuration store: kinds of objects, and the values of each.
inline constexpr char kComponent[] = "tav";
inline constexpr char kGroup[] = "storage";
inline constexpr char kPolicies[] = "quor_policies";
inline constexpr char kDatastores[] = "quor_datastores";
inline constexpr char kBlobs[] = "blobs";
inline constexpr const char* kPolicyTexts[] = {"name", "policy_id", "description"};
inline constexpr char kPolicyNumber[] = "generation_number";
inline constexpr const char* kDatastoreTexts[] = {"url", "datastore_namespace", "drp_policy_id"};
inline constexpr const char* kBlobTexts[] = {"blob", "datastore_namespace"};

// The configuration file: branches, arrays in them, and the values of each instance.
inline constexpr char kPolicyBranch[] = "/Quor/Policy-Info";
inline constexpr char kPolicyArray[] = "policy";
inline constexpr char kDatastoreBranch[] = "/Quor/Datastore-Info";
inline constexpr char kDatastoreArray[] = "Datastore";
inline constexpr char kBlobArray[] = "blobs";
inline constexpr const char* kFilePolicyTexts[] = {"name", "policy-id", "description"};
inline constexpr char kFilePolicyNumber[] = "generation-number";
inline constexpr const char* kFileDatastoreTexts[] = {"url", "datastore-namespace",
                                                      "default-policy-id"};
inline constexpr char kFileBlobNamespace[] = "datastore-namespace";
inline constexpr char kFileBlob[] = "blob";

}  // namespace Quorctl::StoredLayout

#endif  // TOOLS_QUORCTL_STORED_LAYOUT_H_
