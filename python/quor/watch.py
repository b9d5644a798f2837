# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Waiting for changes of the catalogue."""
from __future__ import annotations

import asyncio
import select
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


def _finish(ready: "asyncio.Future[None]") -> None:
    if not ready.done():
        ready.set_result(None)


class Watch:
    """The changes of a catalogue, one after the other: `for` and `async for` both wait for them.

    A change of which nothing can be seen in the digests is none. What cannot be read is raised, and
    waiting goes on with the next call. No thread is started. After a fork the child makes its own.
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
        if not changed[0]:
            return None
        before, now = self._known, self._catalogue.digests()
        self._known = now
        if now == before:
            return None
        return Change(now.policies != before.policies, now.datastores != before.datastores, now)

    def wait(self, timeout: Optional[float] = None) -> Optional[Change]:
        """The next change; None when none came within `timeout` seconds."""
        poller = select.poll()
        poller.register(self.fileno(), select.POLLIN)
        while poller.poll(None if timeout is None else timeout * 1000):
            change = self.poll()
            if change is not None or timeout is not None:
                return change
        return None

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
        while True:
            ready: asyncio.Future[None] = loop.create_future()
            loop.add_reader(descriptor, _finish, ready)
            try:
                await ready
            finally:
                loop.remove_reader(descriptor)
            change = self.poll()
            if change is not None:
                return change

    def close(self) -> None:
        """Ends it; once is enough."""
        self._finalizer()

    def __enter__(self) -> "Watch":
        return self

    def __exit__(self, kind: Optional[type[BaseException]], value: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None:
        self.close()
