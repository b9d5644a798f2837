// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <cstdlib>
#include <memory>

#include "catalogue/text/terminal_text.h"
#include "check/stored_content.h"
#include "platform/admin.h"
#include "platform/base64.h"
#include "stored_layout.h"
#include "zynctl/config_file.h"

namespace Quorctl {

using ZynCtl::Config::ConfigBranch;
using ZynCtl::Config::ConfigFileException;
using ZynCtl::Config::SynchronizedConfigFile;

namespace {

constexpr char kByHand[] = "correct the file by hand, or restore it from a backup";

// Decodes up to the first NUL, as the library does.
bool IsBase64(const std::string& text) {
  uint8_t* bytes = nullptr;
  size_t length = 0;
  if (!Base64_EasyDecode(text.c_str(), &bytes, &length)) return false;
  std::free(bytes);
  return true;
}

class FileCheck {
 public:
  FileCheck(std::string path, Findings* findings) : path_(std::move(path)), findings_(findings) {}

  void Run() {
    const SynchronizedConfigFile locked;
    const std::size_t records =
        CheckArray(locked, StoredLayout::kPolicyBranch, StoredLayout::kPolicyArray,
                   &FileCheck::CheckPolicy) +
        CheckArray(locked, StoredLayout::kDatastoreBranch, StoredLayout::kDatastoreArray,
                   &FileCheck::CheckDatastore);
    Advise();
    findings_->push_back(
        {Severity::kInfo, path_, std::to_string(records) + " records were verified", ""});
  }

 private:
  using CheckInstance = void (FileCheck::*)(ConfigBranch& instance, const std::string& where);

  // An array that cannot be read hides all of its records, but not the other array.
  std::size_t CheckArray(const SynchronizedConfigFile& locked, const char* branch,
                         const char* array, CheckInstance check) {
    std::size_t index = 0;
    try {
      for (const auto& instance : locked.file->GetBranch(branch)->GetArray(array)->GetInstances()) {
        const std::string where =
            std::string(branch) + '/' + array + '[' + std::to_string(index++) + ']';
        CheckOne(*instance, where, check);
      }
    } catch (const ConfigFileException& failure) {
      findings_->push_back({Severity::kError, path_, failure.what(), kByHand});
      unusable_ = true;
    }
    return index;
  }

  void CheckOne(ConfigBranch& instance, const std::string& where, CheckInstance check) {
    try {
      (this->*check)(instance, where);
    } catch (const ConfigFileException& failure) {
      AddLeftOut(failure.what());
    }
  }

  void CheckPolicy(ConfigBranch& policy, const std::string& where) {
    const std::string who = where + Named(policy, StoredLayout::kFilePolicyTexts[0]);
    for (const char* key : StoredLayout::kFilePolicyTexts)
      ExpectValue(policy, key, who);
    CheckNumber(policy, who);
    std::size_t index = 0;
    for (const auto& blob : policy.GetArray(StoredLayout::kBlobArray)->GetInstances())
      CheckBlob(*blob, "blob " + std::to_string(index++) + " of " + who);
  }

  void CheckDatastore(ConfigBranch& datastore, const std::string& where) {
    const std::string who = where + Named(datastore, StoredLayout::kFileDatastoreTexts[0]);
    for (const char* key : StoredLayout::kFileDatastoreTexts)
      ExpectValue(datastore, key, who);
  }

  void ExpectValue(const ConfigBranch& instance, const char* key, const std::string& who) {
    std::string value;
    if (!instance.GetValue(key, &value)) AddLeftOut(who + ": has no " + Quoted(key));
  }

  void CheckNumber(const ConfigBranch& policy, const std::string& who) {
    int number = 0;
    std::string text;
    if (policy.GetValue(StoredLayout::kFilePolicyNumber, &number)) return;
    const bool present = policy.GetValue(StoredLayout::kFilePolicyNumber, &text);
    AddLeftOut(who + ": its " + Quoted(StoredLayout::kFilePolicyNumber) +
               (present ? " is no whole number: " + Quoted(text) : " is missing"));
  }

  void CheckBlob(const ConfigBranch& blob, const std::string& which) {
    std::string text;
    if (!blob.GetValue(StoredLayout::kFileBlobNamespace, &text)) {
      Add(which + ": has no namespace, so that it is left out");
    } else if (!blob.GetValue(StoredLayout::kFileBlob, &text)) {
      Add(which + ": has no content, so that it is left out");
    } else if (!IsBase64(text)) {
      AddLeftOut(which + ": does not decode as Base64");
    }
  }

  static std::string Named(const ConfigBranch& instance, const char* key) {
    std::string name;
    return instance.GetValue(key, &name) ? " (" + Quoted(name) + ")" : "";
  }

  // A record that the library does not list.
  void AddLeftOut(const std::string& problem) {
    Add(problem + ", so that listings leave the record out");
    unreadable_ = true;
  }

  void Add(const std::string& problem) {
    findings_->push_back({Severity::kError, path_, problem, "", /*replacementHeals=*/true});
  }

  // One record that cannot be read keeps the others out of the history too; an array that cannot
  // be forbids all changes.
  void Advise() {
    for (Finding& finding : *findings_) {
      if (finding.subject != path_ || !finding.replacementHeals) continue;
      finding.advice = unusable_ ? kByHand
                                 : "correct the file by hand, or " +
                                       AdviceToReplace(/*inStore=*/false, unreadable_);
    }
  }

  std::string path_;
  Findings* findings_;
  bool unreadable_ = false;
  bool unusable_ = false;
};

}  // namespace

void CheckConfigFile(Findings* findings) {
  const HostPlatform::StoredFile file = HostPlatform::GetConfigFileState();
  if (!file.exists && file.problem.empty()) return;
  try {
    FileCheck(file.path, findings).Run();
  } catch (const ConfigFileException& failure) {
    if (HostPlatform::IsPermissionFailure(failure)) throw;
    findings->push_back({Severity::kError, file.path, failure.what(), kByHand});
  }
}

}  // namespace Quorctl
