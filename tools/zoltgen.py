#!/usr/bin/env python3
"""zoltgen: turns the wire schema into C++.

Input:  every `<schema-dir>/<subsystem>/<family>.schema` file (the language is described in
        schema/README.md). All files are read together, so a family may use another family's
        enumerations and records (`use <family>`).

Output, below `--out DIR` (only files whose text changed are rewritten, so a schema edit
recompiles only what it touches):
  schema/<subsystem>/<family>.h    the family's enumerations and records, the declarations of their
                                   `serialize`/`parse`/`operator<`, and its typed functions
  schema/<subsystem>/<family>.cpp  the definitions; every typed function is one call of a
                                   call-shape template of client/methods.h
  schema/families.h                includes every family header (the chief header includes it)
  schema/manifest.tsv              one line per typed function: family, exported name, method
                                   string, call shape, C++ parameter list
  sim/methods.cpp                  the simulator's method table (sim/sim_schema.h): per method
                                   string its shape, state table, key and value codecs and a
                                   default value
  tests/sweep.cpp                  one call of every typed function with sample arguments, in an
                                   order that writes a table before reading and deleting it; a
                                   read of a table the sweep wrote knows the value to expect
  tests/include_<family>.cpp       a translation unit that includes only that family's header
  docs/<family>.md                 the family's reference: typed functions, records, enumerations

`--check` parses and validates only. Every error names the file and line and stops the run with
exit status 1; nothing is guessed and nothing has a silent default.
"""

import argparse
import json
import os
import re
import sys
from dataclasses import dataclass, field
from typing import Dict, List, Optional, Tuple


class SchemaError(Exception):
    pass


# ----------------------------------------------------------------------------------------------
# Types

@dataclass(frozen=True)
class Type:
    kind: str          # scalar, timestamp, enum, record, opaque, vector, map, tuple
    cpp: str           # C++ spelling
    args: Tuple["Type", ...] = ()
    name: str = ""     # schema spelling of a scalar, or the enum/record name

    def __str__(self):
        return self.cpp


def scalar(name, cpp):
    return Type("scalar", cpp, name=name)


BOOL = scalar("bool", "bool")
U8 = scalar("u8", "unsigned char")
U16 = scalar("u16", "unsigned short")
U32 = scalar("u32", "unsigned int")
U64 = scalar("u64", "unsigned long long")
I16 = scalar("i16", "short")
I32 = scalar("i32", "int")
I64 = scalar("i64", "long long")
STRING = scalar("string", "std::string")
MAC = Type("record", "zolt_mac_t", name="zolt_mac_t")
BYTES = Type("vector", "std::vector<unsigned char>", (U8,))
STRINGS = Type("vector", "std::vector<std::string>", (STRING,))
U16S = Type("vector", "std::vector<unsigned short>", (U16,))
U32S = Type("vector", "std::vector<unsigned int>", (U32,))
TIMESTAMP = Type("timestamp", "zolt_time32_t", name="timestamp")
KEY_ONLY = Type("tuple", "std::tuple<>")

IPV4_ROUTE = Type("record", "zolt_ipv4_uc_t", name="zolt_ipv4_uc_t")
IFINDEX = Type("record", "NAS_ifindex_index", name="NAS_ifindex_index")


@dataclass(frozen=True)
class Word:
    """Everything the emitters know of one type that the codec layer defines: the header takes
    its C++ spelling, the typed functions its passing, the reference pages its wire form, the
    simulator its check and default, the sweep its sample. Enumerations, records and the shared
    records follow the rules of `word_of`."""
    type: Type
    field: Optional[str]     # the word in a record, None where no field may have the type
    arg: Optional[str]       # the word as an argument or output, None where none may have it
    passing: str             # "value", "ref", "either" (`T` or `T const&`), "" for no argument
    wire: str                # the JSON form, for the reference pages
    check: str               # the simulator's check: a Kind of sim/sim_schema.h
    low: int = 0             # the range of an integer (of each element of an integer list)
    high: int = 0
    default: object = None   # the value a fresh switch holds
    sample: object = None    # seed -> a value unlike the default, different for each seed


WORDS = [
    Word(BOOL, "bool", "bool", "ref", "boolean", "boolean", default=False,
         sample=lambda seed: True),
    Word(U8, "u8", "unsigned char", "value", "number 0..255", "integer", 0, 2**8 - 1, 0,
         lambda seed: 7 + seed % 100),
    Word(U16, "u16", "unsigned short", "either", "number 0..65535", "integer", 0, 2**16 - 1, 0,
         lambda seed: 1000 + seed),
    Word(U32, "u32", "unsigned int", "value", "number 0..4294967295", "integer", 0, 2**32 - 1,
         0, lambda seed: 1000 + seed),
    Word(U64, "u64", None, "", "number 0..2^64-1", "integer", 0, 2**64 - 1, 0,
         lambda seed: 5000000000 + seed),
    Word(I16, "i16", None, "", "signed number, 16 bits", "integer", -2**15, 2**15 - 1, 0,
         lambda seed: 7 + seed % 100),
    Word(I32, "i32", "int", "value", "signed number, 32 bits", "integer", -2**31, 2**31 - 1, 0,
         lambda seed: 1000 + seed),
    Word(I64, "i64", None, "", "signed number, 64 bits", "integer", -2**63, 2**63 - 1, 0,
         lambda seed: 5000000000 + seed),
    Word(STRING, "string", "string", "ref", "string", "text", default="",
         sample=lambda seed: f"text {seed}"),
    Word(MAC, "zolt_mac_t", "zolt_mac_t", "ref", '"00:1F:A2:0B:3C:D4"', "mac",
         default="00:00:00:00:00:00",
         sample=lambda seed: "02:00:00:00:%02X:%02X" % (seed // 256 % 256, seed % 256)),
    Word(BYTES, "byte list", None, "", "lower-case hex text", "hex", default="",
         sample=lambda seed: "0a0b%02x" % (seed % 256)),
    Word(STRINGS, "list of string", "vector<string>", "", "array of strings", "text_list",
         default=[], sample=lambda seed: ["Gi 1/2", f"Gi 1/{3 + seed % 5}"]),
    Word(U16S, "list of u16", None, "", "array of numbers 0..65535", "integer_list", 0,
         2**16 - 1, [], lambda seed: [1, 10 + seed]),
    Word(U32S, "list of u32", None, "", "array of numbers 0..4294967295", "integer_list", 0,
         2**32 - 1, [], lambda seed: [1, 10 + seed]),
    # Written as the number of seconds, read as local-time text: the switch sends the text.
    Word(TIMESTAMP, "timestamp", None, "", 'written as a number, read as "YYYY-MM-DD HH:MM:SS"',
         "timestamp", -2**31, 2**31 - 1, 0, lambda seed: 1700000000 + seed),
]
WORD_OF = {w.type: w for w in WORDS}

# Records that the codec layer declares by hand and every family may use, with their members.
BUILTIN_RECORDS = {"zolt_mac_t": MAC, "zolt_ipv4_uc_t": IPV4_ROUTE, "NAS_ifindex_index": IFINDEX}
BUILTIN_MEMBERS = {
    IPV4_ROUTE: [("networkAddress", STRING), ("networkPrefixSize", I32), ("nextHop", STRING)],
    IFINDEX: [("InterfaceNo", STRING)],
}
BUILTIN_SAMPLES = {
    IPV4_ROUTE: {"networkAddress": "10.0.0.0", "networkPrefixSize": 8, "nextHop": "10.0.0.1"},
    IFINDEX: {"InterfaceNo": "Gi 1/2"},
}

FIELD_WORDS = {w.field: w.type for w in WORDS if w.field}
FIELD_WORDS.update({"zolt_ipv4_uc_t": IPV4_ROUTE, "NAS_ifindex_index": IFINDEX})
# Argument and output words, spelled as C++ does.
# The scalars alone: vector<...> is read by its parts, zolt_mac_t as a named record.
CPP_WORDS = {w.arg: w.type for w in WORDS if w.arg and w.type.kind == "scalar"}


def passing_of(t):
    """"value", "ref" or "either" for a type that can be an argument, "" otherwise."""
    if t in WORD_OF:
        return WORD_OF[t].passing
    if t.kind == "enum":
        return "value"
    if t.kind == "record":
        return "ref"
    return ""


def members_of(t, loader):
    """A record's (JSON key, type) pairs."""
    if t in BUILTIN_MEMBERS:
        return BUILTIN_MEMBERS[t]
    return [(f.key, f.type) for f in loader.records[t.cpp].fields]


def default_json(t, loader):
    """A value as a freshly set-up switch would hold it: numbers 0, texts and lists empty,
    enumerations at their first text."""
    if t in WORD_OF:
        return WORD_OF[t].default
    if t.kind == "enum":
        return loader.enums[t.cpp].values[0][1]
    if t.kind == "opaque":
        return {}
    if t.kind == "record":
        return {k: default_json(ft, loader) for k, ft in members_of(t, loader)}
    if t.kind == "tuple":
        return None
    raise AssertionError(t)


def written_json(t, loader, seed=0):
    """A value unlike a fresh switch's in every field, so that a read after a write can tell
    whether each field made the trip: numbers away from 0, texts and lists not empty,
    enumerations at their last text."""
    if t in WORD_OF:
        return WORD_OF[t].sample(seed)
    if t in BUILTIN_SAMPLES:
        return BUILTIN_SAMPLES[t]
    if t.kind == "enum":
        return loader.enums[t.cpp].values[-1][1]
    if t.kind == "record":
        return {k: written_json(ft, loader, seed + i)
                for i, (k, ft) in enumerate(members_of(t, loader))}
    raise AssertionError(t)


def sample_json(t, loader):
    """A key member the simulator's fresh state knows: interface keys name its first port."""
    if t == STRING:
        return "Gi 1/1"
    if t in (I32, U32, U16, U8):
        return 1
    if t == MAC:
        return "00:00:00:00:00:01"
    return default_json(t, loader)


# ----------------------------------------------------------------------------------------------
# Schema model

@dataclass
class Enum:
    name: str
    values: List[Tuple[int, str]]
    family: "Family"
    line: int
    lines: List[int] = field(default_factory=list)   # the line of each value


@dataclass
class Field:
    key: str
    type: Type
    line: int


@dataclass
class Record:
    name: str
    fields: List[Field]
    family: "Family"
    line: int


@dataclass
class Opaque:
    """A type that only answers carry and the client does not model: it has no members, no
    writer and no order, and reading one throws "not implemented"."""
    name: str
    family: "Family"
    line: int


@dataclass
class Arg:
    type: Type
    by_ref: bool


@dataclass
class Method:
    rpc: str
    args: List[Arg]
    out: Optional[Type]
    line: int
    shape: str = ""
    key_count: int = 0     # how many leading arguments (or members of a map key) form the key
    table_info: Optional["Table"] = None   # the declared table; None for a bare call

    @property
    def exported(self):
        return "zolt_" + self.rpc.replace(".", "_").replace("-", "_")

    @property
    def table(self):
        """The state a method works on: its string without the last word (the verb)."""
        return self.rpc.rsplit(".", 1)[0] if "." in self.rpc else self.rpc


@dataclass
class Table:
    """A table as the schema states it: the state a group of methods works on."""
    name: str              # a method string without its verb: "port.config"
    keys: List[Type]       # its key members in "params" order; empty for a singleton
    values: List[Type]     # its value types; [tuple<>] for a key-only table
    per_port: bool         # a fresh switch holds one default row per port
    line: int
    used: bool = False

    @property
    def key_only(self):
        return self.values == [KEY_ONLY]


@dataclass
class Family:
    name: str
    path: str          # schema file, relative to the schema directory
    subsystem: str
    uses: List[str] = field(default_factory=list)
    enums: List[Enum] = field(default_factory=list)
    records: List[Record] = field(default_factory=list)
    opaques: List[Opaque] = field(default_factory=list)
    methods: List[Method] = field(default_factory=list)
    tables: List[Table] = field(default_factory=list)
    raw_fields: list = field(default_factory=list)    # (record, key, type text, line)
    raw_methods: list = field(default_factory=list)   # (rpc, args text, out text, line)
    raw_tables: list = field(default_factory=list)    # (name, keys text, values text, markers, line)

    @property
    def stem(self):
        return os.path.splitext(os.path.basename(self.path))[0]

    @property
    def header(self):
        return f"schema/{self.subsystem}/{self.stem}.h"

    @property
    def guard(self):
        return "ZOLT_SCHEMA_" + re.sub(r"[^A-Za-z0-9]", "_", f"{self.subsystem}_{self.stem}").upper() + "_H"


IDENT = re.compile(r"[A-Za-z_][A-Za-z0-9_]*$")
QUOTED = re.compile(r'"((?:[^"\\]|\\.)*)"')


def strip_comment(line):
    out, quoted = [], False
    for ch in line:
        if ch == '"':
            quoted = not quoted
        if ch == "#" and not quoted:
            break
        out.append(ch)
    return "".join(out).rstrip()


class Loader:
    def __init__(self, schema_dir):
        self.schema_dir = schema_dir
        self.families: List[Family] = []
        self.types: Dict[str, Tuple[Type, Family]] = {}
        self.enums: Dict[str, Enum] = {}
        self.records: Dict[str, Record] = {}

    def fail(self, family_or_path, line, message):
        path = family_or_path.path if isinstance(family_or_path, Family) else family_or_path
        raise SchemaError(f"schema/{path}:{line}: {message}")

    # --- reading -------------------------------------------------------------------------------

    def load(self):
        paths = []
        for sub in sorted(os.listdir(self.schema_dir)):
            d = os.path.join(self.schema_dir, sub)
            if not os.path.isdir(d):
                continue
            for name in sorted(os.listdir(d)):
                if name.endswith(".schema"):
                    paths.append((sub, name))
        if not paths:
            raise SchemaError(f"{self.schema_dir}: no schema files")
        for sub, name in paths:
            self.families.append(self.read_file(sub, name))
        self.check_family_names()
        for fam in self.families:
            self.declare(fam)
        for fam in self.families:
            for u in fam.uses:
                if not any(f.name == u for f in self.families):
                    self.fail(fam, 1, f"'use {u}' names no family")
        for fam in self.families:
            self.resolve_records(fam)
        for fam in self.families:
            self.resolve_tables(fam)
        for fam in self.families:
            self.resolve_methods(fam)
        self.check_identifiers()
        return self.families

    def read_file(self, sub, name):
        rel = f"{sub}/{name}"
        fam = Family(name="", path=rel, subsystem=sub)
        block, current = None, None
        with open(os.path.join(self.schema_dir, sub, name), encoding="utf-8") as f:
            lines = f.read().split("\n")
        for number, raw in enumerate(lines, 1):
            line = strip_comment(raw)
            if not line.strip():
                continue
            if "\t" in raw:
                self.fail(rel, number, "tab character; indent with blanks")
            indented = line[0] == " "
            words = line.split()
            if not indented:
                head = words[0]
                if head == "family":
                    if fam.name or len(words) != 2:
                        self.fail(rel, number, "expected one 'family NAME' line, first in the file")
                    fam.name = words[1]
                    block = None
                    continue
                if not fam.name:
                    self.fail(rel, number, "the file must start with 'family NAME'")
                if head == "use" and len(words) == 2:
                    fam.uses.append(words[1])
                    block = None
                elif head == "enum" and len(words) == 2:
                    current = Enum(words[1], [], fam, number)
                    fam.enums.append(current)
                    block = "enum"
                elif head == "record" and len(words) == 2:
                    current = Record(words[1], [], fam, number)
                    fam.records.append(current)
                    block = "record"
                elif head == "opaque" and len(words) == 2:
                    fam.opaques.append(Opaque(words[1], fam, number))
                    block = None
                elif head == "methods" and len(words) == 1:
                    block = "methods"
                elif head == "tables" and len(words) == 1:
                    block = "tables"
                else:
                    self.fail(rel, number, f"unknown block header '{line.strip()}'")
                continue
            if block == "enum":
                m = re.match(r'\s+(-?\d+)\s+"([^"]*)"\s*$', line)
                if not m:
                    self.fail(rel, number, 'expected an enumeration line: VALUE "text"')
                current.values.append((int(m.group(1)), m.group(2)))
                current.lines.append(number)
            elif block == "record":
                m = re.match(r'\s+"([^"]*)"\s+(\S.*)$', line)
                if not m:
                    self.fail(rel, number, 'expected a record line: "JsonKey" type')
                fam.raw_fields.append((current, m.group(1), " ".join(m.group(2).split()), number))
            elif block == "methods":
                m = re.match(r'\s+"([^"]+)"\s+(.+?)\s*->\s*(.+?)\s*$', line)
                if not m:
                    self.fail(rel, number, 'expected a method line: "method.string" ARGS -> OUTPUT')
                fam.raw_methods.append((m.group(1), m.group(2), m.group(3), number))
            elif block == "tables":
                m = re.match(r'\s+"([^"]+)"\s+(.+?)\s*->\s*(.+)$', line)
                if not m:
                    self.fail(rel, number, 'expected a table line: "table.name" KEYS -> VALUE [per-port]')
                values, markers = self.split_markers(m.group(3))
                fam.raw_tables.append((m.group(1), m.group(2), values, markers, number))
            else:
                self.fail(rel, number, "indented line outside an enum, record, tables or methods block")
        if not fam.name:
            self.fail(rel, 1, "missing 'family NAME'")
        if fam.stem != fam.name:
            self.fail(rel, 1, f"family '{fam.name}' must live in a file named {fam.name}.schema")
        return fam

    def check_family_names(self):
        seen = {}
        for fam in self.families:
            if fam.name in seen:
                self.fail(fam, 1, f"family '{fam.name}' is declared again (first in schema/{seen[fam.name]})")
            seen[fam.name] = fam.path

    def declare(self, fam):
        for e in fam.enums:
            self.add_type(fam, e.line, e.name, Type("enum", e.name, name=e.name))
            self.enums[e.name] = e
            if not e.values:
                self.fail(fam, e.line, f"enumeration {e.name} has no values")
            values, texts = {}, {}
            for (v, t), ln in zip(e.values, e.lines):
                if v in values:
                    self.fail(fam, ln, f"value {v} appears twice in {e.name}")
                if t in texts:
                    self.fail(fam, ln, f'text "{t}" appears twice in {e.name}')
                if not t:
                    self.fail(fam, ln, "empty enumeration text")
                if not -2**31 <= v < 2**31:
                    self.fail(fam, ln, f"value {v} does not fit an int")
                values[v] = t
                texts[t] = v
        for r in fam.records:
            self.add_type(fam, r.line, r.name, Type("record", r.name, name=r.name))
            self.records[r.name] = r
        for o in fam.opaques:
            self.add_type(fam, o.line, o.name, Type("opaque", o.name, name=o.name))

    def add_type(self, fam, line, name, t):
        if not IDENT.match(name):
            self.fail(fam, line, f"'{name}' is not a C++ identifier")
        if name in self.types or name in BUILTIN_RECORDS or name in FIELD_WORDS:
            where = self.types[name][1].path if name in self.types else "the codec layer"
            self.fail(fam, line, f"type '{name}' is declared again (first in {where})")
        self.types[name] = (t, fam)

    # --- resolving ----------------------------------------------------------------------------

    def named(self, fam, line, name):
        if name in BUILTIN_RECORDS:
            return BUILTIN_RECORDS[name]
        if name not in self.types:
            self.fail(fam, line, f"unknown type '{name}'")
        t, owner = self.types[name]
        if owner is not fam and owner.name not in fam.uses:
            self.fail(fam, line, f"type '{name}' belongs to family '{owner.name}': add 'use {owner.name}'")
        return t

    def resolve_records(self, fam):
        for rec, key, text, line in fam.raw_fields:
            if not IDENT.match(key):
                self.fail(fam, line, f'JSON key "{key}" is not a C++ identifier')
            if any(f.key == key for f in rec.fields):
                self.fail(fam, line, f'key "{key}" appears twice in {rec.name}')
            t = FIELD_WORDS.get(text) or self.named(fam, line, text)
            if t.kind == "opaque":
                self.fail(fam, line, f"'{t.cpp}' is opaque and cannot be a record field")
            if t.cpp == rec.name:
                self.fail(fam, line, f"record {rec.name} contains itself")
            rec.fields.append(Field(key, t, line))
        for rec in fam.records:
            if not rec.fields:
                self.fail(fam, rec.line, f"record {rec.name} has no fields")

    def parse_type(self, fam, line, text, where):
        tokens = re.findall(r"const\s*&|[A-Za-z_][A-Za-z0-9_]*|[<>,]|\S", text)
        pos = [0]

        def peek():
            return tokens[pos[0]] if pos[0] < len(tokens) else None

        def take(expected=None):
            tok = peek()
            if tok is None or (expected and tok != expected):
                self.fail(fam, line, f"cannot read {where} '{text}': expected {expected or 'a type'}")
            pos[0] += 1
            return tok

        def one():
            tok = take()
            if tok == "unsigned":
                word = "unsigned " + take()
                if word not in CPP_WORDS:
                    self.fail(fam, line, f"unknown type '{word}' in {where}")
                return CPP_WORDS[word]
            if tok in ("vector", "map", "tuple"):
                take("<")
                inner = []
                while peek() != ">":
                    inner.append(one())
                    if peek() == ",":
                        take(",")
                take(">")
                if tok == "vector":
                    if inner != [STRING]:
                        self.fail(fam, line, f"only vector<string> is an output, not in '{text}'")
                    return STRINGS
                if tok == "map":
                    if len(inner) != 2:
                        self.fail(fam, line, f"map takes a key and a value: '{text}'")
                    k, v = inner
                    return Type("map", f"std::map<{k.cpp}, {v.cpp}>", (k, v))
                cpp = "std::tuple<" + ", ".join(t.cpp for t in inner) + ">"
                return Type("tuple", cpp, tuple(inner))
            if tok in CPP_WORDS:
                return CPP_WORDS[tok]
            if IDENT.match(tok):
                return self.named(fam, line, tok)
            self.fail(fam, line, f"cannot read {where} '{text}'")

        t = one()
        by_ref = None
        if peek() is not None and peek().startswith("const"):
            take()
            by_ref = True
        if peek() is not None:
            self.fail(fam, line, f"unexpected '{peek()}' in {where} '{text}'")
        return t, by_ref

    def split_args(self, text):
        parts, depth, cur = [], 0, ""
        for ch in text:
            depth += ch == "<"
            depth -= ch == ">"
            if ch == "," and depth == 0:
                parts.append(cur.strip())
                cur = ""
            else:
                cur += ch
        parts.append(cur.strip())
        return parts

    def resolve_methods(self, fam):
        seen = {}
        for rpc, args_text, out_text, line in fam.raw_methods:
            if not re.match(r"^[a-z0-9_-]+(\.[a-z0-9_-]+)+$", rpc, re.I):
                self.fail(fam, line, f'"{rpc}" is not a method string')
            if not rpc.startswith(fam.name + "."):
                self.fail(fam, line, f'method "{rpc}" does not belong to family "{fam.name}"')
            args = []
            if args_text != "-":
                for part in self.split_args(args_text):
                    t, ref = self.parse_type(fam, line, part, "argument")
                    args.append(Arg(t, self.passing(fam, line, t, ref)))
            out = None
            if out_text != "-":
                out, ref = self.parse_type(fam, line, out_text, "output")
                if ref:
                    self.fail(fam, line, "an output takes no const&")
            m = Method(rpc, args, out, line)
            m.shape = self.shape(fam, m)
            # Overloads differ in their parameters; the output pointer is one of them.
            overload = (m.exported, tuple((a.type.cpp, a.by_ref) for a in args),
                        out.cpp if out else None)
            if overload in seen:
                self.fail(fam, line, f"duplicate overload of {m.exported} (first at line {seen[overload]})")
            seen[overload] = line
            if len(args) > 4:
                self.fail(fam, line, "a method takes at most four arguments")
            self.fit_table(fam, m)
            fam.methods.append(m)
        self.check_tables_used(fam)

    def passing(self, fam, line, t, ref):
        how = passing_of(t)
        if how == "either":
            return bool(ref)
        if how == "value":
            if ref:
                self.fail(fam, line, f"'{t.cpp}' is passed by value; drop const&")
            return False
        if how == "ref":
            return True
        self.fail(fam, line, f"'{t.cpp}' cannot be an argument")

    def shape(self, fam, m):
        verb = m.rpc.rsplit(".", 1)[1]
        out, args = m.out, m.args
        if out is None:
            if not args:
                return "bare"
            shapes = {"set": "set", "add": "add", "del": "del", "get": "exists"}
            if verb not in shapes:
                self.fail(fam, m.line, f'"{m.rpc}" takes arguments and returns nothing, '
                                       "so it must end in .set, .add, .del or .get")
            return shapes[verb]
        if out.kind == "map":
            if args:
                self.fail(fam, m.line, "a get-all (map output) takes no arguments")
            self.check_map(fam, m.line, out)
            return "get_all"
        if out in (BOOL, U32, U16):
            return "scalar_get"
        if out == STRINGS:
            if not args:
                self.fail(fam, m.line, "a list get takes keys")
            return "list_get"
        if out.kind in ("record", "enum", "opaque") or out == STRING:
            return "keyed_get" if args else "singleton_get"
        self.fail(fam, m.line, f"'{out.cpp}' cannot be an output")

    def check_map(self, fam, line, t):
        k, v = t.args
        key_ok = k in (STRING, I32, U32, U16, U8) or k.kind in ("record", "enum") or (
            k.kind == "tuple" and 2 <= len(k.args) <= 4 and all(
                a in (STRING, I32, U32, U16) or a.kind == "enum" or a == MAC for a in k.args))
        if not key_ok:
            self.fail(fam, line, f"'{k.cpp}' cannot be a table key")
        value_ok = v.kind in ("record", "enum") or v in (BOOL, U32, U16, STRING, STRINGS) or (
            v.kind == "tuple" and not v.args)
        if not value_ok:
            self.fail(fam, line, f"'{v.cpp}' cannot be a table value")

    def split_markers(self, text):
        """A table line's value types, then its markers: the trailing words with a '-' in them
        (no type word has one)."""
        words = text.split()
        markers = []
        while words and "-" in words[-1] and words[-1] != "-":
            markers.insert(0, words.pop())
        return " ".join(words), markers

    def resolve_tables(self, fam):
        seen = {}
        for name, keys_text, values_text, markers, line in fam.raw_tables:
            if not re.match(r"^[a-z0-9_-]+(\.[a-z0-9_-]+)*$", name, re.I):
                self.fail(fam, line, f'"{name}" is not a table name')
            if not (name + ".").startswith(fam.name + "."):
                self.fail(fam, line, f'table "{name}" does not belong to family "{fam.name}"')
            if name in seen:
                self.fail(fam, line, f'table "{name}" is declared again (first at line {seen[name]})')
            seen[name] = line
            keys = []
            if keys_text != "-":
                for part in self.split_args(keys_text):
                    t, ref = self.parse_type(fam, line, part, "key member")
                    if ref:
                        self.fail(fam, line, "a key member is written without const&")
                    if not (t in (STRING, I32, U32, U16, U8) or t.kind in ("record", "enum")):
                        self.fail(fam, line, f"'{t.cpp}' cannot be a key member")
                    keys.append(t)
            if len(keys) > 4:
                self.fail(fam, line, "a table has at most four key members")
            values = []
            if not values_text:
                self.fail(fam, line, "a table line needs a value type after '->'")
            for part in values_text.split("|"):
                t, ref = self.parse_type(fam, line, part.strip(), "table value")
                if ref:
                    self.fail(fam, line, "a table value is written without const&")
                if not (t.kind in ("record", "enum", "opaque")
                        or t in (BOOL, U32, U16, STRING, STRINGS) or t == KEY_ONLY):
                    self.fail(fam, line, f"'{t.cpp}' cannot be a table value")
                if t in values:
                    self.fail(fam, line, f"value type '{t.cpp}' is listed twice")
                values.append(t)
            if KEY_ONLY in values and len(values) > 1:
                self.fail(fam, line, "a key-only table (tuple<>) has no other value type")
            if KEY_ONLY in values and not keys:
                self.fail(fam, line, "a key-only table needs key members")
            per_port = False
            for marker in markers:
                if marker != "per-port":
                    self.fail(fam, line, f"unknown marker '{marker}'")
                if per_port:
                    self.fail(fam, line, "'per-port' is given twice")
                if keys != [STRING]:
                    self.fail(fam, line, "'per-port' needs a table keyed by exactly one string")
                per_port = True
            fam.tables.append(Table(name, keys, values, per_port, line))

    def fit_table(self, fam, m):
        """Binds a method to its table and takes its key count from it; refuses a method whose
        arguments or output do not fit the table."""
        if m.shape == "bare":
            return
        table = next((t for t in fam.tables if t.name == m.table), None)
        if table is None:
            self.fail(fam, m.line, f'"{m.rpc}" belongs to table "{m.table}", which the tables '
                                   "block does not declare")
        table.used = True
        m.table_info = table
        keys = table.keys
        arg_types = [a.type for a in m.args]

        def need(ok, what):
            if not ok:
                self.fail(fam, m.line, f'"{m.rpc}" does not fit table "{table.name}" '
                                       f"(line {table.line}): {what}")

        def key_text():
            return ", ".join(k.cpp for k in keys) or "none"

        def value_text():
            return " | ".join(v.cpp for v in table.values)

        if m.shape == "get_all":
            k, v = m.out.args
            members = list(k.args) if k.kind == "tuple" else [k]
            need(members == keys, f"the map's key must be its key members ({key_text()})")
            need(v in table.values, f"the map's value must be one of its values ({value_text()})")
        elif m.shape == "singleton_get":
            need(not keys, f"a get without arguments reads a singleton; the table's key members "
                           f"are {key_text()}")
            need(m.out in table.values, f"the output must be one of its values ({value_text()})")
        elif m.shape in ("keyed_get", "scalar_get", "list_get"):
            need(arg_types == keys, f"the arguments must be its key members ({key_text()})")
            need(m.out in table.values, f"the output must be one of its values ({value_text()})")
        elif m.shape in ("exists", "del"):
            need(arg_types == keys, f"the arguments must be its key members ({key_text()})")
        elif m.shape in ("set", "add"):
            if table.key_only:
                need(arg_types == keys, f"a key-only table is written with its key members "
                                        f"({key_text()}) alone")
            else:
                need(arg_types[:-1] == keys and len(arg_types) == len(keys) + 1,
                     f"the arguments must be its key members ({key_text()}) then one value")
                need(arg_types[-1] in table.values,
                     f"the value written must be one of its values ({value_text()})")
        if table.per_port and m.shape == "add":
            self.fail(fam, m.line, f'table "{table.name}" is marked per-port, so its rows are '
                                   "not created by an add")
        m.key_count = len(keys)

    def check_tables_used(self, fam):
        for t in fam.tables:
            if not t.used:
                self.fail(fam, t.line, f'table "{t.name}" is used by no method')

    def check_identifiers(self):
        """Enumerators live in the global namespace: no two may share a name."""
        seen = {}
        for fam in self.families:
            for e in fam.enums:
                for (v, t), ln in zip(e.values, e.lines):
                    name = enumerator(e, t)
                    if name in seen:
                        self.fail(fam, ln, f"enumerator name {name} clashes with schema/{seen[name]}")
                    seen[name] = f"{fam.path}:{ln}"


def enumerator(e, text):
    stem = e.name[:-2] if e.name.endswith("_t") else e.name
    return stem + "_" + re.sub(r"[^A-Za-z0-9_]", "_", text)


# ----------------------------------------------------------------------------------------------
# C++ output

BANNER = "// Generated by tools/zoltgen.py from schema/{path}. Do not edit.\n"


def c_string(text):
    return json.dumps(text)


def record_order(records):
    """Records in declared order, except that a record comes after the records it holds."""
    by_name = {r.name: r for r in records}
    done, out = set(), []

    def visit(r):
        if r.name in done:
            return
        done.add(r.name)
        for f in r.fields:
            if f.type.kind == "record" and f.type.cpp in by_name:
                visit(by_name[f.type.cpp])
        out.append(r)

    for r in records:
        visit(r)
    return out


def wrap(head, items, tail, indent, width=100):
    """`head` + items joined by ", " + `tail`, broken before an item that would pass `width`;
    continuation lines line up under the first item."""
    lines, line = [], " " * indent + head
    pad = " " * (indent + len(head))
    for i, item in enumerate(items):
        piece = item + (", " if i + 1 < len(items) else tail)
        if len(line) + len(piece.rstrip()) > width and line.strip() != head.strip():
            lines.append(line.rstrip())
            line = pad
        line += piece
    lines.append(line)
    return "\n".join(lines)[indent:]


def params(m):
    """The C++ parameter list of a typed function, the handle and the output included."""
    names = arg_names(m)
    out = ["void* handle"]
    for a, n in zip(m.args, names):
        out.append(f"const {a.type.cpp}& {n}" if a.by_ref else f"{a.type.cpp} {n}")
    if m.out is not None:
        out.append(f"{m.out.cpp}* out")
    return out, names


def arg_names(m):
    keys = m.key_count
    names = []
    for i in range(len(m.args)):
        if i >= keys:
            names.append("value")
        elif keys == 1:
            names.append("key")
        else:
            names.append(f"key{i + 1}")
    return names


def gen_header(fam, families):
    out = [BANNER.format(path=fam.path)]
    out.append(f"#ifndef {fam.guard}\n#define {fam.guard}\n\n")
    out.append('#include "codec/record.h"\n')
    out.append('#include "codec/table.h"\n')
    for u in fam.uses:
        out.append(f'#include "{next(f for f in families if f.name == u).header}"\n')
    out.append("\n")
    for e in fam.enums:
        out.append(f"enum {e.name} : int {{\n")
        for v, t in e.values:
            out.append(f"    {enumerator(e, t)} = {v},\n")
        out.append("};\n\n")
    for r in record_order(fam.records):
        out.append(f"struct {r.name} {{\n")
        for f in r.fields:
            out.append(f"    {f.type.cpp} {f.key}{{}};\n")
        out.append("};\n\n")
    for o in fam.opaques:
        out.append(f"// Only answers carry it; its parse throws \"not implemented\".\nstruct {o.name} {{}};\n\n")
    if fam.enums or fam.records or fam.opaques:
        for e in fam.enums:
            out.append(f"ZOLT_API Json::Value serialize({e.name} value);\n")
            out.append(f"ZOLT_API void parse(const Json::Value& json, {e.name}& value);\n")
        for r in fam.records:
            out.append(f"ZOLT_API Json::Value serialize(const {r.name}& value);\n")
            out.append(f"ZOLT_API void parse(const Json::Value& json, {r.name}& value);\n")
            out.append(f"ZOLT_API bool operator<(const {r.name}& a, const {r.name}& b);\n")
        for o in fam.opaques:
            out.append(f"ZOLT_API void parse(const Json::Value& json, {o.name}& value);\n")
        out.append("\n")
    out.append(gen_fast_declarations(fam))
    for m in fam.methods:
        ps, _ = params(m)
        out.append(wrap(f"ZOLT_API int {m.exported}(", ps, ");", 0) + "\n")
    out.append(f"\n#endif  // {fam.guard}\n")
    return "".join(out)


SHAPE_CALL = {
    "bare": "call", "set": "call", "add": "call", "del": "call", "exists": "call",
    "singleton_get": "call_get", "keyed_get": "call_get", "scalar_get": "call_get",
    "list_get": "call_get", "get_all": "call_get_all",
}


def field_write(f):
    if f.type.kind == "timestamp":
        return f"zolt::timestamp_to_json(value.{f.key})"
    return f"zolt::to_json(value.{f.key})"


def field_read(f):
    if f.type.kind == "timestamp":
        return (f'zolt::in_member("{f.key}", [&] {{ '
                f'zolt::parse_timestamp(json["{f.key}"], value.{f.key}); }});')
    return f'zolt::read_member(json, "{f.key}", value.{f.key});'


def gen_source(fam):
    out = [BANNER.format(path=fam.path)]
    out.append(f'#include "{fam.header}"\n\n#include "client/methods.h"\n#include "codec/fast.h"\n\n')
    if fam.enums:
        out.append("namespace {\n\n")
        for e in fam.enums:
            out.append(f"constexpr zolt::enum_text<{e.name}> k_{e.name}[] = {{\n")
            for v, t in e.values:
                out.append(f"    {{{enumerator(e, t)}, {c_string(t)}}},\n")
            out.append("};\n\n")
        out.append("}  // namespace\n\n")
    for e in fam.enums:
        out.append(f"Json::Value serialize({e.name} value) {{\n"
                   f"    return zolt::enum_to_json(k_{e.name}, value);\n}}\n\n")
        out.append(f"void parse(const Json::Value& json, {e.name}& value) {{\n"
                   f"    zolt::enum_from_json(k_{e.name}, json, value);\n}}\n\n")
    for r in fam.records:
        out.append(f"Json::Value serialize(const {r.name}& value) {{\n")
        out.append("    Json::Value json(Json::objectValue);\n")
        for f in r.fields:
            out.append(f'    json["{f.key}"] = {field_write(f)};\n')
        out.append("    return json;\n}\n\n")
        out.append(f"void parse(const Json::Value& json, {r.name}& value) {{\n")
        out.append("    zolt::require_record(json);\n")
        for f in r.fields:
            out.append(f"    {field_read(f)}\n")
        out.append("}\n\n")
        out.append(f"bool operator<(const {r.name}& a, const {r.name}& b) {{\n"
                   f"    return {wrap('std::tie(', [f'a.{f.key}' for f in r.fields], ')', 11)} <\n"
                   f"           {wrap('std::tie(', [f'b.{f.key}' for f in r.fields], ');', 11)}\n}}\n\n")
    for o in fam.opaques:
        out.append(f"void parse(const Json::Value&, {o.name}&) {{\n"
                   '    throw std::runtime_error("not implemented");\n}\n\n')
    for m in fam.methods:
        ps, names = params(m)
        call_args = [c_string(m.rpc)]
        if m.out is not None:
            call_args.append("out")
        call_args += names
        out.append(wrap(f"int {m.exported}(", ps, ") {", 0) + "\n")
        out.append("    " + wrap(f"return zolt::{SHAPE_CALL[m.shape]}(", ["handle"] + call_args, ");", 4)
                   + "\n}\n\n")
    out.append(gen_fast_source(fam))
    return "".join(out).rstrip() + "\n"


# --- decoding straight from the answer's text (codec/fast.h) --------------------------------------

def gen_fast_declarations(fam):
    """The family header's declarations of the direct decoder's type descriptors."""
    names = [e.name for e in fam.enums] + [r.name for r in fam.records] + [o.name for o in fam.opaques]
    if not names:
        return ""
    out = ["namespace zolt {\nnamespace fast {\nstruct Type;\n}  // namespace fast\n"
           "}  // namespace zolt\n\n"]
    for name in names:
        out.append(f"const zolt::fast::Type& fast_type(const {name}*);\n")
    return "".join(out) + "\n"


def gen_fast_source(fam):
    """Per enumeration its text table, per record its members: what the direct decoder of
    codec/fast.h needs to read them. The rules themselves live there, once."""
    out = []
    for e in fam.enums:
        out.append(f"const zolt::fast::Type& fast_type(const {e.name}*) {{\n"
                   f"    static const zolt::fast::Type type = zolt::fast::enum_type(k_{e.name});\n"
                   "    return type;\n}\n\n")
    for r in fam.records:
        out.append(f"const zolt::fast::Type& fast_type(const {r.name}*) {{\n"
                   "    static const zolt::fast::Field fields[] = {\n")
        for f in r.fields:
            maker = "timestamp_field" if f.type.kind == "timestamp" else "field"
            out.append(f"        zolt::fast::{maker}<&{r.name}::{f.key}>({c_string(f.key)}),\n")
        out.append("    };\n"
                   "    static const zolt::fast::Record record(fields, sizeof fields / sizeof fields[0]);\n"
                   "    return record.type;\n}\n\n")
    # An opaque output never decodes directly: its parse throws, so the tree has to run.
    for o in fam.opaques:
        out.append(f"const zolt::fast::Type& fast_type(const {o.name}*) {{\n"
                   "    return zolt::fast::never();\n}\n\n")
    return "".join(out)


def gen_families(families):
    out = ["// Generated by tools/zoltgen.py: every family of the schema. Do not edit.\n",
           "#ifndef ZOLT_SCHEMA_FAMILIES_H\n#define ZOLT_SCHEMA_FAMILIES_H\n\n"]
    for fam in families:
        out.append(f'#include "{fam.header}"\n')
    out.append("\n#endif  // ZOLT_SCHEMA_FAMILIES_H\n")
    return "".join(out)


def gen_manifest(families):
    out = ["family\tfunction\tmethod\tshape\tparameters\n"]
    for fam in families:
        for m in fam.methods:
            ps, _ = params(m)
            out.append(f"{fam.name}\t{m.exported}\t{m.rpc}\t{m.shape}\t{', '.join(ps)}\n")
    return "".join(out)


# --- the simulator's method table ---------------------------------------------------------------

def sim_ident(t):
    """The C++ name of a type's descriptor in the simulator's table."""
    return "k_" + re.sub(r"[^A-Za-z0-9]+", "_", t.cpp).strip("_")


def sim_check(t):
    """The simulator's check of a type: its Kind and, for integers, the range."""
    if t in WORD_OF:
        w = WORD_OF[t]
        return w.check, w.low, w.high
    return {"enum": "enumeration", "record": "record", "opaque": "opaque"}[t.kind], 0, 0


def merged_default(values, loader):
    """A fresh row of a table: the default of its value type; for a table served by several
    record types, the union of their defaults, so that a get of every type finds its members."""
    defaults = [default_json(v, loader) for v in values]
    if not isinstance(defaults[0], dict):
        return defaults[0]
    merged = {}
    for d in defaults:
        if isinstance(d, dict):
            merged.update(d)
    return merged


def gen_sim(families, loader):
    """The simulator's table: a descriptor of every type a key member or value can have (its
    JSON check, range, enumeration texts, record members), every table as the schema states
    it, and every method with its shape, table and the value type it reads or writes."""
    types, order = {}, []

    def need(t):
        if t in types:
            return
        types[t] = True
        if t.kind == "record" and t != MAC:
            for _, ft in members_of(t, loader):
                need(ft)
        order.append(t)

    for fam in families:
        for table in fam.tables:
            for k in table.keys:
                need(k)
            for v in table.values:
                if v != KEY_ONLY:
                    need(v)
    out = ["// Generated by tools/zoltgen.py: the simulator's view of every type, table and method.\n"
           "// Do not edit.\n",
           '#include "sim/sim_schema.h"\n\nnamespace zolt_sim {\n\n']
    for t in order:
        out.append(f"extern const Type {sim_ident(t)};\n")
    out.append("\nnamespace {\n\n")
    for t in order:
        if t.kind == "enum":
            texts = ", ".join(c_string(text) for _, text in loader.enums[t.cpp].values)
            out.append(f"const char* const {sim_ident(t)}_texts[] = {{{texts}}};\n")
        elif t.kind == "record" and t != MAC:
            members = ", ".join(f"{{{c_string(k)}, &{sim_ident(ft)}}}" for k, ft in members_of(t, loader))
            out.append(f"const Member {sim_ident(t)}_members[] = {{{members}}};\n")
    out.append("\n}  // namespace\n\n")
    for t in order:
        kind, low, high = sim_check(t)
        texts, members = "nullptr, 0", "nullptr, 0"
        if t.kind == "enum":
            texts = f"{sim_ident(t)}_texts, {len(loader.enums[t.cpp].values)}"
        elif t.kind == "record" and t != MAC:
            members = f"{sim_ident(t)}_members, {len(members_of(t, loader))}"
        low_text = f"{low}LL" if low > -2**63 else "-9223372036854775807LL - 1"
        out.append(f"const Type {sim_ident(t)} = {{{c_string(t.cpp.replace('std::', ''))}, Kind::{kind}, "
                   f"{low_text}, {high}ULL, "
                   f"{texts}, {members}}};\n")
    out.append("\nnamespace {\n\n")
    tables = [(fam, t) for fam in families for t in fam.tables]
    for i, (fam, t) in enumerate(tables):
        values = [v for v in t.values if v != KEY_ONLY]
        if values:
            out.append(f"const Type* const kValues{i}[] = {{{', '.join('&' + sim_ident(v) for v in values)}}};\n")
    out.append("\n}  // namespace\n\nconst TableInfo kTables[] = {\n")
    index = {}
    for i, (fam, t) in enumerate(tables):
        index[t.name] = i
        values = [v for v in t.values if v != KEY_ONLY]
        keys = ", ".join("&" + sim_ident(k) for k in t.keys) or "nullptr"
        has_add = any(m.shape == "add" and m.table_info is t for m in fam.methods)
        fresh = "nullptr" if not values else c_string(
            json.dumps(merged_default(values, loader), separators=(",", ":")))
        vals = f"kValues{i}, {len(values)}" if values else "nullptr, 0"
        out.append(f"    {{{c_string(t.name)}, {c_string(fam.name)}, {len(t.keys)}, {{{keys}}}, {vals}, "
                   f"{'true' if t.per_port else 'false'}, {'true' if has_add else 'false'}, {fresh}}},\n")
    out.append("};\n\nconst std::size_t kTableCount = sizeof(kTables) / sizeof(kTables[0]);\n\n"
               "const MethodInfo kMethods[] = {\n")
    rows = []
    for fam in families:
        for m in fam.methods:
            if m.shape == "get_all":
                value = m.out.args[1]
            elif m.shape in ("set", "add"):
                value = m.args[-1].type if len(m.args) > m.key_count else None
            else:
                value = m.out
            if value is not None and value == KEY_ONLY:
                value = None
            table = f"&kTables[{index[m.table]}]" if m.table_info is not None else "nullptr"
            rows.append((m.rpc, f"    {{{c_string(m.rpc)}, {c_string(fam.name)}, Shape::{m.shape}, {table}, "
                                f"{'&' + sim_ident(value) if value is not None else 'nullptr'}}},\n"))
    out += [r for _, r in sorted(rows, key=lambda r: r[0])]
    out.append("};\n\nconst std::size_t kMethodCount = sizeof(kMethods) / sizeof(kMethods[0]);\n\n"
               "}  // namespace zolt_sim\n")
    return "".join(out)


def schema_spelling(t):
    """An argument or output type as a method line writes it (without const&)."""
    if t in WORD_OF and WORD_OF[t].arg:
        return WORD_OF[t].arg
    if t.kind == "map":
        return f"map<{schema_spelling(t.args[0])}, {schema_spelling(t.args[1])}>"
    if t.kind == "tuple":
        return "tuple<" + ", ".join(schema_spelling(a) for a in t.args) + ">"
    return t.cpp


def signature(m):
    """A typed function as its method line reads: name, argument types, output."""
    args = ", ".join(schema_spelling(a.type) for a in m.args) or "-"
    return f"{m.exported} {args} -> {schema_spelling(m.out) if m.out is not None else '-'}"


def all_types(families, loader):
    """Every type an argument, an output or a record field has, each after the types it is
    made of."""
    seen, order = set(), []

    def need(t):
        if t in seen:
            return
        seen.add(t)
        if t.kind == "record" and t != MAC:
            for _, ft in members_of(t, loader):
                need(ft)
        for part in t.args:
            need(part)
        order.append(t)

    for fam in families:
        for m in fam.methods:
            for a in m.args:
                need(a.type)
            if m.out is not None:
                need(m.out)
    return order


def gen_invoke(families, loader):
    """Tables that drive the library from JSON (tools/invoke.h): an invoker per typed function
    and a round trip per type of the schema."""
    order = [t for t in all_types(families, loader) if t.kind not in ("tuple", "opaque", "map")]
    out = ["// Generated by tools/zoltgen.py: the library driven from JSON. Do not edit.\n",
           '#include "tools/invoke.h"\n\n#include "client/zoltclient.h"\n\n',
           "namespace zolt_tool {\n\nconst Codec kCodecs[] = {\n"]
    for t in sorted(order, key=lambda t: t.cpp):
        trip = "&zolt_tool::round_trip_timestamp" if t.kind == "timestamp" else f"&round_trip<{t.cpp}>"
        out.append(f"    {{{c_string(t.cpp)}, {trip}}},\n")
    out.append("};\n\nconst std::size_t kCodecCount = sizeof(kCodecs) / sizeof(kCodecs[0]);\n\n")
    out.append("namespace {\n\n")
    calls = []
    for fam in families:
        for m in fam.methods:
            i = len(calls)
            calls.append(m)
            names = [f"a{k}" for k in range(len(m.args))]
            out.append(f"// {signature(m)}\n"
                       f"int invoke{i}(void* handle, const Json::Value& args, Json::Value* output) {{\n")
            if not m.args:
                out.append("    (void)args;\n")
            if m.out is None or m.out.kind == "opaque":
                out.append("    (void)output;\n")
            for k, (a, n) in enumerate(zip(m.args, names)):
                out.append(f"    const auto {n} = argument<{a.type.cpp}>(args, {k});\n")
            call = ", ".join(["handle"] + names + (["&out"] if m.out is not None else []))
            if m.out is not None:
                out.append(f"    {m.out.cpp} out{{}};\n")
            out.append(f"    const int code = {m.exported}({call});\n")
            if m.out is not None and m.out.kind != "opaque":
                out.append("    if (code == 0) *output = output_json(out);\n")
            out.append("    return code;\n}\n\n")
    out.append("}  // namespace\n\nconst Invoker kInvokers[] = {\n")
    for i, m in enumerate(calls):
        out.append(f"    {{{c_string(signature(m))}, {c_string(m.rpc)}, {c_string(m.shape)}, &invoke{i}}},\n")
    out.append("};\n\nconst std::size_t kInvokerCount = sizeof(kInvokers) / sizeof(kInvokers[0]);\n\n"
               "}  // namespace zolt_tool\n")
    return "".join(out)


# --- test sources --------------------------------------------------------------------------------

# Within one table: create, then change, then read, then delete.
SWEEP_ORDER = {"add": 0, "set": 1, "singleton_get": 2, "keyed_get": 2, "scalar_get": 2,
               "list_get": 2, "exists": 2, "get_all": 3, "bare": 4, "del": 5}


def sweep_rank(m):
    """A table served by several value types is swept one type at a time (write, then read
    back with the same type), since a row written as one type need not decode as another;
    its del comes after all of them."""
    values = m.table_info.values if m.table_info is not None else []
    if len(values) < 2:
        return 0
    if m.shape in ("set", "add") and len(m.args) > m.key_count:
        t = m.args[-1].type
    elif m.out is not None:
        t = m.out.args[1] if m.out.kind == "map" else m.out
    else:
        return len(values) if m.shape == "del" else 0
    return values.index(t)


def sweep_methods(fam):
    """A family's methods in the sweep's order: per table, a write before a read and a delete."""
    return sorted(fam.methods, key=lambda m: (m.table, sweep_rank(m), SWEEP_ORDER[m.shape]))


def sweep_args(m, loader):
    """A sweep call's arguments: keys the simulator's fresh state knows, then a value unlike a
    fresh switch's."""
    return [written_json(a.type, loader) if i >= m.key_count else sample_json(a.type, loader)
            for i, a in enumerate(m.args)]


def undecodable(m):
    """True when the library cannot decode a non-empty answer of this method: a row of a table
    with three or four key members or of a key-only table, or an opaque record."""
    if m.out is None:
        return False
    if m.out.kind == "map":
        k, v = m.out.args
        return (k.kind == "tuple" and len(k.args) >= 3) or v == KEY_ONLY or v.kind == "opaque"
    return m.out.kind == "opaque"


def gen_sweep(families, loader):
    """One call of every typed function (tests/support/sweep.h), per table in the order add,
    set, the gets, del; each call with its arguments as JSON for the generated invoker, its key
    so that the test can tell whether the switch holds the row, and the value a read must find
    where the sweep wrote it."""
    out = ["// Generated by tools/zoltgen.py: one call of every typed function. Do not edit.\n",
           '#include "support/sweep.h"\n\n',
           "namespace zolt_test {\n\nconst SweepCall kSweep[] = {\n"]
    for fam in families:
        # The value types each table is written with by this sweep.
        written = set()
        for m in fam.methods:
            if m.shape in ("set", "add") and len(m.args) > m.key_count:
                written.add((m.table, m.args[-1].type))
        for m in sweep_methods(fam):
            args = sweep_args(m, loader)
            key = args[:m.key_count] if m.shape != "get_all" else []
            expected = "nullptr"
            if m.out is not None and m.out.kind not in ("map", "opaque") and (m.table, m.out) in written:
                expected = c_string(json.dumps(written_json(m.out, loader), separators=(",", ":")))
            table = m.table_info
            has_add = table is not None and any(x.shape == "add" and x.table_info is table
                                                for x in fam.methods)
            out.append(f"    {{{c_string(signature(m))},\n"
                       f"     {c_string(m.rpc)}, {c_string(m.shape)}, {c_string(m.table)}, "
                       f"{c_string(json.dumps(args, separators=(',', ':')))},\n"
                       f"     {c_string(json.dumps(key, separators=(',', ':')))}, "
                       f"{'true' if has_add else 'false'}, {'true' if undecodable(m) else 'false'}, "
                       f"{expected}}},\n")
    out.append("};\n\nconst std::size_t kSweepCount = sizeof(kSweep) / sizeof(kSweep[0]);\n\n"
               "}  // namespace zolt_test\n")
    return "".join(out)


def gen_include_check(fam):
    return (f"// Generated by tools/zoltgen.py: {fam.header} compiles on its own. Do not edit.\n"
            f'#include "{fam.header}"\n')


# --- reference documentation ----------------------------------------------------------------------

SHAPE_WORDS = {
    "bare": "bare call", "singleton_get": "singleton get", "keyed_get": "keyed get",
    "scalar_get": "scalar get", "list_get": "list get", "exists": "existence get",
    "get_all": "get-all", "set": "set", "add": "add", "del": "del",
}


def type_word(t):
    """A record field's type as the schema writes it, and its wire form."""
    if t in WORD_OF and WORD_OF[t].field and t != MAC:
        return f"{WORD_OF[t].field} ({WORD_OF[t].wire})"
    return f"`{t.cpp}`"


def gen_docs(fam):
    out = [f"<!-- Generated by tools/zoltgen.py from schema/{fam.path}. Do not edit. -->\n",
           f"# {fam.name}\n\n## Typed functions\n\n",
           "| Function | Method | Shape | Parameters |\n|---|---|---|---|\n"]
    for m in fam.methods:
        ps, _ = params(m)
        out.append(f"| `{m.exported}` | \"{m.rpc}\" | {SHAPE_WORDS[m.shape]} | "
                   f"`{', '.join(ps)}` |\n")
    if fam.records:
        out.append("\n## Records\n")
        for r in fam.records:
            out.append(f"\n### `{r.name}`\n\n| JSON key | Type |\n|---|---|\n")
            for f in r.fields:
                out.append(f"| \"{f.key}\" | {type_word(f.type)} |\n")
    for o in fam.opaques:
        out.append(f"\n### `{o.name}`\n\nOpaque: only answers carry it, and decoding one throws "
                   "\"not implemented\".\n")
    if fam.enums:
        out.append("\n## Enumerations\n")
        for e in fam.enums:
            out.append(f"\n### `{e.name}`\n\n| Value | Text | Enumerator |\n|---|---|---|\n")
            for v, t in e.values:
                out.append(f"| {v} | \"{t}\" | `{enumerator(e, t)}` |\n")
    return "".join(out)


def write_if_changed(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    try:
        with open(path, encoding="utf-8") as f:
            if f.read() == text:
                return
    except FileNotFoundError:
        pass
    with open(path + ".tmp", "w", encoding="utf-8") as f:
        f.write(text)
    os.replace(path + ".tmp", path)


def write_tree(out, files, stamp=None):
    """Writes each (path below `out`, text) whose file differs, then touches `stamp`: the build
    runs the generators again only when a schema file or a generator is newer than the stamp."""
    for path, text in files:
        write_if_changed(os.path.join(out, path), text)
    if stamp:
        with open(stamp, "w"):
            pass
    return 0


def main(argv=None):
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("schema_dir", help="the schema directory")
    ap.add_argument("--out", help="where to write the generated tree")
    ap.add_argument("--check", action="store_true", help="parse and validate only")
    ap.add_argument("--stamp", help="touch this file after a successful run")
    ns = ap.parse_args(argv)
    loader = Loader(ns.schema_dir)
    try:
        families = loader.load()
    except SchemaError as e:
        print(f"zoltgen: {e}", file=sys.stderr)
        return 1
    if ns.check:
        total = sum(len(f.methods) for f in families)
        for f in families:
            print(f"{f.path}: {len(f.enums)} enumerations, {len(f.records)} records, "
                  f"{len(f.methods)} functions")
        print(f"{len(families)} families, {total} functions")
        return 0
    if not ns.out:
        ap.error("--out is required unless --check is given")
    files = []
    for fam in families:
        base = os.path.join("schema", fam.subsystem, fam.stem)
        files += [(base + ".h", gen_header(fam, families)), (base + ".cpp", gen_source(fam))]
    files += [
        (os.path.join("schema", "families.h"), gen_families(families)),
        (os.path.join("schema", "manifest.tsv"), gen_manifest(families)),
        (os.path.join("sim", "methods.cpp"), gen_sim(families, loader)),
        (os.path.join("tools", "invoke.cpp"), gen_invoke(families, loader)),
        (os.path.join("tests", "sweep.cpp"), gen_sweep(families, loader)),
    ]
    for fam in families:
        files += [(os.path.join("tests", f"include_{fam.name}.cpp"), gen_include_check(fam)),
                  (os.path.join("docs", f"{fam.name}.md"), gen_docs(fam))]
    return write_tree(ns.out, files, ns.stamp)

if __name__ == "__main__":
    sys.exit(main())
