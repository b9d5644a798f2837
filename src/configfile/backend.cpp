#include "configfile/backend.h"

#include "brisk/exception.h"

namespace TavQuor::ConfigFileBackend {
namespace {

// This version keeps records in the configuration store only. A host whose switch selects the file
// is told so by every call that would touch records; nothing is answered as if it were empty.
[[noreturn]] void RaiseUnavailable() {
  throw Brisk::Lib::BriskException(
      "feature switch 62 selects the configuration file, which this version of libquor does not "
      "offer yet; set the switch (quorctl switch store) to use the configuration store");
}

template <typename Result, typename... Arguments>
Result Unavailable(Arguments...) {
  RaiseUnavailable();
}

void Init() {}

}  // namespace

const Backend kBackend = {
    &Init,
    &Unavailable<void>,
    &Unavailable<void, const std::vector<QuorPolicyInfo>&>,
    &Unavailable<void, const std::vector<QuorDatastoreInfo>&>,
    &Unavailable<std::vector<QuorPolicyInfo>>,
    &Unavailable<std::vector<QuorDatastoreInfo>>,
    &Unavailable<std::string, const std::string&, const std::string&>,
    &Unavailable<std::string, const std::string&, const std::string&>,
    &Unavailable<std::string, const std::string&>,
    &Unavailable<std::string, const std::string&>,
    &Unavailable<std::string>,
    &Unavailable<std::string>,
};

}  // namespace TavQuor::ConfigFileBackend
