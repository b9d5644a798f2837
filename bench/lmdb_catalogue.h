// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A peer: the same catalogue in an LMDB environment.
//
// Set up as a careful author would: LMDB's own locks, every commit flushed, an index for each
// question, the reader's transaction kept. Records are encoded plainly, each field behind its
// length.
#ifndef BENCH_LMDB_CATALOGUE_H_
#define BENCH_LMDB_CATALOGUE_H_

#include <memory>
#include <string>

#include "catalogue.h"
#include "lmdb_environment.h"

namespace Bench {

class LmdbCatalogue : public Catalogue {
 public:
  // The directory is made when it is not there.
  explicit LmdbCatalogue(const std::string& directory);
  explicit LmdbCatalogue(std::shared_ptr<LmdbEnvironment> environment);

  std::unique_ptr<Catalogue> ForThread() override;
  void ReplacePolicies(const Policies& policies) override;
  void ReplaceDatastores(const Datastores& datastores) override;
  void Reset() override;
  Policies ListPolicies() override;
  Datastores ListDatastores() override;
  std::string BlobByName(const std::string& name) override;
  std::string BlobById(const std::string& id) override;
  // Without the index: through the policies in their order.
  std::string BlobByIdScanning(const std::string& id);
  std::string DefaultBlob(const std::string& url) override;
  std::string BlobOnDatastore(const std::string& id, const std::string& url) override;

 private:
  void ClearPolicies(LmdbTransaction* transaction);
  void ClearDatastores(LmdbTransaction* transaction);
  std::string BlobOf(std::string_view name, std::string_view blobNamespace) const;

  std::shared_ptr<LmdbEnvironment> environment_;
  LmdbTransaction reader_;
};

}  // namespace Bench

#endif  // BENCH_LMDB_CATALOGUE_H_
