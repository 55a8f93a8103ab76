"""Records, enumerations, MAC addresses and byte lists as Python values: construction,
attributes, width refusals, equality, repr, copying, pickling, and to_json/from_json through
the library's own codecs."""

import copy
import json
import pickle

import pytest

import zolt

Conf = zolt.zolt_appl_port_mib_conf_t
Speed = zolt.zolt_appl_port_speed_t


class TestRecords:
    def test_keyword_construction_and_attributes_named_by_json_keys(self):
        conf = Conf(MTU=9000, Shutdown=True, Speed=Speed.autoNegMode)
        assert (conf.MTU, conf.Shutdown, conf.Speed, conf.PFC) == (9000, True,
                                                                    Speed.autoNegMode, 0)
        assert conf._fields[0] == "Shutdown" and "FrameLengthCheck" in conf._fields
        conf.PFC = 255
        assert conf.PFC == 255

    def test_refusals_name_the_record_and_field(self):
        with pytest.raises(OverflowError,
                           match=r"^zolt_appl_port_mib_conf_t\.PFC: 256 does not fit u8 \(0\.\.255\)$"):
            Conf(PFC=256)
        conf = Conf()
        with pytest.raises(OverflowError, match=r"zolt_appl_port_mib_conf_t\.MTU: -1 does not fit u32"):
            conf.MTU = -1
        with pytest.raises(OverflowError, match=r"MTU: 4294967296 does not fit u32"):
            conf.MTU = 2**32
        with pytest.raises(OverflowError, match=r"MTU: 340282366920938463463374607431768211456"):
            conf.MTU = 2**128
        conf.MTU = 2**32 - 1
        assert conf.MTU == 4294967295, "the edge of the range still fits"
        with pytest.raises(TypeError, match=r"^zolt_appl_port_mib_conf_t\.Shutdown: expected bool, got int$"):
            conf.Shutdown = 1
        with pytest.raises(TypeError, match=r"MTU: expected int, got bool"):
            conf.MTU = True
        with pytest.raises(TypeError, match=r"Speed: expected zolt_appl_port_speed_t, got str"):
            conf.Speed = "autoNegMode"
        with pytest.raises(TypeError, match=r"unexpected keyword argument 'Mtu'"):
            Conf(Mtu=1)
        with pytest.raises(TypeError, match=r"keyword arguments only"):
            Conf(True)
        with pytest.raises(AttributeError):
            conf.Mtu = 1
        assert conf == Conf(MTU=4294967295), "a refused value leaves the field as it was"

    def test_enumeration_fields_take_members_or_their_values(self):
        conf = Conf()
        conf.Speed = 5
        assert conf.Speed is Speed.autoNegMode
        with pytest.raises(TypeError, match="Speed: expected zolt_appl_port_speed_t, got int"):
            conf.Speed = 99
        with pytest.raises(TypeError):
            conf.Speed = zolt.zolt_port_speed_t.s1G   # a member of another enumeration

    def test_equality_hash_repr_copy(self):
        a = Conf(MTU=1500, Speed=Speed.force1GModeFdx)
        b = Conf(MTU=1500, Speed=Speed.force1GModeFdx)
        assert a == b and hash(a) == hash(b) and a != Conf(MTU=1501)
        assert a != zolt.zolt_appl_port_prio_counter_t()
        assert repr(a) == ("zolt_appl_port_mib_conf_t(Shutdown=False, "
                           "Speed=zolt_appl_port_speed_t.force1GModeFdx, AdvertiseDisabled=0, "
                           "MediaType=zolt_appl_port_media_t.rj45, FC=zolt_appl_port_fc_t.off, "
                           "MTU=1500, ExcessiveRestart=False, PFC=0, FrameLengthCheck=False)")
        c = copy.copy(a)
        d = copy.deepcopy(a)
        c.MTU = 1
        assert a.MTU == 1500 and d == a and c is not a

    def test_pickling_keeps_every_field(self):
        status = zolt.zolt_appl_port_mib_status_t(
            Link=True, SFPVendorName="Z\u00fcrich optics", SFPType=zolt.zolt_appl_sfp_tranceiver_t.sfp10G_DAC)
        for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
            again = pickle.loads(pickle.dumps(status, protocol))
            assert again == status and type(again) is type(status)
        member = pickle.loads(pickle.dumps(Speed.autoNegMode))
        assert member is Speed.autoNegMode


class TestEnumerations:
    def test_intenum_with_wire_text(self):
        assert issubclass(Speed, zolt.SchemaEnum) and Speed.autoNegMode == 5
        assert Speed(5).text == "autoNegMode" and Speed.__module__ == "zolt"
        tranceiver = zolt.zolt_appl_sfp_tranceiver_t
        assert tranceiver.sfp10G_DAC.text == "sfp10G-DAC", "the member name is made an identifier"
        assert [m.value for m in tranceiver][:4] == [0, 1, 2, 7]


class TestMac:
    def test_from_text_or_bytes(self):
        mac = zolt.Mac("00:1f:a2:0b:3c:d4")
        assert str(mac) == "00:1F:A2:0B:3C:D4" and repr(mac) == "Mac('00:1F:A2:0B:3C:D4')"
        assert mac == zolt.Mac(bytes([0, 0x1F, 0xA2, 0x0B, 0x3C, 0xD4]))
        assert bytes(mac) == b"\x00\x1f\xa2\x0b\x3c\xd4"
        assert zolt.Mac("0:1:2:3:4:5") == zolt.Mac("00:01:02:03:04:05"), "ether_aton's rules"
        assert hash(mac) == hash(zolt.Mac(str(mac))) and zolt.Mac("00:00:00:00:00:01") < mac
        assert pickle.loads(pickle.dumps(mac)) == mac and copy.copy(mac) == mac

    def test_refusals(self):
        with pytest.raises(ValueError, match=r"^Mac: argument address: Mac address is invalid: '00:1F'$"):
            zolt.Mac("00:1F")
        with pytest.raises(ValueError, match="six bytes, not 5"):
            zolt.Mac(b"12345")
        with pytest.raises(TypeError, match="expected Mac, got int"):
            zolt.Mac(5)


class TestJson:
    def test_to_json_goes_through_the_library(self):
        conf = Conf(MTU=9000, Speed=Speed.autoNegMode)
        assert json.loads(zolt.to_json(conf)) == {
            "Shutdown": False, "Speed": "autoNegMode", "AdvertiseDisabled": 0, "MediaType": "rj45",
            "FC": "off", "MTU": 9000, "ExcessiveRestart": False, "PFC": 0, "FrameLengthCheck": False}
        assert zolt.to_json(Speed.autoNegMode) == '"autoNegMode"'
        assert zolt.to_json(zolt.Mac("0:1f:a2:b:3c:d4")) == '"00:1F:A2:0B:3C:D4"'
        assert zolt.to_json(b"\x0a\xff") == '"0aff"', "byte lists are lower-case hex"
        assert zolt.to_json({("Gi 1/1", 0): zolt.zolt_appl_port_prio_counter_t(RxPrio=3)}) == \
            '[{"key":["Gi 1/1",0],"val":{"RxPrio":3,"TxPrio":0}}]'
        assert zolt.to_json([True, 2**64 - 1, -2**63, "x", None]) == \
            '[true,18446744073709551615,-9223372036854775808,"x",null]'
        with pytest.raises(OverflowError):
            zolt.to_json(2**64)
        with pytest.raises(TypeError, match="no JSON form for float"):
            zolt.to_json(1.5)

    def test_from_json_reads_as_the_library_reads_answers(self):
        text = zolt.to_json(Conf(MTU=1234, FC=zolt.zolt_appl_port_fc_t.on))
        assert zolt.from_json(Conf, text) == Conf(MTU=1234, FC=zolt.zolt_appl_port_fc_t.on)
        assert zolt.from_json(Speed, '"force10GModeFdx"') is Speed.force10GModeFdx
        assert zolt.from_json(zolt.Mac, '"0:1:2:3:4:5"') == zolt.Mac("00:01:02:03:04:05")
        assert zolt.from_json(bytes, '"0aFF"') == b"\x0a\xff"
        assert zolt.from_json(int, "-5") == -5 and zolt.from_json(str, '"x"') == "x"
        with pytest.raises(zolt.DecodeError) as e:
            zolt.from_json(Conf, text.replace('"FC":"on"', '"FC":"sideways"'))
        assert str(e.value) == "out-of-range-enum" and e.value.path == "FC"
        assert e.value.detail == "at FC"
        with pytest.raises(zolt.DecodeLogicError) as e:
            zolt.from_json(Conf, "[1]")
        assert isinstance(e.value, ValueError)
        assert str(e.value) == "in Json::Value::find(key, end, found): requires objectValue or nullValue"
        with pytest.raises(zolt.LogicError, match="^stoi$"):
            zolt.from_json(bytes, '"zz"')
        with pytest.raises(ValueError, match="not JSON"):
            zolt.from_json(Conf, "{")
