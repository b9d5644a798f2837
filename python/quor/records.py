# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What the catalogue consists of.

Text is `str` and blobs are `bytes`. What is stored is bytes: text is UTF-8 there, and a byte that is
not stands for itself as a lone surrogate (PEP 383, "surrogateescape"), so that every stored text can
be read and written back unchanged.
"""
from __future__ import annotations

from dataclasses import dataclass
from typing import NamedTuple


@dataclass(frozen=True)
class Blob:
    """An opaque blob of a policy, for one storage namespace."""

    namespace: str
    data: bytes


@dataclass(frozen=True)
class Policy:
    """A storage policy."""

    id: str
    name: str
    description: str = ""
    generation: int = 0
    blobs: tuple[Blob, ...] = ()

    def blob(self, namespace: str) -> bytes:
        """The first blob for that namespace; empty when there is none."""
        return next((blob.data for blob in self.blobs if blob.namespace == namespace), b"")


@dataclass(frozen=True)
class Datastore:
    """A datastore, by its URL."""

    url: str
    namespace: str
    default_policy: str = ""


class Digests(NamedTuple):
    """The digests of all policies and of all datastores: 32 hexadecimal digits, or empty."""

    policies: str
    datastores: str


def encode(text: str) -> bytes:
    """Text as it is stored."""
    return text.encode("utf-8", "surrogateescape")


def decode(stored: bytes) -> str:
    """Stored text."""
    return stored.decode("utf-8", "surrogateescape")
