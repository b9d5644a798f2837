// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/document_rules.h"

#include <string_view>
#include <unordered_map>

#include "catalogue/document_error.h"
#include "catalogue/text/terminal_text.h"

namespace Quorctl {
namespace {

// Remembers which element of one array had which key.
class UniqueKeys {
 public:
  UniqueKeys(DocumentProblems* problems, std::string arrayPath, const char* member,
             const std::string& consequence)
      : problems_(problems),
        arrayPath_(std::move(arrayPath)),
        member_(member),
        consequence_(consequence) {}

  void Add(std::string_view key, std::size_t index) {
    const auto [first, isNew] = indexOf_.emplace(key, index);
    if (isNew) return;
    problems_->Add(PathOf(index),
                   Quoted(key) + " stands at " + PathOf(first->second) + " too; " + consequence_);
  }

 private:
  std::string PathOf(std::size_t index) const {
    return MemberPath(ElementPath(arrayPath_, index), member_);
  }

  DocumentProblems* problems_;
  std::string arrayPath_;
  const char* member_;
  const std::string& consequence_;
  std::unordered_map<std::string_view, std::size_t> indexOf_;
};

std::string BlobsPath(std::size_t policyIndex) {
  return MemberPath(ElementPath("policies", policyIndex), "blobs");
}

}  // namespace

void FindRepeatedKeys(const Catalogue& catalogue, const std::string& consequence,
                      DocumentProblems* problems) {
  UniqueKeys names(problems, "policies", "name", consequence);
  for (std::size_t i = 0; i < catalogue.policies.size(); ++i) {
    names.Add(catalogue.policies[i].name, i);
    UniqueKeys namespaces(problems, BlobsPath(i), "namespace", consequence);
    const auto& blobs = catalogue.policies[i].blobs;
    for (std::size_t j = 0; j < blobs.size(); ++j)
      namespaces.Add(blobs[j].second, j);
  }
  UniqueKeys urls(problems, "datastores", "url", consequence);
  for (std::size_t i = 0; i < catalogue.datastores.size(); ++i) {
    urls.Add(catalogue.datastores[i].url, i);
  }
}

void FindNamelessBlobs(const Catalogue& catalogue, const std::string& consequence,
                       DocumentProblems* problems) {
  for (std::size_t i = 0; i < catalogue.policies.size(); ++i) {
    const auto& blobs = catalogue.policies[i].blobs;
    for (std::size_t j = 0; j < blobs.size(); ++j) {
      if (!blobs[j].second.empty()) continue;
      problems->Add(MemberPath(ElementPath(BlobsPath(i), j), "namespace"),
                    "is empty; " + consequence);
    }
  }
}

}  // namespace Quorctl
