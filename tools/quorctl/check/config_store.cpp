// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <memory>

#include "catalogue/text/terminal_text.h"
#include "check/stored_content.h"
#include "platform/admin.h"
#include "stored_layout.h"
#include "tavconfigstore/config_store.h"

namespace Quorctl {

using TavConfigStore::ConfigStore;
using TavConfigStore::ConfigStoreException;
using TavConfigStore::ConfigStoreObject;
using TavConfigStore::ConfigStoreObjectId;
using TavConfigStore::FilterSpecObject;
using TavConfigStore::ReadOnlyObject;
using TavConfigStore::ValueRef;

namespace {

constexpr char kFromBackup[] = "restore the file from a backup, or ";

// Where nothing in the file can be replaced.
std::string AdviceToMoveAway() {
  return kFromBackup + std::string("move it away and ") +
         AdviceToReplace(/*inStore=*/true, /*unreadable=*/false) +
         "; records of other programs are lost then";
}

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
    Advise();
    findings_->push_back(
        {Severity::kInfo, path_, std::to_string(records) + " records were verified", ""});
  }

 private:
  void CheckObject(ConfigStore& store, const ConfigStoreObjectId& id,
                   const ConfigStoreObject& object) {
    try {
      object.GetValuePtr("");  // verifies the record, whatever is in it
    } catch (const ConfigStoreException& failure) {
      if (IsOurs(id)) {
        AddLeftOut(failure.what(), kFromBackup);
      } else {
        findings_->push_back({Severity::kError, path_, failure.what(), AdviceToMoveAway()});
        foreignDamage_ = true;
      }
      return;
    }
    if (!IsOurs(id)) return;
    if (id.key == StoredLayout::kPolicies) CheckPolicy(store, id, object);
    if (id.key == StoredLayout::kDatastores) CheckDatastore(store, id, object);
  }

  static bool IsOurs(const ConfigStoreObjectId& id) {
    return id.component == StoredLayout::kComponent && id.group == StoredLayout::kGroup &&
           (id.key == StoredLayout::kPolicies || id.key == StoredLayout::kDatastores);
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
      AddLeftOut(what + " is of another type, so that listings leave the whole record out", "");
    } else if (type == ValueRef::Type::kInteger) {
      Add(Severity::kError, what + " is missing, so that listings show that of the record before");
    } else {
      Add(Severity::kWarning, what + " is missing and reads as empty");
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
    Add(Severity::kError, who + ": is stored under another key, so that lookups do not find it");
  }

  static std::string TextOf(const ReadOnlyObject& object, const char* key) {
    return std::string(object.GetValuePtr(key).text);
  }

  // Reports a record that the library does not list. `first` is the advice to follow before a
  // replacement.
  void AddLeftOut(const std::string& problem, const std::string& first) {
    Add(Severity::kError, problem, first);
    unreadable_ = true;
  }

  void Add(Severity severity, const std::string& problem, const std::string& first = "") {
    findings_->push_back({severity, path_, problem, first, /*replacementHeals=*/true});
  }

  // One record that cannot be read keeps the others out of the history too; damage to a record of
  // another program, which every change has to copy, forbids all changes.
  void Advise() {
    for (Finding& finding : *findings_) {
      if (finding.subject != path_ || !finding.replacementHeals) continue;
      if (foreignDamage_) {
        finding.advice = AdviceToMoveAway();
      } else {
        finding.advice += AdviceToReplace(/*inStore=*/true, unreadable_);
      }
    }
  }

  std::string path_;
  Findings* findings_;
  bool unreadable_ = false;
  bool foreignDamage_ = false;
};

}  // namespace

void CheckConfigStore(Findings* findings) {
  const HostPlatform::ConfigStoreState file = HostPlatform::GetConfigStoreState();
  if (!file.exists && file.problem.empty()) return;
  try {
    StoreCheck(file.path, findings).Run();
  } catch (const ConfigStoreException& failure) {
    if (HostPlatform::IsPermissionFailure(failure)) throw;
    findings->push_back({Severity::kError, file.path, failure.what(), AdviceToMoveAway()});
  }
}

}  // namespace Quorctl
