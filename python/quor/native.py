# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The loaded library, and its failures as exceptions."""
from __future__ import annotations

import os
from typing import Any, NoReturn, Optional

from quor.errors import Busy, Corrupt, Error, FileError, NoSpace, PermissionDenied, StoreError

ffi: Any = None
lib: Any = None
_host_dir: Optional[str] = None
_classes: dict[int, type[Error]] = {}


def load(host_dir: Optional[str]) -> None:
    """Loads the library, which takes the host directory from the environment and keeps it."""
    global ffi, lib, _host_dir
    if lib is None:
        if host_dir is not None:
            os.environ["QUOR_HOST_DIR"] = host_dir
        from quor import _quor
        _host_dir = os.environ.get("QUOR_HOST_DIR", "/var/lib/quor")
        ffi, lib = _quor.ffi, _quor.lib
        _classes.update({
            lib.QUOR_STORE: StoreError, lib.QUOR_FILE: FileError, lib.QUOR_BUSY: Busy,
            lib.QUOR_PERMISSION: PermissionDenied, lib.QUOR_CORRUPT: Corrupt,
            lib.QUOR_NO_SPACE: NoSpace})
    if host_dir is not None and host_dir != _host_dir:
        raise ValueError(f"this process uses the host directory {_host_dir}, which was chosen when "
                         f"the library was loaded; use {host_dir} in another process")


def fail(status: int, error: Any) -> NoReturn:
    """Raises what a call's status and error say, and frees the error."""
    message = os.fsdecode(ffi.string(lib.quor_error_message(error)))
    file = os.fsdecode(ffi.string(lib.quor_error_file(error)))
    lib.quor_error_free(error)
    if status == lib.QUOR_NO_MEMORY:
        raise MemoryError(message or "no memory is left in this process")
    if status == lib.QUOR_USAGE:
        raise ValueError(message)
    raise _classes.get(status, Error)(message, file)
