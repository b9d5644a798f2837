// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// In place of the C library's allocating functions, which are still there by other names. What they
// give is given back to the C library's own free().
#include <cerrno>
#include <cstddef>

#include "faults/failing_allocations.h"

#define IN_PLACE_OF_THE_C_LIBRARY extern "C" __attribute__((visibility("default")))

// NOLINTBEGIN(bugprone-reserved-identifier): the C library's names
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)

namespace PlatformTest {
namespace {

bool Fails() {
  const bool fails = AllocationFails();
  if (fails) errno = ENOMEM;
  return fails;
}

}  // namespace

const char* const kAllocator = "malloc";

}  // namespace PlatformTest

IN_PLACE_OF_THE_C_LIBRARY void* malloc(std::size_t size) {
  return PlatformTest::Fails() ? nullptr : __libc_malloc(size);
}

IN_PLACE_OF_THE_C_LIBRARY void* calloc(std::size_t count, std::size_t size) {
  return PlatformTest::Fails() ? nullptr : __libc_calloc(count, size);
}

IN_PLACE_OF_THE_C_LIBRARY void* realloc(void* memory, std::size_t size) {
  return PlatformTest::Fails() ? nullptr : __libc_realloc(memory, size);
}
