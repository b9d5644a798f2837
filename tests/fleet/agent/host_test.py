# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quor-agent and its host, without a centre: documents from files, what is kept, drift."""
import contextlib
import fcntl
import itertools
import json
import os
import signal
import socket
import subprocess
import sys
import time
import unittest

try:
    from prometheus_client.openmetrics.parser import text_string_to_metric_families
except ImportError:  # another Python than the system's
    sys.path.append("/usr/lib/python3/dist-packages")
    from prometheus_client.openmetrics.parser import text_string_to_metric_families

from agent_case import (AGENT, DONE, FAILED, NO_CENTRE, REFUSED, TAKEN, TIMEOUT, USAGE, WOULD_CHANGE,
                        AgentCase, blob, datastore, document, generation, policy)

POLL_DEFAULTS = os.environ["QUOR_POLL_DEFAULTS"]
STORES = ("store", "file")
LOCK_SECONDS = float(os.environ.get("QUOR_LOCK_SECONDS", "1"))  # for which a writer stands still
LOCK_TIMEOUT_MS = 300 if LOCK_SECONDS < 30 else 30000  # the second one is the library's own
HEALS = 40  # seconds at most, since the agent tries again every 15 to 30 s in the end


class Equal(AgentCase):
    def test_HostHoldsTheDocumentInEitherStore(self):
        for number, store in enumerate(STORES):
            self.ask("switch", "--yes", store)
            for letter in "AB":
                content = generation(letter)
                self.take(content, "--may-shrink", "--release", str(number * 2 + ord(letter) - 64))
                self.expect_host(content)
            self.assertEqual((self.kept("wanted"), self.kept("applied")),
                             (number * 2 + 2, number * 2 + 2))

    def test_EqualHostIsNotWritten(self):
        for store in STORES:
            self.ask("switch", "--yes", store)
            self.apply(generation("A"))
            path = self.snapshot_path()
            before = os.stat(path)
            self.take(generation("A"), message="nothing was to be written")
            after = os.stat(path)
            self.assertEqual((before.st_ino, before.st_mtime_ns), (after.st_ino, after.st_mtime_ns))

    def test_OnlyTheKindThatDiffersIsReplaced(self):
        content = generation("A")
        self.take(content)
        content["datastores"][0]["defaultPolicy"] = "id-A1"
        self.take(content, message="; 1 replacements")
        content["policies"][0]["generation"] = 2
        self.take(content, message="; 1 replacements")
        self.expect_host(content)

    def test_WideGenerationIsWrittenOnce(self):
        content = document([policy("Gold", generation=2**40 + 7)])
        for store in STORES:
            self.ask("switch", "--yes", store)
            self.take(content)
            self.take(content, message="nothing was to be written")
        with self.daemon() as process:
            self.wait_for_log("no connection", 1)
            process.send_signal(signal.SIGTERM)
            process.wait(timeout=TIMEOUT)
        self.assertNotIn("changed by others", self.log())

    def test_DefaultPolicyIsThereAtEveryMoment(self):
        # The same identifiers, names, and namespaces stand for other things in the two.
        first = generation("A")
        second = generation("B")
        first["policies"].append(policy("Same", id="old", blobs=[blob(text="1")]))
        second["policies"].append(policy("Same", id="new", blobs=[blob(text="2")]))
        first["policies"].append(policy("Moves", blobs=[blob("ONE")]))
        second["policies"].append(policy("Moves", blobs=[blob("TWO")]))
        for content, identifier, namespace in ((first, "old", "ONE"), (second, "new", "TWO")):
            content["datastores"] += [
                datastore("ds:///same/", defaultPolicy=identifier),
                datastore("ds:///moves/", defaultPolicy="id-Moves", namespace=namespace)]
        urls = [record["url"] for record in first["datastores"]]
        for store in STORES:
            self.ask("switch", "--yes", store)
            self.take(second, "--may-shrink")
            with subprocess.Popen([POLL_DEFAULTS, *urls], env=self.environment(), text=True,
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE) as poller:
                for turn in range(10):
                    self.take((first, second)[turn % 2], "--may-shrink",
                              message="; 3 replacements")
                asked, none = poller.communicate("", timeout=TIMEOUT)[0].split()
            self.assertGreater(int(asked), 100)
            self.assertEqual(int(none), 0, f"of {asked} in the {store}")
            self.expect_host(second)


class Refused(AgentCase):
    def setUp(self):
        super().setUp()
        self.take(generation("A"), "--release", "5")

    def tearDown(self):
        self.expect_host(generation("A"))
        self.assertEqual((self.kept("wanted"), self.kept("applied")), (5, 5))

    def test_EmptyDocument(self):
        self.take(document(), status=REFUSED, message="--may-empty")

    def test_MoreThanAFifthDeleted(self):
        content = generation("A")
        content["datastores"].pop()
        self.take({**content, "policies": content["policies"][:3]}, status=REFUSED,
                  message="it deletes 2 of 5 policies")

    def test_BrokenRules(self):
        self.take(document([policy(), policy()]), status=REFUSED, message="policies[1]")
        self.take({"format": "quor-catalogue/1"}, status=REFUSED, message="policies")
        path = self.write("half.json", json.dumps(generation("B"))[:100])
        self.expect(REFUSED, "--from", path, message="half.json: line 1")

    def test_LowerRelease(self):
        self.take(generation("B"), "--release", "4", "--may-shrink", status=REFUSED,
                  message="never goes back")

    def test_FileThatIsNotThere(self):
        self.expect(FAILED, "--from", "/nonexistent/x", message="/nonexistent/x cannot be read")


class Kept(AgentCase):
    def test_DamagedFilesDoNotKeepItFromStarting(self):
        self.take(generation("A"), "--release", "5")
        for name in ("wanted", "applied"):
            path = os.path.join(self.state, name)
            with open(path, "rb") as file:
                whole = file.read()
            for bad in (b"", whole[:-3], whole.replace(b"id-A1", b"id-A9"), b"\0" * 99,
                        whole.replace(b"release 5", b"release x")):
                if bad == whole:
                    continue
                self.write(path, bad)
                self.expect(NO_CENTRE, "--once", message=name + ": damaged")
                self.expect_host(generation("A"))
            self.write(path, whole)

    def test_InterruptedChangeIsEndedWithoutTheCentre(self):
        self.take(generation("A"), "--release", "5")
        self.take(generation("B"), "--release", "6", "--may-shrink")
        os.unlink(os.path.join(self.state, "applied"))
        self.apply(generation("A"))
        self.expect(NO_CENTRE, "--once", message="ending what was interrupted")
        self.expect_host(generation("B"))

    def test_SecondAgentIsSentAway(self):
        with self.daemon():
            self.wait_for_log("no connection")
            self.expect(TAKEN, "--once", message="another quor-agent works with this state")

    def test_MissingParentIsWaitedFor(self):
        home = os.path.join(self.directory, "later")
        self.state = os.path.join(home, "state")
        with self.daemon():
            self.wait_for_log("later/state cannot be made")
            os.mkdir(home)
            self.wait_for_log("no connection")


class Drift(AgentCase):
    def test_IsRepaired(self):
        for store in STORES:
            self.ask("switch", "--yes", store)
            self.take(generation("A"))
            with self.daemon():
                self.wait_for_log("no connection")
                self.disturb(generation("B"))
                self.wait_for(lambda: self.holds(generation("A")))
                self.wait_for_log("repairing it")
            self.assertIn("changed by others", self.log())

    def test_IsLeftAloneWhileItGoesOn(self):
        self.take(generation("A"))
        with self.daemon():
            self.wait_for_log("no connection")
            for name in "BCDE":  # as a change of several replacements
                self.disturb(generation(name))
                time.sleep(0.4)
                self.assertTrue(self.holds(generation(name)), self.log())
            self.wait_for(lambda: self.holds(generation("A")))
        self.assertEqual(self.log().count("repairing it"), 1, self.log())

    def test_IsRepairedAlsoIfItNeverSettles(self):
        self.take(generation("A"))
        with self.daemon("--repair-period", "100"):
            self.wait_for_log("no connection")
            names = itertools.cycle("BCDEF")
            began = time.monotonic()
            while "repairing it" not in self.log():
                self.assertLess(time.monotonic() - began, 20)
                self.disturb(generation(next(names)))
                time.sleep(0.4)
            self.assertGreater(time.monotonic() - began, 4)

    def test_IsRepairedOnceInAPeriod(self):
        self.take(generation("A"))
        with self.daemon("--repair-period", "4"):
            self.wait_for_log("no connection")
            self.disturb(generation("B"))
            self.wait_for_log("repairing it")
            self.disturb(generation("B"))
            self.wait_for_log("again; it is repaired once in 4 s")
            self.expect_host(generation("B"))
            self.wait_for_log("repairing it", 2)
            self.expect_host(generation("A"))

    def test_IsReportedOnly(self):
        self.take(generation("A"))
        metrics = os.path.join(self.directory, "metrics")
        with self.daemon("--drift", "report", "--metrics", metrics):
            self.wait_for_log("no connection")
            self.disturb(generation("B"))
            self.wait_for_log("it is left so")
            self.expect_host(generation("B"))
            self.apply(generation("A"))
            self.wait_for_log("as wanted again")
        self.expect(NO_CENTRE, "--once")

    def test_FlippedSwitchTakesTwoReplacements(self):
        self.ask("switch", "--yes", "store")
        self.take(generation("A"))
        with self.daemon():
            self.wait_for_log("no connection")
            self.ask("switch", "--yes", "file")
            self.wait_for(lambda: self.holds(generation("A")))
            self.wait_for_log("repairing it")
            self.wait_for_log("no connection")
        self.assertEqual(self.replacements(), 2, self.log())


class HeldLock(AgentCase):
    @contextlib.contextmanager
    def stopped_writer(self):
        """It holds the lock and does not go on."""
        with open(self.snapshot_path().replace(".cdb", ".lock"), "r+b") as file:
            fcntl.lockf(file, fcntl.LOCK_EX)
            fcntl.flock(file, fcntl.LOCK_EX)
            yield

    def test_ChangeIsEndedLater(self):
        self.take(generation("A"))
        with self.stopped_writer():
            result = self.take(generation("B"), "--may-shrink", "--release", "6", status=FAILED)
            self.assertIn("could not be made equal to a document from a file, at release 6",
                          result.errors)
        self.expect_host(generation("A"))
        self.expect(NO_CENTRE, "--once", message="ending what was interrupted")
        self.expect_host(generation("B"))

    def test_DaemonHealsAlone(self):
        self.take(generation("A"))
        self.disturb(generation("B"))
        with contextlib.ExitStack() as writer:
            writer.enter_context(self.stopped_writer())
            with self.daemon():
                self.wait_for(lambda: "config-store.lock" in self.log(), "it is told", 10 + LOCK_TIMEOUT_MS / 1000)
                time.sleep(LOCK_SECONDS)
                self.expect_host(generation("B"))
                writer.close()
                self.wait_for(lambda: self.holds(generation("A")), "the host is equal again", HEALS)

    def environment(self, **changes):
        return super().environment(QUOR_LOCK_TIMEOUT_MS=str(LOCK_TIMEOUT_MS), **changes)


class Service(AgentCase):
    def test_ManagerHearsThatItIsReadyAliveAndStopping(self):
        path = os.path.join(self.directory, "notify")
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            manager.bind(path)
            manager.settimeout(TIMEOUT)
            with self.daemon(environment={"NOTIFY_SOCKET": path, "WATCHDOG_USEC": "400000"}):
                self.assertEqual(manager.recv(999), b"READY=1\nSTATUS=waiting for the first release")
                self.assertEqual({manager.recv(999) for _ in range(3)}, {b"WATCHDOG=1"})
            messages = [b"WATCHDOG=1"]
            while messages[-1] == b"WATCHDOG=1":
                messages.append(manager.recv(999))
            self.assertEqual(messages[-1], b"STOPPING=1")

    def test_ReadyWithWhatTheHostHolds(self):
        self.take(generation("A"), "--release", "7")
        path = os.path.join(self.directory, "notify")
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            manager.bind(path)
            manager.settimeout(TIMEOUT)
            with self.daemon(environment={"NOTIFY_SOCKET": path}):
                self.assertEqual(manager.recv(999), b"READY=1\nSTATUS=the host holds release 7")

    def test_SignalEndsIt(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.daemon() as process:
                self.wait_for_log("no connection")
                process.send_signal(number)
                self.assertEqual(process.wait(timeout=TIMEOUT), DONE)
            self.assertIn("ended by a signal", self.log())

    def test_JournalGetsTheSeverity(self):
        result = self.agent("--once", environment={"JOURNAL_STREAM": "1:2"})
        self.assertRegex(result.errors, r"\A<4>quor-agent: no connection to the centre")

    def test_CentreThatIsGoneIsToldOnceAndAskedEverMoreSeldom(self):
        with self.daemon("--metrics", os.path.join(self.directory, "metrics")):
            self.wait_for(lambda: self.metric("quor_agent_contact_failures") >= 4)
        self.assertEqual(self.log().count("no connection"), 1)

    def metric(self, name):
        try:
            with open(os.path.join(self.directory, "metrics"), encoding="utf-8") as file:
                families = {family.name: family
                            for family in text_string_to_metric_families(file.read())}
        except FileNotFoundError:
            return 0
        return families[name].samples[0].value

    def test_MetricsAreOpenMetrics(self):
        self.take(generation("A"), "--release", "7", "--metrics",
                  os.path.join(self.directory, "metrics"))
        self.assertEqual(self.metric("quor_agent_wanted_release"), 7)
        self.assertEqual(self.metric("quor_agent_applied_release"), 7)
        self.assertEqual(self.metric("quor_agent_changes"), 1)
        self.assertGreater(self.metric("quor_agent_last_change_seconds"), 0)

    def test_MetricsThatCannotBeWrittenAreToldOnce(self):
        with self.daemon("--metrics", "/nonexistent/metrics"):
            self.wait_for_log("/nonexistent/metrics: the metrics cannot be written")


class CommandLine(AgentCase):
    def test_DryRunShowsAndWritesNothing(self):
        path = self.write("given.json", json.dumps(generation("A", 1)))
        shown = self.expect(WOULD_CHANGE, "--dry-run", "--from", path)
        self.assertEqual(shown.text, 'add policy "A0" (id-A0)\nadd datastore "ds:///0/"\n')
        self.assertFalse(os.path.exists(self.state) or os.path.exists(self.host))
        self.take(generation("A", 1))
        self.assertEqual(self.expect(DONE, "--dry-run", "--from", path).text,
                         "nothing would be changed\n")
        content = generation("A", 1)
        content["policies"][0]["description"] = "x"
        path = self.write("given.json", json.dumps(content))
        self.assertEqual(self.expect(WOULD_CHANGE, "--dry-run", "--from", path).text,
                         'change policy "A0" (id-A0): description\n')

    def test_ConfigurationFileStandsBelowTheCommandLine(self):
        path = self.write("agent.conf", f"# a comment\nstate = {self.directory}/one\n"
                                        'connection = "host=127.0.0.1 port=2"\nperiod = 5\n')
        self.config = path
        self.expect(NO_CENTRE, "--once", message="127.0.0.1:1:")
        self.words = lambda *arguments: [AGENT, "--config", path, *arguments]
        self.expect(NO_CENTRE, "--once", message="127.0.0.1:2:")
        self.assertTrue(os.path.isdir(os.path.join(self.directory, "one")))

    def test_MistakesAreNamed(self):
        for words, message in ((["--perod", "3"], "--perod"), (["--period", "x"], "--period"),
                               (["--drift", "no"], "--drift"), (["--release", "3"], "--from"),
                               (["--once", "--dry-run"], "--dry-run")):
            self.expect(USAGE, *words, message=message)
        for text in ("perod = 3\n", "once = true\n", "period = x\n"):
            self.config = self.write("bad.conf", text)
            self.expect(USAGE, "--once", message=text.split()[0])
        self.config = "/nonexistent/conf"
        self.expect(USAGE, "--once", message="/nonexistent/conf")

    def test_KeyThatIsNone(self):
        path = self.write("key", "no key")
        self.expect(FAILED, "--key", path, "--once", message=path)


if __name__ == "__main__":
    unittest.main()
