// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Making a release: from a file, or from an older release.
#ifndef TOOLS_QUOR_PUBLISH_PUBLICATION_H_
#define TOOLS_QUOR_PUBLISH_PUBLICATION_H_

#include <optional>
#include <string>

#include "answer.h"
#include "centre.h"
#include "release_store.h"

namespace QuorPublish {

struct PublishOptions {
  std::string file;                 // of publish; "-" for standard input
  ReleaseId source = 0;             // of rollback
  std::optional<ReleaseId> parent;  // the newest release that the operator knows, 0 for none
  std::string reason;
  std::string keyFile;  // empty: the release is not signed
  bool yes = false;
  bool mayEmpty = false;
  bool mayShrink = false;
  bool again = false;  // also what the newest release holds already
  bool dryRun = false;
};

// Shows the difference from the newest release and makes a release of the document. Raises
// CommandError if the newest release is not the parent, or if the operator has to confirm.
void Publish(const CentreOptions& centre, const PublishOptions& options, Answer* answer);

// The same with the document of an older release.
void RollBack(const CentreOptions& centre, PublishOptions options, Answer* answer);

// The document of a release.
void Export(const CentreOptions& centre, ReleaseId release, Answer* answer);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_PUBLICATION_H_
