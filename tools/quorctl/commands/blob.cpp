// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <unistd.h>

#include "argument.h"
#include "catalogue/text/terminal_text.h"
#include "command_table.h"
#include "host_backend.h"
#include "output_file.h"
#include "platform/admin.h"
#include "quor/quor_lib.h"
#include "text/hex_view.h"

namespace Quorctl {

using Brisk::Lib::BriskException;
using TavQuor::QuorLib;

namespace {

// What a terminal may be given as it is.
bool IsPlainText(std::string text) {
  std::erase_if(text, [](char c) { return c == '\n' || c == '\t'; });
  return EscapeForTerminal(text) == text;
}

// The prompt that follows begins a line.
std::string ForTerminal(const std::string& blob) {
  if (!IsPlainText(blob)) return HexView(blob);
  return blob.back() == '\n' ? blob : blob + '\n';
}

class BlobCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "blob",
        {"--policy-id ID --datastore URL [--out FILE | --raw]",
         "--policy-id ID [--out FILE | --raw]", "--policy-name NAME [--out FILE | --raw]",
         "--default-of URL [--out FILE | --raw]"},
        "write one policy blob to standard output or to a file",
        "Writes the bytes of the blob as they are, with nothing added. On a terminal plain\n"
        "text ends with a line feed, and other bytes, which could harm it, are shown as a\n"
        "hexadecimal view, unless --raw is given. The blob is that of\n"
        "  --policy-id with --datastore  the policy, for the datastore's namespace\n"
        "  --policy-id or --policy-name  the policy, for the namespace \"RILK\"\n"
        "  --default-of                  the datastore's default policy, for its namespace\n"
        "Where there is no such blob, or an empty one, the exit status is 3.\n"
        "A value that begins with a dash can be given too: --policy-id=-x\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    policyId_.Declare(verb, "--policy-id", "ID", "the policy with this identifier");
    policyName_.Declare(verb, "--policy-name", "NAME", "the policy of this name");
    datastore_.Declare(verb, "--datastore", "URL", "for the namespace of this datastore");
    defaultOf_.Declare(verb, "--default-of", "URL", "the default policy of this datastore");
    file_.Declare(verb, "--out", "FILE",
                  "write the bytes to this file, which is replaced when it\n"
                  "exists, in place of standard output");
    DeclareFlag(verb, "--raw", &raw_, "write the bytes as they are to a terminal too");
  }

  ExitStatus Run(CommandOutput* output) override {
    CheckCombination();
    const std::string blob = FindOrTell();
    if (blob.empty()) throw CommandError(ExitStatus::kAbsent, NoBlob());
    if (file_.Given()) {
      ReplaceFile(file_.Value(), blob);
    } else {
      output->text += isatty(STDOUT_FILENO) && !raw_ ? ForTerminal(blob) : blob;
    }
    return ExitStatus::kDone;
  }

 private:
  void CheckCombination() const {
    const int questions = policyId_.Given() + policyName_.Given() + defaultOf_.Given();
    if (questions != 1) {
      throw UsageError("blob takes one of --policy-id, --policy-name and --default-of");
    }
    if (datastore_.Given() && !policyId_.Given()) {
      throw UsageError("--datastore goes with --policy-id only");
    }
    if (file_.Given() && file_.Value().empty()) {
      throw UsageError("--out needs the name of a file");
    }
    if (file_.Given() && raw_) throw UsageError("--raw goes with standard output, not with --out");
  }

  std::string Find() const {
    if (defaultOf_.Given()) return QuorLib::GetDefaultPolicyBlob(defaultOf_.Value());
    if (policyName_.Given()) return QuorLib::GetRilkPolicyBlobByName(policyName_.Value());
    if (!datastore_.Given()) return QuorLib::GetRilkPolicyBlobById(policyId_.Value());
    return QuorLib::GetPolicyBlobById(policyId_.Value(), datastore_.Value());
  }

  // A blob that does not decode is reported without a word on where it is.
  std::string FindOrTell() const {
    try {
      return Find();
    } catch (const BriskException& failure) {
      const std::string path = BackendSwitch().on ? HostPlatform::GetConfigStoreState().path
                                                  : HostPlatform::GetConfigFileState().path;
      const std::string problem = failure.what();
      if (problem.find(HostPlatform::HostDirectory()) != std::string::npos) throw;
      throw CommandError(ExitStatus::kStore,
                         path + ": the blob of " + Wanted() + ": " + problem +
                             "; \"quorctl check\" names the record and what to do");
    }
  }

  std::string Wanted() const {
    if (defaultOf_.Given())
      return "the default policy of the datastore " + Quoted(defaultOf_.Value());
    if (policyName_.Given()) {
      return "the policy " + Quoted(policyName_.Value()) + " for the namespace \"RILK\"";
    }
    return "the policy with the identifier " + Quoted(policyId_.Value()) +
           (datastore_.Given() ? " for the datastore " + Quoted(datastore_.Value())
                               : " for the namespace \"RILK\"");
  }

  // The library returns an empty blob, whichever part is missing.
  std::string NoBlob() const {
    const bool ofDatastore = defaultOf_.Given() || datastore_.Given();
    return "no blob: there is none, or an empty one, of " + Wanted() + "; " +
           (ofDatastore ? "\"quorctl explain\" tells why"
                        : "\"quorctl get policy KEY\" shows what a policy has");
  }

  Argument policyId_;
  Argument policyName_;
  Argument datastore_;
  Argument defaultOf_;
  Argument file_;
  bool raw_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeBlobCommand() {
  return std::make_unique<BlobCommand>();
}

}  // namespace Quorctl
