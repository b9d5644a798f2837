# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The host's catalogue of storage policies and of the datastores that use them.

    import quor
    catalogue = quor.Catalogue()
    blob = catalogue.default_blob("ds:///volumes/a1/")

Not found is never an error: a lookup answers b"", a listing an empty tuple.
"""
from quor.catalogue import Catalogue
from quor.errors import Busy, Corrupt, Error, FileError, NoSpace, PermissionDenied, StoreError
from quor.records import Blob, Datastore, Digests, Policy
from quor.watch import Change, Watch

__all__ = ["Blob", "Busy", "Catalogue", "Change", "Corrupt", "Datastore", "Digests", "Error",
           "FileError", "NoSpace", "PermissionDenied", "Policy", "StoreError", "Watch"]
