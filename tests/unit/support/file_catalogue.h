// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the configuration file holds for records.
#ifndef TESTS_UNIT_SUPPORT_FILE_CATALOGUE_H_
#define TESTS_UNIT_SUPPORT_FILE_CATALOGUE_H_

#include <string>

#include "recording/file_tree.h"
#include "support/catalogue.h"

namespace QuorTest {

inline const std::string kPolicyBranch = "/Quor/Policy-Info";
inline const std::string kDatastoreBranch = "/Quor/Datastore-Info";

// Base64 computed a second time, bit by bit.
std::string ReferenceBase64(const std::string& bytes);

// The tree for the records. Nothing is left out and nothing is merged.
Recording::FileTree InFile(const Policies& policies, const Datastores& datastores);

// One instance of a file's policies or datastores, or of a policy's blobs.
Recording::FileBranch& PolicyAt(Recording::FileTree& file, std::size_t index);
Recording::FileBranch& DatastoreAt(Recording::FileTree& file, std::size_t index);
Recording::FileBranch& BlobAt(Recording::FileBranch& policy, std::size_t index);

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_FILE_CATALOGUE_H_
