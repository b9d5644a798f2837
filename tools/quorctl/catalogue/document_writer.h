// Records as JSON, in the shapes of the catalogue document.
#ifndef TOOLS_QUORCTL_CATALOGUE_DOCUMENT_WRITER_H_
#define TOOLS_QUORCTL_CATALOGUE_DOCUMENT_WRITER_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace Quorctl {

// An indented array, the elements in the order given, with a line feed at its end. Valid JSON
// whatever bytes the records hold, and safe to show on a terminal.
std::string PoliciesAsJson(const std::vector<TavQuor::QuorPolicyInfo>& policies);
std::string DatastoresAsJson(const std::vector<TavQuor::QuorDatastoreInfo>& datastores);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CATALOGUE_DOCUMENT_WRITER_H_
