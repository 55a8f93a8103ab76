"""The Python binding (python/binding.h, python/module.cpp): per family one translation unit that
describes the family's enumerations, records and typed functions to the binding's templates, the
function that binds every family in turn, and the data of the binding's sweep.

  python/<family>.cpp   PYTHON_SOURCES: `bind_family_<family>`: each enumeration with its values,
                        texts and Python member names; each record with its fields (attributes
                        named by their JSON keys); each typed function as a method of
                        zolt.Client, overloads of one C++ name under one Python name in schema
                        order (the first whose arity and argument types fit is called, as
                        `zolt call` chooses)
  python/families.cpp   PYTHON_SOURCES: `bind_families`, every family in model order
  python/sweep.json     PYTHON_FILES: the suite sweep's calls, with each argument's Python type,
                        for python/tests/test_sweep.py

The Python side of every name is decided here and in emit_stubs.py, from the same functions.
"""

import keyword
import re

from .sweep import calls
from .text import SHAPE_WORDS, banner, c_string, compact, params, schema_spelling

# Names an enumeration member may not take: Python's keywords, the Enum machinery's own `mro`,
# and `text`, which would hide the members' wire text.
RESERVED_MEMBERS = set(keyword.kwlist) | {"mro", "text"}


def member_name(text):
    """An enumeration member's Python name: its wire text where that is an identifier;
    otherwise every character that cannot stand in one becomes "_", a leading digit gets "_" in
    front, and a reserved name (a keyword, `mro`, `text`) gets "_" after."""
    name = re.sub(r"[^A-Za-z0-9_]", "_", text)
    if name[0].isdigit():
        name = "_" + name
    if name in RESERVED_MEMBERS:
        name += "_"
    return name


def members(e):
    """(value, text, member name) of an enumeration; refuses two texts that give one name, and
    a name that Enum would not take as a member (dunder and sunder names)."""
    out, seen = [], {}
    for value, text in e.values:
        name = member_name(text)
        if name in seen:
            raise AssertionError(f"{e.name}: texts \"{seen[name]}\" and \"{text}\" both become "
                                 f"the member {name}")
        if name.startswith("__") or (name.startswith("_") and name.endswith("_") and len(name) > 2):
            raise AssertionError(f"{e.name}: \"{text}\" gives the member name {name}, which "
                                 "Enum reserves")
        seen[name] = text
        out.append((value, text, name))
    return out


def method_name(m):
    return m.exported[len("zolt_"):]


def py_type(t, argument=False):
    """A type as Python (and the stubs) spell it; `argument` widens what a caller may pass."""
    if t.kind == "scalar":
        return {"bool": "bool", "string": "str"}.get(t.name, "int")
    if t.kind == "mac":
        return "Mac | str" if argument else "Mac"
    if t.kind == "bytes":
        return "bytes"
    if t.kind == "timestamp":
        return "int"
    if t.kind == "list":
        return f"list[{py_type(t.args[0])}]"
    if t.kind == "map":
        return f"dict[{py_type(t.args[0])}, {py_type(t.args[1])}]"
    if t.kind == "tuple":
        return "None" if not t.args else "tuple[" + ", ".join(py_type(a) for a in t.args) + "]"
    return t.name or t.cpp


def py_return(m):
    if m.shape == "exists":
        return "bool"
    return py_type(m.out) if m.out is not None else "None"


def py_signature(m):
    args = ", ".join(f"{a.name}: {py_type(a.type, True)}" for a in m.args)
    return f"{method_name(m)}({args}) -> {py_return(m)}"


RETURNS = {
    "bare": "Returns None; raises SwitchError when the switch answers an error.",
    "set": "Returns None; raises SwitchError when the switch answers an error.",
    "add": "Returns None; raises SwitchError when the switch answers an error.",
    "del": "Returns None; raises SwitchError when the switch answers an error.",
    "exists": "Returns True when the switch answers code 0, False for any other code.",
    "get_all": "Returns the table as a dict in key order; raises SwitchError on an error.",
}


def method_doc(m):
    """One overload's docstring: its Python signature, method string, shape and C++ function."""
    returns = RETURNS.get(m.shape, "Returns the output; raises SwitchError on an error.")
    return (f"{py_signature(m)}\n\n"
            f"\"{m.rpc}\", {SHAPE_WORDS[m.shape]}: {schema_spelling(m.out) if m.out else '-'} "
            f"from {', '.join(a.name for a in m.args) or 'no arguments'}.\n"
            f"{returns}\n"
            f"C++: int {m.exported}({', '.join(params(m))})\n")


def record_doc(r):
    fields = ", ".join(f"{f.key}: {py_type(f.type)}" for f in r.fields)
    return (f"Record {r.name} of the {r.family.name} family; attributes by JSON key: {fields}. "
            "Built from keywords; every field not given is zero, empty or the enumeration's 0.")


def enum_doc(e):
    pairs = ", ".join(f"{v} \"{t}\"" for v, t in e.values)
    return f"Enumeration {e.name} of the {e.family.name} family: {pairs}."


def ident(name):
    return re.sub(r"[^A-Za-z0-9_]", "_", name)


def cpp_param(a):
    return f"const {a.type.cpp}&" if a.by_ref else a.type.cpp


def family_source(fam):
    stem = ident(fam.name)
    out = [banner(f"schema/{fam.path}"),
           '#include "python/binding.h"\n',
           f'#include "{fam.header}"\n\n',
           "namespace zolt_py {\nnamespace {\n\n"]
    for e in fam.enums:
        out.append(f"const EnumValue k_{e.name}[] = {{\n")
        for value, text, name in members(e):
            out.append(f"    {{{value}, {c_string(text)}, {c_string(name)}}},\n")
        out.append("};\n\n")
    for r in fam.records:
        out.append(f"const Field k_{r.name}_fields[] = {{\n")
        for f in r.fields:
            out.append(f"    field({c_string(f.key)}, &{r.name}::{f.key}),\n")
        out.append("};\n")
        out.append(f"RecordInfo k_{r.name} = record_info<{r.name}>(\n"
                   f"    {c_string(r.name)}, {c_string(record_doc(r))},\n"
                   f"    k_{r.name}_fields, {len(r.fields)});\n\n")
    for o in fam.opaques:
        doc = (f"{o.name}: a type that only answers carry; the library does not model it, and "
               "reading one raises zolt.Error(\"not implemented\").")
        out.append(f"RecordInfo k_{o.name} = opaque_info<{o.name}>({c_string(o.name)}, "
                   f"{c_string(doc)});\n\n")
    if fam.methods:
        out.append("const Method k_methods[] = {\n")
        for m in fam.methods:
            names = ", ".join(c_string(a.name) for a in m.args)
            types = [cpp_param(a) for a in m.args]
            typed = (f"typed_get<{', '.join([m.out.cpp] + types)}>" if m.out is not None
                     else f"typed_call<{', '.join(types)}>")
            out.append(f"    method({c_string(method_name(m))}, {c_string(m.rpc)}, {{{names}}}, "
                       f"{'true' if m.shape == 'exists' else 'false'},\n"
                       f"           {c_string(method_doc(m))},\n"
                       f"           {typed}(&{m.exported})),\n")
        out.append("};\n\n")
    out.append("}  // namespace\n\n")
    out.append(f"void bind_family_{stem}(py::module_& m, py::class_<Client>& client) {{\n")
    out.append("    (void)m;\n    (void)client;\n")
    for e in fam.enums:
        out.append(f"    bind_enum<{e.name}>(m, {c_string(e.name)}, k_{e.name}, "
                   f"{len(e.values)}, {c_string(enum_doc(e))});\n")
    for r in fam.records:
        out.append(f"    bind_record<{r.name}>(m, k_{r.name});\n")
    for o in fam.opaques:
        out.append(f"    bind_record<{o.name}>(m, k_{o.name});\n")
    if fam.methods:
        out.append(f"    def_methods(client, k_methods, {len(fam.methods)});\n")
    out.append("}\n\n}  // namespace zolt_py\n")
    return "".join(out)


def families_source(model):
    out = [banner("the schema: every family's binding"),
           '#include "python/binding.h"\n\nnamespace zolt_py {\n\n']
    for fam in model.families:
        out.append(f"void bind_family_{ident(fam.name)}(py::module_& m, py::class_<Client>& client);\n")
    out.append("\n// Every family's enumerations, records and methods, in model order.\n"
               "void bind_families(py::module_& m, py::class_<Client>& client) {\n")
    for fam in model.families:
        out.append(f"    bind_family_{ident(fam.name)}(m, client);\n")
    out.append("}\n\n}  // namespace zolt_py\n")
    return "".join(out)


def arg_type(t):
    """How the sweep turns an argument's JSON into a Python value: the name of a zolt class or
    of a builtin type, for zolt.from_json."""
    if t.kind == "scalar":
        return {"bool": "bool", "string": "str"}.get(t.name, "int")
    if t.kind == "mac":
        return "Mac"
    return t.name


def sweep_json(model):
    rows = []
    for m, args, key, expected in calls(model):
        same = [x for x in m.family.methods if x.rpc == m.rpc]
        rows.append({
            "method": method_name(m), "rpc": m.rpc, "shape": m.shape,
            "table": m.table_name, "overload": same.index(m) + 1,
            "args": args, "types": [arg_type(a.type) for a in m.args], "key": key,
            "has_add": m.table is not None and m.table.has_add,
            "undecodable": m.undecodable, "expected": expected,
        })
    return "[\n" + ",\n".join(compact(r) for r in rows) + "\n]\n"


def emit(model):
    files = [("python_sources", f"python/{fam.name}.cpp", family_source(fam))
             for fam in model.families]
    files.append(("python_sources", "python/families.cpp", families_source(model)))
    files.append(("python_files", "python/sweep.json", sweep_json(model)))
    return files
