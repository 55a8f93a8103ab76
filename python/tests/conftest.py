# The suite runs against the package in the build tree (PYTHONPATH=<build>/python) and the
# simulator of the same build ($ZOLT_SWITCH_SIM); ctest sets both.

import pytest

pytest_plugins = ["zolt.testing"]


@pytest.fixture(scope="module")
def switch():
    """One simulator for a whole test module, for tests that only read or that restore what
    they write."""
    from zolt.testing import Simulator

    with Simulator(ports=8) as simulator:
        yield simulator


@pytest.fixture
def sw(switch):
    with switch.client() as client:
        yield client
