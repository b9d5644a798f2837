// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The digests computed a second time, straight from their definition.
#ifndef TESTS_UNIT_SUPPORT_REFERENCE_DIGEST_H_
#define TESTS_UNIT_SUPPORT_REFERENCE_DIGEST_H_

#include <string>

#include "support/catalogue.h"

namespace QuorTest {

std::string ReferenceMd5Hex(const std::string& text);

// For catalogues whose keys are unique and whose names, identifiers and descriptions hold no zero
// byte.
std::string ReferencePolicyDigest(const Policies& policies);
std::string ReferenceDatastoreDigest(const Datastores& datastores);

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_REFERENCE_DIGEST_H_
