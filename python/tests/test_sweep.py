"""Every typed function through Python against the simulator, in the order and with the arguments
of the library's own sweep (the generator's python/sweep.json): each call gets the answer the
switch's state calls for, a read of a row the sweep wrote finds exactly what was written, and
to_json of each output equals what `zolt call` prints for the same call."""

import json
import os
import subprocess

import pytest

import zolt
from zolt.testing import Simulator

SWEEP = os.environ.get("ZOLT_PYTHON_SWEEP", "")
CLI = os.environ.get("ZOLT_CLI", "")

NO_SUCH_ENTRY, ENTRY_EXISTS = 1, 2
READS = ("keyed_get", "scalar_get", "list_get", "exists", "del")


def load():
    if not os.path.exists(SWEEP):
        pytest.skip("no generated sweep (ZOLT_PYTHON_SWEEP)")
    with open(SWEEP, encoding="utf-8") as f:
        return json.load(f)


def argument(type_name, value):
    """A sweep argument as Python passes it, read by the library's own codec."""
    cls = {"int": int, "str": str, "bool": bool}.get(type_name) or getattr(zolt, type_name)
    return zolt.from_json(cls, json.dumps(value))


def masked(value):
    """A JSON value with its numbers hidden, for outputs whose counters run on their own."""
    if isinstance(value, bool) or not isinstance(value, (int, float, list, dict)):
        return value
    if isinstance(value, (int, float)):
        return 0
    if isinstance(value, list):
        return [masked(v) for v in value]
    return {k: masked(v) for k, v in value.items()}


def zolt_call(sim, call):
    args = [CLI, "--url", sim.url, "--user", sim.user, "--password", sim.password, "call",
            "--overload", str(call["overload"]), call["rpc"]]
    args += [json.dumps(a) for a in call["args"]]
    done = subprocess.run(args, capture_output=True, text=True, timeout=60)
    assert done.returncode == 0, done.stderr
    return json.loads(done.stdout)


def test_every_typed_function():
    calls = load()
    assert len(calls) > 700
    with Simulator(ports=8) as sim, sim.client() as sw:
        written = set()      # tables the sweep has written rows into: (table, key)
        deleted = set()
        shapes, round_trips, compared = set(), 0, 0
        for call in calls:
            shape, method = call["shape"], call["method"]
            shapes.add(shape)
            args = [argument(t, a) for t, a in zip(call["types"], call["args"])]
            where = f'{method}{tuple(call["args"])}'
            try:
                out = getattr(sw, method)(*args)
            except zolt.SwitchError as e:
                # Rows the fresh switch lacks and the sweep did not write, or rows an add meets.
                assert e.method == call["rpc"], where
                assert e.code in (NO_SUCH_ENTRY, ENTRY_EXISTS), where
                assert shape in READS + ("set", "add"), where
                continue
            except zolt.Error as e:
                assert str(e) == "not implemented" and call["undecodable"], (where, e)
                continue
            key = (call["table"], json.dumps(call["key"]))
            if shape in ("set", "add"):
                written.add(key)
            if shape == "del":
                deleted.add(key)
            if shape in ("bare", "set", "add", "del"):
                assert out is None, where
                continue
            if shape == "exists":
                assert isinstance(out, bool), where
                continue
            if call["expected"] is not None and key in written and key not in deleted:
                assert json.loads(zolt.to_json(out)) == call["expected"], where
                round_trips += 1
            if CLI:
                printed = zolt_call(sim, call)
                mine = json.loads(zolt.to_json(out))
                if mine != printed:
                    assert "statistics" in call["rpc"] or "status" in call["rpc"], where
                    assert masked(mine) == masked(printed), where
                compared += 1
        assert len(shapes) == 10, shapes
        assert round_trips > 50
        if CLI:
            assert compared > 100
