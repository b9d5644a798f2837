#include "configstore/object_batch.h"

#include "configstore/object_contents.h"

namespace TavConfigStore {

std::vector<std::shared_ptr<ConfigStoreObject>> ObjectBatch::Make(
    const std::shared_ptr<const RecordSource>& source, std::uint32_t first, std::uint32_t count) {
  std::vector<std::shared_ptr<ConfigStoreObject>> objects;
  if (count == 0) return objects;
  objects.reserve(count);
  const auto batch = std::make_shared<ObjectBatch>(source, first, count);
  for (std::uint32_t i = 0; i < count; ++i)
    objects.emplace_back(batch, batch->objects_ + i);
  return objects;
}

ObjectBatch::ObjectBatch(const std::shared_ptr<const RecordSource>& source, std::uint32_t first,
                         std::uint32_t count)
    : count_(count), objects_(std::allocator<ConfigStoreObject>().allocate(count)) {
  // Making an object of a stored record raises nothing.
  for (std::uint32_t i = 0; i < count; ++i) {
    std::construct_at(objects_ + i, StoredRecord{source, first + i, {}});
  }
}

ObjectBatch::~ObjectBatch() {
  std::destroy_n(objects_, count_);
  std::allocator<ConfigStoreObject>().deallocate(objects_, count_);
}

}  // namespace TavConfigStore
