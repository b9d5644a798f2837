// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One way to keep a catalogue: the library over one of its stores, or what a user would pick
// instead. All are asked the same questions.
#ifndef BENCH_CATALOGUE_H_
#define BENCH_CATALOGUE_H_

#include <memory>
#include <string>

#include "workload.h"

namespace Bench {

class Catalogue {
 public:
  Catalogue() = default;
  Catalogue(const Catalogue&) = delete;
  Catalogue& operator=(const Catalogue&) = delete;
  virtual ~Catalogue() = default;

  // To be called before a row of calls: two catalogues may share what a process has once.
  virtual void Use() {}
  // The same records, for another thread; this catalogue outlives it.
  virtual std::unique_ptr<Catalogue> ForThread() = 0;

  // Durable, and for another process to be seen as a whole or not at all.
  virtual void ReplacePolicies(const Policies& policies) = 0;
  virtual void ReplaceDatastores(const Datastores& datastores) = 0;
  virtual void Reset() = 0;

  // Records come in the order in which they were written.
  virtual Policies ListPolicies() = 0;
  virtual Datastores ListDatastores() = 0;

  // For the namespace "RILK". An empty string when there is no such blob.
  virtual std::string BlobByName(const std::string& name) = 0;
  virtual std::string BlobById(const std::string& id) = 0;
  // For the namespace of the datastore.
  virtual std::string DefaultBlob(const std::string& url) = 0;
  virtual std::string BlobOnDatastore(const std::string& id, const std::string& url) = 0;
};

inline constexpr char kLookupNamespace[] = "RILK";

}  // namespace Bench

#endif  // BENCH_CATALOGUE_H_
