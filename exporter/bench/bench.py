#!/usr/bin/python3
"""The exporter's cost: the wall time of one probe of every table of a simulated switch, and
the exporter's CPU time per probe (its own process_cpu_seconds_total across N probes).

    PYTHONPATH=build/python /usr/bin/python3 exporter/bench/bench.py --build build [--ports 8]
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.parse
import urllib.request

from prometheus_client.parser import text_string_to_metric_families

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests"))
from conftest import start, stop  # noqa: E402


def get(url):
    with urllib.request.urlopen(url, timeout=60) as answer:
        return answer.read().decode()


def cpu_seconds(base):
    for family in text_string_to_metric_families(get(base + "metrics")):
        if family.name == "process_cpu_seconds":
            return family.samples[0].value
    raise RuntimeError("no process_cpu_seconds_total")


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", default="build")
    ap.add_argument("--ports", type=int, default=8)
    ap.add_argument("--probes", type=int, default=50)
    ns = ap.parse_args()
    sim, switch = start([os.path.join(ns.build, "sim", "zolt-switch-sim"), "--port", "0",
                         "--ports", str(ns.ports)])
    with tempfile.NamedTemporaryFile("w", suffix=".yml") as config:
        config.write("modules:\n  default:\n    user: admin\n    password: admin\n")
        config.flush()
        exporter, base = start([sys.executable,
                                os.path.join(ns.build, "exporter", "zolt_exporter.py"),
                                "--config", config.name, "--listen", "127.0.0.1:0"],
                               stderr=subprocess.DEVNULL)
        try:
            probe = base + "probe?" + urllib.parse.urlencode({"target": switch})
            text = get(probe)     # warm-up
            series = sum(1 for line in text.splitlines() if not line.startswith("#"))
            cpu0 = cpu_seconds(base)
            times = []
            for _ in range(ns.probes):
                t0 = time.perf_counter()
                get(probe)
                times.append(time.perf_counter() - t0)
            cpu = (cpu_seconds(base) - cpu0) / ns.probes
        finally:
            stop(exporter)
            stop(sim)
    print(f"{ns.ports} ports, {series} series, {len(text)} bytes per probe")
    print(f"probe wall time: median {statistics.median(times) * 1000:.1f} ms, "
          f"min {min(times) * 1000:.1f} ms, max {max(times) * 1000:.1f} ms ({ns.probes} probes)")
    print(f"exporter CPU per probe: {cpu * 1000:.1f} ms")


if __name__ == "__main__":
    main()
