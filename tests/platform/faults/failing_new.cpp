// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// In place of the C++ library's `operator new` in all its forms. The forms for arrays and for sizes
// come down to these; what they give comes from malloc() and goes to free().
#include <cstdlib>
#include <new>

#include "faults/failing_allocations.h"

namespace PlatformTest {
namespace {

void* Allocate(std::size_t size) noexcept {
  return AllocationFails() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* AllocateAligned(std::size_t size, std::align_val_t alignment) noexcept {
  const auto unit = static_cast<std::size_t>(alignment);
  const std::size_t units = (size + unit - 1) / unit;
  return AllocationFails() ? nullptr : std::aligned_alloc(unit, (units != 0 ? units : 1) * unit);
}

void* OrRaise(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

const char* const kAllocator = "operator new";

}  // namespace PlatformTest

using PlatformTest::Allocate;
using PlatformTest::AllocateAligned;
using PlatformTest::OrRaise;

void* operator new(std::size_t size) {
  return OrRaise(Allocate(size));
}
void* operator new[](std::size_t size) {
  return OrRaise(Allocate(size));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return OrRaise(AllocateAligned(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return OrRaise(AllocateAligned(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment,
                   const std::nothrow_t& /*tag*/) noexcept {
  return AllocateAligned(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& /*tag*/) noexcept {
  return AllocateAligned(size, alignment);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/,
                       std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
