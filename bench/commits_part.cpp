// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <simdjson.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "contestants.h"
#include "floor.h"
#include "parts.h"
#include "samples.h"
#include "temporary_directory.h"
#include "writer_process.h"

namespace Bench {
namespace {

constexpr int kRoundsToReset = 4;
constexpr int kWarmQuestions = 3;

std::vector<std::string> ReplacingContestants(const WorkloadSize& size) {
  std::vector<std::string> contestants = ContestantsFor(size);
  if (size.policies >= kTooManyToReplaceInSqlite) std::erase(contestants, kSqlite);
  return contestants;
}

// Commits by contestants in a new order each round, so that the machine's drift meets all.
class Commits {
 public:
  Commits(const Workload& workload, const std::vector<std::string>& contestants,
          const std::string& directory, Samples* samples)
      : workload_(workload), directory_(directory), samples_(samples) {
    for (const std::string& name : contestants) {
      const std::shared_ptr<Catalogue> catalogue = OpenCatalogue(name, directory);
      turns_.emplace_back([this, name, catalogue] { Commit(name, catalogue.get()); });
    }
    for (const char* name : {kStore, kFile}) {
      turns_.emplace_back([this, name, bytes = ReadFile(StoredIn(directory, name))] {
        const auto write = [&] { ReplaceFileDurably(HostIn(directory_), "floor", bytes); };
        samples_->Add("replace_policies", std::string("floor_") + name, Nanoseconds(write));
      });
    }
  }

  void Run(std::size_t rounds) {
    std::mt19937 random(1);
    for (round_ = 0; round_ < rounds; ++round_) {
      std::shuffle(turns_.begin(), turns_.end(), random);
      for (const auto& turn : turns_)
        turn();
    }
  }

 private:
  void Commit(const std::string& name, Catalogue* catalogue) {
    catalogue->Use();
    samples_->Add("replace_policies", name,
                  Nanoseconds([&] { catalogue->ReplacePolicies(workload_.policies); }));
    samples_->Add("replace_datastores", name,
                  Nanoseconds([&] { catalogue->ReplaceDatastores(workload_.datastores); }));
    if (round_ % kRoundsToReset != 0) return;
    samples_->Add("reset", name, Nanoseconds([&] { catalogue->Reset(); }));
    Load(catalogue, workload_);
  }

  const Workload& workload_;
  std::string directory_;
  std::vector<std::function<void()>> turns_;
  std::size_t round_ = 0;
  Samples* samples_;
};

// A reader's first question after each of another process's commits, and the same one again.
class Afterwards {
 public:
  Afterwards(const Workload& workload, const std::vector<std::string>& contestants,
             const std::string& directory, WriterProcess* writer, Samples* samples)
      : contestants_(contestants), directory_(directory), writer_(writer), samples_(samples) {
    name_ = workload.policies[workload.policyOrder.front()].name;
    for (const std::string& contestant : contestants)
      catalogues_.push_back(OpenCatalogue(contestant, directory));
  }

  void Run(std::size_t rounds) {
    for (std::size_t round = 0; round < rounds; ++round) {
      for (std::size_t i = 0; i < contestants_.size(); ++i)
        Ask(i);
    }
  }

 private:
  void Ask(std::size_t number) {
    const std::string& contestant = contestants_[number];
    Catalogue* const catalogue = catalogues_[number].get();
    catalogue->Use();
    catalogue->BlobByName(name_);
    writer_->Commit(number);
    const auto ask = [&] { return catalogue->BlobByName(name_); };
    samples_->Add("after_commit", contestant, Nanoseconds(ask));
    double warm = 0;
    for (int i = 0; i < kWarmQuestions; ++i)
      warm = Nanoseconds(ask);
    samples_->Add("after_commit_warm", contestant, warm);
    if (contestant == kFile)
      samples_->Add("after_commit", "floor_file", Nanoseconds([&] { Parse(); }));
  }

  // With a parser of its own, as the first read of a process has it.
  void Parse() const {
    simdjson::dom::parser parser;
    if (parser.load(StoredIn(directory_, kFile)).error()) throw std::runtime_error("no JSON");
  }

  const std::vector<std::string>& contestants_;
  std::string directory_;
  WriterProcess* writer_;
  Samples* samples_;
  std::string name_;
  std::vector<std::unique_ptr<Catalogue>> catalogues_;
};

}  // namespace

void MeasureCommits(const Options& options) {
  const Workload workload = MakeWorkload(options.size);
  const std::vector<std::string> contestants = ReplacingContestants(options.size);
  const TemporaryDirectory directory(options.directory);
  // Before anything is opened here: an SQLite connection must not be carried into a child.
  WriterProcess writer(workload, contestants, directory.path());
  LoadAll(contestants, directory.path(), workload);
  Samples samples;
  Commits(workload, contestants, directory.path(), &samples).Run(options.rounds);
  Afterwards(workload, contestants, directory.path(), &writer, &samples)
      .Run((options.rounds + 3) / 4);
  samples.Write(options);
}

}  // namespace Bench
