#!/usr/bin/env python3
"""lumipmi user on the reference BMC, which does not tell who is enabled, and on scripted ones."""
import os
import pty
import select
import signal
import subprocess
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

SHOW = ["user", "show", "6"]
# change, what is then shown, restore
CHANGES = [
    (["name", "6", "sixteen-letters!"], {"name": "sixteen-letters!"}, ["name", "6", "six"]),
    (["set", "6", "--name", "other"], {"name": "other"}, ["name", "6", "six"]),
    (["privilege", "6", "no-access"], {"privilege.value": 15}, ["privilege", "6", "operator"]),
    (["privilege", "6", "administrator"], {"privilege.text": "administrator"}, ["privilege", "6", "operator"]),
    (["access", "6", "--ipmi", "off"], {"ipmi_messaging": False}, ["access", "6", "--ipmi", "on"]),
]

# command, Set User Access: channel and flags (80h: they change), user, limit, session limit. User 7 has 64h: callback
# only, link authentication, no IPMI messaging, Administrator.
REQUESTS = [
    (["privilege", "7", "user"], "03 07 02"),
    (["access", "7", "--callback", "off"], "a3 07 04"),
    (["access", "7", "--link", "off", "--ipmi", "on"], "d3 07 04"),
    (["access", "7", "--sessions", "5"], "03 07 04 05"),
]

# password, options, exit status, what is said
PASSWORDS = [
    ("", [], 2, "empty"), ("x" * 17, [], 2, "16 bytes"), ("x" * 21, ["--length", "20"], 2, "20 bytes"),
    ("x" * 200, ["--test"], 2, "20 bytes"), ("tab\there", [], 2, "control character"),
    ("sixteen-letters!", [], 0, ""), ("sixteen-letters!", ["--test"], 0, ""),
    ("Sixteen-letters!", ["--test"], 4, "not the password"),
    ("sixteen-letters!", ["--test", "--length", "20"], 4, "not the password"),
    ("twenty-letters-long!", ["--length", "20"], 0, ""), ("twenty-letters-long!", ["--test"], 0, ""),
    ("twenty-letters-long?", ["--test"], 4, "not the password"),
    ("short", ["--length", "20"], 0, ""), ("short", ["--test"], 0, ""),
    ("short", ["--test", "--length", "16"], 4, "not the password"),
]


def setUpModule():
    start_bmc()


class User(ToolCase):
    def setUp(self):
        self.json_of("user", "name", "6", "six")
        self.json_of("--yes", "user", "privilege", "6", "operator")
        self.json_of("user", "access", "6", "--ipmi", "on")

    def test_list(self):
        shown = self.json_of("user", "list")
        self.assertEqual([(row["id"], row["name"], row["privilege"]["text"], row["ipmi_messaging"])
                          for row in shown["users"]],
                         [(1, "", "user", True), (2, "admin", "administrator", True), (3, "operator", "operator", True),
                          (4, "monitor", "user", True), (5, "guest", "user", False), (6, "six", "operator", True)])
        self.assertEqual(len(self.json_of("user", "--all")["users"]), shown["accounts"]["max_users"])

    def test_changes(self):
        for change, expected, restore in CHANGES:
            with self.subTest(change):
                self.check_change(["user", *change], SHOW,
                                  {"user." + path: value for path, value in expected.items()}, ["user", *restore])

    def test_enable(self):
        def enabled():
            return self.json_of("user")["accounts"]["enabled_users"]
        before = enabled()
        self.check_refused(["user", "disable", "6"], "asks for a confirmation")
        self.json_of("--yes", "user", "disable", "6")
        self.assertEqual(enabled(), before - 1)
        self.json_of("user", "enable", "6")
        self.assertEqual(enabled(), before)

    def test_requests(self):
        answers = {(0x06, 0x44): "00 0a 41 01 64", (0x06, 0x46): "00" + "00" * 16, (0x06, 0x43): "00"}
        handlers = {command: bytes.fromhex(answer) for command, answer in answers.items()}
        for command, request in REQUESTS:
            with self.subTest(command), FakeBmc(handlers) as fake:
                shown = self.json_of("--yes", "user", *command, "--channel", "3", driver=fake.driver)["user"]
                self.assertEqual([data.hex(" ") for netfn, cmd, data in fake.requests if cmd == 0x43], [request])
                self.assertEqual([shown[key] for key in ("enabled", "callback_only", "link_auth", "ipmi_messaging")],
                                 [True, True, True, False])

    def test_questions(self):
        for words, question in [(["privilege", "6", "user"], "operator to user"),
                                (["privilege", "6", "no-access"], "to no-access"), (["disable", "2"], "Disable user 2"),
                                (["access", "6", "--ipmi", "off"], "away from user 6"),
                                (["name", "6", ""], "without a name")]:
            with self.subTest(words):
                run = self.tool_on_terminal("user", *words, typed=b"n\n")
                self.assertEqual(run.status, 2, run)
                self.assertIn(question, run.out)

    def test_refused(self):
        self.check_all_refused(["user"], [
            (["show", "0"], ["range", "63"]), (["enable", "64"], ["range", "63"]),
            (["name", "6", "x" * 17], ["17 bytes", "16"]), (["name", "6", "a\nb"], ["control"]),
            (["privilege", "6", "root"], ["no-access"]), (["access", "6"], ["nothing to change"]),
            (["access", "6", "--sessions", "16"], ["range", "15"]),
            (["password", "6", "--length", "18"], ["20"])])

    def test_agrees_with_ipmitool(self):
        shown = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p",
                                str(toolcase.bmc.lan_port), "-U", "admin", "-P", "admin-pw", "-c", "user", "list", "1"],
                               stdout=subprocess.PIPE, text=True, timeout=60, check=True).stdout
        theirs = [line.split(",") for line in shown.splitlines()][:6]
        limits = {"USER": 2, "OPERATOR": 3, "ADMINISTRATOR": 4}
        ours = self.json_of("user")["users"]
        self.assertEqual([(row["id"], row["name"], row["link_auth"], row["ipmi_messaging"], row["privilege"]["value"])
                          for row in ours],
                         [(int(number), name, link == "true", ipmi == "true", limits[limit])
                          for number, name, callin, link, ipmi, limit in theirs])


class Passwords(ToolCase):
    def test_standard_input(self):
        for password, options, status, text in PASSWORDS:
            with self.subTest(password=password, options=options):
                run = self.tool("-v", "user", "password", "6", *options, stdin=password + "\n")
                self.assertEqual(run.status, status, run)
                self.assertIn(text, run.err)
                self.assertNotIn(password.encode().hex(" ")[:20] or "?", run.err)

    def on_terminal(self, *words, answers=(), interrupt=False):
        """Runs the tool on a terminal and answers each prompt when it comes; status, and what the terminal showed."""
        master, slave = pty.openpty()
        with subprocess.Popen([toolcase.TOOL, *words], env=self.environment(None, {}), stdin=slave, stdout=slave,
                              stderr=slave, start_new_session=True) as process:
            shown, answers = b"", list(answers)
            while process.poll() is None:
                if select.select([master], [], [], 0.05)[0]:
                    shown += os.read(master, 4096)
                if shown.endswith(b": ") and answers:
                    os.write(master, answers.pop(0) + b"\n")
                    shown += b"|"
                elif shown.endswith(b": ") and interrupt:
                    process.send_signal(signal.SIGINT)
                    shown += b"|"
            while select.select([master], [], [], 0)[0]:
                shown += os.read(master, 4096)
        echo = subprocess.run(["stty", "-a"], stdin=slave, stdout=subprocess.PIPE, text=True).stdout
        os.close(slave)
        os.close(master)
        self.assertIn(" echo ", echo)  # as it was
        return process.returncode, shown.decode()

    def test_terminal(self):
        self.assertEqual(self.on_terminal("user", "password", "6", answers=[b"new-pass", b"new-pass"])[0], 0)
        status, shown = self.on_terminal("user", "password", "6", "--test", answers=[b"new-pass"])
        self.assertEqual(status, 0, shown)
        self.assertIn("right", shown)
        self.assertNotIn("new-pass", shown)
        status, shown = self.on_terminal("user", "password", "6", answers=[b"new-pass", b"new-pasS"])
        self.assertEqual(status, 2)
        self.assertIn("differ", shown)
        self.assertEqual(self.on_terminal("user", "password", "6", interrupt=True)[0], -signal.SIGINT)


if __name__ == "__main__":
    unittest.main()
