"""The model: every schema file read, checked and resolved into descriptors.

`load(schema_dir)` reads every `<schema_dir>/<subsystem>/<family>.schema` (the language is
described in schema/README.md) and returns a `Model`. All files are read together, so a family may
use another family's enumerations and records (`use <family>`). Every error raises `SchemaError`
naming the file and line; nothing is guessed and nothing has a silent default.

What the emitters get is fully resolved: every type reference is a `Type` of the type table
(types.py) or names its declaration (`Type.decl`); every method knows its table, shape, key count,
argument names and the value it writes or reads; every table knows its methods and which verbs it
has. Emitters read the model and nothing else.
"""

import os
import re
from dataclasses import dataclass, field
from typing import Dict, List, Optional, Tuple

from .types import (BOOL, BYTES, CPP_WORDS, ENUM, FIELD_WORDS, I32, KEY_ONLY, KEY_SCALARS, LIST,
                    MAC, MAP, OPAQUE, RECORD, SCALAR_OUTPUTS, STRING, STRINGS,
                    TABLE_SCALAR_VALUES, TUPLE, TUPLE_MEMBER_SCALARS, Type, passing_of)


class SchemaError(Exception):
    pass


# The order in which subsystems stand (the order a configuration is applied in); a subsystem
# directory not named here comes after these, alphabetically.
SUBSYSTEM_ORDER = ["shared", "ports", "layer2", "ip", "multicast", "qos", "security",
                   "management"]

@dataclass
class Enum:
    name: str
    values: List[Tuple[int, str]]
    family: "Family"
    line: int
    lines: List[int] = field(default_factory=list)   # the line of each value

    def enumerator(self, text):
        """The C++ enumerator of a text: the enumeration's name without "_t", "_", and the text
        with every character that cannot stand in an identifier as "_"."""
        stem = self.name[:-2] if self.name.endswith("_t") else self.name
        return stem + "_" + re.sub(r"[^A-Za-z0-9_]", "_", text)


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
    name: str = ""     # "key", "key1".."key4" for key members, "value" for the value written


@dataclass
class Method:
    rpc: str
    args: List[Arg]
    out: Optional[Type]
    line: int
    family: "Family" = None
    shape: str = ""
    key_count: int = 0     # how many leading arguments (or members of a map key) form the key
    table: Optional["Table"] = None   # the declared table; None for a bare call

    @property
    def exported(self):
        return "zolt_" + self.rpc.replace(".", "_").replace("-", "_")

    @property
    def table_name(self):
        """The state a method works on: its string without the last word (the verb)."""
        return self.rpc.rsplit(".", 1)[0] if "." in self.rpc else self.rpc

    @property
    def verb(self):
        return self.rpc.rsplit(".", 1)[1]

    @property
    def written(self):
        """The value a set or add writes after the key members; None for every other method and
        for a key-only table's rows."""
        if self.shape in ("set", "add") and len(self.args) > self.key_count:
            return self.args[-1].type
        return None

    @property
    def read(self):
        """The value a get reads: its output, or a get-all's row value; None without output."""
        if self.out is None:
            return None
        return self.out.args[1] if self.out.kind == MAP else self.out

    @property
    def value(self):
        """The value type a method carries (written or read), None for a key-only row."""
        v = self.written if self.shape in ("set", "add") else self.read
        return None if v is None or v.key_only else v

    @property
    def key_types(self):
        """The key members: the leading arguments, or a get-all's map key's members."""
        if self.shape == "get_all":
            k = self.out.args[0]
            return list(k.args) if k.kind == TUPLE else [k]
        return [a.type for a in self.args[:self.key_count]]

    @property
    def undecodable(self):
        """True when the library cannot decode a non-empty answer of this method: a row of a
        table with three or four key members or of a key-only table, or an opaque record."""
        if self.out is None:
            return False
        if self.out.kind == MAP:
            k, v = self.out.args
            return (k.kind == TUPLE and len(k.args) >= 3) or v.key_only or v.kind == OPAQUE
        return self.out.kind == OPAQUE


@dataclass
class Table:
    """A table as the schema states it: the state a group of methods works on."""
    name: str              # a method string without its verb: "port.config"
    keys: List[Type]       # its key members in "params" order; empty for a singleton
    values: List[Type]     # its value types; [tuple<>] for a key-only table
    per_port: bool         # a fresh switch holds one default row per port
    line: int
    family: "Family" = None
    methods: List["Method"] = field(default_factory=list)   # in schema order

    @property
    def key_only(self):
        return self.values == [KEY_ONLY]

    def with_shape(self, *shapes):
        return [m for m in self.methods if m.shape in shapes]

    @property
    def has_add(self):
        return bool(self.with_shape("add"))

    @property
    def has_set(self):
        return bool(self.with_shape("set"))

    @property
    def has_del(self):
        return bool(self.with_shape("del"))

    @property
    def configuration(self):
        """A configuration table: under a ".config." method string, read whole by one call
        (`readable_whole`), and written by a set. Status, statistics and control tables, and
        tables the library cannot read whole, are not."""
        return (".config." in self.name + ".") and self.readable_whole and self.has_set

    @property
    def readable_whole(self):
        """True when one call reads the whole table and the library decodes every row: a
        singleton get, or a get-all of at most two key members and a value that is not empty."""
        if self.with_shape("singleton_get"):
            return True
        return any(not m.undecodable for m in self.with_shape("get_all"))


@dataclass
class Family:
    name: str
    path: str          # schema file, relative to the schema directory
    subsystem: str
    use_names: List[str] = field(default_factory=list)
    uses: List["Family"] = field(default_factory=list)   # resolved from use_names
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
        by_name = {f.name: f for f in self.families}
        for fam in self.families:
            for u in fam.use_names:
                if u not in by_name:
                    self.fail(fam, 1, f"'use {u}' names no family")
                fam.uses.append(by_name[u])
        for fam in self.families:
            self.resolve_records(fam)
        for fam in self.families:
            self.resolve_tables(fam)
        for fam in self.families:
            self.resolve_methods(fam)
        self.check_identifiers()
        return Model(self.families)

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
                    fam.use_names.append(words[1])
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
            self.add_type(fam, e.line, e.name, Type(ENUM, e.name, name=e.name, decl=e))
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
            self.add_type(fam, r.line, r.name, Type(RECORD, r.name, name=r.name, decl=r))
            self.records[r.name] = r
        for o in fam.opaques:
            self.add_type(fam, o.line, o.name, Type(OPAQUE, o.name, name=o.name, decl=o))

    def add_type(self, fam, line, name, t):
        if not IDENT.match(name):
            self.fail(fam, line, f"'{name}' is not a C++ identifier")
        if name in self.types or name in FIELD_WORDS:
            where = self.types[name][1].path if name in self.types else "the codec layer"
            self.fail(fam, line, f"type '{name}' is declared again (first in {where})")
        self.types[name] = (t, fam)

    # --- resolving ----------------------------------------------------------------------------

    def named(self, fam, line, name):
        if name == MAC.cpp:
            return MAC
        if name not in self.types:
            self.fail(fam, line, f"unknown type '{name}'")
        t, owner = self.types[name]
        if owner is not fam and owner.name not in fam.use_names:
            self.fail(fam, line, f"type '{name}' belongs to family '{owner.name}': add 'use {owner.name}'")
        return t

    def resolve_records(self, fam):
        for rec, key, text, line in fam.raw_fields:
            if not IDENT.match(key):
                self.fail(fam, line, f'JSON key "{key}" is not a C++ identifier')
            if any(f.key == key for f in rec.fields):
                self.fail(fam, line, f'key "{key}" appears twice in {rec.name}')
            t = FIELD_WORDS.get(text) or self.named(fam, line, text)
            if t.kind == OPAQUE:
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
                    return Type(MAP, f"std::map<{k.cpp}, {v.cpp}>", (k, v))
                cpp = "std::tuple<" + ", ".join(t.cpp for t in inner) + ">"
                return Type(TUPLE, cpp, tuple(inner))
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
            m = Method(rpc, args, out, line, fam)
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
            for a, n in zip(m.args, arg_names(len(m.args), m.key_count)):
                a.name = n
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
        if out.kind == MAP:
            if args:
                self.fail(fam, m.line, "a get-all (map output) takes no arguments")
            self.check_map(fam, m.line, out)
            return "get_all"
        if out in SCALAR_OUTPUTS:
            return "scalar_get"
        if out == STRINGS:
            if not args:
                self.fail(fam, m.line, "a list get takes keys")
            return "list_get"
        if out.kind in (RECORD, ENUM, OPAQUE) or out in (STRING, MAC):
            return "keyed_get" if args else "singleton_get"
        self.fail(fam, m.line, f"'{out.cpp}' cannot be an output")

    def check_map(self, fam, line, t):
        k, v = t.args
        key_ok = k in KEY_SCALARS or k.kind in (RECORD, ENUM) or k == MAC or (
            k.kind == TUPLE and 2 <= len(k.args) <= 4 and all(
                a in TUPLE_MEMBER_SCALARS or a.kind == ENUM for a in k.args))
        if not key_ok:
            self.fail(fam, line, f"'{k.cpp}' cannot be a table key")
        value_ok = v.kind in (RECORD, ENUM) or v == MAC or v in TABLE_SCALAR_VALUES or v.key_only
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
                    if not (t in KEY_SCALARS or t.kind in (RECORD, ENUM) or t == MAC):
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
                if not (t.kind in (RECORD, ENUM, OPAQUE) or t == MAC
                        or t in TABLE_SCALAR_VALUES or t == KEY_ONLY):
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
            fam.tables.append(Table(name, keys, values, per_port, line, fam))

    def fit_table(self, fam, m):
        """Binds a method to its table and takes its key count from it; refuses a method whose
        arguments or output do not fit the table."""
        if m.shape == "bare":
            return
        table = next((t for t in fam.tables if t.name == m.table_name), None)
        if table is None:
            self.fail(fam, m.line, f'"{m.rpc}" belongs to table "{m.table_name}", which the tables '
                                   "block does not declare")
        table.methods.append(m)
        m.table = table
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
            if not t.methods:
                self.fail(fam, t.line, f'table "{t.name}" is used by no method')

    def check_identifiers(self):
        """Enumerators live in the global namespace: no two may share a name."""
        seen = {}
        for fam in self.families:
            for e in fam.enums:
                for (v, t), ln in zip(e.values, e.lines):
                    name = e.enumerator(t)
                    if name in seen:
                        self.fail(fam, ln, f"enumerator name {name} clashes with schema/{seen[name]}")
                    seen[name] = f"{fam.path}:{ln}"


def arg_names(count, key_count):
    """A typed function's parameter names: "key" (or "key1".."key4"), then "value"."""
    names = []
    for i in range(count):
        if i >= key_count:
            names.append("value")
        elif key_count == 1:
            names.append("key")
        else:
            names.append(f"key{i + 1}")
    return names


class Model:
    """The resolved schema: families in the order of their files (subsystem directory, then file
    name), and the views across them that several outputs need."""

    def __init__(self, families):
        self.families = families

    @property
    def methods(self):
        return [m for fam in self.families for m in fam.methods]

    @property
    def tables(self):
        return [t for fam in self.families for t in fam.tables]

    def in_subsystem_order(self):
        """The families with the subsystems in their order (SUBSYSTEM_ORDER), each subsystem's
        families in file order: the order a whole configuration is written in."""
        def rank(fam):
            if fam.subsystem in SUBSYSTEM_ORDER:
                return (SUBSYSTEM_ORDER.index(fam.subsystem), "")
            return (len(SUBSYSTEM_ORDER), fam.subsystem)
        return sorted(self.families, key=rank)

    def types(self, methods=True, tables=False):
        """Every type that an argument, an output or a record field has (`methods`), and every
        key member and value of a table (`tables`), each after the types it is made of."""
        seen, order = set(), []

        def need(t):
            if t in seen:
                return
            seen.add(t)
            for _, ft in t.members:
                need(ft)
            for part in t.args:
                need(part)
            order.append(t)

        for fam in self.families:
            if tables:
                for table in fam.tables:
                    for k in table.keys:
                        need(k)
                    for v in table.values:
                        if not v.key_only:
                            need(v)
            for m in fam.methods if methods else []:
                for a in m.args:
                    need(a.type)
                if m.out is not None:
                    need(m.out)
        return order


def load(schema_dir):
    """Reads, checks and resolves every schema file below `schema_dir`."""
    return Loader(schema_dir).load()
