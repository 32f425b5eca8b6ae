#!/usr/bin/env python3
"""Writes the configuration database of a large switch on standard output, the same for the same number of interfaces.

    benches/configuration.py INTERFACES [--routed SHARE] > config_db.json

Of the layer-3 interfaces one in twenty is a VLAN's (but not more than there are VLAN numbers), SHARE of the others (0 to 1,
by default 0.1) are routed ports, and the rest are sub-interfaces of those ports.
"""

import argparse
import json
import sys

VLANS = 4094
LANES_PER_PORT = 4


def vlan_tables(count):
    names = [f"Vlan{number}" for number in range(1, count + 1)]
    return {
        "VLAN": {name: {"vlanid": name.removeprefix("Vlan")} for name in names},
        "VLAN_INTERFACE": with_addresses(names, 10),
    }


def port_tables(count):
    names = [f"Ethernet{number * LANES_PER_PORT}" for number in range(count)]
    return {
        "PORT": {name: port(number) for number, name in enumerate(names)},
        "INTERFACE": with_addresses(names, 172),
    }


def port(number):
    lanes = range(number * LANES_PER_PORT + 1, (number + 1) * LANES_PER_PORT + 1)
    return {
        "alias": f"Eth{number // 64 + 1}/{number % 64 + 1}",
        "lanes": ",".join(map(str, lanes)),
        "speed": "100000",
        "mtu": "9100",
        "admin_status": "up",
    }


def sub_interface_table(count, ports):
    names = [f"Ethernet{number % ports * LANES_PER_PORT}.{number // ports + 1}" for number in range(count)]
    rows = with_addresses(names, 100)
    for name in names:
        rows[name] = {"admin_status": "up"}
    return {"VLAN_SUB_INTERFACE": rows}


def with_addresses(names, first_byte):
    """A row for each interface and one for its address, as the database has them."""
    rows = {}
    for number, name in enumerate(names):
        rows[name] = {}
        rows[f"{name}|{first_byte}.{number >> 14 & 255}.{number >> 6 & 255}.{number % 64 * 4}/30"] = {}
    return rows


def configuration(interfaces, routed):
    vlans = min(VLANS, interfaces // 20)
    ports = max(1, round((interfaces - vlans) * routed)) if interfaces > vlans else 0
    tables = {"DEVICE_METADATA": {"localhost": {"hostname": f"switch{interfaces}", "type": "LeafRouter"}}}
    tables |= port_tables(ports) | vlan_tables(vlans)
    if interfaces > vlans + ports:
        tables |= sub_interface_table(interfaces - vlans - ports, ports)
    return tables


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("interfaces", type=int, metavar="INTERFACES")
    parser.add_argument("--routed", type=float, default=0.1, metavar="SHARE")
    options = parser.parse_args()
    if options.interfaces < 0 or not 0 <= options.routed <= 1:
        parser.error("INTERFACES is not negative, SHARE is from 0 to 1")
    json.dump(configuration(options.interfaces, options.routed), sys.stdout, indent=1)
    print()


if __name__ == "__main__":
    main()
