// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "check/catalogue_content.h"

#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "catalogue/duplicates.h"
#include "catalogue/text/terminal_text.h"

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

namespace {

constexpr char kDigestDepends[] = "; the digest depends on the order of the records";

Finding DescribeDuplicate(const Duplicate& duplicate) {
  const std::string count = std::to_string(duplicate.count);
  const std::string first = ", and only the first is found by it";
  switch (duplicate.kind) {
    case KeyKind::kPolicyId:
      return {Severity::kWarning, "policy identifier " + Quoted(duplicate.key),
              count + " policies have it" + first + kDigestDepends,
              "give each policy an identifier of its own and apply again"};
    case KeyKind::kPolicyName:
      return {Severity::kWarning, "policy name " + Quoted(duplicate.key),
              count + " policies have it" + first,
              "give each policy a name of its own and apply again"};
    case KeyKind::kBlobNamespace:
      return {
          Severity::kWarning, "policy " + Quoted(duplicate.policy),
          count + " blobs are for the namespace " + Quoted(duplicate.key) + first + kDigestDepends,
          "leave one blob for each namespace and apply again"};
    default:
      return {Severity::kWarning, "datastore URL " + Quoted(duplicate.key),
              count + " datastores have it" + first + kDigestDepends,
              "leave one datastore for each URL and apply again"};
  }
}

}  // namespace

void CheckDuplicates(const Catalogue& catalogue, Findings* findings) {
  for (const Duplicate& duplicate : FindDuplicates(catalogue))
    findings->push_back(DescribeDuplicate(duplicate));
}

void CheckDefaultPolicies(const Catalogue& catalogue, bool policiesLost, Findings* findings) {
  std::unordered_map<std::string_view, const QuorPolicyInfo*> policies;
  for (const QuorPolicyInfo& policy : catalogue.policies)
    policies.emplace(policy.policyId, &policy);  // the first one, as lookups find it
  for (const QuorDatastoreInfo& datastore : catalogue.datastores) {
    const std::string& id = datastore.defaultPolicyId;
    if (id.empty()) continue;  // it has none, which is allowed
    const std::string who = "datastore " + Quoted(datastore.url);
    const auto found = policies.find(id);
    if (found == policies.end()) {
      const std::string problem = "its default policy " + Quoted(id) + " does not exist";
      if (policiesLost) {
        findings->push_back({Severity::kWarning, who, problem + " or cannot be read",
                             "first do what is said of the policies that cannot be read"});
      } else {
        findings->push_back(
            {Severity::kWarning, who, problem, "add the policy or name another default"});
      }
    } else if (!FindBlob(*found->second, datastore.datastoreNamespace)) {
      findings->push_back({Severity::kWarning, who,
                           "its default policy " + Quoted(id) +
                               " has no blob for the datastore's namespace " +
                               Quoted(datastore.datastoreNamespace),
                           "add the blob or name another default"});
    }
  }
}

Findings NewProblems(const Catalogue& before, const Catalogue& after) {
  const auto problemsOf = [](const Catalogue& catalogue) {
    Findings findings;
    CheckDuplicates(catalogue, &findings);
    CheckDefaultPolicies(catalogue, /*policiesLost=*/false, &findings);
    return findings;
  };
  std::unordered_set<std::string> known;
  for (const Finding& finding : problemsOf(before))
    known.insert(finding.subject + finding.problem);
  Findings findings = problemsOf(after);
  std::erase_if(findings, [&known](const Finding& finding) {
    return known.count(finding.subject + finding.problem) > 0;
  });
  return findings;
}

}  // namespace Quorctl
