// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Both backends by name, for tests of one of them.
#ifndef TESTS_UNIT_SUPPORT_BACKENDS_H_
#define TESTS_UNIT_SUPPORT_BACKENDS_H_

#include "configfile/backend.h"
#include "configstore/backend.h"

namespace QuorTest {

inline constexpr const TavQuor::Backend& kStoreBackend = TavQuor::ConfigStoreBackend::kBackend;
inline constexpr const TavQuor::Backend& kFileBackend = TavQuor::ConfigFileBackend::kBackend;

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_BACKENDS_H_
