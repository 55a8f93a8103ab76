"""A real Prometheus on 127.0.0.1 scrapes the exporter probing two simulated switches, and its
rate() of a port counter is what the simulator's traffic produces."""

import json
import os
import shutil
import socket
import subprocess
import tempfile
import time
import urllib.parse
import urllib.request

import pytest
import zolt
from conftest import Switch

SCRAPE_INTERVAL = 2
WINDOW = 10    # seconds of samples rate() looks at: five scrapes


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def query(base, expr):
    url = base + "api/v1/query?" + urllib.parse.urlencode({"query": expr})
    with urllib.request.urlopen(url, timeout=10) as answer:
        doc = json.load(answer)
    assert doc["status"] == "success", doc
    return doc["data"]["result"]


def busiest_counter(switch, metric_map):
    """The port counter of the first port that grows fastest, and its growth per second, read
    through the binding twice a few seconds apart."""
    tables = [t for t in metric_map["tables"] if t["category"] == "statistics"
              and [label["name"] for label in t["labels"]] == ["interface"]]
    with zolt.Client(switch.url, "admin", "admin") as client:
        def read():
            out = {}
            for t in tables:
                rows = getattr(client, t["method"])()
                if not rows:
                    continue
                port = min(rows)
                for m in t["metrics"]:
                    if m["type"] == "counter":
                        value = rows[port]
                        for key in m["path"]:
                            value = getattr(value, key)
                        out[m["name"]] = (port, int(value))
            return out, time.monotonic()

        first, t0 = read()
        time.sleep(3)
        second, t1 = read()
    name = max(second, key=lambda n: second[n][1] - first[n][1])
    return name, second[name][0], (second[name][1] - first[name][1]) / (t1 - t0)


@pytest.mark.skipif(shutil.which("prometheus") is None, reason="Debian's prometheus is needed")
def test_prometheus_rate_of_a_port_counter(exporter, metric_map):
    switches = [Switch("--ports", "8"), Switch("--ports", "4")]
    work = tempfile.TemporaryDirectory()
    port = free_port()
    exporter_address = urllib.parse.urlsplit(exporter.url).netloc
    config = f"""
global:
  scrape_interval: {SCRAPE_INTERVAL}s
  scrape_timeout: {SCRAPE_INTERVAL}s
scrape_configs:
  - job_name: switches
    metrics_path: /probe
    params: {{module: [default]}}
    static_configs:
      - targets: [{", ".join(s.url for s in switches)}]
    relabel_configs:
      - source_labels: [__address__]
        target_label: __param_target
      - source_labels: [__param_target]
        target_label: instance
      - target_label: __address__
        replacement: {exporter_address}
  - job_name: exporter
    static_configs:
      - targets: [{exporter_address}]
"""
    with open(os.path.join(work.name, "prometheus.yml"), "w", encoding="utf-8") as f:
        f.write(config)
    log = open(os.path.join(work.name, "log"), "w+", encoding="utf-8")
    prom = subprocess.Popen(
        ["prometheus", f"--config.file={work.name}/prometheus.yml",
         f"--storage.tsdb.path={work.name}/data", f"--web.listen-address=127.0.0.1:{port}"],
        stdout=log, stderr=log)
    base = f"http://127.0.0.1:{port}/"
    try:
        name, interface, expected = busiest_counter(switches[0], metric_map)
        assert expected > 0
        expr = f'rate({name}_total{{interface="{interface}"}}[{WINDOW}s])'
        deadline = time.monotonic() + 60
        result = []
        while time.monotonic() < deadline:
            try:
                up = query(base, 'zolt_up{job="switches"}')
                result = query(base, expr)
            except OSError:
                up, result = [], []
            if len(result) == 2 and len(up) == 2:
                break
            time.sleep(1)
        log.seek(0)
        assert len(result) == 2, log.read()[-3000:]
        time.sleep(WINDOW)     # a window full of samples
        result = query(base, expr)
        assert {r["metric"]["instance"] for r in result} == {s.url for s in switches}
        assert all(float(v["value"][1]) == 1.0 for v in query(base, 'zolt_up{job="switches"}'))
        for r in result:
            rate = float(r["value"][1])
            # The first port of both switches runs the same load; rate() over a few scrapes
            # and our own two reads agree within a wide margin.
            assert 0.8 * expected <= rate <= 1.2 * expected, (r, expected)
        # The exporter's own metrics are scraped too: its probe count grows.
        probes = query(base, 'sum(zolt_exporter_probes_total{result="success"})')
        assert float(probes[0]["value"][1]) >= 4
    finally:
        prom.terminate()
        try:
            prom.wait(timeout=10)
        except subprocess.TimeoutExpired:
            prom.kill()
            prom.wait()
        log.close()
        for s in switches:
            s.close()
        work.cleanup()
