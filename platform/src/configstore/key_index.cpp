#include "configstore/key_index.h"

namespace TavConfigStore {

using HostPlatform::AppendInteger;

// Twice as many slots as are used: searches stay short. The tables follow each other, so that a
// slot of one is found from where that one starts.
void KeyIndexBuilder::Append(std::uint64_t start, std::string* slots, std::string* tables) const {
  std::array<std::size_t, kIndexTables> starts;
  std::size_t total = 0;
  for (std::uint32_t i = 0; i < kIndexTables; ++i) {
    starts[i] = total;
    AppendInteger(static_cast<std::uint32_t>(start + kIndexSlotSize * total), tables);
    AppendInteger(2 * counts_[i], tables);
    total += 2 * std::size_t{counts_[i]};
  }
  std::vector<Slot> all(total);
  for (const Slot& slot : used_) {
    const std::uint32_t number = slot.hash % kIndexTables;
    const std::size_t size = 2 * std::size_t{counts_[number]};
    Slot* const table = all.data() + starts[number];
    std::size_t at = (slot.hash / kIndexTables) % size;
    while (table[at].position != 0)
      at = at + 1 == size ? 0 : at + 1;
    table[at] = slot;
  }
  for (const Slot& slot : all) {
    AppendInteger(slot.hash, slots);
    AppendInteger(slot.position, slots);
  }
}

}  // namespace TavConfigStore
