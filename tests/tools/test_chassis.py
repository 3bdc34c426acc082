#!/usr/bin/env python3
"""lumipmi chassis on the reference BMC and on a scripted one."""
import re
import subprocess
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

SET = ["chassis", "boot", "set"]
# every flag off but for the device, which stays disk
BOOT_DEFAULTS = [*SET, "disk", "--valid", "on", "--persistent", "off", "--efi", "off", "--cmos-clear", "off",
                 "--password-bypass", "off", "--screen-blank", "off", "--lock-keyboard", "off", "--lock-reset", "off",
                 "--lock-power", "off", "--lock-sleep", "off", "--verbosity", "default", "--progress-traps", "off",
                 "--console", "default", "--shared-mode", "off", "--mux", "default"]

# what is given to boot set, the key and value that change, and bytes 1 to 4 of boot option 5
# (IPMI v2.0 rev 1.1, table 28-14); 80 08 00 00 before
BOOT_FLAGS = [
    (["pxe"], "device.text", "pxe", "80040000"),
    (["safe"], "device.value", 3, "800c0000"),
    (["remote-disk"], "device.value", 0xB, "802c0000"),
    (["floppy"], "device.text", "floppy", "803c0000"),
    (["none"], "device.value", 0, "80000000"),
    (["--valid", "off"], "valid", False, "00080000"),
    (["--persistent", "on"], "persistent", True, "c0080000"),
    (["--efi", "on"], "efi", True, "a0080000"),
    (["--cmos-clear", "on"], "cmos_clear", True, "80880000"),
    (["--lock-keyboard", "on"], "lock_keyboard", True, "80480000"),
    (["--screen-blank", "on"], "screen_blank", True, "800a0000"),
    (["--lock-reset", "on"], "lock_reset_button", True, "80090000"),
    (["--lock-power", "on"], "lock_power_button", True, "80088000"),
    (["--verbosity", "verbose"], "firmware_verbosity.text", "verbose", "80084000"),
    (["--progress-traps", "on"], "progress_traps", True, "80081000"),
    (["--password-bypass", "on"], "password_bypass", True, "80080800"),
    (["--lock-sleep", "on"], "lock_sleep_button", True, "80080400"),
    (["--console", "request"], "console_redirection.value", 2, "80080200"),
    (["--shared-mode", "on"], "shared_mode", True, "80080008"),
    (["--mux", "bmc"], "mux.text", "bmc", "80080001"),
]

# change, show, what is then shown, what restores it
CHANGES = [
    (["policy", "on"], ["policy"], {"chassis.restore_policy.value": 2}, ["policy", "previous"]),
    (["identify", "200"], [], {"chassis.identify.text": "on for a time"}, ["identify", "--off"]),
    (["identify", "--force"], [], {"chassis.identify.value": 2}, ["identify", "0"]),
    (["identify"], [], {"chassis.identify.value": 1}, ["identify", "--off"]),
    (["buttons", "--reset", "off", "--standby", "off"], ["buttons"],
     {"buttons.1.enabled": False, "buttons.3.enabled": False},
     ["buttons", "--reset", "on", "--standby", "on"]),
    (["boot", "clearing", "--timeout", "on", "--pef", "off"], ["boot", "clearing"],
     {"boot_options.cleared_by": ["power button or wake event", "reset button or soft reset", "watchdog timer",
                                  "no restart for 60 s"]},
     ["boot", "clearing", "--timeout", "off", "--pef", "on"]),
    (["boot", "bios-mux", "255"], ["boot"], {"boot_options.bios_mux": 255}, ["boot", "bios-mux", "1"]),
]

REFUSED = [
    (["power", "explode"], ["explode", "cycle"]),
    (["identify", "256"], ["0 to 255"]),
    (["identify", "5", "--off"], ["excludes"]),
    (["policy", "maybe"], ["previous"]),
    (["power-interval", "256"], ["0 to 255"]),
    (["boot", "bios-mux", "256"], ["0 to 255"]),
    (["boot", "set", "tape"], ["tape", "remote-cdrom"]),
    (["boot", "set", "--console", "3"], ["suppress"]),
    (["boot", "set"], ["nothing to set"]),
    (["power", "off"], ["confirmation", "--yes"]),
    (["power", "reset"], ["confirmation"]),
    (["buttons", "--diag", "off"], ["confirmation"]),
    (["boot", "set", "--cmos-clear", "on"], ["confirmation"]),
]


def setUpModule():
    start_bmc()


def ipmitool(*words):
    done = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p", str(toolcase.bmc.lan_port),
                           "-U", "admin", "-P", "admin-pw", "chassis", *words], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, encoding="utf-8", timeout=60, check=True)
    return done.stdout


class Chassis(ToolCase):
    def setUp(self):
        self.json_of(*BOOT_DEFAULTS)

    def test_changes(self):
        for change, show, expected, restore in CHANGES:
            with self.subTest(change):
                self.check_change(["chassis", *change], ["chassis", *show], expected, ["chassis", *restore])

    def test_boot_flags(self):
        for change, path, value, data in BOOT_FLAGS:
            with self.subTest(change):
                document = self.json_of("--yes", *SET, *change)
                self.assertEqual(toolcase.field(document["after"], path), value)
                self.assertNotEqual(toolcase.field(document["before"], path), value)
                self.assertEqual(toolcase.bmc.request("00 09 05 00 00"),
                                 bytes.fromhex("000105" + data + "00").hex(" "))
                shown = self.json_of(*BOOT_DEFAULTS)  # from one end to the other: nothing else has changed
                self.assertEqual(shown["before"], document["after"])
                self.assertEqual(shown["after"], document["before"])

    def test_boot_flags_that_are_not_valid(self):
        """They come back when they are made valid, and are no beginning for others."""
        self.json_of("--yes", *SET, "--cmos-clear", "on")
        self.assertEqual(self.json_of("chassis", "boot", "clear")["after"]["cmos_clear"], True)
        self.check_refused([*SET, "--valid", "on"], "confirmation")
        self.assertEqual(self.json_of("--yes", *SET, "--valid", "on")["after"]["cmos_clear"], True)
        self.json_of("chassis", "boot", "clear")
        after = self.json_of(*SET, "--efi", "on")["after"]
        self.assertEqual([after[key] for key in ("valid", "efi", "cmos_clear")], [True, True, False])

    def test_boot_device_instance(self):
        """It goes when the flags are set, and that is to be seen."""
        toolcase.bmc.request("00 08 05 80 08 00 00 03")
        document = self.json_of(*SET, "pxe")
        self.assertEqual([document[key]["device_instance"] for key in ("before", "after")], [3, 0])

    def test_power(self):
        self.addCleanup(toolcase.bmc.request, "00 02 01")
        self.assertTrue(self.json_of("chassis", "power")["chassis"]["power_on"])
        self.assertFalse(self.json_of("--yes", "chassis", "power", "off")["chassis"]["power_on"])
        on = self.json_of("chassis", "power", "on")["chassis"]
        self.assertEqual((on["power_on"], on["last_power_event"]), (True, ["on by command"]))
        for word, sent in [("cycle", "02"), ("reset", "03"), ("diag", "04"), ("soft", "05")]:
            with self.subTest(word):
                run = self.tool("--yes", "-v", "chassis", "power", word)
                self.assertRegex(run.err, "cmd 0x02 %s" % sent)
        run = self.tool_on_terminal("chassis", "power", "off", typed=b"n\n")
        self.assertEqual(run.status, 2)
        self.assertIn("nothing was changed", run.out)

    def test_refused(self):
        before = self.json_of("chassis"), self.json_of("chassis", "boot")
        self.check_all_refused(["chassis"], REFUSED)
        self.assertEqual((self.json_of("chassis"), self.json_of("chassis", "boot")), before)

    def test_policy_tells_what_is_supported(self):
        self.assertEqual(self.json_of("chassis", "policy", "previous")["chassis"]["supported_policies"],
                         ["off", "previous", "on"])

    def test_missing_and_failing_parts(self):
        for netfn_cmd, path in [("0x00 0x07", "chassis.restart_cause"), ("0x00 0x0f", "chassis.power_on_time"),
                                ("0x00 0x00", "capabilities.fru_address")]:
            with self.subTest(path):
                self.fault(netfn_cmd + " 1 0xc1")
                self.assertIsNone(toolcase.field(self.json_of("chassis"), path))
                self.fault(netfn_cmd + " 1 0xff")
                problems = self.json_of("chassis", status=5)["problems"]
                self.assertEqual(len(problems), 1)
                self.assertIn("0xFF", problems[0]["message"])
        self.fault("0x00 0x09 1 0x80")
        boot = self.json_of("chassis", "boot")
        self.assertEqual((boot["boot_flags"], boot["boot_options"]["bios_mux"]), ({"flags": None}, 1))

    def test_agrees_with_ipmitool(self):
        self.json_of("--yes", "chassis", "buttons", "--diag", "off")
        self.addCleanup(self.json_of, "chassis", "buttons", "--diag", "on")
        chassis = self.json_of("chassis")["chassis"]
        theirs = dict(re.findall(r"^(.*?) *: *(.*)$", ipmitool("status"), re.M))
        self.assertEqual(theirs["System Power"], "on" if chassis["power_on"] else "off")
        self.assertEqual(theirs["Power Restore Policy"], chassis["restore_policy"]["text"])
        self.assertEqual(theirs["Diag Button Disabled"], "true")
        self.assertEqual(chassis["buttons_disabled"], ["diagnostic interrupt"])
        self.assertEqual(theirs["Front-Panel Lockout"] == "active", "front panel lockout" in chassis["conditions"])
        days, hours = re.search(r"(\d+) days, (\d+) hours", ipmitool("poh")).groups()
        self.assertEqual(chassis["power_on_time"]["minutes"] // 60, int(days) * 24 + int(hours))
        self.json_of(*SET, "cdrom", "--efi", "on", "--persistent", "on")
        theirs = ipmitool("bootparam", "get", "5")
        for text in ["Flag Valid", "apply to all future boots", "EFI boot", "Force Boot from CD/DVD"]:
            self.assertIn(text, theirs)


class OtherBmcs(ToolCase):
    def test_full_status(self):
        """All bits, of which the reference BMC has few."""
        answers = {(0, 1): "00 3e 1f 6d 5a", (0, 0): "00 0f 20 00 24 26 00", (0, 7): "00 f8 03",
                   (0, 0xF): "00 05 ff ff ff ff"}
        with FakeBmc({key: bytes.fromhex(value) for key, value in answers.items()}) as bmc:
            shown = self.json_of("chassis", driver=bmc.driver)
        chassis = shown["chassis"]
        self.assertEqual(chassis["power_on"], False)
        self.assertEqual(chassis["power_problems"], ["overload", "interlock", "power fault", "power control fault"])
        self.assertEqual(len(chassis["last_power_event"]), 5)
        self.assertEqual(chassis["restore_policy"]["text"], "previous")
        self.assertEqual(chassis["conditions"], ["intrusion", "drive fault", "cooling or fan fault"])
        self.assertEqual(chassis["identify"]["text"], "on until turned off")
        self.assertEqual(chassis["buttons_disabled"], ["reset", "standby"])
        self.assertEqual(chassis["buttons_disable_allowed"], ["power off", "diagnostic interrupt"])
        self.assertEqual(chassis["restart_cause"], {"value": 8, "text": "reset by PEF", "channel": 3})
        self.assertEqual(chassis["power_on_time"]["minutes"], 5 * 0xFFFFFFFF)
        self.assertEqual(list(shown["capabilities"].values()),
                         [["intrusion sensor", "front panel lockout", "diagnostic interrupt", "power interlock"],
                          0x20, None, 0x24, 0x26, None])

    def test_what_the_bmc_does_not_tell(self):
        """Three bytes of status: without the buttons, and without the state of the light."""
        with FakeBmc({(0, 1): bytes.fromhex("00610000"), (0, 0x0A): b"\0"}) as bmc:
            chassis = self.json_of("chassis", driver=bmc.driver)["chassis"]
            self.assertEqual([chassis[key] for key in ("restore_policy", "identify", "buttons_disabled")], [None] * 3)
            run = self.tool("--yes", "chassis", "buttons", "--reset", "on", driver=bmc.driver)
            self.assertEqual((run.status, bmc.count(0, 0x0A)), (4, 0), run)
            self.json_of("--yes", "chassis", "buttons", "--power-off", "on", "--reset", "off", "--diag", "on",
                         "--standby", "off", driver=bmc.driver)
            self.assertIn((0, 0x0A, b"\x0a"), bmc.requests)


if __name__ == "__main__":
    unittest.main()
