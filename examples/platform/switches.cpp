// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The feature switches: number 62 selects the configuration store while it is on, otherwise the
// configuration file. They are constant here; a host flips a byte that is shared by its processes.
#include "platform/feature_list.h"

namespace {

constexpr unsigned char kOff = 0;
#ifdef EXAMPLE_USES_CONFIG_FILE
constexpr unsigned char kStore = 0;
#else
constexpr unsigned char kStore = 1;
#endif

}  // namespace

#define OFF_8 &kOff, &kOff, &kOff, &kOff, &kOff, &kOff, &kOff, &kOff
#define OFF_64 OFF_8, OFF_8, OFF_8, OFF_8, OFF_8, OFF_8, OFF_8, OFF_8

// Constant, so that it is in place before any constructor runs.
const unsigned char* const FeatureList[kFeatureCount] = {
    OFF_8,  OFF_8,  OFF_8, OFF_8, OFF_8, OFF_8, OFF_8,           // 0 to 55
    &kOff,  &kOff,  &kOff, &kOff, &kOff, &kOff, &kStore, &kOff,  // 56 to 63
    OFF_64, OFF_64, OFF_64};
static_assert(kFeatureQuorUsesConfigStore == 62, "the table above has it in its place");
