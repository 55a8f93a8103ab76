"""The Python halves of the extension's types: the exception classes and the base of every
enumeration. The extension (`zolt._zolt`) imports this module while it initialises, raises these
exceptions and builds each enumeration of the schema as a subclass of `SchemaEnum`."""

import enum
from typing import Any, ClassVar, Dict, Tuple

__all__ = ["Error", "SwitchError", "ClosedError", "TransferError", "StatusError", "AnswerError",
           "DecodeError", "LogicError", "DecodeLogicError", "SchemaEnum"]


class Error(Exception):
    """Every failure of the library, and a call on a closed client.

    `str(e)` is the library's own text ("Post error", "Failed to parse!", ...); `detail` is the
    one line that says more (libcurl's text, the HTTP status, the answer's first bytes or the
    JSON path where decoding stopped), empty when there is nothing to add."""

    detail: str

    def __init__(self, message: str = "", detail: str = "") -> None:
        super().__init__(message)
        self.detail = detail

    def __reduce__(self) -> Tuple[Any, ...]:
        return (type(self), (str(self), self.detail), self.__dict__)


class SwitchError(Error):
    """The switch answered with an error: `code` is its code (-1 for an error that is not an
    object with an integer code), `method` the method string of the call."""

    code: int
    method: str

    def __init__(self, code: int, method: str) -> None:
        super().__init__(f"{method}: the switch answered error code {code}")
        self.code = code
        self.method = method

    def __reduce__(self) -> Tuple[Any, ...]:
        return (type(self), (self.code, self.method))


class ClosedError(Error):
    """A call on a client that has been closed."""


class TransferError(Error):
    """"Post error": the transfer did not complete. `curl_code` is libcurl's result code (0
    when the failure came before any transfer), `curl_text` libcurl's text for it."""

    curl_code: int
    curl_text: str


class StatusError(Error):
    """"Network error, return code: N": an HTTP status outside 200-299 and 500-599."""

    status: int


class AnswerError(Error):
    """An answer that is not a JSON-RPC answer ("Failed to parse!", "Not a object", ...), with
    the HTTP status and the first bytes of the body."""

    status: int
    excerpt: str


class DecodeError(Error):
    """A value of the answer that does not fit its type ("Unexpected type",
    "out-of-range-enum", ...); `path` is where decoding stopped ("result[3].val.MTU")."""

    path: str


class LogicError(Error, ValueError):
    """A standard logic error of the library's codecs (for instance "stoi" from a byte list
    that is no hex text)."""


class DecodeLogicError(LogicError):
    """The logic-error kind of decode failure: a record found where the answer holds an array,
    number, string or boolean; `path` as for DecodeError."""

    path: str


class SchemaEnum(enum.IntEnum):
    """The base of every enumeration of the schema: an int with the switch's value, whose
    `text` is the text that travels on the wire. Members are named by that text, except where
    it is no Python identifier (see the package's README for the rule)."""

    _zolt_texts: ClassVar[Dict[int, str]]

    @property
    def text(self) -> str:
        return type(self)._zolt_texts[int(self)]
