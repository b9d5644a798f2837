// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Writes records into the configuration store that the library itself would not write, for the
// tests of what quorctl finds:
//
//   odd_records typed    a policy whose name is a number
//   odd_records partial  a policy without a generation number and a datastore without a namespace
//   odd_records moved    a policy and a datastore stored under other keys than their own
//   odd_records twins    two policies of one name, stored under two keys
//   odd_records foreign  a record of another program
#include <cstdio>
#include <memory>
#include <string>

#include "tavconfigstore/config_store.h"

namespace {

using TavConfigStore::ConfigStore;
using TavConfigStore::ConfigStoreObject;
using TavConfigStore::ConfigStoreObjectId;

using ObjectPtr = std::shared_ptr<ConfigStoreObject>;

ObjectPtr Policy(const std::string& key, const std::string& name) {
  auto object = std::make_shared<ConfigStoreObject>(
      ConfigStoreObjectId("quor_policies", "storage", "tav", key));
  object->SetValue("name", name);
  object->SetValue("policy_id", "id-" + key);
  object->SetValue("description", std::string());
  return object;
}

ObjectPtr Datastore(const std::string& key, const std::string& url) {
  auto object = std::make_shared<ConfigStoreObject>(
      ConfigStoreObjectId("quor_datastores", "storage", "tav", key));
  object->SetValue("url", url);
  object->SetValue("drp_policy_id", std::string());
  return object;
}

void Store(const ObjectPtr& object) {
  ConfigStore::GetStore(TavConfigStore::sGlobalNamespace)->SetObject(object, 0);
}

void StorePolicy(const ObjectPtr& policy) {
  policy->SetValue("generation_number", 1LL);
  Store(policy);
}

bool Write(const std::string& what) {
  if (what == "typed") {
    const ObjectPtr policy = Policy("odd", "odd");
    policy->SetValue("name", 7LL);
    StorePolicy(policy);
  } else if (what == "partial") {
    Store(Policy("odd", "odd"));
    Store(Datastore("ds:///odd/", "ds:///odd/"));
  } else if (what == "moved") {
    StorePolicy(Policy("elsewhere", "odd"));
    const ObjectPtr datastore = Datastore("ds:///elsewhere/", "ds:///odd/");
    datastore->SetValue("datastore_namespace", std::string("N"));
    Store(datastore);
  } else if (what == "twins") {
    StorePolicy(Policy("twin", "twin"));
    StorePolicy(Policy("other", "twin"));
  } else if (what == "foreign") {
    auto object = std::make_shared<ConfigStoreObject>(
        ConfigStoreObjectId("jobs", "backup", "other", "nightly"));
    object->SetValue("text", std::string("find me at the other program"));
    Store(object);
  } else {
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 2 && Write(argv[1])) return 0;
    std::fputs("usage: odd_records typed|partial|moved|twins|foreign\n", stderr);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "odd_records: %s\n", failure.what());
  }
  return 1;
}
