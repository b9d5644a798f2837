// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configstore/datastores.h"

#include "configstore/keys.h"

namespace TavQuor::ConfigStoreBackend {

using TavConfigStore::ConfigStoreException;
using TavConfigStore::ConfigStoreObject;

namespace {

void WriteDatastore(const StorePtr& store, const QuorDatastoreInfo& datastore) {
  const auto object = std::make_shared<ConfigStoreObject>(DatastoreObjectId(datastore.url));
  object->SetValue(kUrl, datastore.url);
  object->SetValue(kDatastoreNamespace, datastore.datastoreNamespace);
  object->SetValue(kDefaultPolicyId, datastore.defaultPolicyId);
  store->SetObject(object, /*writeMode=*/0);
}

QuorDatastoreInfo ReadDatastore(const ConfigStoreObject& object) {
  QuorDatastoreInfo datastore;
  object.GetValue(kDatastoreNamespace, &datastore.datastoreNamespace);
  object.GetValue(kDefaultPolicyId, &datastore.defaultPolicyId);
  object.GetValue(kUrl, &datastore.url);
  return datastore;
}

std::string ReadDatastoreValue(const std::string& url, const char* key) {
  std::string value;
  if (url.empty()) return value;
  const StorePtr store = OpenStore();
  const auto object = store->GetObject(DatastoreObjectId(url));
  if (object) object->GetValue(key, &value);
  return value;
}

}  // namespace

void ClearDatastoreObjects(const StorePtr& store, bool ignoreStoreErrors) {
  ClearObjects(store, &DatastoreObjectId, ignoreStoreErrors);
}

void AddDatastoreInfo(const std::vector<QuorDatastoreInfo>& datastores) {
  ReplaceInTransaction([&datastores](const StorePtr& store) {
    ClearDatastoreObjects(store, /*ignoreStoreErrors=*/false);
    for (const QuorDatastoreInfo& datastore : datastores)
      WriteDatastore(store, datastore);
  });
}

std::vector<QuorDatastoreInfo> ListDatastoreInfo() {
  std::vector<QuorDatastoreInfo> datastores;
  const StorePtr store = OpenStore();
  for (const auto& object : store->GetObjects(SelectAll(DatastoreObjectId()))) {
    try {
      datastores.push_back(ReadDatastore(*object));
    } catch (const ConfigStoreException&) {
      // An unreadable record is skipped.
    }
  }
  return datastores;
}

std::string GetDatastoreNamespace(const std::string& url) {
  return ReadDatastoreValue(url, kDatastoreNamespace);
}

std::string GetDatastoreDefaultPolicyId(const std::string& url) {
  return ReadDatastoreValue(url, kDefaultPolicyId);
}

}  // namespace TavQuor::ConfigStoreBackend
