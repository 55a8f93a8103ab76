#!/usr/bin/python3
"""zolt-exporter: Prometheus metrics of managed switches, read through libzolt-client.

Multi-target, like the SNMP and blackbox exporters: Prometheus asks
`/probe?target=URL&module=NAME` and the exporter reads that switch then, every statistics and
status table the module names, and answers their numbers. `/metrics` holds the exporter's own
figures. Which tables exist, their labels and their metric names come from the metric map that
the schema generator writes (metrics.json); nothing here knows a table.
"""

import argparse
import json
import logging
import os
import socket
import sys
import threading
import time
import urllib.parse
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

import yaml
from prometheus_client import CollectorRegistry, ProcessCollector, exposition
from prometheus_client.core import (CounterMetricFamily, GaugeMetricFamily,
                                    StateSetMetricFamily, SummaryMetricFamily)

import zolt

LOG = logging.getLogger("zolt-exporter")
DEFAULT_LISTEN = "127.0.0.1:9877"
DEFAULT_TIMEOUT = 10.0
# Taken off Prometheus' scrape time-out, so that the answer leaves before Prometheus gives up.
TIMEOUT_MARGIN = 0.5
# Failures of the target as a whole: it could not be reached, or did not answer as a switch.
TARGET_ERRORS = (zolt.TransferError, zolt.StatusError, zolt.AnswerError)


class ConfigError(Exception):
    pass


def map_path():
    """metrics.json: beside this script (the build tree), else where the package installs it."""
    here = os.path.dirname(os.path.realpath(__file__))
    for candidate in (os.path.join(here, "metrics.json"),
                      os.path.join(here, "..", "share", "zolt-exporter", "metrics.json")):
        if os.path.exists(candidate):
            return os.path.normpath(candidate)
    return "/usr/share/zolt-exporter/metrics.json"


def load_map(path):
    with open(path, encoding="utf-8") as f:
        data = json.load(f)
    return data, {t["table"]: t for t in data["tables"]}


def load_config(path, tables):
    """The modules of a YAML configuration: name -> (user, password, [table entries])."""
    try:
        with open(path, encoding="utf-8") as f:
            doc = yaml.safe_load(f)
    except (OSError, yaml.YAMLError) as e:
        raise ConfigError(f"{path}: {e}") from e
    if not isinstance(doc, dict) or not isinstance(doc.get("modules"), dict) or not doc["modules"]:
        raise ConfigError(f"{path}: expected a mapping 'modules' of at least one module")
    modules = {}
    for name, spec in doc["modules"].items():
        where = f"{path}: module {name}"
        if not isinstance(spec, dict):
            raise ConfigError(f"{where}: expected a mapping")
        unknown = set(spec) - {"user", "password", "password_file", "tables"}
        if unknown:
            raise ConfigError(f"{where}: unknown key {', '.join(sorted(unknown))}")
        if "user" not in spec:
            raise ConfigError(f"{where}: 'user' is missing")
        if ("password" in spec) == ("password_file" in spec):
            raise ConfigError(f"{where}: give one of 'password' and 'password_file'")
        password = spec.get("password")
        if "password_file" in spec:
            try:
                with open(spec["password_file"], encoding="utf-8") as f:
                    password = f.read().rstrip("\r\n")
            except OSError as e:
                raise ConfigError(f"{where}: {e}") from e
        names = spec.get("tables")
        if names is None:
            chosen = list(tables.values())
        else:
            if not isinstance(names, list):
                raise ConfigError(f"{where}: 'tables' must be a list of method strings")
            missing = [n for n in names if n not in tables]
            if missing:
                raise ConfigError(f"{where}: no statistics or status table {', '.join(missing)}")
            chosen = [tables[n] for n in names]
        modules[name] = (str(spec["user"]), str(password), chosen)
    return modules


def label_value(v):
    if isinstance(v, zolt.SchemaEnum):
        return v.text
    if isinstance(v, bool):
        return "true" if v else "false"
    return str(v)


def walk(value, path):
    for key in path:
        value = getattr(value, key)
    return value


class Rows:
    """One table's answer as (label values, row value) pairs."""

    def __init__(self, entry, answer):
        self.entry = entry
        self.rows = [((), answer)] if entry["singleton"] else list(answer.items())

    def labels(self, key):
        out = []
        for label in self.entry["labels"]:
            part = key if label["member"] is None else key[label["member"]]
            out.append(label_value(walk(part, label["path"])))
        return out


def families(entry, rows):
    """The metric families of one table's rows."""
    names = [label["name"] for label in entry["labels"]]
    for m in entry["metrics"]:
        if m["type"] == "counter":
            family = CounterMetricFamily(m["name"], m["help"], labels=names)
        elif m["type"] == "gauge":
            family = GaugeMetricFamily(m["name"], m["help"], labels=names)
        else:
            family = StateSetMetricFamily(m["name"], m["help"], labels=names)
        for key, value in rows.rows:
            v = walk(value, m["path"])
            labels = rows.labels(key)
            if m["type"] == "stateset":
                current = v.text
                family.add_metric(labels, {s: s == current for s in m["states"]})
            else:
                family.add_metric(labels, int(v))
        yield family


class Stats:
    """The exporter's own figures, kept as numbers and turned into fresh families per scrape."""

    def __init__(self):
        self.lock = threading.Lock()
        self.probes = {}         # (module, result) -> count
        self.durations = {}      # module -> [count, sum]
        self.table_errors = {}   # (module, table) -> count

    def probe(self, module, ok, seconds):
        with self.lock:
            key = (module, "success" if ok else "failure")
            self.probes[key] = self.probes.get(key, 0) + 1
            d = self.durations.setdefault(module, [0, 0.0])
            d[0] += 1
            d[1] += seconds

    def table_error(self, module, table):
        with self.lock:
            self.table_errors[(module, table)] = self.table_errors.get((module, table), 0) + 1

    def collect(self):
        with self.lock:
            probes = dict(self.probes)
            durations = {k: list(v) for k, v in self.durations.items()}
            errors = dict(self.table_errors)
        f = CounterMetricFamily("zolt_exporter_probes", "Probes answered, by module and result",
                                labels=["module", "result"])
        for (module, result), n in sorted(probes.items()):
            f.add_metric([module, result], n)
        yield f
        s = SummaryMetricFamily("zolt_exporter_probe_duration_seconds",
                                "Time of a probe, by module", labels=["module"])
        for module, (count, total) in sorted(durations.items()):
            s.add_metric([module], count, total)
        yield s
        e = CounterMetricFamily("zolt_exporter_table_errors",
                                "Tables that failed to read, by module and table",
                                labels=["module", "table"])
        for (module, table), n in sorted(errors.items()):
            e.add_metric([module, table], n)
        yield e


class Probe:
    """A collector for one probe: it reads the switch when the registry collects it."""

    def __init__(self, exporter, target, module, timeout):
        self.exporter, self.target, self.module, self.timeout = exporter, target, module, timeout
        self.up = False

    def collect(self):
        user, password, tables = self.exporter.modules[self.module]
        start = time.monotonic()
        deadline = start + self.timeout
        out, failed, reason = [], 0, None
        try:
            # The client's time-out is whole seconds: rounded down, to answer within the budget.
            seconds = max(1, int(self.timeout))
            with zolt.Client(self.target, user, password, timeout=seconds) as client:
                for entry in tables:
                    if not entry["metrics"]:
                        continue
                    if time.monotonic() >= deadline:
                        raise TimeoutError(f"time-out of {self.timeout:g} s passed")
                    try:
                        answer = getattr(client, entry["method"])()
                        out += families(entry, Rows(entry, answer))
                    except TARGET_ERRORS:
                        raise
                    except Exception as e:  # noqa: BLE001  (any fault of one table is counted)
                        failed += 1
                        self.exporter.stats.table_error(self.module, entry["table"])
                        LOG.warning("target=%s module=%s table=%s failed: %s", self.target,
                                    self.module, entry["table"], e)
        except (zolt.Error, TimeoutError, ValueError) as e:
            reason = f"{type(e).__name__}: {e}"
        seconds = time.monotonic() - start
        self.up = reason is None
        if reason is not None:
            out = []
            LOG.warning("target=%s module=%s down: %s", self.target, self.module, reason)
        up = GaugeMetricFamily(self.exporter.metric_map["up"],
                               "1 when the switch answered the probe, 0 when it failed")
        up.add_metric([], 1 if self.up else 0)
        yield up
        yield GaugeMetricFamily("zolt_probe_duration_seconds", "Time the probe took",
                                value=seconds)
        yield GaugeMetricFamily("zolt_probe_table_errors",
                                "Tables of this probe that failed to read", value=failed)
        yield from out
        self.exporter.stats.probe(self.module, self.up, seconds)


class Exporter:
    def __init__(self, modules, metric_map):
        self.modules = modules
        self.metric_map = metric_map
        self.stats = Stats()
        self.own = CollectorRegistry(auto_describe=True)
        self.own.register(self.stats)
        ProcessCollector(registry=self.own)


def timeout_of(headers):
    text = headers.get("X-Prometheus-Scrape-Timeout-Seconds")
    if text is None:
        return DEFAULT_TIMEOUT
    try:
        seconds = float(text)
    except ValueError:
        return DEFAULT_TIMEOUT
    return max(seconds - TIMEOUT_MARGIN, 0.1) if seconds > 0 else DEFAULT_TIMEOUT


class Handler(BaseHTTPRequestHandler):
    exporter = None
    server_version = "zolt-exporter"

    def answer(self, status, body, content_type="text/plain; charset=utf-8"):
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        url = urllib.parse.urlsplit(self.path)
        query = urllib.parse.parse_qs(url.query)
        if url.path == "/probe":
            target = query.get("target", [None])[0]
            module = query.get("module", ["default"])[0]
            if not target:
                return self.answer(400, b"target parameter is missing\n")
            if module not in self.exporter.modules:
                return self.answer(400, f"unknown module {module}\n".encode())
            registry = CollectorRegistry(auto_describe=False)
            registry.register(Probe(self.exporter, target, module, timeout_of(self.headers)))
            return self.answer(200, exposition.generate_latest(registry),
                               exposition.CONTENT_TYPE_LATEST)
        if url.path == "/metrics":
            return self.answer(200, exposition.generate_latest(self.exporter.own),
                               exposition.CONTENT_TYPE_LATEST)
        if url.path == "/":
            return self.answer(200, b"zolt-exporter: /probe?target=URL&module=NAME, /metrics\n")
        return self.answer(404, b"not found\n")

    def log_message(self, fmt, *args):
        LOG.debug("%s %s", self.address_string(), fmt % args)


def parse_listen(text):
    host, sep, port = text.rpartition(":")
    if not sep or not port.isdigit():
        raise ValueError(f"--listen {text}: expected ADDRESS:PORT")
    return host.strip("[]") or "0.0.0.0", int(port)


def main(argv=None):
    ap = argparse.ArgumentParser(prog="zolt-exporter", description=__doc__.split("\n")[0])
    ap.add_argument("--config", required=True, help="the YAML configuration")
    ap.add_argument("--listen", default=DEFAULT_LISTEN,
                    help=f"ADDRESS:PORT to serve on; port 0 picks a free one "
                         f"(default {DEFAULT_LISTEN})")
    ap.add_argument("--metric-map", default=None, help="the generated metrics.json")
    ap.add_argument("--log-level", default="info", choices=["debug", "info", "warning"])
    ns = ap.parse_args(argv)
    logging.basicConfig(level=ns.log_level.upper(), stream=sys.stderr,
                        format="%(asctime)s %(levelname)s %(message)s")
    try:
        data, tables = load_map(ns.metric_map or map_path())
        modules = load_config(ns.config, tables)
        address = parse_listen(ns.listen)
    except (OSError, ValueError, ConfigError) as e:
        print(f"zolt-exporter: {e}", file=sys.stderr)
        return 2
    Handler.exporter = Exporter(modules, data)
    server_class = ThreadingHTTPServer
    if ":" in address[0]:
        class Server6(ThreadingHTTPServer):
            address_family = socket.AF_INET6
        server_class = Server6
    server = server_class(address, Handler)
    server.daemon_threads = True
    host, port = server.server_address[:2]
    LOG.info("listening on %s:%d, %d modules", host, port, len(modules))
    print(f"listening on {host}:{port}", flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    finally:
        server.server_close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
