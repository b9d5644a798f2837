#include "configstore/key_index.h"

namespace TavConfigStore {

// Twice as many slots as are used: searches stay short.
void KeyIndexBuilder::Append(std::uint64_t start, std::string* slots, std::string* tables) const {
  std::vector<Slot> table;
  for (const std::vector<Slot>& used : used_) {
    table.assign(2 * used.size(), Slot());
    for (const Slot& slot : used) {
      std::size_t at = (slot.hash / kIndexTables) % table.size();
      while (table[at].position != 0)
        at = at + 1 == table.size() ? 0 : at + 1;
      table[at] = slot;
    }
    HostPlatform::AppendInteger(static_cast<std::uint32_t>(start), tables);
    HostPlatform::AppendInteger(static_cast<std::uint32_t>(table.size()), tables);
    for (const Slot& slot : table) {
      HostPlatform::AppendInteger(slot.hash, slots);
      HostPlatform::AppendInteger(slot.position, slots);
    }
    start += kIndexSlotSize * table.size();
  }
}

}  // namespace TavConfigStore
