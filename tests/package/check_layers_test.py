# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The layering check finds what it is there to find.

    check_layers_test.py ROOT
"""
import os
import shutil
import sys
import tempfile
import unittest

import check_layers

ROOT = ""

# A line added to a file of the tree, and a part of the message that must follow.
PLANTED = [
    ("include/quor/quor_lib.h", '#include "platform/str.h"', "platform/include/platform/str.h"),
    ("include/quor/quor_lib.h", "#include <string_view>", "<string_view>"),
    ("include/quor/quor_lib.h", "#include <unistd.h>", "<unistd.h>"),
    ("src/api/quor_lib.cpp", '#include "configstore/policies.h"', "src/configstore/policies.h"),
    ("src/api/quor_lib.cpp", '#include "digest/md5_hex.h"', "src/digest/md5_hex.h"),
    ("src/configstore/backend.cpp", '#include "configfile/backend.h"', "src/configfile/backend.h"),
    ("src/configfile/backend.cpp", '#include "configstore/backend.h"', "src/configstore/backend.h"),
    ("src/configstore/keys.h", '#include "platform/admin.h"', "platform/admin.h"),
    ("src/configstore/keys.h", "#include <fcntl.h>", "<fcntl.h>"),
    ("src/configstore/keys.h", '#  include  "os/file_lock.h"', "platform/src/os/file_lock.h"),
    ("src/configstore/keys.h", '#include "../../platform/src/os/file_lock.h"', "platform/src/os"),
    ("src/digest/md5_hex.cpp", '#include "api/backend.h"', "src/api/backend.h"),
    ("src/digest/md5_hex.cpp", '#include "configstore/keys.h"', "src/configstore/keys.h"),
    ("src/digest/md5_hex.cpp", "#include <tavconfigstore/object.h>", "tavconfigstore/object.h"),
    ("platform/include/platform/str.h", "#include <cdb.h>", "<cdb.h>"),
    ("platform/include/platform/str.h", '#include "quor/quor_lib.h"', "include/quor/quor_lib.h"),
    ("platform/src/services/str.cpp", "#include <quor/quor_lib.h>", "include/quor/quor_lib.h"),
    ("platform/src/services/str.cpp", '#include "digest/md5_hex.h"', "src/digest/md5_hex.h"),
    ("platform/src/errors/error.cpp", '#include "os/file_lock.h"', "platform/src/os/file_lock.h"),
    ("platform/src/os/fork.cpp", '#include "services/bytes.h"', "platform/src/services/bytes.h"),
    ("platform/src/services/str.cpp", '#include "tree/node.h"', "platform/src/tree/node.h"),
    ("platform/src/store/store.cpp", '#include "tree/node.h"', "platform/src/tree/node.h"),
    ("platform/src/tree/session.cpp", '#include "store/overlay.h"', "platform/src/store/overlay.h"),
    ("tools/quorctl/planted.cpp", '#include "api/backend.h"', "src/api/backend.h"),
    ("tools/quorctl/planted.cpp", '#include "os/file_lock.h"', "platform/src/os/file_lock.h"),
    ("tools/catalogue/catalogue.h", '#include "exit_status.h"', "tools/quorctl/exit_status.h"),
    ("tools/catalogue/catalogue.h", '#include "platform/admin.h"', "platform/admin.h"),
    ("tools/catalogue/catalogue.h", "#include <unistd.h>", "<unistd.h>"),
    ("src/planted/planted.cpp", "#include <string>", "no layer is known"),
    ("src/api/quor_lib.cpp", '#include "api/absent.h"', "no such file"),
    ("src/api/quor_lib.cpp", "#include PLANTED", "cannot tell"),
]


class LayeringCheck(unittest.TestCase):
    def setUp(self):
        self.copy = tempfile.mkdtemp(prefix="quor-layers-")
        self.addCleanup(shutil.rmtree, self.copy)
        for folder in check_layers.FOLDERS:
            shutil.copytree(os.path.join(ROOT, folder), os.path.join(self.copy, folder))

    def test_the_tree_itself_includes_downward_only(self):
        self.assertEqual(check_layers.violations(self.copy), [])

    def test_every_planted_violation_is_found_and_nothing_else(self):
        for file, line, message in PLANTED:
            with self.subTest(file=file, line=line):
                path = os.path.join(self.copy, file)
                before = self._plant(path, line)
                found = check_layers.violations(self.copy)
                self.assertEqual(len(found), 1, found)
                self.assertIn(file, found[0])
                self.assertIn(message, found[0])
                self._restore(path, before)

    @staticmethod
    def _plant(path, line):
        """Appends the line; returns what the file held, or None when it is a new one."""
        before = None
        if os.path.exists(path):
            with open(path, encoding="utf-8") as source:
                before = source.read()
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "a", encoding="utf-8") as source:
            source.write(line + "\n")
        return before

    @staticmethod
    def _restore(path, before):
        if before is None:
            os.remove(path)
            return
        with open(path, "w", encoding="utf-8") as source:
            source.write(before)


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
