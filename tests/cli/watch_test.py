# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl watch: lines for changes by other processes, --exec, and the ways in which it ends."""
import json
import os
import re
import select
import shutil
import signal
import subprocess
import time
import unittest

from quorctl_case import (DONE, STORE, TIMEOUT, USAGE, QuorctlCase, datastore, document, policy)

LINE = re.compile(r"\A\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ ([a-z,]+) ([0-9a-f]*:[0-9a-f]*)\n\Z")
# The number of the system call in which the watch waits: poll(), or ppoll() where there is no other.
POLL = {"x86_64": "7"}.get(os.uname().machine, "73")


def standard_signals(line):
    """Of a line of /proc/PID/status; the signals from 32 on belong to the C library."""
    name, mask = line.split()
    return name, int(mask, 16) & 0x7fffffff


class WatchCase(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("A")], [datastore("u")]))

    def watch(self, *options, **popen_options):
        return self.followed(self.start("watch", *options, **popen_options))

    def followed(self, process):
        def end():
            if process.poll() is None:
                process.kill()
            process.communicate()

        self.addCleanup(end)
        return process

    def read_line(self, stream):
        """One line; the streams are read unbuffered, so that none hides in a buffer."""
        line = b""
        end = time.monotonic() + TIMEOUT
        while not line.endswith(b"\n"):
            self.assertTrue(select.select([stream], [], [], max(0, end - time.monotonic()))[0],
                            f"no line came, only {line!r}")
            byte = os.read(stream.fileno(), 1)
            self.assertNotEqual(byte, b"", f"the stream ended after {line!r}")
            line += byte
        return line.decode()

    def wait_until_asleep(self, process):
        """Until it has read the catalogue for the first time: it then waits for changes."""
        end = time.monotonic() + TIMEOUT
        while time.monotonic() < end:
            with open(f"/proc/{process.pid}/syscall") as file:
                if file.read().split()[0] == POLL:
                    return
            time.sleep(0.005)
        self.fail("it never waits")

    def expect_change(self, process, what):
        line = self.read_line(process.stdout)
        self.assertRegex(line, LINE)
        changed, digests = LINE.match(line).groups()
        self.assertEqual(changed, what)
        self.ask("digest", "--expect", digests)

    def expect_end(self, process, *, by=None):
        if by is not None:
            process.send_signal(by)
        output, errors = process.communicate(timeout=TIMEOUT)
        self.assertEqual((process.returncode, output, errors), (DONE, b"", b""))


class Watch(WatchCase):
    def test_EachChangeIsALine(self):
        process = self.watch()
        self.wait_until_asleep(process)
        for content, what in ((document([policy("B")], [datastore("u")]), "policies"),
                              (document([policy("B")], [datastore("v")]), "datastores"),
                              (document([policy("C")], [datastore("w")]), "policies,datastores"),
                              (document(), "policies,datastores"),
                              (document([policy("D")]), "policies")):
            self.apply(content)
            # The two are replaced one after the other: the watch may see both steps.
            if what == "policies,datastores":
                self.expect_both(process)
            else:
                self.expect_change(process, what)
        self.expect_end(process, by=signal.SIGINT)

    def expect_both(self, process):
        seen = set()
        while seen != {"policies", "datastores"}:
            line = self.read_line(process.stdout)
            self.assertRegex(line, LINE)
            seen.update(LINE.match(line).group(1).split(","))

    def test_BothDigestsThatChangeBetweenTwoLooksAreOneLine(self):
        process = self.watch()
        self.wait_until_asleep(process)
        process.send_signal(signal.SIGSTOP)
        self.apply(document([policy("C")], [datastore("w")]))
        process.send_signal(signal.SIGCONT)
        self.expect_change(process, "policies,datastores")
        self.expect_end(process, by=signal.SIGINT)

    def test_FirstLineIsTheCatalogueAsItIs(self):
        process = self.watch("--first")
        self.expect_change(process, "first")
        self.apply(document([policy("B")], [datastore("u")]))
        self.expect_change(process, "policies")
        self.expect_end(process, by=signal.SIGINT)

    def test_ChangesSinceAnEarlierWatchAreTold(self):
        before = json.loads(self.ask("digest", "-o", "json").text)
        seen = f"{before['policies']}:{before['datastores']}"
        self.apply(document([policy("B")], [datastore("u")]))
        process = self.watch("--from", seen)
        self.expect_change(process, "policies")
        self.expect_end(process, by=signal.SIGINT)

    def test_ObjectsInPlaceOfLines(self):
        process = self.watch("-o", "json", "--first")
        for changed in ([], ["policies"]):
            line = json.loads(self.read_line(process.stdout))
            self.assertRegex(line.pop("time"), r"\A\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\Z")
            self.assertEqual(line, {"changed": changed,
                                    **json.loads(self.ask("digest", "-o", "json").text)})
            if not changed:
                self.apply(document([policy("B")], [datastore("u")]))
        self.expect_end(process, by=signal.SIGINT)

    def test_TwoWatchersSeeTheSame(self):
        processes = [self.watch(), self.watch()]
        for process in processes:
            self.wait_until_asleep(process)
        self.apply(document([policy("B")], [datastore("u")]))
        for process in processes:
            self.expect_change(process, "policies")
            self.expect_end(process, by=signal.SIGINT)

    def test_WhatChangesNothingIsNoLine(self):
        process = self.watch()
        self.wait_until_asleep(process)
        self.apply(document([policy("A")], [datastore("u")]))
        self.ask("list", "policies")
        self.apply(document([policy("B")], [datastore("u")]))
        self.expect_change(process, "policies")  # the first line there is
        self.expect_end(process, by=signal.SIGINT)

    def test_SwitchToAnotherStoreIsAChange(self):
        process = self.watch()
        self.wait_until_asleep(process)
        self.ask("switch", "--yes", "file")
        self.expect_both(process)
        self.expect_end(process, by=signal.SIGTERM)

    def test_BothSignalsEndItWithStatusZero(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            for period in ((), ("--period", "0.05"), ("--period", "86400")):
                process = self.watch(*period)
                self.wait_until_asleep(process)
                self.expect_end(process, by=number)

    def test_IgnoredInterruptStaysIgnored(self):
        process = self.watch(preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_IGN),
                             restore_signals=False)
        self.wait_until_asleep(process)
        process.send_signal(signal.SIGINT)
        self.apply(document([policy("B")], [datastore("u")]))
        self.expect_change(process, "policies")
        self.expect_end(process, by=signal.SIGTERM)

    def test_NothingIsDoneWhileNothingChanges(self):
        process = self.watch()
        self.wait_until_asleep(process)
        before = self.work(process)
        time.sleep(2)
        self.assertEqual(self.work(process), before)
        self.expect_end(process, by=signal.SIGINT)

    def work(self, process):
        """How often it slept, and for how many nanoseconds it had a processor."""
        with open(f"/proc/{process.pid}/schedstat") as file:
            nanoseconds = file.read().split()[0]
        with open(f"/proc/{process.pid}/status") as file:
            return re.findall(r"^voluntary_ctxt_switches:\s*(\d+)", file.read(), re.M), nanoseconds

    def test_PeriodAsksWithoutANotice(self):
        process = self.watch("--period", "0.05")
        self.wait_until_asleep(process)
        before = self.work(process)
        time.sleep(0.5)
        self.assertNotEqual(self.work(process), before)
        self.apply(document([policy("B")], [datastore("u")]))
        self.expect_change(process, "policies")
        self.expect_end(process, by=signal.SIGINT)

    def test_SwitchesThatAreReplacedAreObeyed(self):
        self.ask("switch", "--yes", "file")
        self.ask("switch", "--yes", "store")
        switches = os.path.join(self.host, "features")
        with open(switches, "rb") as file:
            content = bytearray(file.read())
        content[62] = 0
        process = self.watch()
        self.wait_until_asleep(process)
        self.replace_at_once(switches, bytes(content))
        self.expect_both(process)
        self.expect_end(process, by=signal.SIGTERM)

    def test_HostDirectoryThatIsSwappedIsAChange(self):
        kept = os.path.join(self.directory, "kept")
        shutil.copytree(self.host, kept)
        self.apply(document([policy("B")], [datastore("v")]))
        process = self.watch()
        self.wait_until_asleep(process)
        os.rename(self.host, self.host + ".old")
        os.rename(kept, self.host)
        # Whoever looks between the two moves finds no directory.
        self.expect_both(process)
        process.send_signal(signal.SIGINT)
        output, errors = process.communicate(timeout=TIMEOUT)
        self.assertEqual((process.returncode, output), (DONE, b""))
        self.assertRegex(errors.decode(), r"\A(quorctl: .*; watching on\n"
                                          r"quorctl: the catalogue can be read again\n)?\Z")

    def test_BackupThatIsMovedIntoPlaceIsAChange(self):
        path = self.snapshot_path()
        backup = shutil.copy2(path, os.path.join(self.directory, "backup"))
        self.apply(document([policy("B")], [datastore("v")]))
        process = self.watch()
        self.wait_until_asleep(process)
        os.rename(backup, path)
        self.expect_both(process)
        self.expect_end(process, by=signal.SIGINT)

    def test_MissingNoticesAreToldAndATimerIsUsed(self):
        script = 'echo 0 >/proc/sys/user/max_inotify_instances && exec "$0" watch'
        command = ["unshare", "--user", "--map-root-user", "sh", "-c", script, self.program]
        process = self.followed(subprocess.Popen(command, env=self.environment(),
                                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE))
        message = self.read_line(process.stderr)
        if "unshare" in message or "max_inotify" in message:
            print(f"\nleft out: {self.id()}: needs a user namespace", flush=True)
            self.skipTest("needs a user namespace")
        self.assertRegex(message, r"\Aquorctl: inotify: .*\(fs\.inotify\.max_user_instances\); "
                                  r"looking at the files once a second\n\Z")
        self.wait_until_asleep(process)
        self.apply(document([policy("B")], [datastore("u")]))
        self.expect_change(process, "policies")
        self.expect_end(process, by=signal.SIGINT)

    def test_StoreThatCannotBeReadIsReportedOnceAndWatchedOn(self):
        path = self.snapshot_path()
        with open(path, "rb") as file:
            content = file.read()
        process = self.watch()
        self.wait_until_asleep(process)
        self.replace_at_once(path, b"damaged")
        message = self.read_line(process.stderr)
        self.assertTrue(message.startswith("quorctl: ") and path in message, message)
        self.assertIn("; watching on", message)
        time.sleep(0.3)  # further looks repeat nothing
        self.replace_at_once(path, content)
        self.assertEqual(self.read_line(process.stderr),
                         "quorctl: the catalogue can be read again\n")
        self.apply(document([policy("B")], [datastore("u")]))
        self.expect_change(process, "policies")
        self.expect_end(process, by=signal.SIGINT)

    def test_AFileThatComesRightAfterALookIsLookedAtToo(self):
        path = self.snapshot_path()
        with open(path, "rb") as file:
            content = file.read()
        process = self.watch()
        self.wait_until_asleep(process)
        for milliseconds in range(10):
            time.sleep(0.05)  # the file is no news any more
            os.utime(os.path.join(self.host, "features"))  # has it look
            time.sleep(milliseconds / 1000)
            self.replace_at_once(path, b"damaged")
            self.assertIn("; watching on", self.read_line(process.stderr))
            self.replace_at_once(path, content)
            self.assertIn("can be read again", self.read_line(process.stderr))
        self.expect_end(process, by=signal.SIGINT)

    def replace_at_once(self, path, content):
        os.replace(self.write("replacement", content), path)

    def test_OutputThatCannotBeWrittenEndsIt(self):
        with open("/dev/full", "wb") as full:
            process = self.watch(stdout=full)
            self.wait_until_asleep(process)
            self.apply(document([policy("B")], [datastore("u")]))
            _, errors = process.communicate(timeout=TIMEOUT)
        self.assertEqual((process.returncode, errors.decode()),
                         (STORE, "quorctl: cannot write to standard output: "
                                 "No space left on device\n"))


class Exec(WatchCase):
    def test_CommandRunsAfterEachLineAndKnowsWhatChanged(self):
        process = self.watch("--exec", 'echo "$QUORCTL_CHANGED $QUORCTL_DIGESTS"')
        self.wait_until_asleep(process)
        for name in ("B", "C"):
            self.apply(document([policy(name)], [datastore("u")]))
            line = self.read_line(process.stdout)
            self.assertEqual(self.read_line(process.stdout), line.split(" ", 1)[1])
        self.expect_end(process, by=signal.SIGINT)

    def test_FailingCommandIsReportedAndWatchedOn(self):
        for script, message in (("exit 3", "--exec: CMD ended with status 3"),
                                ("kill -9 $$", "--exec: CMD was ended by signal 9")):
            self.apply(document([policy("A")], [datastore("u")]))
            process = self.watch("--exec", script)
            self.wait_until_asleep(process)
            for name in ("B", "C"):
                self.apply(document([policy(name)], [datastore("u")]))
                self.expect_change(process, "policies")
                self.assertEqual(self.read_line(process.stderr), f"quorctl: {message}\n")
            self.expect_end(process, by=signal.SIGINT)

    def test_SignalEndsTheCommandTooAndThenTheWatch(self):
        process = self.watch("--exec", "echo $$; exec sleep 3600")
        self.wait_until_asleep(process)
        self.apply(document([policy("B")], [datastore("u")]))
        self.expect_change(process, "policies")
        child = int(self.read_line(process.stdout))
        self.expect_end(process, by=signal.SIGTERM)
        with self.assertRaises(ProcessLookupError):
            os.kill(child, 0)

    def test_CommandHasTheSignalsOfTheWatchBefore(self):
        process = self.watch("--exec", "grep -E '^Sig(Blk|Ign)' /proc/self/status")
        self.wait_until_asleep(process)
        self.apply(document([policy("B")], [datastore("u")]))
        self.expect_change(process, "policies")
        plain = subprocess.run(["grep", "-E", "^Sig(Blk|Ign)", "/proc/self/status"],
                               capture_output=True, text=True, timeout=TIMEOUT, check=True)
        self.assertEqual([standard_signals(self.read_line(process.stdout)) for _ in range(2)],
                         [standard_signals(line) for line in plain.stdout.splitlines()])
        self.expect_end(process, by=signal.SIGINT)

    def test_IgnoredEndOfChildrenDoesNotMatter(self):
        process = self.watch("--exec", "echo ran",
                             preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN),
                             restore_signals=False)
        self.wait_until_asleep(process)
        for name in ("B", "C"):
            self.apply(document([policy(name)], [datastore("u")]))
            self.expect_change(process, "policies")
            self.assertEqual(self.read_line(process.stdout), "ran\n")
        self.expect_end(process, by=signal.SIGINT)


class WrongWords(QuorctlCase):
    def test_PeriodIsANumberOfSecondsInItsRange(self):
        for period in ("", "0", "0.04", "-1", "86401", "1s", "nan", "inf", "1e3", " 1", "1 ", "x",
                       "0x10"):
            self.refuse(USAGE, "watch", f"--period={period}",
                        message=f'--period "{period}": give seconds from 0.05 to 86400')

    def test_BeginningsExcludeEachOther(self):
        self.refuse(USAGE, "watch", "--first", "--from", ":",
                    message="--first and --from exclude each other")
        self.refuse(USAGE, "watch", "--from", "x",
                    message="--from needs the two digests with a colon between them")
        self.refuse(USAGE, "watch", "-o", "csv",
                    message='unknown format "csv"; choose table or json')

    def test_CommandIsNotEmpty(self):
        self.refuse(USAGE, "watch", "--exec=", message="--exec: CMD is empty")

    def test_StrayArgumentIsRefused(self):
        self.refuse(USAGE, "watch", "policies", message='unexpected argument "policies"')


if __name__ == "__main__":
    unittest.main()
