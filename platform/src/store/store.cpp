// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "tavconfigstore/config_store.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <memory>
#include <optional>
#include <utility>

#include "errors/store_failure.h"
#include "os/call_scope.h"
#include "os/directory.h"
#include "os/file_lock.h"
#include "os/file_replacement.h"
#include "os/host_paths.h"
#include "services/feature_page.h"
#include "store/change_notice.h"
#include "store/fetched.h"
#include "store/object_batch.h"
#include "store/object_contents.h"
#include "store/object_key.h"
#include "store/overlay.h"
#include "store/record_codec.h"
#include "store/snapshot_cache.h"
#include "tavconfigstore/value_search.h"

namespace TavConfigStore {
namespace {

using HostPlatform::Io::CallScope;
using HostPlatform::Io::Directory;
using HostPlatform::Io::FileLock;
using HostPlatform::Io::FileReplacement;

constexpr mode_t kSnapshotMode = 0640;

// The writers' lock and the changes made under it.
class Transaction {
 public:
  Transaction()
      : directory_(PathOfTheDirectory()),
        lock_(directory_, HostPlatform::Io::kConfigStoreLockName, HostPlatform::Io::LockDeadline()),
        overlay_(LookForNewestSnapshot()) {}

  Overlay& overlay() { return overlay_; }
  const Overlay& overlay() const { return overlay_; }
  bool BelongsToThisProcess() const { return lock_.HeldByThisProcess(); }

  void Commit() {
    HostPlatform::EnsureFeaturesFile(directory_);
    std::optional<ChangeNotice> notice;
    if (overlay_.base()) notice.emplace(directory_);  // readers never cache absence
    FileReplacement next(directory_, HostPlatform::Io::kConfigStoreName, kSnapshotMode);
    overlay_.Write(next.file(), next.path());
    next.Flush();
    if (notice) notice->WaitForReaders();
    CheckBase(next.path());
    next.PutInPlace();
    inPlace_ = true;
    notice.reset();
    next.Commit();
  }

  // True if the commit failed at the flush of the directory, with the new file in place.
  bool IsInPlace() const { return inPlace_; }

 private:
  // Checked before the directory is created: if a known store is gone, a new directory would be in
  // the way of its restore.
  static const char* PathOfTheDirectory() {
    LookForNewestSnapshot();
    return HostPlatform::Io::HostDirectoryPath();
  }

  // Raises if another writer committed in spite of the lock, because the lock file was removed.
  void CheckBase(const std::string& path) const {
    struct stat status;
    const bool exists = fstatat(directory_.get(), HostPlatform::Io::kConfigStoreName, &status,
                                AT_SYMLINK_NOFOLLOW) == 0;
    const auto& base = overlay_.base();
    if (base ? exists && base->IsFile(status) : !exists) return;
    throw ConfigStoreException(path +
                                   ": another writer changed it during this transaction, since "
                                   "the lock file was removed; nothing was changed. Try again, "
                                   "and leave the lock file alone",
                               kBusy);
  }

  Directory directory_;
  FileLock lock_;
  Overlay overlay_;
  bool inPlace_ = false;
};

std::vector<std::shared_ptr<ConfigStoreObject>> FetchAll(
    const std::shared_ptr<const Snapshot>& snapshot, const std::string& kindName) {
  const Snapshot::Kind* const kind = snapshot->FindKind(kindName);
  if (kind == nullptr) return {};
  snapshot->LoadAll(*kind);
  ObjectBatch<ConfigStoreObject> objects(snapshot, kind->count);
  for (std::uint32_t i = 0; i < kind->count; ++i) {
    const std::string_view body = snapshot->CheckedBody(kind->first + i);
    __builtin_prefetch(body.data());
    objects.Add(kind->first + i, body);
  }
  return objects.Share();
}

std::shared_ptr<ConfigStoreObject> FetchFound(const FoundRecord& found) {
  if (found.source == nullptr) return nullptr;
  return Fetch<ConfigStoreObject>(found.source->shared_from_this(), found.number, {});
}

class HostConfigStore final : public ConfigStore, public ValueSearch {
 public:
  explicit HostConfigStore(std::shared_ptr<const Snapshot> snapshot)
      : snapshot_(std::move(snapshot)) {}
  ~HostConfigStore() override { RollbackTransaction(); }

  std::shared_ptr<ConfigStoreObject> GetObject(const ConfigStoreObjectId& id) override;
  void SetObject(const std::shared_ptr<ConfigStoreObject>& object,
                 const std::int32_t& writeMode) override;
  void DeleteObjects(const std::shared_ptr<FilterSpecObject>& filter) override;
  std::vector<std::shared_ptr<ConfigStoreObject>> GetObjects(
      const std::shared_ptr<FilterSpecObject>& filter) override;
  void BeginTransaction() override;
  void CommitTransaction() override;
  void RollbackTransaction() override;

  std::shared_ptr<ConfigStoreObject> FindFirst(const ConfigStoreObjectId& kindId, const char* name,
                                               const std::string& value) override;

 private:
  std::shared_ptr<ConfigStoreObject> FetchCommitted(const Snapshot::Kind* kind,
                                                    const std::string& instance) const;
  const std::shared_ptr<const Snapshot>& Committed();
  void CheckTransaction() const;
  template <typename Change>
  void Apply(Change change);

  std::shared_ptr<const Snapshot> snapshot_;  // null: nothing is stored
  bool outdated_ = false;                     // this handle has committed
  std::unique_ptr<Transaction> transaction_;
};

// Reloads lazily after a commit, so that a failed read does not hide the commit's success.
const std::shared_ptr<const Snapshot>& HostConfigStore::Committed() {
  if (outdated_) {
    snapshot_ = NewestSnapshot();
    outdated_ = false;
  }
  return snapshot_;
}

std::shared_ptr<ConfigStoreObject> HostConfigStore::FetchCommitted(
    const Snapshot::Kind* kind, const std::string& instance) const {
  if (kind == nullptr) return nullptr;
  const auto number = snapshot_->Find(*kind, instance);
  return number ? Fetch<ConfigStoreObject>(snapshot_, *number, {}) : nullptr;
}

std::shared_ptr<ConfigStoreObject> HostConfigStore::GetObject(const ConfigStoreObjectId& id) {
  CheckTransaction();
  if (transaction_) return FetchFound(transaction_->overlay().Find(EncodeKind(id), id.instance));
  return Committed() ? FetchCommitted(snapshot_->FindKind(id), id.instance) : nullptr;
}

std::vector<std::shared_ptr<ConfigStoreObject>> HostConfigStore::GetObjects(
    const std::shared_ptr<FilterSpecObject>& filter) {
  CheckTransaction();
  const ObjectContents& wanted = ObjectAccess::Contents(filter);
  std::vector<std::shared_ptr<ConfigStoreObject>> objects;
  if (wanted.instance.empty()) {
    if (!transaction_) return Committed() ? FetchAll(snapshot_, wanted.kind) : objects;
    for (const FoundRecord& found : transaction_->overlay().List(wanted.kind))
      objects.push_back(FetchFound(found));
    return objects;
  }
  std::shared_ptr<ConfigStoreObject> one;
  if (transaction_) {
    one = FetchFound(transaction_->overlay().Find(wanted.kind, wanted.instance));
  } else if (Committed()) {
    one = FetchCommitted(snapshot_->FindKind(wanted.kind), wanted.instance);
  }
  if (one) objects.push_back(std::move(one));
  return objects;
}

// Walks within a transaction, whose changes are not indexed.
std::shared_ptr<ConfigStoreObject> HostConfigStore::FindFirst(const ConfigStoreObjectId& kindId,
                                                              const char* name,
                                                              const std::string& value) {
  CheckTransaction();
  if (transaction_) {
    for (const FoundRecord& found : transaction_->overlay().List(EncodeKind(kindId))) {
      const ValueRef stored = FindValue(found.source->Body(found.number), name);
      if (stored.type == ValueRef::Type::kInteger) RaiseWrongType(name, "a string");
      if (stored.type == ValueRef::Type::kString && stored.text == value) return FetchFound(found);
    }
    return nullptr;
  }
  const Snapshot::Kind* const kind = Committed() ? snapshot_->FindKind(kindId) : nullptr;
  if (kind == nullptr) return nullptr;
  const auto number = snapshot_->FindFirst(*kind, name, value);
  return number ? Fetch<ConfigStoreObject>(snapshot_, *number, snapshot_->CheckedBody(*number))
                : nullptr;
}

void HostConfigStore::SetObject(const std::shared_ptr<ConfigStoreObject>& object,
                                const std::int32_t& writeMode) {
  if (!object) RaiseUsage("the configuration store was given no object");
  if (writeMode != 0) RaiseUsage("the configuration store knows write mode 0 only");
  Apply([&](Overlay& overlay) {
    if (const ObjectContents* contents = ObjectAccess::Contents(*object)) {
      overlay.Set(EncodeRecord(*contents));
    } else {
      const StoredRecord& stored = ObjectAccess::Stored(*object);
      const RecordSource::Record record = (*stored.source)->Read(stored.number);
      overlay.Set(CopyRecord(record.kind, record.instance, record.body));
    }
  });
}

void HostConfigStore::DeleteObjects(const std::shared_ptr<FilterSpecObject>& filter) {
  const ObjectContents& unwanted = ObjectAccess::Contents(filter);
  Apply([&](Overlay& overlay) {
    if (unwanted.instance.empty()) {
      overlay.DeleteAll(unwanted.kind);
    } else {
      overlay.Delete(unwanted.kind, unwanted.instance);
    }
  });
}

// Runs a change outside of a transaction in one of its own.
template <typename Change>
void HostConfigStore::Apply(Change change) {
  const CallScope scope;
  CheckTransaction();
  if (transaction_) {
    change(transaction_->overlay());
    return;
  }
  BeginTransaction();
  try {
    change(transaction_->overlay());
    CommitTransaction();
  } catch (...) {
    RollbackTransaction();
    throw;
  }
}

void HostConfigStore::CheckTransaction() const {
  if (transaction_ && !transaction_->BelongsToThisProcess()) {
    RaiseUsage(
        "the transaction was begun before a fork and belongs to the parent process; get a handle "
        "of its own in the child");
  }
}

void HostConfigStore::BeginTransaction() {
  const CallScope scope;
  CheckTransaction();
  if (transaction_) RaiseUsage("this handle has a transaction open already");
  try {
    transaction_ = std::make_unique<Transaction>();
  } catch (const HostPlatform::Io::Error& error) {
    Raise(error);
  }
}

void HostConfigStore::CommitTransaction() {
  const CallScope scope;
  CheckTransaction();
  if (!transaction_) RaiseUsage("this handle has no transaction open");
  if (transaction_->IsInPlace()) {
    RaiseUsage("what this transaction changed is in place already; roll it back to end it");
  }
  try {
    transaction_->Commit();
  } catch (const HostPlatform::Io::Error& error) {
    Raise(error);
  }
  transaction_.reset();
  outdated_ = true;
}

// The handle keeps the state that the transaction saw: it is the newest read one, and a failed
// commit may be in place.
void HostConfigStore::RollbackTransaction() {
  if (!transaction_) return;
  const CallScope scope;
  outdated_ = true;
  transaction_.reset();
}

}  // namespace

ConfigStore::~ConfigStore() = default;

std::shared_ptr<ConfigStore> ConfigStore::GetStore(const std::string& storeNamespace) {
  if (storeNamespace != sGlobalNamespace) {
    RaiseUsage("the configuration store has no namespace but sGlobalNamespace");
  }
  const HostPlatform::Io::ErrnoKeeper keeper;
  return std::make_shared<HostConfigStore>(NewestSnapshot());
}

}  // namespace TavConfigStore
