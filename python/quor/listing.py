# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Records from and to the library, all of a kind at once."""
from __future__ import annotations

from itertools import accumulate
from typing import Any, Callable, Iterable, Iterator

from quor import native
from quor.records import Blob, Datastore, Policy, decode, encode


class _Listing:
    """A listing's texts and blobs, taken in their order."""

    def __init__(self, read: Callable[[Any, Any], int]) -> None:
        ffi, lib = native.ffi, native.lib
        listing, error = ffi.new("quorpy_listing*"), ffi.new("quor_error**")
        status = read(listing, error)
        try:
            if status:
                native.fail(status, error[0])
            self.texts: bytes = ffi.buffer(listing.texts, listing.texts_length)[:]
            self.blobs: bytes = ffi.buffer(listing.blobs, listing.blobs_length)[:]
            self.numbers: list[int] = ffi.unpack(listing.numbers, listing.numbers_length)
        finally:
            lib.quorpy_listing_free(listing)

    def slicer(self) -> Callable[[int, int], str]:
        """Text from one place to another: of plain ASCII without decoding each of them."""
        if self.texts.isascii():
            whole = self.texts.decode("ascii")
            return lambda begin, end: whole[begin:end]
        return lambda begin, end: decode(self.texts[begin:end])


def policies() -> tuple[Policy, ...]:
    """All of them. Records are made without their constructors, which take half of the time."""
    listing = _Listing(native.lib.quorpy_list_policies)
    text, blobs, numbers = listing.slicer(), listing.blobs, listing.numbers
    new = object.__new__
    made = []
    i = at = blob_at = 0
    while i < len(numbers):
        generation, id_length, name_length, description_length, count = numbers[i:i + 5]
        i += 5
        id_end = at + id_length
        name_end = id_end + name_length
        policy = new(Policy)
        fields = policy.__dict__
        fields["id"], fields["name"] = text(at, id_end), text(id_end, name_end)
        at = name_end + description_length
        fields["description"], fields["generation"] = text(name_end, at), generation
        own = []
        for _ in range(count):
            end, blob_end = at + numbers[i], blob_at + numbers[i + 1]
            i += 2
            blob = new(Blob)
            parts = blob.__dict__
            parts["namespace"], parts["data"] = text(at, end), blobs[blob_at:blob_end]
            own.append(blob)
            at, blob_at = end, blob_end
        fields["blobs"] = tuple(own)
        made.append(policy)
    return tuple(made)


def datastores() -> Iterator[Datastore]:
    listing = _Listing(native.lib.quorpy_list_datastores)
    text = listing.slicer()
    ends = [0, *accumulate(listing.numbers)]
    for i in range(0, len(ends) - 1, 3):
        yield Datastore(text(ends[i], ends[i + 1]), text(ends[i + 1], ends[i + 2]),
                        text(ends[i + 2], ends[i + 3]))


def _put(setter: Callable[..., int], record: Any, *texts: bytes) -> None:
    if setter(record, *(part for text in texts for part in (text, len(text)))):
        raise MemoryError


def _added(record: Any) -> Any:
    if record == native.ffi.NULL:
        raise MemoryError
    return record


def _replace(replace: Callable[[Any, Any], int], records: Any) -> None:
    error = native.ffi.new("quor_error**")
    status = replace(records, error)
    if status:
        native.fail(status, error[0])


def replace_policies(records: Iterable[Policy]) -> None:
    lib = native.lib
    made = native.ffi.gc(_added(lib.quor_policies_new()), lib.quor_policies_free)
    for policy in records:
        one = _added(lib.quor_policies_add(made))
        _put(lib.quor_policy_set_id, one, encode(policy.id))
        _put(lib.quor_policy_set_name, one, encode(policy.name))
        _put(lib.quor_policy_set_description, one, encode(policy.description))
        lib.quor_policy_set_generation(one, policy.generation)
        for blob in policy.blobs:
            _put(lib.quor_policy_add_blob, one, encode(blob.namespace), bytes(memoryview(blob.data)))
    _replace(lib.quor_policies_replace, made)


def replace_datastores(records: Iterable[Datastore]) -> None:
    lib = native.lib
    made = native.ffi.gc(_added(lib.quor_datastores_new()), lib.quor_datastores_free)
    for datastore in records:
        one = _added(lib.quor_datastores_add(made))
        _put(lib.quor_datastore_set_url, one, encode(datastore.url))
        _put(lib.quor_datastore_set_namespace, one, encode(datastore.namespace))
        _put(lib.quor_datastore_set_default_policy, one, encode(datastore.default_policy))
    _replace(lib.quor_datastores_replace, made)
