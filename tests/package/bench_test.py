# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The benchmark's own judgement: what it refuses to report, and what it calls slower.

    bench_test.py ROOT COMPILER
"""
import contextlib
import io
import json
import os
import subprocess
import sys
import tempfile
import unittest

ROOT = ""
COMPILER = ""

# Stands for the parts, so that the test needs none of the peers.
STAND_IN = """
#include "parts.h"
namespace Bench {
int RunPart(int, char**) { return 42; }
}
"""


def a_run(optimised="yes", rows=()):
    context = {"optimised": optimised, "build": "Debug", "compiler": "g++", "flags": "",
               "sqlite": "1", "lmdb": "1", "json": "1", "policies": "1000", "blob_size": "512"}
    return {"part": "warm", "context": context, "rows": list(rows)}


def a_document(*runs):
    return {"machine": {"processor": "one"}, "runs": list(runs)}


def row(case, contestant, *values):
    return {"case": case, "contestant": contestant, "values": list(values)}


class Directory(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-bench-")
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def write(self, name, content):
        path = os.path.join(self.directory, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
        return path

    def report(self, document, *arguments):
        path = self.write("results.json", json.dumps(document))
        return subprocess.run(
            [sys.executable, "-B", os.path.join(ROOT, "bench", "report.py"), path, *arguments],
            capture_output=True, text=True, check=False)


class Report(Directory):
    def test_results_of_an_unoptimised_build_are_refused(self):
        for optimised in ("no", "", "unknown"):
            result = self.report(a_document(a_run(), a_run(optimised)))
            self.assertEqual((result.returncode, result.stdout), (1, ""))
            self.assertIn("without optimisation", result.stderr)

    def test_a_bar_is_met_or_missed_by_the_ratio_of_medians(self):
        def table(ours):
            result = self.report(a_document(a_run(rows=[
                row("by_name", "store", ours, ours, 9e9), row("by_name", "sqlite", 1000.0)])))
            self.assertEqual(result.returncode, 0, result.stderr)
            return [line for line in result.stdout.splitlines() if "prepared lookup" in line][0]
        self.assertRegex(table(149.0), r"0\.15 times +\| +met")
        self.assertRegex(table(151.0), r"0\.15 times +\| +\*\*missed")

    def test_only_what_stands_between_the_marks_is_written_anew(self):
        begin, end = "<!-- measured: scripts/bench -->", "<!-- end of measured -->"
        path = self.write("page.md", f"before\n{begin}\nold\n{end}\nafter\n")
        rows = [row("by_name", "store", 123.0), row("by_name", "sqlite", 1000.0)]
        result = self.report(a_document(a_run(rows=rows)), "--document", path)
        self.assertEqual(result.returncode, 0, result.stderr)
        with open(path, encoding="utf-8") as file:
            page = file.read()
        self.assertTrue(page.startswith(f"before\n{begin}\n### Machine"), page)
        self.assertTrue(page.endswith(f"\n{end}\nafter\n"), page)
        self.assertIn("123 ns", page)
        self.assertNotIn("old", page)

    def test_a_document_without_marks_is_left_alone(self):
        path = self.write("page.md", "no marks\n")
        result = self.report(a_document(a_run()), "--document", path)
        self.assertEqual(result.returncode, 1)
        self.assertIn("marks", result.stderr)
        with open(path, encoding="utf-8") as file:
            self.assertEqual(file.read(), "no marks\n")


class Program(Directory):
    def run_built(self, *flags):
        program = os.path.join(self.directory, "program")
        subprocess.run(
            [COMPILER, "-std=c++20", *flags, f"-I{ROOT}/bench", f"-I{ROOT}/include",
             os.path.join(ROOT, "bench", "main.cpp"), self.write("stand_in.cpp", STAND_IN),
             "-o", program], check=True)
        return subprocess.run([program], capture_output=True, text=True, check=False)

    def test_it_runs_when_it_is_optimised(self):
        self.assertEqual(self.run_built("-O2").returncode, 42)

    def test_it_refuses_to_run_without_optimisation(self):
        result = self.run_built("-O0")
        self.assertEqual((result.returncode, result.stdout), (3, ""))
        self.assertIn("refused", result.stderr)

    def test_it_refuses_to_run_with_sanitizers(self):
        result = self.run_built("-O2", '-DBENCH_SANITIZERS="thread"')
        self.assertEqual((result.returncode, result.stdout), (3, ""))


PROFILE = """desc: Trigger: Client Request: store.by_name
ob=/build/lib/libquor.so.1.0.0
fn=one
0 10
calls=3 0
0 1000
ob=/build/lib/libquor-platform.so.1.0.0
fn=two
+3 20
* 5
ob=/lib/libc.so.6
fn=three
0 100
"""


class Instructions(unittest.TestCase):
    def setUp(self):
        sys.path.insert(0, os.path.join(ROOT, "bench"))
        self.addCleanup(sys.path.pop, 0)
        import instructions
        self.instructions = instructions

    def test_a_function_counts_once_and_the_two_libraries_apart(self):
        self.assertEqual(self.instructions.count(PROFILE),
                         ("store.by_name", {"own": 35, "all": 135}))

    def status(self, kept, now):
        with contextlib.redirect_stdout(io.StringIO()):
            return self.instructions.report(kept, now)

    def test_more_than_a_twentieth_above_what_is_kept_fails(self):
        kept = {"call": {"own": 1000, "all": 2000}}
        self.assertEqual(self.status(kept, {"call": {"own": 1050, "all": 2100}}), 0)
        self.assertEqual(self.status(kept, {"call": {"own": 1051, "all": 2000}}), 1)
        self.assertEqual(self.status(kept, {"call": {"own": 1000, "all": 2101}}), 1)

    def test_fewer_instructions_are_told_and_do_not_fail(self):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = self.instructions.report({"call": {"own": 1000, "all": 2000}},
                                              {"call": {"own": 900, "all": 1900}})
        self.assertEqual(status, 0)
        self.assertIn("fewer instructions", output.getvalue())

    def test_calls_that_only_one_side_knows_fail(self):
        one = {"call": {"own": 1, "all": 1}}
        self.assertEqual(self.status(one, {}), 1)
        self.assertEqual(self.status({}, one), 1)

    def test_every_count_that_is_kept_is_of_an_exported_call_on_one_of_the_stores(self):
        with open(self.instructions.KEPT, encoding="utf-8") as file:
            kept = json.load(file)
        self.assertGreaterEqual(len(kept["calls"]), 16)
        for call, counts in kept["calls"].items():
            self.assertRegex(call, r"^(store|file)\.[a-z_]+$")
            self.assertEqual(sorted(counts), ["all", "own"])
            self.assertLessEqual(counts["own"], counts["all"])


if __name__ == "__main__":
    COMPILER = sys.argv.pop(2)
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
