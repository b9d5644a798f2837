// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Datastore records in the configuration file.
#ifndef SRC_CONFIGFILE_DATASTORES_H_
#define SRC_CONFIGFILE_DATASTORES_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace TavQuor::ConfigFileBackend {

// Empties the branch of the datastores. Unlike ClearPolicies() it leaves no array.
void ClearDatastores();

void AddDatastoreInfo(const std::vector<QuorDatastoreInfo>& datastores);
std::vector<QuorDatastoreInfo> ListDatastoreInfo();

// An empty URL is not looked up. Of several datastores with the URL the first one that has the
// value answers.
std::string GetDatastoreNamespace(const std::string& url);
std::string GetDatastoreDefaultPolicyId(const std::string& url);

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_DATASTORES_H_
