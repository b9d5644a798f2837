# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Calls leave no memory behind. QUOR_TEST_CALLS says how many are made; 1,000,000 in the long form."""
import os
import resource

import pytest

import quor
from quor import native

CALLS = int(os.environ.get("QUOR_TEST_CALLS", "20000"))
MOST_KIB = 4096  # one blob of a call that leaked would be more


def resident_kib():
    with open("/proc/self/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * resource.getpagesize() // 1024


def refused():
    """A failure that comes from the library."""
    changes, error = native.ffi.new("quor_changes**"), native.ffi.new("quor_error**")
    native.fail(native.lib.quor_changes_open(b"relative", changes, error), error[0])


def one_round(catalogue, number):
    assert len(catalogue.default_blob("ds:///a/")) == 700
    assert catalogue.blob(policy_id="none", datastore="ds:///a/") == b""
    if number % 50 == 0:
        assert len(catalogue.policies) == 1
        catalogue.datastores, catalogue.digests(), catalogue.revision()
    if number % 500 == 0:
        catalogue.watch().close()
        with pytest.raises(AttributeError):
            catalogue.replace_policies([3])
        with pytest.raises(ValueError, match="absolute"):
            refused()


def test_calls_leave_no_memory_behind(catalogue):
    catalogue.replace_policies([quor.Policy("g", "G", blobs=(quor.Blob("RILK", b"x" * 700),))])
    catalogue.replace_datastores([quor.Datastore("ds:///a/", "RILK", "g")])
    for number in range(2000):
        one_round(catalogue, number)
    before = resident_kib()
    for number in range(CALLS // 2):
        one_round(catalogue, number)
    assert resident_kib() - before < MOST_KIB
