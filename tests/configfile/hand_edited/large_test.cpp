// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Documents that are large or deep.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <fstream>
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

// So many levels, the document itself among them.
std::string Nested(int levels, const std::string& rest) {
  return "{\"Host\": {\"Test\": {\"key\": \"value\"}}, " + rest +
         "\"deep\": " + Repeated("[", levels - 1) + Repeated("]", levels - 1) + "}";
}

TEST_F(Large, NestingIsReadUpToALimitThatIsTheSameForEveryDocument) {
  for (const std::string rest : {"", "\"number\": 1, "}) {
    EditByHand(Nested(200, rest));
    EXPECT_EQ(Get("key"), "value");
    Put("key", "value");
    IsRefused(Nested(201, rest), "deep");
  }
}

// The least that programs give their threads; the frames of a sanitizer are several times as large.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kSmallStack = 1 << 20;
#else
constexpr std::size_t kSmallStack = 64 << 10;
#endif
TEST_F(Large, NestingIsReadAndWrittenByThreadsWithASmallStack) {
  EditByHand(Nested(200, ""));
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStack), 0);
  pthread_t thread;
  const auto call = [](void*) -> void* {
    EXPECT_EQ(Get("key"), "value");
    Put("key", "new");
    EXPECT_EQ(Get("key"), "new");
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, call, nullptr), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
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

// The most memory that the process has had since the last call, in bytes.
std::size_t TakeHighestMemory() {
  std::ifstream status("/proc/self/status");
  std::string word;
  std::size_t kilobytes = 0;
  while (status >> word && word != "VmHWM:") {
  }
  status >> kilobytes;
  WriteFile("/proc/self/clear_refs", "5");
  return kilobytes << 10;
}

TEST_F(LongLarge, ReadingNeedsAtMostTwoAndAHalfTimesTheText) {
  constexpr std::size_t kBlob = std::size_t{16} << 20;
  constexpr std::size_t kBlobs = 16;
  std::string members;
  for (std::size_t i = 0; i < kBlobs; ++i)
    members += ", \"blob" + std::to_string(i) + "\": \"" + std::string(kBlob, 'x') + '"';
  EditByHand("{\"Host\": {\"Test\": {\"key\": \"value\"}}" + members + "}");
  members = std::string();
  RunInChild([] {
    TakeHighestMemory();
    const std::size_t before = TakeHighestMemory();
    EXPECT_EQ(Get("key"), "value");
    const std::size_t needed = TakeHighestMemory() - before;
    EXPECT_LT(needed, kBlobs * kBlob * 5 / 2);
    EXPECT_GT(needed, kBlobs * kBlob / 2) << "it is measured";
  });
}

TEST_F(LongLarge, DocumentThatNobodyCouldReadAgainIsNotWritten) {
  Put("key", "old");
  const std::string before = Document();
  {
    const SynchronizedConfigFile locked;
    for (const char* key : {"one", "other"})
      BranchOf(locked)->SetValue(key, std::string(std::size_t{600} << 20, 'x'));
    EXPECT_TRUE(Contains(MessageOf([&] { locked.file->Write(); }), "more than 1024 MiB"));
  }
  EXPECT_EQ(Document(), before);
  EXPECT_EQ(NamesIn(HostPath()), (Texts{"host-config.json", "host-config.lock"}));
  Put("key", "new");
  EXPECT_EQ(Get("key"), "new");
}

TEST_F(LongLarge, DocumentBeyondTheLimitIsRefused) {
  EditByHand("{}");
  Check(truncate(FilePath().c_str(), (off_t{1} << 30) + 1) == 0, FilePath());
  EXPECT_TRUE(Contains(MessageOf([] { Get("key"); }), "more than 1024 MiB"));
}

TEST_F(LongLarge, UnclosedTextOf100MegabytesIsRefused) {
  IsRefused("{\"Host\": \"" + std::string(100 << 20, 'x'), "");
}

}  // namespace
}  // namespace ConfigFileTest
