// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The native part of reach.py.
//
//   reach_benchmark fill      a catalogue of 1,000 policies of 3 blobs
//   reach_benchmark calls     prints nanoseconds of processor time a call
//   reach_benchmark waiting   prints what 1,000 descriptors cost while nothing changes
#include <malloc.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "quor/quor.h"
#include "quor/quor_lib.h"

namespace {

using TavQuor::QuorLib;

constexpr int kPolicies = 1000;
constexpr int kCalls = 200;
constexpr int kTurns = 101;
constexpr int kListings = 3;
constexpr int kDescriptors = 1000;
constexpr char kUrl[] = "ds:///a/";

void Fill() {
  std::vector<TavQuor::QuorPolicyInfo> policies(kPolicies);
  for (int i = 0; i < kPolicies; ++i) {
    policies[i].policyId = "id-" + std::to_string(i);
    policies[i].name = "Policy " + std::to_string(i);
    policies[i].description = "three copies";
    for (const char* const storage : {"RILK", "VOLB", "SHRF"}) {
      policies[i].blobs.emplace_back(std::string(512, static_cast<char>('a' + i % 26)), storage);
    }
  }
  QuorLib::AddPolicyInfo(policies);
  QuorLib::AddDatastoreInfo({{kUrl, "VOLB", "id-700"}});
}

// Of this thread, in nanoseconds: what others do on the machine is not in it.
double ProcessorTime() {
  timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

template <typename Call>
double Nanoseconds(int count, Call call) {
  const double begin = ProcessorTime();
  for (int i = 0; i < count; ++i) {
    call();
  }
  return (ProcessorTime() - begin) / count;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

std::size_t bytesSeen = 0;  // keeps the answers from being optimised away

void Calls() {
  std::vector<double> cxx;
  std::vector<double> c;
  for (int turn = 0; turn < kTurns; ++turn) {
    cxx.push_back(
        Nanoseconds(kCalls, [] { bytesSeen += QuorLib::GetDefaultPolicyBlob(kUrl).size(); }));
    c.push_back(Nanoseconds(kCalls, [] {
      quor_bytes blob;
      quor_default_blob(kUrl, QUOR_TERMINATED, &blob, nullptr);
      bytesSeen += blob.length;
      quor_bytes_free(&blob);
    }));
  }
  std::printf("cxx_lookup_ns %.1f\nc_lookup_ns %.1f\n", Median(cxx), Median(c));
  std::printf("cxx_listing_ns %.1f\n",
              Nanoseconds(kListings, [] { bytesSeen += QuorLib::ListPolicyInfo().size(); }));
}

double CpuMilliseconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  const auto time = [](const timeval& part) {
    return static_cast<double>(part.tv_sec) * 1e3 + static_cast<double>(part.tv_usec) / 1e3;
  };
  return time(usage.ru_utime) + time(usage.ru_stime);
}

void Waiting() {
  const rlimit files = {4096, 4096};
  setrlimit(RLIMIT_NOFILE, &files);
  std::vector<quor_changes*> changes(kDescriptors);
  std::vector<pollfd> waiting(kDescriptors);
  int fallbacks = 0;
  const std::size_t before = mallinfo2().uordblks;
  for (int i = 0; i < kDescriptors; ++i) {
    quor_changes_open(nullptr, &changes[i], nullptr);
    waiting[i] = {quor_changes_descriptor(changes[i]), POLLIN, 0};
    if (*quor_changes_fallback(changes[i]) != '\0') ++fallbacks;
  }
  const std::size_t used = mallinfo2().uordblks - before;
  const double begin = CpuMilliseconds();
  sleep(1);
  const double cost = CpuMilliseconds() - begin;
  const int woken = poll(waiting.data(), waiting.size(), 0);
  std::printf("waiting_cpu_ms %.3f\nwaiting_bytes %.1f\nwaiting_woken %d\nwaiting_by_timer %d\n",
              cost, static_cast<double>(used) / kDescriptors, woken, fallbacks);
  for (quor_changes* const one : changes) {
    quor_changes_close(one);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view part = argc == 2 ? argv[1] : "";
  if (part == "fill") {
    Fill();
  } else if (part == "calls") {
    Calls();
  } else if (part == "waiting") {
    Waiting();
  } else {
    std::fputs("usage: reach_benchmark fill|calls|waiting\n", stderr);
    return 2;
  }
  return 0;
}
