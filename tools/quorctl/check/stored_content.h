// Every record of both host stores, read below the library, which passes over what it cannot read.
#ifndef TOOLS_QUORCTL_CHECK_STORED_CONTENT_H_
#define TOOLS_QUORCTL_CHECK_STORED_CONTENT_H_

#include "check/finding.h"

namespace Quorctl {

// Of all kinds of objects, also those of other programs. Raises ConfigStoreException for lack of
// permission only.
void CheckConfigStore(Findings* findings);

// The catalogue's branches. Raises ConfigFileException for lack of permission only.
void CheckConfigFile(Findings* findings);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CHECK_STORED_CONTENT_H_
