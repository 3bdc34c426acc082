#!/usr/bin/env python3
"""lumipmi serial on the reference BMC."""
import unittest

import toolcase
from toolcase import ToolCase, start_bmc

DEFAULTS = ["serial", "set", "--connection", "direct", "--modes", "basic,ppp,terminal", "--bit-rate", "115200",
            "--flow-control", "rts-cts", "--dtr-hangup", "on", "--line-editing", "on", "--echo", "on", "--handshake",
            "on", "--delete-control", "del", "--output-newline", "cr-lf", "--input-newline", "cr", "--auth-user",
            "none,md2,md5,password", "--auth-admin", "md2,md5,password", "--auth-oem", "off", "--port-connector", "1",
            "--port-channel", "2", "--port-controller", "1", "--port-sol", "off", "--port-sharing", "on"]

# change, what is then shown
CHANGES = [
    (["--connection", "modem"], {"connection.value": 0}),
    (["--modes", "ppp"], {"modes": ["ppp"]}),
    (["--modes", "none"], {"modes": []}),
    (["--bit-rate", "9600"], {"bit_rate": 9600}),
    (["--flow-control", "xon-xoff"], {"flow_control.value": 2}),
    (["--dtr-hangup", "off"], {"dtr_hangup": False}),
    (["--line-editing", "off"], {"line_editing": False}),
    (["--echo", "off"], {"echo": False}),
    (["--handshake", "off"], {"handshake": False}),
    (["--delete-control", "bksp-sp-bksp"], {"delete_control.value": 1}),
    (["--output-newline", "lf"], {"output_newline.value": 5}),
    (["--input-newline", "null"], {"input_newline.value": 2}),
    (["--auth-user", "none"], {"auth_user": ["none"]}),
    (["--auth-user", "off"], {"auth_user": []}),
    (["--auth-oem", "oem,password"], {"auth_oem": ["password", "oem"]}),
    (["--port-connector", "15", "--port-channel", "14", "--port-controller", "13"],
     {"port_connector": 15, "port_channel": 14, "port_controller": 13}),
    (["--port-sol", "on", "--port-sharing", "off", "--channel", "2"], {"port_sol": True, "port_sharing": False}),
]

REFUSED = [
    (["--modes", "basic,telnet"], ["telnet", "terminal"]),
    (["--auth-user", "kerberos"], ["kerberos", "off", "md5"]),
    (["--bit-rate", "300"], ["300", "9600"]),
    (["--flow-control", "both"], ["both", "rts-cts"]),
    (["--port-connector", "16"], ["--port-connector", "15"]),
    (["--channel", "16"], ["--channel", "15"]),
    (["--modes", "basic"], ["asks for a confirmation"]),
    (["--auth-admin", "none,md2"], ["asks for a confirmation"]),
]


def setUpModule():
    start_bmc()


class Serial(ToolCase):
    def test_changes(self):
        self.check_changes("serial", CHANGES, DEFAULTS)

    def test_refused(self):
        self.check_all_refused(["serial", "set"], REFUSED)

    def test_all_or_nothing(self):
        """The question about the last part comes before the first part is written."""
        before = self.json_of("serial")
        run = self.tool_on_terminal("serial", "set", "--bit-rate", "9600", "--auth-admin", "md5", typed=b"n\n")
        self.assertEqual(run.status, 2)
        self.assertIn("--auth-admin the authentication types md2, password?", run.out)
        self.assertEqual(self.json_of("serial"), before)

    def test_what_the_library_does_not_write(self):
        bmc = toolcase.bmc
        for selector, stored, initial, words, then in [
                ("07", "c0 0a", "60 0a", ["--bit-rate", "19200"], None),
                ("07", "60 02", "60 0a", ["--dtr-hangup", "off"], None),
                ("1d", "68 11", "63 11", ["--echo", "off"], None),
                ("1d", "63 71", "63 11", ["--echo", "off"], None),
                ("1d", "63 10", "63 11", ["--echo", "off"], None),
                ("02", "20 21 22 00 3f", "17 17 17 16 00", ["--auth-user", "md2,oem,none"], "20 23 22 00 3f"),
                ("33", "07 53 4e", "01 21 81", ["--port-sharing", "on"], "07 53 ce")]:
            with self.subTest(stored):
                self.addCleanup(bmc.request, "0c 10 02 %s %s" % (selector, initial))
                bmc.request("0c 10 02 %s %s" % (selector, stored))
                if then is None:
                    self.check_refused(["serial", "set", *words], "reserved value", "as well")
                else:
                    self.json_of("serial", "set", *words)
                self.assertEqual(bmc.request("0c 11 02 %s 00 00" % selector), "00 11 " + (then or stored))
                bmc.request("0c 10 02 %s %s" % (selector, initial))

    def test_terminal_mode_is_set_and_stored(self):
        run = self.tool("-v", "serial", "set", "--channel", "2", "--echo", "off", "--output-newline", "cr")
        self.addCleanup(self.json_of, "--yes", *DEFAULTS)
        self.assertLess(run.err.index("cmd 0x10 02 1d 21 31\n"), run.err.index("cmd 0x10 02 1d 61 31\n"))

    def test_parts_that_are_missing(self):
        toolcase.bmc.cmd("fault 0x0c 0x12 1 0xc1")
        toolcase.bmc.cmd("fault 0x0c 0x11 2 0x80")
        self.fault("0x0c 0x11 1 short 2")
        document = self.json_of("serial", "show", status=5)
        self.assertEqual([document["serial"][key] for key in ("modes", "bit_rate", "echo", "port_sharing")],
                         [None, None, None, True])
        self.assertEqual(document["mux"], {"side": None})
        self.assertEqual([problem["where"] for problem in document["problems"]], ["terminal mode"])

    def test_mux(self):
        def mux(*words):
            return self.json_of("--yes", "serial", "mux", *words)["mux"]
        self.addCleanup(mux, "system", "--force")
        self.assertEqual(mux("bmc")["side"]["text"], "bmc")
        self.assertEqual(mux()["side"]["value"], 1)
        self.check_refused(["serial", "mux", "system"], "asks for a confirmation")
        self.assertEqual(mux("system")["side"]["value"], 0)
        toolcase.bmc.request("0c 12 02 07")  # block requests to the BMC
        self.addCleanup(toolcase.bmc.request, "0c 12 02 08")
        run = self.tool("--yes", "-o", "json", "serial", "mux", "bmc")
        self.assertEqual((run.status, run.json()["mux"]["side"]["value"]), (4, 0), run)
        self.assertIn("--force", run.err)
        self.assertTrue(mux("bmc", "--force")["bmc_blocked"])
        self.assertEqual(self.json_of("serial")["mux"]["side"]["value"], 1)


if __name__ == "__main__":
    unittest.main()
