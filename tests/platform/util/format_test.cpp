// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Formats beside the one that Str_Sprintf() has a short way for, and values beside its range.
#include <gtest/gtest.h>

#include <cstdio>

#include "platform/str.h"

namespace PlatformTest {
namespace {

TEST(StrSprintf, FormatsWhatOnlyLooksLikeAByteAsPrintfDoes) {
  for (const char* format : {"%x", "x02x", "%12x", "%03x", "%02X", "%02xx", "%02x"}) {
    for (const unsigned value : {0U, 10U, 255U, 256U, 0xffffffffU}) {
      char expected[32] = {};
      char buffer[32] = {};
      const int length = std::snprintf(expected, sizeof expected, format, value);
      EXPECT_EQ(Str_Sprintf(buffer, sizeof buffer, format, value), length)
          << format << ' ' << value;
      EXPECT_STREQ(buffer, expected);
    }
  }
}

}  // namespace
}  // namespace PlatformTest
