# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The documented rules, for records of any kind."""
import os

from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import quor

IN_STORE = os.environ["QUOR_TEST_STORE"] == "store"
BYTES = st.binary(max_size=20)
TEXT = st.one_of(BYTES.map(lambda raw: raw.decode("utf-8", "surrogateescape")),
                 st.sampled_from(["", "RILK", "a", "Größe", "x\0y"]))
BLOBS = st.lists(st.builds(quor.Blob, TEXT, BYTES), max_size=3).map(tuple)
GENERATIONS = st.integers(-2**63, 2**63 - 1)
POLICIES = st.lists(st.builds(quor.Policy, TEXT, TEXT, TEXT, GENERATIONS, BLOBS), max_size=4)
DATASTORES = st.lists(st.builds(quor.Datastore, TEXT, TEXT, TEXT), max_size=4)
FEW = settings(max_examples=int(os.environ.get("QUOR_TEST_EXAMPLES", "60")), deadline=None,
               suppress_health_check=list(HealthCheck))


def last_of_each(records, key):
    """Of those with one key the last, at the place of the first."""
    found = {}
    for record in records:
        found[key(record)] = record
    return list(found.values())


def kept(policy):
    """What the store that is in use keeps of a policy."""
    if not IN_STORE:
        low = (policy.generation + 2**31) % 2**32 - 2**31
        return quor.Policy(policy.id, policy.name, policy.description, low, policy.blobs)
    named = [blob for blob in policy.blobs if blob.namespace]
    return quor.Policy(policy.id, policy.name, policy.description, policy.generation,
                       tuple(last_of_each(named, lambda blob: blob.namespace)))


def sorted_blobs(policies):
    return [(p.id, p.name, p.description, p.generation,
             sorted((b.namespace, b.data) for b in p.blobs)) for p in policies]


@FEW
@given(POLICIES)
def test_policies_come_back_as_the_rules_say(policies):
    catalogue = quor.Catalogue()
    catalogue.reset()
    catalogue.replace_policies(policies)
    expected = last_of_each(policies, lambda policy: policy.name) if IN_STORE else policies
    listed = catalogue.policies
    if IN_STORE:
        assert sorted(sorted_blobs(listed)) == sorted(sorted_blobs(map(kept, expected)))
    else:
        assert listed == tuple(map(kept, expected))
    for policy in listed:
        if policy.id:
            first = next(one for one in listed if one.id == policy.id)
            assert catalogue.rilk_blob(policy_id=policy.id) == first.blob("RILK")


@FEW
@given(DATASTORES)
def test_datastores_come_back_as_the_rules_say(datastores):
    catalogue = quor.Catalogue()
    catalogue.reset()
    catalogue.replace_datastores(datastores)
    if IN_STORE:
        expected = last_of_each(datastores, lambda one: one.url)
        assert sorted(map(repr, catalogue.datastores)) == sorted(map(repr, expected))
    else:
        assert catalogue.datastores == tuple(datastores)


@FEW
@given(POLICIES)
def test_the_digest_does_not_depend_on_the_order_of_different_records(policies):
    different = last_of_each(policies, lambda policy: policy.id)
    different = last_of_each(different, lambda policy: policy.name)
    different = [kept(quor.Policy(p.id, p.name, p.description, p.generation,
                                  tuple(last_of_each(p.blobs, lambda blob: blob.namespace))))
                 for p in different]
    catalogue = quor.Catalogue()
    catalogue.reset()
    catalogue.replace_policies(different)
    before = catalogue.digests()
    catalogue.reset()
    catalogue.replace_policies(reversed(different))
    assert catalogue.digests() == before
