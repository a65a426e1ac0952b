#!/usr/bin/env python3
"""The catalogue generator refuses every bad catalogue, naming file and key."""
import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
SCRIPT = os.path.join(ROOT, "scripts", "gen_catalogue.py")
CATALOGUE = os.path.join(ROOT, "data", "catalogue.toml")

GOOD = '''
[[serial]]
name = "4504"
ao = 4
range = [-10.0, 10.0]
unit = "V"
variants = ["P"]
ao_power_on_read = "$AA7"
ao_power_on_variant = "P"
'''


def run(text):
    with tempfile.NamedTemporaryFile("w", suffix=".toml", delete=False) as f:
        f.write(text)
        path = f.name
    try:
        out = path + ".cpp"
        r = subprocess.run([sys.executable, SCRIPT, path, out], capture_output=True, text=True)
        generated = open(out).read() if os.path.exists(out) else None
        if os.path.exists(out):
            os.unlink(out)
        return r.returncode, r.stderr, path, generated
    finally:
        os.unlink(path)


class Generator(unittest.TestCase):
    def test_the_product_catalogue_is_accepted(self):
        r = subprocess.run([sys.executable, SCRIPT, "--check", CATALOGUE], capture_output=True, text=True)
        self.assertEqual(r.returncode, 0, r.stderr)

    def test_a_good_entry_generates_its_row(self):
        code, err, _, generated = run(GOOD)
        self.assertEqual(code, 0, err)
        self.assertIn('{"4504", 4504,', generated)
        self.assertIn("AoPowerOnRead::Dollar", generated)
        self.assertIn("kSerialKindCount = 1;", generated)

    def assertRefused(self, text, *words):
        code, err, path, generated = run(text)
        self.assertEqual(code, 1, f"accepted:\n{text}")
        self.assertIsNone(generated, "a refused catalogue must not leave output")
        self.assertIn(path, err)
        for w in words:
            self.assertIn(w, err)

    def test_bad_keys_types_and_values(self):
        cases = [
            (GOOD + 'colour = "red"\n', "unknown key 'colour'"),
            (GOOD.replace("ao = 4", 'ao = "4"'), "ao", "expected an integer"),
            (GOOD.replace("ao = 4", "ao = true"), "ao", "expected an integer"),
            (GOOD.replace("ao = 4", "ao = 33"), "ao", "out of range"),
            (GOOD.replace("ao = 4", "ao = -1"), "ao", "out of range"),
            (GOOD.replace('name = "4504"', 'name = "P4504"'), "name"),
            (GOOD.replace('name = "4504"', ""), "name is missing"),
            (GOOD.replace("[-10.0, 10.0]", "[10.0, -10.0]"), "range", "not below"),
            (GOOD.replace("[-10.0, 10.0]", "[-10.0]"), "range"),
            (GOOD.replace('"$AA7"', '"$AA9"'), "ao_power_on_read", "not one of"),
            (GOOD + "[extra]\nx = 1\n", "unknown table 'extra'"),
            ("[[serial]\n", "catalogue"),
        ]
        for text, *words in cases:
            with self.subTest(words=words):
                self.assertRefused(text, *words)

    def test_inconsistent_entries(self):
        cases = [
            (GOOD.replace('variants = ["P"]', 'variants = ["M"]'), "ao_power_on_variant", "one of the variants"),
            (GOOD + 'ao_power_on_set = "$AAS"\n', "ao_power_on_set", "single-output"),
            (GOOD.replace('unit = "V"\n', ""), "unit", "required"),
            ('[[serial]]\nname = "4108"\ndi = 8\ncounters = 9\n', "counters"),
            ('[[serial]]\nname = "4108"\ndi = 8\nrange = [0.0, 1.0]\n', "range", "not allowed"),
            ('[[serial]]\nname = "4108"\ndo = 8\nlatches = true\n', "latches"),
            ('[[serial]]\nname = "4100"\n', "at least one channel"),
        ]
        for text, *words in cases:
            with self.subTest(words=words):
                self.assertRefused(text, *words)

    def test_duplicates(self):
        self.assertRefused(GOOD + GOOD, "'4504'", "duplicate")
        self.assertRefused(GOOD + GOOD.replace('"4504"', '"4504X"'), "name number 4504")


PARALLEL = GOOD + '''
[series]
base = 8000

[[parallel]]
id = 0x13
series = 16
di = 16

[[parallel.rule]]
register = 0x10
mask = 0x07
equals = 1
suffix = "H"

[[expansion]]
id = 2
number = 102
letter = "R"
'''


class Parallel(unittest.TestCase):
    assertRefused = Generator.assertRefused

    def test_rows_rules_and_boards_are_generated(self):
        code, err, _, generated = run(PARALLEL)
        self.assertEqual(code, 0, err)
        self.assertIn("kSeriesBase = 8000;", generated)
        self.assertIn("{0x10, 0x07, 0x01, -1, -1, \"H\", nullptr},", generated)
        self.assertIn("{0x13, 16, 0x80, \"\", \"\", \"\", 16, 0, 0, 0, 0, false, false, kRules13, 1},", generated)
        self.assertIn("{2, 102, 'R', 0x80,", generated)

    def test_bad_rows(self):
        cases = [
            (PARALLEL.replace("id = 0x13", "id = 198"), "[[parallel]] id 0xC6", "id", "out of range"),
            (PARALLEL.replace("series = 16", "series = 238"), "series", "out of range"),
            (PARALLEL.replace("di = 16", "di = 12"), "di", "channel count"),
            (PARALLEL.replace("di = 16", "di = 16\nclass = 0x82"), "class", "not a type class"),
            (PARALLEL.replace("di = 16", "di = 16\nsuffix = \"Q\""), "suffix", "not one of"),
            (PARALLEL.replace("di = 16", "di = 16\ncolour = 1"), "id 0x13", "unknown key 'colour'"),
            (PARALLEL.replace("register = 0x10", "register = 0x12"), "rule #1", "register"),
            (PARALLEL.replace("equals = 1", "equals = 9"), "rule #1", "equals", "outside mask"),
            (PARALLEL.replace('suffix = "H"', ""), "rule #1", "changes nothing"),
            (PARALLEL.replace("mask = 0x07\n", ""), "rule #1", "mask is missing"),
            (PARALLEL.replace("register = 0x10", "register = 0x06").replace("di = 16", "di = 32"),
             "0x06 carries inputs"),
            (PARALLEL.replace("di = 16", "do = 16\nreadback = true\nwatchdog = true"), "0x10 carries the outputs"),
            (PARALLEL + "\n[[parallel]]\nid = 0x2F\nseries = 32\ndo = 32\nreadback = true\n", "id 0x2F",
             "readback", "watchdog"),
            (PARALLEL.replace("[series]\nbase = 8000\n", ""), "[series]", "missing"),
            (PARALLEL.replace("number = 102", "number = 1000"), "[[expansion]] id 0x02", "number"),
            (PARALLEL.replace('letter = "R"', 'letter = "RR"'), "letter"),
            (PARALLEL.replace("id = 2", "id = 19"), "id", "out of range"),
        ]
        for text, *words in cases:
            with self.subTest(words=words):
                self.assertRefused(text, *words)

    def test_duplicates(self):
        row = "\n[[parallel]]\nid = 0x13\nseries = 17\n"
        self.assertRefused(PARALLEL + row, "id", "duplicate")
        self.assertRefused(PARALLEL + "\n[[parallel]]\nid = 0x14\nseries = 16\n", "name '8016'", "id 0x13")
        self.assertRefused(PARALLEL + "\n[[expansion]]\nid = 2\nnumber = 3\n", "id", "duplicate")


if __name__ == "__main__":
    unittest.main()
