# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Every test in both stores: one process each, as the library keeps its host directory.

QUOR_TEST_STORE is "store" or "file" and QUORCTL names the tool that selects it; QUOR_HOST_DIR is a
directory of this process's own.
"""
import os
import subprocess
from typing import Iterator

import pytest

import quor

STORE = os.environ["QUOR_TEST_STORE"]


@pytest.fixture(scope="session")
def host() -> str:
    path = os.environ["QUOR_HOST_DIR"]
    subprocess.run([os.environ["QUORCTL"], "switch", "--yes", STORE], check=True,
                   stdout=subprocess.DEVNULL)
    return path


@pytest.fixture
def catalogue(host: str) -> Iterator[quor.Catalogue]:
    made = quor.Catalogue()
    made.reset()
    yield made


@pytest.fixture
def stored_file(host: str) -> str:
    return os.path.join(host, "config-store.cdb" if STORE == "store" else "host-config.json")


@pytest.fixture
def lock_file(host: str) -> str:
    return os.path.join(host, "config-store.lock" if STORE == "store" else "host-config.lock")
