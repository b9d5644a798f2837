#include "argument.h"
#include "catalogue/document_reader.h"
#include "catalogue/document_rules.h"
#include "catalogue/input_file.h"
#include "command_table.h"
#include "host_backend.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

Catalogue ReadAndCheck(const std::string& path) {
  const std::string source = InputName(path);
  Catalogue catalogue = ReadCatalogueDocument(ReadInput(path), source);
  ExpectUniqueKeys(catalogue, source);
  if (BackendSwitch().on) ExpectBlobNamespaces(catalogue, source);
  return catalogue;
}

// The two record sets are replaced one after the other; a failure of the second one is reported
// together with what has become of the first.
void Replace(const Catalogue& catalogue) {
  QuorLib::AddPolicyInfo(catalogue.policies);
  try {
    QuorLib::AddDatastoreInfo(catalogue.datastores);
  } catch (...) {
    const Failure failure = DescribeCurrentException();
    throw CommandError(failure.status, "the policies were replaced but the datastores were not: " +
                                           failure.message);
  }
}

std::string Counted(std::size_t count, const std::string& singular, const std::string& plural) {
  return std::to_string(count) + ' ' + (count == 1 ? singular : plural);
}

std::string Summary(const Catalogue& catalogue) {
  std::size_t blobs = 0;
  for (const auto& policy : catalogue.policies)
    blobs += policy.blobs.size();
  return Counted(catalogue.policies.size(), "policy", "policies") + " (" +
         Counted(blobs, "blob", "blobs") + ") and " +
         Counted(catalogue.datastores.size(), "datastore", "datastores");
}

class ApplyCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "apply",
        {"FILE", "-"},
        "replace the whole catalogue by that of a document",
        "Reads the document, from standard input for \"-\", and makes its contents the\n"
        "catalogue of this host: what is not in the document is deleted. Nothing is written\n"
        "unless the whole document is right. It is JSON of this shape, all keys required:\n"
        "\n"
        "  {\"format\": \"quor-catalogue/1\",\n"
        "   \"policies\": [{\"id\": \"gold-01\", \"name\": \"Gold\", \"description\": \"\",\n"
        "                 \"generation\": 1,\n"
        "                 \"blobs\": [{\"namespace\": \"RILK\", \"text\": \"copies = 2\"},\n"
        "                           {\"namespace\": \"VOLB\", \"base64\": \"AAEC\"}]}],\n"
        "   \"datastores\": [{\"url\": \"ds:///volumes/a1/\", \"namespace\": \"VOLB\",\n"
        "                   \"defaultPolicy\": \"gold-01\"}]}\n"
        "\n"
        "A string that is not UTF-8 is written {\"base64\": \"...\"}. Names of policies, URLs of\n"
        "datastores and the namespaces of one policy must not repeat.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    file_.Declare(verb, "FILE", "", "the document; - for standard input");
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!file_.Given()) throw UsageError("apply needs a FILE, or - for standard input");
    const Catalogue catalogue = ReadAndCheck(file_.Value());
    Replace(catalogue);
    output->changedHost = true;
    output->text += "applied " + Summary(catalogue) + " to " + SelectedBackendPlace() + '\n';
    return ExitStatus::kDone;
  }

 private:
  Argument file_;
};

}  // namespace

std::unique_ptr<Command> MakeApplyCommand() {
  return std::make_unique<ApplyCommand>();
}

}  // namespace Quorctl
