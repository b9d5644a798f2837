// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/digests.h"

#include "digest/catalogue_digest.h"

namespace Quorctl {

Digests DigestsOf(const Catalogue& catalogue) {
  return {TavQuor::Digest::PolicyDbHash(catalogue.policies),
          TavQuor::Digest::DatastoreDbHash(catalogue.datastores)};
}

}  // namespace Quorctl
