# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Waiting for changes, by `for` and by `async for`."""
import asyncio
import gc
import os
import threading

import pytest

import quor


def policies(number):
    return [quor.Policy("gold-01", "Gold", generation=number)]


def test_a_change_that_is_there_is_taken_at_once(catalogue):
    catalogue.replace_policies(policies(1))
    with catalogue.watch() as watch:
        assert watch.fallback == ""
        assert watch.poll() is None
        catalogue.replace_policies(policies(2))
        change = next(watch)
        assert (change.policies, change.datastores) == (True, False)
        assert change.digests == catalogue.digests()
        assert watch.wait(0) is None


def test_it_waits(catalogue):
    catalogue.replace_policies(policies(1))
    with catalogue.watch() as watch:
        later = threading.Timer(0.1, catalogue.replace_datastores, [[quor.Datastore("u", "n")]])
        later.start()
        for change in watch:
            assert (change.policies, change.datastores) == (False, True)
            break
        later.join()


def test_it_can_be_awaited(catalogue):
    catalogue.replace_policies(policies(1))

    async def three():
        seen = []
        with catalogue.watch() as watch:
            catalogue.replace_policies(policies(2))
            async for change in watch:
                seen.append(change.policies)
                if len(seen) == 3:
                    return seen
                asyncio.get_running_loop().call_later(
                    0.02, catalogue.replace_policies, policies(2 + len(seen)))

    assert asyncio.run(asyncio.wait_for(three(), 30)) == [True, True, True]


def test_waiting_can_be_cancelled(catalogue):
    catalogue.replace_policies(policies(1))

    async def wait():
        with catalogue.watch() as watch:
            with pytest.raises(asyncio.TimeoutError):
                await asyncio.wait_for(watch.__anext__(), 0.05)

    asyncio.run(wait())


def test_a_closed_one_says_so_and_one_that_is_forgotten_is_closed(catalogue):
    before = len(os.listdir("/proc/self/fd"))
    watch = catalogue.watch()
    watch.close()
    watch.close()
    with pytest.raises(ValueError, match="closed"):
        watch.poll()
    watch = catalogue.watch()
    del watch
    gc.collect()
    assert len(os.listdir("/proc/self/fd")) == before
