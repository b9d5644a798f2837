# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The host's catalogue."""
from __future__ import annotations

import os
from typing import Any, Iterable, Optional, Union

from quor import listing, native
from quor.records import Datastore, Digests, Policy, encode
from quor.watch import Watch


class Catalogue:
    """The host's catalogue, in whichever of the two stores the host's switch selects.

    It has no state of its own: every call asks the store. Any number of threads may use it, also in
    a child after a fork; calls let other threads run meanwhile.
    """

    def __init__(self, *, host_dir: Union[str, "os.PathLike[str]", None] = None) -> None:
        """`host_dir` stands for /var/lib/quor, as QUOR_HOST_DIR does. The library keeps it for the
        life of the process: a second one raises ValueError and wants a process of its own."""
        native.load(None if host_dir is None else os.path.abspath(os.fspath(host_dir)))

    @property
    def policies(self) -> tuple[Policy, ...]:
        """All policies, in the order of the store."""
        return listing.policies()

    @property
    def datastores(self) -> tuple[Datastore, ...]:
        """All datastores, in the order of the store."""
        return tuple(listing.datastores())

    def replace_policies(self, policies: Iterable[Policy]) -> None:
        """Replaces all policies, durably; nothing is replaced when one of them is no Policy."""
        listing.replace_policies(policies)

    def replace_datastores(self, datastores: Iterable[Datastore]) -> None:
        """Replaces all datastores, durably."""
        listing.replace_datastores(datastores)

    def reset(self) -> None:
        """Deletes every policy and every datastore."""
        error = native.ffi.new("quor_error**")
        status = native.lib.quor_reset(error)
        if status:
            native.fail(status, error[0])

    def default_blob(self, url: str) -> bytes:
        """The blob of the datastore's default policy; empty when there is none."""
        stored = encode(url)
        answer = native.ffi.new("quorpy_answer*")
        return _taken(native.lib.quorpy_default_blob(stored, len(stored), answer), answer)

    def blob(self, *, policy_id: str, datastore: str) -> bytes:
        """The policy's blob for the namespace of the datastore of that URL; empty when none is."""
        identifier, url = encode(policy_id), encode(datastore)
        answer = native.ffi.new("quorpy_answer*")
        return _taken(native.lib.quorpy_blob_by_id(identifier, len(identifier), url, len(url),
                                                   answer), answer)

    def rilk_blob(self, *, policy_id: Optional[str] = None, name: Optional[str] = None) -> bytes:
        """The blob for the namespace "RILK" of the policy of that identifier, or of that name."""
        if (policy_id is None) == (name is None):
            raise TypeError("give policy_id or name, and not both")
        answer = native.ffi.new("quorpy_answer*")
        lib = native.lib
        key = encode(policy_id if policy_id is not None else name or "")
        look_up = lib.quor_rilk_blob_by_name if policy_id is None else lib.quor_rilk_blob_by_id
        error = native.ffi.new("quor_error**")
        status = look_up(key, len(key), native.ffi.addressof(answer, "blob"), error)
        answer.error = error[0]
        return _taken(status, answer)

    def digests(self) -> Digests:
        """Digests of everything, by which to tell whether something changed."""
        digests, error = native.ffi.new("quor_digests*"), native.ffi.new("quor_error**")
        status = native.lib.quor_digests_get(digests, error)
        if status:
            native.fail(status, error[0])
        string = native.ffi.string
        return Digests(string(digests.policies).decode(), string(digests.datastores).decode())

    def revision(self) -> bytes:
        """A token that is the same as an earlier one only when nothing has changed in between; it
        costs some system calls and reads nothing. Within 100 ms of a change it is always new."""
        revision, error = native.ffi.new("quor_revision*"), native.ffi.new("quor_error**")
        status = native.lib.quor_revision_get(revision, error)
        if status:
            native.fail(status, error[0])
        return bytes(native.ffi.buffer(revision))

    def watch(self) -> Watch:
        """The changes from now on, to be waited for by `for` or `async for`."""
        return Watch(self)


def _taken(status: int, answer: Any) -> bytes:
    """The bytes of an answer, which is freed."""
    if status:
        native.fail(status, answer.error)
    blob = answer.blob
    data = bytes(native.ffi.buffer(blob.data, blob.length))
    native.lib.quor_bytes_free(native.ffi.addressof(answer, "blob"))
    return data
