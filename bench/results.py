# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The results of a run: what they are of, and their medians."""
from __future__ import annotations

import json
import statistics
from dataclasses import dataclass
from typing import Any, Optional

LIBRARY = ["store", "file"]
PEERS = ["sqlite", "lmdb", "json"]
TITLES = {"store": "store", "file": "file", "sqlite": "SQLite", "lmdb": "LMDB",
          "json": "JSON file"}


class Unusable(Exception):
    """Numbers that are not to be shown."""


@dataclass(frozen=True)
class Size:
    """A workload: of one size all runs are of the same records."""
    policies: int
    blob_size: int

    @property
    def title(self) -> str:
        if self.blob_size < 1024:
            return f"{self.policies:,}"
        return f"{self.policies:,} of {self.blob_size // 1024} KiB"


MAIN = Size(1000, 512)


def check(origin: str, context: dict[str, Any]) -> None:
    if context.get("optimised") != "yes":
        raise Unusable(f"{origin}: measured in a build without optimisation or with sanitizers "
                       f"({context.get('build', 'unknown')}); its numbers mean nothing")


class Results:
    """What one file holds: the machine, the build, and all values by workload."""

    def __init__(self, document: dict[str, Any], origin: str) -> None:
        self.machine: dict[str, str] = document["machine"]
        self.contexts: list[dict[str, Any]] = [run["context"] for run in document["runs"]]
        self._values: dict[tuple[Size, str, str], list[float]] = {}
        if not document["runs"]:
            raise Unusable(f"{origin}: no runs in it")
        for run in document["runs"]:
            check(origin, run["context"])
            size = Size(int(run["context"]["policies"]), int(run["context"]["blob_size"]))
            for row in run["rows"]:
                key = (size, row["case"], row["contestant"])
                self._values.setdefault(key, []).extend(row["values"])

    def sizes(self) -> list[Size]:
        found = {size for size, _, _ in self._values}
        return sorted(found, key=lambda size: (size.blob_size, size.policies))

    def values(self, case: str, contestant: str, size: Size = MAIN) -> list[float]:
        return self._values.get((size, case, contestant), [])

    def median(self, case: str, contestant: str, size: Size = MAIN) -> Optional[float]:
        values = self.values(case, contestant, size)
        return statistics.median(values) if values else None

    def was_measured(self, case: str, contestant: str) -> bool:
        """In any size."""
        return any(key[1:] == (case, contestant) for key in self._values)


def load(path: str) -> Results:
    with open(path, encoding="utf-8") as file:
        return Results(json.load(file), path)


UNITS = [("s", 1e9), ("ms", 1e6), ("µs", 1e3), ("ns", 1.0)]


def as_time(nanoseconds: float) -> str:
    for unit, factor in UNITS:
        if abs(nanoseconds) >= factor or unit == "ns":
            return f"{_three_digits(nanoseconds / factor)} {unit}"
    raise AssertionError


def as_bytes(size: float) -> str:
    for unit, factor in [("GiB", 2**30), ("MiB", 2**20), ("KiB", 2**10)]:
        if size >= factor:
            return f"{_three_digits(size / factor)} {unit}"
    return f"{size:.0f} B"


def as_number(value: float) -> str:
    return _three_digits(value)


def _three_digits(value: float) -> str:
    if abs(value) >= 100:
        return f"{value:,.0f}"
    return f"{value:.1f}" if abs(value) >= 10 else f"{value:.2f}"
