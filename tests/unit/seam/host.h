// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A host whose headers are not the platform's: they see what those cannot see of the library, how
// an identifier or an object is made and how often a switch is loaded.
#ifndef TESTS_UNIT_SEAM_HOST_H_
#define TESTS_UNIT_SEAM_HOST_H_

#include <string>
#include <vector>

namespace Seam {

using Lines = std::vector<std::string>;

inline Lines log;  // what the library did, in order
inline unsigned char switchValue = 1;

// What is logged while `call` runs.
template <typename Call>
Lines LogOf(const Call& call) {
  log.clear();
  call();
  return log;
}

}  // namespace Seam

#endif  // TESTS_UNIT_SEAM_HOST_H_
