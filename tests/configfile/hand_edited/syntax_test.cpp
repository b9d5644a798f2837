// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Documents that do not parse: named with path, line and column, never overwritten.
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

struct Mistake {
  const char* name;
  std::string document;
  int line;
  int firstColumn;  // the message may point at any place of the thing that is wrong
  int lastColumn;
  std::string reason;  // in the message
};

void PrintTo(const Mistake& mistake, std::ostream* out) {
  *out << mistake.name;
}

// "PATH:LINE:COLUMN: reason"; false when the message is not of that form.
bool PlaceIn(const std::string& message, const std::string& path, int* line, int* column) {
  if (!message.starts_with(path + ":")) return false;
  return std::sscanf(message.c_str() + path.size(), ":%d:%d: ", line, column) == 2;
}

class Syntax : public HostTest {
 protected:
  // Neither readers nor writers get in, and nothing is changed. Returns the message.
  std::string IsRefused(const std::string& document) const {
    EditByHand(document);
    const std::string read = MessageOf([] { Get("key"); });
    const std::string written = MessageOf([] { Put("key", "value"); });
    EXPECT_NE(read, kNothingRaised);
    EXPECT_EQ(read, written);
    EXPECT_TRUE(Document() == document);
    return read;
  }
};

class Mistakes : public Syntax, public testing::WithParamInterface<Mistake> {};

TEST_P(Mistakes, AreRefusedWithTheirPlace) {
  const Mistake& mistake = GetParam();
  RunInChild([&] {  // a crash is a failed child
    const std::string message = IsRefused(mistake.document);
    EXPECT_TRUE(Contains(message, mistake.reason));
    int line = 0;
    int column = 0;
    EXPECT_TRUE(PlaceIn(message, FilePath(), &line, &column)) << message;
    EXPECT_EQ(line, mistake.line) << message;
    EXPECT_GE(column, mistake.firstColumn) << message;
    EXPECT_LE(column, mistake.lastColumn) << message;
  });
}

INSTANTIATE_TEST_SUITE_P(
    All, Mistakes,
    testing::Values(
        Mistake{"EmptyFile", "", 1, 1, 1, "empty"}, Mistake{"BlankFile", " \n \n", 1, 1, 2, ""},
        Mistake{"ByteOrderMark", "\xEF\xBB\xBF{}", 1, 1, 1, "byte-order mark"},
        Mistake{"Utf16", std::string("\xff\xfe{\0}\0", 6), 1, 1, 1, ""},
        Mistake{"Garbage", "this is no JSON", 1, 1, 1, ""},
        Mistake{"ArrayAsRoot", "[{}]", 1, 1, 1, "not a JSON object"},
        Mistake{"TextAsRoot", "\"text\"", 1, 1, 1, ""}, Mistake{"NumberAsRoot", "5", 1, 1, 1, ""},
        Mistake{"NullAsRoot", "null", 1, 1, 1, ""},
        Mistake{"TrailingComma", "{\n  \"a\": \"1\",\n}", 3, 1, 1, ""},
        Mistake{"TrailingCommaInArray", "{\n  \"a\": [\n    {},\n  ]\n}", 4, 3, 3, ""},
        Mistake{"MissingComma", "{\n  \"a\": \"1\"\n  \"b\": \"2\"\n}", 3, 3, 3, ""},
        Mistake{"MissingColon", "{\n  \"a\" \"1\"\n}", 2, 7, 7, ""},
        Mistake{"MissingValue", "{\n  \"a\":\n}", 3, 1, 1, ""},
        Mistake{"NameWithoutQuotes", "{\n  a: \"1\"\n}", 2, 3, 3, ""},
        Mistake{"SingleQuotes", "{\n  'a': \"1\"\n}", 2, 3, 3, ""},
        Mistake{"DuplicateKey", "{\n  \"a\": \"1\",\n  \"a\": \"2\"\n}", 3, 3, 4, "twice"},
        Mistake{"DuplicateKeyBelow", "{\"x\": [{},\n {\"a\": {}, \"a\": []}]}", 2, 12, 13, "twice"},
        Mistake{"DuplicateKeyInAnotherSpelling", "{\"a\": \"1\",\n\"\\u0061\": \"2\"}", 2, 1, 2,
                "twice"},
        Mistake{"LineComment", "{\n  // why\n  \"a\": \"1\"\n}", 2, 3, 3, ""},
        Mistake{"BlockComment", "{\n  \"a\": \"1\" /* why */\n}", 2, 12, 12, ""},
        Mistake{"HashComment", "# why\n{}", 1, 1, 1, ""},
        Mistake{"TextBehindTheEnd", "{\n}\nmore", 3, 1, 1, "behind"},
        Mistake{"SecondDocument", "{\"a\": \"1\"}\n{}", 2, 1, 1, "behind"},
        Mistake{"BracketBehindTheEnd", "{\"a\": 1}\n}", 2, 1, 1, ""},
        Mistake{"InvalidUtf8", "{\n  \"a\": \"1\",\n  \"b\": \"x\xff\"\n}", 3, 10, 10, "UTF-8"},
        Mistake{"TruncatedUtf8", "{\n  \"a\": \"x\xc3\"\n}", 2, 10, 11, "UTF-8"},
        Mistake{"LoneHighSurrogate", "{\n  \"a\": \"\\ud800\"\n}", 2, 8, 15, ""},
        Mistake{"LoneLowSurrogate", "{\n  \"a\": \"x\\udc00\",\n  \"b\": 1\n}", 2, 8, 16, ""},
        Mistake{"LoneSurrogateInAName", "{\n  \"x\\ud800\":\n    \"1\"\n}", 2, 3, 11, ""},
        Mistake{"UnknownEscape", "{\n  \"a\": \"\\x41\"\n}", 2, 8, 13, ""},
        Mistake{"ShortEscape", "{\n  \"a\": \"\\u12\"\n}", 2, 8, 13, ""},
        Mistake{"LineBreakInText", "{\n  \"a\": \"one\ntwo\"\n}", 2, 8, 12, ""},
        Mistake{"TabInText", "{\n  \"a\": \"one\ttwo\"\n}", 2, 8, 12, ""},
        Mistake{"UnclosedText", "{\n  \"a\": \"one\n}", 2, 8, 12, ""},
        Mistake{"UnclosedBranch", "{\n  \"a\": {\n", 3, 1, 1, ""},
        Mistake{"WrongBracket", "{\n  \"a\": [}\n}", 2, 9, 9, ""},
        Mistake{"LeadingZero", "{\n  \"a\": 01\n}", 2, 8, 8, ""},
        Mistake{"PlusSign", "{\n  \"a\": +1\n}", 2, 8, 8, ""},
        Mistake{"BareFraction", "{\n  \"a\": .5\n}", 2, 8, 8, ""},
        Mistake{"OpenFraction", "{\n  \"a\": 5.\n}", 2, 8, 8, ""},
        Mistake{"OpenExponent", "{\n  \"a\": 1e\n}", 2, 8, 8, ""},
        Mistake{"Infinity", "{\n  \"a\": Infinity\n}", 2, 8, 8, ""},
        Mistake{"Hexadecimal", "{\n  \"a\": 0x10\n}", 2, 8, 8, ""},
        Mistake{"MisspeltTrue", "{\n  \"a\": tru\n}", 2, 8, 8, ""},
        Mistake{"CapitalTrue", "{\n  \"a\": True\n}", 2, 8, 8, ""},
        Mistake{"LongTrue", "{\n  \"a\": truest\n}", 2, 8, 8, ""},
        Mistake{"MisspeltNull", "{\n  \"a\": nul\n}", 2, 8, 8, ""}),
    [](const auto& test) { return test.param.name; });

TEST_F(Syntax, DocumentCutAtAnyLengthIsRefused) {
  const std::string document =
      "{\"Host\": {\"Test\": {\"key\": \"v\\u00e4\xc3\xa4l\\n\", \"n\": -1.5e+3, \"yes\": true,\n"
      "\"items\": [{}, {\"a\": null}]}}, \"Else\": []}";
  EditByHand(document);
  ASSERT_EQ(Get("n"), "-1.5e+3");
  for (std::size_t size = 0; size < document.size(); ++size) {
    int line = 0;
    int column = 0;
    RunInChild([&] {
      const std::string message = IsRefused(document.substr(0, size));
      EXPECT_TRUE(PlaceIn(message, FilePath(), &line, &column)) << message;
    });
    ASSERT_FALSE(HasFailure()) << "cut to " << size << " bytes";
  }
}

TEST_F(Syntax, PlainDocumentCutAtAnyLengthIsRefused) {
  Put("key", "value");
  Put("n", "\xff");
  const std::string document = Document();
  for (std::size_t size = 0; size + 1 < document.size(); ++size) {
    RunInChild([&] { IsRefused(document.substr(0, size)); });
    ASSERT_FALSE(HasFailure()) << "cut to " << size << " bytes";
  }
}

TEST_F(Syntax, DocumentWithoutItsLastLineBreakIsRead) {
  Put("key", "value");
  std::string document = Document();
  document.pop_back();
  EditByHand(document);
  EXPECT_EQ(Get("key"), "value");
}

TEST_F(Syntax, EveryFlippedBitIsReadOrRefusedAndNeverACrash) {
  const std::string document = R"({"Host": {"Test": {"key": "v\u00e4l", "n": [1.5, true]}}})";
  RunInChild([&] {
    for (std::size_t bit = 0; bit < 8 * document.size(); ++bit) {
      std::string flipped = document;
      flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
      EditByHand(flipped);
      const std::string message = MessageOf([] { Get("key"); });
      if (message != kNothingRaised) {
        EXPECT_TRUE(message.starts_with(FilePath())) << message;
      }
      EXPECT_TRUE(Document() == flipped);
    }
  });
}

TEST_F(Syntax, CorrectedDocumentIsReadAtTheNextSession) {
  IsRefused("{\"Host\": {\"Test\": {\"key\": \"value\",}}}");
  EditByHand("{\"Host\": {\"Test\": {\"key\": \"value\"}}}");
  EXPECT_EQ(Get("key"), "value");
  Put("key", "new");
  EXPECT_EQ(Get("key"), "new");
}

// The message is shown on terminals.
TEST_F(Syntax, ControlCharactersOfTheFileStayOutOfTheMessage) {
  const std::string message = IsRefused(R"({"\u001b[2J": "1", "\u001b[2J": "2"})");
  for (const char c : message)
    EXPECT_FALSE(std::iscntrl(static_cast<unsigned char>(c))) << static_cast<int>(c);
}

}  // namespace
}  // namespace ConfigFileTest
