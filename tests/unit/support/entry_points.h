// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Every entry point that touches records, as a list.
#ifndef TESTS_UNIT_SUPPORT_ENTRY_POINTS_H_
#define TESTS_UNIT_SUPPORT_ENTRY_POINTS_H_

#include <functional>
#include <string>
#include <vector>

namespace QuorTest {

struct EntryPoint {
  std::string name;
  std::function<std::string()> call;  // with arguments that find something in the sample; its
                                      // result as text
};

std::vector<EntryPoint> AllEntryPoints();

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_ENTRY_POINTS_H_
