// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The library, over the one or the other of a host's stores.
#ifndef BENCH_LIBRARY_CATALOGUE_H_
#define BENCH_LIBRARY_CATALOGUE_H_

#include <memory>
#include <string>

#include "catalogue.h"

namespace Bench {

// The feature switch that chooses the configuration store; clear, it chooses the configuration
// file.
inline constexpr int kStoreSwitch = 62;

// The host directory and the switch belong to the process: Use() sets them.
class LibraryCatalogue : public Catalogue {
 public:
  LibraryCatalogue(const std::string& host, bool inStore) : host_(host), inStore_(inStore) {}

  void Use() override;
  std::unique_ptr<Catalogue> ForThread() override;
  void ReplacePolicies(const Policies& policies) override;
  void ReplaceDatastores(const Datastores& datastores) override;
  void Reset() override;
  Policies ListPolicies() override;
  Datastores ListDatastores() override;
  std::string BlobByName(const std::string& name) override;
  std::string BlobById(const std::string& id) override;
  std::string DefaultBlob(const std::string& url) override;
  std::string BlobOnDatastore(const std::string& id, const std::string& url) override;

 private:
  std::string host_;
  bool inStore_;
};

}  // namespace Bench

#endif  // BENCH_LIBRARY_CATALOGUE_H_
