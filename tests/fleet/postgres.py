# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""PostgreSQL servers of a test's own: a primary, and standbys where asked for.

    with Cluster() as cluster:
        primary = cluster.start_primary()
        standby = cluster.start_standby(primary, synchronous=True)
        primary.sql("select 1")
        primary.kill()
        standby.promote()

Each has its directory, its port and a socket in the directory, lets every role in that exists, and runs
as a user who is not root. Nothing is left when the block ends.
"""
import functools
import glob
import os
import pwd
import shutil
import signal
import socket
import subprocess
import tempfile
import time

DEADLINE = 60  # seconds; only a hang comes near it
SUPERUSER = "centre"
MIGRATIONS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/fleet/sql")


@functools.lru_cache(maxsize=None)
def binaries():
    """The directory of the newest server on this machine; None without one."""
    found = glob.glob("/usr/lib/postgresql/*/bin/postgres") + glob.glob("/usr/bin/postgres")
    return os.path.dirname(max(found, key=_version)) if found else None


def _version(path):
    numbers = [part for part in path.split(os.sep) if part.isdigit()]
    return int(numbers[0]) if numbers else 0


def _user():
    """The user that servers run as, None for this one: a server refuses to run as root."""
    if os.geteuid() != 0:
        return None
    for name in ("postgres", "nobody"):
        try:
            return pwd.getpwnam(name)
        except KeyError:
            continue
    raise AssertionError("no user is there for a server to run as")


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def descendants(pid):
    """All processes below one, the nearest first."""
    children = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                parent = int(file.read().rpartition(")")[2].split()[1])
        except (OSError, IndexError, ValueError):
            continue
        children.setdefault(parent, []).append(int(entry))
    found = list(children.get(pid, []))
    for child in found:
        found += children.get(child, [])
    return found


class SqlError(AssertionError):
    pass


class Server:
    def __init__(self, cluster, name, port):
        self.cluster = cluster
        self.name = name
        self.directory = os.path.join(cluster.directory, name)
        self.port = port or free_port()
        self.process = None

    def connection(self, user=SUPERUSER, database="postgres", **words):
        """A connection string."""
        words = {"host": self.cluster.addresses[0], "port": self.port, "user": user, "dbname": database, **words}
        return " ".join(f"{key}={value}" for key, value in words.items())

    def configure(self, **settings):
        with open(os.path.join(self.directory, "postgresql.auto.conf"), "a", encoding="utf-8") as file:
            for key, value in settings.items():
                file.write(f"{key} = '{value}'\n")

    def start(self, wait=True):
        log = open(os.path.join(self.cluster.directory, self.name + ".log"), "ab")  # pylint: disable=R1732
        self.process = self.cluster.popen(
            "postgres", "-D", self.directory, "-p", str(self.port), "-k", self.cluster.directory,
            "-c", "listen_addresses=" + ",".join(self.cluster.addresses), stdout=log, stderr=log, stdin=subprocess.DEVNULL)
        log.close()
        if wait:
            self.wait_until("select 1")

    def is_up(self):
        return self.process is not None and self.process.poll() is None

    def reload(self):
        self.process.send_signal(signal.SIGHUP)

    def stop(self):
        """At once, in order: connections are closed."""
        self._end(signal.SIGINT)

    def kill(self):
        """All its processes, without a chance to write anything."""
        if not self.is_up():
            return
        # Stopped first: none is started meanwhile.
        os.kill(self.process.pid, signal.SIGSTOP)
        below = descendants(self.process.pid)
        os.kill(self.process.pid, signal.SIGKILL)
        for pid in below:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        self.process.wait()
        deadline = time.monotonic() + DEADLINE
        while any(_is_running(pid) for pid in below):
            assert time.monotonic() < deadline, f"{self.name}: its processes do not end"
            time.sleep(0.01)

    def freeze(self):
        """Stops all its processes: connections stay and nothing answers."""
        self._signal(signal.SIGSTOP)

    def thaw(self):
        self._signal(signal.SIGCONT)

    def _signal(self, number):
        for pid in [self.process.pid, *descendants(self.process.pid)]:
            try:
                os.kill(pid, number)
            except ProcessLookupError:  # it ended meanwhile
                pass

    def _end(self, number):
        if not self.is_up():
            return
        self.process.send_signal(number)
        try:
            self.process.wait(timeout=DEADLINE)
        except subprocess.TimeoutExpired:
            self.kill()

    def remove(self):
        """Kills it and deletes its directory."""
        self.kill()
        shutil.rmtree(self.directory)
        self.cluster.servers.remove(self)

    def promote(self):
        """Makes a standby the primary; returns when it takes changes."""
        self.cluster.run("pg_ctl", "promote", "-w", "-D", self.directory)
        self.wait_until("select 1 where not pg_is_in_recovery()")

    def sql(self, statement, user=SUPERUSER, database="postgres"):
        """Rows as lists of texts, by psql, in one transaction. Raises SqlError with what it says."""
        result = self.cluster.run("psql", "-XAtq1", "-F", "\t", "-v", "ON_ERROR_STOP=1", "-d",
                                  self.connection(user, database), "-f", "-", check=False, given=statement.encode())
        if result.returncode != 0:
            raise SqlError(result.stderr.decode().strip())
        return [line.split("\t") for line in result.stdout.decode().splitlines()]

    def make_centre(self, version=None):
        """The tables of the centre, new, of the newest version or a given one, and a person's role for each
        group."""
        statements = ["drop schema if exists quor cascade",
                      "do $$ declare r name; begin for r in select rolname from pg_roles where rolcanlogin and "
                      f"rolname <> '{SUPERUSER}' loop execute format('drop role %I', r); end loop; end $$"]
        for path in sorted(glob.glob(os.path.join(MIGRATIONS, "*.sql")))[:version]:
            with open(path, encoding="utf-8") as file:
                statements.append(file.read().rstrip().rstrip(";"))
        statements.append("create role ann login in role quor_publisher; create role vic login in role quor_viewer")
        self.sql("; ".join(statements))

    def add_host(self, name, channel="prod"):
        """A host whose role has its name."""
        self.sql(f"select quor.add_host('{name}', '{channel}', '{name}')", user="ann")

    def wait_until(self, statement, user=SUPERUSER):
        """Until the statement gives a row."""
        deadline = time.monotonic() + DEADLINE
        while True:
            try:
                if self.sql(statement, user):
                    return
            except SqlError as failure:
                problem = str(failure)
            else:
                problem = "no row"
            if not self.is_up() or time.monotonic() > deadline:
                with open(os.path.join(self.cluster.directory, self.name + ".log"), errors="replace",
                          encoding="utf-8") as log:
                    raise AssertionError(f"{self.name}: {statement}: {problem}\n{log.read()[-2000:]}")
            time.sleep(0.02)


def _is_running(pid):
    try:
        with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as file:
            return file.read().rpartition(")")[2].split()[0] not in "ZX"
    except OSError:
        return False


class Cluster:
    """Servers that belong together, and their directory. They listen at `addresses`, whose networks they
    trust."""

    def __init__(self, addresses=("127.0.0.1",)):
        self.user = _user()
        self.addresses = addresses
        self.directory = tempfile.mkdtemp(prefix="quor-pg-")
        if self.user:
            os.chown(self.directory, self.user.pw_uid, self.user.pw_gid)
        self.servers = []
        self.count = 0  # of all that there were

    def __enter__(self):
        return self

    def __exit__(self, *ignored):
        self.close()

    def close(self):
        for server in self.servers:
            server.kill()
        shutil.rmtree(self.directory, ignore_errors=True)

    def popen(self, program, *arguments, **options):
        as_user = {"user": self.user.pw_uid, "group": self.user.pw_gid,
                   "extra_groups": []} if self.user else {}
        kept = {name: value for name, value in os.environ.items() if not name.startswith("PG")}
        path = os.path.join(binaries(), program)
        return subprocess.Popen([path, *arguments], cwd=self.directory, start_new_session=True,
                                env={**kept, "LC_ALL": "C", "TZ": "UTC"}, **as_user, **options)

    def run(self, program, *arguments, check=True, given=b""):
        with self.popen(program, *arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                        stderr=subprocess.PIPE) as process:
            output, errors = process.communicate(given, timeout=DEADLINE)
        result = subprocess.CompletedProcess(arguments, process.returncode, output, errors)
        assert not check or result.returncode == 0, f"{program}: {errors.decode()}"
        return result

    def _new_server(self, port=None):
        self.count += 1
        self.servers.append(Server(self, f"server{self.count}", port))
        return self.servers[-1]

    def start_primary(self, **settings):
        server = self._new_server()
        self.run("initdb", "-D", server.directory, "-A", "trust", "-U", SUPERUSER, "--no-sync",
                 "-E", "UTF8", "--no-locale", "--no-instructions")
        with open(os.path.join(server.directory, "pg_hba.conf"), "a", encoding="utf-8") as rules:
            rules.writelines(f"host all all {address}/24 trust\n" for address in self.addresses)
        # What a killed process leaves is in the kernel's memory: nothing has to reach a disk.
        server.configure(fsync="off", shared_buffers="16MB", max_connections="100",
                         wal_keep_size="64MB", hot_standby="on", max_wal_senders="6",
                         wal_receiver_status_interval="1s", **settings)
        server.start()
        return server

    def start_standby(self, primary, synchronous, port=None):
        """A standby that has caught up; `primary` waits for it from now on if it is synchronous."""
        server = self._new_server(port)
        self.run("pg_basebackup", "-D", server.directory, "-R", "-X", "stream", "-c", "fast",
                 "--no-sync", "-d", primary.connection(application_name=server.name))
        # Promoted, it waits for nobody; it has the settings of its primary otherwise.
        server.configure(synchronous_standby_names="")
        server.start()
        if synchronous:
            primary.configure(synchronous_standby_names=server.name)
            primary.reload()
        state = "sync" if synchronous else "async"
        primary.wait_until("select 1 from pg_stat_replication where state = 'streaming' and "
                           f"application_name = '{server.name}' and sync_state = '{state}'")
        return server
