# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What goes in comes out, and what is not there is empty."""
import dataclasses
import os
import subprocess
import sys
import threading

import pytest

import quor

GOLD = quor.Policy("gold-01", "Gold", "Three copies", 41,
                   (quor.Blob("RILK", b"r\0\xff"), quor.Blob("VOLB", b"v" * 5000)))
MAIL = quor.Datastore("ds:///shares/mail/", "VOLB", "gold-01")


def put(catalogue: quor.Catalogue) -> None:
    catalogue.replace_policies([GOLD])
    catalogue.replace_datastores([MAIL])


def test_listings_have_what_was_put(catalogue):
    put(catalogue)
    assert catalogue.policies == (GOLD,)
    assert catalogue.datastores == (MAIL,)
    assert hash(catalogue.policies[0]) == hash(GOLD)
    assert repr(catalogue.policies[0]) == repr(GOLD)


def test_records_are_frozen(catalogue):
    put(catalogue)
    with pytest.raises(dataclasses.FrozenInstanceError):
        catalogue.policies[0].name = "Silver"
    with pytest.raises(dataclasses.FrozenInstanceError):
        catalogue.policies[0].blobs[0].data = b""
    assert dataclasses.replace(catalogue.policies[0], name="Silver").name == "Silver"


def test_every_lookup_finds_its_blob(catalogue):
    put(catalogue)
    assert catalogue.default_blob(MAIL.url) == b"v" * 5000
    assert catalogue.blob(policy_id="gold-01", datastore=MAIL.url) == b"v" * 5000
    assert catalogue.rilk_blob(policy_id="gold-01") == b"r\0\xff"
    assert catalogue.rilk_blob(name="Gold") == b"r\0\xff"
    assert GOLD.blob("VOLB") == b"v" * 5000 and GOLD.blob("none") == b""


def test_not_found_is_empty(catalogue):
    assert catalogue.policies == () and catalogue.datastores == ()
    assert catalogue.default_blob("ds:///none/") == b""
    assert catalogue.rilk_blob(name="none") == b""
    assert catalogue.digests() == ("", "")


def test_text_that_is_not_utf8_is_kept_as_it_is(catalogue):
    odd = quor.Policy("\udcff\udc80", "Größe", "\N{SNOWMAN}", -1, (quor.Blob("RILK", b"x"),))
    catalogue.replace_policies([odd, GOLD])
    assert catalogue.policies == (odd, GOLD)
    assert catalogue.rilk_blob(policy_id="\udcff\udc80") == b"x"


def test_bytes_and_text_are_not_taken_for_each_other(catalogue):
    for wrong in (quor.Policy(b"id", "name"), quor.Policy("id", "n", blobs=(quor.Blob("RILK", "x"),)),
                  quor.Policy("id", "n", blobs=(quor.Blob("RILK", 5),)),
                  quor.Policy("id", "n", blobs=(quor.Blob("RILK", [1, 2]),)), MAIL):
        with pytest.raises((AttributeError, TypeError)):
            catalogue.replace_policies([GOLD, wrong])
    with pytest.raises((AttributeError, TypeError)):
        catalogue.default_blob(b"ds:///a/")
    with pytest.raises(TypeError):
        catalogue.rilk_blob()
    assert catalogue.policies == ()
    as_good = [quor.Policy("id", "n", blobs=(quor.Blob("RILK", kind(b"x")),))
               for kind in (bytes, bytearray, memoryview)]
    for policy in as_good:
        catalogue.replace_policies([policy])
        assert catalogue.rilk_blob(name="n") == b"x"


def test_digests_and_revisions_tell_of_a_change(catalogue):
    put(catalogue)
    before = catalogue.digests()
    assert [len(one) for one in before] == [32, 32]
    revision = catalogue.revision()
    catalogue.replace_policies([dataclasses.replace(GOLD, generation=42)])
    assert catalogue.digests().policies != before.policies
    assert catalogue.digests().datastores == before.datastores
    assert catalogue.revision() != revision


def test_the_host_directory_is_kept_for_the_life_of_the_process(host):
    assert quor.Catalogue(host_dir=host).policies is not None
    with pytest.raises(ValueError, match="in another process"):
        quor.Catalogue(host_dir="/elsewhere")


def test_another_process_may_choose_one(host, tmp_path):
    tmp_path.chmod(0o755)
    environment = {name: value for name, value in os.environ.items() if name != "QUOR_HOST_DIR"}
    done = subprocess.run(
        [sys.executable, "-c", "import quor, sys; c = quor.Catalogue(host_dir=sys.argv[1]);"
                               "c.replace_policies([quor.Policy('a', 'A')]); print(c.policies[0].id)",
         str(tmp_path)], check=True, capture_output=True, text=True, env=environment)
    assert done.stdout == "a\n"
    assert "config-store.cdb" in os.listdir(tmp_path)


ONE_OF_MANY = """
import os, sys, threading, quor
ready = threading.Barrier(8)
chosen = []

def choose(directory):
    ready.wait()
    try:
        quor.Catalogue(host_dir=directory).replace_policies([quor.Policy("a", "A")])
        chosen.append(directory)
    except ValueError:
        pass

threads = [threading.Thread(target=choose, args=[directory]) for directory in sys.argv[1:]]
for thread in threads: thread.start()
for thread in threads: thread.join()
print(*chosen, sep="\\n")
"""


def test_threads_that_choose_different_directories_get_one(tmp_path):
    environment = {name: value for name, value in os.environ.items() if name != "QUOR_HOST_DIR"}
    for number in range(5):
        directories = [tmp_path / f"{number}-{i}" for i in range(8)]
        for directory in directories:
            directory.mkdir()
            directory.chmod(0o755)
        done = subprocess.run([sys.executable, "-c", ONE_OF_MANY, *map(str, directories)], check=True,
                              capture_output=True, text=True, env=environment)
        used = [str(one) for one in directories if "config-store.cdb" in os.listdir(one)]
        assert (len(used), done.stdout.split()) == (1, used), done.stderr


def test_one_directory_may_be_said_in_several_ways(host):
    for chosen in (os.path.relpath(host), host + "/"):
        done = subprocess.run([sys.executable, "-c",
                               "import quor, sys; quor.Catalogue(); quor.Catalogue(host_dir=sys.argv[1])",
                               host],
                              check=False, capture_output=True, text=True,
                              env={**os.environ, "QUOR_HOST_DIR": chosen})
        assert done.returncode == 0, done.stderr
    done = subprocess.run([sys.executable, "-c", "import quor; quor.Catalogue(); quor.Catalogue(host_dir='/var/lib/quor')"],
                          check=False, capture_output=True, text=True,
                          env={**os.environ, "QUOR_HOST_DIR": ""})
    assert done.returncode == 0, done.stderr


def test_threads_read_while_one_writes(catalogue):
    put(catalogue)
    failures = []

    def read():
        for _ in range(200):
            if catalogue.default_blob(MAIL.url) != b"v" * 5000:
                failures.append("a blob")
            if catalogue.datastores != (MAIL,):
                failures.append("a listing")

    threads = [threading.Thread(target=read) for _ in range(4)]
    for thread in threads:
        thread.start()
    for number in range(20):
        catalogue.replace_policies([dataclasses.replace(GOLD, generation=number)])
    for thread in threads:
        thread.join()
    assert failures == []


def test_a_forked_child_goes_on(catalogue):
    put(catalogue)
    child = os.fork()
    if child == 0:
        right = catalogue.policies == (GOLD,) and catalogue.default_blob(MAIL.url) == b"v" * 5000
        os._exit(0 if right else 1)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
