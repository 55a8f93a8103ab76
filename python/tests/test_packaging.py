"""The stubs against mypy --strict, help() texts, and the pytest fixture."""

import os
import subprocess
import sys
import textwrap

import pytest

import zolt

SCRIPT = '''
import asyncio
import zolt
import zolt.aio


def widen(sw: zolt.Client, port: str) -> int:
    conf: zolt.zolt_appl_port_mib_conf_t = sw.port_config_get(port)
    conf.MTU = 9000
    conf.Speed = zolt.zolt_appl_port_speed_t.autoNegMode
    sw.port_config_set(port, conf)
    table: dict[str, zolt.zolt_appl_port_mib_conf_t] = sw.port_config_get()
    queues: dict[tuple[str, int], zolt.zolt_appl_port_prio_counter_t] = \\
        sw.port_statistics_queues_get()
    text: str = conf.Speed.text
    return len(table) + len(queues) + len(text) + conf.MTU


async def fleet(urls: list[str]) -> list[zolt.zolt_appl_port_mib_conf_t]:
    clients = [zolt.aio.Client(u, "admin", "admin") for u in urls]
    return list(await asyncio.gather(*(c.port_config_get("Gi 1/1") for c in clients)))


try:
    with zolt.Client("http://127.0.0.1:1/", timeout=1) as sw:
        print(widen(sw, "Gi 1/1"))
except zolt.SwitchError as e:
    print(e.code, e.method)
except zolt.Error as e:
    print(str(e), e.detail)
'''

BAD = '''
import zolt
sw = zolt.Client("http://127.0.0.1:1/")
conf = sw.port_config_get("Gi 1/1")
conf.MTU = "big"
sw.port_config_set(conf)
'''


def mypy(tmp_path, text):
    path = tmp_path / "script.py"
    path.write_text(textwrap.dedent(text))
    return subprocess.run([sys.executable, "-m", "mypy", "--strict", "--no-incremental",
                           "--cache-dir", str(tmp_path / "cache"), str(path)],
                          capture_output=True, text=True, env=dict(os.environ))


def test_mypy_strict_accepts_a_typed_script(tmp_path):
    done = mypy(tmp_path, SCRIPT)
    assert done.returncode == 0, done.stdout + done.stderr


def test_mypy_strict_finds_the_mistakes(tmp_path):
    done = mypy(tmp_path, BAD)
    assert done.returncode == 1
    assert 'Incompatible types in assignment (expression has type "str", variable has type "int")' \
        in done.stdout, done.stdout
    assert "port_config_set" in done.stdout


def test_help_shows_method_string_shape_and_parameters():
    doc = zolt.Client.port_config_get.__doc__
    assert "port_config_get(key: str) -> zolt_appl_port_mib_conf_t" in doc
    assert '"port.config.get", keyed get' in doc and '"port.config.get", get-all' in doc
    assert "C++: int zolt_port_config_get(void* handle, const std::string& key," in doc


@pytest.mark.zolt_switch(ports=3)
def test_the_fixture_starts_a_simulator_with_the_ports_asked_for(zolt_switch):
    assert zolt_switch.url.startswith("http://127.0.0.1:")
    with zolt_switch.client() as sw:
        assert list(sw.port_config_get()) == ["Gi 1/1", "Gi 1/2", "Gi 1/3"]


@pytest.mark.zolt_switch(fault="status:404")
def test_the_fixture_passes_the_fault(zolt_switch):
    with zolt_switch.client() as sw, pytest.raises(zolt.StatusError):
        sw.port_config_get("Gi 1/1")


def test_the_simulator_stops(tmp_path):
    from zolt.testing import Simulator
    with Simulator(ports=1) as sim:
        url = sim.url
    with zolt.Client(url, timeout=2) as sw, pytest.raises(zolt.TransferError):
        sw.port_config_get("Gi 1/1")
