#!/usr/bin/env python3
"""The binding's figures, side by side in one run:

  1. client CPU per small keyed get ("port.config.get") against zolt-switch-sim on 127.0.0.1:
     through zolt, through the C++ library itself (zolt_py_bench_cpp, a process of its own) and
     through a `requests` client making the same call (same request text, answer read with
     json.loads); each on one kept-alive connection, in alternating rounds, each figure the
     fastest round;
  2. client CPU per 1,000-row get-all of port counters ("port.statistics.rmon.get") from a
     server process that answers with fixed text: into zolt records, against requests plus
     json.loads making plain dicts (and the C++ library for reference);
  3. calls per second of 16 threads on 16 clients against one thread, against the simulator
     with a latency fault of 5 ms.

CPU is the client process's own (time.process_time here, getrusage in the C++ program); the
servers run in other processes.

Run from the build tree: PYTHONPATH=build/python /usr/bin/python3 python/bench/bench.py
    [--build build] [--rounds 7] [--calls 2000]
"""

import argparse
import http.server
import json
import os
import subprocess
import sys
import threading
import time

import requests

import zolt
from zolt.testing import Simulator

COUNTERS = ["RxDropEvents", "RxOctets", "RxPkts", "RxBroadcastPkts", "RxMulticastPkts",
            "RxCrcAlignErrPkts", "RxUndersizePkts", "RxOversizePkts", "RxFragmentsPkts",
            "RxJabbersPkts", "Rx64Pkts", "Rx65to127Pkts", "Rx128to255Pkts", "Rx256to511Pkts",
            "Rx512to1023Pkts", "Rx1024to1518Pkts", "Rx1519PktsToMax", "TxDropEvents",
            "TxOctets", "TxPkts", "TxBroadcastPkts", "TxMulticastPkts", "Tx64Pkts",
            "Tx65to127Pkts", "Tx128to255Pkts", "Tx256to511Pkts", "Tx512to1023Pkts",
            "Tx1024to1518Pkts", "Tx1519PktsToMax"]


def request_text(method, params):
    """The request as the library writes it (JsonCpp's StyledWriter), for the requests client."""
    if not params:
        return ('{\n   "id" : "jsonrpc",\n   "method" : "%s",\n   "params" : []\n}\n' % method)
    items = ", ".join(json.dumps(p) for p in params)
    return ('{\n   "id" : "jsonrpc",\n   "method" : "%s",\n   "params" : [ %s ]\n}\n'
            % (method, items))


def best(rounds, measure):
    return min(measure() for _ in range(rounds))


def cpu_per_call(calls, call):
    start = time.process_time()
    for _ in range(calls):
        call()
    return (time.process_time() - start) / calls


def cpp_per_call(program, url, user, password, what, calls):
    out = subprocess.run([program, url, user, password, what, str(calls)], check=True,
                         capture_output=True, text=True).stdout
    return float(out) * 1e-6


def rows_answer(count):
    rows = [{"key": "Gi 1/%d" % (i + 1),
             "val": {k: 1000000 * (i + 1) + j for j, k in enumerate(COUNTERS)}}
            for i in range(count)]
    return json.dumps({"id": "jsonrpc", "error": None, "result": rows})


def serve_fixed_text(body):
    """A server process answering every POST with `body`; returns (process, url)."""
    code = r'''
import http.server, sys
body = sys.stdin.buffer.read()
class H(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    def do_POST(self):
        self.rfile.read(int(self.headers.get("Content-Length", "0")))
        self.send_response(200)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)
    def log_message(self, *a): pass
s = http.server.HTTPServer(("127.0.0.1", 0), H)
print(s.server_address[1], flush=True)
s.serve_forever()
'''
    process = subprocess.Popen([sys.executable, "-c", code], stdin=subprocess.PIPE,
                               stdout=subprocess.PIPE, text=False)
    process.stdin.write(body.encode())
    process.stdin.close()
    port = int(process.stdout.readline())
    return process, "http://127.0.0.1:%d/json_rpc" % port


def keyed_get(args, program):
    with Simulator(ports=8) as sim, sim.client() as sw, requests.Session() as session:
        body = request_text("port.config.get", ["Gi 1/1"])
        headers = {"Content-Type": "application/json"}
        auth = (sim.user, sim.password)

        def by_requests():
            answer = json.loads(session.post(sim.url, data=body, headers=headers,
                                             auth=auth).text)
            assert answer["error"] is None

        sw.port_config_get("Gi 1/1")
        by_requests()
        figures = {"zolt": [], "C++": [], "requests": []}
        for _ in range(args.rounds):
            figures["zolt"].append(cpu_per_call(args.calls,
                                                lambda: sw.port_config_get("Gi 1/1")))
            if program:
                figures["C++"].append(cpp_per_call(program, sim.url, sim.user, sim.password,
                                                   "keyed", args.calls))
            figures["requests"].append(cpu_per_call(args.calls // 4, by_requests))
        return {k: min(v) for k, v in figures.items() if v}


def get_all(args, program):
    process, url = serve_fixed_text(rows_answer(1000))
    try:
        body = request_text("port.statistics.rmon.get", [])
        calls = max(args.calls // 50, 10)
        with zolt.Client(url) as sw, requests.Session() as session:
            def by_requests():
                answer = json.loads(session.post(url, data=body, headers={
                    "Content-Type": "application/json"}).text)
                assert len(answer["result"]) == 1000

            def by_zolt():
                assert len(sw.port_statistics_rmon_get()) == 1000

            by_zolt()
            by_requests()
            figures = {"zolt": [], "C++": [], "requests": []}
            for _ in range(args.rounds):
                figures["zolt"].append(cpu_per_call(calls, by_zolt))
                figures["requests"].append(cpu_per_call(calls, by_requests))
                if program:
                    figures["C++"].append(cpp_per_call(program, url, "", "", "getall", calls))
            return {k: min(v) for k, v in figures.items() if v}
    finally:
        process.kill()
        process.wait()


def threads(args):
    def rate(clients, calls_each):
        workers = [threading.Thread(target=lambda c=c: [c.port_config_get("Gi 1/1")
                                                        for _ in range(calls_each)])
                   for c in clients]
        start = time.perf_counter()
        for w in workers:
            w.start()
        for w in workers:
            w.join()
        return len(clients) * calls_each / (time.perf_counter() - start)

    with Simulator(ports=8, fault="latency:5") as sim:
        clients = [sim.client() for _ in range(16)]
        rate(clients, 1)
        one = max(rate(clients[:1], 100) for _ in range(3))
        sixteen = max(rate(clients, 100) for _ in range(3))
        for c in clients:
            c.close()
    return one, sixteen


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--build", default="build", help="the build tree (for the C++ program)")
    ap.add_argument("--rounds", type=int, default=7)
    ap.add_argument("--calls", type=int, default=2000)
    args = ap.parse_args()
    program = os.path.join(args.build, "python", "zolt_py_bench_cpp")
    if not os.path.exists(program):
        print("(no %s: the C++ figures are left out)" % program)
        program = None
    os.environ.setdefault("ZOLT_SWITCH_SIM", os.path.join(args.build, "sim", "zolt-switch-sim"))

    k = keyed_get(args, program)
    print("keyed get (port.config.get), client CPU per call:")
    for name, value in k.items():
        print("  %-9s %8.1f us" % (name, value * 1e6))
    if "C++" in k:
        print("  zolt / C++      %.2f  (target at most 1.3)" % (k["zolt"] / k["C++"]))
    print("  zolt / requests %.2f  (target at most 0.2)" % (k["zolt"] / k["requests"]))

    g = get_all(args, program)
    print("1,000-row get-all (port.statistics.rmon.get), client CPU per call:")
    for name, value in g.items():
        print("  %-9s %8.2f ms" % (name, value * 1e3))
    print("  zolt / (requests + json.loads) %.2f  (target at most 0.3)"
          % (g["zolt"] / g["requests"]))

    one, sixteen = threads(args)
    print("keyed gets with a 5 ms latency fault, calls per second:")
    print("  1 thread   %7.0f" % one)
    print("  16 threads %7.0f  speed-up %.1fx  (target at least 10x)" % (sixteen, sixteen / one))


if __name__ == "__main__":
    main()
