// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "contestants.h"
#include "cycle.h"
#include "parts.h"
#include "samples.h"
#include "temporary_directory.h"

namespace Bench {
namespace {

constexpr std::chrono::milliseconds kTime(200);
constexpr int kMostProcesses = 8;

// What the processes of one measurement share.
struct Shared {
  std::atomic<int> ready{0};
  std::atomic<bool> go{false};
  std::atomic<double> callsPerSecond[kMostProcesses] = {};
};

class SharedMemory {
 public:
  SharedMemory()
      : memory_(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                     -1, 0)) {
    if (memory_ == MAP_FAILED) throw std::bad_alloc();
    new (memory_) Shared;
  }
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;
  ~SharedMemory() { munmap(memory_, sizeof(Shared)); }

  Shared* get() { return static_cast<Shared*>(memory_); }

 private:
  void* memory_;
};

struct Call {
  const char* name;
  void (*ask)(Catalogue* catalogue, const TavQuor::QuorPolicyInfo& policy,
              const TavQuor::QuorDatastoreInfo& datastore);
};

constexpr Call kCalls[] = {
    {"by_name", [](Catalogue* c, const auto& policy, const auto&) { c->BlobByName(policy.name); }},
    {"by_id", [](Catalogue* c, const auto& policy, const auto&) { c->BlobById(policy.policyId); }},
    {"default_blob",
     [](Catalogue* c, const auto&, const auto& datastore) { c->DefaultBlob(datastore.url); }},
    {"list_policies", [](Catalogue* c, const auto&, const auto&) { c->ListPolicies(); }},
};

// The calls per second of one thread.
double Ask(Catalogue* catalogue, const Call& call, const Workload& workload) {
  Cycle policies(workload.policies, workload.policyOrder);
  Cycle datastores(workload.datastores, workload.datastoreOrder);
  const auto start = std::chrono::steady_clock::now();
  auto now = start;
  std::uint64_t calls = 0;
  while (now - start < kTime) {
    call.ask(catalogue, policies.Next(), datastores.Next());
    now = std::chrono::steady_clock::now();
    ++calls;
  }
  return static_cast<double>(calls) / std::chrono::duration<double>(now - start).count();
}

// One process: opens, reads everything once, says that it is ready, and asks when told to.
double AskInThreads(Catalogue* catalogue, const Call& call, const Workload& workload, int threads,
                    Shared* shared) {
  DigestsOf(catalogue);
  std::vector<double> perSecond(static_cast<std::size_t>(threads));
  std::vector<std::thread> running;
  running.reserve(perSecond.size());
  for (double& result : perSecond) {
    running.emplace_back([&] {
      const std::unique_ptr<Catalogue> own = catalogue->ForThread();
      own->BlobByName(workload.policies.front().name);
      ++shared->ready;
      while (!shared->go)
        std::this_thread::yield();
      result = Ask(own.get(), call, workload);
    });
  }
  double sum = 0;
  for (std::thread& thread : running)
    thread.join();
  for (const double result : perSecond)
    sum += result;
  return sum;
}

// A child that runs `act` and ends. Nothing is open in this process, so nothing is carried over.
template <typename Act>
pid_t InChild(Act act) {
  const pid_t child = fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child > 0) return child;
  int status = 0;
  try {
    act();
  } catch (const std::exception& error) {
    std::cerr << "store_benchmark: " << error.what() << '\n';
    status = 1;
  }
  _exit(status);
}

void Await(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error("a child failed");
  }
}

struct Setting {
  const char* name;
  int processes;
  int threads;
};
constexpr Setting kSettings[] = {
    {"1_thread", 1, 1}, {"2_threads", 1, 2}, {"8_processes", kMostProcesses, 1}};

double CallsPerSecond(const Setting& setting, const Call& call, const std::string& contestant,
                      const std::string& directory, const Workload& workload) {
  SharedMemory memory;
  Shared* const shared = memory.get();
  std::vector<pid_t> children;
  children.reserve(static_cast<std::size_t>(setting.processes));
  for (int i = 0; i < setting.processes; ++i) {
    children.push_back(InChild([&, i] {
      const auto catalogue = OpenCatalogue(contestant, directory);
      shared->callsPerSecond[i] =
          AskInThreads(catalogue.get(), call, workload, setting.threads, shared);
    }));
  }
  while (shared->ready < setting.processes * setting.threads) {
    // A child that failed would never be ready.
    if (waitpid(-1, nullptr, WNOHANG) != 0) throw std::runtime_error("a child failed");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  shared->go = true;
  double sum = 0;
  for (const pid_t child : children)
    Await(child);
  for (const auto& one : shared->callsPerSecond)
    sum += one;
  return sum;
}

}  // namespace

void MeasureParallel(const Options& options) {
  const Workload workload = MakeWorkload(options.size);
  // Every call of the JSON peer is a parse, and tells nothing more here.
  std::vector<std::string> contestants = ContestantsFor(options.size);
  std::erase(contestants, kJson);
  const TemporaryDirectory directory(options.directory);
  Await(InChild([&] { LoadAll(contestants, directory.path(), workload); }));
  Samples samples;
  for (std::size_t round = 0; round < options.rounds; ++round) {
    for (const Call& call : kCalls) {
      for (const std::string& contestant : contestants) {
        for (const Setting& setting : kSettings) {
          const double perSecond =
              CallsPerSecond(setting, call, contestant, directory.path(), workload);
          samples.Add(std::string(call.name) + "_" + setting.name, contestant, perSecond);
        }
      }
    }
  }
  samples.Write(options);
}

}  // namespace Bench
