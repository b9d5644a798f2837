# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Plots of cost against size, as SVG files."""
from __future__ import annotations

import math
import os
from dataclasses import dataclass
from typing import Callable, Optional
from xml.sax.saxutils import escape

from results import LIBRARY, PEERS, TITLES, Results, as_time
from tables import CALLS

WIDTH, HEIGHT = 720, 440
LEFT, RIGHT, TOP, BOTTOM = 84, 130, 44, 56
# Told apart by people who see few colours, and on paper by their marks.
COLOURS = {"store": "#0072b2", "file": "#d55e00", "sqlite": "#009e73", "lmdb": "#cc79a7",
           "json": "#666666"}
LABEL_HEIGHT = 15
PLOTTED = ("by_name", "by_id_last", "default_blob", "list_policies", "digest", "replace_policies",
           "after_commit", "cold")

Point = tuple[float, float]
Lines = dict[str, list[Point]]


@dataclass(frozen=True)
class Scale:
    """A logarithmic axis between two powers of ten, on so many pixels."""
    low: int
    high: int
    start: float
    end: float

    def at(self, value: float) -> float:
        share = (math.log10(value) - self.low) / (self.high - self.low)
        return self.start + share * (self.end - self.start)

    def ticks(self) -> list[float]:
        return [10.0 ** power for power in range(self.low, self.high + 1)]


def scale_over(values: list[float], start: float, end: float) -> Scale:
    low = math.floor(math.log10(min(values)))
    high = math.ceil(math.log10(max(values)))
    return Scale(low, max(high, low + 1), start, end)


def lines_of(value: Callable[[str, int], Optional[float]], policies: list[int]) -> Lines:
    lines: Lines = {}
    for name in [*LIBRARY, *PEERS]:
        points = [(float(number), found) for number in policies
                  if (found := value(name, number)) is not None]
        if points:
            lines[name] = points
    return lines


def text(x: float, y: float, content: str, anchor: str = "middle", more: str = "") -> str:
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{more}>{escape(content)}</text>')


def grid(x: Scale, y: Scale, show: Callable[[float], str]) -> list[str]:
    parts = []
    for tick in x.ticks():
        at = x.at(tick)
        parts.append(f'<path d="M{at:.1f} {y.start:.1f}V{y.end:.1f}" stroke="#dddddd"/>')
        parts.append(text(at, y.start + 18, f"{tick:,.0f}"))
    for tick in y.ticks():
        at = y.at(tick)
        parts.append(f'<path d="M{x.start:.1f} {at:.1f}H{x.end:.1f}" stroke="#dddddd"/>')
        parts.append(text(x.start - 8, at + 4, show(tick), "end"))
    return parts


def as_round_time(nanoseconds: float) -> str:
    return as_time(nanoseconds).replace(".00", "").replace(".0", "")


def as_round_bytes(size: float) -> str:
    for unit, factor in (("GB", 1e9), ("MB", 1e6), ("kB", 1e3)):
        if size >= factor:
            return f"{size / factor:.0f} {unit}"
    return f"{size:.0f} B"


def apart(wanted: dict[str, float]) -> dict[str, float]:
    """Heights of the labels: near the ends of their lines, and none over another."""
    placed: dict[str, float] = {}
    last = -math.inf
    for name, height in sorted(wanted.items(), key=lambda item: item[1]):
        last = max(height, last + LABEL_HEIGHT)
        placed[name] = last
    return placed


def drawn(lines: Lines, x: Scale, y: Scale) -> list[str]:
    parts = []
    labels = apart({name: y.at(points[-1][1]) for name, points in lines.items()})
    for name, points in lines.items():
        colour = COLOURS[name]
        path = " ".join(f"{x.at(px):.1f},{y.at(py):.1f}" for px, py in points)
        parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts += [f'<circle cx="{x.at(px):.1f}" cy="{y.at(py):.1f}" r="3" fill="{colour}"/>'
                  for px, py in points]
        parts.append(text(x.end + 10, labels[name] + 4, TITLES[name], "start",
                          f' fill="{colour}" font-weight="bold"'))
    return parts


def plot(title: str, unit: str, lines: Lines, show: Callable[[float], str]) -> str:
    points = [point for line in lines.values() for point in line]
    x = scale_over([px for px, _ in points], LEFT, WIDTH - RIGHT)
    y = scale_over([py for _, py in points], HEIGHT - BOTTOM, TOP)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
        f'width="{WIDTH}" height="{HEIGHT}" font-family="sans-serif" font-size="12" '
        'fill="#222222">',
        f"<title>{escape(title)}</title>",
        # Its own background: the page may be dark.
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>',
        text(LEFT, 24, title, "start", ' font-size="15" font-weight="bold"'),
        *grid(x, y, show),
        text((x.start + x.end) / 2, HEIGHT - 14, "policies (number, logarithmic)"),
        text(18, (y.start + y.end) / 2, unit, "middle",
             f' transform="rotate(-90 18 {(y.start + y.end) / 2:.1f})"'),
        *drawn(lines, x, y),
        "</svg>"]
    return "\n".join(parts) + "\n"


def all_plots(results: Results) -> dict[str, tuple[str, str]]:
    """Title and content of each, by the name of its file."""
    sizes = {size.policies: size for size in results.sizes() if size.blob_size == 512}
    policies = sorted(sizes)
    titles = dict(CALLS)
    plots: dict[str, tuple[str, str]] = {}
    plotted = [(case, titles[case], "time (logarithmic)", as_round_time) for case in PLOTTED] + [
        ("memory_growth", "memory of a process that lists the policies", "size (logarithmic)",
         as_round_bytes),
        ("file_size", "bytes on the disk", "size (logarithmic)", as_round_bytes)]
    for case, title, unit, show in plotted:
        lines = lines_of(lambda name, number, case=case: results.median(case, name, sizes[number]),
                         policies)
        plots[f"{case}.svg"] = (title, plot(title, unit, lines, show))
    return plots


def write_plots(results: Results, directory: str) -> list[tuple[str, str]]:
    """Writes them into the directory; returns the names of the files with their titles."""
    os.makedirs(directory, exist_ok=True)
    plots = all_plots(results)
    for name, (_, content) in plots.items():
        with open(os.path.join(directory, name), "w", encoding="utf-8") as file:
            file.write(content)
    return [(name, title) for name, (title, _) in plots.items()]
