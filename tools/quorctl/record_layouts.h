// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The records of the catalogue for a RecordWriter.
#ifndef TOOLS_QUORCTL_RECORD_LAYOUTS_H_
#define TOOLS_QUORCTL_RECORD_LAYOUTS_H_

#include <vector>

#include "quor/quor_lib.h"
#include "text/record_writer.h"

namespace Quorctl {

// JSON, YAML and CSV output have exactly the fields of a catalogue document. Computed fields
// ("blobBytes") are written only if asked for by name.
const RecordLayout& PolicyLayout();
void AddPolicy(const TavQuor::QuorPolicyInfo& policy, RecordWriter* writer);

// "defaultPolicyName" and "defaultBlobBytes": the default policy's name, and the size of its blob
// for the datastore's namespace.
const RecordLayout& DatastoreLayout();

class DatastoreRows {
 public:
  // Asks for the policies when the writer uses a field that needs them; warns of those that cannot
  // be read, for they look like policies that are not there.
  explicit DatastoreRows(RecordWriter* writer);

  void Add(const TavQuor::QuorDatastoreInfo& datastore);

 private:
  const TavQuor::QuorPolicyInfo* DefaultPolicyOf(const TavQuor::QuorDatastoreInfo& datastore) const;

  RecordWriter* writer_;
  std::vector<TavQuor::QuorPolicyInfo> policies_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_RECORD_LAYOUTS_H_
