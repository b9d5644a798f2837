# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""MD5 as text, against Python's own for every short length and around the borders of blocks.

MD5_HEX_PROGRAM names a program that answers each line of hexadecimal digits by the digest of the
bytes; it comes from the build.
"""
import hashlib
import os
import random
import subprocess
import unittest

PROGRAM = os.environ["MD5_HEX_PROGRAM"]
SEED = int(os.environ.get("QUOR_TEST_SEED", "20260101"))
BLOCK = 64  # bytes that MD5 takes at a time; the length stands in the last eight of the last block


def expected(text):
    return hashlib.md5(text).hexdigest() if text else ""


def answers(texts):
    lines = "".join(text.hex() + "\n" for text in texts)
    completed = subprocess.run([PROGRAM], input=lines, capture_output=True, text=True, timeout=120,
                               check=True)
    return completed.stdout.split("\n")[:-1]


class Md5Hex(unittest.TestCase):
    def check(self, texts):
        found = answers(texts)
        self.assertEqual(len(found), len(texts))
        for text, answer in zip(texts, found):
            self.assertEqual(answer, expected(text), f"{len(text)} bytes, seed {SEED}")

    def texts_of(self, lengths):
        source = random.Random(SEED)
        for length in lengths:
            yield source.randbytes(length)
            yield bytes(length)
            yield b"\xff" * length
            yield b"a" * length

    def test_EveryLengthUpTo300(self):
        self.check(list(self.texts_of(range(301))))

    def test_LengthsAroundTheBordersOfBlocks(self):
        borders = [count * BLOCK for count in [*range(1, 40), 64, 256, 1024, 16384]]
        self.check(list(self.texts_of(
            [border + step for border in borders for step in (-9, -8, -7, -1, 0, 1)])))

    def test_EveryOneOfAllBytesCounts(self):
        base = bytes(range(256))
        texts = [base] + [base[:i] + bytes([base[i] ^ 1]) + base[i + 1:] for i in range(256)]
        self.check(texts)
        self.assertEqual(len(set(answers(texts))), len(texts))


if __name__ == "__main__":
    unittest.main()
