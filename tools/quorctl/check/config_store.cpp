#include <memory>

#include "check/stored_content.h"
#include "platform/admin.h"
#include "stored_layout.h"
#include "tavconfigstore/config_store.h"
#include "text/terminal_text.h"

namespace Quorctl {

using TavConfigStore::ConfigStore;
using TavConfigStore::ConfigStoreException;
using TavConfigStore::ConfigStoreObject;
using TavConfigStore::ConfigStoreObjectId;
using TavConfigStore::FilterSpecObject;
using TavConfigStore::ReadOnlyObject;
using TavConfigStore::ValueRef;

namespace {

constexpr char kReplace[] =
    "restore the file from a backup, or use reset --no-history and apply the whole catalogue again";
constexpr char kApplyAgain[] = "apply the whole catalogue again";

class StoreCheck {
 public:
  StoreCheck(std::string path, Findings* findings) : path_(std::move(path)), findings_(findings) {}

  void Run() {
    const auto store = ConfigStore::GetStore(TavConfigStore::sGlobalNamespace);
    std::size_t records = 0;
    for (const HostPlatform::StoredKind& kind : HostPlatform::GetConfigStoreState().kinds) {
      const ConfigStoreObjectId id(kind.key, kind.group, kind.component);
      for (const auto& object : store->GetObjects(std::make_shared<FilterSpecObject>(id))) {
        ++records;
        CheckObject(*store, id, *object);
      }
    }
    findings_->push_back(
        {Severity::kInfo, path_, std::to_string(records) + " records were verified", ""});
  }

 private:
  void CheckObject(ConfigStore& store, const ConfigStoreObjectId& id,
                   const ConfigStoreObject& object) {
    try {
      object.GetValuePtr("");  // verifies the record, whatever is in it
    } catch (const ConfigStoreException& failure) {
      Add(Severity::kError, failure.what(), kReplace);
      return;
    }
    if (id.component != StoredLayout::kComponent || id.group != StoredLayout::kGroup) return;
    if (id.key == StoredLayout::kPolicies) CheckPolicy(store, id, object);
    if (id.key == StoredLayout::kDatastores) CheckDatastore(store, id, object);
  }

  void CheckPolicy(ConfigStore& store, const ConfigStoreObjectId& id,
                   const ConfigStoreObject& object) {
    const std::string who = "policy " + Quoted(TextOf(object, StoredLayout::kPolicyTexts[0]));
    for (const char* key : StoredLayout::kPolicyTexts)
      ExpectType(object, key, ValueRef::Type::kString, who);
    ExpectType(object, StoredLayout::kPolicyNumber, ValueRef::Type::kInteger, who);
    const ConfigStoreObjectId blobs(StoredLayout::kBlobs, "", "");
    for (const auto& blob :
         object.GetSubObjectInstances(std::make_shared<FilterSpecObject>(blobs))) {
      for (const char* key : StoredLayout::kBlobTexts)
        ExpectType(*blob, key, ValueRef::Type::kString, "a blob of " + who);
    }
    ExpectFound(store, id, TextOf(object, StoredLayout::kPolicyTexts[0]), who);
  }

  void CheckDatastore(ConfigStore& store, const ConfigStoreObjectId& id,
                      const ConfigStoreObject& object) {
    const std::string url = TextOf(object, StoredLayout::kDatastoreTexts[0]);
    const std::string who = "datastore " + Quoted(url);
    for (const char* key : StoredLayout::kDatastoreTexts)
      ExpectType(object, key, ValueRef::Type::kString, who);
    ExpectFound(store, id, url, who);
  }

  // Listings leave out a record with a value of the other type; one that is missing they replace.
  void ExpectType(const ReadOnlyObject& object, const char* key, ValueRef::Type type,
                  const std::string& who) {
    const ValueRef::Type found = object.GetValuePtr(key).type;
    if (found == type) return;
    const std::string what = who + ": its value " + Quoted(key);
    if (found != ValueRef::Type::kAbsent) {
      Add(Severity::kError,
          what + " is of another type, so that listings leave the whole record out", kApplyAgain);
    } else if (type == ValueRef::Type::kInteger) {
      Add(Severity::kError, what + " is missing, so that listings show that of the record before",
          kApplyAgain);
    } else {
      Add(Severity::kWarning, what + " is missing and reads as empty", kApplyAgain);
    }
  }

  // Lookups go by the key, listings show the value.
  void ExpectFound(ConfigStore& store, ConfigStoreObjectId id, const std::string& key,
                   const std::string& who) {
    id.instance = key;
    try {
      if (store.GetObject(id)) return;
    } catch (const ConfigStoreException&) {
      return;  // the damaged record that may be this one is told of where it stands
    }
    Add(Severity::kError, who + ": is stored under another key, so that lookups do not find it",
        kApplyAgain);
  }

  static std::string TextOf(const ReadOnlyObject& object, const char* key) {
    return std::string(object.GetValuePtr(key).text);
  }

  void Add(Severity severity, const std::string& problem, const std::string& advice) {
    findings_->push_back({severity, path_, problem, advice});
  }

  std::string path_;
  Findings* findings_;
};

}  // namespace

void CheckConfigStore(Findings* findings) {
  const HostPlatform::ConfigStoreState file = HostPlatform::GetConfigStoreState();
  if (!file.exists && file.problem.empty()) return;
  try {
    StoreCheck(file.path, findings).Run();
  } catch (const ConfigStoreException& failure) {
    if (HostPlatform::IsPermissionFailure(failure)) throw;
    findings->push_back({Severity::kError, file.path, failure.what(),
                         "restore the file from a backup, or remove it and apply the whole "
                         "catalogue again"});
  }
}

}  // namespace Quorctl
