// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A thing of the wrong type, at every level of the tree, and text in the escaped form that is none.
#include <gtest/gtest.h>

#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

class WrongTypes : public HostTest {
 protected:
  // Editing `document`, the call raises with the file's path and the place in the tree, and leaves
  // the file as it is.
  template <typename Call>
  void Raises(const std::string& document, const std::string& place, Call call) const {
    EditByHand(document);
    const std::string message = MessageOf([&] {
      const SynchronizedConfigFile locked;
      call(locked);
      locked.file->Write();
    });
    EXPECT_TRUE(Contains(message, FilePath() + ": " + place + ": "));
    EXPECT_EQ(Document(), document);
  }
};

TEST_F(WrongTypes, OfABranchRaiseWithItsPath) {
  for (const std::string value : {"\"text\"", "[]", "5", "true"}) {
    Raises("{\"Host\": " + value + "}", "/Host", [](const auto& locked) { BranchOf(locked); });
    Raises("{\"Host\": {\"Test\": " + value + "}}", "/Host/Test",
           [](const auto& locked) { BranchOf(locked); });
  }
}

TEST_F(WrongTypes, OfAnArrayRaiseWithItsPath) {
  for (const std::string value : {"\"text\"", "{}", "5", "false"}) {
    Raises("{\"Host\": {\"Test\": {\"items\": " + value + "}}}", "/Host/Test/items",
           [](const auto& locked) { BranchOf(locked)->GetArray("items"); });
  }
}

TEST_F(WrongTypes, OfAnInstanceRaiseWithItsPath) {
  for (const std::string value : {"\"text\"", "[]", "5", "null"}) {
    Raises("{\"Host\": {\"Test\": {\"items\": [{}, " + value + "]}}}", "/Host/Test/items[1]",
           [](const auto& locked) { BranchOf(locked)->GetArray("items")->GetInstances(); });
  }
}

TEST_F(WrongTypes, OfAValueRaiseWithItsPath) {
  for (const std::string value : {"{}", "[]", "{\"a\": 1}"}) {
    const std::string document = "{\"Host\": {\"Test\": {\"key\": " + value + "}}}";
    std::string text;
    int number = 0;
    Raises(document, "/Host/Test/key",
           [&](const auto& locked) { BranchOf(locked)->GetValue("key", &text); });
    Raises(document, "/Host/Test/key",
           [&](const auto& locked) { BranchOf(locked)->GetValue("key", &number); });
    Raises(document, "/Host/Test/key",
           [](const auto& locked) { BranchOf(locked)->SetValue("key", "new"); });
    Raises(document, "/Host/Test/key",
           [](const auto& locked) { BranchOf(locked)->SetValue("key", 1UL); });
  }
}

TEST_F(WrongTypes, OfAnInstancesValueRaiseWithItsIndex) {
  std::string text;
  Raises(R"({"Host": {"Test": {"items": [{}, {"key": {}}]}}})", "/Host/Test/items[1]/key",
         [&](const auto& locked) {
           BranchOf(locked)->GetArray("items")->GetInstances()[1]->GetValue("key", &text);
         });
}

TEST_F(WrongTypes, BesideTheBranchDisturbNobody) {
  EditByHand(R"({"Host": {"Test": {"key": "value", "other": [5]}}, "Else": ["text"]})");
  EXPECT_EQ(Get("key"), "value");
  Put("key", "new");
  EXPECT_EQ(Get("key"), "new");
}

TEST_F(WrongTypes, OfChangesWithinOneSessionRaiseToo) {
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  branch->SetValue("value", "1");
  branch->GetArray("array");
  EXPECT_NE(MessageOf([&] { branch->GetArray("value"); }), kNothingRaised);
  EXPECT_NE(MessageOf([&] { branch->SetValue("array", "1"); }), kNothingRaised);
  EXPECT_NE(MessageOf([&] { BranchOf(locked, "/Host/Test/array"); }), kNothingRaised);
  EXPECT_NE(MessageOf([&] { BranchOf(locked, "/Host/Test/value"); }), kNothingRaised);
}

TEST_F(WrongTypes, EscapedFormThatIsNoBase64Raises) {
  for (const std::string text : {"!", "A", "AA=A", "QQ", "QR==", "AAAA\\u0000"}) {
    std::string value;
    Raises("{\"Host\": {\"Test\": {\"key\": \"\\u0000base64:" + text + "\"}}}", "/Host/Test/key",
           [&](const auto& locked) { BranchOf(locked)->GetValue("key", &value); });
  }
}

TEST_F(WrongTypes, TextWithNulThatIsNotMarkedReadsAsItStands) {
  EditByHand(R"({"Host": {"Test": {"key": "a\u0000b", "other": "\u0000base65:AAAA"}}})");
  EXPECT_EQ(Get("key"), std::string("a\0b", 3));
  EXPECT_EQ(Get("other"), std::string("\0base65:AAAA", 12));
}

}  // namespace
}  // namespace ConfigFileTest
