// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/file_catalogue.h"

#include <iterator>
#include <stdexcept>

namespace QuorTest {
namespace {

using Recording::FileArray;
using Recording::FileBranch;
using Recording::FileTree;
using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

FileBranch InFile(const QuorPolicyInfo& policy) {
  FileBranch instance;
  instance.values = {
      {"name", policy.name},
      {"description", policy.description},
      {"policy-id", policy.policyId},
      {"generation-number", std::to_string(static_cast<std::uint64_t>(policy.generationNumber))}};
  FileArray& blobs = instance.arrays["blobs"];
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    blobs.push_back(
        {{{"datastore-namespace", blobNamespace}, {"blob", ReferenceBase64(blob)}}, {}});
  }
  return instance;
}

FileBranch InFile(const QuorDatastoreInfo& datastore) {
  return {{{"url", datastore.url},
           {"datastore-namespace", datastore.datastoreNamespace},
           {"default-policy-id", datastore.defaultPolicyId}},
          {}};
}

FileBranch& At(FileArray& array, std::size_t index) {
  if (index >= array.size()) throw std::out_of_range("no such instance");
  return *std::next(array.begin(), static_cast<std::ptrdiff_t>(index));
}

}  // namespace

std::string ReferenceBase64(const std::string& bytes) {
  static const std::string kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  unsigned bits = 0;
  unsigned count = 0;  // of the bits that are not in the text yet
  for (const char c : bytes) {
    bits = bits << 8 | static_cast<unsigned char>(c);
    for (count += 8; count >= 6; count -= 6)
      text += kDigits[bits >> (count - 6) & 63];
  }
  if (count != 0) text += kDigits[bits << (6 - count) & 63];
  while (text.size() % 4 != 0)
    text += '=';
  return text;
}

FileTree InFile(const Policies& policies, const Datastores& datastores) {
  FileTree file;
  FileArray& policyArray = file[kPolicyBranch].arrays["policy"];
  for (const QuorPolicyInfo& policy : policies)
    policyArray.push_back(InFile(policy));
  FileArray& datastoreArray = file[kDatastoreBranch].arrays["Datastore"];
  for (const QuorDatastoreInfo& datastore : datastores)
    datastoreArray.push_back(InFile(datastore));
  return file;
}

FileBranch& PolicyAt(FileTree& file, std::size_t index) {
  return At(file.at(kPolicyBranch).arrays.at("policy"), index);
}

FileBranch& DatastoreAt(FileTree& file, std::size_t index) {
  return At(file.at(kDatastoreBranch).arrays.at("Datastore"), index);
}

FileBranch& BlobAt(FileBranch& policy, std::size_t index) {
  return At(policy.arrays.at("blobs"), index);
}

}  // namespace QuorTest
