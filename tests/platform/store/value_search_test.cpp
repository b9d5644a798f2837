// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Searches by value compared with a walk through the listing, over random catalogues.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "support/host_test.h"
#include "support/random.h"
#include "tavconfigstore/value_search.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

const Texts kNames = {"id", "name", "other"};
const Texts kInstances = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"};
const Texts kValues = {"", "1", "2", "3", "22", std::string(1, '\0'), "long value of some length"};

// The instance of the object that is found, or what is raised.
struct Answer {
  CSErrorCodes code = kNothing;
  std::optional<std::string> instance;
  bool operator==(const Answer&) const = default;
};

class ValueSearches : public HostTest {
 protected:
  void Run(std::uint64_t seed, int catalogues) {
    Random random(seed);
    int raised = 0, found = 0;
    for (int i = 0; i < catalogues; ++i) {
      const Store store = OpenStore();
      store->BeginTransaction();
      for (std::size_t changes = random.Below(8); changes != 0; --changes)
        Change(&random, store);
      if (random.OneIn(8)) Compare(store, &raised, &found);
      random.OneIn(5) ? store->RollbackTransaction() : store->CommitTransaction();
      Compare(OpenStore(), &raised, &found);
      if (HasFailure()) FAIL() << "catalogue " << i;
    }
    EXPECT_GT(raised, catalogues / 10);
    EXPECT_GT(found, catalogues);
  }

 private:
  static void Change(Random* random, const Store& store) {
    const std::string& kind = random->OneIn(2) ? kKind : kOtherKind;
    if (random->OneIn(20)) return store->DeleteObjects(All(kind));
    const std::string& instance = random->Of(kInstances);
    if (random->OneIn(4)) return store->DeleteObjects(One(instance, kind));
    const auto object = std::make_shared<ConfigStoreObject>(IdOf(instance, kind));
    object->SetValue("instance", instance);
    for (const std::string& name : kNames) {
      if (random->OneIn(4)) continue;
      random->OneIn(20) ? object->SetValue(name.c_str(), 7LL)
                        : object->SetValue(name.c_str(), random->Of(kValues));
    }
    store->SetObject(object, 0);
  }

  template <typename Find>
  static Answer Ask(Find find) {
    Answer answer;
    answer.code = CodeOf([&] {
      const Object object = find();
      if (!object) return;
      answer.instance.emplace();
      object->GetValue("instance", &*answer.instance);
    });
    return answer;
  }

  static Object Walk(const Store& store, const std::string& kind, const std::string& name,
                     const std::string& value) {
    for (const Object& object : store->GetObjects(All(kind))) {
      std::string stored;
      if (object->GetValue(name.c_str(), &stored) && stored == value) return object;
    }
    return nullptr;
  }

  static void Compare(const Store& store, int* raised, int* found) {
    auto& search = dynamic_cast<ValueSearch&>(*store);
    for (const char* kind : {kKind, kOtherKind}) {
      for (const std::string& name : kNames) {
        for (const std::string& value : kValues) {
          const Answer walked = Ask([&] { return Walk(store, kind, name, value); });
          const Answer searched =
              Ask([&] { return search.FindFirst(IdOf("", kind), name.c_str(), value); });
          EXPECT_EQ(searched.code, walked.code) << kind << ' ' << name << ' ' << value;
          EXPECT_EQ(searched.instance, walked.instance) << kind << ' ' << name << ' ' << value;
          *raised += walked.code != kNothing;
          *found += walked.instance.has_value();
        }
      }
    }
  }
};

using LongValueSearches = ValueSearches;

TEST_F(ValueSearches, AnswerLikeAWalkThroughTheListing) {
  Run(SeedOfThisRun(), 2000);
}

TEST_F(LongValueSearches, AnswerLikeAWalkThroughTheListing) {
  Run(SeedOfThisRun(), 100'000);
}

TEST_F(ValueSearches, FindTheFirstOfSeveralInTheOrderOfFirstWrite) {
  const auto put = [](const char* instance, const char* id) {
    const Object object = NewObject(instance, instance);
    object->SetValue("id", id);
    OpenStore()->SetObject(object, 0);
  };
  const auto first = [](const char* id) {
    const Store store = OpenStore();
    return TextOf(dynamic_cast<ValueSearch&>(*store).FindFirst(IdOf("any"), "id", id));
  };
  put("b", "same");
  put("a", "same");
  EXPECT_EQ(first("same"), "b");
  put("b", "other");
  EXPECT_EQ(first("same"), "a");
  put("b", "same");
  EXPECT_EQ(first("same"), "b") << "it kept its place";
  EXPECT_EQ(first("sam"), std::nullopt);
  EXPECT_EQ(first("same-"), std::nullopt);
}

}  // namespace
}  // namespace PlatformTest
