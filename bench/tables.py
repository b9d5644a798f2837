# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The tables of a run, as Markdown that is readable as it stands."""
from __future__ import annotations

import statistics
from typing import Callable, Iterable, Optional

from bars import BARS, Bar
from results import (LIBRARY, PEERS, TITLES, Results, Size, as_bytes, as_number, as_time)

LEFT_OUT = "left out ¹"
NOTE_LEFT_OUT = "¹ left out at this size, as one call takes seconds there."

# Calls of the library, as the results name them.
CALLS = [
    ("by_name", "blob by name"),
    ("by_id_last", "blob by id, the last policy"),
    ("on_datastore", "blob of a policy on a datastore"),
    ("default_blob", "default blob of a datastore"),
    ("list_policies", "list policies"),
    ("list_datastores", "list datastores"),
    ("digest", "digests"),
    ("replace_policies", "replace policies"),
    ("replace_datastores", "replace datastores"),
    ("reset", "reset"),
    ("after_commit", "first lookup after another process's commit"),
    ("open", "open and first lookup, in a running process"),
    ("cold", "new process with one lookup"),
]
# What bounds them, and other ways to ask the peers.
OTHERS = [
    ("by_name", "floor", "one hash lookup, the copy"),
    ("by_id_last", "sqlite_scan", "SQLite told to scan the policies"),
    ("by_id_last", "sqlite_unindexed", "SQLite without the index, its own plan"),
    ("by_id_last", "lmdb_scan", "LMDB without the index"),
    ("list_policies", "memcpy", "`memcpy` of the answer's bytes"),
    ("list_policies", "copy", "deep copy of the vector"),
    ("list_policies", "sqlite_one_by_one", "SQLite asked policy by policy"),
    ("list_datastores", "copy", "deep copy of the vector"),
    ("digest", "floor_store", "store: list everything, MD5 over the same bytes"),
    ("digest", "floor_file", "file: list everything, MD5 over the same bytes"),
    ("replace_policies", "floor_store", "store: write the same bytes, fsync, rename, fsync of the "
     "directory"),
    ("replace_policies", "floor_file", "file: write the same bytes, fsync, rename, fsync of the "
     "directory"),
    ("after_commit", "floor_file", "file: read and parse it with simdjson"),
    ("cold", "nothing", "the same program, linked to nothing but the C++ library"),
    ("cold", "store_no_call", "the program linked to the library, without a call"),
]
BY_SIZE = [case for case in CALLS if case[0] not in ("reset", "replace_datastores", "open")]
PARALLEL = [("by_name", "blob by name"), ("by_id", "blob by id"),
            ("default_blob", "default blob of a datastore"), ("list_policies", "list policies")]


def markdown(heads: list[str], rows: Iterable[list[str]]) -> str:
    lines = [heads, *rows]
    widths = [max(len(line[column]) for line in lines) for column in range(len(heads))]

    def laid_out(line: list[str]) -> str:
        first, rest = line[0].ljust(widths[0]), zip(line[1:], widths[1:])
        return "| " + " | ".join([first, *(cell.rjust(width) for cell, width in rest)]) + " |"

    rule = "|" + "|".join(["-" * (widths[0] + 2)] +
                          ["-" * (width + 1) + ":" for width in widths[1:]]) + "|"
    return "\n".join([laid_out(heads), rule, *(laid_out(line) for line in lines[1:])])


def times_of(ours: Optional[float], theirs: Optional[float]) -> str:
    return as_number(ours / theirs) if ours is not None and theirs else "-"


def spread(values: list[float]) -> str:
    """How far the middle half lies apart, as a share of the median."""
    if len(values) < 3:
        return "-"
    low, _, high = statistics.quantiles(values, n=4)
    return f"{(high - low) / statistics.median(values):.0%}"


def bars_table(results: Results) -> str:
    rows = []
    for bar in BARS:
        value = bar.value(results)
        verdict = "not measured" if value is None else "met" if bar.is_met(value) else "**missed**"
        rows.append([f"{bar.backend}: {bar.title}", bar.shown_limit(),
                     "-" if value is None else bar.show(value), verdict])
    return markdown(["bar", "limit", "measured", ""], rows)


def missed(results: Results) -> list[tuple[Bar, float]]:
    values = [(bar, bar.value(results)) for bar in BARS]
    return [(bar, value) for bar, value in values
            if value is not None and not bar.is_met(value)]


def calls_table(results: Results) -> str:
    """Medians with 1,000 policies, and the ratios of the library to its peers."""
    rows = []
    for case, title in CALLS:
        medians = {name: results.median(case, name) for name in [*LIBRARY, *PEERS]}
        if all(value is None for value in medians.values()):
            continue
        rows.append([title, *("-" if value is None else as_time(value)
                              for value in medians.values()),
                     times_of(medians["store"], medians["sqlite"]),
                     times_of(medians["store"], medians["lmdb"]),
                     times_of(medians["file"], medians["json"]),
                     spread(results.values(case, "store"))])
    return markdown(["call", *(TITLES[name] for name in [*LIBRARY, *PEERS]), "store : SQLite",
                     "store : LMDB", "file : JSON file", "spread of store"], rows)


def others_table(results: Results) -> str:
    titles, rows = dict(CALLS), []
    for case, contestant, what in OTHERS:
        median = results.median(case, contestant)
        if median is not None:
            library = "file" if contestant == "floor_file" else "store"
            rows.append([titles[case], what, as_time(median), library,
                         times_of(results.median(case, library), median)])
    return markdown(["call", "compared with", "median", "who", "ratio"], rows)


def by_size_table(results: Results, case: str, contestants: list[str],
                  show: Callable[[float], str]) -> str:
    def cell(name: str, size: Size) -> str:
        value = results.median(case, name, size)
        return LEFT_OUT if value is None else show(value)

    sizes = results.sizes()
    return markdown(["", *(size.title for size in sizes)],
                    [[TITLES[name], *(cell(name, size) for size in sizes)]
                     for name in contestants if results.was_measured(case, name)])


def memory_table(results: Results) -> str:
    def cell(name: str, size: Size) -> str:
        growth = results.median("memory_growth", name, size)
        answer = results.median("memory_answer", name, size)
        if growth is None or not answer:
            return LEFT_OUT
        return f"{as_bytes(growth)} ({growth / answer:.2f})"

    sizes = results.sizes()
    return markdown(["", *(size.title for size in sizes)],
                    [[TITLES[name], *(cell(name, size) for size in sizes)]
                     for name in [*LIBRARY, *PEERS]])


def percentiles_table(results: Results) -> str:
    rows = []
    for name in [*LIBRARY, *PEERS, "floor_store", "floor_file"]:
        values = results.values("replace_policies", name)
        if len(values) >= 100:
            cuts = statistics.quantiles(values, n=100, method="inclusive")
            title = TITLES.get(name, f"the {name.removeprefix('floor_')}'s bytes, written as "
                                     "durably")
            rows.append([title, str(len(values)), *(as_time(cuts[p - 1]) for p in (50, 90, 99)),
                         as_time(max(values))])
    return markdown(["replace policies", "commits", "50 %", "90 %", "99 %", "longest"], rows)


def parallel_table(results: Results) -> str:
    rows = []
    for case, title in PARALLEL:
        for name in [*LIBRARY, *PEERS]:
            one = results.median(f"{case}_1_thread", name)
            two = results.median(f"{case}_2_threads", name)
            eight = results.median(f"{case}_8_processes", name)
            if one is not None:
                rows.append([f"{title}, {TITLES[name]}", f"{one:,.0f}", times_of(two, one),
                             times_of(eight, one)])
    return markdown(["call", "calls a second, one thread", "two threads", "8 processes"], rows)


def has_sizes(results: Results) -> bool:
    return len(results.sizes()) > 1


def size_sections(results: Results) -> list[tuple[str, str]]:
    """Titles and tables of what depends on the size of the catalogue."""
    sections = [(title, by_size_table(results, case, [*LIBRARY, *PEERS], as_time))
                for case, title in BY_SIZE]
    sections.append(("bytes on the disk",
                     by_size_table(results, "file_size", [*LIBRARY, *PEERS], as_bytes)))
    return sections
