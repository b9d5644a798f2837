#include "catalogue/live_catalogue.h"

#include "stored_records.h"

namespace Quorctl {

using TavQuor::QuorLib;

Catalogue ReadLiveCatalogue() {
  const StoredRecords stored;
  Catalogue catalogue;
  catalogue.policies = QuorLib::ListPolicyInfo();
  catalogue.datastores = QuorLib::ListDatastoreInfo();
  stored.ExpectPolicies(catalogue.policies.size());
  stored.ExpectDatastores(catalogue.datastores.size());
  return catalogue;
}

}  // namespace Quorctl
