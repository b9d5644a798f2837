# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Waiting for changes, by `for` and by `async for`."""
import asyncio
import gc
import os
import threading
import time

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


def test_what_is_no_change_does_not_end_the_wait(catalogue):
    catalogue.replace_policies(policies(1))
    with catalogue.watch() as watch:
        catalogue.replace_policies(policies(1))  # a commit of what is there
        start = time.monotonic()
        assert watch.wait(0.3) is None
        assert time.monotonic() - start >= 0.3
        catalogue.replace_policies(policies(1))
        later = threading.Timer(0.1, catalogue.replace_policies, [policies(2)])
        later.start()
        assert watch.wait(20).policies
        later.join()
        assert watch.wait(-1) is None


def test_a_change_that_could_not_be_read_comes_when_it_can(catalogue, monkeypatch):
    def fail():
        raise quor.Busy("somebody else")

    catalogue.replace_policies(policies(1))
    with catalogue.watch() as watch:
        for look in (watch.poll, lambda: watch.wait(20), lambda: next(watch)):
            catalogue.replace_policies(policies(catalogue.policies[0].generation + 1))
            with monkeypatch.context() as patch:
                patch.setattr(catalogue, "digests", fail)
                with pytest.raises(quor.Busy):
                    next(watch)
            assert look().policies

        async def two():
            catalogue.replace_policies(policies(catalogue.policies[0].generation + 1))
            with monkeypatch.context() as patch:
                patch.setattr(catalogue, "digests", fail)
                with pytest.raises(quor.Busy):
                    await watch.__anext__()
            return await watch.__anext__()

        assert asyncio.run(asyncio.wait_for(two(), 20)).policies


def test_closing_ends_the_task_that_waits_and_a_second_one_is_refused(catalogue):
    async def wait():
        watch = catalogue.watch()
        task = asyncio.ensure_future(watch.__anext__())
        await asyncio.sleep(0.05)
        with pytest.raises(RuntimeError, match="another task waits"):
            await watch.__anext__()
        watch.close()
        with pytest.raises(StopAsyncIteration):
            await asyncio.wait_for(task, 5)
        with pytest.raises(ValueError, match="closed"):
            await watch.__anext__()

    asyncio.run(wait())


def test_a_forked_child_is_refused_and_takes_nothing(catalogue):
    catalogue.replace_policies(policies(1))
    with catalogue.watch() as watch:
        catalogue.replace_policies(policies(2))
        child = os.fork()
        if child == 0:
            try:
                watch.poll()
            except ValueError:
                watch.close()
                os._exit(0)
            os._exit(1)
        assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
        assert watch.poll().policies


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
