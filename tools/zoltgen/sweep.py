"""One call of every typed function, in an order that writes a table before reading and deleting
it, with arguments the simulator's fresh state knows: the suite's sweep through the invokers
(tests/support/sweep.h) and the command line's (tests/support/cli_sweep.h). Other sweeps (the
Python binding's) take the same order and arguments from `calls`."""

from .text import banner, c_string, compact, signature
from .types import key_json, written_json

# Within one table: create, then change, then read, then delete.
ORDER = {"add": 0, "set": 1, "singleton_get": 2, "keyed_get": 2, "scalar_get": 2,
         "list_get": 2, "exists": 2, "get_all": 3, "bare": 4, "del": 5}


def rank(m):
    """A table served by several value types is swept one type at a time (write, then read
    back with the same type), since a row written as one type need not decode as another;
    its del comes after all of them."""
    values = m.table.values if m.table is not None else []
    if len(values) < 2:
        return 0
    t = m.written if m.shape in ("set", "add") else m.read
    if t is None:
        return len(values) if m.shape == "del" else 0
    return values.index(t)


def ordered(fam):
    """A family's methods in the sweep's order: per table, a write before a read and a delete."""
    return sorted(fam.methods, key=lambda m: (m.table_name, rank(m), ORDER[m.shape]))


def arguments(m):
    """A sweep call's arguments: keys the simulator's fresh state knows, then a value unlike a
    fresh switch's."""
    return [written_json(a.type) if i >= m.key_count else key_json(a.type)
            for i, a in enumerate(m.args)]


def calls(model):
    """Every typed function once, in sweep order: (method, arguments as JSON, the key the call
    names, the value a read must find where the sweep wrote it, or None)."""
    out = []
    for fam in model.families:
        written = {(m.table_name, m.written) for m in fam.methods if m.written is not None}
        for m in ordered(fam):
            args = arguments(m)
            key = args[:m.key_count] if m.shape != "get_all" else []
            expected = None
            if m.out is not None and m.out.kind not in ("map", "opaque") and \
                    (m.table_name, m.out) in written:
                expected = written_json(m.out)
            out.append((m, args, key, expected))
    return out


def suite_sweep(model):
    """Each call with its arguments as JSON for the generated invoker, its key so that the test
    can tell whether the switch holds the row, and the value a read must find."""
    out = [banner("the schema: one call of every typed function"),
           '#include "support/sweep.h"\n\n',
           "namespace zolt_test {\n\nconst SweepCall kSweep[] = {\n"]
    for m, args, key, expected in calls(model):
        has_add = m.table is not None and m.table.has_add
        out.append(f"    {{{c_string(signature(m))},\n"
                   f"     {c_string(m.rpc)}, {c_string(m.shape)}, {c_string(m.table_name)}, "
                   f"{c_string(compact(args))},\n"
                   f"     {c_string(compact(key))}, "
                   f"{'true' if has_add else 'false'}, {'true' if m.undecodable else 'false'}, "
                   f"{c_string(compact(expected)) if expected is not None else 'nullptr'}}},\n")
    out.append("};\n\nconst std::size_t kSweepCount = sizeof(kSweep) / sizeof(kSweep[0]);\n\n"
               "}  // namespace zolt_test\n")
    return "".join(out)


def cli_sweep(model):
    """Sample arguments for every overload, for `zolt call`, with the overload's place among
    those of its method string (1-based, as `describe` lists them)."""
    out = [banner("the schema: one `zolt call` of every typed function"),
           '#include "support/cli_sweep.h"\n\nnamespace zolt_test {\n\nconst CliCall kCliSweep[] = {\n']
    for m, args, _, _ in calls(model):
        same = [x for x in m.family.methods if x.rpc == m.rpc]
        place = same.index(m) + 1
        words = [c_string(compact(value)) for value in args]
        out.append(f"    {{{c_string(m.rpc)}, {c_string(m.shape)}, {place}, "
                   f"{len(m.args)}, {{{', '.join(words) or 'nullptr'}}}}},\n")
    out.append("};\n\nconst std::size_t kCliSweepCount = sizeof(kCliSweep) / sizeof(kCliSweep[0]);"
               "\n\n}  // namespace zolt_test\n")
    return "".join(out)


def emit(model):
    return [("sweep", "tests/sweep.cpp", suite_sweep(model)),
            ("cli_sweep", "cli/sweep.cpp", cli_sweep(model))]
