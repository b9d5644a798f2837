# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The Python part of reach.py: prints nanoseconds of processor time a call."""
import time

import quor

CALLS = 4000
LISTINGS = 3


class Empty:
    """The interpreter's own call of a method with an argument."""

    def default_blob(self, url):
        return url


def nanoseconds(call, count):
    """Of processor time: what others do on the machine is not in it."""
    begin = time.thread_time_ns()
    for _ in range(count):
        call()
    return (time.thread_time_ns() - begin) / count


catalogue, empty = quor.Catalogue(), Empty()
catalogue.default_blob("ds:///a/"), catalogue.policies
print("python_lookup_ns", nanoseconds(lambda: catalogue.default_blob("ds:///a/"), CALLS))
print("python_empty_ns", nanoseconds(lambda: empty.default_blob("ds:///a/"), CALLS))
print("python_listing_ns", nanoseconds(lambda: catalogue.policies, LISTINGS))
