#!/usr/bin/env python3
"""usage: test_ethernet.py PROBE: the Ethernet helpers in namespaces of their own, with veth pairs to peers."""
import collections
import ipaddress
import json
import os
import shutil
import socket
import struct
import subprocess
import sys
import unittest

NOT_FOUND, UNSUPPORTED, INVALID_ADDRESS = 0x20000213, 0x20000216, 0x2000021B
HOST, PEER, OTHER = "02:00:00:00:00:01", "02:00:00:00:00:02", "02:00:00:00:00:03"
NO_MAC, FAR = "00:00:00:00:00:00", "02:00:00:00:00:99"
SETUP = f"""
link add left type veth peer name leftpeer
link add right type veth peer name rightpeer
link set left address {HOST}
link set right address {OTHER}
link set leftpeer address {PEER} netns PID
link set rightpeer netns PID
link add spare type veth peer name sparepeer
address add 10.9.0.1/24 broadcast + dev left
address add 10.9.0.11/24 dev left
address add 10.9.5.1/24 broadcast + dev left label left:1
address add 10.9.1.1/28 broadcast + dev right
address add 10.9.7.1/24 dev spare
link set lo up
link set left up
link set right up
route add default via 10.9.0.2
"""
PEER_SETUP = """
address add 10.9.0.2/24 dev leftpeer
address add 10.9.5.2/24 dev leftpeer
link set leftpeer up
link set rightpeer arp off up
"""
probe = None
peer = []  # command prefix that enters the peers' namespace


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def skip(why):
    print(f"skipped: {why}")
    sys.exit(77)


def enter_namespaces(arguments):
    for tool in ("unshare", "nsenter", "setpriv", "ip"):
        if shutil.which(tool) is None:
            skip(f"there is no program {tool} (Debian: iproute2, util-linux)")
    for way in (["unshare", "--user", "--map-root-user", "--net"], ["unshare", "--net"]):
        trial = "ip link add a0 type veth peer name a1 && setpriv --bounding-set -net_raw true"
        if subprocess.run(way + ["sh", "-c", trial], capture_output=True).returncode == 0:
            os.execvp(way[0], way + [sys.executable, __file__, "--inside", *arguments])
    skip("network namespaces with veth pairs are not permitted here")


def start_arp(destination, source="0.0.0.0", extra=(), privileged=True):
    drop = [] if privileged else ["setpriv", "--bounding-set", "-net_raw"]
    return subprocess.Popen([*drop, probe, "arp", destination, source, *extra], stdout=subprocess.PIPE, text=True)


class Ethernet(unittest.TestCase):
    def setUp(self):
        run("ip", "neigh", "flush", "all")

    def finish(self, process, status, mac=NO_MAC, seconds=(0, 2), privileged=True):
        with process:
            result = json.loads(process.stdout.read())
        self.assertEqual((result["status"], result["mac"], result["leaked"], result["privileged"]),
                         (status, mac, 0, privileged))
        self.assertTrue(seconds[0] <= result["seconds"] <= seconds[1], result)

    def test_list(self):
        result = json.loads(run(probe, "list"))
        expected = []
        for link in json.loads(run("ip", "-j", "address")):
            own = [a for a in link["addr_info"] if a["family"] == "inet"]
            first = own[0] if own else {"local": "0.0.0.0", "prefixlen": 0}
            mask = ipaddress.ip_network(f"0.0.0.0/{first['prefixlen']}").netmask
            flags = ("UP" in link["flags"]) | ("LOOPBACK" in link["flags"]) << 2
            flags |= ("UP" in link["flags"] and "NO-CARRIER" not in link["flags"]) << 1
            mac = link["address"] if link["link_type"] == "ether" else NO_MAC
            expected.append([link["ifname"], link["ifindex"], mac, first["local"], str(mask),
                             first.get("broadcast", "0.0.0.0"), flags])
        self.assertEqual((result["status"], result["leaked"]), (0, 0))
        self.assertCountEqual(result["list"], expected)
        flags = collections.Counter(record[-1] for record in expected)
        self.assertEqual((flags[0], flags[3], flags[7]), (2, 2, 1), "down, running and loopback interfaces")

    def test_peer(self):
        for privileged in (True, False):
            for source in ("0.0.0.0", "10.9.0.1", "10.9.0.11", "10.9.5.1"):
                with self.subTest(source=source, privileged=privileged):
                    run("ip", "neigh", "flush", "all")
                    self.finish(start_arp("10.9.0.2", source, (), privileged), 0, PEER, privileged=privileged)
                    self.assertEqual("10.9.0.2" in run("ip", "neigh"), not privileged)

    def test_table_comes_first(self):
        for state, expected in (("permanent", FAR), ("stale", FAR), ("failed", PEER)):
            with self.subTest(state):
                run("ip", "neigh", "replace", "10.9.0.2", "lladdr", FAR, "dev", "left", "nud", state)
                self.finish(start_arp("10.9.0.2"), 0, expected)
                run("ip", "neigh", "del", "10.9.0.2", "dev", "left")

    def test_more_descriptors_than_select_takes(self):
        self.finish(start_arp("10.9.0.2", extra=["1100"]), 0, PEER)
        self.assertIn("10.9.0.2 dev left", run("ip", "neigh"), "the kernel was asked instead")

    def test_nobody_answers(self):
        running = [(start_arp("10.9.0.77"), True), (start_arp("10.9.0.78", "10.9.0.11", (), False), False),
                   (start_arp("10.9.0.2", "10.9.1.1"), True), (start_arp("10.9.0.2", "10.9.1.1", (), False), False)]
        for process, privileged in running:
            self.finish(process, NOT_FOUND, seconds=(2.8, 4.5), privileged=privileged)
        self.assertIn("10.9.0.2 dev right", run("ip", "neigh"), "the source's interface was asked")

    def test_answered_at_once(self):
        for destination, source, status, mac in (
                ("10.9.0.1", "0.0.0.0", 0, HOST), ("10.9.5.1", "0.0.0.0", 0, HOST), ("10.9.1.1", "10.9.0.1", 0, OTHER),
                ("10.9.0.2", "10.9.0.2", INVALID_ADDRESS, NO_MAC),  # the peer's
                ("10.9.0.255", "0.0.0.0", INVALID_ADDRESS, NO_MAC),
                ("10.9.1.15", "10.9.1.1", INVALID_ADDRESS, NO_MAC),
                ("192.0.2.1", "0.0.0.0", NOT_FOUND, NO_MAC),  # behind the gateway
                ("10.9.7.2", "10.9.7.1", NOT_FOUND, NO_MAC),  # the interface is down
                ("10.9.0.2", "127.0.0.1", UNSUPPORTED, NO_MAC)):
            with self.subTest(destination=destination, source=source):
                self.finish(start_arp(destination, source), status, mac)

    def test_only_a_valid_reply_counts(self):
        """A host behind the right interface answers with all kinds of packets, the valid one last."""
        def packet(operation=2, sender="10.9.1.2", mac=FAR, hardware=1, protocol=0x0800, sizes=(6, 4)):
            return (struct.pack("!HHBBH", hardware, protocol, *sizes, operation) + bytes.fromhex(mac.replace(":", "")) +
                    socket.inet_aton(sender) + bytes.fromhex(OTHER.replace(":", "")) + socket.inet_aton("10.9.1.1"))
        packets = [packet(mac=PEER)[:27], b"", packet(operation=1, mac=PEER), packet(sender="10.9.1.3", mac=PEER),
                   packet(hardware=6, mac=PEER), packet(protocol=0x86DD, mac=PEER), packet(sizes=(8, 4), mac=PEER),
                   packet(sizes=(6, 16), mac=PEER), packet(mac="03:00:00:00:00:02"), packet(mac=NO_MAC), packet()]
        answer = ("import socket, sys; s = socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM, socket.htons(0x0806))\n"
                  "s.bind(('rightpeer', 0x0806)); print(flush=True); request, sender = s.recvfrom(64)\n"
                  "print(sender[4].hex(), request[:28].hex(), sender[2])\n"
                  f"for packet in {packets!r}: s.sendto(packet, ('rightpeer', 0x0806, 0, 0, sender[4]))")
        with subprocess.Popen([*peer, sys.executable, "-c", answer], stdout=subprocess.PIPE, text=True) as responder:
            responder.stdout.readline()
            self.finish(start_arp("10.9.1.2"), 0, FAR)
            mac, request, kind = responder.stdout.read().split()
        sender = "020000000003"
        self.assertEqual((mac, kind), (sender, str(socket.PACKET_BROADCAST)))
        self.assertEqual(request, "0001080006040001" + sender + "0a090101" + "000000000000" + "0a090102")


if __name__ == "__main__":
    if sys.argv[1] != "--inside":
        enter_namespaces(sys.argv[1:])
    probe = sys.argv.pop(2)
    sys.argv.pop(1)
    with subprocess.Popen(["unshare", "--net", "sh", "-c", "echo; exec cat"], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE) as namespace:  # lives as long as its stdin is open
        namespace.stdout.readline()
        for line in SETUP.strip().splitlines():
            run("ip", *line.replace("PID", str(namespace.pid)).split())
        peer += ["nsenter", f"--net=/proc/{namespace.pid}/ns/net"]
        for line in PEER_SETUP.strip().splitlines():
            run(*peer, "ip", *line.split())
        outcome = unittest.main(exit=False).result
    sys.exit(not outcome.wasSuccessful())
