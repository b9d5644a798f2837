// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Documents that are large or deep.
#include <gtest/gtest.h>

#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

std::string Repeated(const std::string& text, int count) {
  std::string all;
  all.reserve(text.size() * static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

class Large : public HostTest {
 protected:
  void IsRefused(const std::string& document, const std::string& reason) const {
    EditByHand(document);
    // In a child: a stack that overflows is a failed child.
    RunInChild([&] {
      const std::string message = MessageOf([] { Get("key"); });
      EXPECT_TRUE(Contains(message, FilePath() + ":1:"));
      EXPECT_TRUE(Contains(message, reason));
      EXPECT_EQ(MessageOf([] { Put("key", "value"); }), message);
    });
    EXPECT_TRUE(Document() == document);
  }
};

TEST_F(Large, MillionBracketsAreRefused) {
  constexpr int kCount = 1'000'000;
  IsRefused("{\"a\": " + Repeated("[", kCount) + Repeated("]", kCount) + "}", "deep");
  IsRefused("{\"a\": " + Repeated("[", kCount), "");
  IsRefused(Repeated("{\"a\": ", kCount) + "{}" + Repeated("}", kCount), "deep");
  IsRefused(Repeated("{\"a\": ", kCount), "");
  IsRefused(Repeated("[", kCount) + Repeated("]", kCount), "not a JSON object");
}

TEST_F(Large, NestingIsReadUpToALimitThatIsTheSameForEveryDocument) {
  const auto nested = [](int depth, const std::string& rest) {
    return "{\"Host\": {\"Test\": {\"key\": \"value\"}}, " + rest +
           "\"deep\": " + Repeated("[", depth) + Repeated("]", depth) + "}";
  };
  for (const std::string rest : {"", "\"number\": 1, "}) {
    EditByHand(nested(200, rest));
    EXPECT_EQ(Get("key"), "value");
    IsRefused(nested(201, rest), "deep");
  }
}

TEST_F(Large, BranchOfManyNamesIsReadAndItsDuplicateFound) {
  std::string members;
  for (int i = 0; i < 20'000; ++i)
    members += "\"name" + std::to_string(i) + "\": \"value\", ";
  EditByHand("{" + members + "\"last\": \"value\"}");
  EXPECT_EQ(Get("name19999", "/"), "value");
  IsRefused("{" + members + "\"name7\": \"value\"}", "\"name7\" stands twice");
}

using LongLarge = Large;

TEST_F(LongLarge, TextOf100MegabytesIsReadAndKept) {
  const std::string text(100 << 20, 'x');
  EditByHand("{\"Host\": {\"Test\": {\"text\": \"" + text + "\"}}}");
  EXPECT_TRUE(Get("text") == text);
  Put("key", "value");
  EXPECT_TRUE(Get("text") == text);
}

TEST_F(LongLarge, UnclosedTextOf100MegabytesIsRefused) {
  IsRefused("{\"Host\": \"" + std::string(100 << 20, 'x'), "");
}

}  // namespace
}  // namespace ConfigFileTest
