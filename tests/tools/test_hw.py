#!/usr/bin/env python3
"""lumipmi hw: the hardware layer, our broker and the reference BMC."""
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

BOOT = ["hw", "boot"]


def setUpModule():
    start_bmc()


class Hardware(ToolCase):
    def test_show_agrees_with_the_other_commands(self):
        shown = self.json_of("hw")["hardware"]
        info, boot = self.json_of("info")["system"], self.json_of("chassis", "boot")["boot_flags"]
        self.assertEqual(shown["power_on"], self.json_of("chassis")["chassis"]["power_on"])
        self.assertEqual(shown["host_name"], info["host_name"])
        self.assertEqual(shown["unit_tag"], info["unit_tag"][:-1])  # the layer cuts the last character
        self.assertEqual(shown["boot_device"]["selector"], boot["device"]["value"])
        self.assertEqual(shown["boot_once"], boot["valid"] and not boot["persistent"])
        self.assertEqual((shown["local_video"], shown["network_ports"]), (True, 2))

    def test_changes(self):
        self.json_of("chassis", "boot", "set", "disk", "--persistent", "off")
        for change, show, expected, restore in [
                (["hw", "video", "off"], ["hw", "video"], {"hardware.local_video": False}, ["hw", "video", "on"]),
                (["hw", "boot", "pxe"], BOOT, {"hardware.boot_device.text": "pxe"}, ["hw", "boot", "disk"]),
                (["hw", "boot", "bios-3"], BOOT,
                 {"hardware.boot_device": {"selector": 6, "instance": 3, "text": "bios"}}, ["hw", "boot", "disk"]),
                (["hw", "boot", "--once", "off"], BOOT, {"hardware.boot_once": False}, ["hw", "boot", "--once", "on"])]:
            with self.subTest(change):
                self.check_change(change, show, expected, restore)

    def test_power(self):
        self.addCleanup(self.json_of, "chassis", "power", "on")
        self.check_refused(["hw", "power", "off"], "confirmation")
        self.assertIs(self.json_of("--yes", "hw", "power", "off")["hardware"]["power_on"], False)
        self.assertIs(self.json_of("hw", "power", "on")["hardware"]["power_on"], True)

    def test_failures(self):
        self.check_refused(["hw", "boot", "tape"], "tape", "remote-disk-1")
        self.fault("0x06 0x59 4 0xd4")  # host name, unit tag, video, ports
        document = self.json_of("hw", status=5)
        self.assertEqual(len(document["problems"]), 4)
        self.assertIn("0xD4", document["problems"][0]["message"])
        self.fault("0x06 0x59 1 0x80")
        self.assertIsNone(self.json_of("hw")["hardware"]["host_name"])
        run = self.tool("hw", "power", driver="vm:127.0.0.1:1")
        self.assertEqual(run.status, 5)
        with FakeBmc({(0, 2): b"\xcc"}) as bmc:
            run = self.tool("--yes", "hw", "power", "reset", driver=bmc.driver)
        self.assertEqual(run.status, 4)
        self.assertIn("0xCC", run.err)


if __name__ == "__main__":
    unittest.main()
