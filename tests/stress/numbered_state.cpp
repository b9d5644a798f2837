// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "numbered_state.h"

#include <stdexcept>
#include <vector>

#include "platform/admin.h"
#include "platform/feature_list.h"
#include "support/store_calls.h"
#include "support/temporary_directory.h"
#include "zynctl/config_file.h"

namespace StressTest {
namespace {

using PlatformTest::Store;
using PlatformTest::Texts;
using ZynCtl::Config::SynchronizedConfigFile;

constexpr std::size_t kPlaces = 8;

// Of each number another length, so that the files differ in theirs.
std::string TextFor(int number) {
  const auto length = static_cast<std::size_t>(number) * 997 % 1500;
  return std::to_string(number) + ' ' + std::string(length, static_cast<char>('a' + number % 26));
}

int NumberOf(const Texts& texts) {
  if (texts.empty()) return 0;
  const int number = std::stoi(texts.front());
  if (texts == Texts(kPlaces, TextFor(number))) return number;
  std::string numbers;
  for (const std::string& text : texts)
    numbers += ' ' + text.substr(0, text.find(' '));
  throw std::runtime_error("no whole state, but these numbers:" + numbers);
}

class StateInStore : public NumberedState {
 public:
  bool IsLeftover(const std::string& name) const override {
    return name.starts_with(".config-store.cdb.");
  }

  int Read() const override { return NumberOf(PlatformTest::List(PlatformTest::OpenStore())); }

  int Advance(const std::function<void(int)>& begins) const override {
    const Store store = PlatformTest::OpenStore();
    store->BeginTransaction();
    const int number = NumberOf(PlatformTest::List(store)) + 1;
    store->DeleteObjects(PlatformTest::All());
    for (std::size_t i = 0; i < kPlaces; ++i)
      PlatformTest::Put(store, std::to_string(i), TextFor(number));
    begins(number);
    store->CommitTransaction();
    return number;
  }
};

class StateInFile : public NumberedState {
 public:
  bool IsLeftover(const std::string& name) const override {
    return name.starts_with(".host-config.json.");
  }

  int Read() const override {
    const SynchronizedConfigFile locked;
    return NumberOf(TextsIn(locked));
  }

  int Advance(const std::function<void(int)>& begins) const override {
    const SynchronizedConfigFile locked;
    const int number = NumberOf(TextsIn(locked)) + 1;
    const auto branch = locked.file->GetBranch(kBranch);
    branch->RemoveAllChildren();
    const auto items = branch->GetArray("items");
    for (std::size_t i = 0; i < kPlaces; ++i)
      items->NewInstance()->SetValue("text", TextFor(number));
    begins(number);
    locked.file->Write();
    return number;
  }

 private:
  static constexpr char kBranch[] = "/Host/Test";

  static Texts TextsIn(const SynchronizedConfigFile& locked) {
    Texts texts;
    for (const auto& item : locked.file->GetBranch(kBranch)->GetArray("items")->GetInstances()) {
      std::string text;
      item->GetValue("text", &text);
      texts.push_back(text);
    }
    return texts;
  }
};

// As many switches on as the number says, one after the other.
class StateInSwitches : public NumberedState {
 public:
  bool IsLeftover(const std::string& /*name*/) const override {
    return false;  // the file is made once, and then changed in place
  }

  int Read() const override {
    if (!IsOn(kFeatureQuorUsesConfigStore)) throw std::runtime_error("the defaults are lost");
    int number = 0;
    while (IsOn(kFirst + number))
      ++number;
    for (int i = number; i < kMost; ++i) {
      if (IsOn(kFirst + i)) throw std::runtime_error("switches are on with others before them off");
    }
    return number;
  }

  int Advance(const std::function<void(int)>& begins) const override {
    const int number = Read() + 1;
    if (number >= kMost) throw std::logic_error("there are no more switches");
    begins(number);
    HostPlatform::SetFeature(kFirst + number - 1, true);
    return number;
  }

 private:
  static constexpr int kFirst = 100;
  static constexpr int kMost = kFeatureCount - kFirst;

  static bool IsOn(int index) {
    const HostPlatform::FeatureState state = HostPlatform::GetFeature(index);
    if (!state.problem.empty()) throw std::runtime_error(state.problem);
    return state.on;
  }
};

// As many numbered files, none of them missing, each whole.
class StateInHistory : public NumberedState {
 public:
  bool IsLeftover(const std::string& name) const override {
    return name.starts_with('.') && name.find(kSuffix) != std::string::npos;
  }

  int Read() const override {
    const std::string folder = HostPlatform::HostDirectory() + '/' + kFolder;
    int number = 0;
    while (PlatformTest::Exists(PathOf(folder, number + 1)))
      ++number;
    for (int i = 1; i <= number; ++i) {
      if (PlatformTest::ReadFile(PathOf(folder, i)) != TextFor(i)) {
        throw std::runtime_error(PathOf(folder, i) + " is not whole");
      }
    }
    if (number == 0 && !PlatformTest::Exists(folder)) return 0;
    int files = 0;
    for (const std::string& name : PlatformTest::NamesIn(folder))
      files += name.starts_with('.') ? 0 : 1;
    if (files != number) throw std::runtime_error("there are numbers with others before them lost");
    return number;
  }

  int Advance(const std::function<void(int)>& begins) const override {
    const int number = Read() + 1;
    begins(number);
    const std::uint64_t given = HostPlatform::AddNumberedFile(kFolder, kSuffix, TextFor(number));
    if (given != static_cast<std::uint64_t>(number)) {
      throw std::runtime_error("the number " + std::to_string(given) + " is given");
    }
    return number;
  }

 private:
  static constexpr char kFolder[] = "history";
  static constexpr char kSuffix[] = ".text";

  static std::string PathOf(const std::string& folder, int number) {
    return folder + '/' + std::to_string(number) + kSuffix;
  }
};

}  // namespace

std::unique_ptr<NumberedState> NumberedState::Of(const std::string& store) {
  if (store == "store") return std::make_unique<StateInStore>();
  if (store == "file") return std::make_unique<StateInFile>();
  if (store == "switches") return std::make_unique<StateInSwitches>();
  if (store == "history") return std::make_unique<StateInHistory>();
  throw std::invalid_argument("no such store: " + store);
}

}  // namespace StressTest
