// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A new process that asks one question.
//
//   probe none                       ends at once
//   probe lookup PLACE NAME SIZE     asks for the blob of a policy by its name
//   probe list PLACE                 lists the policies; prints by how many bytes the peak of the
//                                    process's memory grew, and the size of the answer
#include "probe.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>

namespace Bench {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::size_t PeakMemory() {
  const std::unique_ptr<std::FILE, FileCloser> status(std::fopen("/proc/self/status", "r"));
  char line[256];
  while (status && std::fgets(line, sizeof line, status.get())) {
    unsigned long kibibytes = 0;
    if (std::sscanf(line, "VmHWM: %lu kB", &kibibytes) == 1) return kibibytes * 1024;
  }
  return 0;
}

// Short strings live in the object.
std::size_t HeapOf(const std::string& text) {
  static const std::size_t kWithin = std::string().capacity();
  return text.size() > kWithin ? text.size() + 1 : 0;
}

std::size_t SizeOf(const Policies& policies) {
  std::size_t size = policies.size() * sizeof policies.front();
  for (const auto& policy : policies) {
    size += HeapOf(policy.name) + HeapOf(policy.policyId) + HeapOf(policy.description);
    size += policy.blobs.size() * sizeof policy.blobs.front();
    for (const auto& [blob, blobNamespace] : policy.blobs)
      size += HeapOf(blob) + HeapOf(blobNamespace);
  }
  return size;
}

int List(const char* place) {
  const std::size_t before = PeakMemory();
  const Policies policies = ProbedListing(place);
  std::printf("%zu %zu\n", PeakMemory() - before, SizeOf(policies));
  return policies.empty() ? 1 : 0;
}

int Run(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "none") == 0) return 0;
  if (argc == 5 && std::strcmp(argv[1], "lookup") == 0) {
    return ProbedBlob(argv[2], argv[3]).size() == std::strtoul(argv[4], nullptr, 10) ? 0 : 1;
  }
  if (argc == 3 && std::strcmp(argv[1], "list") == 0) return List(argv[2]);
  return 2;
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) try {
  return Bench::Run(argc, argv);
} catch (const std::exception& error) {
  std::fprintf(stderr, "probe: %s\n", error.what());
  return 1;
}
