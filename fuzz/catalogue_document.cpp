// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Any text as catalogue document: a catalogue or a message, and what is written of a catalogue
// reads back.
#include <string>

#include "catalogue/document_reader.h"
#include "catalogue/document_rules.h"
#include "catalogue/document_writer.h"
#include "exit_status.h"
#include "expect.h"

namespace {

using Fuzz::Expect;

const char kSource[] = "catalogue.json";

bool Same(const TavQuor::QuorPolicyInfo& a, const TavQuor::QuorPolicyInfo& b) {
  return a.blobs == b.blobs && a.name == b.name && a.policyId == b.policyId &&
         a.description == b.description && a.generationNumber == b.generationNumber;
}

bool Same(const TavQuor::QuorDatastoreInfo& a, const TavQuor::QuorDatastoreInfo& b) {
  return a.url == b.url && a.datastoreNamespace == b.datastoreNamespace &&
         a.defaultPolicyId == b.defaultPolicyId;
}

template <typename Records>
bool SameRecords(const Records& a, const Records& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!Same(a[i], b[i])) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  Quorctl::Catalogue catalogue;
  try {
    catalogue = Quorctl::ReadCatalogueDocument(text, kSource);
  } catch (const Quorctl::CommandError& failure) {
    Expect(failure.status() == Quorctl::ExitStatus::kBadInput, "the status is that of bad input");
    return 0;
  }
  try {
    Quorctl::ExpectUniqueKeys(/*inStore=*/true, catalogue, kSource);
    Quorctl::ExpectBlobNamespaces(catalogue, kSource);
  } catch (const Quorctl::CommandError& failure) {
    Expect(failure.status() == Quorctl::ExitStatus::kBadInput, "the status is that of bad input");
  }
  const Quorctl::Catalogue copy =
      Quorctl::ReadCatalogueDocument(Quorctl::CatalogueAsDocument(catalogue), kSource);
  Expect(SameRecords(catalogue.policies, copy.policies), "written policies read back the same");
  Expect(SameRecords(catalogue.datastores, copy.datastores),
         "written datastores read back the same");
  return 0;
}
