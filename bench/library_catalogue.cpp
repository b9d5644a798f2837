// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "library_catalogue.h"

#include "platform/admin.h"

namespace Bench {

using TavQuor::QuorLib;

// A directory that is named again would forget what was read of it.
void LibraryCatalogue::Use() {
  if (HostPlatform::HostDirectory() != host_) HostPlatform::UseHostDirectory(host_);
  HostPlatform::OverrideFeature(kStoreSwitch, inStore_);
}

// Any number of threads may call the library, and all in the same way.
std::unique_ptr<Catalogue> LibraryCatalogue::ForThread() {
  return std::make_unique<LibraryCatalogue>(host_, inStore_);
}

void LibraryCatalogue::ReplacePolicies(const Policies& policies) {
  QuorLib::AddPolicyInfo(policies);
}

void LibraryCatalogue::ReplaceDatastores(const Datastores& datastores) {
  QuorLib::AddDatastoreInfo(datastores);
}

void LibraryCatalogue::Reset() {
  QuorLib::Reset();
}

Policies LibraryCatalogue::ListPolicies() {
  return QuorLib::ListPolicyInfo();
}

Datastores LibraryCatalogue::ListDatastores() {
  return QuorLib::ListDatastoreInfo();
}

std::string LibraryCatalogue::BlobByName(const std::string& name) {
  return QuorLib::GetRilkPolicyBlobByName(name);
}

std::string LibraryCatalogue::BlobById(const std::string& id) {
  return QuorLib::GetRilkPolicyBlobById(id);
}

std::string LibraryCatalogue::DefaultBlob(const std::string& url) {
  return QuorLib::GetDefaultPolicyBlob(url);
}

std::string LibraryCatalogue::BlobOnDatastore(const std::string& id, const std::string& url) {
  return QuorLib::GetPolicyBlobById(id, url);
}

}  // namespace Bench
