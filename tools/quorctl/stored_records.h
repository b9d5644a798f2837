// Finds out whether a listing is complete.
#ifndef TOOLS_QUORCTL_STORED_RECORDS_H_
#define TOOLS_QUORCTL_STORED_RECORDS_H_

#include <cstddef>

#include "platform/admin.h"

namespace Quorctl {

// The library leaves a record that cannot be read out of its listings, without a word. An operator
// has to know: a catalogue that is listed, kept and applied again would lose the record.
class StoredRecords {
 public:
  // Looks at the configuration store; to be made before the listing.
  StoredRecords();

  // Raise CommandError when the store holds more records than the listing had.
  void ExpectPolicies(std::size_t listed) const;
  void ExpectDatastores(std::size_t listed) const;

 private:
  HostPlatform::ConfigStoreState before_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_STORED_RECORDS_H_
