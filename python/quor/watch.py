# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Waiting for changes of the catalogue."""
from __future__ import annotations

import asyncio
import select
import time
import weakref
from dataclasses import dataclass
from types import TracebackType
from typing import TYPE_CHECKING, Any, Optional

from quor import native
from quor.records import Digests

if TYPE_CHECKING:
    from quor.catalogue import Catalogue


@dataclass(frozen=True)
class Change:
    """What is another one than before, and the digests of now."""

    policies: bool
    datastores: bool
    digests: Digests


_RETRY = 1.0  # seconds, until what could not be read is asked for again
_LONGEST = 86400.0  # that poll() is asked to wait at once


def _finish(ready: "asyncio.Future[None]") -> None:
    if not ready.done():
        ready.set_result(None)


class Watch:
    """The changes of a catalogue, one after the other: `for` and `async for` both wait for them.

    A change of which nothing can be seen in the digests is none. What cannot be read is raised; the
    next call asks for it again, a second later where it waits. No thread is started. One thread or
    task at a time uses it. After a fork the child makes its own; this one refuses it.
    """

    def __init__(self, catalogue: "Catalogue") -> None:
        self._catalogue = catalogue
        changes, error = native.ffi.new("quor_changes**"), native.ffi.new("quor_error**")
        status = native.lib.quor_changes_open(native.ffi.NULL, changes, error)
        if status:
            native.fail(status, error[0])
        self._changes: Any = changes[0]
        self._finalizer = weakref.finalize(self, native.lib.quor_changes_close, changes[0])
        self._known = catalogue.digests()
        self._unread = False  # there was a change whose digests could not be asked for
        self._waiter: Optional[asyncio.Future[None]] = None

    def fileno(self) -> int:
        """The descriptor, for an event loop of one's own; then `poll()` tells of the change."""
        if not self._finalizer.alive:
            raise ValueError("the watch is closed")
        return int(native.lib.quor_changes_descriptor(self._changes))

    @property
    def fallback(self) -> str:
        """Why the catalogue is looked at once a second; empty while changes are notified."""
        self.fileno()
        return str(native.ffi.string(native.lib.quor_changes_fallback(self._changes)).decode(
            "utf-8", "surrogateescape"))

    def poll(self) -> Optional[Change]:
        """The change that has come meanwhile, without waiting."""
        self.fileno()
        changed, error = native.ffi.new("unsigned*"), native.ffi.new("quor_error**")
        status = native.lib.quor_changes_read(self._changes, changed, error)
        if status:
            native.fail(status, error[0])
        if not changed[0] and not self._unread:
            return None
        self._unread = True
        before, now = self._known, self._catalogue.digests()
        self._unread, self._known = False, now
        if now == before:
            return None
        return Change(now.policies != before.policies, now.datastores != before.datastores, now)

    def wait(self, timeout: Optional[float] = None) -> Optional[Change]:
        """The next change; None when none came within `timeout` seconds."""
        end = float("inf") if timeout is None else time.monotonic() + timeout
        poller = select.poll()
        poller.register(self.fileno(), select.POLLIN)
        while True:
            left = max(0.0, end - time.monotonic())
            poller.poll(min(left, _RETRY if self._unread else _LONGEST) * 1000)
            change = self.poll()
            if change is not None or time.monotonic() >= end:
                return change

    def __iter__(self) -> "Watch":
        return self

    def __next__(self) -> Change:
        change = self.wait()
        if change is None:
            raise StopIteration
        return change

    def __aiter__(self) -> "Watch":
        return self

    async def __anext__(self) -> Change:
        loop = asyncio.get_running_loop()
        descriptor = self.fileno()
        if self._waiter is not None:
            raise RuntimeError("another task waits for this watch already")
        while True:
            ready: asyncio.Future[None] = loop.create_future()
            self._waiter = ready
            loop.add_reader(descriptor, _finish, ready)
            retry = loop.call_later(_RETRY, _finish, ready) if self._unread else None
            try:
                await ready
            finally:
                if retry is not None:
                    retry.cancel()
                if self._finalizer.alive:  # otherwise the number may be another descriptor's
                    loop.remove_reader(descriptor)
                self._waiter = None
            if not self._finalizer.alive:
                raise StopAsyncIteration
            change = self.poll()
            if change is not None:
                return change

    def close(self) -> None:
        """Ends it, and the task that waits for it; once is enough."""
        if self._waiter is not None and self._finalizer.alive:
            self._waiter.get_loop().remove_reader(self.fileno())
            _finish(self._waiter)
        self._finalizer()

    def __enter__(self) -> "Watch":
        return self

    def __exit__(self, kind: Optional[type[BaseException]], value: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None:
        self.close()
