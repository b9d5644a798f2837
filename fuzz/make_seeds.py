# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Makes the inputs that the fuzz targets start from, below fuzz/seeds.

    make_seeds.py QUORCTL

The documents are cut from examples/catalogue.json; the stores are what quorctl writes of them.
"""
import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLE = os.path.join(HERE, "..", "examples", "catalogue.json")
LARGEST_BLOB = 120  # longer ones slow the target down and teach it nothing

CONFIG_FILES = {
    "nothing": "{}\n",
    "edited": ('{ "Quor": {"a": [1, -2.5e+10, 18446744073709551616, true, null, {}],\n'
               '  "\\u00e4\\ud83d\\ude00": "\\"\\\\\\/\\b\\f\\n\\r\\t",\n'
               '  "bytes": "\\u0000base64:AAH/", "nested": [[[[{"x": []}]]]]} }\n'),
}
COMMAND_LINES = {
    "list": "list\npolicies\n-o\njson\n",
    "blob": "blob\n--policy-id\ngold-01\n--datastore=ds:///volumes/a1/\n",
    "apply": "apply\n--root=relative\ncatalogue.json\n--yes\n",
    "watch": "watch\n--interval\n0.5\n--count\n3\n",
    "restore": "--root\nelsewhere\nrestore\n12\n",
    "help": "help\nblob\n",
    "version": "--version\n",
    "after_the_mark": "get\npolicy\n--\n--help\n",
    "not_understood": "++\nlist\n--output=\n--no-such\n",
}
BASE64 = {"nothing": "", "one": "AA==", "two": "/+8=", "three": "TWFu", "longer": "AAECAwQFBgcICQ==",
          "loose": "AB==", "broken_line": "TWFu\nTWFu"}


def catalogues():
    """Pairs of a name and a small document."""
    with open(EXAMPLE, encoding="utf-8") as file:
        example = json.load(file)
    yield "empty", dict(example, policies=[], datastores=[])
    for policy in example["policies"]:
        policy["blobs"] = [blob for blob in policy["blobs"]
                           if len(blob.get("text", blob.get("base64"))) <= LARGEST_BLOB]
        policy["blobs"].append({"namespace": "RILK", "text": "<rules/>"})
    yield "one", dict(example, policies=example["policies"][:1],
                      datastores=example["datastores"][:1])
    bytes_policy = {"id": {"base64": "/wA="}, "name": "n", "description": "\u00e4\u0000",
                    "generation": -2147483648,
                    "blobs": [{"namespace": "VOLB", "base64": "AAH/"}]}
    yield "several", dict(example, policies=example["policies"][:3] + [bytes_policy],
                          datastores=example["datastores"][:4])


def bodies(snapshot):
    """The bodies of all records, in the order of the file."""
    end, = struct.unpack_from("<Q", snapshot, len(snapshot) - 80)
    place = 0
    while place < end:
        key_size, data_size = struct.unpack_from("<II", snapshot, place)
        data = place + 8 + key_size
        yield snapshot[data + 5:data + data_size - 8]
        place = data + data_size


def write(target, name, content):
    path = os.path.join(HERE, "seeds", target, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content if isinstance(content, bytes) else content.encode())


def store(quorctl, host, name, text):
    """Puts the document into both of the host's stores and keeps their files."""
    environment = dict(os.environ, QUOR_HOST_DIR=host)
    document = os.path.join(os.path.dirname(host), "catalogue.json")
    with open(document, "w", encoding="utf-8") as file:
        file.write(text)
    for backend in ["store", "file"]:
        subprocess.run([quorctl, "switch", "--yes", backend], check=True, env=environment,
                       stdout=subprocess.DEVNULL)
        subprocess.run([quorctl, "apply", document, "--yes"], check=True, env=environment,
                       stdout=subprocess.DEVNULL)
    with open(os.path.join(host, "config-store.cdb"), "rb") as file:
        snapshot = file.read()
    write("snapshot", name, snapshot)
    for number, body in enumerate(bodies(snapshot)):
        write("record_codec", f"{name}_{number}", body)
    with open(os.path.join(host, "host-config.json"), "rb") as file:
        write("config_file", name, file.read())


def main():
    quorctl = os.path.abspath(sys.argv[1])
    shutil.rmtree(os.path.join(HERE, "seeds"), ignore_errors=True)
    for name, catalogue in catalogues():
        text = json.dumps(catalogue, indent=1) + "\n"
        write("catalogue_document", name, text)
        if not catalogue["policies"]:
            continue  # quorctl writes no store of it
        with tempfile.TemporaryDirectory(prefix="quor-seeds-") as directory:
            store(quorctl, os.path.join(directory, "host"), name, text)
    for name, text in CONFIG_FILES.items():
        write("config_file", name, text)
    for name, text in COMMAND_LINES.items():
        write("command_line", name, text)
    for name, text in BASE64.items():
        write("base64", name, text + "\0")  # the NUL ends the text


if __name__ == "__main__":
    main()
