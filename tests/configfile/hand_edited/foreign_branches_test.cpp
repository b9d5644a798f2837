// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What belongs to other programs is kept as they wrote it.
#include <gtest/gtest.h>

#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

using ForeignBranches = HostTest;

// In the form in which the file is written, so that it can be compared as text.
constexpr char kForeign[] = R"(  "Other": {
    "zeta": 1.10,
    "alpha": 1e400,
    "minus": -0,
    "vast": 12345678901234567890123,
    "tiny": 1E-7,
    "plus": 1e+05,
    "yes": true,
    "no": false,
    "nothing": null,
    "text": "plain \"quoted\" \\ \n \t",
    "mixed": [
      1,
      "two",
      null,
      [],
      [
        -0.0
      ],
      {}
    ],
    "": "empty name"
  })";

TEST_F(ForeignBranches, AreKeptByteForByte) {
  EditByHand("{\n" + std::string(kForeign) + "\n}\n");
  Put("key", "value");
  EXPECT_EQ(Document(), "{\n" + std::string(kForeign) +
                            ",\n  \"Host\": {\n    \"Test\": {\n      \"key\": \"value\"\n"
                            "    }\n  }\n}\n");
}

TEST_F(ForeignBranches, AreKeptWhereTheyStand) {
  EditByHand(
      "{\"first\": 1, \"Host\": {\"before\": 2, \"Test\": {\"key\": \"old\"}, "
      "\"after\": 3}, \"last\": 4.0}");
  {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->RemoveAllChildren();
    BranchOf(locked)->GetArray("items")->NewInstance();
    locked.file->Write();
  }
  EXPECT_EQ(Document(),
            "{\n  \"first\": 1,\n  \"Host\": {\n    \"before\": 2,\n    \"Test\": {\n"
            "      \"items\": [\n        {}\n      ]\n    },\n    \"after\": 3\n  },\n"
            "  \"last\": 4.0\n}\n");
}

TEST_F(ForeignBranches, NumberOfAnyLengthIsKept) {
  const std::string number(600'000, '7');
  EditByHand("{\"n\": " + number + "}");
  Put("key", "value");
  EXPECT_TRUE(Document().starts_with("{\n  \"n\": " + number + ",\n"));
}

TEST_F(ForeignBranches, EscapesKeepTheirMeaning) {
  EditByHand(R"({"Other": {"\u0061\u00e4": "\u20ac \ud83d\ude00 \/ \b\f\u0000\u001f\u007f"}})");
  const std::string meaning("\xe2\x82\xac \xf0\x9f\x98\x80 / \b\f\0\x1f\x7f", 16);
  EXPECT_EQ(Get("a\xc3\xa4", "/Other"), meaning);
  Put("key", "value");
  EXPECT_EQ(Get("a\xc3\xa4", "/Other"), meaning);
}

// Room for all of each, though the first quote in them is an escaped one.
TEST_F(ForeignBranches, LongNamesWithEscapedQuotesStayApart) {
  const std::string one = '"' + std::string(500, 'a');
  const std::string two = '"' + std::string(500, 'b');
  EditByHand(R"({"Other": {"\)" + one + R"(": "1", "\)" + two + R"(": "2"}})");
  EXPECT_EQ(Get(one, "/Other"), "1");
  EXPECT_EQ(Get(two, "/Other"), "2");
}

TEST_F(ForeignBranches, SecondWriteChangesNothingMore) {
  EditByHand("{\n" + std::string(kForeign) + "}");
  Put("key", "value");
  const std::string once = Document();
  Put("key", "value");
  EXPECT_EQ(Document(), once);
}

TEST_F(ForeignBranches, OfAPlainDocumentAreKeptAsWell) {
  EditByHand(R"({"z": "1", "a": {"y": [], "b": "\u00e4"}, "Host": {}})");
  Put("key", "value");
  EXPECT_EQ(Document(),
            "{\n  \"z\": \"1\",\n  \"a\": {\n    \"y\": [],\n    \"b\": \"\xc3\xa4\"\n  },\n"
            "  \"Host\": {\n    \"Test\": {\n      \"key\": \"value\"\n    }\n  }\n}\n");
}

TEST_F(ForeignBranches, ChangedByAnotherProcessBetweenTwoSessionsAreKept) {
  Put("key", "1");
  RunInChild([] { Put("theirs", "2", "/Other"); });
  Put("key", "3");
  RunInChild([] { EXPECT_EQ(Get("theirs", "/Other"), "2"); });
}

}  // namespace
}  // namespace ConfigFileTest
