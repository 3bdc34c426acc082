#!/usr/bin/env python3
"""lumipmi session on the reference BMC and on a scripted one."""
import re
import subprocess
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

# sessions by index; handle 7 by LAN, 9 by serial line, 11 ends early. Index 2 is free.
POSSIBLE, ACTIVE = 0xC0 | 16, 0x40 | 3
SESSIONS = {1: "07 %02x %02x c3 f4 11 c0 00 02 0a 02 00 5e 10 00 a1 6f 02",
            3: "09 %02x %02x 01 02 02 01 00 0a 00 00 01 39 30",
            4: "0b %02x %02x"}
CHANNELS = {1: "01 04 01 80 f2 1b 00 00 00", 2: "02 05 04 40 f2 1b 00 00 00"}


def setUpModule():
    start_bmc()


def session_info(data):
    index = data[0]
    if index == 0xFE:
        index = {7: 1, 9: 3}.get(data[1], 0)
    elif index == 0xFF:
        index = 3 if data[1:] == bytes.fromhex("78 56 34 12") else 0
    return bytes(1) + bytes.fromhex(SESSIONS.get(index, "00 %02x %02x") % (POSSIBLE, ACTIVE))


def fake_bmc():
    return FakeBmc({(6, 0x3D): session_info, (6, 0x42): lambda data: bytes(1) + bytes.fromhex(CHANNELS[data[0]])})


class Session(ToolCase):
    def test_list(self):
        with fake_bmc() as bmc:
            lan, serial, short = self.json_of("session", driver=bmc.driver)["sessions"]
            self.assertEqual([data for _, cmd, data in bmc.requests if cmd == 0x3D], [b"\1", b"\2", b"\3", b"\4"])
        self.assertEqual(lan, {"handle": 7, "user": 3, "privilege": {"value": 4, "text": "administrator"}, "channel": 1,
                               "protocol": {"value": 1, "text": "IPMI v2.0"}, "address": "192.0.2.10",
                               "mac": "02:00:5e:10:00:a1", "port": 0x026F})
        self.assertEqual((serial["handle"], serial["privilege"]["text"], serial["channel"], serial["address"]),
                         (9, "user", 2, None))
        self.assertEqual((short["handle"], short["user"]), (11, None))

    def test_info(self):
        for words, handle in [([], None), (["--handle", 7], 7), (["--id", "0x12345678"], 9)]:
            with self.subTest(words), fake_bmc() as bmc:
                shown = self.json_of("session", "info", *words, driver=bmc.driver)
                self.assertEqual(shown["sessions"], {"active": 3, "possible": 16})
                self.assertEqual(shown.get("session", {}).get("handle"), handle)

    def test_refused(self):
        with fake_bmc() as bmc:
            for words, text, status in [(["--handle", "256"], "1 to 255", 2), (["--handle", "0"], "1 to 255", 2),
                                        (["--id", "0x100000000"], "--id", 2),
                                        (["--handle", "1", "--id", "1"], "excludes", 2),
                                        (["--handle", "8"], "handle 8", 4), (["--id", "255"], "0x000000FF", 4)]:
                with self.subTest(words):
                    run = self.tool("session", "info", *words, driver=bmc.driver)
                    self.assertEqual((run.status, run.out), (status, ""), run)
                    self.assertIn(text, run.err)

    def test_agrees_with_ipmitool(self):
        """A session that ipmitool keeps open, as both see it."""
        command = ["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p", str(toolcase.bmc.lan_port),
                   "-U", "operator", "-P", "oper-pw", "-L", "OPERATOR", "shell"]
        with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, encoding="utf-8") as shell:
            shell.stdin.write("session info active\n")
            shell.stdin.flush()
            theirs = {}
            while "channel number" not in theirs:
                line = shell.stdout.readline()
                self.assertTrue(line, "ipmitool ended early")
                match = re.match(r"(?:ipmitool> )?(.*?) *: (.*)", line)
                if match:
                    theirs[match[1]] = match[2]
            ours = self.json_of("session", "list")["sessions"]
            counts = self.json_of("session", "info")["sessions"]
            shell.communicate("exit\n", timeout=30)
        self.assertEqual(len(ours), int(theirs["active sessions"]))
        session = ours[0]
        self.assertEqual(session["handle"], int(theirs["session handle"]))
        self.assertEqual(session["user"], int(theirs["user id"]))
        self.assertEqual(session["privilege"]["text"], theirs["privilege level"].lower())
        self.assertEqual(session["channel"], int(theirs["channel number"], 16))
        self.assertEqual(counts, {"active": 1, "possible": int(theirs["slot count"])})


if __name__ == "__main__":
    unittest.main()
