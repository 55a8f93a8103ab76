"""A local HTTP server on 127.0.0.1 that answers each POST with the next canned answer and keeps
the request bodies, for the tests that need an answer the simulator never gives."""

import http.server
import threading
from typing import List, Tuple


class AnswerServer:
    def __init__(self) -> None:
        self.answers: List[Tuple[int, str, str]] = []   # (status, content type, body)
        self.requests: List[bytes] = []
        server = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self) -> None:
                length = int(self.headers.get("Content-Length", "0"))
                server.requests.append(self.rfile.read(length))
                status, content_type, body = server.answers.pop(0)
                data = body.encode()
                self.send_response(status)
                self.send_header("Content-Type", content_type)
                self.send_header("Content-Length", str(len(data)))
                self.end_headers()
                self.wfile.write(data)

            def log_message(self, *args: object) -> None:
                pass

        self.httpd = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.url = "http://127.0.0.1:%d/json_rpc" % self.httpd.server_address[1]
        self.thread = threading.Thread(target=self.httpd.serve_forever, daemon=True)

    def answer(self, body: str, status: int = 200, content_type: str = "application/json") -> None:
        self.answers.append((status, content_type, body))

    def result(self, result_json: str) -> None:
        self.answer('{"id":"jsonrpc","error":null,"result":%s}' % result_json)

    def __enter__(self) -> "AnswerServer":
        self.thread.start()
        return self

    def __exit__(self, *exc: object) -> None:
        self.httpd.shutdown()
        self.httpd.server_close()
