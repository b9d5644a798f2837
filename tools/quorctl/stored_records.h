// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Finds out whether a listing is complete.
#ifndef TOOLS_QUORCTL_STORED_RECORDS_H_
#define TOOLS_QUORCTL_STORED_RECORDS_H_

#include <cstddef>
#include <string>

namespace Quorctl {

// The library leaves a record that cannot be read out of its listings, without a word. An operator
// has to know: a catalogue that is listed, kept and applied again would lose the record.
class StoredRecords {
 public:
  // Looks at the host store that the switch selects; to be made before the listing. Raises nothing
  // of its own when the store cannot be read: the listing will.
  StoredRecords();

  // How many records the listing left out.
  std::size_t LostPolicies(std::size_t listed) const;
  std::size_t LostDatastores(std::size_t listed) const;

  // Raise CommandError when it left some out.
  void ExpectPolicies(std::size_t listed) const;
  void ExpectDatastores(std::size_t listed) const;

  // Say so on standard error, for an answer that is of use without them too.
  void WarnOfPolicies(std::size_t listed) const;
  void WarnOfDatastores(std::size_t listed) const;

 private:
  struct Counts {
    std::size_t policies = 0;
    std::size_t datastores = 0;
  };

  static Counts CountStored();

  // In words; empty when the listing is complete.
  std::string ProblemOfPolicies(std::size_t listed) const;
  std::string ProblemOfDatastores(std::size_t listed) const;

  bool inStore_;
  Counts before_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_STORED_RECORDS_H_
