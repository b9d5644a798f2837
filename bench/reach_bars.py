# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What the library for C and the Python package must reach, by the figures of reach.py."""
from __future__ import annotations

from dataclasses import dataclass
from typing import Callable

Figures = dict[str, float]


@dataclass(frozen=True)
class Bar:
    title: str
    limit: float
    unit: str
    value: Callable[[Figures], float]

    def is_met(self, figures: Figures) -> bool:
        return self.value(figures) <= self.limit


BARS = [
    Bar("C lookup to C++ lookup, blob of 512 bytes", 1.05, "times",
        lambda f: f["c_lookup_ns"] / f["cxx_lookup_ns"]),
    Bar("Python lookup to C lookup, beyond an empty call", 6, "µs",
        lambda f: (f["python_lookup_ns"] - f["python_empty_ns"] - f["c_lookup_ns"]) / 1000),
    Bar("Python listing 1,000 policies of 3 blobs to C++ listing", 3, "times",
        lambda f: f["python_listing_ns"] / f["cxx_listing_ns"]),
    # One sleep of a second is in it.
    Bar("1,000 descriptors waiting a second: processor time", 0.2, "ms",
        lambda f: f["waiting_cpu_ms"]),
    Bar("1,000 descriptors waiting a second: woken", 0, "", lambda f: f["waiting_woken"]),
    Bar("1,000 descriptors waiting: memory of the process for each", 4, "KiB",
        lambda f: f["waiting_bytes"] / 1024),
]


def table(figures: Figures) -> str:
    """The bars and the figures behind them, as Markdown."""
    lines = ["| work | bar | measured | |", "|---|--:|--:|---|"]
    for bar in BARS:
        value = bar.value(figures)
        verdict = "met" if bar.is_met(figures) else "**missed**"
        lines.append(f"| {bar.title} | at most {bar.limit:g} {bar.unit} | "
                     f"{value:.2f} {bar.unit} | {verdict} |")
    lines += ["", "| figure | median |", "|---|--:|"]
    lines += [f"| {name} | {value:,.0f} |" for name, value in sorted(figures.items())]
    return "\n".join(lines)
