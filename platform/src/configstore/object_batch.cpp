#include "configstore/object_batch.h"

#include <utility>

namespace TavConfigStore {

std::vector<std::shared_ptr<ConfigStoreObject>> ObjectBatch::Make(
    const std::shared_ptr<const Snapshot>& snapshot, std::uint32_t first, std::uint32_t count) {
  std::vector<std::shared_ptr<ConfigStoreObject>> objects;
  if (count == 0) return objects;
  objects.reserve(count);
  const auto batch = std::make_shared<ObjectBatch>(snapshot, first, count);
  for (std::uint32_t i = 0; i < count; ++i)
    objects.emplace_back(batch, batch->objects_ + i);
  return objects;
}

ObjectBatch::ObjectBatch(std::shared_ptr<const Snapshot> snapshot, std::uint32_t first,
                         std::uint32_t count)
    : snapshot_(std::move(snapshot)),
      count_(count),
      objects_(std::allocator<ConfigStoreObject>().allocate(count)) {
  // Making an object of a stored record raises nothing.
  for (std::uint32_t number = first; number < first + count; ++number) {
    const std::string_view body = snapshot_->CheckedBody(number);
    __builtin_prefetch(body.data());
    std::construct_at(objects_ + (number - first), snapshot_.get(), number, body);
  }
}

ObjectBatch::~ObjectBatch() {
  std::destroy_n(objects_, count_);
  std::allocator<ConfigStoreObject>().deallocate(objects_, count_);
}

}  // namespace TavConfigStore
