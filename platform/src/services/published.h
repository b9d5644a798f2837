// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Array of pointers that any thread may publish and all threads read.
#ifndef PLATFORM_SRC_SERVICES_PUBLISHED_H_
#define PLATFORM_SRC_SERVICES_PUBLISHED_H_

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

namespace HostPlatform {

// Null at first. calloc() makes even a large array cheap: the kernel provides zero pages on first
// use.
template <typename Object>
class Published {
 public:
  Published() = default;
  explicit Published(std::size_t count)
      : places_(
            static_cast<std::atomic<Object*>*>(std::calloc(count, sizeof(std::atomic<Object*>)))) {
    static_assert(std::atomic<Object*>::is_always_lock_free);
    if (places_ == nullptr && count != 0) throw std::bad_alloc();
  }

  Object* Get(std::size_t place) const noexcept {
    return places_.get()[place].load(std::memory_order_acquire);
  }
  void Set(std::size_t place, Object* object) const noexcept {
    places_.get()[place].store(object, std::memory_order_release);
  }

 private:
  struct Free {
    void operator()(void* memory) const { std::free(memory); }
  };
  std::unique_ptr<std::atomic<Object*>, Free> places_;
};

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_SERVICES_PUBLISHED_H_
