// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "live_catalogue.h"

#include "exit_status.h"
#include "stored_records.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

constexpr int kAttempts = 10;  // more than a few changes in that time mean that they do not end

Catalogue ReadOnce() {
  const StoredRecords stored;
  Catalogue catalogue;
  catalogue.policies = QuorLib::ListPolicyInfo();
  catalogue.datastores = QuorLib::ListDatastoreInfo();
  stored.ExpectPolicies(catalogue.policies.size());
  stored.ExpectDatastores(catalogue.datastores.size());
  return catalogue;
}

}  // namespace

// The two listings are two calls: a change between them would give a catalogue that never was.
Catalogue ReadLiveCatalogue() {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const auto before = QuorLib::GetDbHash();
    Catalogue catalogue = ReadOnce();
    if (QuorLib::GetDbHash() == before) return catalogue;
  }
  throw CommandError(ExitStatus::kStore,
                     "other processes keep changing the catalogue while it is read; try again");
}

}  // namespace Quorctl
