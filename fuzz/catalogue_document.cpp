// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Any text as catalogue document: a catalogue or a message, and what is written of a catalogue
// reads back.
#include <string>

#include "catalogue/document_error.h"
#include "catalogue/document_reader.h"
#include "catalogue/document_rules.h"
#include "catalogue/document_writer.h"
#include "catalogue/record_fields.h"
#include "catalogue/text/json_text.h"
#include "expect.h"

namespace {

using Fuzz::Expect;

const char kSource[] = "catalogue.json";

template <typename Records>
bool SameRecords(const Records& a, const Records& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (Quorctl::Members(a[i]) != Quorctl::Members(b[i])) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  Quorctl::Catalogue catalogue;
  try {
    catalogue = Quorctl::ReadCatalogueDocument(text, kSource);
  } catch (const Quorctl::DocumentError&) {
    return 0;
  }
  Quorctl::DocumentProblems problems;
  Quorctl::FindRepeatedKeys(catalogue, "one would be lost", &problems);
  Quorctl::FindNamelessBlobs(catalogue, "it would be lost", &problems);
  try {
    problems.Raise(text, kSource);
  } catch (const Quorctl::DocumentError&) {
    // a catalogue that is not to be stored may still be written
  }
  const std::string written = Quorctl::CatalogueAsDocument(catalogue);
  Expect(written == Quorctl::IndentedJson(Quorctl::CatalogueAsJson(catalogue)) + '\n',
         "written record by record as the whole tree would be");
  const Quorctl::Catalogue copy = Quorctl::ReadCatalogueDocument(written, kSource);
  Expect(SameRecords(catalogue.policies, copy.policies), "written policies read back the same");
  Expect(SameRecords(catalogue.datastores, copy.datastores),
         "written datastores read back the same");
  return 0;
}
