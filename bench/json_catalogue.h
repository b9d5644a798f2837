// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A peer: the same catalogue in one JSON file, read and parsed again for each call. A replacement
// writes a new file, flushes it, renames it over the old one and flushes the directory.
#ifndef BENCH_JSON_CATALOGUE_H_
#define BENCH_JSON_CATALOGUE_H_

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "catalogue.h"

namespace Bench {

class JsonCatalogue : public Catalogue {
 public:
  // The directory is made when it is not there.
  explicit JsonCatalogue(const std::string& directory);

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
  nlohmann::json Read() const;
  void Write(const nlohmann::json& document) const;

  std::string directory_;
};

}  // namespace Bench

#endif  // BENCH_JSON_CATALOGUE_H_
