#!/usr/bin/env python3
"""The generator refuses bad schemas with one message naming file and line, and its output is
deterministic. Run: python3 tests/test_zoltgen.py"""

import os
import re
import subprocess
import sys
import tempfile
import textwrap
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
# Run as a module from tools/: run as a script, the package's own folder would come first on
# sys.path and its types.py would hide the standard library's.
TOOLS = os.path.join(ROOT, "tools")
GENERATOR = [sys.executable, "-m", "zoltgen"]

GOOD = """\
family demo

record zolt_demo_conf_t
    "Enabled"   bool
    "Speed"     zolt_demo_speed_t

enum zolt_demo_speed_t
    -1  "unknown"
    0   "slow"
    5   "fast"

tables
    "demo.config"       string                       -> zolt_demo_conf_t    per-port

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
        proc = subprocess.run([*GENERATOR, os.path.join(tmp, "schema"),
                               "--out", out, *args], capture_output=True, text=True, cwd=TOOLS)
        produced = {}
        for d, _, names in os.walk(out):
            for n in names:
                with open(os.path.join(d, n)) as f:
                    produced[os.path.relpath(os.path.join(d, n), out)] = f.read()
        return proc, produced


TABLED = """\
family demo

record zolt_demo_conf_t
    "Enabled"   bool

record zolt_demo_row_t
    "Name"      string

tables
    "demo.config"       string                       -> zolt_demo_conf_t    per-port
    "demo.global"       -                            -> zolt_demo_conf_t
    "demo.pair"         unsigned short, zolt_mac_t   -> zolt_demo_row_t | zolt_demo_conf_t
    "demo.members"      string, int                  -> tuple<>

methods
    "demo.config.get"   string                       -> zolt_demo_conf_t
    "demo.config.get"   -                            -> map<string, zolt_demo_conf_t>
    "demo.config.set"   string, zolt_demo_conf_t     -> -
    "demo.global.get"   -                            -> zolt_demo_conf_t
    "demo.pair.get"     -                            -> map<tuple<unsigned short, zolt_mac_t>, zolt_demo_row_t>
    "demo.pair.set"     unsigned short const&, zolt_mac_t, zolt_demo_conf_t -> -
    "demo.pair.del"     unsigned short const&, zolt_mac_t -> -
    "demo.members.add"  string, int                  -> -
    "demo.members.get"  string, int                  -> -
"""


OPAQUE = GOOD.replace("methods\n", "opaque zolt_demo_blob_t\n\nmethods\n")

# The bad schemas: a line naming the schema a case starts from, where it is refused and words of
# the message, then its indented edits: `OLD  =>  NEW` puts NEW for OLD, `add:` adds a method
# line, `drop:` takes one away, `file NAME:` adds a second schema file (\n is a new line).
REFUSALS = r"""
GOOD ports/demo.schema:4: unknown type 'boolean'
    "Enabled"   bool  =>  "Enabled"   boolean
GOOD ports/demo.schema:6: key "Enabled" appears twice
    "Speed"     zolt_demo_speed_t  =>  "Speed"     zolt_demo_speed_t\n    "Enabled" u8
GOOD ports/demo.schema:10: value 0 appears twice
    5   "fast"  =>  0   "fast"
GOOD ports/demo.schema:10: text "slow" appears twice
    5   "fast"  =>  5   "slow"
GOOD ports/demo.schema:19: duplicate overload of zolt_demo_config_get
    add: "demo.config.get"   string -> zolt_demo_conf_t
GOOD ports/other.schema:3: type 'zolt_demo_speed_t' is declared again
    file ports/other.schema: family other\n\nenum zolt_demo_speed_t\n    0 "x"\n
GOOD ports/other.schema:4: add 'use demo'
    file ports/other.schema: family other\n\nmethods\n    "other.mode.get"  -  -> zolt_demo_speed_t\n
GOOD ports/demo.schema:16: passed by value
    "demo.config.get"   string  =>  "demo.config.get"   int const&
GOOD ports/demo.schema:18: does not belong to family
    "demo.config.set"  =>  "port.config.set"
GOOD ports/demo.schema:18: must end in .set, .add, .del or .get
    "demo.config.set"  =>  "demo.config.apply"
OPAQUE ports/demo.schema:4: opaque and cannot be a record field
    "Enabled"   bool  =>  "Enabled"   zolt_demo_blob_t
OPAQUE ports/demo.schema:20: cannot be an argument
    string, zolt_demo_conf_t     -> -  =>  string, zolt_demo_blob_t     -> -
GOOD ports/demo.schema:17: takes no arguments
    -                            -> map  =>  string                       -> map
TABLED ports/demo.schema:25: table "demo.other", which the tables block does not declare
    add: "demo.other.get"   -   -> zolt_demo_conf_t
TABLED ports/demo.schema:11: table "demo.global" is used by no method
    drop: "demo.global.get"   -                            -> zolt_demo_conf_t
TABLED ports/demo.schema:21: key members (unsigned short, zolt_mac_t) then one value
    "demo.pair.set"     unsigned short const&, zolt_mac_t,  =>  "demo.pair.set"     zolt_mac_t,
TABLED ports/demo.schema:18: one of its values (zolt_demo_conf_t)
    string, zolt_demo_conf_t     -> -  =>  string, zolt_demo_row_t -> -
TABLED ports/demo.schema:20: the map's key must be its key members
    map<tuple<unsigned short, zolt_mac_t>  =>  map<tuple<int, zolt_mac_t>
TABLED ports/demo.schema:16: the arguments must be its key members (std::string)
    "demo.config.get"   string  =>  "demo.config.get"   int
TABLED ports/demo.schema:19: reads a singleton
    "demo.global"       -  =>  "demo.global"       string
TABLED ports/demo.schema:23: key-only table is written with its key members
    "demo.members.add"  string, int  =>  "demo.members.add"  string, int, bool
TABLED ports/demo.schema:11: 'per-port' needs a table keyed by exactly one string
    -> zolt_demo_conf_t\n    "demo.pair"  =>  -> zolt_demo_conf_t  per-port\n    "demo.pair"
TABLED ports/demo.schema:25: marked per-port
    add: "demo.config.add"   string, zolt_demo_conf_t  -> -
TABLED ports/demo.schema:10: unknown marker 'per-vlan'
    zolt_demo_conf_t    per-port  =>  zolt_demo_conf_t    per-vlan
TABLED ports/demo.schema:11: table "demo.config" is declared again (first at line 10)
    "demo.global"       -  =>  "demo.config"       -
TABLED ports/demo.schema:13: without const&
    "demo.members"      string, int  =>  "demo.members"      string const&, int
TABLED ports/demo.schema:13: table "other.members" does not belong to family "demo"
    "demo.members"      string  =>  "other.members"     string
TABLED ports/demo.schema:13: 'unsigned char' cannot be a table value
    -> tuple<>  =>  -> unsigned char
"""


def refusals():
    """(files, where, message) of each case of REFUSALS."""
    bases = {"GOOD": GOOD, "TABLED": TABLED, "OPAQUE": OPAQUE}
    for case in re.split(r"\n(?=\S)", REFUSALS.strip()):
        head, *edits = case.split("\n")
        base, rest = head.split(" ", 1)
        where, message = rest.split(": ", 1)
        files = {"ports/demo.schema": bases[base]}
        for edit in edits:
            edit = edit.strip().replace("\\n", "\n")
            if edit.startswith("add: "):
                files["ports/demo.schema"] += "    " + edit[5:] + "\n"
            elif edit.startswith("drop: "):
                line = "    " + edit[6:] + "\n"
                assert line in files["ports/demo.schema"], line
                files["ports/demo.schema"] = files["ports/demo.schema"].replace(line, "")
            elif edit.startswith("file "):
                name, text = edit[5:].split(": ", 1)
                files[name] = text
            else:
                old, new = edit.split("  =>  ")
                assert files["ports/demo.schema"].count(old) == 1, old
                files["ports/demo.schema"] = files["ports/demo.schema"].replace(old, new)
        yield files, where, message


class Refusals(unittest.TestCase):
    def test_each_bad_schema_is_refused_with_one_line_naming_file_and_line(self):
        for files, where, message in refusals():
            with self.subTest(message=message):
                proc, produced = run(files)
                self.assertEqual(proc.returncode, 1, proc.stderr)
                self.assertEqual(proc.stderr.count("\n"), 1, proc.stderr)
                self.assertIn(f"schema/{where}: ", proc.stderr)
                self.assertIn(message, proc.stderr)
                self.assertFalse(produced, "nothing is written when a schema is refused")


class Output(unittest.TestCase):
    def test_deterministic(self):
        proc1, first = run({"ports/demo.schema": GOOD})
        proc2, second = run({"ports/demo.schema": GOOD})
        self.assertEqual(proc1.returncode, 0, proc1.stderr)
        self.assertEqual(first, second)

    def test_an_opaque_type_is_read_and_never_written_nor_ordered(self):
        blob = OPAQUE.replace("tables\n", 'tables\n    "demo.blob"  string  -> zolt_demo_blob_t\n')
        blob = blob.replace("methods\n", 'methods\n    "demo.blob.get"  string  -> zolt_demo_blob_t\n')
        proc, produced = run({"ports/demo.schema": blob})
        self.assertEqual(proc.returncode, 0, proc.stderr)
        header = produced[os.path.join("schema", "ports", "demo.h")]
        self.assertIn("zolt_demo_blob_get", header)
        self.assertIn("void parse(const Json::Value& json, zolt_demo_blob_t& value);", header)
        self.assertNotIn("serialize(const zolt_demo_blob_t", header)
        self.assertNotIn("operator<(const zolt_demo_blob_t", header)


METERED = """\
family demo

enum zolt_demo_state_t
    0   "down"
    1   "up"

record zolt_demo_inner_t
    "Octets"         u64
    "Name"           string

record zolt_demo_counters_t
    "RxPkts"         u32
    "RxTotal"        u64
    "Inner"          zolt_demo_inner_t
    "TimeoutSec"     u32
    "PairB"          u16

record zolt_demo_status_t
    "Link"           bool
    "State"          zolt_demo_state_t
    "LoopCount"      u32
    "Counter"        u32
    "Mac"            zolt_mac_t

record zolt_demo_route_t
    "Network"        string
    "PrefixSize"     u8

tables
    "demo.statistics.port"   string              -> zolt_demo_counters_t    per-port
    "demo.status"            string, int         -> zolt_demo_status_t
    "demo.status.route"      zolt_demo_route_t   -> unsigned int
    "demo.status.global"     -                   -> zolt_demo_status_t
    "demo.status.deep"       string, int, int    -> zolt_demo_status_t

methods
    "demo.statistics.port.get"  -   -> map<string, zolt_demo_counters_t>
    "demo.status.get"           -   -> map<tuple<string, int>, zolt_demo_status_t>
    "demo.status.route.get"     -   -> map<zolt_demo_route_t, unsigned int>
    "demo.status.global.get"    -   -> zolt_demo_status_t
    "demo.status.deep.get"      -   -> map<tuple<string, int, int>, zolt_demo_status_t>
"""


class Metrics(unittest.TestCase):
    """The exporter's metric map: which tables, names by the Prometheus rules, types, labels."""

    def test_metric_map(self):
        import json
        proc, produced = run({"ports/demo.schema": METERED})
        self.assertEqual(proc.returncode, 0, proc.stderr)
        data = json.loads(produced["exporter/metrics.json"])
        tables = {t["table"]: t for t in data["tables"]}
        # Three key members cannot be decoded: that table is not exported.
        self.assertEqual(sorted(tables), ["demo.statistics.port", "demo.status",
                                          "demo.status.global", "demo.status.route"])

        def summary(table):
            t = tables[table]
            return ([(l["name"], l["member"], l["path"]) for l in t["labels"]],
                    [(m["name"], m["type"], m["path"]) for m in t["metrics"]])

        self.assertEqual(summary("demo.statistics.port"), (
            [("interface", None, [])],
            [("zolt_demo_statistics_port_rx_pkts", "counter", ["RxPkts"]),
             ("zolt_demo_statistics_port_rx", "counter", ["RxTotal"]),
             ("zolt_demo_statistics_port_inner_octets", "counter", ["Inner", "Octets"]),
             ("zolt_demo_statistics_port_timeout_seconds", "counter", ["TimeoutSec"]),
             ("zolt_demo_statistics_port_pairb", "counter", ["PairB"])]))
        status = [("zolt_demo_status_link", "gauge", ["Link"]),
                  ("zolt_demo_status_state", "stateset", ["State"]),
                  ("zolt_demo_status_loop_count_value", "gauge", ["LoopCount"]),
                  ("zolt_demo_status_value", "gauge", ["Counter"])]
        self.assertEqual(summary("demo.status"),
                         ([("interface", 0, []), ("demo", 1, [])], status))
        self.assertEqual(summary("demo.status.global"),
                         ([], [(n.replace("status", "status_global"), k, p)
                               for n, k, p in status]))
        self.assertEqual(summary("demo.status.route"), (
            [("network", None, ["Network"]), ("prefix_size", None, ["PrefixSize"])],
            [("zolt_demo_status_route", "gauge", [])]))
        self.assertEqual(tables["demo.status"]["metrics"][1]["states"], ["down", "up"])
        self.assertEqual(tables["demo.status"]["metrics"][0]["help"], 'demo.status "Link" (bool)')
        self.assertEqual(tables["demo.status"]["method"], "demo_status_get")
        self.assertTrue(tables["demo.status.global"]["singleton"])
        page = produced["docs/metrics.md"]
        self.assertIn("| `zolt_demo_statistics_port_rx_pkts_total` | counter |", page)
        self.assertIn("| `zolt_demo_status_state` | state set |", page)


    def test_two_fields_of_one_metric_name_are_refused(self):
        proc, produced = run({"ports/demo.schema": """\
            family demo

            record zolt_demo_t
                "RxPkts"    u32
                "rx_pkts"   u32

            tables
                "demo.statistics"   -   -> zolt_demo_t

            methods
                "demo.statistics.get"   -   -> zolt_demo_t
            """})
        self.assertEqual(proc.returncode, 1)
        self.assertEqual(proc.stderr, "zoltgen: schema/ports/demo.schema:8: metric "
                         "zolt_demo_statistics_rx_pkts of demo.statistics is also one of "
                         "demo.statistics\n")
        self.assertFalse(produced)


if __name__ == "__main__":
    unittest.main()
