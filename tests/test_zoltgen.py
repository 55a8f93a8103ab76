#!/usr/bin/env python3
"""The generator refuses bad schemas with one message naming file and line, and its output is
deterministic. Run: python3 tests/test_zoltgen.py"""

import os
import subprocess
import sys
import tempfile
import textwrap
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
GENERATOR = os.path.join(ROOT, "tools", "zoltgen.py")

GOOD = """\
family demo

record zolt_demo_conf_t
    "Enabled"   bool
    "Speed"     zolt_demo_speed_t

enum zolt_demo_speed_t
    -1  "unknown"
    0   "slow"
    5   "fast"

methods
    "demo.config.get"   string                       -> zolt_demo_conf_t
    "demo.config.get"   -                            -> map<string, zolt_demo_conf_t>
    "demo.config.set"   string, zolt_demo_conf_t     -> -
"""


def run(files, *args):
    with tempfile.TemporaryDirectory() as tmp:
        for path, text in files.items():
            full = os.path.join(tmp, "schema", path)
            os.makedirs(os.path.dirname(full), exist_ok=True)
            with open(full, "w") as f:
                f.write(textwrap.dedent(text))
        out = os.path.join(tmp, "gen")
        proc = subprocess.run([sys.executable, GENERATOR, os.path.join(tmp, "schema"),
                               "--out", out, *args], capture_output=True, text=True)
        produced = {}
        for d, _, names in os.walk(out):
            for n in names:
                with open(os.path.join(d, n)) as f:
                    produced[os.path.relpath(os.path.join(d, n), out)] = f.read()
        return proc, produced


class Refusals(unittest.TestCase):
    def refused(self, text, where, message, extra=None):
        files = {"ports/demo.schema": text}
        files.update(extra or {})
        proc, produced = run(files)
        self.assertEqual(proc.returncode, 1, proc.stderr)
        self.assertEqual(proc.stderr.count("\n"), 1, proc.stderr)
        self.assertIn(f"schema/{where}: ", proc.stderr)
        self.assertIn(message, proc.stderr)
        self.assertFalse(produced, "nothing is written when a schema is refused")

    def test_unknown_field_type(self):
        self.refused(GOOD.replace('"Enabled"   bool', '"Enabled"   boolean'),
                     "ports/demo.schema:4", "unknown type 'boolean'")

    def test_unknown_argument_type(self):
        self.refused(GOOD.replace("string, zolt_demo_conf_t     -> -", "string, zolt_nope_t -> -"),
                     "ports/demo.schema:15", "unknown type 'zolt_nope_t'")

    def test_duplicate_key(self):
        self.refused(GOOD.replace('"Speed"     zolt_demo_speed_t',
                                  '"Speed"     zolt_demo_speed_t\n    "Enabled" u8'),
                     "ports/demo.schema:6", 'key "Enabled" appears twice')

    def test_duplicate_enumeration_value_and_text(self):
        self.refused(GOOD.replace('5   "fast"', '0   "fast"'), "ports/demo.schema:10",
                     "value 0 appears twice")
        self.refused(GOOD.replace('5   "fast"', '5   "slow"'), "ports/demo.schema:10",
                     'text "slow" appears twice')

    def test_duplicate_overload(self):
        self.refused(GOOD + '    "demo.config.get"   string -> zolt_demo_conf_t\n',
                     "ports/demo.schema:16", "duplicate overload of zolt_demo_config_get")

    def test_duplicate_type_across_families(self):
        other = 'family other\n\nenum zolt_demo_speed_t\n    0 "x"\n'
        self.refused(GOOD, "ports/other.schema:3", "type 'zolt_demo_speed_t' is declared again",
                     {"ports/other.schema": other})

    def test_foreign_type_without_use(self):
        other = ('family other\n\nmethods\n'
                 '    "other.mode.get"  -  -> zolt_demo_speed_t\n')
        self.refused(GOOD, "ports/other.schema:4", "add 'use demo'", {"ports/other.schema": other})

    def test_wrong_passing(self):
        self.refused(GOOD.replace('"demo.config.get"   string   ', '"demo.config.get"   int const&'),
                     "ports/demo.schema:13", "passed by value")

    def test_method_outside_its_family(self):
        self.refused(GOOD.replace('"demo.config.set"', '"port.config.set"'),
                     "ports/demo.schema:15", "does not belong to family")

    def test_shape_needs_a_verb(self):
        self.refused(GOOD.replace('"demo.config.set"', '"demo.config.apply"'),
                     "ports/demo.schema:15", "must end in .set, .add, .del or .get")

    def test_get_all_takes_no_arguments(self):
        self.refused(GOOD.replace("-                            -> map",
                                  "string                       -> map"),
                     "ports/demo.schema:14", "takes no arguments")


class Output(unittest.TestCase):
    def test_deterministic_and_complete(self):
        proc1, first = run({"ports/demo.schema": GOOD})
        proc2, second = run({"ports/demo.schema": GOOD})
        self.assertEqual(proc1.returncode, 0, proc1.stderr)
        self.assertEqual(first, second)
        self.assertEqual(sorted(first), [
            "schema/families.h", "schema/manifest.tsv", "schema/ports/demo.cpp",
            "schema/ports/demo.h", "sim/methods.cpp", "tests/include_demo.cpp",
            "tests/sweep.cpp"])
        header = first["schema/ports/demo.h"]
        self.assertIn("zolt_demo_speed_unknown = -1,", header)
        # A record comes after the enumeration it holds, whatever the file's order.
        self.assertLess(header.index("enum zolt_demo_speed_t"), header.index("struct zolt_demo_conf_t"))
        self.assertIn("ZOLT_API int zolt_demo_config_set(void* handle, const std::string& key, "
                      "const zolt_demo_conf_t& value);", " ".join(header.split()))
        self.assertIn("demo\tzolt_demo_config_get\tdemo.config.get\tget_all", first["schema/manifest.tsv"])


if __name__ == "__main__":
    unittest.main()
