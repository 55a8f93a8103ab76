"""zolt.aio: the same client for asyncio.

    async with zolt.aio.Client(url, "admin", "secret") as sw:
        conf = await sw.port_config_get("Gi 1/1")

Every method of zolt.Client is a coroutine here. Each client runs its calls on a worker thread
of its own, one call at a time and in the order they were awaited; the call itself releases
the GIL, so a fleet of clients awaited together with asyncio.gather runs in parallel.
"""

import asyncio
import concurrent.futures
import functools
from typing import Any, Callable, Coroutine, Optional

from . import _zolt

__all__ = ["Client"]


class Client:
    """A zolt.Client whose methods are coroutines; same constructor arguments."""

    def __init__(self, url: str, user: str = "", password: str = "", timeout: int = 10,
                 content_type: str = "application/json") -> None:
        self._client = _zolt.Client(url, user, password, timeout, content_type)
        self._worker: Optional[concurrent.futures.ThreadPoolExecutor] = \
            concurrent.futures.ThreadPoolExecutor(max_workers=1, thread_name_prefix="zolt.aio")

    @property
    def url(self) -> str:
        return self._client.url

    @property
    def closed(self) -> bool:
        return self._client.closed

    @property
    def sync(self) -> "_zolt.Client":
        """The blocking client underneath (not to be used while a coroutine of this one runs)."""
        return self._client

    async def _run(self, call: Callable[..., Any], *args: Any) -> Any:
        if self._worker is None:
            return call(*args)   # closed: the client raises zolt.ClosedError at once
        loop = asyncio.get_running_loop()
        return await loop.run_in_executor(self._worker, functools.partial(call, *args))

    async def close(self) -> None:
        """Closes the connection after the calls already awaited; closing twice is harmless."""
        worker = self._worker
        if worker is not None:
            await self._run(self._client.close)
            self._worker = None
            worker.shutdown(wait=False)
        self._client.close()

    async def __aenter__(self) -> "Client":
        return self

    async def __aexit__(self, *exc: Any) -> None:
        await self.close()

    def __repr__(self) -> str:
        return "<zolt.aio.Client %r%s>" % (self.url, " closed" if self.closed else "")


def _coroutine(name: str, method: Any) -> Callable[..., Coroutine[Any, Any, Any]]:
    async def call(self: Client, *args: Any) -> Any:
        return await self._run(getattr(self._client, name), *args)

    call.__name__ = name
    call.__qualname__ = "Client." + name
    call.__doc__ = method.__doc__
    return call


def _add_methods() -> None:
    for name in dir(_zolt.Client):
        if name.startswith("_") or name in ("close", "closed", "url"):
            continue
        setattr(Client, name, _coroutine(name, getattr(_zolt.Client, name)))


_add_methods()
