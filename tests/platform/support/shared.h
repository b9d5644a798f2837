// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A value that a test and its child processes share.
#ifndef TESTS_PLATFORM_SUPPORT_SHARED_H_
#define TESTS_PLATFORM_SUPPORT_SHARED_H_

#include <sys/mman.h>

#include <new>

namespace PlatformTest {

// Made before the fork. `Value` holds atomics and nothing that owns memory.
template <typename Value>
class Shared {
 public:
  Shared() {
    void* const memory =
        mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    value_ = new (memory) Value;
  }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  ~Shared() { munmap(value_, sizeof(Value)); }

  Value& operator*() const { return *value_; }
  Value* operator->() const { return value_; }

 private:
  Value* value_;
};

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_SUPPORT_SHARED_H_
