// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Objects of one listing in a single allocation.
//
// Otherwise a scan of a thousand objects spends most of its time in the allocator. The block lives
// as long as any of its objects is held.
#ifndef PLATFORM_SRC_STORE_OBJECT_BATCH_H_
#define PLATFORM_SRC_STORE_OBJECT_BATCH_H_

#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "store/object_contents.h"

namespace TavConfigStore {

template <typename Object>
class ObjectBatch {
 public:
  // Reserves memory for `capacity` objects of the source.
  ObjectBatch(std::shared_ptr<const RecordSource> source, std::size_t capacity)
      : block_(std::make_shared<Block>(std::move(source), capacity)) {}

  // Appends the object of that record, within the capacity. `body` is empty if not read yet.
  void Add(std::uint32_t number, std::string_view body) {
    // Making an object of a stored record raises nothing.
    std::construct_at(block_->objects + block_->count, &block_->source, number, body);
    ++block_->count;
  }

  // All objects, in the order of Add().
  std::vector<std::shared_ptr<Object>> Share() const {
    std::vector<std::shared_ptr<Object>> shared;
    shared.reserve(block_->count);
    for (std::size_t i = 0; i < block_->count; ++i)
      shared.emplace_back(block_, block_->objects + i);
    return shared;
  }

 private:
  using Stored = std::remove_const_t<Object>;

  // Up to this number objects are stored inside the block.
  static constexpr std::size_t kFew = 4;

  struct Block {
    Block(std::shared_ptr<const RecordSource> origin, std::size_t room)
        : source(std::move(origin)),
          capacity(room),
          objects(room <= kFew ? reinterpret_cast<Stored*>(few)
                               : std::allocator<Stored>().allocate(room)) {}
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() {
      std::destroy_n(objects, count);
      if (capacity > kFew) std::allocator<Stored>().deallocate(objects, capacity);
    }

    std::shared_ptr<const RecordSource> source;
    std::size_t capacity;
    std::size_t count = 0;
    Stored* objects;
    alignas(Stored) unsigned char few[kFew * sizeof(Stored)];
  };

  std::shared_ptr<Block> block_;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_OBJECT_BATCH_H_
