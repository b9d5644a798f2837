// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host's feature switches: one byte each, non-zero is on.
//
// The bytes live in one page for the life of the process. While the host's `features` file is
// mapped there a flip made by any process is seen at the next load, with no system call; without
// the file the page holds the built-in defaults. Calls that reach a store follow a file that was
// put in place of the mapped one, within 100 ms of calls, and raise when a file is there and cannot
// be used. See admin.h for reading and setting.
#ifndef PLATFORM_FEATURE_LIST_H_
#define PLATFORM_FEATURE_LIST_H_

#include "platform/export.h"

enum {
  kFeatureCount = 256,
  kFeatureQuorUsesConfigStore = 62,  // which host store keeps the catalogue; on by default
};

#ifdef __cplusplus
extern "C" {
#endif

// FeatureList[i] points to switch i, for 0 <= i < kFeatureCount; the pointers never change.
extern PLATFORM_API const unsigned char* const FeatureList[];

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_FEATURE_LIST_H_
