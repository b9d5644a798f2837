"""Prints the table of a measurement: medians, ratios to SQLite, and what the ratios should be.

    report.py RESULTS.json...

Several files, of runs with the same workload, count as one long run. Refuses results of a build
without optimisation, whose numbers mean nothing.
"""
import json
import statistics
import sys

LIBRARY = "library"
# A case: its name, its title, the peer, and the ratio that the library was built for: the times of
# the chosen layout and of SQLite in microseconds, measured side by side when it was chosen. These
# belong to the questions as one writes them first; where SQLite can be asked more cleverly, that is
# a line of its own.
CASES = [
    ("replace", "replace all policies, durably", "sqlite", (3400, 34500)),
    ("by_name", "blob by policy name", "sqlite", (0.8, 3.6)),
    ("by_id_last", "blob by id, last policy; no index", "sqlite_unindexed", (36, 986)),
    ("by_id_last", "  SQLite told how to scan", "sqlite_scan", None),
    ("by_id_last", "  SQLite with an index", "sqlite_index", None),
    ("list", "list all policies", "sqlite_one_by_one", (890, 4700)),
    ("list", "  SQLite in two passes", "sqlite", None),
    ("cold", "open cold, first blob by name", "sqlite", (20, 66)),
    ("on_datastore", "blob on a datastore; SQLite's index", "sqlite_index", None),
    ("default_blob", "default blob; SQLite's index", "sqlite_index", None),
    ("digest", "digests of everything", "sqlite", None),
]
# What the library's work cannot cost less than, and how many times that it may cost.
FLOORS = [
    ("replace", "write the same bytes, fsync, rename, fsync the directory", None),
    ("by_name", "lstat() of the snapshot", None),
    ("list", "copy the vector of policies", None),
    ("digest", "list everything, MD5 over the same bytes", 1.3),
    ("file_replace", "file: write the same bytes as durably", 2),
    ("file_cold", "file, cold: read and parse it with simdjson", 3),
    ("file_list", "file: copy the vector of policies", None),
]
# Lookups in a file that was parsed before: a start, and so much for each policy; also the first one
# is found in a list of all.
SCANS = [("file_first", "file: blob by id, first policy"),
         ("file_last", "file: blob by id, last policy")]
SCAN_START, SCAN_STEP = 2000, 40  # nanoseconds
TOLERANCE = 1.5  # a ratio may be this many times what it was built for
BARS_ARE_FOR = {"policies": "1000", "blobs": "3", "blob_size": "512", "datastores": "2"}

UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


class Unusable(Exception):
    pass


def load(paths):
    """The context of the runs, and the nanoseconds of every repetition by (case, contestant)."""
    context, times = None, {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            results = json.load(file)
        check(path, results["context"])
        if context and workload(context) != workload(results["context"]):
            raise Unusable(f"{path}: of another workload than {paths[0]}")
        context = context or results["context"]
        for run in results["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            if run.get("error_occurred"):
                raise Unusable(f"{path}: {run['name']}: {run['error_message']}")
            case, contestant, *modifiers = run["name"].split("/")
            own_clock = {"real_time", "manual_time"} & set(modifiers)
            clock = "real_time" if own_clock else "cpu_time"
            times.setdefault((case, contestant), []).append(run[clock] * UNITS[run["time_unit"]])
    return context, times


def check(path, context):
    if context.get("optimised") != "yes":
        raise Unusable(f"{path}: measured in a build without optimisation or with sanitizers "
                       f"({context.get('build', 'unknown')}); its numbers mean nothing")


def workload(context):
    return {key: context[key] for key in BARS_ARE_FOR}


def readable(nanoseconds):
    for unit in ("s", "ms", "us"):
        if nanoseconds >= UNITS[unit]:
            return f"{nanoseconds / UNITS[unit]:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def spread(values):
    """How far the middle half of the repetitions lies apart, as a share of the median."""
    if len(values) < 3:
        return "-"
    low, _, high = statistics.quantiles(values, n=4)
    return f"{(high - low) / statistics.median(values):.0%}"


def case_rows(times, with_bars):
    for case, title, peer, built_for in CASES:
        ours, theirs = times.get((case, LIBRARY)), times.get((case, peer))
        if not ours or not theirs:
            continue  # a filter left it out
        ratio = statistics.median(ours) / statistics.median(theirs)
        limit = TOLERANCE * built_for[0] / built_for[1] if built_for and with_bars else None
        yield (title, readable(statistics.median(ours)), spread(ours),
               readable(statistics.median(theirs)), spread(theirs), f"{ratio:.3f}",
               *judged(ratio, limit, "{:.3f}"))


def floor_rows(times):
    for case, title, bar in FLOORS:
        ours, floor = times.get((case, LIBRARY)), times.get((case, "floor"))
        if ours and floor:
            ratio = statistics.median(ours) / statistics.median(floor)
            yield (title, readable(statistics.median(floor)), spread(floor),
                   readable(statistics.median(ours)), spread(ours), f"{ratio:.2f}",
                   *judged(ratio, bar, "{:.2f}"))


def scan_rows(times, policies):
    limit = SCAN_START + SCAN_STEP * policies
    for case, title in SCANS:
        ours = times.get((case, LIBRARY))
        if ours:
            median = statistics.median(ours)
            yield title, readable(median), spread(ours), *judged(median, limit, None)


def judged(value, bar, layout):
    """The bar and the verdict on the value."""
    if bar is None:
        return "-", "-"
    verdict = "within" if value <= bar else f"over, {value / bar:.2f} times"
    return layout.format(bar) if layout else readable(bar), verdict


def print_table(heads, rows):
    rows = [heads, *rows]
    widths = [max(len(row[column]) for row in rows) for column in range(len(heads))]
    for number, row in enumerate(rows):
        first, rest = row[0].ljust(widths[0]), zip(row[1:], widths[1:])
        print("  ".join([first, *(cell.rjust(width) for cell, width in rest)]).rstrip())
        if number == 0:
            print("-" * (sum(widths) + 2 * (len(widths) - 1)))


def print_report(paths):
    context, times = load(paths)
    repetitions = max((len(values) for values in times.values()), default=0)
    print("{policies} policies of {blobs} blobs of {blob_size} bytes, {datastores} datastores each; "
          "{build} build; SQLite {sqlite}".format(**context))
    print(f"{context['num_cpus']} processors at {context['mhz_per_cpu']} MHz; load average "
          f"{context['load_avg'][0]:.2f} at the start; medians of {repetitions} repetitions, spread "
          "is that of their middle half")
    print("replacements by the clock, all else in processor time\n")
    print_table(("case", "QuorLib", "spread", "SQLite", "spread", "ratio", "bar", "verdict"),
                case_rows(times, workload(context) == BARS_ARE_FOR))
    print()
    print_table(("floor", "time", "spread", "QuorLib", "spread", "ratio", "bar", "verdict"),
                floor_rows(times))
    print()
    print_table(("scan of the parsed file", "QuorLib", "spread", "bar", "verdict"),
                scan_rows(times, int(context["policies"])))


def main():
    if len(sys.argv) < 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    try:
        print_report(sys.argv[1:])
    except (Unusable, OSError, ValueError, KeyError) as error:
        print(f"report.py: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
