// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "live_catalogue.h"

#include "catalogue/canonical_order.h"
#include "catalogue/digests.h"
#include "catalogue/document_writer.h"
#include "exit_status.h"
#include "stored_records.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

constexpr int kReadings = 10;  // more than a few changes in that time mean that they do not end

LiveCatalogue ReadOnce(bool complete) {
  LiveCatalogue live;
  live.stamp = StoreStamp::Take();
  const StoredRecords stored;
  Catalogue& catalogue = live.catalogue;
  catalogue.policies = QuorLib::ListPolicyInfo();
  catalogue.datastores = QuorLib::ListDatastoreInfo();
  if (complete) {
    stored.ExpectPolicies(catalogue.policies.size());
    stored.ExpectDatastores(catalogue.datastores.size());
  }
  live.lostPolicies = stored.LostPolicies(catalogue.policies.size());
  live.lostDatastores = stored.LostDatastores(catalogue.datastores.size());
  return live;
}

}  // namespace

// The two listings are two calls: a change between them would give a catalogue that never was.
LiveCatalogue ReadLiveCatalogue(bool complete) {
  for (int attempt = 0; attempt < kReadings; ++attempt) {
    LiveCatalogue live = ReadOnce(complete);
    if (live.stamp.IsCurrent()) return live;
  }
  throw CommandError(ExitStatus::kStore,
                     "other processes keep changing the catalogue while it is read; try again");
}

Catalogue LiveDocument() {
  Catalogue catalogue = ReadLiveCatalogue().catalogue;
  catalogue.basis = Joined(DigestsOf(catalogue));
  PutInCanonicalOrder(&catalogue);
  return catalogue;
}

}  // namespace Quorctl
