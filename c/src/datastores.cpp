// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <new>
#include <vector>

#include "failure.h"
#include "quor/quor_lib.h"
#include "text.h"

using QuorC::Argument;
using QuorC::GuardMemory;
using QuorC::ViewOf;
using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;

struct quor_datastores {
  std::vector<QuorDatastoreInfo> records;
};

namespace {

// quor_datastore is the opaque C name of a QuorDatastoreInfo in a list.
const QuorDatastoreInfo& DatastoreOf(const quor_datastore* datastore) {
  return *reinterpret_cast<const QuorDatastoreInfo*>(datastore);
}
QuorDatastoreInfo& DatastoreOf(quor_datastore* datastore) {
  return *reinterpret_cast<QuorDatastoreInfo*>(datastore);
}

}  // namespace

quor_view quor_datastore_url(const quor_datastore* datastore) {
  return ViewOf(DatastoreOf(datastore).url);
}
quor_view quor_datastore_namespace(const quor_datastore* datastore) {
  return ViewOf(DatastoreOf(datastore).datastoreNamespace);
}
quor_view quor_datastore_default_policy(const quor_datastore* datastore) {
  return ViewOf(DatastoreOf(datastore).defaultPolicyId);
}

quor_status quor_datastore_set_url(quor_datastore* datastore, const char* data, size_t length) {
  return GuardMemory(datastore, [&] { DatastoreOf(datastore).url = Argument(data, length); });
}
quor_status quor_datastore_set_namespace(quor_datastore* datastore, const char* data,
                                         size_t length) {
  return GuardMemory(datastore,
                     [&] { DatastoreOf(datastore).datastoreNamespace = Argument(data, length); });
}
quor_status quor_datastore_set_default_policy(quor_datastore* datastore, const char* data,
                                              size_t length) {
  return GuardMemory(datastore,
                     [&] { DatastoreOf(datastore).defaultPolicyId = Argument(data, length); });
}

quor_datastores* quor_datastores_new(void) {
  return new (std::nothrow) quor_datastores;
}
void quor_datastores_free(quor_datastores* list) {
  delete list;
}
size_t quor_datastores_count(const quor_datastores* list) {
  return list == nullptr ? 0 : list->records.size();
}
quor_datastore* quor_datastores_at(const quor_datastores* list, size_t index) {
  if (index >= quor_datastores_count(list)) return nullptr;
  return reinterpret_cast<quor_datastore*>(const_cast<QuorDatastoreInfo*>(&list->records[index]));
}
quor_datastore* quor_datastores_add(quor_datastores* list) {
  const quor_status status = GuardMemory(list, [&] { list->records.emplace_back(); });
  return status == QUOR_OK ? quor_datastores_at(list, list->records.size() - 1) : nullptr;
}

quor_status quor_datastores_list(quor_datastores** list, quor_error** error) {
  if (list != nullptr) *list = nullptr;
  return QuorC::Guard(error, [&] {
    if (list == nullptr) throw std::invalid_argument("a null pointer was given for the list");
    *list = new quor_datastores{QuorLib::ListDatastoreInfo()};
  });
}
quor_status quor_datastores_replace(const quor_datastores* list, quor_error** error) {
  return QuorC::Guard(error, [&] {
    if (list != nullptr) return QuorLib::AddDatastoreInfo(list->records);
    QuorLib::AddDatastoreInfo(std::vector<QuorDatastoreInfo>());
  });
}
