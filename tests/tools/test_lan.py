#!/usr/bin/env python3
"""lumipmi lan on the reference BMC, and on scripted ones for what that does not do."""
import subprocess
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

DEFAULTS = ["lan", "set", "--source", "static", "--address", "192.0.2.10", "--mask", "255.255.255.0", "--mac",
            "02:00:5e:10:00:01", "--gateway", "192.0.2.1", "--gateway-mac", "02:00:5e:10:00:fe", "--backup-gateway",
            "192.0.2.2", "--backup-gateway-mac", "02:00:5e:10:00:fd", "--vlan", "100", "--vlan-priority", "3", "--ttl",
            "64", "--dont-fragment", "on", "--precedence", "0", "--tos", "8", "--rmcp-port", "623", "--arp-responses",
            "on", "--gratuitous-arp", "on"]

# change, what is then shown
CHANGES = [
    (["--source", "dhcp"], {"ip_source.text": "dhcp"}),
    (["--address", "198.51.100.7", "--mask", "255.255.254.0"],
     {"ip_address": "198.51.100.7", "subnet_mask": "255.255.254.0"}),
    (["--mac", "02-AB-5e-10-00-a0"], {"mac_address": "02:ab:5e:10:00:a0"}),
    (["--gateway", "192.0.2.3", "--gateway-mac", "02:00:5e:10:00:11"],
     {"gateway_ip": "192.0.2.3", "gateway_mac": "02:00:5e:10:00:11"}),
    (["--backup-gateway", "192.0.2.4", "--backup-gateway-mac", "02:00:5e:10:00:12"],
     {"backup_gateway_ip": "192.0.2.4", "backup_gateway_mac": "02:00:5e:10:00:12"}),
    (["--vlan", "4094"], {"vlan.id": 4094}),
    (["--vlan", "off"], {"vlan": {"enabled": False, "id": 100}}),
    (["--vlan-priority", "7"], {"vlan_priority": 7}),
    (["--ttl", "255"], {"ttl": 255}),
    (["--dont-fragment", "off"], {"ip_flags": []}),
    (["--precedence", "5", "--tos", "6"],
     {"precedence": 5, "type_of_service": ["high throughput", "high reliability"]}),
    (["--rmcp-port", "5623"], {"rmcp_port": 5623}),
    (["--arp-responses", "off"], {"arp_responses": False}),
    (["--gratuitous-arp", "off"], {"gratuitous_arp": False}),
]


def setUpModule():
    start_bmc()


class Lan(ToolCase):
    def test_print(self):
        lan = self.json_of("lan", "print", "--channel", 1)
        self.assertEqual({key: lan["lan"][key] for key in ("channel", "destinations", "community", "lockout_seconds",
                                                           "gratuitous_arp_seconds", "authentication_types")},
                         {"channel": 1, "destinations": 4, "community": "public", "lockout_seconds": 300,
                          "gratuitous_arp_seconds": 2, "authentication_types": ["none", "md2", "md5", "password"]})
        self.assertEqual([row["id"] for row in lan["cipher_suites"]], list(range(1, 16)))

    def test_changes(self):
        self.check_changes("lan", CHANGES, DEFAULTS)

    def test_cipher(self):
        self.check_change(["lan", "cipher", "set", "4", "unused"], ["lan", "cipher"],
                          {"cipher_suites.3.level.text": "unused"}, ["lan", "cipher", "set", "4", "administrator"])
        self.check_refused(["lan", "cipher", "set", "16", "administrator"], "no cipher suite 16", status=4)
        self.check_refused(["lan", "cipher", "set", "3", "user"], "asks for a confirmation")

    def test_statistics(self):
        first = self.json_of("lan", "stats")["statistics"]
        self.assertEqual((first["ip_packets_received"], first["udp_proxy_packets_dropped"]), (1234, 5))
        cleared = self.json_of("lan", "stats", "--clear")["statistics"]
        self.assertEqual((cleared["ip_packets_received"], cleared["cleared"]), (1234, True))
        self.assertEqual(self.json_of("lan", "stats")["statistics"]["ip_packets_received"], 0)

    def test_refused(self):
        self.check_all_refused(["lan", "set"], [
            (["--address", "192.0.2"], ["IPv4 address"]),
            (["--address", "192.0.2.256"], ["IPv4 address"]),
            (["--mask", "255.0.255.0"], ["subnet mask"]),
            (["--mask", "0.0.0.255"], ["subnet mask"]),
            (["--mac", "02:00:5e:10:00"], ["MAC address"]),
            (["--mac", "02:00:5e:10:00:0g"], ["MAC address"]),
            (["--mac", "02:00:5e:10:00 01"], ["MAC address"]),
            (["--vlan", "0"], ["1 - 4094"]), (["--vlan", "4095"], ["1 - 4094"]),
            (["--vlan-priority", "8"], ["range", "7"]), (["--ttl", "0"], ["range", "255"]),
            (["--source", "unspecified"], ["dhcp"]), ([], ["nothing to change"]),
            (["--address", "192.0.2.1", "--source", "dhcp"], ["static"]),
            (["--ttl", "9"], ["asks for a confirmation"])])
        self.check_refused(["lan", "auth", "set", "--level", "user", "--types", "off,md5"], "off")

    def test_agrees_with_ipmitool(self):
        shown = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p",
                                str(toolcase.bmc.lan_port), "-U", "admin", "-P", "admin-pw", "lan", "print", "1"],
                               stdout=subprocess.PIPE, text=True, timeout=60, check=True).stdout
        theirs = dict(map(str.strip, line.split(":", 1)) for line in shown.splitlines() if not line.startswith(" "))
        lan = self.json_of("lan")
        ours = lan["lan"]
        for key, value in [("IP Address", ours["ip_address"]), ("Subnet Mask", ours["subnet_mask"]),
                           ("MAC Address", ours["mac_address"]), ("Default Gateway IP", ours["gateway_ip"]),
                           ("Backup Gateway MAC", ours["backup_gateway_mac"]), ("802.1q VLAN ID", "100"),
                           ("802.1q VLAN Priority", str(ours["vlan_priority"])),
                           ("SNMP Community String", ours["community"]),
                           ("IP Header", "TTL=0x40 Flags=0x40 Precedence=0x00 TOS=0x10"),
                           ("RMCP+ Cipher Suites", ",".join(str(row["id"]) for row in lan["cipher_suites"]))]:
            self.assertEqual(theirs[key], value, key)


class LanBmc(FakeBmc):
    """A LAN channel 1 with the parameters {selector: bytes} and what {(selector, first byte): code} refuses."""

    def __init__(self, parameters, refused):
        self.written = []
        self._parameters, self._refused = parameters, refused
        super().__init__({(0x06, 0x42): lambda data: bytes([0, *data, 4 if data[0] == 1 else 1, 1, 0, 0, 0, 0, 0, 0]),
                          (0x0C, 0x01): self._set, (0x0C, 0x02): self._get})

    def _set(self, data):
        self.written.append(data[1:].hex(" "))
        code = self._refused.get((data[1], data[2]), 0)
        return None if code is None else bytes([code])

    def _get(self, data):
        value = self._parameters.get(data[1])
        return b"\x80" if value is None else b"\x00\x11" + bytes.fromhex(value)


TTL = ["lan", "set", "--ttl", "9"]
# command, what is refused, what is written, exit status
WRITES = [
    (TTL, {}, ["00 01", "07 09 60 11", "00 02", "00 00"], 0),
    (["lan", "set", "--vlan", "300", "--address", "10.0.0.1", "--tos", "0", "--precedence", "7"], {},
     ["00 01", "03 0a 00 00 01", "07 40 60 e1", "14 2c f1", "00 02", "00 00"], 0),
    (TTL, {(0, 1): 0x80}, ["00 01", "07 09 60 11"], 0),
    (TTL, {(0, 1): 0x81}, ["00 01"], 4),
    (TTL, {(0, 2): 0xCC}, ["00 01", "07 09 60 11", "00 02", "00 00"], 0),
    (TTL, {(0, 2): 0xFF}, ["00 01", "07 09 60 11", "00 02", "00 00"], 4),
    (TTL, {(7, 9): 0x82}, ["00 01", "07 09 60 11", "00 00"], 4),
    (TTL, {(0, 1): None}, ["00 01", "00 00"], 6),
    (["lan", "auth", "set", "--level", "user", "--types", "md5,password"], {},
     ["00 01", "02 37 14 37 37 20", "00 02", "00 00"], 0),
    (["lan", "auth", "set", "--level", "oem", "--types", "off"], {},
     ["00 01", "02 37 37 37 37 00", "00 02", "00 00"], 0),
    (["lan", "cipher", "set", "17", "user"], {}, ["00 01", "18 00 23 04 00 00 00 00 00 00", "00 02", "00 00"], 0),
]


class Scripted(ToolCase):
    def test_writes(self):
        parameters = {2: "37 37 37 37 20", 7: "40 60 11", 20: "64 70", 22: "03", 23: "00 03 11 02 01",
                      24: "00 43 04 00 00 00 00 00 00"}
        for command, refused, written, status in WRITES:
            with self.subTest(command=command, refused=refused), LanBmc(parameters, refused) as fake:
                run = self.tool("--yes", "--timeout", 300, *command, driver=fake.driver)
                self.assertEqual((run.status, fake.written), (status, written), run)

    def test_parts(self):
        """What the BMC lacks ends nothing; an address of three bytes is a problem, and read no further."""
        with LanBmc({3: "0a 00 00", 23: "00 03 11"}, {}) as fake:
            lan = self.json_of("lan", driver=fake.driver, status=5)
        self.assertEqual([problem["where"] for problem in lan["problems"]], ["LAN parameter 3"])
        self.assertEqual(lan["lan"]["subnet_mask"], None)
        self.assertEqual([row["id"] for row in lan["cipher_suites"]], [3, 17])
        self.assertIn("AES-CBC-128", lan["cipher_suites"][1]["algorithms"])


if __name__ == "__main__":
    unittest.main()
