// The catalogue's layout in the host configuration file.
//
//   /Quor/Policy-Info      branch
//     policy               array, one instance per policy: name, description, policy-id,
//                          generation-number
//       blobs              array, one instance per blob: datastore-namespace, blob (Base64)
//   /Quor/Datastore-Info   branch
//     Datastore            array, one instance per datastore: url, datastore-namespace,
//                          default-policy-id
//
// Instances are not keyed: a record is found by a scan, in the order in which they were added.
#ifndef SRC_CONFIGFILE_KEYS_H_
#define SRC_CONFIGFILE_KEYS_H_

#include <string>

namespace TavQuor::ConfigFileBackend {

inline const std::string kPolicyBranch = "/Quor/Policy-Info";
inline const std::string kPolicyArray = "policy";
inline const std::string kDatastoreBranch = "/Quor/Datastore-Info";
inline const std::string kDatastoreArray = "Datastore";
inline const std::string kBlobArray = "blobs";

inline const std::string kName = "name";
inline const std::string kDescription = "description";
inline const std::string kPolicyId = "policy-id";
inline const std::string kGenerationNumber = "generation-number";
inline const std::string kBlob = "blob";
inline const std::string kDatastoreNamespace = "datastore-namespace";
inline const std::string kUrl = "url";
inline const std::string kDefaultPolicyId = "default-policy-id";

// Words of the table that no operation here reads; the entry points bring their own namespace.
inline const std::string kRilk = "RILK";
inline const std::string kAll = "ALL";

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_KEYS_H_
