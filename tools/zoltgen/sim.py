"""The simulator's view of the schema (sim/sim_schema.h): a descriptor of every type a key member
or value can have (its JSON check, range, enumeration texts, record members), every table as the
schema states it, and every method with its shape, table and the value type it reads or writes;
and the names its hand-written code uses (sim/names.h)."""

import re

from .text import banner, c_string, compact
from .types import default_json


def ident(t):
    """The C++ name of a type's descriptor in the simulator's table."""
    return "k_" + re.sub(r"[^A-Za-z0-9]+", "_", t.cpp).strip("_")


def check(t):
    """The simulator's check of a type: its Kind and, for integers, the range."""
    if t.word is not None:
        return t.word.check, t.word.low, t.word.high
    return {"enum": "enumeration", "record": "record", "opaque": "opaque"}[t.kind], 0, 0


def fresh_row(values):
    """A fresh row of a table: the default of its value type; for a table served by several
    record types, the union of their defaults, so that a get of every type finds its members."""
    defaults = [default_json(v) for v in values]
    if not isinstance(defaults[0], dict):
        return defaults[0]
    merged = {}
    for d in defaults:
        if isinstance(d, dict):
            merged.update(d)
    return merged


def methods_table(model):
    order = [t for t in model.types(methods=False, tables=True)]
    out = [banner("the schema: the simulator's view of every type, table and method"),
           '#include "sim/sim_schema.h"\n\nnamespace zolt_sim {\n\n']
    for t in order:
        out.append(f"extern const Type {ident(t)};\n")
    out.append("\nnamespace {\n\n")
    for t in order:
        if t.kind == "enum":
            texts = ", ".join(c_string(text) for _, text in t.enum.values)
            out.append(f"const char* const {ident(t)}_texts[] = {{{texts}}};\n")
        elif t.kind == "record":
            members = ", ".join(f"{{{c_string(k)}, &{ident(ft)}}}" for k, ft in t.members)
            out.append(f"const Member {ident(t)}_members[] = {{{members}}};\n")
    out.append("\n}  // namespace\n\n")
    for t in order:
        kind, low, high = check(t)
        texts, members = "nullptr, 0", "nullptr, 0"
        if t.kind == "enum":
            texts = f"{ident(t)}_texts, {len(t.enum.values)}"
        elif t.kind == "record":
            members = f"{ident(t)}_members, {len(t.members)}"
        low_text = f"{low}LL" if low > -2**63 else "-9223372036854775807LL - 1"
        out.append(f"const Type {ident(t)} = {{{c_string(t.cpp.replace('std::', ''))}, Kind::{kind}, "
                   f"{low_text}, {high}ULL, "
                   f"{texts}, {members}}};\n")
    out.append("\nnamespace {\n\n")
    tables = model.tables
    for i, t in enumerate(tables):
        values = [v for v in t.values if not v.key_only]
        if values:
            out.append(f"const Type* const kValues{i}[] = {{{', '.join('&' + ident(v) for v in values)}}};\n")
    out.append("\n}  // namespace\n\nconst TableInfo kTables[] = {\n")
    index = {}
    for i, t in enumerate(tables):
        index[t.name] = i
        values = [v for v in t.values if not v.key_only]
        keys = ", ".join("&" + ident(k) for k in t.keys) or "nullptr"
        fresh = "nullptr" if not values else c_string(compact(fresh_row(values)))
        vals = f"kValues{i}, {len(values)}" if values else "nullptr, 0"
        out.append(f"    {{{c_string(t.name)}, {c_string(t.family.name)}, {len(t.keys)}, {{{keys}}}, {vals}, "
                   f"{'true' if t.per_port else 'false'}, {'true' if t.has_add else 'false'}, {fresh}}},\n")
    out.append("};\n\nconst std::size_t kTableCount = sizeof(kTables) / sizeof(kTables[0]);\n\n"
               "const MethodInfo kMethods[] = {\n")
    rows = []
    for m in model.methods:
        value = m.value
        table = f"&kTables[{index[m.table.name]}]" if m.table is not None else "nullptr"
        rows.append((m.rpc, f"    {{{c_string(m.rpc)}, {c_string(m.family.name)}, Shape::{m.shape}, {table}, "
                            f"{'&' + ident(value) if value is not None else 'nullptr'}}},\n"))
    out += [r for _, r in sorted(rows, key=lambda r: r[0])]
    out.append("};\n\nconst std::size_t kMethodCount = sizeof(kMethods) / sizeof(kMethods[0]);\n\n"
               "}  // namespace zolt_sim\n")
    return "".join(out)


def cpp_name(text):
    return re.sub(r"[^A-Za-z0-9]+", "_", text).strip("_")


def names_header(model):
    """Constants for the names the simulator's hand-written code uses, so that a renamed method,
    table or record key breaks its build instead of silently matching nothing: `method::<name>`
    per method string, `table::<name>` per table (both with every character that cannot stand in
    an identifier as "_"), `key::<JSON key>` per record key of any record."""
    out = [banner("the schema: names of methods, tables and record keys"),
           "#ifndef ZOLT_SIM_NAMES_H\n#define ZOLT_SIM_NAMES_H\n\n"
           "namespace zolt_sim {\nnamespace method {\n"]
    for rpc in sorted({m.rpc for m in model.methods}):
        out.append(f"constexpr const char* {cpp_name(rpc)} = {c_string(rpc)};\n")
    out.append("}  // namespace method\n\nnamespace table {\n")
    for t in sorted(model.tables, key=lambda t: t.name):
        out.append(f"constexpr const char* {cpp_name(t.name)} = {c_string(t.name)};\n")
    out.append("}  // namespace table\n\nnamespace key {\n")
    keys = {f.key for fam in model.families for r in fam.records for f in r.fields}
    for k in sorted(keys):
        out.append(f"constexpr const char* {k} = {c_string(k)};\n")
    out.append("}  // namespace key\n}  // namespace zolt_sim\n\n#endif  // ZOLT_SIM_NAMES_H\n")
    return "".join(out)


def emit(model):
    return [("sim_sources", "sim/methods.cpp", methods_table(model)),
            ("internal_headers", "sim/names.h", names_header(model))]
