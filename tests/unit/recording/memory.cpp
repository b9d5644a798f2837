// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "recording/memory.h"

#include <cstdlib>
#include <new>

// The linker sends the program's calls of free() to the first of the two, which calls the second.
extern "C" void __wrap_free(void* memory);  // NOLINT(bugprone-reserved-identifier)
extern "C" void __real_free(void* memory);  // NOLINT(bugprone-reserved-identifier)

namespace Recording {
namespace {

int allocationsUntilFailure = 0;

}  // namespace

void FailAllocation(int number) {
  allocationsUntilFailure = number;
}

bool AllocationWillFail() {
  return allocationsUntilFailure != 0;
}

ReliableMemory::ReliableMemory() : number_(allocationsUntilFailure) {
  allocationsUntilFailure = 0;
}

ReliableMemory::~ReliableMemory() {
  allocationsUntilFailure = number_;
}

Base64Memory& TheBase64Memory() {
  static Base64Memory memory;
  return memory;
}

}  // namespace Recording

// In the place of the C++ library's, for the whole program.
void* operator new(std::size_t size) {
  using Recording::allocationsUntilFailure;
  if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0) throw std::bad_alloc();
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  __real_free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  __real_free(memory);
}

void __wrap_free(void* memory) {
  Recording::Base64Memory& base64 = Recording::TheBase64Memory();
  if (memory == base64.handedOver || (memory != nullptr && memory == base64.left)) {
    base64.wasFreed = true;
  }
  if (memory != base64.left || memory == nullptr) __real_free(memory);
}
