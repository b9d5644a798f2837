// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What is done for each of many parts while the writers' lock is held grows with their number, and
// no faster. Times are compared with those of a quarter of the parts.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <string>

#include "support/host_test.h"

namespace PlatformTest {
namespace {

constexpr int kMany = 40'000;
constexpr int kRounds = 3;
constexpr double kMost = 3;  // times the linear share

using ManyParts = HostTest;

double SecondsOf(const std::function<void()>& work) {
  double least = std::numeric_limits<double>::max();
  for (int i = 0; i < kRounds; ++i) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    least = std::min(least, took.count());
  }
  return least;
}

void ExpectLinear(const std::function<void(int parts)>& work) {
  const double few = SecondsOf([&] { work(kMany / 4); });
  const double many = SecondsOf([&] { work(kMany); });
  testing::Test::RecordProperty("milliseconds", static_cast<int>(many * 1000));
  EXPECT_LT(many, 4 * kMost * few) << "of " << kMany / 4 << ": " << few;
}

TEST_F(ManyParts, OfOneObjectAreMadeInALinearShareOfTime) {
  ExpectLinear([](int parts) {
    const Object object = NewObject("a", "text");
    for (int i = 0; i < parts; ++i)
      object->CreateSubObject(SubObjectId("blob", std::to_string(i)))->SetValue("blob", "bytes");
    OpenStore()->SetObject(object, 0);
  });
}

TEST_F(ManyParts, ThatAreMadeTwiceAreTheSame) {
  const Object object = NewObject("a", "text");
  for (const char* text : {"old", "new"}) {
    for (int i = 0; i < 100; ++i)
      object->CreateSubObject(SubObjectId("blob", std::to_string(i)))->SetValue("blob", text);
  }
  OpenStore()->SetObject(object, 0);
  const Object fetched = OpenStore()->GetObject(IdOf("a"));
  for (int i = 0; i < 100; ++i) {
    const SubObjectId id("blob", std::to_string(i));
    for (const Object& holder : {object, fetched}) {
      std::string text;
      ASSERT_TRUE(holder->GetSubObject(id)->GetValue("blob", &text));
      EXPECT_EQ(text, "new");
    }
    EXPECT_EQ(object->GetSubObject(SubObjectId("other", std::to_string(i))), nullptr);
  }
  // One that was fetched becomes an object of its own, with all its parts, and takes more.
  fetched->CreateSubObject(SubObjectId("blob", "99"))->SetValue("blob", "changed");
  std::string text;
  ASSERT_TRUE(fetched->GetSubObject(SubObjectId("blob", "99"))->GetValue("blob", &text));
  EXPECT_EQ(text, "changed");
}

TEST_F(ManyParts, KindsOfOthersAreCarriedOverInALinearShareOfTime) {
  int present = 0;
  ExpectLinear([&](int parts) {
    const Store store = OpenStore();
    if (present != parts) {
      store->BeginTransaction();
      for (int i = present; i < parts; ++i)
        Put(store, "a", "text", "kind" + std::to_string(i));
      store->CommitTransaction();
      present = parts;
    }
    Put(store, "a", "new");
  });
}

}  // namespace
}  // namespace PlatformTest
