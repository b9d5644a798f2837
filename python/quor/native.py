# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The loaded library, and its failures as exceptions."""
from __future__ import annotations

import os
import threading
from typing import Any, NoReturn, Optional

from quor.errors import Busy, Corrupt, Error, FileError, NoSpace, PermissionDenied, StoreError

ffi: Any = None
lib: Any = None
_host_dir: Optional[str] = None
_classes: dict[int, type[Error]] = {}


_loading = threading.Lock()


def _renew_lock() -> None:
    """In a child nobody is there to unlock what another thread held at the fork."""
    global _loading
    _loading = threading.Lock()


os.register_at_fork(after_in_child=_renew_lock)


def load(host_dir: Optional[str]) -> None:
    """Loads the library, which takes the host directory from the environment and keeps it."""
    if lib is None:
        with _loading:
            if lib is None:
                _load(host_dir)
    if host_dir is not None and host_dir != _host_dir:
        raise ValueError(f"this process uses the host directory {_host_dir}, which was chosen when "
                         f"the library was loaded; use {host_dir} in another process")


def _load(host_dir: Optional[str]) -> None:
    global ffi, lib, _host_dir
    if host_dir is not None:
        os.environ["QUOR_HOST_DIR"] = host_dir
    from quor import _quor
    _host_dir = os.path.abspath(os.environ.get("QUOR_HOST_DIR") or "/var/lib/quor")
    _classes.update({
        _quor.lib.QUOR_STORE: StoreError, _quor.lib.QUOR_FILE: FileError, _quor.lib.QUOR_BUSY: Busy,
        _quor.lib.QUOR_PERMISSION: PermissionDenied, _quor.lib.QUOR_CORRUPT: Corrupt,
        _quor.lib.QUOR_NO_SPACE: NoSpace})
    ffi, lib = _quor.ffi, _quor.lib


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
