// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "processes/locked_allocations.h"

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> locked{false};
pthread_mutex_t heap = PTHREAD_MUTEX_INITIALIZER;

void LockHeap() {
  pthread_mutex_lock(&heap);
}
void UnlockHeap() {
  pthread_mutex_unlock(&heap);
}

}  // namespace

namespace ConfigFileTest {

void LockAllocationsAroundForks() {
  if (locked) return;
  pthread_atfork(&LockHeap, &UnlockHeap, &UnlockHeap);
  locked = true;
}

}  // namespace ConfigFileTest

// All forms, since the address sanitizer has each of its own.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  const bool locks = locked;
  if (locks) LockHeap();
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (locks) UnlockHeap();
  return memory;
}
void* operator new(std::size_t size) {
  void* const memory = operator new(size, std::nothrow);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return operator new(size, std::nothrow);
}

void operator delete(void* memory) noexcept {
  const bool locks = locked;
  if (locks) LockHeap();
  std::free(memory);
  if (locks) UnlockHeap();
}
void operator delete(void* memory, std::size_t) noexcept {
  operator delete(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  operator delete(memory);
}
void operator delete[](void* memory) noexcept {
  operator delete(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  operator delete(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  operator delete(memory);
}
