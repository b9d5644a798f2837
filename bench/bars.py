# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What the library must reach, and whether it does.

A bar compares two medians of one run, so that most of what a machine adds to both is gone. Where a
bar is missed, `reason` says what was found when it was looked into; it holds no figures, which
come from the run.
"""
from __future__ import annotations

from dataclasses import dataclass
from typing import Callable, Optional

from results import LIBRARY, MAIN, Results, Size, as_number, as_time

Value = Callable[[Results], Optional[float]]


@dataclass(frozen=True)
class Bar:
    backend: str
    title: str
    limit: float
    value: Value
    unit: str = "times"  # or "ns"
    at_least: bool = False
    reason: str = "No reason is known."
    beside: Optional[tuple[str, Value]] = None  # a ratio that shows the reason

    def show(self, value: float) -> str:
        return as_time(value) if self.unit == "ns" else f"{as_number(value)} times"

    def shown_limit(self) -> str:
        return f"{'at least' if self.at_least else 'at most'} {self.show(self.limit)}"

    def is_met(self, value: float) -> bool:
        return value >= self.limit if self.at_least else value <= self.limit


def median(case: str, contestant: str, size: Size = MAIN) -> Value:
    return lambda results: results.median(case, contestant, size)


def ratio(over: Value, under: Value) -> Value:
    def value(results: Results) -> Optional[float]:
        a, b = over(results), under(results)
        return a / b if a is not None and b else None
    return value


def total(*parts: Value) -> Value:
    def value(results: Results) -> Optional[float]:
        values = [part(results) for part in parts]
        known = [one for one in values if one is not None]
        return sum(known) if len(known) == len(values) else None
    return value


def difference(over: Value, under: Value) -> Value:
    def value(results: Results) -> Optional[float]:
        a, b = over(results), under(results)
        return a - b if a is not None and b is not None else None
    return value


def scaled(part: Value, factor: float) -> Value:
    def value(results: Results) -> Optional[float]:
        one = part(results)
        return one * factor if one is not None else None
    return value


def against(case: str, ours: str, theirs: str, size: Size = MAIN) -> Value:
    return ratio(median(case, ours, size), median(case, theirs, size))


GROWTH_SIZES = [Size(number, 512) for number in (100, 1000, 10_000, 100_000)]


def growth(case: str, contestant: str, per_policy: bool) -> Value:
    """By how much the cost of a record, or of a call, is higher than in any smaller catalogue. That
    it is lower, as where a fixed cost is shared by more records, is no growth."""
    def value(results: Results) -> Optional[float]:
        lowest, grown = None, 1.0
        for size in GROWTH_SIZES:
            one = results.median(case, contestant, size)
            if one is None:
                return None
            cost = one / (size.policies if per_policy else 1)
            lowest = cost if lowest is None else min(lowest, cost)
            grown = max(grown, cost / lowest)
        return grown
    return value


def threads(call: str, contestant: str) -> Value:
    return ratio(median(f"{call}_2_threads", contestant), median(f"{call}_1_thread", contestant))


def memory(contestant: str, size: Size) -> Value:
    return ratio(median("memory_growth", contestant, size),
                 median("memory_answer", contestant, size))


# Where the instructions go, by callgrind.
LISTING = ("What comes on top of the copy is finding each field by its name in its record, and the "
           "objects by which the interface to the host's store hands out records.")
SAME_DIGESTS = ("The digests of both are computed by the same code: the listings alone make a difference, and the "
                "copy of the records, which both make, is a large part of them.")
TICK = ("The first commit after a tenth of a second without one waits for the next tick of the clock, so "
        "that readers need no system call; the other contestants' commits take that long. One commit right "
        "after the other takes less than writing the bytes anew does.")
PARTS = ("Each part is measured by itself, so that it finds its own records in the caches.")
COPY_ALONE = "Copying the finished vector takes more than that already, or nearly."
FLUSH = ("Much of the time is that of the disk: the same bytes written as durably without a store "
         "take a good part of it.")
OPENING = ("A new snapshot is opened and mapped, and the checksums over its footer and the pages "
           "that lead to the record are computed, over bytes that another processor has just "
           "written; the old snapshot is unmapped.")
LOADING = ("Loading is what costs: the dynamic loader maps and relocates the library, its platform "
           "and what that stands on. Without any call it is nearly the same.")
FILE_WRITING = ("On top of the same bytes written, blobs are put into Base64, every string is looked "
                "through twice for what must be encoded or escaped, and the tree is made anew.")
FILE_READING = "On top of reading and the parser, the document's own tree is built and checked."
FILE_MEMORY = ("The process holds the text of the file, with the blobs as Base64, the tree over it, "
               "and the answer: the text alone is more than the answer.")
PAGES = ("On top of the answer and the copied records come the library's own code and the loader's "
         "pages, which weigh more the smaller the catalogue is.")
TWO_THREADS = "Two threads need two idle processors; a peer with a connection for each shows them."
FILE_LOCK = ("Whoever reads the file may be about to change it, so a caller that may write holds its one "
             "lock from start to end: two threads take turns.")
CACHES = ("With the number of records the share that is found in the processor's caches shrinks, "
          "for a peer too.")

LARGEST = Size(100_000, 512)
SMALL = Size(100, 512)
TINY = Size(10, 512)

BARS = [
    Bar("store", "blob by name, to SQLite's prepared lookup", 0.15,
        against("by_name", "store", "sqlite"),
        beside=("a hash lookup and the copy to SQLite", against("by_name", "floor", "sqlite"))),
    Bar("store", "blob by name, to LMDB's", 1.3, against("by_name", "store", "lmdb"),
        beside=("a hash lookup and the copy to LMDB", against("by_name", "floor", "lmdb"))),
    *(Bar("store", f"blob by id, the last of {size.title}, to blob by name", 1.5,
          ratio(median("by_id_last", "store", size), median("by_name", "store", size)))
      for size in (TINY, MAIN, LARGEST)),
    *(Bar("store", f"blob by id, the last of {size.title}, to SQLite's indexed lookup", 0.25,
          against("by_id_last", "store", "sqlite", size))
      for size in (SMALL, MAIN)),
    Bar("store", "blob on a datastore, to SQLite", 0.3, against("on_datastore", "store", "sqlite")),
    Bar("store", "default blob, to SQLite", 0.3, against("default_blob", "store", "sqlite")),
    Bar("store", "blob on a datastore, to the sum of its parts", 1.1,
        ratio(median("on_datastore", "store"),
              total(median("datastore_alone", "store"), median("by_id", "store"))), reason=PARTS),
    Bar("store", "default blob, to the sum of its parts", 1.1,
        ratio(median("default_blob", "store"),
              total(scaled(median("datastore_alone", "store"), 2), median("by_id", "store"))), reason=PARTS),
    Bar("store", "list policies, to a deep copy of the vector", 1.4,
        against("list_policies", "store", "copy"),
        reason=LISTING),
    Bar("store", "list policies, to SQLite asked for the blobs of one policy after the other", 0.2,
        ratio(median("list_policies", "store"), median("list_policies", "sqlite_one_by_one"))),
    Bar("store", "list policies, to SQLite going through both tables side by side", 0.2,
        against("list_policies", "store", "sqlite"),
        reason=COPY_ALONE,
        beside=("deep copy of the vector to SQLite", against("list_policies", "copy", "sqlite"))),
    Bar("store", "digest, to listing everything and MD5 over the same bytes", 1.3,
        against("digest", "store", "floor_store")),
    Bar("store", "digest, to SQLite's listing with the same digest code", 0.5,
        against("digest", "store", "sqlite"), reason=SAME_DIGESTS,
        beside=("listing policies to SQLite", against("list_policies", "store", "sqlite"))),
    Bar("store", "replace all policies, to writing the same bytes as durably", 1.45,
        against("replace_policies", "store", "floor_store"), reason=TICK),
    Bar("store", "replace all policies, to SQLite", 0.2,
        against("replace_policies", "store", "sqlite"),
        reason=FLUSH,
        beside=("the same bytes to SQLite", against("replace_policies", "floor_store", "sqlite"))),
    Bar("store", "new process with one lookup, to one linked to nothing but the C++ library", 1.15,
        against("cold", "store", "nothing"),
        reason=LOADING,
        beside=("without a call", against("cold", "store_no_call", "nothing"))),
    *(Bar("store", f"{size.title} policies: first lookup after another process's commit, above a warm one",
          limit, difference(median("after_commit", "store", size),
                            median("after_commit_warm", "store", size)),
          unit="ns",
          reason=OPENING,
          beside=("opening one whose bytes are in this processor's caches, to that first lookup",
                  ratio(median("open", "store", size), median("after_commit", "store", size))))
      for size, limit in ((MAIN, 30_000), (LARGEST, 60_000))),
    Bar("file", "blob by id, the last of 1,000: 2 µs, and 40 ns for each policy scanned",
        2000 + 40 * MAIN.policies, median("by_id_last", "file"), unit="ns"),
    Bar("file", "blob by name, on average: the same", 2000 + 40 * MAIN.policies,
        median("by_name", "file"), unit="ns"),
    Bar("file", "first lookup in a changed file, to reading and parsing it with simdjson", 3.0,
        against("after_commit", "file", "floor_file"),
        reason=FILE_READING),
    Bar("file", "replace all policies, to writing the same bytes as durably", 2.0,
        against("replace_policies", "file", "floor_file"), reason=FILE_WRITING),
]
for _backend in LIBRARY:
    for _call, _title in (("by_name", "blob by name"), ("by_id", "blob by id"),
                          ("default_blob", "default blob"), ("list_policies", "list policies")):
        _limit = 1.9 if _backend == "store" and _call in ("by_name", "by_id") else 1.7
        BARS.append(Bar(_backend, f"two threads, to one: {_title}", _limit, threads(_call, _backend),
                        at_least=True, reason=TWO_THREADS if _backend == "store" else FILE_LOCK,
                        beside=("SQLite", threads(_call, "sqlite"))))
    for _size in (MAIN, LARGEST):
        BARS.append(Bar(_backend, f"memory of a process listing {_size.title} policies, to the "
                        "answer", 2.2, memory(_backend, _size),
                        reason=PAGES if _backend == "store" else FILE_MEMORY))
for _call, _title, _per_policy in (("by_id_last", "blob by id, for each policy scanned", True),
                                   ("list_policies", "list policies, for each", True),
                                   ("digest", "digest, for each policy", True),
                                   ("replace_policies", "replace all policies, for each", True),
                                   ("by_name", "blob by name", False)):
    for _backend in LIBRARY:
        if (_backend, _call) in (("file", "by_name"), ("store", "by_id_last")):
            continue  # a scan there, and none here
        BARS.append(Bar(_backend, f"growth from 100 to 100,000 policies: {_title}", 2.0,
                        growth(_call, _backend, _per_policy), reason=CACHES,
                        beside=("LMDB", growth(_call, "lmdb_scan" if _call == "by_id_last"
                                               else "lmdb", _per_policy))))
