// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host's catalogue, read and made equal to another one through the library's public calls, so
// over whichever store the host's switch selects.
#ifndef TOOLS_QUOR_AGENT_HOST_CATALOGUE_H_
#define TOOLS_QUOR_AGENT_HOST_CATALOGUE_H_

#include "catalogue/catalogue.h"
#include "catalogue/digests.h"

namespace QuorAgent {

// Policies and datastores of one moment, without records that cannot be read. Raises
// std::runtime_error if the catalogue keeps changing, and the library's exceptions.
Quorctl::Catalogue ReadHost();

// True if the host has the wanted records: in the same order if a policy identifier repeats, and
// with only the low 32 bits of generations if the configuration file is used.
bool IsEqual(const Quorctl::Catalogue& host, const Quorctl::Catalogue& wanted);

struct HostChange {
  Quorctl::Digests digests;  // as read back
  int replacements = 0;      // of policies or of datastores; 0 where the host was equal
};

// Makes the host equal: replaces what differs, so that nothing is written to an equal host. Where
// policies and datastores differ the policies are expanded first (see Expanded()), then come the
// datastores, then, after a moment for lookups under way, the wanted policies alone. A failed or
// killed call leaves the catalogue old, expanded or new, in each of which every datastore finds its
// default policy; the next call goes on from there.
//
// Raises what the library raises, and std::runtime_error when other processes keep changing the
// catalogue.
HostChange MakeHostEqual(const Quorctl::Catalogue& wanted);

// The wanted policies, and of the old ones what the old datastores need for their default blobs:
// policies whose identifier is gone, and blobs of namespaces that a policy has no more. One whose
// name is taken by a wanted policy gets another name, since the name is the store's key.
std::vector<TavQuor::QuorPolicyInfo> Expanded(const Quorctl::Catalogue& old,
                                              const Quorctl::Catalogue& wanted);

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_HOST_CATALOGUE_H_
