// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The calls of the library, made for the stress programs.
#ifndef TESTS_STRESS_CATALOGUE_CALLS_H_
#define TESTS_STRESS_CATALOGUE_CALLS_H_

#include <string>

#include "catalogue_sets.h"
#include "history.h"
#include "support/random.h"

namespace StressTest {

// From now on this process and its children keep the catalogue in the configuration store ("store")
// or the configuration file ("file"). Raises std::invalid_argument for another name.
void UseStore(const std::string& store);

// A call and what it asks for; the set of a replacement is left to the caller.
Operation AnyCall(PlatformTest::Random* random);

// Makes the call, and notes its answer and its ending. Raises std::runtime_error for an answer that
// is of no set, and whatever the library raises but "busy".
void MakeCall(const Digests& digests, Operation* operation);

// Whether the exception that is being handled says that a lock was not free in time.
bool IsBusy();

}  // namespace StressTest

#endif  // TESTS_STRESS_CATALOGUE_CALLS_H_
