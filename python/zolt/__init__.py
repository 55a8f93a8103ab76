"""zolt: the typed client of libzolt-client.

    import zolt
    with zolt.Client("http://192.0.2.1/json_rpc", "admin", "secret") as sw:
        conf = sw.port_config_get("Gi 1/1")
        conf.MTU = 9000
        sw.port_config_set("Gi 1/1", conf)

One method per typed function of the library, named without its "zolt_" prefix; records,
enumerations and MAC addresses as classes of this module; failures as exceptions deriving from
zolt.Error. See the package's README for the rules.
"""

# Star imports, so that type checkers see every name re-exported: both modules list theirs in
# __all__ (the extension's stubs, _zolt.pyi, do too).
from ._base import *  # noqa: F401,F403  (the exceptions and SchemaEnum)
from ._zolt import *  # noqa: F401,F403  (Client, Mac, every record and enumeration, to_json, ...)
from ._zolt import __version__ as __version__  # noqa: E402
