# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl blob: the four questions, and bytes with nothing added."""
import os
import resource
import stat
import unittest

from quorctl_case import (ABSENT, STORE, USAGE, QuorctlCase, base64_of, blob, datastore, document,
                          policy)

ALL_BYTES = bytes(range(256)) * 3
GOLD_RILK = b"gold, RILK\n"
SILVER_VOLB = b"\x00silver\xff"


class Blob(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.apply(document(
            [policy("Gold", id="gold-01", blobs=[blob("RILK", base64=base64_of(GOLD_RILK)),
                                                 blob("VOLB", base64=base64_of(ALL_BYTES)),
                                                 blob("NONE", text="")]),
             policy("Silver", id="silver-01", blobs=[blob("VOLB", base64=base64_of(SILVER_VOLB))]),
             policy("-n", id="-x", blobs=[blob("RILK", text="dash")]),
             policy("{}", id="{}", blobs=[blob("RILK", text="braces")]),
             policy("[a,b]", id="a=b", blobs=[blob("RILK", text="brackets")]),
             policy("Gr\u00fcn", id="list", blobs=[blob("RILK", text="green")])],
            [datastore("ds:///v1/", namespace="VOLB", defaultPolicy="gold-01"),
             datastore("ds:///v2/", namespace="VOLB", defaultPolicy="silver-01"),
             datastore("ds:///none/", namespace="NONE", defaultPolicy="gold-01"),
             datastore("ds:///other/", namespace="OBJS", defaultPolicy="gold-01"),
             datastore("ds:///nodefault/", namespace="VOLB", defaultPolicy=""),
             datastore("ds:///lost/", namespace="VOLB", defaultPolicy="nobody"),
             datastore("-u", namespace="VOLB", defaultPolicy="gold-01")]))

    def blob_of(self, *options):
        return self.ask("blob", *options).raw

    def test_PolicyOnADatastore(self):
        self.assertEqual(self.blob_of("--policy-id", "gold-01", "--datastore", "ds:///v2/"),
                         ALL_BYTES)
        self.assertEqual(self.blob_of("--datastore=ds:///v1/", "--policy-id=silver-01"),
                         SILVER_VOLB)

    def test_DefaultOfADatastore(self):
        self.assertEqual(self.blob_of("--default-of", "ds:///v1/"), ALL_BYTES)
        self.assertEqual(self.blob_of("--default-of", "ds:///v2/"), SILVER_VOLB)

    def test_PolicyByIdentifierForRilk(self):
        self.assertEqual(self.blob_of("--policy-id", "gold-01"), GOLD_RILK)

    def test_PolicyByNameForRilk(self):
        self.assertEqual(self.blob_of("--policy-name", "Gold"), GOLD_RILK)
        self.assertEqual(self.blob_of("--policy-name", "Gr\u00fcn"), b"green")

    def test_ValuesThatBeginWithADash(self):
        self.assertEqual(self.blob_of("--policy-id=-x"), b"dash")
        self.assertEqual(self.blob_of("--policy-id", "-x"), b"dash")
        self.assertEqual(self.blob_of("--policy-name=-n"), b"dash")
        self.assertEqual(self.blob_of("--default-of=-u"), ALL_BYTES)
        self.assertEqual(self.blob_of("--policy-id=gold-01", "--datastore=-u"), ALL_BYTES)

    def test_ValuesThatLookLikeSyntax(self):
        self.assertEqual(self.blob_of("--policy-id={}"), b"braces")
        self.assertEqual(self.blob_of("--policy-name", "{}"), b"braces")
        self.assertEqual(self.blob_of("--policy-name", "[a,b]"), b"brackets")
        self.assertEqual(self.blob_of("--policy-id=a=b"), b"brackets")
        self.assertEqual(self.blob_of("--policy-id", "list"), b"green")

    def test_BytesThatAreNoUtf8NameAPolicy(self):
        self.apply(document([policy({"base64": base64_of(b"\xff\xfe")}, id="b")]))
        self.assertEqual(self.blob_of("--policy-name", b"\xff\xfe"), b"x")

    def test_NothingFoundIsAbsent(self):
        for options, message in (
                (["--policy-id", "nobody"],
                 'the policy with the identifier "nobody" for the namespace "RILK"; "quorctl get '
                 'policy KEY" shows what a policy has'),
                (["--policy-name", "nobody"],
                 'the policy "nobody" for the namespace "RILK"; "quorctl get policy KEY" shows what '
                 "a policy has"),
                (["--default-of", "ds:///x/"],
                 'the default policy of the datastore "ds:///x/"; "quorctl explain" tells why'),
                (["--policy-id", "gold-01", "--datastore", "ds:///x/"],
                 'the policy with the identifier "gold-01" for the datastore "ds:///x/"; "quorctl '
                 'explain" tells why')):
            result = self.refuse(ABSENT, "blob", *options)
            self.assertEqual(result.errors,
                             f"quorctl: no blob: there is none, or an empty one, of {message}\n")

    def test_OtherReasonsForNoBlobAreAbsentToo(self):
        for options in (["--policy-id", "silver-01"], ["--policy-name", "Silver"],
                        ["--policy-id", "Gold"], ["--policy-name", "gold-01"],
                        ["--policy-name", "gold"], ["--policy-name", "Gold "],
                        ["--default-of", "ds:///none/"], ["--default-of", "ds:///other/"],
                        ["--default-of", "ds:///nodefault/"], ["--default-of", "ds:///lost/"],
                        ["--policy-id=", "--datastore", "ds:///v1/"],
                        ["--policy-id", "", "--datastore", "ds:///v1/"],
                        ["--policy-id", "gold-01", "--datastore="], ["--policy-id="],
                        ["--policy-name="], ["--default-of="], ["--default-of", ""]):
            self.refuse(ABSENT, "blob", *options, message="no blob: ")

    def test_BlobThatDoesNotDecodeIsNamed(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("Gold", id="g", blobs=[blob(text="find me in the file")])],
                            [datastore("ds:///v/", defaultPolicy="g")]))
        path = f"{self.host}/host-config.json"
        text = self.contents(path)
        self.write(path, text.replace(base64_of(b"find me in the file").encode(), b"no base64!"))
        for options, which in (
                (["--policy-id", "g"], 'the policy with the identifier "g" for the namespace '
                                       '"RILK"'),
                (["--policy-name", "Gold"], 'the policy "Gold" for the namespace "RILK"'),
                (["--policy-id", "g", "--datastore", "ds:///v/"],
                 'the policy with the identifier "g" for the datastore "ds:///v/"'),
                (["--default-of", "ds:///v/"],
                 'the default policy of the datastore "ds:///v/"')):
            result = self.refuse(STORE, "blob", *options)
            self.assertEqual(result.errors,
                             f"quorctl: {path}: the blob of {which}: Unable to Decode string; "
                             '"quorctl check" names the record and what to do\n')

    def test_HostileValueIsShownEscaped(self):
        result = self.refuse(ABSENT, "blob", "--policy-id", b"\x1b[31m\xff\n" + b"x" * 1000)
        self.assertIn('"\\x1b[31m\\xff\\x0axxx', result.errors)
        self.assertLess(len(result.errors), 300)

    def test_FileGetsTheBytesAndStandardOutputNothing(self):
        path = f"{self.directory}/blob"
        self.assertEqual(self.blob_of("--policy-name", "Gold", "--out", path), b"")
        self.assertEqual(self.contents(path), GOLD_RILK)

    def test_FileThatIsReplacedKeepsItsModeAndOwner(self):
        path = self.write("blob", b"x" * 10000)
        os.chmod(path, 0o604)
        if os.geteuid() == 0:
            os.chown(path, 65534, 65533)
        before = os.stat(path)
        self.blob_of("--default-of", "ds:///v1/", f"--out={path}")
        self.assertEqual(self.contents(path), ALL_BYTES)
        after = os.stat(path)
        self.assertEqual((after.st_mode, after.st_uid, after.st_gid),
                         (before.st_mode, before.st_uid, before.st_gid))

    def test_FileThatDoesNotFitLeavesTheOldOne(self):
        for old in (b"x" * 300, b"", None):
            path = self.write("blob", old) if old is not None else f"{self.directory}/new"
            before = sorted(os.listdir(self.directory))
            self.refuse(STORE, "blob", "--default-of", "ds:///v1/", "--out", path,
                        message=f"cannot write all of {path}: File too large",
                        restore_signals=False,  # the limit's signal is ignored
                        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (500, 500)))
            self.assertEqual(sorted(os.listdir(self.directory)), before)
            if old is not None:
                self.assertEqual(self.contents(path), old)

    def test_NewFileHasTheModeThatOthersGet(self):
        path = f"{self.directory}/blob"
        self.ask("blob", "--policy-name", "Gold", "--out", path,
                 preexec_fn=lambda: os.umask(0o027))
        self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o640)

    def test_LinksStayAndLeadToTheNewBytes(self):
        path = self.write("blob", b"x" * 10000)
        other, symbolic, dangling = (f"{self.directory}/{name}" for name in ("o", "s", "d"))
        os.symlink("blob", symbolic)
        self.blob_of("--policy-name", "Gold", "--out", symbolic)
        self.assertEqual((os.readlink(symbolic), self.contents(path)), ("blob", GOLD_RILK))
        os.link(path, other)
        self.blob_of("--default-of", "ds:///v1/", "--out", path)
        self.assertEqual(self.contents(other), ALL_BYTES)
        os.symlink("made", dangling)
        self.blob_of("--policy-name", "Gold", "--out", dangling)
        self.assertEqual(self.contents(f"{self.directory}/made"), GOLD_RILK)

    def test_EmptyFileNameIsRefused(self):
        for words in (["--out="], ["--out", ""]):
            self.refuse(USAGE, "blob", "--policy-name", "Gold", *words,
                        message="--out needs the name of a file")

    def test_FileIsLeftAsItIsWhenThereIsNoBlob(self):
        path = self.write("blob", b"kept")
        self.refuse(ABSENT, "blob", "--policy-id", "nobody", "--out", path)
        self.assertEqual(self.contents(path), b"kept")

    def test_FileThatCannotBeWrittenIsAnError(self):
        path = f"{self.directory}/absent/blob"
        self.refuse(STORE, "blob", "--policy-name", "Gold", "--out", path,
                    message=f"cannot write {path}: No such file or directory")
        self.refuse(STORE, "blob", "--policy-name", "Gold", "--out", "/dev/full",
                    message="cannot write all of /dev/full: No space left on device")

    def test_RawGoesWithStandardOutputOnly(self):
        self.refuse(USAGE, "blob", "--policy-name", "Gold", "--raw", "--out", "x",
                    message="--raw goes with standard output, not with --out")

    def contents(self, path):
        with open(path, "rb") as file:
            return file.read()

    def test_OneQuestionIsAsked(self):
        message = "blob takes one of --policy-id, --policy-name and --default-of"
        for options in ([], ["--policy-id", "a", "--policy-name", "b"],
                        ["--policy-id", "a", "--default-of", "b"], ["--datastore", "d"],
                        ["--policy-name", "a", "--default-of", "b"]):
            self.refuse(USAGE, "blob", *options, message=message)

    def test_DatastoreGoesWithTheIdentifierOnly(self):
        for option in ("--policy-name", "--default-of"):
            self.refuse(USAGE, "blob", option, "a", "--datastore", "ds:///v1/",
                        message="--datastore goes with --policy-id only")

    def test_OptionsAreGivenOnceAndWithAValue(self):
        self.refuse(USAGE, "blob", "--policy-id", "a", "--policy-id", "b",
                    message="--policy-id is given more than once")
        self.refuse(USAGE, "blob", "--policy-id", message="--policy-id needs a value")
        self.refuse(USAGE, "blob", "--policy-id", "a", "--datastore",
                    message="--datastore needs a value")
        self.refuse(USAGE, "blob", "gold-01", message='unexpected argument "gold-01"')


if __name__ == "__main__":
    unittest.main()
