// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue_calls.h"

#include <stdexcept>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/admin.h"
#include "platform/feature_list.h"
#include "tavconfigstore/exception.h"
#include "zynctl/exception.h"

namespace StressTest {
namespace {

using TavQuor::QuorLib;

// The changes more often than each of the others.
const std::vector<Call> kCalls = {Call::kReplacePolicies,   Call::kReplacePolicies,
                                  Call::kReplacePolicies,   Call::kReplaceDatastores,
                                  Call::kReplaceDatastores, Call::kReset,
                                  Call::kListPolicies,      Call::kListDatastores,
                                  Call::kRilkBlobById,      Call::kRilkBlobByName,
                                  Call::kDefaultBlob,       Call::kDefaultBlob,
                                  Call::kBlobById,          Call::kDigests};

void Answer(const Digests& digests, Operation* operation) {
  switch (operation->call) {
    case Call::kReplacePolicies:
      return QuorLib::AddPolicyInfo(PoliciesOf(operation->set));
    case Call::kReplaceDatastores:
      return QuorLib::AddDatastoreInfo(DatastoresOf(operation->set));
    case Call::kReset:
      return QuorLib::Reset();
    case Call::kListPolicies:
      operation->answer = NumberOf(QuorLib::ListPolicyInfo());
      return;
    case Call::kListDatastores:
      operation->answer = NumberOf(QuorLib::ListDatastoreInfo());
      return;
    case Call::kRilkBlobById:
      operation->answer = NumberOfBlob(QuorLib::GetRilkPolicyBlobById(PolicyId(operation->policy)));
      return;
    case Call::kRilkBlobByName:
      operation->answer =
          NumberOfBlob(QuorLib::GetRilkPolicyBlobByName(PolicyName(operation->policy)));
      return;
    case Call::kDefaultBlob:
      operation->answer = NumberOfBlob(QuorLib::GetDefaultPolicyBlob(Url(operation->datastore)));
      return;
    case Call::kBlobById:
      operation->answer = NumberOfBlob(
          QuorLib::GetPolicyBlobById(PolicyId(operation->policy), Url(operation->datastore)));
      return;
    case Call::kDigests:
      std::tie(operation->answer, operation->secondAnswer) =
          digests.NumbersOf(QuorLib::GetDbHash());
      return;
  }
}

}  // namespace

void UseStore(const std::string& store) {
  if (store != "store" && store != "file") throw std::invalid_argument("no such store: " + store);
  HostPlatform::OverrideFeature(kFeatureQuorUsesConfigStore, store == "store");
}

Operation AnyCall(PlatformTest::Random* random) {
  Operation operation;
  operation.call = random->Of(kCalls);
  operation.policy = static_cast<int>(random->Below(kPolicies));
  operation.datastore = static_cast<int>(random->Below(kDatastores));
  return operation;
}

void MakeCall(const Digests& digests, Operation* operation) {
  try {
    Answer(digests, operation);
    operation->ending = Ending::kReturned;
  } catch (const std::exception&) {
    if (!IsBusy()) throw;
    operation->ending = Ending::kBusy;
  }
}

bool IsBusy() {
  try {
    throw;
  } catch (const TavConfigStore::ConfigStoreException& failure) {
    return failure.code() == TavConfigStore::kBusy;
  } catch (const ZynCtl::Config::ConfigFileException& failure) {
    return std::string_view(failure.what()).find(": still locked after ") != std::string_view::npos;
  } catch (...) {
    return false;
  }
}

}  // namespace StressTest
