// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "damage/damage_test.h"

#include <unistd.h>

#include <stdexcept>

#include "tavconfigstore/value_search.h"

namespace PlatformTest {
namespace {

State MakeSample() {
  State sample;
  Contents full;
  full.values = {{"text", "text of alpha"}, {"a", 4711LL}, {"", ""}};
  full.subObjects = {{{"part", "1"}, {{"text", "first part"}, {"b", -1LL}}},
                     {{"part", ""}, {{"text", "second part"}}},
                     {{"", "1"}, {}}};
  sample.Set(kKind, "alpha", full);
  sample.Set(kKind, "", Contents());
  sample.Set(kKind, "beta", {{{"text", "text of beta"}}, {}});
  sample.Set(kOtherKind, "alpha", {{{"text", "another alpha"}}, {}});
  sample.Set(kOtherKind, "gamma", {{{"b", 5LL}}, {{{"part", "1"}, {{"a", 6LL}}}}});
  return sample;
}

}  // namespace

// The kinds one after the other, which is then their order in the file too.
DamageTest::DamageTest() : sample_(MakeSample()) {
  for (const char* kind : {kKind, kOtherKind}) {
    const Store store = OpenStore();
    store->BeginTransaction();
    for (const auto& [instance, contents] : sample_.Of(kind)) {
      store->SetObject(ToObject(kind, instance, contents), 0);
    }
    store->CommitTransaction();
  }
  bytes_ = ReadFile(SnapshotPath());
}

// Not by a rename over the old file, for which some file systems write out the new one first.
void DamageTest::StoreBytes(std::string_view bytes) const {
  unlink(SnapshotPath().c_str());
  WriteFile(SnapshotPath(), bytes);
}

std::string DamageTest::SampleWith(const std::string& text, const std::string& replacement) const {
  const std::size_t place = bytes_.find(text);
  if (place == std::string::npos) throw std::logic_error("the sample does not hold " + text);
  std::string damaged = bytes_;
  return damaged.replace(place, replacement.size(), replacement);
}

void DamageTest::Ask(Answers* answers, const std::string& question,
                     const std::function<bool()>& ask) {
  try {
    if (!ask()) answers->wrong += question + ": wrong answer; ";
  } catch (const ConfigStoreException& failure) {
    answers->raised = true;
    if (failure.code() != TavConfigStore::kCorrupt &&
        failure.code() != TavConfigStore::kUnsupported) {
      answers->wrong += question + ": " + failure.what() + "; ";
    }
  }
}

void DamageTest::AskKind(Answers* answers, const Store& store, const std::string& kind) const {
  const auto& entries = sample_.Of(kind);
  for (const auto& [instance, contents] : entries) {
    Ask(answers, "object " + instance, [&, &name = instance, &expected = contents] {
      return Describe(store->GetObject(IdOf(name, kind))) == Describe(expected);
    });
  }
  for (const char* absent : {"delta", "alph", "bet", "gamm"}) {
    Ask(answers, std::string("absent object ") + absent,
        [&] { return store->GetObject(IdOf(absent, kind)) == nullptr; });
  }
  // By a value: the first that has the text, of several that have it.
  for (const char* text : {"text of alpha", "text of beta", "another alpha", "absent text"}) {
    Ask(answers, std::string("object with ") + text, [&, text] {
      const auto found = dynamic_cast<TavConfigStore::ValueSearch&>(*store).FindFirst(
          IdOf("", kind), "text", text);
      for (const auto& [instance, contents] : entries) {
        const auto value = contents.values.find("text");
        if (value == contents.values.end() || value->second != Values::mapped_type(text)) continue;
        return found != nullptr && Describe(found) == Describe(contents);
      }
      return found == nullptr;
    });
  }
  Ask(answers, "list of " + kind, [&] {
    const auto listed = store->GetObjects(All(kind));
    if (listed.size() != entries.size()) return false;
    for (std::size_t i = 0; i < listed.size(); ++i) {
      Ask(answers, "listed object " + entries[i].first,
          [&] { return Describe(listed[i]) == Describe(entries[i].second); });
    }
    return true;
  });
}

DamageTest::Answers DamageTest::AskEverything() const {
  Answers answers;
  Ask(&answers, "store", [&] {
    const Store store = OpenStore();
    AskKind(&answers, store, kKind);
    AskKind(&answers, store, kOtherKind);
    Ask(&answers, "list of an absent kind",
        [&] { return store->GetObjects(All("absent kind")).empty(); });
    return true;
  });
  return answers;
}

}  // namespace PlatformTest
