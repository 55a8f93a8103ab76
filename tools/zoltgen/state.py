"""The configuration engine's catalog (state/tables.h): every configuration table (model's
`Table.configuration`) in the order a whole configuration is written, with the invokers that
read it whole, write a row, and create and delete rows where the table has them, and the codecs
(entries of tools/invoke.h's kCodecs) of its key members, its value and each of its value's
fields, so that a document is checked field by field before anything is sent."""

from .invoke import codec_types
from .text import banner, c_string


def pick(table, shapes, value):
    """The table's method of one of `shapes` that carries `value` (or no value at all)."""
    for m in table.with_shape(*shapes):
        if m.value is None or m.value == value:
            return m
    return None


def catalog(model):
    index = {id(m): i for i, m in enumerate(model.methods)}
    codec = {t: i for i, t in enumerate(codec_types(model))}

    def ref(m):
        return f"&zolt_tool::kInvokers[{index[id(m)]}]" if m is not None else "nullptr"

    def codec_ref(t):
        return f"&zolt_tool::kCodecs[{codec[t]}]"

    tables, parts = [], []
    for fam in model.in_subsystem_order():
        for t in fam.tables:
            if not t.configuration:
                continue
            n = len(tables)
            # A table served by several value types is kept in its first.
            value = t.values[0]
            read = pick(t, ("singleton_get",), value) or next(
                m for m in t.with_shape("get_all") if not m.undecodable and m.value == value)
            keys = "nullptr"
            if t.keys:
                keys = f"kKeys{n}"
                parts.append(f"const zolt_tool::Codec* const {keys}[] = {{"
                             + ", ".join(codec_ref(k) for k in t.keys) + "};\n")
            fields = "nullptr"
            if value.members:
                fields = f"kFields{n}"
                parts.append(f"const Field {fields}[] = {{\n"
                             + "".join(f"    {{{c_string(k)}, {codec_ref(ft)}}},\n"
                                       for k, ft in value.members) + "};\n")
            tables.append(
                f"    {{{c_string(t.name)}, {c_string(fam.name)}, {len(t.keys)}, "
                f"{'true' if t.per_port else 'false'},\n"
                f"     {ref(read)}, {ref(pick(t, ('set',), value))}, "
                f"{ref(pick(t, ('add',), value))}, {ref(pick(t, ('del',), None))},\n"
                f"     {keys}, {codec_ref(value)}, {fields}, {len(value.members)}}},\n")
    return "".join(
        [banner("the schema: the configuration tables"),
         '#include "state/tables.h"\n\n#include "tools/invoke.h"\n\nnamespace zolt_state {\n\n'
         "namespace {\n\n"] + parts +
        ["\n}  // namespace\n\nconst ConfigTable kConfigTables[] = {\n"] + tables +
        ["};\n\nconst std::size_t kConfigTableCount = "
         "sizeof(kConfigTables) / sizeof(kConfigTables[0]);\n\n}  // namespace zolt_state\n"])


def emit(model):
    return [("state_sources", "state/tables.cpp", catalog(model))]
