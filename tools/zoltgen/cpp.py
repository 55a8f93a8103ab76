"""The library's C++: per family its public header and its source, an internal header with the
direct decoder's descriptors, and the headers and lists that gather the families."""

from .text import banner, c_string, params, record_order, wrap


def header_path(fam):
    return f"schema/{fam.subsystem}/{fam.stem}.h"


def fast_header_path(fam):
    return f"fast/{fam.subsystem}/{fam.stem}.h"


def guard(path):
    return "ZOLT_" + "".join(c if c.isalnum() else "_" for c in path).upper()


def family_header(fam):
    g = guard(header_path(fam))
    out = [banner(f"schema/{fam.path}"), f"#ifndef {g}\n#define {g}\n\n",
           '#include "codec/record.h"\n#include "codec/table.h"\n']
    for u in fam.uses:
        out.append(f'#include "{header_path(u)}"\n')
    out.append("\n")
    for e in fam.enums:
        out.append(f"enum {e.name} : int {{\n")
        for v, t in e.values:
            out.append(f"    {e.enumerator(t)} = {v},\n")
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
    for m in fam.methods:
        out.append(wrap(f"ZOLT_API int {m.exported}(", params(m), ");", 0) + "\n")
    out.append(f"\n#endif  // {g}\n")
    return "".join(out)


def fast_header(fam):
    """The direct decoder's descriptors of the family's enumerations and records (codec/fast.h):
    internal, never installed."""
    g = guard(fast_header_path(fam))
    out = [banner(f"schema/{fam.path}"), f"#ifndef {g}\n#define {g}\n\n",
           f'#include "{header_path(fam)}"\n']
    for u in fam.uses:
        out.append(f'#include "{fast_header_path(u)}"\n')
    out.append("\nnamespace zolt {\nnamespace fast {\nstruct Type;\n}  // namespace fast\n"
               "}  // namespace zolt\n\n")
    for name in [e.name for e in fam.enums] + [r.name for r in fam.records] + \
            [o.name for o in fam.opaques]:
        out.append(f"const zolt::fast::Type& fast_type(const {name}*);\n")
    out.append(f"\n#endif  // {g}\n")
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


def family_source(fam):
    out = [banner(f"schema/{fam.path}"),
           f'#include "{header_path(fam)}"\n\n#include "client/methods.h"\n#include "codec/fast.h"\n'
           f'#include "{fast_header_path(fam)}"\n\n']
    if fam.enums:
        out.append("namespace {\n\n")
        for e in fam.enums:
            out.append(f"constexpr zolt::enum_text<{e.name}> k_{e.name}[] = {{\n")
            for v, t in e.values:
                out.append(f"    {{{e.enumerator(t)}, {c_string(t)}}},\n")
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
        call_args = [c_string(m.rpc)] + (["out"] if m.out is not None else [])
        call_args += [a.name for a in m.args]
        out.append(wrap(f"int {m.exported}(", params(m), ") {", 0) + "\n")
        out.append("    " + wrap(f"return zolt::{SHAPE_CALL[m.shape]}(", ["handle"] + call_args, ");", 4)
                   + "\n}\n\n")
    out.append(fast_source(fam))
    return "".join(out).rstrip() + "\n"


def fast_source(fam):
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


def gather(model, path_of, g):
    out = [banner("the schema: every family"), f"#ifndef {g}\n#define {g}\n\n"]
    for fam in model.families:
        out.append(f'#include "{path_of(fam)}"\n')
    out.append(f"\n#endif  // {g}\n")
    return "".join(out)


def manifest(model):
    out = ["family\tfunction\tmethod\tshape\tparameters\n"]
    for m in model.methods:
        out.append(f"{m.family.name}\t{m.exported}\t{m.rpc}\t{m.shape}\t{', '.join(params(m))}\n")
    return "".join(out)


def emit(model):
    files = []
    for fam in model.families:
        files += [("headers", header_path(fam), family_header(fam)),
                  ("internal_headers", fast_header_path(fam), fast_header(fam)),
                  ("sources", f"schema/{fam.subsystem}/{fam.stem}.cpp", family_source(fam)),
                  ("include_checks", f"tests/include_{fam.name}.cpp",
                   banner(f"schema/{fam.path}") + f'#include "{header_path(fam)}"\n')]
    files += [("headers", "schema/families.h",
               gather(model, header_path, "ZOLT_SCHEMA_FAMILIES_H")),
              ("internal_headers", "fast/families.h",
               gather(model, fast_header_path, "ZOLT_FAST_FAMILIES_H")),
              ("manifest", "schema/manifest.tsv", manifest(model))]
    return files
