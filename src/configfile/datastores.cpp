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

bool ReadDatastore(const ConfigBranch& instance, QuorDatastoreInfo* datastore) {
  return instance.GetValue(kUrl, &datastore->url) &&
         instance.GetValue(kDatastoreNamespace, &datastore->datastoreNamespace) &&
         instance.GetValue(kDefaultPolicyId, &datastore->defaultPolicyId);
}

// Reader of an instance's URL; one lookup reads it once, the other twice.
using ReadUrl = bool (*)(const ConfigBranch& instance, std::string* url);

bool ReadUrlOnce(const ConfigBranch& instance, std::string* url) {
  return instance.GetValue(kUrl, url);
}

// Reads the URL twice and uses the second value, as the file library's users observe.
bool ReadUrlTwice(const ConfigBranch& instance, std::string* url) {
  instance.GetValue(kUrl, url);
  return instance.GetValue(kUrl, url);
}

std::string FindValue(const std::string& url, ReadUrl readUrl, const std::string& key) {
  if (url.empty()) return std::string();
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kDatastoreBranch);
  const auto datastores = branch->GetArray(kDatastoreArray);
  std::string stored;
  for (const auto& instance : datastores->GetInstances()) {
    stored.clear();
    if (!readUrl(*instance, &stored) || stored != url) continue;
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
  for (const QuorDatastoreInfo& datastore : datastores) {
    const auto instance = array->NewInstance();
    instance->SetValue(kUrl, datastore.url);
    instance->SetValue(kDatastoreNamespace, datastore.datastoreNamespace);
    instance->SetValue(kDefaultPolicyId, datastore.defaultPolicyId);
  }
  locked.file->Write();
}

std::vector<QuorDatastoreInfo> ListDatastoreInfo() {
  std::vector<QuorDatastoreInfo> datastores;
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kDatastoreBranch);
  const auto array = branch->GetArray(kDatastoreArray);
  for (const auto& instance : array->GetInstances()) {
    try {
      QuorDatastoreInfo datastore;
      if (ReadDatastore(*instance, &datastore)) datastores.push_back(std::move(datastore));
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
