# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Why a call failed."""
from __future__ import annotations


class Error(Exception):
    """A call failed; the text names the file, the reason and what to do."""

    def __init__(self, message: str, file: str = "") -> None:
        super().__init__(message)
        self.file = file
        """The file that it is about; empty where it is about none."""


class StoreError(Error):
    """The configuration store failed for a reason that has no class of its own."""


class FileError(Error):
    """The configuration file failed for a reason that has no class of its own."""


class Busy(Error):
    """Other writers kept the lock for the whole deadline; the text names one."""


class PermissionDenied(Error):
    """This process may not, or another user could have planted the file."""


class Corrupt(Error):
    """What is stored is damaged, or a file that was edited by hand has a mistake."""


class NoSpace(Error):
    """The disk, a quota or the store's 4 GiB is full."""
