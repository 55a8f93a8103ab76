"""The command line's catalog (cli/catalog.h): a descriptor of every type that an argument, an
output or a record field can have (name, schema word, kind, enumeration texts, record members in
declared order, the parts of lists, maps and tuples, and a round trip through the type's own
`parse` and writer), and one entry per typed function: name, shape, parameter and output types,
and its invoker, which stand in the same order (both follow the model's methods)."""

from .invoke import round_trip
from .text import SHAPE_WORDS, banner, c_string

KINDS = {"scalar": None, "mac": "mac", "bytes": "hex", "timestamp": "timestamp",
         "enum": "enumeration", "record": "record", "opaque": "opaque", "list": "list",
         "map": "map", "tuple": "tuple"}


def plain(cpp):
    """A C++ spelling as a person reads it: without the std:: qualifiers."""
    return cpp.replace("std::", "")


def kind_of(t):
    if t.kind == "scalar":
        return {"bool": "boolean", "string": "text"}.get(t.name, "integer")
    return KINDS[t.kind]


def word_of(t):
    """A type as a record field's type word of the schema, else its plain C++ spelling."""
    return t.word.field if t.word is not None and t.word.field else plain(t.cpp)


def ident(t):
    return "t_" + "".join(c if c.isalnum() else "_" for c in plain(t.cpp)).strip("_")


def types_table(types):
    out = []
    for t in types:
        out.append(f"extern const Type {ident(t)};\n")
    out.append("\nnamespace {\n\n")
    for t in types:
        if t.kind == "enum":
            texts = ", ".join(c_string(text) for _, text in t.enum.values)
            out.append(f"const char* const {ident(t)}_texts[] = {{{texts}}};\n")
        elif t.kind == "record":
            members = ",\n    ".join(f"{{{c_string(k)}, &{ident(ft)}}}" for k, ft in t.members)
            out.append(f"const Member {ident(t)}_members[] = {{\n    {members}}};\n")
        if t.args:
            parts = ", ".join(f"&{ident(p)}" for p in t.args)
            out.append(f"const Type* const {ident(t)}_parts[] = {{{parts}}};\n")
    out.append("\n}  // namespace\n\n")
    for t in types:
        texts = members = parts = "nullptr, 0"
        if t.kind == "enum":
            texts = f"{ident(t)}_texts, {len(t.enum.values)}"
        elif t.kind == "record":
            members = f"{ident(t)}_members, {len(t.members)}"
        if t.args:
            parts = f"{ident(t)}_parts, {len(t.args)}"
        trip = f"&zolt_tool::{round_trip(t)[1:]}" if t.kind not in ("opaque", "map", "tuple") \
            else "nullptr"
        out.append(f"const Type {ident(t)} = {{{c_string(plain(t.cpp))}, "
                   f"{c_string(word_of(t))}, Kind::{kind_of(t)},\n"
                   f"    {texts}, {members}, {parts}, {trip}}};\n")
    return "".join(out)


def catalog(model):
    methods = model.methods
    out = [banner("the schema: the command line's view of every type and typed function"),
           '#include "cli/catalog.h"\n\n#include "client/zoltclient.h"\n#include "tools/invoke.h"\n\n',
           "namespace zolt_cli {\n\n", types_table(model.types()), "\nnamespace {\n\n"]
    for i, m in enumerate(methods):
        if m.args:
            params = ", ".join(f"&{ident(a.type)}" for a in m.args)
            out.append(f"const Type* const params_{i}[] = {{{params}}};\n")
    out.append("}  // namespace\n\nconst Overload kOverloads[] = {\n")
    for i, m in enumerate(methods):
        params = f"params_{i}, {len(m.args)}" if m.args else "nullptr, 0"
        output = f"&{ident(m.out)}" if m.out is not None else "nullptr"
        out.append(f"    {{{c_string(m.exported)}, "
                   f"{c_string(SHAPE_WORDS[m.shape])}, {params}, {m.key_count}, "
                   f"{output}, &zolt_tool::kInvokers[{i}]}},\n")
    out.append("};\n\nconst std::size_t kOverloadCount = sizeof(kOverloads) / sizeof(kOverloads[0]);"
               "\n\n}  // namespace zolt_cli\n")
    return "".join(out)


def emit(model):
    return [("cli_sources", "cli/catalog.cpp", catalog(model))]
