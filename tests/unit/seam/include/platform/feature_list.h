// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Feature switches that log how they are read.
#ifndef PLATFORM_FEATURE_LIST_H_
#define PLATFORM_FEATURE_LIST_H_

#include <string>

#include "seam/host.h"

enum { kFeatureQuorUsesConfigStore = 62 };

// Stands for the pointer to one switch.
struct SwitchPointer {
  unsigned char operator*() const {
    Seam::log.emplace_back("load");
    return Seam::switchValue;
  }
};

struct SwitchPointers {
  SwitchPointer operator[](int index) const {
    Seam::log.push_back("entry " + std::to_string(index));
    return {};
  }
};

inline const SwitchPointers FeatureList;

#endif  // PLATFORM_FEATURE_LIST_H_
