"""The client against the simulator and against a local server with canned answers: call
shapes, overloads, argument refusals, the exact request bytes, every exception kind with its
text and detail, and closing."""

import socket

import pytest

import zolt
from answer_server import AnswerServer

CONF_ROW = ('{"Shutdown":false,"Speed":"autoNegMode","AdvertiseDisabled":0,"MediaType":"rj45",'
            '"FC":"off","MTU":10240,"ExcessiveRestart":false,"PFC":0,"FrameLengthCheck":false}')


class TestShapes:
    def test_keyed_get_set_and_get_all(self, sw):
        conf = sw.port_config_get("Gi 1/2")
        assert isinstance(conf, zolt.zolt_appl_port_mib_conf_t)
        conf.MTU = 9000
        assert sw.port_config_set("Gi 1/2", conf) is None
        assert sw.port_config_get("Gi 1/2").MTU == 9000
        table = sw.port_config_get()
        assert type(table) is dict
        assert list(table) == sorted(table), "the map's key order"
        assert len(table) == 8 and table["Gi 1/2"] == conf

    def test_tuple_keys_are_tuples(self, sw):
        queues = sw.port_statistics_queues_get()
        assert all(isinstance(k, tuple) and len(k) == 2 for k in queues)
        key = next(iter(queues))
        row = sw.port_statistics_queues_get(*key)   # counters move: compare the type alone
        assert type(row) is type(queues[key]) is zolt.zolt_appl_port_prio_counter_t

    def test_switch_error_carries_code_and_method(self, sw):
        with pytest.raises(zolt.SwitchError) as e:
            sw.port_config_get("Gi 9/9")
        assert (e.value.code, e.value.method) == (1, "port.config.get")
        assert str(e.value) == "port.config.get: the switch answered error code 1"
        assert isinstance(e.value, zolt.Error)

    def test_overloads_are_chosen_by_arity_and_type(self, sw):
        with pytest.raises(TypeError, match=r"^port_config_get\(\): no overload takes \(str, str\); the overloads are:\n    port_config_get\(key: str\)"):
            sw.port_config_get("Gi 1/1", "Gi 1/2")
        with pytest.raises(TypeError):
            sw.port_config_get(1)
        assert "port.config.get" in zolt.Client.port_config_get.__doc__

    def test_argument_refusals_name_the_argument(self, sw):
        with pytest.raises(OverflowError,
                           match=r"^port_statistics_queues_get: argument key2: 2147483648 does not "
                                 r"fit i32 \(-2147483648\.\.2147483647\)$"):
            sw.port_statistics_queues_get("Gi 1/1", 2**31)
        with pytest.raises(TypeError):
            sw.port_control_statistics_clear_set("Gi 1/1", 1)   # a bool is wanted


class TestWire:
    def test_request_bytes_are_the_librarys(self):
        with AnswerServer() as server:
            server.result("null")
            with zolt.Client(server.url) as sw:
                sw.port_config_set("Gi 1/1", zolt.zolt_appl_port_mib_conf_t(MTU=9000))
            assert server.requests[0].decode() == (
                '{\n   "id" : "jsonrpc",\n   "method" : "port.config.set",\n   "params" : [\n'
                '      "Gi 1/1",\n      {\n         "AdvertiseDisabled" : 0,\n'
                '         "ExcessiveRestart" : false,\n         "FC" : "off",\n'
                '         "FrameLengthCheck" : false,\n         "MTU" : 9000,\n'
                '         "MediaType" : "rj45",\n         "PFC" : 0,\n'
                '         "Shutdown" : false,\n         "Speed" : "force10ModeFdx"\n'
                '      }\n   ]\n}\n')

    def test_error_without_integer_code_is_minus_one(self):
        with AnswerServer() as server:
            server.answer('{"id":"jsonrpc","error":{"message":"no"},"result":null}')
            with zolt.Client(server.url) as sw, pytest.raises(zolt.SwitchError) as e:
                sw.port_config_get("Gi 1/1")
        assert e.value.code == -1


class TestExceptions:
    def call(self, answer, status=200, content_type="application/json"):
        with AnswerServer() as server:
            server.answer(answer, status, content_type)
            with zolt.Client(server.url) as sw:
                return sw.port_config_get("Gi 1/1")

    def test_status_error(self):
        with pytest.raises(zolt.StatusError) as e:
            self.call("gone", 404, "text/plain")
        assert str(e.value) == "Network error, return code: 404"
        assert (e.value.status, e.value.detail) == (404, "HTTP status 404")

    def test_answer_error(self):
        with pytest.raises(zolt.AnswerError) as e:
            self.call("<html>\n</html>", 500, "text/html")
        assert str(e.value) == "Failed to parse!"
        assert (e.value.status, e.value.excerpt) == (500, "<html>\n</html>")
        assert e.value.detail == "HTTP status 500, body: <html> </html>"
        with pytest.raises(zolt.AnswerError, match="^No result member$"):
            self.call('{"id":"jsonrpc","error":null}')

    def test_decode_error_with_path(self):
        with pytest.raises(zolt.DecodeError) as e:
            self.call('{"id":"jsonrpc","error":null,"result":%s}' % CONF_ROW.replace('10240', '"x"'))
        assert str(e.value) == "Unexpected type"
        assert e.value.path == "result.MTU" and e.value.detail == "at result.MTU"

    def test_decode_logic_error_is_a_value_error(self):
        with pytest.raises(zolt.DecodeLogicError) as e:
            self.call('{"id":"jsonrpc","error":null,"result":[1]}')
        assert isinstance(e.value, ValueError) and e.value.path == "result"

    def test_transfer_error(self):
        with socket.socket() as s:
            s.bind(("127.0.0.1", 0))
            port = s.getsockname()[1]
        with zolt.Client(f"http://127.0.0.1:{port}/", timeout=5) as sw:
            with pytest.raises(zolt.TransferError) as e:
                sw.port_config_get("Gi 1/1")
        assert str(e.value) == "Post error"
        assert e.value.curl_code == 7 and e.value.curl_text == e.value.detail
        assert "onnect" in e.value.detail

    def test_exceptions_pickle(self):
        import pickle
        error = pickle.loads(pickle.dumps(zolt.SwitchError(3, "port.config.get")))
        assert (error.code, error.method, str(error)) == (3, "port.config.get",
                                                        "port.config.get: the switch answered error code 3")


class TestClosing:
    def test_closed_client_raises_and_double_close_is_harmless(self, switch):
        sw = switch.client()
        assert not sw.closed and "<zolt.Client" in repr(sw)
        sw.close()
        sw.close()
        assert sw.closed
        with pytest.raises(zolt.ClosedError, match="^the client is closed$"):
            sw.port_config_get("Gi 1/1")
        with switch.client() as sw2:
            pass
        assert sw2.closed

    def test_bad_connection_fields(self):
        with pytest.raises(ValueError, match="url is longer than 2083 bytes"):
            zolt.Client("http://x/" + "a" * 3000)
        with pytest.raises(ValueError, match="timeout must not be negative"):
            zolt.Client("http://127.0.0.1/", timeout=-1)
