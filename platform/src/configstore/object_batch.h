// The objects of a listing, in one block of memory.
//
// A scan of a thousand objects would otherwise spend most of its time in the allocator. The block
// lives as long as any of its objects is held.
#ifndef PLATFORM_SRC_CONFIGSTORE_OBJECT_BATCH_H_
#define PLATFORM_SRC_CONFIGSTORE_OBJECT_BATCH_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "configstore/snapshot.h"

namespace TavConfigStore {

class ObjectBatch {
 public:
  // Objects for `count` records of the snapshot, from number `first` on.
  static std::vector<std::shared_ptr<ConfigStoreObject>> Make(
      const std::shared_ptr<const Snapshot>& snapshot, std::uint32_t first, std::uint32_t count);

  // Use Make(). Public for std::make_shared().
  ObjectBatch(std::shared_ptr<const Snapshot> snapshot, std::uint32_t first, std::uint32_t count);
  ObjectBatch(const ObjectBatch&) = delete;
  ObjectBatch& operator=(const ObjectBatch&) = delete;
  ~ObjectBatch();

 private:
  std::shared_ptr<const Snapshot> snapshot_;
  std::uint32_t count_;
  ConfigStoreObject* objects_;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_OBJECT_BATCH_H_
