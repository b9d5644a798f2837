// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Loss of power at any moment of some commits, whose file operations are recorded: the store is
// opened on what the disk may show afterwards.
//
//   power_loss --store store|file|switches|history --states NUMBER [--seed NUMBER]
//
// The first commit makes the host directory too. The old state or the new one is there, whole; once
// the commit has returned, the new one; and the next commit works. That a missing flush would be
// noticed, of files and of each directory, is tried first.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "disk.h"
#include "numbered_state.h"
#include "place.h"
#include "platform/admin.h"
#include "recorded_calls.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

using Kind = FileOperation::Kind;
using PlatformTest::Random;

constexpr int kCommits = 4;                   // in one recording, from an empty directory on
constexpr int kStatesOfOneRecording = 20000;  // then the commits are recorded anew
constexpr int kTriesWithoutFlushes = 5000;
constexpr std::uint32_t kLockTimeout = 0;  // nobody is alive who could hold the lock

// What a loss of power takes with it.
enum class Loss { kNothing, kEverything, kContent, kNames, kAnything };

// Those with the most outcomes more often.
const std::vector<Loss> kLosses = {Loss::kNothing, Loss::kEverything, Loss::kNames,
                                   Loss::kContent, Loss::kContent,    Loss::kContent,
                                   Loss::kContent, Loss::kAnything,   Loss::kAnything};

Survival SurvivalOf(Loss loss, Random* random) {
  const auto sometimes = [random] { return random->OneIn(2); };
  const auto always = [] { return true; };
  const auto never = [] { return false; };
  const auto anySize = [random](std::size_t count) { return random->Below(count); };
  const auto newest = [](std::size_t count) { return count - 1; };
  const auto oldest = [](std::size_t) { return std::size_t{0}; };
  switch (loss) {
    case Loss::kNothing:
      return {always, always, newest};
    case Loss::kEverything:
      return {never, never, oldest};
    case Loss::kContent:
      return {sometimes, always, anySize};
    case Loss::kNames:
      return {always, sometimes, newest};
    case Loss::kAnything:
      break;
  }
  return {sometimes, sometimes, anySize};
}

class PowerLoss {
 public:
  explicit PowerLoss(const Arguments& arguments)
      : arguments_(arguments),
        random_(arguments.seed),
        state_(NumberedState::Of(arguments.store)),
        host_(temporary_.PathOf("host")) {
    HostPlatform::UseLockTimeout(kLockTimeout);
  }

  void Run() {
    RecordCommits(0);
    TryWithoutFlushes();
    for (states_ = 0; states_ < arguments_.times; ++states_) {
      if (states_ % kStatesOfOneRecording == 0) RecordCommits(states_ / kStatesOfOneRecording);
      TryOne();
    }
  }

  void Print(double seconds) const {
    std::printf(
        "store=%s seed=%llu states=%d different=%zu operations=%zu old=%d new=%d "
        "noticed-without-file-flush-after=%d "
        "noticed-without-directory-flush-after=%d seconds=%.1f\n",
        arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed), states_,
        different_.size(), operations_.size(), old_, new_, triesWithoutFileFlush_,
        triesWithoutDirectoryFlush_, seconds);
  }

 private:
  // From an empty directory, each time with states of other lengths.
  void RecordCommits(int round) {
    UseDirectory({});
    Record(temporary_.path());
    for (int i = 0; i < kCommits + round % 3; ++i)
      Mark(state_->Advance([](int) {}));
    operations_ = Recorded();
    CheckRecording();
  }

  // With nothing lost, the recording leads to the files that are there.
  void CheckRecording() {
    Disk disk;
    for (const FileOperation& operation : operations_)
      disk.Apply(operation);
    if (disk.AfterLossOfPower(SurvivalOf(Loss::kNothing, &random_)) != Present()) {
      throw std::logic_error("a system call that changes files was not recorded");
    }
  }

  FilesOnDisk Present() const {
    FilesOnDisk present;
    const std::string& root = temporary_.path();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const std::string path = entry.path().string().substr(root.size() + 1);
      if (entry.is_directory()) {
        present[path + '/'] = "";
      } else {
        present[path] = PlatformTest::ReadFile(entry.path());
      }
    }
    return present;
  }

  void UseDirectory(const FilesOnDisk& files) {
    std::filesystem::remove_all(host_);
    for (const auto& [path, content] : files) {
      const std::string place = temporary_.PathOf(path);
      if (path.ends_with('/')) {
        std::filesystem::create_directory(place);
        std::filesystem::permissions(place, std::filesystem::perms::owner_all);
      } else {
        PlatformTest::WriteFile(place, content);
      }
    }
    HostPlatform::UseHostDirectory(host_);
  }

  // How many operations are done before the power is lost. Mostly the last of them is a write: from
  // there the most different states can follow.
  std::size_t PlaceIn(const std::vector<FileOperation>& operations) {
    std::size_t end = random_.Below(operations.size() + 1);
    if (random_.OneIn(3)) return end;
    while (end > 0 && operations[end - 1].kind != Kind::kWrite)
      --end;
    return end;
  }

  // Loses power behind any operation, in one of the ways; returns which commit was the last one to
  // have returned.
  int LosePower(const std::vector<FileOperation>& operations, FilesOnDisk* found) {
    const std::size_t end = PlaceIn(operations);
    Disk disk;
    int returned = 0;
    for (std::size_t i = 0; i < end; ++i) {
      disk.Apply(operations[i]);
      if (operations[i].kind == Kind::kMark) returned = operations[i].mark;
    }
    *found = disk.AfterLossOfPower(SurvivalOf(random_.Of(kLosses), &random_));
    return returned;
  }

  // Raises when the store in the directory is not as it must be.
  void Check(int returned) {
    const int number = state_->Read();
    if (number != returned && number != returned + 1) {
      throw std::runtime_error("state " + std::to_string(number) + " after the commit of " +
                               std::to_string(returned) + " had returned");
    }
    ++(number == returned ? old_ : new_);
    if (state_->Advance([](int) {}) != number + 1 || state_->Read() != number + 1) {
      throw std::runtime_error("the next commit does not take");
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(host_)) {
      if (state_->IsLeftover(entry.path().filename())) {
        throw std::runtime_error("the next commit leaves " + entry.path().string());
      }
    }
  }

  void TryOne() {
    FilesOnDisk found;
    const int returned = LosePower(operations_, &found);
    std::string all;
    for (const auto& [name, content] : found)
      all.append(name).append(1, '\0').append(content).append(1, '\0');
    different_.insert(std::hash<std::string>()(all));
    UseDirectory(found);
    Check(returned);
  }

  void TryWithoutFlushes() {
    triesWithoutFileFlush_ =
        TryWithout([](const FileOperation& operation) { return operation.kind == Kind::kFlush; });
    std::set<std::string> directories;
    for (const FileOperation& operation : operations_) {
      if (operation.kind == Kind::kFlushDirectory) directories.insert(operation.name);
    }
    for (const std::string& directory : directories) {
      const int tries = TryWithout([&directory](const FileOperation& operation) {
        return operation.kind == Kind::kFlushDirectory && operation.name == directory;
      });
      triesWithoutDirectoryFlush_ = std::max(triesWithoutDirectoryFlush_, tries);
    }
  }

  // With some flushes left out, a bad state is bound to turn up. Returns after how many others.
  int TryWithout(const std::function<bool(const FileOperation&)>& isLeftOut) {
    std::vector<FileOperation> unflushed;
    for (const FileOperation& operation : operations_) {
      if (!isLeftOut(operation)) unflushed.push_back(operation);
    }
    for (int tries = 0; tries < kTriesWithoutFlushes; ++tries) {
      FilesOnDisk found;
      const int returned = LosePower(unflushed, &found);
      UseDirectory(found);
      try {
        Check(returned);
      } catch (const std::exception&) {
        old_ = new_ = 0;
        return tries;
      }
    }
    throw std::logic_error("a missing flush was not noticed");
  }

  const Arguments& arguments_;
  Random random_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  std::unique_ptr<NumberedState> state_;
  std::string host_;
  std::vector<FileOperation> operations_;
  std::unordered_set<std::size_t> different_;
  int states_ = 0;
  int old_ = 0;  // states in which the last commit that had returned was found
  int new_ = 0;  // and the one that was under way
  int triesWithoutFileFlush_ = 0;
  int triesWithoutDirectoryFlush_ = 0;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::PowerLoss>(argc, argv, "--states");
}
