#!/usr/bin/env python3
"""A few steps of the switch tour from Python: tour.py URL USER PASSWORD."""

import sys

import zolt


def main(url, user, password):
    with zolt.Client(url, user, password) as sw:
        status = sw.port_status_get()
        up = [port for port, s in status.items() if s.Link]
        print(f"{len(status)} ports, link up on {', '.join(up) or 'none'}")
        conf = sw.port_config_get("Gi 1/5")
        conf.MTU = 9216
        conf.Speed = zolt.zolt_appl_port_speed_t.force1GModeFdx
        sw.port_config_set("Gi 1/5", conf)
        back = sw.port_config_get("Gi 1/5")
        print(f"Gi 1/5: MTU {back.MTU}, speed {back.Speed.text}")
        try:
            sw.port_config_get("Gi 9/9")
        except zolt.SwitchError as e:
            print(f"refused: {e} (code {e.code})")
        print(zolt.to_json(back))


if __name__ == "__main__":
    main(*sys.argv[1:4])
