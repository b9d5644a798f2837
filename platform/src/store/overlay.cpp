// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/overlay.h"

#include <utility>

#include "store/snapshot_writer.h"

namespace TavConfigStore {

// A record that this transaction wrote.
class Overlay::WrittenRecord final : public RecordSource {
 public:
  explicit WrittenRecord(EncodedRecord record) : record_(std::move(record)) {}

  Record Read(std::uint32_t) const override {
    return {record_.kind(), record_.instance(), record_.body()};
  }
  std::string_view Body(std::uint32_t) const override { return record_.body(); }
  std::string_view instance() const { return record_.instance(); }

 private:
  EncodedRecord record_;
};

const Overlay::Changes* Overlay::ChangesOf(const std::string& kind) const {
  const auto found = changes_.find(kind);
  return found == changes_.end() ? nullptr : &found->second;
}

std::optional<std::uint32_t> Overlay::FindInBase(std::string_view kind, std::string_view instance,
                                                 const Changes* changes) const {
  if (!base_ || (changes != nullptr && changes->baseDeleted)) return std::nullopt;
  const Snapshot::Kind* const stored = base_->FindKind(kind);
  if (stored == nullptr) return std::nullopt;
  const std::optional<std::uint32_t> number = base_->Find(*stored, instance);
  if (number && changes != nullptr && changes->deleted.contains(*number)) return std::nullopt;
  return number;
}

FoundRecord Overlay::BaseRecord(std::uint32_t number, const Changes* changes) const {
  if (changes != nullptr) {
    const auto replaced = changes->replaced.find(number);
    if (replaced != changes->replaced.end()) return {replaced->second.get(), 0};
  }
  return {base_.get(), number};
}

FoundRecord Overlay::Find(const std::string& kind, const std::string& instance) const {
  const Changes* const changes = ChangesOf(kind);
  if (changes != nullptr) {
    const auto added = changes->addedAt.find(instance);
    if (added != changes->addedAt.end()) return {changes->added[added->second].get(), 0};
  }
  const auto number = FindInBase(kind, instance, changes);
  return number ? BaseRecord(*number, changes) : FoundRecord();
}

std::vector<FoundRecord> Overlay::List(const std::string& kind) const {
  const Changes* const changes = ChangesOf(kind);
  std::vector<FoundRecord> records;
  if (base_ && !(changes != nullptr && changes->baseDeleted)) {
    const Snapshot::Kind* const stored = base_->FindKind(kind);
    const std::uint32_t count = stored == nullptr ? 0 : stored->count;
    records.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint32_t number = stored->first + i;
      if (changes != nullptr && changes->deleted.contains(number)) continue;
      records.push_back(BaseRecord(number, changes));
    }
  }
  if (changes != nullptr) {
    for (const auto& record : changes->added) {
      if (record) records.push_back({record.get(), 0});
    }
  }
  return records;
}

void Overlay::Set(EncodedRecord encoded) {
  const std::string_view kind = encoded.kind();
  auto found = changes_.find(kind);
  if (found == changes_.end()) found = changes_.emplace(kind, Changes(key_)).first;
  Changes& changes = found->second;
  auto record = std::make_shared<const WrittenRecord>(std::move(encoded));
  // All allocations come before the first change, for the strong exception guarantee.
  if (auto added = changes.addedAt.extract(record->instance())) {
    added.key() = record->instance();  // the old key refers to the replaced record
    changes.added[added.mapped()] = std::move(record);
    changes.addedAt.insert(std::move(added));
  } else if (const auto number = FindInBase(found->first, record->instance(), &changes)) {
    changes.replaced[*number] = std::move(record);
  } else {
    const std::size_t place = changes.added.size();
    changes.added.resize(place + 1);  // null entries are skipped
    changes.addedAt.emplace(record->instance(), place);
    changes.added[place] = std::move(record);
  }
}

void Overlay::Delete(const std::string& kind, const std::string& instance) {
  Changes& changes = changes_.try_emplace(kind, key_).first->second;
  const auto added = changes.addedAt.find(instance);
  if (added != changes.addedAt.end()) {
    const std::size_t place = added->second;
    changes.addedAt.erase(added);
    changes.added[place] = nullptr;
  } else if (const auto number = FindInBase(kind, instance, &changes)) {
    changes.deleted.insert(*number);
    changes.replaced.erase(*number);
  }
}

void Overlay::DeleteAll(const std::string& kind) {
  Changes cleared(key_);
  cleared.baseDeleted = true;
  changes_.insert_or_assign(kind, std::move(cleared));
}

// Prefetches the records to be copied.
void Overlay::LoadBase(const std::string& kind) const {
  const Changes* const changes = ChangesOf(kind);
  const Snapshot::Kind* const stored = base_ ? base_->FindKind(kind) : nullptr;
  if (stored != nullptr && (changes == nullptr || !changes->baseDeleted)) base_->LoadAll(*stored);
}

void Overlay::Write(const HostPlatform::Io::FileDescriptor& file, const std::string& path) const {
  SnapshotWriter writer(file, path, key_);
  const auto writeKind = [&](const std::string& kind) {
    const std::vector<FoundRecord> records = List(kind);
    if (records.empty()) return;
    LoadBase(kind);
    writer.BeginKind(kind);
    for (const FoundRecord& found : records) {
      const RecordSource::Record record = found.source->Read(found.number);
      writer.Add(record.instance, record.body);
    }
  };
  // Existing kinds keep their order; new ones follow.
  if (base_) {
    for (const Snapshot::Kind& kind : base_->kinds())
      writeKind(std::string(kind.name));
  }
  for (const auto& [kind, changes] : changes_) {
    if (!base_ || base_->FindKind(kind) == nullptr) writeKind(kind);
  }
  writer.Finish();
}

}  // namespace TavConfigStore
