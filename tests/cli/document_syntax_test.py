# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Documents that are no JSON, or JSON that nobody should have to read."""
import json
import os
import unittest

from quorctl_case import BAD_INPUT, QuorctlCase, blob, datastore, document, policy


class Syntax(QuorctlCase):
    def refuse_text(self, text, message):
        """Gives the text on standard input, and expects exactly this message."""
        raw = text if isinstance(text, bytes) else text.encode()
        result = self.refuse(BAD_INPUT, "apply", "-", given=raw)
        self.assertEqual(result.errors, f"quorctl: standard input: {message}\n")
        self.assertFalse(os.path.exists(self.host))

    def refuse_text_at(self, text, place):
        """Gives the text on standard input, and expects an error there (a regular expression)."""
        raw = text if isinstance(text, bytes) else text.encode()
        result = self.refuse(BAD_INPUT, "apply", "-", given=raw)
        self.assertRegex(result.errors,
                         r"\Aquorctl: standard input: " + place + r": [^ ].{8,250}\n\Z")
        return result.errors

    def test_EmptyInputIsRefused(self):
        self.assertIn("unexpected end of input", self.refuse_text_at("", "line 1, column 1"))

    def test_FileThatIsNoJsonIsNamedWithLineAndColumn(self):
        path = self.write("notes.json", "first line\n")
        self.refuse(BAD_INPUT, "apply", path, message=f"quorctl: {path}: line 1, column 2: ")

    def test_TrailingCommaIsRefused(self):
        errors = self.refuse_text_at('{\n  "format": "quor-catalogue/1",\n}', "line 3, column 1")
        self.assertIn("unexpected '}'", errors)

    def test_ColumnsAreCountedInCharacters(self):
        self.refuse_text_at('{"é€💾": x', "line 1, column 9")

    def test_MissingEndIsRefused(self):
        text = json.dumps(document([policy()]))
        for end in range(1, len(text)):
            self.refuse(BAD_INPUT, "apply", "-", given=text[:end].encode())

    def test_TextAfterTheDocumentIsRefused(self):
        text = json.dumps(document())
        self.refuse_text_at(text + "\n{}", "line 2, column 1")

    def test_ZeroBytesAreRefused(self):
        text = json.dumps(document())
        message = "a zero byte; a catalogue is JSON text in UTF-8"
        self.refuse_text(text + "\x00", f"line 1, column {len(text) + 1}: {message}")
        self.refuse_text(text + "\n\x00 and more", f"line 2, column 1: {message}")
        self.refuse_text("\x00" + text, f"line 1, column 1: {message}")

    def test_CommentsAndBareWordsAreRefused(self):
        for text in ("// x\n{}", "/* x */ {}", "{format: 1}", "{'format': 1}", "[NaN]",
                     "[Infinity]", "[01]", "[+1]", "[.5]", "[1.]", "[0x10]",
                     "[tru]", '["\t"]', '["\\x41"]',
                     '["\\ud800"]', '["\\u12"]'):
            self.refuse_text_at(text, r"line 1, column \d{1,2}")

    def test_StringsThatAreNotUtf8AreRefused(self):
        for raw in (b"\xff", b"\xc0\x80", b"\xed\xa0\x80", b"\xf4\x90\x80\x80", b"\xe2\x82"):
            errors = self.refuse_text_at(b'["' + raw + b'"]', r"line 1, column [345]")
            self.assertIn("ill-formed UTF-8", errors)

    def test_NumberBeyondEveryRangeIsRefused(self):
        errors = self.refuse_text_at("[1e400]", "line 1, column 6")
        self.assertIn("number overflow", errors)

    def test_LongNumberMakesNoLongMessage(self):
        errors = self.refuse_text_at("[" + "9" * 100_000 + "]", r"line 1, column \d+")
        self.assertIn("number overflow", errors)
        self.assertLess(len(errors), 500)

    def test_ByteOrderMarkIsRefused(self):
        text = "\ufeff" + json.dumps(document())
        self.refuse_text(text, "starts with a byte-order mark; save it as UTF-8 without one")

    def test_OtherEncodingsOfUnicodeAreRefused(self):
        for encoding in ("utf-16", "utf-16-le", "utf-32"):
            self.refuse(BAD_INPUT, "apply", "-", given=json.dumps(document()).encode(encoding))

    def test_KeyGivenTwiceIsRefused(self):
        self.refuse_text('{"format": 1, "format": 1}', 'line 1: the key "format" is given twice')
        text = json.dumps(document([policy("A"), policy("B")])).replace(
            '"name": "B"', '"name": "B", "name": "B"')
        self.refuse_text(text, 'line 1: policies[1]: the key "name" is given twice')
        text = json.dumps(document([policy(blobs=[blob("A"), blob("B")])])).replace(
            '"B"', '"B", "namespace": "C"')
        self.refuse_text(text, 'line 1: policies[0].blobs[1]: the key "namespace" is given twice')

    def test_KeySpelledWithEscapesIsTheSameKey(self):
        self.refuse_text('{"format": 1,\n"f\\u006frmat": 1}', 'line 2: the key "format" is given twice')

    def test_DeepNestingIsRefused(self):
        for text in ("[" * 1000000, "[" * 1000000 + "]" * 1000000, '{"a":' * 1000000,
                     '[{"a":' * 500000):
            result = self.refuse(BAD_INPUT, "apply", "-", given=text.encode())
            self.assertIn(": nested deeper than 16 levels\n", result.errors)
            self.assertLess(len(result.errors), 400)

    def test_PathOfHostileKeysIsShownEscapedAndCut(self):
        key = json.dumps("\x1b[2J" + "k" * 1000)
        result = self.refuse(BAD_INPUT, "apply", "-", given=f"{{{key}:".encode() * 30)
        self.assertIn("\\x1b[2Jkkk", result.errors)
        self.assertLess(len(result.errors), 4000)

    def test_HugeStringIsReadAndRefusedForItsPlace(self):
        text = '{"format": "' + "x" * 20_000_000 + '"}'
        result = self.refuse(BAD_INPUT, "apply", "-", given=text.encode())
        self.assertIn('format: unknown format "xxx', result.errors)
        self.assertLess(len(result.errors), 400)

    def test_HugeStringWithoutEndIsRefused(self):
        result = self.refuse(BAD_INPUT, "apply", "-", given=b'["' + b"x" * 20_000_000)
        self.assertLess(len(result.errors), 400)

    def test_HugeNumberOfValuesIsRefused(self):
        result = self.refuse(BAD_INPUT, "apply", "-", given=b"[" + b"0," * 10_000_001)
        self.assertIn("more than 10000000 values", result.errors)

    def test_InputWithoutEndIsRefused(self):
        result = self.refuse(BAD_INPUT, "apply", "/dev/zero")
        self.assertIn("/dev/zero: larger than 256 MiB, the limit for a catalogue", result.errors)

    def test_EveryByteChangedIsAppliedOrRefusedButNeverCrashes(self):
        text = json.dumps(document([policy()], [datastore()])).encode()
        for position in range(0, len(text), 3):
            changed = bytearray(text)
            changed[position] ^= 0x95
            status = self.run_quorctl("apply", "-", given=bytes(changed)).status
            self.assertIn(status, (0, BAD_INPUT), changed)


if __name__ == "__main__":
    unittest.main()
