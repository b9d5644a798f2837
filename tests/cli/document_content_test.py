# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What a catalogue document may hold, and how each error in it is named."""
import json
import os
import unittest

from quorctl_case import (BAD_INPUT, QuorctlCase, base64_of, blob, datastore, document, policy)

INT64_RANGE = "-9223372036854775808 to 9223372036854775807"


class ContentCase(QuorctlCase):
    def refuse_content(self, content, message):
        """Gives the content as a file, and expects the message behind the file's name."""
        self.refuse_text(json.dumps(content), message)

    def refuse_text(self, text, message):
        path = self.write("catalogue.json", text)
        result = self.refuse(BAD_INPUT, "apply", path)
        self.assertEqual(result.errors, f"quorctl: {path}: line 1: {message}\n")
        self.assertFalse(os.path.exists(self.host))


class Shape(ContentCase):
    def test_DocumentIsAnObject(self):
        for content, found in (([], "an array"), (7, "a number"), ("x", "a string"),
                               (None, "null"), (True, "a boolean")):
            self.refuse_content(content, f"expected an object, found {found}")

    def test_FormatIsRequired(self):
        self.refuse_content({"policies": [], "datastores": []},
                            'the key "format" is missing; it is to be "quor-catalogue/1"')

    def test_OtherFormatIsRefused(self):
        self.refuse_content({**document(), "format": "quor-catalogue/2"},
                            'format: unknown format "quor-catalogue/2"; this version reads '
                            '"quor-catalogue/1"')

    def test_FormatIsAString(self):
        self.refuse_content({**document(), "format": 1},
                            "format: expected a string, found a number")

    def test_BothListsAreRequired(self):
        for key in ("policies", "datastores"):
            content = document()
            del content[key]
            self.refuse_content(content, f'the key "{key}" is missing')

    def test_ListsAreArrays(self):
        self.refuse_content({**document(), "policies": {}},
                            "policies: expected an array, found an object")
        self.refuse_content({**document(), "datastores": None},
                            "datastores: expected an array, found null")

    def test_ElementsAreObjects(self):
        self.refuse_content(document(["x"]), "policies[0]: expected an object, found a string")
        self.refuse_content(document([policy(), []]),
                            "policies[1]: expected an object, found an array")
        self.refuse_content(document([], [datastore(), 1.5]),
                            "datastores[1]: expected an object, found a number")
        self.refuse_content(document([policy(blobs=[blob(), False])]),
                            "policies[0].blobs[1]: expected an object, found a boolean")

    def test_BlobsAreAnArray(self):
        self.refuse_content(document([policy(blobs={})]),
                            "policies[0].blobs: expected an array, found an object")

    def test_EveryKeyIsRequired(self):
        for key in policy():
            content = document([policy(), policy("B")])
            del content["policies"][1][key]
            self.refuse_content(content, f'policies[1]: the key "{key}" is missing')
        for key in datastore():
            content = document([], [datastore(), datastore("b")])
            del content["datastores"][1][key]
            self.refuse_content(content, f'datastores[1]: the key "{key}" is missing')
        self.refuse_content(document([policy(blobs=[{"text": "x"}])]),
                            'policies[0].blobs[0]: the key "namespace" is missing')

    def test_UnknownKeysAreRefused(self):
        self.refuse_content({**document(), "comment": ""}, 'unknown key "comment"')
        self.refuse_content(document([policy(), policy("B", colour="red")]),
                            'policies[1]: unknown key "colour"')
        self.refuse_content(document([policy(blobs=[blob(), blob("B", text="", size=1)])]),
                            'policies[0].blobs[1]: unknown key "size"')
        self.refuse_content(document([], [datastore(Url="x")]),
                            'datastores[0]: unknown key "Url"; did you mean "url"?')

    def test_HostileKeyIsShownEscapedAndCut(self):
        self.refuse_content({**document(), "\x1b[31m": ""}, 'unknown key "\\x1b[31m"')
        self.refuse_content({**document(), "k" * 1000: ""}, f'unknown key "{"k" * 64}"...')


class AllErrors(ContentCase):
    """One run tells all that is wrong, each with its line."""

    def errors_of(self, content):
        self.path = self.write("catalogue.json", json.dumps(content, indent=1))
        with open(self.path, encoding="utf-8") as file:
            self.lines = file.read().splitlines()
        result = self.run_quorctl("apply", self.path)
        self.assertEqual((result.status, result.raw), (BAD_INPUT, b""))
        return [line.removeprefix(f"quorctl: {self.path}: ")
                for line in result.errors.splitlines()]

    def line_of(self, text):
        [number] = [number for number, line in enumerate(self.lines, 1) if text in line]
        return f"line {number}: "

    def test_EachIsToldWithItsLine(self):
        wrong = policy("first", generation="seven", description=7, colour="red",
                       blobs=[blob("RILK"), blob("VOLB", base64="!"), 5])
        errors = self.errors_of(document([wrong, policy("second")], [datastore(namespace=None)]))
        at = self.line_of
        self.assertEqual([errors[1], errors[2], errors[5]], [
            at('"description": 7') + 'policies[0].description: expected a string or {"base64": '
            '"..."}, found a number',
            at('"generation": "sev') + f"policies[0].generation: expected an integer from "
            f"{INT64_RANGE}, found a string",
            at('"namespace": null') + 'datastores[0].namespace: expected a string or {"base64": '
            '"..."}, found null'])
        self.assertEqual(errors[0], 'line 4: policies[0]: unknown key "colour"')
        self.assertTrue(errors[3].startswith(at('"!"') + "policies[0].blobs[1].base64: not valid"))
        self.assertEqual(errors[4], at("    5") + "policies[0].blobs[2]: expected an object, found "
                                                  "a number")
        self.assertEqual(len(errors), 6)

    def test_AllKeysOfARecordAreToldAndItsOtherValuesLookedAt(self):
        errors = self.errors_of({"format": "quor-catalogue/1", "policies": [{"id": 1, "nmae": ""}]})
        self.assertEqual([error.split(": ", 1)[1] for error in errors], [
            'the key "datastores" is missing', 'policies[0]: unknown key "nmae"; did you mean "name"?',
            *(f'policies[0]: the key "{key}" is missing'
              for key in ("name", "description", "generation", "blobs")),
            'policies[0].id: expected a string or {"base64": "..."}, found a number'])

    def test_RepeatedKeysAreAllTold(self):
        errors = self.errors_of(document([policy("A"), policy("A"), policy("A", blobs=[blob("")])]))
        self.assertEqual(len(errors), 3)
        for error in errors:
            self.assertRegex(error, r"\Aline \d\d: policies\[")

    def test_ManyAreCounted(self):
        errors = self.errors_of(document([policy(str(i), id=i) for i in range(1000)]))
        self.assertEqual(len(errors), 21)
        self.assertEqual(errors[20], "and 980 more errors")

    def test_LineFeedInTheFilesNameMakesNoSecondLine(self):
        path = self.write("odd\nname.json", "[]")
        self.refuse(BAD_INPUT, "apply", path, message="odd\\x0aname.json: line 1: expected an object")


class Strings(ContentCase):
    PLACES = [("policies", key) for key in ("id", "name", "description")]
    PLACES += [("datastores", key) for key in ("url", "namespace", "defaultPolicy")]

    def with_value(self, kind, key, value):
        if kind == "policies":
            return document([policy("first"), {**policy("second"), key: value}])
        return document([], [datastore("first"), {**datastore("second"), key: value}])

    def test_OtherTypesAreRefused(self):
        for kind, key in self.PLACES:
            for value, found in ((1, "a number"), (None, "null"), ([], "an array"),
                                 (False, "a boolean")):
                self.refuse_content(
                    self.with_value(kind, key, value),
                    f'{kind}[1].{key}: expected a string or {{"base64": "..."}}, found {found}')

    def test_BytesAreTakenFromBase64(self):
        for kind, key in self.PLACES:
            given = self.with_value(kind, key, {"base64": base64_of(b"\xff\x00\xfe")})
            self.apply(given)
            self.assertEqual(self.listed(kind), given[kind])

    def test_Base64OfTextIsListedAsText(self):
        self.apply(document([policy({"base64": base64_of("Grün".encode())}, id="g")]))
        self.assertEqual(self.listed("policies")[0]["name"], "Grün")

    def test_WrongBase64IsRefused(self):
        for kind, key in self.PLACES:
            self.refuse_content(
                self.with_value(kind, key, {"base64": "AAA"}),
                f"{kind}[1].{key}.base64: not valid Base64 (RFC 4648: the standard alphabet, "
                f'padded with "=", no line breaks)')

    def test_Base64ObjectHasNoOtherKey(self):
        self.refuse_content(self.with_value("policies", "id", {"base64": "AAAA", "text": "x"}),
                            'policies[1].id: unknown key "text"')
        self.refuse_content(self.with_value("policies", "id", {}),
                            'policies[1].id: the key "base64" is missing')
        self.refuse_content(self.with_value("policies", "id", {"base64": 1}),
                            "policies[1].id.base64: expected a string, found a number")

    def test_AnyTextComesBackAsItWas(self):
        for text in ("", " ", "\x00", "a\x00b", "\x7f\u0080\u009b", "\u202e", "\ufeff",
                     "\U0001f4be", '"\\/', "{}", "%s", "a" * 70000):
            given = document([policy(text, id=text, description=text)],
                             [datastore(text, namespace=text, defaultPolicy=text)])
            self.apply(given)
            self.assertEqual(self.listed_document(), given)


class Blobs(ContentCase):
    def refuse_blob(self, entry, message):
        self.refuse_content(document([policy("A"), policy("B", blobs=[blob(), entry])]), message)

    def test_OneFormOfContentIsRequired(self):
        self.refuse_blob({"namespace": "B"}, 'policies[1].blobs[1]: has neither "base64" nor '
                                             '"text"; one of them is to be there')
        self.refuse_blob({"namespace": "B", "text": "", "base64": ""},
                         'policies[1].blobs[1]: has both "base64" and "text"; one of them is to be '
                         'there')

    def test_ContentIsAString(self):
        self.refuse_blob({"namespace": "B", "text": {"base64": ""}},
                         "policies[1].blobs[1].text: expected a string, found an object")
        self.refuse_blob({"namespace": "B", "base64": []},
                         "policies[1].blobs[1].base64: expected a string, found an array")

    def test_WrongBase64IsRefused(self):
        for text in ("A", "AA", "AAA", "AA=", "AAAA=", "====", "AA==AA==", "A AA", "AAAA\n", "-_-_",
                     "AB==", "AAB=", "AA\x00A", "AAAA\x00", "\u00e9AAA"):
            self.refuse_blob(blob("B", base64=text),
                             "policies[1].blobs[1].base64: not valid Base64 (RFC 4648: the "
                             'standard alphabet, padded with "=", no line breaks)')

    def test_EmptyBlobIsKept(self):
        for content in ({"base64": ""}, {"text": ""}):
            self.apply(document([policy(blobs=[blob("B", **content)])]))
            self.assertEqual(self.listed("policies")[0]["blobs"], [blob("B", text="")])

    def test_PolicyWithoutBlobsIsKept(self):
        given = document([policy(blobs=[])])
        self.apply(given)
        self.assertEqual(self.listed_document(), given)

    def test_BlobWithoutNamespaceIsRefused(self):
        for namespace in ("", {"base64": ""}):
            self.refuse_blob(blob(namespace),
                             "policies[1].blobs[1].namespace: is empty; the configuration store "
                             "keeps no blob without a namespace")


class Generation(ContentCase):
    def test_WholeRangeIsKept(self):
        for number in (0, -1, 1, 2**31, 2**53 + 1, 2**63 - 1, -2**63):
            self.apply(document([policy(generation=number)]))
            self.assertEqual(self.listed("policies")[0]["generation"], number)

    def test_OtherNumbersAreRefused(self):
        for literal in ("1.0", "1e3", "-0.5", "9223372036854775808", "-9223372036854775809",
                        "18446744073709551615", "18446744073709551616", "1" + "0" * 300):
            text = json.dumps(document([policy(generation=77777)])).replace("77777", literal)
            self.refuse_text(text, "policies[0].generation: expected an integer from "
                                   f"{INT64_RANGE}, found another number")

    def test_OtherTypesAreRefused(self):
        for value, found in ((True, "a boolean"), ("1", "a string"), (None, "null"),
                             ({"base64": "MQ=="}, "an object"), ([1], "an array")):
            self.refuse_content(document([policy(generation=value)]),
                                f"policies[0].generation: expected an integer from {INT64_RANGE}, "
                                f"found {found}")


class Duplicates(ContentCase):
    def refuse_duplicate(self, content, shown, first, second):
        self.refuse_content(content, f'{second}: "{shown}" stands at {first} too; only one of the '
                                     f'two would be kept')

    def test_TheConfigurationFileWouldKeepBothButFindOne(self):
        self.ask("switch", "--yes", "file")
        self.refuse(BAD_INPUT, "apply", "-",
                    given=json.dumps(document([policy("A"), policy("A", id="other")])).encode(),
                    message='policies[1].name: "A" stands at policies[0].name too; only the first '
                            "of the two would be found by it")

    def test_TwoPoliciesOfOneNameAreRefused(self):
        self.refuse_duplicate(document([policy("A"), policy("B"), policy("A", id="other")]),
                              "A", "policies[0].name", "policies[2].name")

    def test_TwoDatastoresOfOneUrlAreRefused(self):
        self.refuse_duplicate(document([], [datastore("u"), datastore("u", namespace="B")]),
                              "u", "datastores[0].url", "datastores[1].url")

    def test_TwoBlobsOfOneNamespaceInAPolicyAreRefused(self):
        self.refuse_duplicate(
            document([policy("A"), policy("B", blobs=[blob("x"), blob("y"), blob("x")])]),
            "x", "policies[1].blobs[0].namespace", "policies[1].blobs[2].namespace")

    def test_BytesDecideNotTheSpelling(self):
        self.refuse_duplicate(
            document([policy("A"), policy({"base64": base64_of(b"A")}, id="b")]),
            "A", "policies[0].name", "policies[1].name")
        self.apply(document([policy("A"), policy("a"), policy("A "), policy("\u00c4"),
                             policy("A\u0308"), policy("A\x00")]))
        self.assertEqual(len(self.listed("policies")), 6)

    def test_HostileNameIsShownEscaped(self):
        name = {"base64": base64_of(b"\x1b]0;x\x07\xff\n")}
        self.refuse_duplicate(document([policy(name, id="1"), policy(name, id="2")]),
                              "\\x1b]0;x\\x07\\xff\\x0a", "policies[0].name", "policies[1].name")


if __name__ == "__main__":
    unittest.main()
