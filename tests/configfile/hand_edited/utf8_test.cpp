// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Every way in which bytes can fail to be UTF-8: refused, with the place of the first that is
// wrong.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support.h"

namespace ConfigFileTest {
namespace {

using namespace std::string_literals;

class Utf8 : public HostTest {
 protected:
  // Of a document whose one value is that text.
  std::string MessageFor(const std::string& text) const {
    EditByHand("{\"Host\": {\"Test\": {\"key\": \"" + text + "\"}}}");
    return MessageOf([] { Get("key"); });
  }
};

// The first and the last character of each length, and those beside the gap of the surrogates.
const std::vector<std::string> kCharacters = {"a",
                                              "\x7f",
                                              "\xc2\x80",
                                              "\xdf\xbf",
                                              "\xe0\xa0\x80",
                                              "\xec\xbf\xbf",
                                              "\xed\x9f\xbf",
                                              "\xee\x80\x80",
                                              "\xef\xbf\xbf",
                                              "\xf0\x90\x80\x80",
                                              "\xf1\x80\x80\x80",
                                              "\xf3\xbf\xbf\xbf",
                                              "\xf4\x8f\xbf\xbf"};

TEST_F(Utf8, CharactersAtTheLimitsAreRead) {
  for (const std::string& character : kCharacters) {
    EXPECT_EQ(MessageFor(character), kNothingRaised);
    EXPECT_EQ(Get("key"), character);
  }
}

TEST_F(Utf8, OtherBytesAreRefusedAtTheirPlace) {
  const std::string column =
      ":1:" + std::to_string("{\"Host\": {\"Test\": {\"key\": \""s.size() + 1);
  for (const std::string& bytes : {"\x80"s,
                                   "\xbf"s,
                                   "\xc0\x80"s,
                                   "\xc1\xbf"s,
                                   "\xc2"s,
                                   "\xc2\x7f"s,
                                   "\xc2\xc0"s,
                                   "\xdf "s,
                                   "\xe0\x9f\xbf"s,
                                   "\xe0\xc0\x80"s,
                                   "\xe1\x80"s,
                                   "\xe1\x80\x7f"s,
                                   "\xe1\x80\xc0"s,
                                   "\xe1\x7f\x80"s,
                                   "\xed\xa0\x80"s,
                                   "\xed\xbf\xbf"s,
                                   "\xf0\x8f\xbf\xbf"s,
                                   "\xf0\x90\x80\x7f"s,
                                   "\xf1\x80\xc0\x80"s,
                                   "\xf4\x90\x80\x80"s,
                                   "\xf5\x80\x80\x80"s,
                                   "\xff"s}) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    EXPECT_TRUE(Contains(MessageFor(bytes), "UTF-8"));
    EXPECT_TRUE(Contains(MessageFor(bytes), column));
    EXPECT_TRUE(Contains(MessageFor(bytes + "behind"), column));
  }
}

TEST_F(Utf8, BytesBehindGoodCharactersAreRefusedToo) {
  for (const std::string& character : kCharacters) {
    const std::string message = MessageFor(character + "\xff");
    EXPECT_TRUE(Contains(message, "UTF-8"));
    EXPECT_TRUE(Contains(message, FilePath() + ":1:"));
  }
}

}  // namespace
}  // namespace ConfigFileTest
