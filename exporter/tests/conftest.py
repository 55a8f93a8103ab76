"""Fixtures of the exporter's suite: simulated switches, the exporter of the build tree as its
own process, and the parsing of what it answers.

The programs come from the environment that ctest sets: ZOLT_SWITCH_SIM, ZOLT_CLI and
ZOLT_EXPORTER (the exporter script beside its metrics.json); PYTHONPATH holds the binding."""

import json
import os
import re
import subprocess
import sys
import tempfile
import threading
import urllib.parse
import urllib.request

import pytest
from prometheus_client.parser import text_string_to_metric_families

LISTENING = re.compile(r"listening on ([0-9.]+):(\d+)")


def program(variable):
    path = os.environ.get(variable)
    if not path or not os.path.exists(path):
        pytest.fail(f"{variable} does not name a program (run the suite through ctest)")
    return path


def start(command, **kwargs):
    """Starts a program that prints "listening on HOST:PORT" first; returns (process, url)."""
    proc = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, **kwargs)
    line = proc.stdout.readline()
    match = LISTENING.search(line)
    if not match:
        proc.kill()
        proc.wait()
        raise RuntimeError(f"{command[0]} printed {line!r}")
    return proc, f"http://{match.group(1)}:{match.group(2)}/"


def stop(proc):
    proc.terminate()
    try:
        proc.wait(timeout=5)
    except subprocess.TimeoutExpired:
        proc.kill()
        proc.wait()
    if proc.stdout:
        proc.stdout.close()


class Switch:
    def __init__(self, *options):
        self.proc, self.url = start([program("ZOLT_SWITCH_SIM"), "--port", "0", *options])

    def cli(self, method):
        """`zolt call METHOD` against this switch: the wire's own JSON."""
        out = subprocess.run([program("ZOLT_CLI"), "--url", self.url, "--user", "admin",
                              "--password", "admin", "call", method],
                             check=True, capture_output=True, text=True)
        return json.loads(out.stdout)

    def close(self):
        stop(self.proc)


class Exporter:
    """The exporter with a configuration text; its log lines are kept in `log()`."""

    def __init__(self, config):
        self.dir = tempfile.TemporaryDirectory()
        self.config = os.path.join(self.dir.name, "zolt-exporter.yml")
        with open(self.config, "w", encoding="utf-8") as f:
            f.write(config)
        self.stderr = open(os.path.join(self.dir.name, "log"), "w+", encoding="utf-8")
        self.proc, self.url = start(
            [sys.executable, program("ZOLT_EXPORTER"), "--config", self.config,
             "--listen", "127.0.0.1:0"], stderr=self.stderr)

    def get(self, path, headers=None):
        request = urllib.request.Request(self.url + path.lstrip("/"), headers=headers or {})
        with urllib.request.urlopen(request, timeout=60) as answer:
            return answer.status, answer.read().decode()

    def probe(self, target, module="default", headers=None):
        query = urllib.parse.urlencode({"target": target, "module": module})
        return self.get(f"/probe?{query}", headers)

    def log(self):
        self.stderr.flush()
        with open(self.stderr.name, encoding="utf-8") as f:
            return f.read()

    def close(self):
        stop(self.proc)
        self.stderr.close()
        self.dir.cleanup()


def samples(text):
    """The exposition's samples: {(name, sorted label pairs): value}, and the family types."""
    out, types = {}, {}
    for family in text_string_to_metric_families(text):
        types[family.name] = family.type
        for s in family.samples:
            out[(s.name, tuple(sorted(s.labels.items())))] = s.value
    return out, types


@pytest.fixture(scope="session")
def metric_map():
    path = os.path.join(os.path.dirname(program("ZOLT_EXPORTER")), "metrics.json")
    with open(path, encoding="utf-8") as f:
        return json.load(f)


@pytest.fixture(scope="session")
def switch():
    s = Switch("--ports", "8")
    yield s
    s.close()


@pytest.fixture
def exporter_with():
    made = []

    def make(config):
        made.append(Exporter(config))
        return made[-1]

    yield make
    for e in made:
        e.close()


DEFAULT_CONFIG = "modules:\n  default:\n    user: admin\n    password: admin\n"


@pytest.fixture(scope="session")
def exporter():
    e = Exporter(DEFAULT_CONFIG)
    yield e
    e.close()


class Proxy:
    """A forwarding server on 127.0.0.1 in front of a switch: every call goes through, except
    those of the methods in `fail`, which get a JSON-RPC error."""

    def __init__(self, target, fail):
        import http.server

        proxy = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                body = self.rfile.read(int(self.headers.get("Content-Length", "0")))
                call = json.loads(body)
                if call.get("method") in proxy.fail:
                    data = json.dumps({"id": call.get("id"), "result": None,
                                       "error": {"code": -32601, "message": "Method not found"}}
                                      ).encode()
                    ctype = "application/json"
                else:
                    request = urllib.request.Request(target, data=body, headers={
                        "Content-Type": self.headers.get("Content-Type", "application/json"),
                        "Authorization": self.headers.get("Authorization", "")})
                    with urllib.request.urlopen(request, timeout=30) as answer:
                        data = answer.read()
                        ctype = answer.headers.get("Content-Type", "application/json")
                self.send_response(200)
                self.send_header("Content-Type", ctype)
                self.send_header("Content-Length", str(len(data)))
                self.end_headers()
                self.wfile.write(data)

            def log_message(self, *args):
                pass

        self.fail = set(fail)
        self.httpd = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.url = "http://127.0.0.1:%d/" % self.httpd.server_address[1]
        self.thread = threading.Thread(target=self.httpd.serve_forever, daemon=True)
        self.thread.start()

    def close(self):
        self.httpd.shutdown()
        self.httpd.server_close()
