# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The Python package is for CPython 3.9 and later, which one version alone cannot show by running it.

    python_versions_test.py MODULE SOURCES

The module may use nothing but what Python's own headers declare of the stable interface as of 3.9, and
the sources no syntax that is newer. What later versions added to either is planted, and found. The
headers do not tell the version of every function, so that those in use are listed here as well.
"""
import ast
import os
import re
import subprocess
import sys
import sysconfig
import unittest

OLDEST = (3, 9)
# Each is in the stable interface since 3.2, as its documentation says: look there before one is added.
USED = ["PyArg_UnpackTuple", "PyErr_Occurred", "PyEval_RestoreThread", "PyEval_SaveThread",
        "PyImport_ImportModule", "PyLong_FromLong", "PyLong_FromVoidPtr", "PyObject_CallMethod",
        "PyObject_Free", "PyObject_Malloc", "_Py_Dealloc", "_Py_NoneStruct"]


def undeclared(symbols):
    """Those that the headers do not declare to a module for the oldest version."""
    lines = ["#define Py_LIMITED_API 0x%02x%02x0000" % OLDEST, "#include <Python.h>"]
    lines += [f"const void* const at_{name} = (const void*)&{name};" for name in symbols]
    done = subprocess.run(["cc", "-x", "c", "-fsyntax-only", "-fmax-errors=0", "-w",
                           "-I" + sysconfig.get_path("include"), "-"], input="\n".join(lines),
                          capture_output=True, text=True, check=False, env={**os.environ, "LC_ALL": "C"})
    found = re.findall(r"error: [‘'](\w+)[’'] undeclared", done.stderr)
    if bool(found) != bool(done.returncode):
        raise AssertionError(done.stderr)
    return sorted(found)


def used_by(module):
    lines = subprocess.run(["nm", "-D", "--undefined-only", module], capture_output=True, text=True,
                           check=True).stdout.split()
    return sorted(word for word in lines if re.match(r"_?Py", word))


def does_not_parse(text):
    try:
        ast.parse(text, feature_version=OLDEST)
    except SyntaxError:
        return True
    return False


class Versions(unittest.TestCase):
    def test_the_module_uses_the_stable_interface_alone(self):
        symbols = used_by(MODULE)
        self.assertEqual(symbols, USED)
        self.assertEqual(undeclared(symbols), [])

    def test_what_is_newer_or_not_stable_is_found(self):
        newer = ["PyErr_GetHandledException", "PyType_GetName"]  # of 3.11
        private = ["PyUnicode_AsUTF8", "_PyObject_CallNoArgs"]
        self.assertEqual(undeclared(["PyErr_Occurred", *newer, *private]), sorted(newer + private))

    def test_the_name_tells_every_version_that_it_may_load_it(self):
        self.assertTrue(MODULE.endswith("/_quor.abi3.so"), MODULE)

    def test_the_sources_have_no_newer_syntax(self):
        names = [name for name in os.listdir(SOURCES) if name.endswith(".py")]
        self.assertGreater(len(names), 5)
        for name in names:
            with open(os.path.join(SOURCES, name), encoding="utf-8") as file:
                self.assertFalse(does_not_parse(file.read()), name)
        self.assertTrue(does_not_parse("match x:\n    case 1: pass"))
        self.assertFalse(does_not_parse("if (y := x): pass"))

    def test_annotations_are_never_evaluated(self):
        """`tuple[int, ...]` and the like may stand there, whichever version reads them."""
        for name in sorted(os.listdir(SOURCES)):
            if not name.endswith(".py") or name == "__init__.py":
                continue
            with open(os.path.join(SOURCES, name), encoding="utf-8") as file:
                self.assertIn("from __future__ import annotations\n", file.read(), name)


if __name__ == "__main__":
    MODULE, SOURCES = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main(verbosity=2)
