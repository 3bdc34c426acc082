#!/usr/bin/env python3
"""lumipmi channel on the reference BMC; its channel 2 keeps all access settings."""
import subprocess
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

DEFAULTS = ["channel", "access", "2", "--mode", "shared", "--privilege", "administrator", "--alerting", "on",
            "--per-message-auth", "on", "--user-level-auth", "on"]

# change, what is then shown
CHANGES = [
    (["--mode", "pre-boot"], {"active.mode.text": "pre-boot", "stored.mode.text": "pre-boot"}),
    (["--privilege", "operator"], {"active.privilege.value": 3, "stored.privilege.value": 3}),
    (["--alerting", "off"], {"active.alerting": False, "stored.alerting": False}),
    (["--per-message-auth", "off", "--permanent"], {"stored.per_message_auth": False}),
    (["--user-level-auth", "off", "--volatile"], {"active.user_level_auth": False}),
]

# change, requests: channel, flags, limit; 40h stored, 80h active, 0 in these bits keeps what is there
REQUESTS = [
    (["--privilege", "user"], ["01 3a 42", "01 3a 82"]),
    (["--mode", "always", "--volatile"], ["01 ba 04"]),
    (["--alerting", "on", "--privilege", "oem", "--permanent"], ["01 5a 45"]),
]


def setUpModule():
    start_bmc()


class Channel(ToolCase):
    def test_list(self):
        rows = self.json_of("channel")["channels"]
        self.assertEqual([(row["channel"], row["medium"]["text"], row["sessions"]["text"], row["in_use"])
                          for row in rows],
                         [(0, "IPMB", "none", False), (1, "LAN", "multiple", False),
                          (2, "serial/modem", "single", False), (15, "serial/modem", "none", True)])

    def test_info(self):
        shown = self.json_of("channel", "info", "1")
        self.assertEqual(shown["channel"]["payloads"], [{"type": 0, "version": "1.0"}, {"type": 1, "version": "1.0"}])
        self.assertEqual(shown["channel"]["vendor"], 7154)
        self.assertEqual(self.json_of("channel", "info", "14")["channel"]["channel"], 15)

    def test_changes(self):
        for change, expected in CHANGES:
            with self.subTest(change):
                self.check_change(["channel", "access", "2", *change], ["channel", "access", "2"], expected, DEFAULTS)

    def test_requests(self):
        handlers = {(0x06, 0x42): bytes.fromhex("00 01 04 01 80 f2 1b 00 00 00"),
                    (0x06, 0x41): bytes.fromhex("00 3a 04"), (0x06, 0x40): b"\x00"}
        for change, requests in REQUESTS:
            with self.subTest(change), FakeBmc(handlers) as fake:
                self.json_of("--yes", "channel", "access", "1", *change, driver=fake.driver)
                self.assertEqual([data.hex(" ") for netfn, cmd, data in fake.requests if cmd == 0x40], requests)

    def test_without_sessions(self):
        handlers = {(0x06, 0x42): bytes.fromhex("00 0f 0c 05 00 f2 1b 00 60 ff"), (0x06, 0x41): b"\x82"}
        with FakeBmc(handlers) as fake:
            shown = self.json_of("channel", "info", "15", driver=fake.driver)
        self.assertIsNone(shown["active"]["mode"])
        self.assertEqual((shown["channel"]["sms_interrupt"], shown["channel"]["event_interrupt"]),
                         ("assigned by ACPI or Plug and Play", "none"))

    def test_keys(self):
        key = b"reference BMC K_R 01".hex(" ")
        shown = self.tool("-v", "-o", "json", "channel", "keys", "1")
        self.assertEqual([(row["key"], row["lock"]["text"], row["value"]) for row in shown.json()["keys"]],
                         [("K_R", "unlocked", None), ("K_G", "unlocked", None)])
        self.assertNotIn(key, shown.err)
        self.assertEqual(self.json_of("channel", "keys", "1", "--show")["keys"][0]["value"], key)

    def test_auth_caps(self):
        shown = self.json_of("channel", "auth-caps")["authentication"]
        self.assertEqual((shown["channel"], shown["connections"], shown["types"], shown["logins"]),
                         (15, ["IPMI 1.5", "IPMI 2.0"], ["none"], ["users with names"]))

    def test_refused(self):
        for words, texts, status in [(["access", "16"], ["range", "15"], 2),
                                     (["access", "1", "--mode", "off"], ["pre-boot"], 2),
                                     (["access", "2", "--alerting", "off"], ["asks for a confirmation"], 2),
                                     (["info", "3"], ["0xCB"], 4)]:
            with self.subTest(words):
                self.check_refused(["channel", *words], *texts, status=status)

    def test_agrees_with_ipmitool(self):
        shown = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p",
                                str(toolcase.bmc.lan_port), "-U", "admin", "-P", "admin-pw", "channel", "info", "1"],
                               stdout=subprocess.PIPE, text=True, timeout=60, check=True).stdout
        ours = self.json_of("channel", "info", "1")
        for text in ["802.3 LAN", "IPMB-1.0", "multi-session", str(ours["channel"]["vendor"])]:
            self.assertIn(text, shown)
        self.assertEqual((shown.count(" : enabled"), shown.count("always available")), (6, 2))
        for copy in ("active", "stored"):
            self.assertEqual([ours[copy][key] for key in ("alerting", "per_message_auth", "user_level_auth")],
                             [True] * 3)
            self.assertEqual(ours[copy]["mode"]["text"], "always")


if __name__ == "__main__":
    unittest.main()
