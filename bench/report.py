# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Prints the tables of a run, or writes them and the plots into a document.

    report.py RESULTS.json [--document FILE]

What stands in FILE between the two marks is replaced; plots go into the directory beside it that
has its name. Refuses results of a build without optimisation, whose numbers mean nothing.
"""
from __future__ import annotations

import argparse
import os
import sys
from typing import Optional

import tables
from bars import Bar
from plots import write_plots
from results import Results, Unusable, as_number, load

BEGIN = "<!-- measured: scripts/bench -->"
END = "<!-- end of measured -->"
CONTEXT = [("build", "build"), ("compiler", "compiler"), ("flags", "flags"), ("sqlite", "SQLite"),
           ("lmdb", "LMDB"), ("json", "JSON file")]


def circumstances(results: Results) -> str:
    lines = [f"- {key}: {value}" for key, value in results.machine.items()]
    lines += [f"- {title}: {str(results.contexts[0][key]).strip()}" for key, title in CONTEXT]
    lines.append("- every commit of every contestant is flushed to the disk before it returns")
    return "\n".join(lines)


def missed_bars(results: Results) -> str:
    found = tables.missed(results)
    if not found:
        return "None is missed."
    return "\n".join(f"- {bar.backend}: {bar.title}: {bar.show(value)}, {bar.shown_limit()}. "
                     f"{bar.reason}{beside(bar, results)}" for bar, value in found)


def beside(bar: Bar, results: Results) -> str:
    if bar.beside is None:
        return ""
    title, value = bar.beside[0], bar.beside[1](results)
    return "" if value is None else f" Beside it, {title}: {as_number(value)} times."


def sections(results: Results, plots: list[tuple[str, str]], plot_directory: str) -> list[str]:
    parts = ["### Machine and build", circumstances(results),
             "### Bars", tables.bars_table(results),
             "### Missed bars", missed_bars(results),
             "### Calls, with 1,000 policies", tables.calls_table(results),
             "### Floors, and other ways to ask the peers", tables.others_table(results),
             "### Commit latency, with 1,000 policies", tables.percentiles_table(results),
             "### At once, with 1,000 policies",
             "Throughput of two threads and of 8 processes, as multiples of one thread's. The JSON "
             "file is left out: every call of it is a parse.", tables.parallel_table(results),
             "### Memory of a process that lists the policies",
             "By how much its peak grew, and in parentheses the multiple of the answer's size.",
             tables.memory_table(results)]
    if tables.has_sizes(results):
        parts += ["### By size of the catalogue",
                  "Columns are numbers of policies with 3 blobs of 512 bytes, or of the size "
                  "named. " + tables.NOTE_LEFT_OUT]
        for title, table in tables.size_sections(results):
            parts += [f"#### {title[0].upper()}{title[1:]}", table]
    if plots:
        parts += ["### Plots"] + [f"![{title}]({plot_directory}/{name})" for name, title in plots]
    return parts


def write_document(results: Results, path: str) -> None:
    with open(path, encoding="utf-8") as file:
        before, begin, rest = file.read().partition(BEGIN)
    _, end, after = rest.partition(END)
    if not begin or not end:
        raise Unusable(f"{path}: the marks {BEGIN} and {END} are not there")
    directory = os.path.splitext(path)[0]
    plots: list[tuple[str, str]] = []
    if tables.has_sizes(results):
        plots = write_plots(results, directory)
    measured = "\n\n".join(sections(results, plots, os.path.basename(directory)))
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"{before}{begin}\n{measured}\n{end}{after}")


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("results")
    parser.add_argument("--document")
    arguments = parser.parse_args()
    document: Optional[str] = arguments.document
    try:
        results = load(arguments.results)
        if document:
            write_document(results, document)
            print(f"written: {document}")
        else:
            print("\n\n".join(sections(results, [], "")))
    except (Unusable, OSError, ValueError, KeyError) as error:
        print(f"report.py: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
