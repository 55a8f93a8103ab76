"""The Prometheus exporter's metric map (exporter/metrics.json) and its reference page
(docs/metrics.md), from the statistics and status tables.

A table is exported when its name has a "statistics" or "status" word and one call reads it
whole and the library decodes it (`Table.readable_whole`): a singleton get, or a get-all. Its
rows give one series per numeric field of the value, a nested record's fields flattened by their
key path:

- an integer (or time stamp) is a counter in a statistics table and a gauge in a status table;
- a boolean is a gauge of 0 or 1;
- an enumeration is a state set: one series per text, 1 for the current one.

Texts, MAC addresses and lists carry no number and are left out. The labels are the key
members: a record key gives one label per field, an enumeration its text, a MAC its text. A
string key that names a port is `interface`; every other member is named after the table.

Metric names follow the Prometheus rules: `zolt_`, the table's words, then the JSON key path in
snake_case; a counter's name is given without `_total`, which the exposition adds. The map is
data (JSON), so the exporter ships it beside its script and any tool can read it without
importing the binding.
"""

import json
import re

from .emit_python import method_name
from .model import SchemaError
from .types import BOOL, ENUM, MAC_KIND, RECORD, SCALAR, TIMESTAMP_KIND, TUPLE

CATEGORIES = ("statistics", "status")
# A string key member is a port when its table says so by one of these words.
INTERFACE_WORDS = {"interface", "interfaces"}


def snake(text):
    """CamelCase, dashes and dots to snake_case: "RxOctets" -> "rx_octets", "if-group" ->
    "if_group", "IPv4Addr" -> "ipv4_addr"."""
    text = re.sub(r"([A-Z]+)([A-Z][a-z])", r"\1_\2", text)
    text = re.sub(r"([a-z0-9])([A-Z])", r"\1_\2", text)
    text = re.sub(r"[^A-Za-z0-9]+", "_", text).strip("_").lower()
    return re.sub(r"_+", "_", text)


def category(table):
    words = table.name.split(".")
    for word in CATEGORIES:
        if word in words:
            return word
    return None


def exported_tables(model):
    """Every statistics and status table that one call reads whole, with that call."""
    out = []
    for table in model.tables:
        if category(table) is None or not table.readable_whole:
            continue
        reads = table.with_shape("singleton_get") or [
            m for m in table.with_shape("get_all") if not m.undecodable]
        out.append((table, reads[0]))
    return out


def type_name(t):
    """A declared type's name without its "zolt_appl_"/"zolt_" prefix and "_t" suffix."""
    name = t.name[:-2] if t.name.endswith("_t") else t.name
    for prefix in ("zolt_appl_", "zolt_"):
        if name.startswith(prefix):
            return name[len(prefix):]
    return name


def table_word(table):
    """The word a key member is named after: the table's last word that is not a category."""
    words = [w for w in table.name.split(".") if w not in CATEGORIES]
    return snake(words[-1]) if words else snake(table.family.name)


def port_keyed(table):
    """True when a table's string key names a port: it is per-port, has an interface word, or
    its family keeps per-port tables."""
    return (table.per_port or INTERFACE_WORDS & set(table.name.split("."))
            or any(t.per_port for t in table.family.tables))


def key_labels(table, read):
    """The labels of a table's rows: (label name, member index or None, field path, kind)."""
    members = read.key_types if read.shape == "get_all" else []
    labels = []
    taken = set()

    def add(name, member, path, kind):
        if name in taken and member:
            name = "index"    # a further member of a tuple key: its position in the row
        base, n = name, 2
        while name in taken:
            name, n = f"{base}_{n}", n + 1
        taken.add(name)
        labels.append({"name": name, "member": member, "path": path, "kind": kind})

    def flatten(t, member, path, prefix):
        for key, ft in t.members:
            if ft.kind == RECORD:
                flatten(ft, member, path + [key], prefix + [key])
            else:
                add(snake("_".join(prefix + [key])), member, path + [key], value_kind(ft))

    for i, t in enumerate(members):
        member = i if len(members) > 1 else None
        if t.kind == RECORD:
            flatten(t, member, [], [])
        elif t.kind == ENUM:
            add(snake(type_name(t)), member, [], "enum")
        elif t.kind == MAC_KIND:
            add("mac", member, [], "text")
        elif t.kind == SCALAR and t.name == "string" and i == 0 and port_keyed(table):
            add("interface", member, [], "text")
        else:
            add(table_word(table), member, [], "text")
    return labels


def value_kind(t):
    if t.kind == ENUM:
        return "enum"
    return "text"


def help_text(table, path, t):
    where = ".".join(f'"{k}"' for k in path)
    word = t.word.field if t.word is not None and t.word.field else t.name
    return f"{table.name} {where} ({word})" if path else f"{table.name} ({word})"


# Unit abbreviations that the Prometheus naming rules want spelt out; a one-letter word (a
# "PairB" suffix) joins the word before it instead.
UNIT_WORDS = {"sec": "seconds", "ms": "milliseconds", "us": "microseconds",
              "ns": "nanoseconds", "kb": "kilobytes", "mb": "megabytes", "gb": "gigabytes",
              "tb": "terabytes", "pb": "petabytes", "min": "minutes"}
# Suffixes that only histograms and summaries may have.
SERIES_SUFFIXES = ("count", "sum", "bucket")
# Words naming a metric type, which a name may not hold.
TYPE_WORDS = {"counter", "gauge", "histogram", "summary"}


def metric_name(stem, path, kind):
    """`stem`, then the key path in snake_case, by the Prometheus naming rules: no spelt-short
    units, no word naming a metric type, and a gauge never ends in a suffix of a
    histogram's or summary's series (`_count` becomes `_count_value`); a counter's
    `_total` is left to the exposition."""
    words = []
    for word in "_".join(snake(k) for k in path).split("_") if path else []:
        if word in UNIT_WORDS:
            word = UNIT_WORDS[word]
        if len(word) == 1 and word.isalpha() and words:
            words[-1] += word
            continue
        words.append(word)
    if words:
        # A field named only by a type word ("Counter") is the table's value.
        words = [w for w in words if w not in TYPE_WORDS] or ["value"]
    if kind == "counter" and words and words[-1] == "total":
        words.pop()     # the exposition adds it
    name = "_".join([stem] + words)
    if kind != "counter" and name.rsplit("_", 1)[-1] in SERIES_SUFFIXES + ("total",):
        name += "_value"
    return name


def value_metrics(table, value):
    """The series of a row value: one entry per numeric field, nested records flattened."""
    counter = category(table) == "statistics"
    stem = "zolt_" + snake(table.name)
    out = []

    def visit(t, path):
        if t.kind == RECORD:
            for key, ft in t.members:
                visit(ft, path + [key])
            return
        entry = {"path": path, "help": help_text(table, path, t)}
        if t == BOOL:
            entry["type"] = "gauge"
        elif t.kind == ENUM:
            entry["type"] = "stateset"
            entry["states"] = [text for _, text in t.enum.values]
        elif t.kind == TIMESTAMP_KIND or (t.kind == SCALAR and t.integer):
            entry["type"] = "counter" if counter and t.kind == SCALAR else "gauge"
        else:
            return
        entry["name"] = metric_name(stem, path, entry["type"])
        out.append(entry)

    if value.kind != TUPLE:
        visit(value, [])
    return out


def metric_map(model):
    tables, names = [], {}
    for table, read in exported_tables(model):
        metrics = value_metrics(table, read.read)
        for m in metrics:
            # A counter's series is NAME_total: that name may clash with a gauge's as well.
            for series in (m["name"], m["name"] + "_total" if m["type"] == "counter" else None):
                if series is None:
                    continue
                if series in names:
                    raise SchemaError(f"schema/{table.family.path}:{table.line}: metric {series} "
                                      f"of {table.name} is also one of {names[series]}")
                names[series] = table.name
        labels = key_labels(table, read)
        clash = {l["name"] for l in labels} & {m["name"] for m in metrics}
        if clash:
            raise SchemaError(f"schema/{table.family.path}:{table.line}: {table.name}: a label "
                              f"and a metric are both named {', '.join(sorted(clash))}")
        tables.append({
            "table": table.name,
            "category": category(table),
            "method": method_name(read),
            "singleton": read.shape == "singleton_get",
            "labels": labels,
            "metrics": metrics,
        })
    return {"up": "zolt_up", "tables": tables}


def series_type(m):
    return {"counter": "counter", "gauge": "gauge", "stateset": "state set"}[m["type"]]


def page(data):
    out = ["<!-- Generated by tools/zoltgen from the schema. Do not edit. -->\n",
           "# zolt-exporter metrics\n\n",
           "Every statistics and status table that one call reads whole. Counters are exposed "
           "with `_total` after the name below; a state set has one series per text, with the "
           "text in a label named like the metric.\n\n",
           f"Every probe also answers `{data['up']}` (gauge: 1 when the probe reached the "
           "switch, 0 when it failed), `zolt_probe_duration_seconds` (gauge) and "
           "`zolt_probe_table_errors` (gauge: the tables of this probe that failed).\n"]
    for t in data["tables"]:
        labels = ", ".join(f"`{l['name']}`" for l in t["labels"]) or "none"
        out.append(f"\n## {t['table']}\n\nRead by `{t['method']}`; labels: {labels}.\n\n")
        if not t["metrics"]:
            out.append("No numeric field.\n")
            continue
        out.append("| Metric | Type | From |\n|---|---|---|\n")
        for m in t["metrics"]:
            name = m["name"] + ("_total" if m["type"] == "counter" else "")
            out.append(f"| `{name}` | {series_type(m)} | {m['help']} |\n")
    return "".join(out)


def emit(model):
    data = metric_map(model)
    return [("exporter_files", "exporter/metrics.json",
             json.dumps(data, indent=1, sort_keys=True) + "\n"),
            ("docs", "docs/metrics.md", page(data))]
