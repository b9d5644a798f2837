// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Values of any bytes, and names.
#include <gtest/gtest.h>

#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

using namespace std::string_literals;

std::string EveryByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte)
    bytes.push_back(static_cast<char>(byte));
  return bytes;
}

class Bytes : public HostTest {
 protected:
  void ComesBack(const std::string& value) const {
    Put("key", value);
    const auto read = Get("key");
    ASSERT_TRUE(read.has_value());
    EXPECT_TRUE(*read == value) << "of " << value.size() << " bytes";
    RunInChild([&] { EXPECT_TRUE(Get("key") == value); });
  }
};

TEST_F(Bytes, EmptyValueIsPresent) {
  ComesBack("");
  EXPECT_TRUE(Contains(Document(), "\"key\": \"\""));
}

TEST_F(Bytes, EachSingleByteComesBack) {
  {
    const SynchronizedConfigFile locked;
    for (int byte = 0; byte < 256; ++byte)
      BranchOf(locked)->SetValue(std::to_string(byte), std::string(1, static_cast<char>(byte)));
    locked.file->Write();
  }
  for (int byte = 0; byte < 256; ++byte)
    EXPECT_EQ(Get(std::to_string(byte)), std::string(1, static_cast<char>(byte)));
}

TEST_F(Bytes, AnyBytesComeBack) {
  for (const std::string& value :
       {EveryByte(), "\0"s, "a\0b"s, "\xff\xfe"s, "\xc3"s, "\xed\xa0\x80"s, "\xf4\x90\x80\x80"s,
        "\xc0\x80"s, "line\nbreak\ttab \"quote\" back\\slash /"s, "\x7f\x01\x1f"s}) {
    ComesBack(value);
  }
}

TEST_F(Bytes, TextIsReadableInTheFile) {
  const std::string text = "Gr\xc3\xbc\xc3\x9f Gott \xe2\x82\xac \xf0\x9f\x98\x80 \xe2\x80\xa8";
  ComesBack(text);
  EXPECT_TRUE(Contains(Document(), text));
}

TEST_F(Bytes, TextThatLooksLikeTheEscapedFormComesBackAsItWas) {
  for (const std::string& value :
       {"base64:"s, "base64:AAAA"s, "\0base64:"s, "\0base64:AAAA"s, "\0base64:!"s,
        "\0\0base64:AAAA"s, "\0base6"s, "\\u0000base64:AAAA"s, "\0base64:AAAA\0"s}) {
    ComesBack(value);
  }
}

TEST_F(Bytes, EscapedFormOfAnEscapedFormComesBack) {
  std::string value = "\xff";
  for (int round = 0; round < 5; ++round) {
    ComesBack(value);
    const std::string document = Document();
    const std::size_t start = document.find("\\u0000base64:");
    ASSERT_NE(start, std::string::npos);
    value = "\0"s + document.substr(start + 6, document.find('"', start) - start - 6);
  }
}

TEST_F(Bytes, LongValuesComeBack) {
  std::string hostile;
  while (hostile.size() < 64 * 1024)
    hostile += EveryByte();
  ComesBack(hostile);
  ComesBack(std::string(64 * 1024, '"'));
  ComesBack(std::string(1 << 20, 'x'));
  ComesBack(std::string(1 << 20, '\x01'));
  ComesBack(std::string((1 << 20) + 1, '\xfe'));
}

// Text is looked at sixteen bytes at a time, with a rest.
TEST_F(Bytes, OneSpecialByteComesBackFromEveryPlaceOfALine) {
  for (const char special : {'\0', '\x1f', '"', '\\', '\x80', '\xff'}) {
    {
      const SynchronizedConfigFile locked;
      for (std::size_t place = 0; place < 40; ++place) {
        std::string line(40, ' ');
        line[place] = special;
        BranchOf(locked)->SetValue(std::to_string(place), line);
      }
      locked.file->Write();
    }
    for (std::size_t place = 0; place < 40; ++place) {
      std::string line(40, ' ');
      line[place] = special;
      EXPECT_TRUE(Get(std::to_string(place)) == line) << "byte " << int{special} << " at " << place;
    }
  }
}

TEST_F(Bytes, ManyLongValuesComeBackTogether) {
  const auto valueOf = [](int i) {
    return std::string(static_cast<std::size_t>(100 * i), i % 2 == 0 ? 'x' : '"') + '\x01';
  };
  {
    const SynchronizedConfigFile locked;
    for (int i = 0; i < 150; ++i)
      BranchOf(locked)->SetValue(std::to_string(i), valueOf(i));
    locked.file->Write();
  }
  for (int i = 0; i < 150; ++i)
    EXPECT_TRUE(Get(std::to_string(i)) == valueOf(i)) << i;
}

TEST_F(Bytes, ValuesOfInstancesComeBackByEitherSetter) {
  const std::string moved = EveryByte() + "moved";
  {
    const SynchronizedConfigFile locked;
    const auto instance = BranchOf(locked)->GetArray("items")->NewInstance();
    const std::string copied = EveryByte();
    std::string given = moved;
    instance->SetValue("copied", copied);
    instance->SetValue("moved", std::move(given));
    EXPECT_EQ(copied, EveryByte());
    locked.file->Write();
  }
  const SynchronizedConfigFile locked;
  const auto instances = BranchOf(locked)->GetArray("items")->GetInstances();
  ASSERT_EQ(instances.size(), 1U);
  std::string value;
  EXPECT_TRUE(instances[0]->GetValue("copied", &value));
  EXPECT_EQ(value, EveryByte());
  EXPECT_TRUE(instances[0]->GetValue("moved", &value));
  EXPECT_EQ(value, moved);
}

TEST_F(Bytes, NamesOfReadableTextComeBack) {
  const std::string longName(64 * 1024, 'n');
  for (const std::string& name :
       {"with \"quotes\" and \\ "s, "a/b"s, "\xc3\xbc"s, "\n"s, ""s, "__proto__"s, longName}) {
    Put(name, "value of it");
    EXPECT_EQ(Get(name), "value of it");
  }
  Put("key", "value", "/br\"anch/\xe2\x82\xac");
  EXPECT_EQ(Get("key", "/br\"anch/\xe2\x82\xac"), "value");
}

// Such a name would make a document that nobody can read any more.
class BadNames : public HostTest, public testing::WithParamInterface<std::string> {
 protected:
  BadNames() { Put("key", "value"); }

  template <typename Change>
  void IsRefused(Change change) const {
    const std::string before = Document();
    EXPECT_NE(MessageOf([&] {
                const SynchronizedConfigFile locked;
                change(*BranchOf(locked), locked);
                locked.file->Write();
              }),
              kNothingRaised);
    EXPECT_EQ(Document(), before);
    EXPECT_EQ(MessageOf([] { EXPECT_EQ(Get("key"), "value"); }), kNothingRaised);
  }
};

TEST_P(BadNames, OfValuesAreRefused) {
  IsRefused([](ConfigBranch& branch, const SynchronizedConfigFile&) {
    branch.SetValue(GetParam(), "value");
  });
  IsRefused([](ConfigBranch& branch, const SynchronizedConfigFile&) {
    branch.SetValue(GetParam(), 1UL);
  });
}

TEST_P(BadNames, OfArraysAreRefused) {
  IsRefused([](ConfigBranch& branch, const SynchronizedConfigFile&) {
    branch.GetArray(GetParam())->NewInstance();
  });
  IsRefused([](ConfigBranch& branch, const SynchronizedConfigFile&) {
    branch.RemoveAllChildren();
    branch.GetArray(GetParam());
  });
}

TEST_P(BadNames, OfBranchesAreRefused) {
  IsRefused([](ConfigBranch&, const SynchronizedConfigFile& locked) {
    locked.file->GetBranch("/Host/" + GetParam())->SetValue("key", "value");
  });
  IsRefused([](ConfigBranch&, const SynchronizedConfigFile& locked) {
    locked.file->GetBranch("/Host/" + GetParam())->RemoveAllChildren();
  });
}

TEST_P(BadNames, AreAbsentForReaders) {
  const SynchronizedConfigFile locked;
  std::string value;
  EXPECT_FALSE(BranchOf(locked)->GetValue(GetParam(), &value));
}

INSTANTIATE_TEST_SUITE_P(All, BadNames,
                         testing::Values("\xff", "tail\xc3", "\xed\xa0\x80",
                                         std::string("a\0b", 3)),
                         [](const auto& test) { return "Name" + std::to_string(test.index); });

}  // namespace
}  // namespace ConfigFileTest
