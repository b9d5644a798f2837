// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Changes one record of the catalogue: the common part of set, add, delete and rename.
#ifndef TOOLS_QUORCTL_RECORD_EDIT_H_
#define TOOLS_QUORCTL_RECORD_EDIT_H_

#include <functional>
#include <string>
#include <vector>

#include "argument.h"
#include "catalogue/record_fields.h"
#include "catalogue_change.h"

namespace Quorctl {

// The words KIND and KEY.
class RecordWords {
 public:
  void Declare(CLI::App& verb);

  // Raises UsageError, for the command `verb`, where they make no sense.
  bool IsPolicy(const std::string& verb) const;

  const std::string& Key() const { return key_.Value(); }

  // `policy "gold-01"`
  std::string InWords() const;

 private:
  Argument kind_;
  Argument key_;
};

// The words FIELD=VALUE and the option --blob.
class FieldWords {
 public:
  void Declare(CLI::App& verb);

  // Reads the files that are named, before the change, which may be tried several times. To be
  // called first.
  void Read(bool isPolicy);

  bool Any() const { return !assignments_.empty() || !blobs_.empty(); }
  bool UseInput() const { return useInput_; }

  // Takes the name of a policy, which stands before the others.
  std::string TakeName();

  template <typename Record>
  void SetOn(Record* record) const;

 private:
  Arguments words_;
  Arguments blobWords_;
  std::vector<std::string> assignments_;
  Blobs blobs_;
  bool useInput_ = false;
};

// Sets the field that a word FIELD=VALUE names.
template <typename Record>
void SetField(const std::string& assignment, Record* record);

// Raises CommandError where the store that is in use could not keep the record of that index, which
// was `before`, or where another one has a name of it that is new.
template <typename Record>
void ExpectStorable(const std::vector<Record>& records, std::size_t index, const Record& before);

// Changes the selected store's catalogue by `edit`, which is called again if another process was
// faster, so that its change is kept. Raises UsageError for --replace-damaged, unless the request
// wipes everything.
ExitStatus EditCatalogue(const ChangeRequest& request, const ChangeOptions& options,
                         const std::function<void(Catalogue* catalogue)>& edit,
                         CommandOutput* output);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_RECORD_EDIT_H_
