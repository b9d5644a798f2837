// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Loaded before the library: counts the listings and the digests that a program asks it for, and
// writes both numbers to the file that QUOR_CALL_COUNTS names when the program ends.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "quor/quor_lib.h"

namespace {

struct Counts {
  int listings = 0;
  int digests = 0;
  ~Counts() {
    std::FILE* const file = std::fopen(std::getenv("QUOR_CALL_COUNTS"), "w");
    if (!file) return;
    std::fprintf(file, "%d %d", listings, digests);
    std::fclose(file);
  }
} counts;

// The library's own function of that name.
template <typename Result>
Result Forward(const char* name) {
  return reinterpret_cast<Result (*)()>(dlsym(RTLD_NEXT, name))();
}

}  // namespace

namespace TavQuor {

__attribute__((visibility("default"))) std::vector<QuorPolicyInfo> QuorLib::ListPolicyInfo() {
  ++counts.listings;
  return Forward<std::vector<QuorPolicyInfo>>("_ZN7TavQuor7QuorLib14ListPolicyInfoEv");
}

__attribute__((visibility("default"))) std::vector<QuorDatastoreInfo> QuorLib::ListDatastoreInfo() {
  ++counts.listings;
  return Forward<std::vector<QuorDatastoreInfo>>("_ZN7TavQuor7QuorLib17ListDatastoreInfoEv");
}

__attribute__((visibility("default"))) std::pair<std::string, std::string> QuorLib::GetDbHash() {
  ++counts.digests;
  return Forward<std::pair<std::string, std::string>>("_ZN7TavQuor7QuorLib9GetDbHashB5cxx11Ev");
}

}  // namespace TavQuor
