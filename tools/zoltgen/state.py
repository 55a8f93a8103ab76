"""The configuration engine's catalog (state/tables.h): every configuration table (model's
`Table.configuration`) in the order a whole configuration is written, with the invokers that
read it whole, write a row, and create and delete rows where the table has them."""

from .text import banner, c_string


def pick(table, shapes, value):
    """The table's method of one of `shapes` that carries `value` (or no value at all)."""
    for m in table.with_shape(*shapes):
        if m.value is None or m.value == value:
            return m
    return None


def catalog(model):
    index = {id(m): i for i, m in enumerate(model.methods)}

    def ref(m):
        return f"&zolt_tool::kInvokers[{index[id(m)]}]" if m is not None else "nullptr"

    out = [banner("the schema: the configuration tables"),
           '#include "state/tables.h"\n\n#include "tools/invoke.h"\n\nnamespace zolt_state {\n\n'
           "const ConfigTable kConfigTables[] = {\n"]
    for fam in model.in_subsystem_order():
        for t in fam.tables:
            if not t.configuration:
                continue
            # A table served by several value types is kept in its first.
            value = t.values[0]
            read = pick(t, ("singleton_get",), value) or next(
                m for m in t.with_shape("get_all") if not m.undecodable and m.value == value)
            out.append(f"    {{{c_string(t.name)}, {c_string(fam.name)}, {len(t.keys)}, "
                       f"{'true' if t.per_port else 'false'},\n"
                       f"     {ref(read)}, {ref(pick(t, ('set',), value))}, "
                       f"{ref(pick(t, ('add',), value))}, {ref(pick(t, ('del',), None))}}},\n")
    out.append("};\n\nconst std::size_t kConfigTableCount = "
               "sizeof(kConfigTables) / sizeof(kConfigTables[0]);\n\n}  // namespace zolt_state\n")
    return "".join(out)


def emit(model):
    return [("state_sources", "state/tables.cpp", catalog(model))]
