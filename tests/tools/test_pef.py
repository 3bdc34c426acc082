#!/usr/bin/env python3
"""lumipmi pef on the reference BMC."""
import re
import shutil
import subprocess
import time
import unittest

import toolcase
from toolcase import ToolCase, start_bmc

FILTER = ["pef", "filter", "set", "3"]
POLICY = ["pef", "policy", "set", "3"]
DESTINATION = ["pef", "destination", "set", "3"]
BLANK_FILTER = [*FILTER, "--enable", "off", "--action", "none", "--policy", "0", "--severity", "unspecified",
                "--generator", "0", "--sensor-type", "0", "--sensor", "0", "--trigger", "0", "--offsets", "any"]
BLANK_POLICY = [*POLICY, "--enable", "off", "--policy", "0", "--type", "always", "--channel", "0", "--destination", "0",
                "--string", "0"]
BLANK_DESTINATION = [*DESTINATION, "--address", "0.0.0.0", "--mac", "00:00:00:00:00:00", "--type", "pet", "--acknowledge",
                     "off", "--timeout", "0", "--retries", "0", "--gateway", "default"]

# what to change, how, where it shows, and what then
CHANGES = [
    (FILTER, ["--enable", "on", "--action", "alert,oem", "--policy", "15", "--severity", "non-recoverable"],
     {"filter.enabled": True, "filter.actions": ["alert", "oem"], "filter.policy": 15, "filter.severity.value": 0x20}),
    (FILTER, ["--enable", "on", "--action", "power-off,reset,power-cycle,interrupt,group-control"],
     {"filter.actions": ["power-off", "reset", "power-cycle", "interrupt", "group-control"]}),
    (FILTER, ["--generator", "0x41", "--sensor-type", "Power Supply", "--sensor", "200", "--trigger", "0x6F"],
     {"filter.generator.value": 0x41, "filter.sensor_type.value": 8, "filter.sensor.value": 200,
      "filter.trigger.value": 0x6F}),
    (FILTER, ["--sensor-type", "any", "--sensor", "any", "--trigger", "any"],
     {"filter.sensor_type.text": "any", "filter.sensor.value": 255, "filter.trigger.value": 255}),
    (FILTER, ["--offsets", "0,9,14"], {"filter.offsets": [0, 9, 14]}),
    (POLICY, ["--enable", "on", "--policy", "7", "--type", "next-type-if-sent", "--channel", "3", "--destination", "9"],
     {"policies.2.enabled": True, "policies.2.policy": 7, "policies.2.type.value": 4, "policies.2.channel": 3,
      "policies.2.destination": 9}),
    (POLICY, ["--string", "127"], {"policies.2.string.value": 127}),
    (POLICY, ["--event-string", "2"], {"policies.2.string.value": 2, "policies.2.string.by_event": True}),
    (DESTINATION, ["--address", "198.51.100.7", "--mac", "02-ab-CD-00-00-ff"],
     {"destinations.3.address": "198.51.100.7", "destinations.3.mac": "02:ab:cd:00:00:ff"}),
    (DESTINATION, ["--type", "oem1", "--acknowledge", "on", "--timeout", "255", "--retries", "7"],
     {"destinations.3.type.value": 6, "destinations.3.acknowledge": True, "destinations.3.timeout_seconds": 255,
      "destinations.3.retries": 7}),
    (DESTINATION, ["--gateway", "backup"], {"destinations.3.gateway": "backup"}),
    (["pef", "set"], ["--enable", "off", "--event-messages", "off", "--action", "alert"],
     {"pef.enabled": False, "pef.event_messages": False, "pef.actions": ["alert"]}),
]
SHOW = {"filter": (["pef", "filter", "3"], BLANK_FILTER), "policy": (["pef", "policies"], BLANK_POLICY),
        "destination": (["pef", "destinations", "--channel", "1"], BLANK_DESTINATION),
        "set": (["pef"], ["pef", "set", "--enable", "on", "--event-messages", "on", "--action",
                          "alert,power-off,reset,power-cycle,oem,interrupt"])}

REFUSED = [
    ([*FILTER, "--policy", "16"], ["range", "15"]),
    ([*FILTER, "--action", "alert,explode"], ["explode", "power-cycle"]),
    ([*FILTER, "--sensor", "255"], ["range", "254", "any"]),
    ([*FILTER, "--sensor-type", "255"], ["0 to 254"]),
    ([*FILTER, "--sensor-type", "fish"], ["fish"]),
    ([*FILTER, "--offsets", "3,15"], ["0 to 14"]),
    (["pef", "filter", "128"], ["range", "127"]),
    (["pef", "filter", "16"], ["no filter 16", "has 15"]),
    (["pef", "policy", "set", "16", "--enable", "on"], ["no policy entry 16", "has 15"]),
    ([*POLICY, "--string", "128"], ["range", "127"]),
    ([*POLICY, "--string", "1", "--event-string", "1"], ["excludes"]),
    (["pef", "destination", "set", "5", "--type", "pet"], ["no destination 5", "has 4"]),
    ([*DESTINATION, "--address", "1.2.3.256"], ["1.2.3.256"]),
    ([*DESTINATION, "--address", "1.2.3.4.5"], ["1.2.3.4.5"]),
    ([*DESTINATION, "--mac", "1:2:3:4:5"], ["1:2:3:4:5"]),
    ([*DESTINATION, "--retries", "8"], ["range", "7"]),
    ([*DESTINATION, "--timeout", "256"], ["range", "255"]),
    (["pef", "community", "x" * 18], ["at most 17 bytes", "18"]),
    (["pef", "alert", "16", "1"], ["range", "15"]),
    (["pef", "alert", "1", "1", "--status", "--clear"], ["excludes"]),
]


def setUpModule():
    start_bmc()


def ipmitool(*words):
    done = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p",
                           str(toolcase.bmc.lan_port), "-U", "admin", "-P", "admin-pw", *words],
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, timeout=60)
    return [[cell.strip() for cell in line.split("|")] for line in done.stdout.splitlines()]


class Pef(ToolCase):
    def test_changes(self):
        self.json_of(*BLANK_FILTER)
        for prefix, change, expected in CHANGES:
            show, restore = SHOW[prefix[1]]
            with self.subTest(change):
                self.check_change([*prefix, *change], show, expected, restore)

    def test_refused(self):
        self.check_all_refused([], REFUSED)

    def test_shown(self):
        document = self.json_of("pef")
        self.assertEqual(document["pef"]["startup_delay_seconds"], 10)
        self.assertEqual(document["pef"]["alert_startup_delay_seconds"], 20)
        first = document["filters"][0]
        self.assertEqual((first["type"]["text"], first["generator"]["text"], first["sensor_type"]["text"]),
                         ("manufacturer", "any", "Temperature"))
        self.assertIn("Offsets:       upper critical going low\n", self.tool("pef", "filter", "2").out)

    def test_event_data(self):
        toolcase.bmc.request("04 12 06 04 80 01 01 10 ff ff 01 01 01 ff 7f 0f 01 02 00 00 00 f0 00 04")
        shown = self.json_of("pef", "filter", "4")["filter"]
        self.assertEqual([shown["data1"], shown["data3"]], [{"and": 15, "compare1": 1, "compare2": 2},
                                                            {"and": 240, "compare1": 0, "compare2": 4}])
        self.assertIn("Offsets:       any\n", self.tool("pef", "filter", "4").out)

    def test_what_the_library_does_not_write_stays(self):
        group = "04 12 06 05 80 40 32 10 20 00 04 04 01 01 00 00 00 00 00 00 00 00 00 00"
        toolcase.bmc.request(group)
        self.json_of("pef", "filter", "set", "5", "--severity", "critical")
        self.assertEqual(toolcase.bmc.request("04 13 06 05 00")[6:],
                         "05 80 40 32 10 20 00 04 04 01 01 00 00 00 00 00 00 00 00 00 00")

        toolcase.bmc.request("0c 01 01 12 04 87 03 01")
        toolcase.bmc.request("0c 01 01 13 04 10 20 01 0d b8 00 01 00 00 00 00 00")
        self.json_of("pef", "destination", "set", "4", "--retries", "5")
        self.assertEqual(toolcase.bmc.request("0c 02 01 12 04 00"), "00 11 04 87 03 05")
        self.assertEqual(toolcase.bmc.request("0c 02 01 13 04 00"), "00 11 04 10 20 01 0d b8 00 01 00 00 00 00 00")
        shown = self.json_of("pef", "destinations")["destinations"][4]
        self.assertEqual((shown["type"]["text"], shown["address"]), ("oem2", None))
        self.json_of("pef", "destination", "set", "4", "--address", "192.0.2.9")
        self.assertEqual(toolcase.bmc.request("0c 02 01 13 04 00"), "00 11 04 00 00 c0 00 02 09 00 00 00 00 00 00")
        self.assertEqual(toolcase.bmc.request("0c 02 01 12 04 00"), "00 11 04 87 03 05")

    def test_questions(self):
        for words, text in [([*FILTER, "--enable", "on", "--action", "reset"], "reset"),
                            (["pef", "filter", "set", "2", "--policy", "3"], "interrupt"),
                            (["pef", "filter", "set", "1", "--policy", "3"], "manufacturer"),
                            (["pef", "set", "--enable", "on"], "power-cycle")]:
            with self.subTest(words):
                before = self.json_of("pef")
                self.check_refused(words, "asks for a confirmation")
                run = self.tool_on_terminal(*words, typed=b"n\n")
                self.assertEqual(run.status, 2)
                self.assertIn(text, run.out)
                self.assertEqual(self.json_of("pef"), before)
        # no question: the filter acts no more, or does nothing that stops the system
        self.json_of("pef", "filter", "set", "2", "--enable", "off")
        self.json_of("--yes", "pef", "filter", "set", "2", "--enable", "on")
        self.json_of(*BLANK_FILTER)

    def test_community(self):
        self.assertEqual(self.json_of("pef", "community")["community"], {"channel": 1, "text": "public"})
        # ipmi_sim does not keep what it takes
        run = self.tool("-v", "pef", "community", "x" * 17, "--channel", "1")
        self.assertIn("cmd 0x01 01 10" + " 78" * 17 + " 00\n", run.err)
        self.assertEqual(run.status, 0, run)

    def test_alert(self):
        run = self.tool("-v", "pef", "alert", "1", "2", "--string", "5")
        self.assertIn("cmd 0x16 01 02 85\n", run.err)
        self.assertEqual(run.status, 0, run)
        self.assertIn("in progress", run.out)
        self.check_refused(["pef", "alert", "1", "1"], "another alert is in progress", status=4)
        time.sleep(0.3)
        self.assertEqual(self.json_of("pef", "alert", "1", "2", "--status")["alert"]["status"]["text"], "sent")
        self.assertEqual(self.json_of("pef", "alert", "1", "2", "--clear")["alert"]["status"]["value"], 0)

    def test_parts_that_are_missing(self):
        self.fault("0x04 0x13 1 0x80")
        self.assertIsNone(self.json_of("pef")["pef"]["enabled"])
        # the count, then two entries
        toolcase.bmc.cmd("fault 0x04 0x13 1 short 40")
        self.fault("0x04 0x13 2 0xff")
        document = self.json_of("pef", "policies", status=5)
        self.assertEqual([row["enabled"] for row in document["policies"][:3]], [None, None, False])
        self.assertEqual(document["problems"][0]["where"], "policy entry 1")
        # an entry without its last bytes is not taken for zeros
        for words, size in ((["pef", "filter", "set", "2", "--enable", "off"], 21),
                            (["pef", "policy", "set", "2", "--enable", "off"], 4)):
            toolcase.bmc.cmd("fault 0x04 0x13 1 short 40")
            toolcase.bmc.cmd("fault 0x04 0x13 1 short %d" % size)
            self.check_refused(words, "too short", status=4)
        toolcase.bmc.cmd("fault 0x0c 0x02 1 0x80")
        self.check_refused(["pef", "destinations"], "does not support this configuration parameter", status=4)

    @unittest.skipUnless(shutil.which("ipmitool"), "no ipmitool")
    def test_agrees_with_ipmitool(self):
        document = self.json_of("pef")
        theirs = {row[0]: row for row in ipmitool("pef", "filter", "list")}
        for ours in document["filters"]:
            row = theirs[str(ours["number"])]
            self.assertEqual(row[1].startswith("enabled"), ours["enabled"], row)
        for number, words in (("1", ("Temperature", "1", "Critical")), ("2", ("Fan", "4", "Warning"))):
            self.assertEqual(tuple(theirs[number][2:5]), words)
            ours = document["filters"][int(number) - 1]
            self.assertEqual((ours["sensor_type"]["text"], str(ours["sensor"]["value"])), words[:2])
        destinations = self.json_of("pef", "destinations")["destinations"]
        policies = self.json_of("pef", "policies")["policies"]
        for row in ipmitool("pef", "policy", "list"):
            ours = policies[int(row[0]) - 1]
            self.assertEqual((row[1], row[2] == "enabled"), (str(ours["policy"]), ours["enabled"]))
            if ours["enabled"]:
                destination = destinations[ours["destination"]]
                self.assertEqual(row[-4:], ["%d" % destination["timeout_seconds"], str(destination["retries"]),
                                            destination["address"], destination["mac"]])


if __name__ == "__main__":
    unittest.main()
