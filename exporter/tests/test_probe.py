"""The exporter against the simulator: the exposition is valid for promtool, its numbers are the
switch's, and a failing target or table is reported the way Prometheus expects."""

import subprocess

import pytest
from conftest import DEFAULT_CONFIG, Proxy, Switch, samples


def exported(metric_map):
    return [t for t in metric_map["tables"] if t["metrics"]]


def label_text(v):
    if isinstance(v, bool):
        return "true" if v else "false"
    return str(v)


def walk(value, path):
    for key in path:
        value = value[key]
    return value


def expected(entry, answer):
    """The series a table's answer (as `zolt call` prints it) should give, by the map alone."""
    rows = [((), answer)] if entry["singleton"] else [(r["key"], r["val"]) for r in answer]
    out = {}
    for key, value in rows:
        labels = []
        for label in entry["labels"]:
            part = key if label["member"] is None else key[label["member"]]
            labels.append((label["name"], label_text(walk(part, label["path"]))))
        for m in entry["metrics"]:
            v = walk(value, m["path"])
            if m["type"] == "stateset":
                for state in m["states"]:
                    pairs = tuple(sorted(labels + [(m["name"], state)]))
                    out[(m["name"], pairs)] = 1.0 if state == v else 0.0
            else:
                name = m["name"] + ("_total" if m["type"] == "counter" else "")
                out[(name, tuple(sorted(labels)))] = float(v)
    return out


def rpc_of(entry):
    return entry["table"] + ".get"


def test_every_table_passes_promtool_and_equals_the_cli(switch, exporter, metric_map):
    tables = exported(metric_map)
    before = {}
    for entry in tables:
        before.update(expected(entry, switch.cli(rpc_of(entry))))
    status, text = exporter.probe(switch.url)
    after = {}
    for entry in tables:
        after.update(expected(entry, switch.cli(rpc_of(entry))))
    assert status == 200

    check = subprocess.run(["promtool", "check", "metrics"], input=text, text=True,
                           capture_output=True)
    assert check.returncode == 0, check.stdout + check.stderr

    got, types = samples(text)
    assert got[(metric_map["up"], ())] == 1.0
    assert got[("zolt_probe_table_errors", ())] == 0.0
    # Every family of the map is answered, with its type.
    kinds = {"counter": "counter", "gauge": "gauge", "stateset": "gauge"}
    for entry in tables:
        for m in entry["metrics"]:
            assert types.get(m["name"]) == kinds[m["type"]], m["name"]

    series = {k: v for k, v in got.items() if k[0].startswith("zolt_")
              and not k[0].startswith("zolt_probe_") and k[0] != metric_map["up"]}
    assert set(series) == set(before) == set(after)
    # The traffic model advances port counters while the test reads: those lie between the
    # reads before and after the probe; every other number is equal.
    moving = 0
    for k, v in series.items():
        if before[k] == after[k]:
            assert v == before[k], k
        else:
            moving += 1
            assert before[k] <= v <= after[k], (k, before[k], v, after[k])
    assert moving > 0


def test_a_module_reads_only_its_tables(switch, exporter_with, metric_map):
    tables = [t for t in exported(metric_map) if not t["singleton"]][:2]
    names = ", ".join(t["table"] for t in tables)
    e = exporter_with(DEFAULT_CONFIG + f"  few:\n    user: admin\n    password: admin\n"
                      f"    tables: [{names}]\n")
    _, text = e.probe(switch.url, "few")
    got, types = samples(text)
    wanted = {m["name"] for t in tables for m in t["metrics"]}
    assert {n for n in types if n.startswith("zolt_") and not n.startswith("zolt_probe_")
            and n != metric_map["up"]} == wanted


# How each failure of the target is logged: the binding's exception and the library's text.
FAILURES = {
    "refused": "TransferError: Post error",
    "latency:3000": "TransferError: Post error",          # the probe's time-out
    "html500": "AnswerError: Failed to parse!",
}


@pytest.mark.parametrize("fault", sorted(FAILURES))
def test_a_failing_target_answers_up_0(exporter_with, fault):
    e = exporter_with(DEFAULT_CONFIG)
    if fault == "refused":
        dead = Switch()
        target = dead.url
        dead.close()
        status, text = e.probe(target)
    else:
        sw = Switch("--fault", fault)
        target = sw.url
        try:
            status, text = e.probe(target, headers={"X-Prometheus-Scrape-Timeout-Seconds": "1.5"})
        finally:
            sw.close()
    assert status == 200
    got, _ = samples(text)
    assert got[("zolt_up", ())] == 0.0
    assert not [k for k in got if not k[0].startswith(("zolt_up", "zolt_probe_"))]
    reason = FAILURES[fault]
    line = [ln for ln in e.log().splitlines() if "down:" in ln]
    assert len(line) == 1 and f"target={target}" in line[0] and reason in line[0], e.log()
    _, own = e.get("/metrics")
    mine, _ = samples(own)
    assert mine[("zolt_exporter_probes_total", (("module", "default"), ("result", "failure")))] \
        == 1.0


def test_a_failing_table_is_counted_and_the_rest_exported(switch, exporter_with, metric_map):
    tables = [t for t in exported(metric_map) if not t["singleton"]][:3]
    broken = tables[1]
    proxy = Proxy(switch.url, [rpc_of(broken)])
    try:
        e = exporter_with(DEFAULT_CONFIG)
        _, text = e.probe(proxy.url)
    finally:
        proxy.close()
    got, types = samples(text)
    assert got[("zolt_up", ())] == 1.0
    assert got[("zolt_probe_table_errors", ())] == 1.0
    for t in tables:
        present = all(m["name"] in types for m in t["metrics"])
        assert present == (t is not broken), t["table"]
    assert f"table={broken['table']} failed" in e.log()
    _, own = e.get("/metrics")
    mine, _ = samples(own)
    assert mine[("zolt_exporter_table_errors_total",
                 (("module", "default"), ("table", broken["table"])))] == 1.0
    assert mine[("zolt_exporter_probes_total", (("module", "default"), ("result", "success")))] \
        == 1.0


@pytest.mark.parametrize("config, message", [
    ("modules:\n  m:\n    user: a\n", "give one of 'password' and 'password_file'"),
    ("modules:\n  m:\n    user: a\n    password: b\n    tables: [no.such.table]\n",
     "no statistics or status table no.such.table"),
    ("modules: {}\n", "expected a mapping 'modules' of at least one module"),
    ("modules:\n  m:\n    user: a\n    password: b\n    colour: red\n", "unknown key colour"),
])
def test_a_bad_configuration_stops_the_exporter(tmp_path, config, message):
    import os
    import sys
    path = tmp_path / "c.yml"
    path.write_text(config)
    run = subprocess.run([sys.executable, os.environ["ZOLT_EXPORTER"], "--config", str(path),
                          "--listen", "127.0.0.1:0"], capture_output=True, text=True, timeout=30)
    assert run.returncode == 2
    assert message in run.stderr


def test_password_file(switch, exporter_with, tmp_path):
    secret = tmp_path / "secret"
    secret.write_text("admin\n")
    e = exporter_with(f"modules:\n  default:\n    user: admin\n    password_file: {secret}\n"
                      "  wrong:\n    user: admin\n    password: nope\n")
    got, _ = samples(e.probe(switch.url)[1])
    assert got[("zolt_up", ())] == 1.0
    got, _ = samples(e.probe(switch.url, "wrong")[1])
    assert got[("zolt_up", ())] == 0.0
    assert "module=wrong down: StatusError: Network error, return code: 401" in e.log()
