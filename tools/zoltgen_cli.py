#!/usr/bin/env python3
"""zoltgen_cli: the command line's view of the schema.

Input:  the schema directory, read by tools/zoltgen.py's loader (the same model the library,
        the simulator and the suite are generated from).

Output, below `--out DIR` (rewritten only when the text changes):
  cli/catalog.cpp  the tables of cli/catalog.h: a descriptor of every type that an argument, an
                   output or a record field can have (name, schema word, kind, enumeration texts,
                   record members in declared order, the parts of lists, maps and tuples, and a
                   round trip through the type's own `parse` and writer), and one entry per typed
                   function: method string, shape, parameter and output types, and its invoker
                   among those tools/zoltgen.py writes (gen/tools/invoke.cpp, tools/invoke.h),
                   which are in the same order: both follow the loader's families and methods
  cli/sweep.cpp    one `zolt call` per typed function with sample arguments, in an order that
                   writes a table before reading and deleting it (the suite's sweep order)

Every error of the schema is the loader's, with file and line, and stops the run with status 1.
"""

import argparse
import json
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import zoltgen  # noqa: E402

Type = zoltgen.Type

# Members of the records that the codec layer declares by hand (codec/scalar.h).
BUILTIN_MEMBERS = getattr(zoltgen, "BUILTIN_MEMBERS", None) or {
    zoltgen.BUILTIN_RECORDS["zolt_ipv4_uc_t"]: [
        ("networkAddress", zoltgen.STRING), ("networkPrefixSize", zoltgen.I32),
        ("nextHop", zoltgen.STRING)],
    zoltgen.BUILTIN_RECORDS["NAS_ifindex_index"]: [("InterfaceNo", zoltgen.STRING)],
}

SHAPE_WORDS = zoltgen.SHAPE_WORDS


def members_of(t, loader):
    if t in BUILTIN_MEMBERS:
        return list(BUILTIN_MEMBERS[t])
    return [(f.key, f.type) for f in loader.records[t.cpp].fields]


def plain(cpp):
    """A C++ spelling as a person reads it: without the std:: qualifiers."""
    return cpp.replace("std::", "")


def kind_of(t):
    if t == zoltgen.MAC:
        return "mac"
    if t == zoltgen.BYTES:
        return "hex"
    if t.kind == "scalar":
        return {"bool": "boolean", "string": "text"}.get(t.name, "integer")
    return {"timestamp": "timestamp", "enum": "enumeration", "record": "record",
            "opaque": "opaque", "vector": "list", "map": "map", "tuple": "tuple"}[t.kind]


def word_of(t):
    """A type as a record field's type word of the schema, else its plain C++ spelling."""
    if t.kind in ("scalar", "timestamp"):
        return t.name
    if t == zoltgen.BYTES:
        return "byte list"
    if t.kind == "vector":
        return "list of " + t.args[0].name
    return plain(t.cpp)


def ident(t):
    return "t_" + "".join(c if c.isalnum() else "_" for c in plain(t.cpp)).strip("_")


def has_round_trip(t):
    return t.kind not in ("opaque", "map", "tuple")


def collect_types(families, loader):
    """Every type the command line meets, each after the types it is made of."""
    seen, order = set(), []

    def need(t):
        if t in seen:
            return
        seen.add(t)
        if t.kind == "record" and t != zoltgen.MAC:
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


def gen_types(types, loader):
    out = []
    for t in types:
        out.append(f"extern const Type {ident(t)};\n")
    out.append("\nnamespace {\n\n")
    for t in types:
        if t.kind == "enum":
            texts = ", ".join(zoltgen.c_string(text) for _, text in loader.enums[t.cpp].values)
            out.append(f"const char* const {ident(t)}_texts[] = {{{texts}}};\n")
        elif t.kind == "record" and t != zoltgen.MAC:
            members = ",\n    ".join(f"{{{zoltgen.c_string(k)}, &{ident(ft)}}}"
                                     for k, ft in members_of(t, loader))
            out.append(f"const Member {ident(t)}_members[] = {{\n    {members}}};\n")
        if t.args:
            parts = ", ".join(f"&{ident(p)}" for p in t.args)
            out.append(f"const Type* const {ident(t)}_parts[] = {{{parts}}};\n")
        if has_round_trip(t):
            out.append(f"Json::Value {ident(t)}_round_trip(const Json::Value& json) {{\n"
                       f"    return round_trip<{t.cpp}>(json);\n}}\n")
    out.append("\n}  // namespace\n\n")
    for t in types:
        texts = members = parts = "nullptr, 0"
        if t.kind == "enum":
            texts = f"{ident(t)}_texts, {len(loader.enums[t.cpp].values)}"
        elif t.kind == "record" and t != zoltgen.MAC:
            members = f"{ident(t)}_members, {len(members_of(t, loader))}"
        if t.args:
            parts = f"{ident(t)}_parts, {len(t.args)}"
        trip = f"&{ident(t)}_round_trip" if has_round_trip(t) else "nullptr"
        out.append(f"const Type {ident(t)} = {{{zoltgen.c_string(plain(t.cpp))}, "
                   f"{zoltgen.c_string(word_of(t))}, Kind::{kind_of(t)},\n"
                   f"    {texts}, {members}, {parts}, {trip}}};\n")
    return "".join(out)


def gen_catalog(families, loader):
    types = collect_types(families, loader)
    methods = [m for fam in families for m in fam.methods]
    out = ["// Generated by tools/zoltgen_cli.py: the command line's view of every type and typed\n"
           "// function of the schema. Do not edit.\n",
           '#include "cli/catalog.h"\n\n#include "client/zoltclient.h"\n#include "tools/invoke.h"\n\n',
           "namespace zolt_cli {\n\n", gen_types(types, loader), "\nnamespace {\n\n"]
    for i, m in enumerate(methods):
        if m.args:
            params = ", ".join(f"&{ident(a.type)}" for a in m.args)
            out.append(f"const Type* const params_{i}[] = {{{params}}};\n")
    out.append("}  // namespace\n\nconst Overload kOverloads[] = {\n")
    for i, m in enumerate(methods):
        params = f"params_{i}, {len(m.args)}" if m.args else "nullptr, 0"
        output = f"&{ident(m.out)}" if m.out is not None else "nullptr"
        out.append(f"    {{{zoltgen.c_string(m.rpc)}, {zoltgen.c_string(m.exported)}, "
                   f"{zoltgen.c_string(SHAPE_WORDS[m.shape])}, {params}, {m.key_count}, "
                   f"{output}, &zolt_tool::kInvokers[{i}]}},\n")
    out.append("};\n\nconst std::size_t kOverloadCount = sizeof(kOverloads) / sizeof(kOverloads[0]);"
               "\n\n}  // namespace zolt_cli\n")
    return "".join(out)


def gen_sweep(families, loader):
    """Sample arguments for every overload, in the order of the suite's own sweep: keys the
    simulator's fresh state knows, values unlike a fresh switch's."""
    out = ["// Generated by tools/zoltgen_cli.py: one `zolt call` of every typed function. Do not "
           "edit.\n",
           '#include "support/cli_sweep.h"\n\nnamespace zolt_test {\n\nconst CliCall kCliSweep[] = {\n']
    for fam in families:
        methods = sorted(fam.methods, key=lambda m: (m.table, zoltgen.sweep_rank(m),
                                                     zoltgen.SWEEP_ORDER[m.shape]))
        for m in methods:
            # The overload's place among those of its method string, 1-based, as `describe`
            # lists them.
            same = [x for x in fam.methods if x.rpc == m.rpc]
            place = same.index(m) + 1
            args = []
            for n, a in enumerate(m.args):
                value = (zoltgen.written_json(a.type, loader) if n >= m.key_count
                         else zoltgen.sample_json(a.type, loader))
                args.append(zoltgen.c_string(json.dumps(value, separators=(",", ":"))))
            out.append(f"    {{{zoltgen.c_string(m.rpc)}, {zoltgen.c_string(m.shape)}, {place}, "
                       f"{len(m.args)}, {{{', '.join(args) or 'nullptr'}}}}},\n")
    out.append("};\n\nconst std::size_t kCliSweepCount = sizeof(kCliSweep) / sizeof(kCliSweep[0]);"
               "\n\n}  // namespace zolt_test\n")
    return "".join(out)


def main(argv=None):
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("schema_dir", help="the schema directory")
    ap.add_argument("--out", required=True, help="where to write the generated tree")
    ap.add_argument("--stamp", help="touch this file after a successful run")
    ns = ap.parse_args(argv)
    loader = zoltgen.Loader(ns.schema_dir)
    try:
        families = loader.load()
    except zoltgen.SchemaError as e:
        print(f"zoltgen_cli: {e}", file=sys.stderr)
        return 1
    zoltgen.write_if_changed(os.path.join(ns.out, "cli", "catalog.cpp"),
                             gen_catalog(families, loader))
    zoltgen.write_if_changed(os.path.join(ns.out, "cli", "sweep.cpp"), gen_sweep(families, loader))
    if ns.stamp:
        with open(ns.stamp, "w"):
            pass
    return 0


if __name__ == "__main__":
    sys.exit(main())
