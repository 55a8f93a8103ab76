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

from ._base import (AnswerError, ClosedError, DecodeError, DecodeLogicError, Error, LogicError,
                    SchemaEnum, StatusError, SwitchError, TransferError)
from ._zolt import *  # noqa: F401,F403  (every record, enumeration, Client, Mac, to_json, ...)
from ._zolt import Client, Mac, __version__, from_json, to_json  # noqa: F401
