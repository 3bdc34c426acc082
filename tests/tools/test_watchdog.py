#!/usr/bin/env python3
"""lumipmi watchdog on the reference BMC."""
import unittest

from toolcase import ToolCase, start_bmc

DEFAULTS = ["watchdog", "set", "--use", "sms-os", "--action", "none", "--interrupt", "none", "--interrupt-seconds", "0",
            "--seconds", "60", "--log", "on"]

# change, what is then shown
CHANGES = [
    (["--use", "os-load"], {"use.text": "os-load"}),
    (["--action", "power-cycle"], {"action.value": 3}),
    (["--interrupt", "messaging", "--interrupt-seconds", "7"], {"interrupt.text": "messaging", "interrupt_seconds": 7}),
    (["--seconds", "301"], {"initial_seconds": 301}),
    (["--log", "off"], {"logs_expiration": False}),
]


def setUpModule():
    start_bmc()


class Watchdog(ToolCase):
    def setUp(self):
        self.json_of("--yes", *DEFAULTS)

    def test_changes(self):
        self.check_changes("watchdog", CHANGES, DEFAULTS)

    def test_start_and_stop(self):
        self.assertFalse(self.json_of("watchdog")["watchdog"]["running"])
        started = self.json_of("watchdog", "start")["watchdog"]
        self.assertTrue(started["running"])
        self.assertTrue(59 <= started["present_seconds"] <= 60, started)
        self.assertFalse(self.json_of("watchdog", "stop")["watchdog"]["running"])

    def test_questions(self):
        self.json_of("watchdog", "set", "--action", "reset")  # stopped: nothing can happen
        self.check_refused(["watchdog", "start"], "asks for a confirmation", "--yes")
        run = self.tool_on_terminal("watchdog", "start", typed=b"n\n")
        self.assertEqual(run.status, 2)
        self.assertIn("within 60 s", run.out)
        self.assertFalse(self.json_of("watchdog")["watchdog"]["running"])

    def test_refused(self):
        self.check_all_refused(["watchdog", "set"], [
            (["--seconds", "6554"], ["--seconds", "6553"]),
            (["--interrupt-seconds", "256"], ["--interrupt-seconds", "255"]),
            (["--action", "explode"], ["explode", "power-cycle"]),
            (["--seconds", "5", "--interrupt", "messaging", "--interrupt-seconds", "6"], ["6 s", "5 s"])])


if __name__ == "__main__":
    unittest.main()
