"""zolt.testing: the switch simulator for tests of automation written with zolt.

As a pytest plugin (`pytest -p zolt.testing`, or `pytest_plugins = ["zolt.testing"]` in a
conftest.py) it gives the fixture `zolt_switch`: a fresh `zolt-switch-sim` on a free port of
127.0.0.1, stopped after the test. Its number of ports and a fault are chosen with a marker:

    @pytest.mark.zolt_switch(ports=4, fault="latency:5")
    def test_mtu(zolt_switch):
        with zolt_switch.client() as sw:
            assert sw.port_config_get("Gi 1/4").MTU > 0

Faults are the simulator's: "none", "latency:MS", "html500", "drop", "status:N". The program is
found as $ZOLT_SWITCH_SIM, else as zolt-switch-sim on PATH. Without pytest, `Simulator` is a
context manager doing the same.
"""

import os
import re
import shutil
import subprocess
from typing import Any, Iterator, List, Optional

from . import _zolt

__all__ = ["Simulator", "simulator_program", "zolt_switch"]


def simulator_program() -> str:
    """The zolt-switch-sim to run: $ZOLT_SWITCH_SIM, else the one on PATH."""
    program = os.environ.get("ZOLT_SWITCH_SIM") or shutil.which("zolt-switch-sim")
    if not program:
        raise FileNotFoundError("zolt-switch-sim not found: install zolt-tools or set "
                                "ZOLT_SWITCH_SIM")
    return program


class Simulator:
    """One running zolt-switch-sim. `url`, `user` and `password` say how to reach it."""

    def __init__(self, ports: int = 8, fault: str = "none", user: str = "admin",
                 password: str = "admin", program: Optional[str] = None,
                 extra_args: Optional[List[str]] = None) -> None:
        self.ports = ports
        self.fault = fault
        self.user = user
        self.password = password
        self.program = program or simulator_program()
        self.extra_args = list(extra_args or [])
        self.url = ""
        self._process: Optional["subprocess.Popen[str]"] = None

    def start(self) -> "Simulator":
        args = [self.program, "--host", "127.0.0.1", "--port", "0", "--ports", str(self.ports),
                "--user", self.user, "--password", self.password, "--fault", self.fault]
        self._process = subprocess.Popen(args + self.extra_args, stdout=subprocess.PIPE,
                                         stderr=subprocess.PIPE, text=True)
        assert self._process.stdout is not None
        line = self._process.stdout.readline()
        match = re.match(r"listening on (\S+):(\d+)$", line.strip())
        if not match:
            self._process.kill()
            _, errors = self._process.communicate()
            raise RuntimeError(f"zolt-switch-sim did not start: {(line + errors).strip()}")
        self.url = f"http://{match.group(1)}:{match.group(2)}/"
        return self

    def stop(self) -> None:
        """Stops the simulator (SIGTERM, then SIGKILL after five seconds)."""
        if self._process is None:
            return
        self._process.terminate()
        try:
            self._process.communicate(timeout=5)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.communicate()
        self._process = None

    def client(self, timeout: int = 10) -> "_zolt.Client":
        """A new zolt.Client for this simulator."""
        return _zolt.Client(self.url, self.user, self.password, timeout)

    def __enter__(self) -> "Simulator":
        return self.start()

    def __exit__(self, *exc: Any) -> None:
        self.stop()

    def __repr__(self) -> str:
        return f"<zolt.testing.Simulator {self.url or 'stopped'} ports={self.ports} " \
               f"fault={self.fault}>"


try:
    import pytest
except ImportError:  # pragma: no cover - the plugin half needs pytest, the rest does not
    pytest = None  # type: ignore[assignment]

if pytest is not None:
    def pytest_configure(config: Any) -> None:
        config.addinivalue_line(
            "markers", "zolt_switch(ports=8, fault='none', user='admin', password='admin'): "
            "how the zolt_switch fixture starts the simulator")

    @pytest.fixture
    def zolt_switch(request: Any) -> Iterator[Simulator]:
        """A fresh zolt-switch-sim for one test; see the module's text for the marker."""
        marker = request.node.get_closest_marker("zolt_switch")
        options = dict(marker.kwargs) if marker is not None else {}
        with Simulator(**options) as simulator:
            yield simulator
