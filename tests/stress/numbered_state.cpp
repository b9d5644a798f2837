#include "numbered_state.h"

#include <stdexcept>
#include <vector>

#include "support/store_calls.h"
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
  std::string FileName() const override { return "config-store.cdb"; }

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
  std::string FileName() const override { return "host-config.json"; }

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

}  // namespace

std::unique_ptr<NumberedState> NumberedState::Of(const std::string& store) {
  if (store == "store") return std::make_unique<StateInStore>();
  if (store == "file") return std::make_unique<StateInFile>();
  throw std::invalid_argument("no such store: " + store);
}

}  // namespace StressTest
