#!/usr/bin/env python3
"""lumipmi payload, key, defaults and debug-level, and the system's names in info, on the reference BMC."""
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

KEY = "000102030405060708090a0b0c0d0e0f10111213"


def setUpModule():
    start_bmc()


class Payload(ToolCase):
    def test_show(self):
        shown = self.json_of("payload")["payloads"]
        self.assertEqual(shown["supported"], ["ipmi", "sol"])
        self.assertEqual(shown["bytes"], "03 00 3f 00 00 00 00 00")

    def test_access(self):
        self.check_change(["payload", "access", "5", "--allow", "sol,oem-3"], ["payload", "access", "5"],
                          {"payload_access.allowed": ["sol", "oem-3"]},
                          ["payload", "access", "5", "--deny", "sol,oem-3"])

    def test_refused(self):
        self.check_all_refused(["payload"], [
            (["access", "64"], ["63"]), (["access", "2", "--allow", "telnet"], ["telnet", "oem-7"]),
            (["access", "2", "--deny", "sol"], ["confirmation", "--yes"]), (["access"], ["user"])])
        with FakeBmc({}) as bmc:  # no channel at all
            run = self.tool("payload", driver=bmc.driver)
        self.assertEqual(run.status, 4)
        self.assertIn("no LAN channel", run.err)


class Key(ToolCase):
    def states(self):
        return [row["lock"]["text"] for row in self.json_of("key")["keys"]]

    def test_set_and_show(self):
        self.assertEqual(self.states(), ["unlocked", "unlocked"])
        before = self.json_of("key", "show", "kr")["key"]["value"]
        run = self.tool("-v", "--yes", "key", "set", "kr", stdin=KEY + "\n")
        self.assertEqual(run.status, 0, run)
        self.assertNotIn("00 01 02 03", run.err)  # -v shows no keys
        self.assertEqual(self.json_of("key", "show", "kr")["key"]["value"], bytes.fromhex(KEY).hex(" "))
        self.json_of("--yes", "key", "set", "kr", "--text", stdin="a text\n")
        self.assertEqual(self.json_of("key", "show", "kr")["key"]["value"], (b"a text" + bytes(14)).hex(" "))
        self.json_of("--yes", "key", "set", "kr", stdin=":".join(before.split()) + "\n")
        self.assertEqual(self.json_of("key", "show", "kr")["key"]["value"], before)

    def test_refused(self):
        for words, stdin, texts in [(["set", "kg"], KEY[:-1] + "\n", ["39 hex digits", "40"]),
                                    (["set", "kg"], KEY + "0\n", ["41 hex digits"]),
                                    (["set", "kg"], "x" * 40 + "\n", ["no hex digits", "--text"]),
                                    (["set", "kg", "--text"], "x" * 21 + "\n", ["21 bytes", "20"]),
                                    (["set", "kg"], KEY + "\n", ["confirmation", "--yes"]),
                                    (["lock", "kr"], "", ["confirmation"]), (["show", "k"], "", ["kr"])]:
            with self.subTest(words):
                self.check_refused(["key", *words], *texts, stdin=stdin)
        self.assertEqual(self.states(), ["unlocked", "unlocked"])

    def test_locked(self):
        with toolcase.RefBmc() as bmc:  # nothing unlocks it
            driver = "vm:127.0.0.1:%d" % bmc.vm_port
            self.json_of("--yes", "key", "lock", "kr", driver=driver)
            keys = self.json_of("key", driver=driver)["keys"]
            self.assertEqual([row["lock"]["text"] for row in keys], ["locked", "unlocked"])
            run = self.tool("--yes", "key", "set", "kr", stdin=KEY + "\n", driver=driver)
            self.assertEqual(run.status, 4)
            self.assertIn("0x80", run.err)


class Maker(ToolCase):
    def test_debug_level(self):
        self.check_change(["debug-level", "200"], ["debug-level"], {"debug.level": 200}, ["debug-level", "3"])
        self.check_refused(["debug-level", "256"], "255")

    def test_defaults(self):
        for words, network in [([], 3), (["--keep-network"], 1)]:
            with self.subTest(words):
                self.json_of("--yes", "chassis", "boot", "bios-mux", "77")
                toolcase.bmc.request("0c 01 01 0a 01")  # ARP control, 3 at first
                self.check_refused(["defaults", *words], "confirmation", "--yes")
                self.assertEqual(self.json_of("chassis", "boot")["boot_options"]["bios_mux"], 77)
                self.json_of("--yes", "defaults", *words)
                self.assertEqual(self.json_of("chassis", "boot")["boot_options"]["bios_mux"], 1)
                self.assertEqual(toolcase.bmc.request("0c 02 01 0a 00 00"), "00 11 %02x" % network)
                toolcase.bmc.request("0c 01 01 0a 03")

    def test_system(self):
        self.assertEqual(self.json_of("info")["system"],
                         {"unit_tag": "UT-0042", "asset_tag": "ASSET-7781", "bios": "RB100-BIOS 1.4.2",
                          "host_name": "refserver", "operating_system": "Debian GNU/Linux 12 (bookworm)"})
        self.fault("0x06 0x59 1 0x80")
        self.assertIsNone(self.json_of("info")["system"]["unit_tag"])

    def test_fru(self):
        shown = self.json_of("fru", "print", "4")["maker"]
        self.assertEqual(shown["os_name"], "Debian GNU/Linux 12")
        self.assertEqual(shown["cpld_revisions"]["bytes"] if isinstance(shown["cpld_revisions"], dict)
                         else shown["cpld_revisions"], "12 07 a1")
        self.assertNotIn("maker", self.json_of("fru", "print", "0"))


class Completion(ToolCase):
    def words(self, *typed):
        run = self.tool("__complete", *typed)
        self.assertEqual((run.status, run.err), (0, ""))
        return run.out.split()

    def test_words(self):
        for typed, some, others in [([""], ["info", "watchdog", "debug-level"], ["__complete", "--yes", "show"]),
                                    (["wa"], ["watchdog"], ["info"]),
                                    (["-v", "watchdog", ""], ["set", "start"], ["info"]),
                                    (["--output", "json", "chassis", "boot", "set", ""], ["pxe", "bios"], ["on"]),
                                    (["watchdog", "set", "--action", ""], ["reset", "power-down"], ["set"]),
                                    (["watchdog", "set", "--"], ["--seconds", "--yes", "--timeout"], ["reset"]),
                                    (["--color", "a"], ["auto", "always"], ["never"]),
                                    (["watchdog", "set", "--seconds", ""], [], ["--seconds", "reset"])]:
            with self.subTest(typed):
                words = self.words(*typed)
                for word in some:
                    self.assertIn(word, words)
                for word in others:
                    self.assertNotIn(word, words)


if __name__ == "__main__":
    unittest.main()
