// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Random operations on several handles, compared with a model after every step.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <vector>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/model.h"
#include "tavconfigstore/value_search.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

using namespace std::string_literals;  // NOLINT(google-build-using-namespace): an embedded NUL

constexpr std::size_t kMostHandles = 5;
constexpr std::size_t kMostHeld = 20;

// A handle, and what it should show.
struct Handle {
  Store store;
  std::shared_ptr<const State> view;
  bool outdated = false;             // by a commit of its own: the next read takes the newest state
  std::optional<State> transaction;  // set while one is open
};

// An object that was fetched at some time, and what it should hold for ever.
struct Held {
  Object object;
  Contents contents;
  std::string kind;
  std::string instance;
};

class RandomOperations : public HostTest {
 protected:
  RandomOperations() : random_(0) { HostPlatform::UseLockTimeout(0); }

  void Run(std::uint64_t seed, int operations) {
    random_ = Random(seed);
    handles_.push_back(NewHandle());
    for (int i = 0; i < operations && !HasFailure(); ++i) {
      SCOPED_TRACE("operation " + std::to_string(i));
      Step();
      CheckOne();
      if (i % 500 == 499) RunInChild([this] { CheckAll(NewHandle()); });
    }
    for (Handle& handle : handles_)
      CheckAll(std::move(handle));
  }

 private:
  using Operation = void (RandomOperations::*)(Handle& handle);

  void Step() {
    static constexpr Operation kOperations[] = {
        &RandomOperations::Begin,      &RandomOperations::Begin,   &RandomOperations::Commit,
        &RandomOperations::RollBack,   &RandomOperations::SetNew,  &RandomOperations::SetNew,
        &RandomOperations::SetNew,     &RandomOperations::SetNew,  &RandomOperations::SetFetched,
        &RandomOperations::SetFetched, &RandomOperations::SetHeld, &RandomOperations::DeleteOne,
        &RandomOperations::DeleteOne,  &RandomOperations::List,    &RandomOperations::Hold};
    if (random_.OneIn(60)) {
      Restart();
    } else if (random_.OneIn(40)) {
      DeleteKind(random_.Of(handles_));
    } else if (random_.OneIn(10)) {
      OpenOrDrop();
    } else {
      (this->*kOperations[random_.Below(std::size(kOperations))])(AnyHandle());
    }
  }

  Handle NewHandle() { return {OpenStore(), newest_, false, std::nullopt}; }
  Handle& AnyHandle() { return handles_[random_.Below(handles_.size())]; }

  bool IsAnyTransactionOpen() const {
    return std::any_of(handles_.begin(), handles_.end(),
                       [](const Handle& handle) { return handle.transaction.has_value(); });
  }

  const State& View(Handle& handle) {
    if (handle.transaction) return *handle.transaction;
    if (handle.outdated) handle.view = newest_;
    handle.outdated = false;
    return *handle.view;
  }

  void OpenOrDrop() {
    const bool drop = handles_.size() == kMostHandles || (handles_.size() > 1 && random_.OneIn(2));
    if (drop) {
      handles_.erase(handles_.begin() + static_cast<long>(random_.Below(handles_.size())));
    } else {
      handles_.push_back(NewHandle());
    }
  }

  void Restart() {
    if (!IsAnyTransactionOpen()) StartAfresh();
  }

  void Begin(Handle& handle) {
    const CSErrorCodes expected = handle.transaction       ? kUsage
                                  : IsAnyTransactionOpen() ? kBusy
                                                           : kNothing;
    ASSERT_EQ(CodeOf([&] { handle.store->BeginTransaction(); }), expected);
    if (expected == kNothing) handle.transaction = *newest_;
  }

  void Commit(Handle& handle) {
    const CSErrorCodes expected = handle.transaction ? kNothing : kUsage;
    ASSERT_EQ(CodeOf([&] { handle.store->CommitTransaction(); }), expected);
    if (expected != kNothing) return;
    newest_ = std::make_shared<const State>(std::move(*handle.transaction));
    handle.transaction.reset();
    handle.outdated = true;
  }

  void RollBack(Handle& handle) {
    handle.store->RollbackTransaction();
    if (handle.transaction) handle.outdated = true;
    handle.transaction.reset();
  }

  // A change, in the handle's transaction or one of its own, made to the store and to the model.
  template <typename StoreChange, typename ModelChange>
  void Change(Handle& handle, StoreChange changeStore, ModelChange changeModel) {
    const bool busy = !handle.transaction && IsAnyTransactionOpen();
    ASSERT_EQ(CodeOf([&] { changeStore(*handle.store); }), busy ? kBusy : kNothing);
    if (busy) return;
    if (handle.transaction) {
      changeModel(*handle.transaction);
      return;
    }
    State next = *newest_;
    changeModel(next);
    newest_ = std::make_shared<const State>(std::move(next));
    handle.outdated = true;
  }

  void Set(Handle& handle, const std::string& kind, const std::string& instance,
           const Object& object, const Contents& contents) {
    Change(
        handle, [&](ConfigStore& store) { store.SetObject(object, 0); },
        [&](State& state) { state.Set(kind, instance, contents); });
  }

  void SetNew(Handle& handle) {
    const std::string& kind = random_.Of(Kinds());
    const std::string& instance = random_.Of(Instances());
    const Contents contents = RandomContents(&random_);
    Set(handle, kind, instance, ToObject(kind, instance, contents), contents);
  }

  void SetFetched(Handle& handle) {
    const std::string& kind = random_.Of(Kinds());
    const std::string& instance = random_.Of(Instances());
    const Contents* const stored = View(handle).Find(kind, instance);
    const Object object = handle.store->GetObject(IdOf(instance, kind));
    ASSERT_EQ(object != nullptr, stored != nullptr);
    if (stored == nullptr) return;
    Contents contents = *stored;
    for (std::size_t changes = random_.Below(3); changes != 0; --changes) {
      ChangeAlike(&random_, object.get(), &contents);
    }
    ASSERT_EQ(Describe(object), Describe(contents));
    Set(handle, kind, instance, object, contents);
  }

  void SetHeld(Handle& handle) {
    if (held_.empty()) return;
    Held& held = held_[random_.Below(held_.size())];
    if (random_.OneIn(2)) ChangeAlike(&random_, held.object.get(), &held.contents);
    Set(handle, held.kind, held.instance, held.object, held.contents);
  }

  void DeleteOne(Handle& handle) {
    const std::string& kind = random_.Of(Kinds());
    const std::string& instance = random_.Of(Instances());
    if (instance.empty()) return;  // an empty instance selects the whole kind
    Change(
        handle, [&](ConfigStore& store) { store.DeleteObjects(One(instance, kind)); },
        [&](State& state) { state.Delete(kind, instance); });
  }

  void DeleteKind(const Handle& chosen) {
    Handle& handle = handles_[static_cast<std::size_t>(&chosen - handles_.data())];
    const std::string& kind = random_.Of(Kinds());
    Change(
        handle, [&](ConfigStore& store) { store.DeleteObjects(All(kind)); },
        [&](State& state) { state.DeleteAll(kind); });
  }

  void List(Handle& handle) {
    const std::string& kind = random_.Of(Kinds());
    ASSERT_EQ(DescribeAll(handle.store->GetObjects(All(kind))), DescribeAll(View(handle), kind));
  }

  void Hold(Handle& handle) {
    const std::string& kind = random_.Of(Kinds());
    const std::string& instance = random_.Of(Instances());
    const Contents* const stored = View(handle).Find(kind, instance);
    const Object object = handle.store->GetObject(IdOf(instance, kind));
    ASSERT_EQ(object != nullptr, stored != nullptr);
    if (stored == nullptr) return;
    if (held_.size() == kMostHeld) held_.erase(held_.begin());
    held_.push_back({object, *stored, kind, instance});
  }

  // The first object that has the value, as the model tells.
  void CheckSearch(Handle& handle) {
    const std::string& kind = random_.Of(Kinds());
    const std::string& name = random_.Of(ValueNames());
    const std::string value = random_.Of(Texts{"", "x", "same", "same\0"s, "absent"});
    std::string expected = kAbsent;
    CSErrorCodes code = kNothing;
    for (const auto& [instance, contents] : View(handle).Of(kind)) {
      const auto found = contents.values.find(name);
      if (found == contents.values.end()) continue;
      const auto* const text = std::get_if<std::string>(&found->second);
      if (text == nullptr) code = kWrongType;
      if (text != nullptr && *text == value) expected = Describe(&contents);
      if (code != kNothing || expected != kAbsent) break;
    }
    std::string answer = kAbsent;
    EXPECT_EQ(CodeOf([&] {
                auto& search = dynamic_cast<ValueSearch&>(*handle.store);
                answer = Describe(search.FindFirst(IdOf("", kind), name.c_str(), value));
              }),
              code);
    EXPECT_EQ(answer, expected);
  }

  void CheckOne() {
    CheckSearch(AnyHandle());
    Handle& handle = AnyHandle();
    const std::string& kind = random_.Of(Kinds());
    const std::string& instance = random_.Of(Instances());
    EXPECT_EQ(Describe(handle.store->GetObject(IdOf(instance, kind))),
              Describe(View(handle).Find(kind, instance)));
    if (!held_.empty()) {
      const Held& held = random_.Of(held_);
      EXPECT_EQ(Describe(held.object), Describe(held.contents));
    }
  }

  void CheckAll(Handle handle) {
    for (const std::string& kind : Kinds()) {
      EXPECT_EQ(DescribeAll(handle.store->GetObjects(All(kind))), DescribeAll(View(handle), kind));
      for (const std::string& instance : Instances()) {
        EXPECT_EQ(Describe(handle.store->GetObject(IdOf(instance, kind))),
                  Describe(View(handle).Find(kind, instance)));
      }
    }
  }

  Random random_;
  std::shared_ptr<const State> newest_ = std::make_shared<const State>();
  std::vector<Handle> handles_;
  std::vector<Held> held_;
};

using LongRandomOperations = RandomOperations;

TEST_F(RandomOperations, LeaveWhatTheModelHolds) {
  Run(SeedOfThisRun(), 4000);
}

TEST_F(RandomOperations, OfOneSeedLeaveWhatTheModelHolds) {
  Run(20'240'229, 1500);  // so that two runs have something in common
}

TEST_F(LongRandomOperations, LeaveWhatTheModelHolds) {
  Run(SeedOfThisRun(), 100'000);
}

}  // namespace
}  // namespace PlatformTest
