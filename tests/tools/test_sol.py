#!/usr/bin/env python3
"""lumipmi sol on the reference BMC."""
import re
import shutil
import subprocess
import unittest

import toolcase
from toolcase import ToolCase, start_bmc

DEFAULTS = ["sol", "set", "--enable", "on", "--force-encryption", "on", "--force-authentication", "on", "--privilege",
            "administrator", "--accumulate", "60", "--threshold", "96", "--retries", "7", "--retry-interval", "500",
            "--bit-rate", "115200", "--volatile-bit-rate", "115200", "--port", "623"]

# change, what is then shown
CHANGES = [
    (["--enable", "off"], {"enabled": False}),
    (["--force-encryption", "off"], {"force_encryption": False}),
    (["--force-authentication", "off"], {"force_authentication": False}),
    (["--privilege", "oem"], {"privilege.value": 5}),
    (["--accumulate", "1275"], {"accumulate_ms": 1275}),
    (["--threshold", "1"], {"threshold": 1}),
    (["--retries", "0"], {"retries": 0}),
    (["--retry-interval", "2550"], {"retry_interval_ms": 2550}),
    (["--bit-rate", "9600"], {"bit_rate": 9600}),
    (["--volatile-bit-rate", "57600"], {"volatile_bit_rate": 57600}),
    (["--port", "65535", "--channel", "1"], {"port": 65535}),
]

REFUSED = [
    (["--retries", "8"], ["--retries", "7"]),
    (["--accumulate", "0"], ["--accumulate", "1275"]),
    (["--accumulate", "61"], ["multiple of 5"]),
    (["--retry-interval", "2560"], ["--retry-interval", "2550"]),
    (["--retry-interval", "15"], ["multiple of 10"]),
    (["--retry-interval", "ten"], ["--retry-interval"]),
    (["--threshold", "0"], ["--threshold", "255"]),
    (["--bit-rate", "2400"], ["2400", "19200"]),
    (["--privilege", "callback"], ["callback", "operator"]),
    (["--port", "0"], ["--port", "65535"]),
    (["--enable", "off"], ["asks for a confirmation", "--yes"]),
]

# ipmitool's labels and ours
LABELS = {"Enabled": "enabled", "Force Encryption": "force_encryption", "Force Authentication": "force_authentication",
          "Privilege Level": "privilege", "Character Accumulate Level (ms)": "accumulate_ms",
          "Character Send Threshold": "threshold", "Retry Count": "retries", "Retry Interval (ms)": "retry_interval_ms",
          "Volatile Bit Rate (kbps)": "volatile_bit_rate", "Non-Volatile Bit Rate (kbps)": "bit_rate",
          "Payload Port": "port"}
ACTIVATE = "06 48 01 01 c0 00 00 00"


def setUpModule():
    start_bmc()


class Sol(ToolCase):
    def test_changes(self):
        self.check_changes("sol", CHANGES, DEFAULTS)

    def test_refused(self):
        self.check_all_refused(["sol", "set"], REFUSED)

    def test_no_channel(self):
        self.fault("0x06 0x42 8 0xcb")
        self.check_refused(["sol"], "no LAN channel", "--channel", status=4)

    def test_parts_that_are_missing(self):
        bmc = toolcase.bmc
        bmc.cmd("fault 0x0c 0x22 1 0x80")  # parameter 1
        bmc.cmd("fault 0x0c 0x22 1 0xff")  # 2
        self.fault("0x0c 0x22 1 0xc1")  # 3
        document = self.json_of("sol", "show", status=5)
        shown = document["sol"]
        self.assertEqual([shown[key] for key in ("enabled", "privilege", "accumulate_ms", "retries")],
                         [None, None, None, 7])
        self.assertEqual([problem["where"] for problem in document["problems"]], ["SOL authentication"])

    def test_reserved_values(self):
        bmc = toolcase.bmc
        self.addCleanup(bmc.request, "0c 21 01 02 c4")
        bmc.request("0c 21 01 02 40")
        self.check_refused(["sol", "set", "--force-encryption", "on"], "privilege 0", "Give --privilege")
        self.assertEqual(bmc.request("0c 22 01 02 00 00"), "00 11 40")
        self.json_of("sol", "set", "--force-encryption", "on", "--privilege", "operator")
        self.assertEqual(bmc.request("0c 22 01 02 00 00"), "00 11 c3")

    def test_instances(self):
        bmc = toolcase.bmc
        self.assertEqual(self.json_of("sol", "status"), {"sol_status": {"capacity": 1, "active": []}})
        self.assertEqual(bmc.request(ACTIVATE)[:2], "00")
        document = self.json_of("sol", "status")
        self.assertEqual(document["sol_status"]["active"], [1])
        self.assertEqual(document["instances"], [{"instance": 1, "session_id": 1, "port": 1}])
        self.assertEqual(self.json_of("sol")["sol"]["active"], [1])
        run = self.tool_on_terminal("sol", "deactivate", typed=b"n\n")
        self.assertEqual((run.status, "instance 1?" in run.out), (2, True), run)
        self.assertEqual(self.json_of("--yes", "sol", "deactivate")["sol_status"]["active"], [])
        self.check_refused(["--yes", "sol", "deactivate"], "deactivated already", status=4)

    @unittest.skipUnless(shutil.which("ipmitool"), "no ipmitool")
    def test_agrees_with_ipmitool(self):
        done = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p",
                               str(toolcase.bmc.lan_port), "-U", "admin", "-P", "admin-pw", "sol", "info", "1"],
                              stdout=subprocess.PIPE, encoding="utf-8", timeout=60, check=True)
        theirs = dict(re.findall(r"^(.*?) *: *(.*)$", done.stdout, re.M))
        ours = self.json_of("sol")["sol"]
        for label, key in LABELS.items():
            value = ours[key]["text"].upper() if key == "privilege" else ours[key]
            if key.endswith("bit_rate"):
                self.assertEqual(float(theirs[label]) * 1000, value)
            else:
                self.assertEqual(theirs[label], str(value).lower() if isinstance(value, bool) else
                                 "%d" % value if isinstance(value, float) else str(value), label)


if __name__ == "__main__":
    unittest.main()
