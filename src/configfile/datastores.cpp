// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/datastores.h"

#include <utility>

#include "configfile/keys.h"
#include "zynctl/config_file.h"

namespace TavQuor::ConfigFileBackend {

using ZynCtl::Config::ConfigBranch;
using ZynCtl::Config::ConfigFileException;
using ZynCtl::Config::SynchronizedConfigFile;

namespace {

// Made once for all records of a call.
struct Keys {
  const std::string url = kUrl;
  const std::string space = kDatastoreNamespace;
  const std::string defaultPolicyId = kDefaultPolicyId;
};

bool ReadDatastore(const ConfigBranch& instance, const Keys& keys, QuorDatastoreInfo* datastore) {
  return instance.GetValue(keys.url, &datastore->url) &&
         instance.GetValue(keys.space, &datastore->datastoreNamespace) &&
         instance.GetValue(keys.defaultPolicyId, &datastore->defaultPolicyId);
}

// Reader of an instance's URL; one lookup reads it once, the other twice.
using ReadUrl = bool (*)(const ConfigBranch& instance, const std::string& key, std::string* url);

bool ReadUrlOnce(const ConfigBranch& instance, const std::string& key, std::string* url) {
  return instance.GetValue(key, url);
}

// Reads the URL twice and uses the second value, as the file library's users observe.
bool ReadUrlTwice(const ConfigBranch& instance, const std::string& key, std::string* url) {
  instance.GetValue(key, url);
  return instance.GetValue(key, url);
}

std::string FindValue(const std::string& url, ReadUrl readUrl, const std::string& key) {
  if (url.empty()) return std::string();
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kDatastoreBranch);
  const auto datastores = branch->GetArray(kDatastoreArray);
  const std::string urlKey = kUrl;
  std::string stored;
  for (const auto& instance : datastores->GetInstances()) {
    stored.clear();
    if (!readUrl(*instance, urlKey, &stored) || stored != url) continue;
    std::string value;
    if (instance->GetValue(key, &value)) return value;
  }
  return std::string();
}

}  // namespace

void ClearDatastores() {
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kDatastoreBranch);
  branch->RemoveAllChildren();
  locked.file->Write();
}

void AddDatastoreInfo(const std::vector<QuorDatastoreInfo>& datastores) {
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kDatastoreBranch);
  branch->RemoveAllChildren();
  const auto array = branch->GetArray(kDatastoreArray);
  const Keys keys;
  for (const QuorDatastoreInfo& datastore : datastores) {
    const auto instance = array->NewInstance();
    instance->SetValue(keys.url, datastore.url);
    instance->SetValue(keys.space, datastore.datastoreNamespace);
    instance->SetValue(keys.defaultPolicyId, datastore.defaultPolicyId);
  }
  locked.file->Write();
}

std::vector<QuorDatastoreInfo> ListDatastoreInfo() {
  std::vector<QuorDatastoreInfo> datastores;
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kDatastoreBranch);
  const auto array = branch->GetArray(kDatastoreArray);
  const Keys keys;
  for (const auto& instance : array->GetInstances()) {
    try {
      QuorDatastoreInfo datastore;
      if (ReadDatastore(*instance, keys, &datastore)) datastores.push_back(std::move(datastore));
    } catch (const ConfigFileException&) {
      // An unreadable record is skipped.
    }
  }
  return datastores;
}

std::string GetDatastoreNamespace(const std::string& url) {
  return FindValue(url, &ReadUrlOnce, kDatastoreNamespace);
}

std::string GetDatastoreDefaultPolicyId(const std::string& url) {
  return FindValue(url, &ReadUrlTwice, kDefaultPolicyId);
}

}  // namespace TavQuor::ConfigFileBackend
