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
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

struct quor_policies {
  std::vector<QuorPolicyInfo> records;
};

namespace {

// quor_policy is the opaque C name of a QuorPolicyInfo in a list.
const QuorPolicyInfo& PolicyOf(const quor_policy* policy) {
  return *reinterpret_cast<const QuorPolicyInfo*>(policy);
}
QuorPolicyInfo& PolicyOf(quor_policy* policy) {
  return *reinterpret_cast<QuorPolicyInfo*>(policy);
}

}  // namespace

quor_view quor_policy_id(const quor_policy* policy) {
  return ViewOf(PolicyOf(policy).policyId);
}
quor_view quor_policy_name(const quor_policy* policy) {
  return ViewOf(PolicyOf(policy).name);
}
quor_view quor_policy_description(const quor_policy* policy) {
  return ViewOf(PolicyOf(policy).description);
}
int64_t quor_policy_generation(const quor_policy* policy) {
  return PolicyOf(policy).generationNumber;
}
size_t quor_policy_blob_count(const quor_policy* policy) {
  return PolicyOf(policy).blobs.size();
}
quor_view quor_policy_blob(const quor_policy* policy, size_t index) {
  const auto& blobs = PolicyOf(policy).blobs;
  return index < blobs.size() ? ViewOf(blobs[index].first) : QuorC::EmptyView();
}
quor_view quor_policy_blob_namespace(const quor_policy* policy, size_t index) {
  const auto& blobs = PolicyOf(policy).blobs;
  return index < blobs.size() ? ViewOf(blobs[index].second) : QuorC::EmptyView();
}

quor_status quor_policy_set_id(quor_policy* policy, const char* data, size_t length) {
  return GuardMemory(policy, [&] { PolicyOf(policy).policyId = Argument(data, length); });
}
quor_status quor_policy_set_name(quor_policy* policy, const char* data, size_t length) {
  return GuardMemory(policy, [&] { PolicyOf(policy).name = Argument(data, length); });
}
quor_status quor_policy_set_description(quor_policy* policy, const char* data, size_t length) {
  return GuardMemory(policy, [&] { PolicyOf(policy).description = Argument(data, length); });
}
void quor_policy_set_generation(quor_policy* policy, int64_t generation) {
  if (policy != nullptr) PolicyOf(policy).generationNumber = generation;
}
quor_status quor_policy_add_blob(quor_policy* policy, const char* storage_namespace,
                                 size_t namespace_length, const char* blob, size_t blob_length) {
  return GuardMemory(policy, [&] {
    PolicyOf(policy).blobs.emplace_back(Argument(blob, blob_length),
                                        Argument(storage_namespace, namespace_length));
  });
}

quor_policies* quor_policies_new(void) {
  return new (std::nothrow) quor_policies;
}
void quor_policies_free(quor_policies* list) {
  delete list;
}
size_t quor_policies_count(const quor_policies* list) {
  return list == nullptr ? 0 : list->records.size();
}
quor_policy* quor_policies_at(const quor_policies* list, size_t index) {
  if (index >= quor_policies_count(list)) return nullptr;
  return reinterpret_cast<quor_policy*>(const_cast<QuorPolicyInfo*>(&list->records[index]));
}
quor_policy* quor_policies_add(quor_policies* list) {
  const quor_status status = GuardMemory(list, [&] { list->records.emplace_back(); });
  return status == QUOR_OK ? quor_policies_at(list, list->records.size() - 1) : nullptr;
}

quor_status quor_policies_list(quor_policies** list, quor_error** error) {
  if (list != nullptr) *list = nullptr;
  return QuorC::Guard(error, [&] {
    if (list == nullptr) throw std::invalid_argument("a null pointer was given for the list");
    *list = new quor_policies{QuorLib::ListPolicyInfo()};
  });
}
quor_status quor_policies_replace(const quor_policies* list, quor_error** error) {
  return QuorC::Guard(error, [&] {
    if (list != nullptr) return QuorLib::AddPolicyInfo(list->records);
    QuorLib::AddPolicyInfo(std::vector<QuorPolicyInfo>());
  });
}
