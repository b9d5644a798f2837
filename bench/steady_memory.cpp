// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Loaded before the C library while instructions are counted: memory that always costs the same.
// The C library's own sorts and joins free blocks now and then, at a call that depends on all calls
// before it, and one of 2,800 instructions was once counted with 15,000.
//
// Blocks have sizes of powers of two and are never given back; each size has a list of free ones.
#include <sys/mman.h>

#include <atomic>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr std::size_t kReserved = std::size_t{8} << 30U;
constexpr std::size_t kClasses = 48;
constexpr std::size_t kNeverReused = kClasses;

// Before each block, so that blocks are aligned as everything may be.
struct alignas(std::max_align_t) Header {
  std::size_t sizeClass;
  std::size_t size;
};

struct FreeBlock {
  FreeBlock* next;
};

class Memory {
 public:
  void* Take(std::size_t size) {
    const std::size_t sizeClass = std::bit_width((size < 16 ? 16 : size) - 1);
    if (sizeClass >= kClasses) return nullptr;
    const Turn turn(&taken_);
    if (FreeBlock* const block = free_[sizeClass]) {
      free_[sizeClass] = block->next;
      return block;
    }
    return New(std::size_t{1} << sizeClass, sizeClass, alignof(Header));
  }

  void* TakeAligned(std::size_t alignment, std::size_t size) {
    if (alignment <= alignof(Header)) return Take(size);
    const Turn turn(&taken_);
    return New(size, kNeverReused, alignment);
  }

  void GiveBack(void* block) {
    const std::size_t sizeClass = HeaderOf(block)->sizeClass;
    if (sizeClass == kNeverReused) return;
    const Turn turn(&taken_);
    free_[sizeClass] = new (block) FreeBlock{free_[sizeClass]};
  }

  static std::size_t SizeOf(void* block) { return HeaderOf(block)->size; }

 private:
  class Turn {
   public:
    explicit Turn(std::atomic_flag* taken) : taken_(taken) {
      while (taken_->test_and_set(std::memory_order_acquire)) {
      }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() { taken_->clear(std::memory_order_release); }

   private:
    std::atomic_flag* taken_;
  };

  static Header* HeaderOf(void* block) { return static_cast<Header*>(block) - 1; }

  void* New(std::size_t size, std::size_t sizeClass, std::size_t alignment) {
    if (next_ == nullptr) {
      void* const reserved = mmap(nullptr, kReserved, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
      if (reserved == MAP_FAILED) return nullptr;
      next_ = static_cast<std::byte*>(reserved);
      end_ = next_ + kReserved;
    }
    void* block = next_ + sizeof(Header);
    auto left = static_cast<std::size_t>(end_ - next_) - sizeof(Header);
    if (std::align(alignment, size, block, left) == nullptr) return nullptr;
    next_ = static_cast<std::byte*>(block) + size;
    new (HeaderOf(block)) Header{sizeClass, size};
    return block;
  }

  std::atomic_flag taken_;
  FreeBlock* free_[kClasses] = {};
  std::byte* next_ = nullptr;
  std::byte* end_ = nullptr;
};

constinit Memory memory;

void* OrNoMemory(void* block) {
  if (block == nullptr) errno = ENOMEM;
  return block;
}

}  // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

[[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept {
  return OrNoMemory(memory.Take(size));
}

[[gnu::visibility("default")]] void free(void* block) noexcept {
  if (block != nullptr) memory.GiveBack(block);
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept {
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(count, size, &bytes)) return OrNoMemory(nullptr);
  void* const block = malloc(bytes);
  return block == nullptr ? nullptr : std::memset(block, 0, bytes);
}

[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) noexcept {
  if (block != nullptr && size <= Memory::SizeOf(block)) return block;
  void* const larger = malloc(size);
  if (larger == nullptr || block == nullptr) return larger;
  std::memcpy(larger, block, Memory::SizeOf(block));
  free(block);
  return larger;
}

[[gnu::visibility("default")]] void* aligned_alloc(std::size_t alignment,
                                                   std::size_t size) noexcept {
  return OrNoMemory(memory.TakeAligned(alignment, size));
}

[[gnu::visibility("default")]] void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return aligned_alloc(alignment, size);
}

[[gnu::visibility("default")]] int posix_memalign(void** block, std::size_t alignment,
                                                  std::size_t size) noexcept {
  void* const taken = memory.TakeAligned(alignment, size);
  if (taken == nullptr) return ENOMEM;
  *block = taken;
  return 0;
}

[[gnu::visibility("default")]] std::size_t malloc_usable_size(void* block) noexcept {
  return block == nullptr ? 0 : Memory::SizeOf(block);
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
