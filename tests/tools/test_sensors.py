#!/usr/bin/env python3
"""sensors and sdr: values, units, states and thresholds of the reference BMC, and the walk through the repositories of
BMCs with ways of their own."""
import re
import shutil
import subprocess
import unittest

import toolcase
from fakebmc import FakeBmc
from sdrbmc import GET_SDR, RESERVE, SdrBmc, compact, event_only, full, sdr
from toolcase import RefBmc, ToolCase, start_bmc

OK, INTERNAL, USAGE, NO_BMC, REFUSED, PARTIAL, TIMED_OUT = range(7)

NO_ANALOG, EVENT_ONLY = "no analog reading", "event-only"
# address, name, value, unit, reason, states, severity
SENSORS = [
    ("0", "Watchdog", None, None, EVENT_ONLY, [], None),
    ("1", "Inlet Temp", 23, "degrees C", None, [], "ok"),
    ("2", "CPU1 Temp", 52, "degrees C", None, [], "ok"),
    ("3", "P12V Main", 12, "V", None, [], "ok"),
    ("4", "P1V05 Core", 1.05, "V", None, [], "ok"),
    ("5", "Fan1 Tach", 5280, "RPM", None, [], "ok"),
    ("6", "Fan2 Tach", 900, "RPM", None, ["lower critical", "lower non-critical"], "critical"),
    ("7", "PSU1 Input", 220, "W", None, [], "ok"),
    ("8", "PSU1 Current", 21.5, "A", None, [], None),
    ("9", "Fan3 Tach", 5000, "RPM", None, [], "ok"),
    ("10", "Airflow", 50, "CFM", None, [], None),
    ("11", "Drive Energy", 225, "J", None, [], None),
    ("12", "Leak Rate", 1.609437912, "ppm", None, [], None),
    ("13", "Light Level", 1000, "lux", None, [], None),
    ("14", "Noise", 3, "dB", None, [], None),
    ("15", "Cube Vol", 64, "cu cm", None, [], None),
    ("16", "Cube Edge", 10, "cm", None, [], None),
    ("17", "Gain E", 2.718281828, None, None, [], None),
    ("18", "Gain 2", 256, None, None, [], None),
    ("19", "Depth L2", 10, "bits", None, [], None),
    ("20", "Dew Margin", -12, "degrees C", None, [], None),
    ("21", "PSU1 Delta", -3.5, "V", None, [], None),
    ("22", "CPU1 Util", 37, "%", None, [], None),
    ("23", "ECC Rate", 3, "correctable errors/h", None, [], None),
    ("24", "Heat Flux", 15, "W/cm", None, [], None),
    ("25", "Arm Torque", 4.2, "N*m", None, [], None),
    ("26", "Imon Nonlin", 0.64, "A", None, [], None),
    ("1.1", "Aux Temp", 31, "degrees C", None, [], "ok"),
    ("64", "PSU1 Status", None, None, NO_ANALOG, ["presence detected"], "ok"),
    ("65", "PSU2 Status", None, None, NO_ANALOG,
     ["presence detected", "power supply failure detected", "power supply input lost"], "critical"),
    ("66", "Dimm A", None, None, NO_ANALOG, ["presence detected"], "ok"),
    ("67", "Dimm B", None, None, NO_ANALOG, ["presence detected"], "ok"),
    ("68", "Dimm C", None, None, NO_ANALOG, ["correctable memory error", "presence detected"], "warning"),
    ("69", "Dimm D", None, None, NO_ANALOG, [], "ok"),
    ("72", "Drive 1", None, None, NO_ANALOG, ["drive present"], "ok"),
    ("73", "Drive 2", None, None, NO_ANALOG, ["drive present", "drive fault"], "critical"),
    ("74", "Drive 3", None, None, NO_ANALOG, ["predictive failure"], "warning"),
    ("75", "Drive 4", None, None, NO_ANALOG, [], "ok"),
    ("80", "Intrusion", None, None, NO_ANALOG, [], "ok"),
    ("81", "ACPI State", None, None, NO_ANALOG, ["S0/G0 working"], "ok"),
    ("82", "Fan Redundancy", None, None, NO_ANALOG, ["redundancy lost"], "warning"),
    ("83", "CPU1 Prochot", None, None, NO_ANALOG, ["state deasserted"], "ok"),
    ("84", "Health", None, None, NO_ANALOG, ["transition to OK"], "ok"),
    ("85", "OEM Flags", None, None, NO_ANALOG, ["OEM state 1", "OEM state 3"], None),
    ("86", "BOARD ID 3", None, None, NO_ANALOG, ["device present"], "ok"),
    ("87", "215.8-", None, None, NO_ANALOG, ["limit not exceeded"], "ok"),  # sdrcomp swaps the digits of BCD plus
    ("96", "POST Error", None, None, EVENT_ONLY, [], None),
    ("97", "PCIe 1", None, None, EVENT_ONLY, [], None),
    ("98", "PCIe 2", None, None, EVENT_ONLY, [], None),
]
# lnr, lc, lnc, unc, uc, unr
NO_THRESHOLDS = (None,) * 6
THRESHOLDS = {
    "Inlet Temp": (0, 2, 5, 38, 42, 47),
    "CPU1 Temp": (None, None, None, 85, 95, 105),
    "P12V Main": (10.44, 10.8, 11.4, 12.6, 13.2, 13.56),
    "P1V05 Core": (None, 0.95, 1, 1.1, 1.15, None),
    "Fan1 Tach": (600, 1200, 1800, None, None, None),
    "Fan2 Tach": (600, 1200, 1800, None, None, None),
    "PSU1 Input": (None, None, None, 700, 800, None),
    "Fan3 Tach": (None, None, None, None, 4545.454545, 4166.666667),
    "Aux Temp": (None, None, None, 60, 70, None),
}
THRESHOLD_KEYS = ["lnr", "lc", "lnc", "unc", "uc", "unr"]


def setUpModule():
    start_bmc()


def shown(value):
    """A value as people see it."""
    return "" if value is None else value if isinstance(value, str) else "%.4g" % value


def state_text(reason, states, severity):
    if states:
        return ", ".join(states)
    if reason == EVENT_ONLY:
        return reason
    return "" if severity is None else "nothing asserted" if reason else "ok"


def thresholds_of(row):
    return tuple(row[key] for key in THRESHOLD_KEYS)


class Listing(ToolCase):
    def test_json(self):
        run = self.tool("sensors", "-o", "json")
        self.assertEqual((run.status, run.err), (OK, ""))
        self.assertEqual(list(run.json()), ["sensors"])
        rows = run.json()["sensors"]
        keys = ["address", "name", "value", "unit", "reason", "state", "severity"]
        self.assertEqual([tuple(row[key] for key in keys) for row in rows], SENSORS)
        self.assertEqual({row["name"]: thresholds_of(row) for row in rows if thresholds_of(row) != NO_THRESHOLDS},
                         THRESHOLDS)
        aux = next(row for row in rows if row["name"] == "Aux Temp")
        self.assertEqual((aux["owner"], aux["lun"], aux["number"], aux["raw"], aux["record_id"]), (0x20, 1, 1, 31, 29))
        self.assertEqual((aux["sensor_type"], aux["event_type"]), ("Temperature", "threshold"))
        self.assertEqual(aux["entity"], {"id": 7, "instance": 2, "name": "system board", "logical": False})
        instances = [row["entity"]["instance"] for row in rows if row["name"].startswith(("Dimm", "Drive ", "PCIe"))]
        self.assertEqual(instances, [1, 1, 2, 3, 4, 1, 1, 1, 1, 1, 2])  # Drive Energy; drives share one entity

    def test_csv(self):
        run = self.tool("sensors", "-o", "csv")
        self.assertEqual((run.status, run.err), (OK, ""))
        heading, *rows = run.csv()
        self.assertEqual(heading[:11], ["address", "name", "value", "unit", "state", *THRESHOLD_KEYS])
        for row, (address, name, value, unit, reason, states, severity) in zip(rows, SENSORS, strict=True):
            cells = dict(zip(heading, row, strict=True))
            numbers = [float(cells[key]) if cells[key] else None for key in ["value", *THRESHOLD_KEYS]]
            self.assertEqual(numbers, [value, *THRESHOLDS.get(name, NO_THRESHOLDS)], name)
            words = [cells[key] for key in ["address", "name", "unit", "state", "severity", "reason"]]
            self.assertEqual(words, [address, name, unit or "", state_text(reason, states, severity), severity or "",
                                     reason or ""])

    def test_table(self):
        run = self.tool("sensors")
        self.assertEqual((run.status, run.err), (OK, ""))
        heading, *lines = run.out.splitlines()
        self.assertEqual(heading.split(), ["No.", "Name", "Value", "Unit", "State", *THRESHOLD_KEYS])
        for line, (address, name, value, unit, reason, states, severity) in zip(lines, SENSORS, strict=True):
            cells = [address, name, shown(value), shown(unit), state_text(reason, states, severity),
                     *map(shown, THRESHOLDS.get(name, NO_THRESHOLDS))]
            self.assertEqual(line.split(), " ".join(cells).split())

    def test_colours(self):
        run = self.tool("sensors", "--color", "always")
        for text, colour in [("lower critical, lower non-critical", "1;31"), ("redundancy lost", "33"),
                             ("state deasserted", "32"), ("event-only", "2")]:
            self.assertIn("\x1b[%sm%s\x1b[0m" % (colour, text), run.out)

    def test_few_exchanges(self):
        # ipmitool 1.8.19 takes 234 for `sdr elist all`, which shows no thresholds and one sensor of each shared record
        table = [([], "", 151), (["sdr"], "", 97), ([], "long", 109), (["sdr"], "long", 54)]
        for command, options, most in table:
            with self.subTest(command=command, options=options), RefBmc(options=options) as bmc:
                run = self.tool(*(command or ["sensors"]), "-v", driver="vm:127.0.0.1:%d" % bmc.vm_port)
                self.assertEqual(run.status, OK)
                self.assertLessEqual(run.err.count("> NetFn"), most)

    def test_states_follow_the_readings(self):
        number = {"Inlet Temp": 1, "Dew Margin": 20, "Imon Nonlin": 26}
        # sensor, raw reading, value, states, severity
        table = [
            ("Inlet Temp", 37, 37, [], "ok"),
            ("Inlet Temp", 38, 38, ["upper non-critical"], "warning"),
            ("Inlet Temp", 43, 43, ["upper critical", "upper non-critical"], "critical"),
            ("Inlet Temp", 0, 0, ["lower non-recoverable", "lower critical", "lower non-critical"], "critical"),
            ("Dew Margin", 0x7F, 127, [], None),
            ("Dew Margin", 0x80, -128, [], None),
            ("Imon Nonlin", 0x10, 0.16, [], None),
            ("Imon Nonlin", 0x7F, 3.79, [], None),
            ("Imon Nonlin", 0x80, 3.8, [], None),
            ("Imon Nonlin", 0xFF, 51.5, [], None),
        ]
        self.addCleanup(toolcase.bmc.cmd, "sensor_set_value 0x20 0 1 23 0")
        self.addCleanup(toolcase.bmc.cmd, "sensor_set_value 0x20 0 20 0xf4 0")
        self.addCleanup(toolcase.bmc.cmd, "sensor_set_value 0x20 0 26 64 0")
        for name, raw, value, states, severity in table:
            with self.subTest(name=name, raw=raw):
                toolcase.bmc.cmd("sensor_set_value 0x20 0 %d %d 0" % (number[name], raw))
                row = next(row for row in self.tool("sensors", "-o", "json").json()["sensors"] if row["name"] == name)
                self.assertEqual((row["raw"], row["value"], row["state"], row["severity"]),
                                 (raw, value, states, severity))

    def test_scanning_disabled(self):
        self.addCleanup(toolcase.bmc.request, "04 28 07 c0")
        toolcase.bmc.request("04 28 07 80")
        run = self.tool("sensors", "psu1 input", "-o", "json")
        sensor = run.json()["sensor_7"]
        self.assertEqual((run.status, sensor["value"], sensor["reason"], sensor["scanning"], sensor["raw"]),
                         (OK, None, "scanning disabled", False, 55))

    def test_without_reading_factors(self):
        with RefBmc(module=None) as bmc:
            run = self.tool("sensors", "-o", "json", driver="vm:127.0.0.1:%d" % bmc.vm_port)
        self.assertEqual(run.status, PARTIAL)
        reason = "Get Sensor Reading Factors failed (0xC1)"
        expected = [row if row[1] != "Imon Nonlin" else (*row[:2], None, "A", reason, [], None) for row in SENSORS]
        keys = ["address", "name", "value", "unit", "reason", "state", "severity"]
        self.assertEqual([tuple(row[key] for key in keys) for row in run.json()["sensors"]], expected)
        self.assertEqual([problem["where"] for problem in run.json()["problems"]], ["sensor 26 (Imon Nonlin)"])

    def test_faults_lose_only_what_they_hit(self):
        lost = (None, "Get Sensor Reading failed (0xFF)")
        # faults, sensors that have another value and reason, sensors without thresholds, places of problems
        table = [
            (["0x04 0x2d 1 short 9", "0x04 0x2d 1 0xff"], {"CPU1 Temp": lost}, ["CPU1 Temp"], ["sensor 2 (CPU1 Temp)"]),
            (["0x04 0x2d 1 short 1"], {"Inlet Temp": (None, "Get Sensor Reading failed (short answer)")},
             ["Inlet Temp"], ["sensor 1 (Inlet Temp)"]),
            (["0x04 0x2d 1 0xcb"], {"Inlet Temp": (None, "sensor not present (0xCB)")}, ["Inlet Temp"], []),
            (["0x04 0x2d 1 0xd5"], {"Inlet Temp": (None, "not supported in the present state (0xD5)")},
             ["Inlet Temp"], []),
            (["0x04 0x2d 1 drop"], {"Inlet Temp": (None, "Get Sensor Reading failed (no answer)")}, ["Inlet Temp"],
             ["sensor 1 (Inlet Temp)"]),
            (["0x04 0x27 1 0xff"], {}, ["Inlet Temp"], ["sensor 1 (Inlet Temp)"]),
            (["0x0a 0x23 9 short 250", "0x0a 0x23 1 0xff"], {}, [], []),  # asked again
            (["0x0a 0x23 9 short 250", "0x0a 0x23 2 0xc5"], {}, [], []),
            (["0x0a 0x23 9 short 250", "0x0a 0x23 1 drop"], {}, [], []),
            (["0x0a 0x22 1 0xc1"], {}, [], []),  # no reservations: 0 has to do
        ]
        for faults, changed, unread, places in table:
            with self.subTest(faults):
                for fault in faults:
                    self.fault(fault)
                run = self.tool("sensors", "-o", "json", "--timeout", 300)
                toolcase.bmc.cmd("fault off")
                document = run.json()
                self.assertEqual([problem["where"] for problem in document.get("problems", [])], places)
                self.assertEqual(run.status, PARTIAL if places else OK)
                self.assertEqual([(row["name"], row["value"], row["reason"]) for row in document["sensors"]],
                                 [(name, *changed.get(name, (value, reason)))
                                  for _, name, value, _, reason, _, _ in SENSORS])
                for row in document["sensors"]:
                    self.assertEqual(thresholds_of(row), NO_THRESHOLDS if row["name"] in unread else
                                     THRESHOLDS.get(row["name"], NO_THRESHOLDS), row["name"])

    def test_lost_bmc_is_left_alone(self):
        self.fault("0x04 0x2d 3 short 9")
        self.fault("0x04 0x2d 99 drop")
        run = self.tool("sensors", "-o", "json", "-v", "--timeout", 200)
        self.assertEqual(run.status, PARTIAL)
        rows = run.json()["sensors"]
        self.assertEqual([row["value"] for row in rows[1:6]], [23, 52, 12, None, None])
        self.assertEqual({row["reason"] for row in rows[6:] if row["reason"] != EVENT_ONLY}, {"not read"})
        self.assertEqual(run.err.count("< no answer"), 2)


class Detail(ToolCase):
    def test_threshold_sensor(self):
        run = self.tool("sensors", "P1V05 Core", "-o", "json")
        self.assertEqual((run.status, run.err, list(run.json())), (OK, "", ["sensor_4"]))
        sensor = run.json()["sensor_4"]
        thresholds = {"uc": {"value": 1.15, "raw": 130}, "unc": {"value": 1.1, "raw": 120},
                      "lnc": {"value": 1, "raw": 100}, "lc": {"value": 0.95, "raw": 90}}
        events = ["lower non-critical going low", "lower critical going low", "upper non-critical going high",
                  "upper critical going high"]
        expected = {
            "name": "P1V05 Core", "number": 4, "lun": 0, "value": 1.05, "reason": None, "raw": 110, "state": [],
            "severity": "ok", "thresholds": thresholds, "scanning": True, "events": True,
            "hysteresis": {"positive": {"value": 0.005, "raw": 1}, "negative": {"value": 0.005, "raw": 1}},
            "enabled_assertions": events, "enabled_deassertions": events, "owner": {"code": 0x20, "name": "BMC"},
            "channel": 0, "sensor_type": {"code": 2, "name": "Voltage"}, "unit": "V",
            "event_type": {"code": 1, "name": "threshold"}, "hysteresis_access": "readable and settable",
            "threshold_access": "readable and settable", "event_control": "each event", "possible_assertions": events,
            "compared_thresholds": ["lower non-critical", "lower critical", "upper non-critical", "upper critical"],
            "factors": {"format": "unsigned", "linearization": "linear", "linearization_code": 0, "m": 5, "b": 50,
                        "b_exponent": 1, "result_exponent": -3},
            "tolerance": 0.0025, "accuracy_percent": 1, "nominal": 1.05, "normal_maximum": None,
            "sensor_maximum": 1.775, "sensor_minimum": 0.5, "sdr_thresholds": thresholds, "record_id": 6,
        }
        self.assertEqual({key: sensor[key] for key in expected}, expected)
        text = self.tool("sensors", "P1V05 Core").out
        for line in ["Value:                 1.05 V", "Thresholds:            upper critical 1.15 V (0x82)",
                     "                       lower critical 0.95 V (0x5A)", "Tolerance:             0.0025 V",
                     "Factors:               linear, M 5, B 50, B exponent 1, result exponent -3, unsigned"]:
            self.assertIn(line + "\n", text)

    def test_kinds(self):
        # sensor, fields
        table = [
            ("Imon Nonlin", {"value": 0.64, "reading_factors": {
                "format": "unsigned", "linearization": "linear", "linearization_code": 0, "m": 5, "b": -256,
                "b_exponent": 0, "result_exponent": -2}}),
            ("Inlet Temp", {"nominal": 23, "normal_maximum": 35, "normal_minimum": 10}),
            ("PSU1 Delta", {"factors": {"format": "one's complement", "linearization": "linear",
                                        "linearization_code": 0, "m": 5, "b": 0, "b_exponent": 0,
                                        "result_exponent": -1}}),
            ("Dimm C", {"value": None, "reason": NO_ANALOG, "raw": 0, "state": ["correctable memory error",
                                                                               "presence detected"],
                        "entity": {"id": 32, "instance": 3, "name": "memory device", "logical": False}}),
            ("PCIe 2", {"value": None, "reason": EVENT_ONLY, "raw": None, "severity": None,
                        "sensor_type": {"code": 0x13, "name": "Critical Interrupt"}}),
        ]
        for name, fields in table:
            with self.subTest(name):
                document = self.tool("sensors", name, "-o", "json").json()
                sensor = next(iter(document.values()))
                self.assertEqual({key: sensor[key] for key in fields}, fields)

    def test_selection(self):
        # words, names of the sensors, exit status
        table = [
            (["1"], ["Inlet Temp"], OK),
            (["1.1"], ["Aux Temp"], OK),
            (["0x01.0x01"], ["Aux Temp"], OK),
            (["0x20/1.1"], ["Aux Temp"], OK),
            (["0x1A"], ["Imon Nonlin"], OK),
            (["aux TEMP"], ["Aux Temp"], OK),
            (["215.8-"], ["215.8-"], OK),
            (["65", "Inlet Temp", "1"], ["PSU2 Status", "Inlet Temp"], OK),
            (["65", "nothing"], ["PSU2 Status"], PARTIAL),
            (["nothing"], [], USAGE),
            (["2.1"], [], USAGE),
            (["0x22/1"], [], USAGE),
            (["257"], [], USAGE),
            (["1."], [], USAGE),
        ]
        for words, names, status in table:
            with self.subTest(words):
                run = self.tool("sensors", *words, "-o", "json")
                self.assertEqual(run.status, status, run.err)
                sections = run.json() if run.out else {}
                self.assertEqual([sections[key]["name"] for key in sections if key != "problems"], names)
        self.assertEqual(self.tool("sensors", "1.1", "-o", "json").json()["sensor_1.1"]["value"], 31)

    def test_event_enables_follow_the_bmc(self):
        self.addCleanup(toolcase.bmc.request, "04 28 04 d0 05 02 05 02")
        toolcase.bmc.request("04 28 04 e0 01 02 05 00")  # disables some
        sensor = self.tool("sensors", "4", "-o", "json").json()["sensor_4"]
        self.assertEqual(sensor["enabled_assertions"], ["lower critical going low", "upper non-critical going high"])
        self.assertEqual(sensor["enabled_deassertions"], ["upper non-critical going high", "upper critical going high"])


@unittest.skipUnless(shutil.which("ipmitool"), "ipmitool is not installed")
class AgreesWithIpmitool(ToolCase):
    UNITS = {"Volts": "V", "Amps": "A", "Watts": "W", "Joules": "J", "Decibels": "dB", "PPM": "ppm", "bit": "bits",
             "percent": "%", "correctable error": "correctable errors/h", "Watts/cm": "W/cm", "Newton*m": "N*m",
             "unspecified": None}
    STATUS = {"ok": [None, "ok"], "nc": ["warning"], "cr": ["critical"], "nr": ["critical"]}
    # ipmitool shows one sensor for each shared record, and does not know how packed names are counted
    SHARED = {"Dimm": "Dimm A", "Drive": "Drive 1"}
    UNREADABLE = 2

    def test_values_states_and_thresholds(self):
        ours = {row["name"]: row for row in self.tool("sensors", "-o", "json").json()["sensors"]}
        done = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p",
                               str(toolcase.bmc.lan_port), "-U", "admin", "-P", "admin-pw", "sensor"],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="latin-1", timeout=60)
        compared, unreadable = 0, 0
        for line in done.stdout.splitlines():
            name, value, unit, status, *thresholds = [cell.strip() for cell in line.split("|")]
            row = ours.get(self.SHARED.get(name, name))
            if row is None:
                unreadable += 1
            elif unit == "discrete":
                bits = int(status[2:4], 16) | int(status[4:6], 16) << 8
                self.assertEqual(bin(bits).count("1"), len(row["state"]), name)
                compared += 1
            else:
                theirs = [None if cell == "na" else float(cell) for cell in [value, *thresholds]]
                mine = [row["value"], *thresholds_of(row)]
                self.assertEqual(theirs, [None if number is None else round(number, 3) for number in mine], name)
                self.assertEqual(self.UNITS.get(unit, unit), row["unit"])
                self.assertIn(row["severity"], self.STATUS[status])
                compared += 1
        self.assertEqual((compared, unreadable), (37, self.UNREADABLE), done.stdout)


RECORDS = [
    full(1, "One"),
    compact(2, "A name of 29 characters, full", {23: 0x01}),
    full(3, "Sixteen letters!"),
    event_only(4, "E"),
]
NAMES = ["One", "A name of 29 characters, full", "Sixteen letters!", "E"]


class Walk(ToolCase):
    def list(self, bmc, command="sdr", *args):
        run = self.tool(command, "-o", "json", "--timeout", 300, *args, driver=bmc.driver)
        return run, (run.json() if run.out else {})

    def check_raw(self, bmc, rows):
        self.assertEqual([row["raw"] for row in rows], [record.hex(" ") for record in bmc.records])

    def test_ways_to_read(self):
        # what the BMC does, exchanges at most; the records have 51, 61, 64 and 18 bytes. `last_first`: in reverse order
        table = [
            ({}, 4),                                                          # whole records
            ({"stray": b"\xEE" * 6}, 4),
            ({"most": 33}, 10),
            ({"most": 33, "stray": b"\xEE" * 6}, 10),
            ({"most": 33, "past_end": 0xC9}, 12),
            ({"most": 32, "past_end": 0xCA, "refusal": 0xC8}, 12),
            ({"most": 16, "refusal": 0xC7}, 19),
            ({"most": 16, "refusal": 0xFF}, 19),
            ({"most": 15, "refusal": 0xCA}, 34),
            ({"most": 8, "refusal": 0xC8, "past_end": 0xC9}, 34),
            ({"most": 22, "refusal": None}, 15),                              # sends what fits
            ({"most": 3, "refusal": None}, 70),
            ({"whole": 0xCC}, 5),
            ({"whole": False, "most": 250, "refusal": 0xC1 + 0x14}, 5),       # D5h, for FFh only
            ({"needs_reservation": True}, 6),
            ({"needs_reservation": True, "most": 32}, 12),
            ({"most": 32, "cancel": lambda n: n % 5 == 0}, 16),
            ({"cancel": lambda n: n == 2, "needs_reservation": True}, 8),
            ({"most": 33, "past_end": 0xC9, "whole": 0xCC, "last_first": True}, 12),  # a short record teaches little
        ]
        for ways, most in table:
            order = -1 if ways.pop("last_first", False) else 1
            with self.subTest(ways), SdrBmc(RECORDS[::order], **ways) as bmc:
                run, document = self.list(bmc)
                self.assertEqual((run.status, run.err), (OK, ""))
                self.check_raw(bmc, document["records"])
                self.assertEqual([row["name"] for row in document["records"]], NAMES[::order])
                self.assertEqual([row["record_id"] for row in document["records"]], [1, 2, 3, 4])
                self.assertLessEqual(bmc.count(*GET_SDR) + bmc.count(*RESERVE), most)

    def test_a_change_starts_the_record_anew(self):
        with SdrBmc(RECORDS, most=32) as bmc:
            changed = bmc.records[0][:9] + b"\x07" + bmc.records[0][10:]  # in the first piece
            def change(number):
                if number != 4:  # the second piece of the first record
                    return False
                bmc.records[0] = changed
                return True
            bmc.cancel = change
            run, document = self.list(bmc)
        self.assertEqual((run.status, document["records"][0]["raw"]), (OK, changed.hex(" ")))

    def test_what_goes_wrong(self):
        short = full(9, "Lies", {4: 60})
        # records, ways of the BMC, exit status, names, problems (pieces of their texts)
        table = [
            (RECORDS, {"broken": {(2, None): 0xCC}}, PARTIAL, ["One", None, NAMES[2], "E"],
             [("SDR record 0x0002", "completion code 0xCC")]),
            (RECORDS, {"broken": {(4, None): 0xCC}}, PARTIAL, ["One", NAMES[1], NAMES[2], None],
             [("SDR record 0x0004", "completion code 0xCC"), ("SDR repository", "which record follows is not known")]),
            (RECORDS, {"most": 32, "broken": {(3, 32): 0xFF}}, PARTIAL, ["One", NAMES[1], None, "E"],
             [("SDR record 0x0003", "read up to byte 32 of 64: Get SDR")]),
            (RECORDS, {"most": 32, "cancel": lambda n: n > 4}, PARTIAL, ["One", None, None, "E"],
             [("SDR record 0x0002", "0xC5"), ("SDR record 0x0003", "0xC5")]),
            (RECORDS, {"followers": {3: 2}}, PARTIAL, NAMES[:3],
             [("SDR repository", "record 0x0003 is followed by record 0x0002, which was read before")]),
            (RECORDS, {"followers": {1: 1}}, PARTIAL, NAMES[:1], [("SDR repository", "is followed by record 0x0001")]),
            (RECORDS, {"followers": {4: 0}}, PARTIAL, NAMES, [("SDR repository", "is followed by record 0x0000")]),
            ([short, *RECORDS], {}, PARTIAL, ["Lies", *NAMES], [("SDR record 0x0001", "read up to byte 52 of 65")]),
            ([short, *RECORDS], {"past_end": 0xC9, "most": 33}, PARTIAL, [None, *NAMES],
             [("SDR record 0x0001", "read up to byte 48 of 65")]),
            ([full(1, "X", {2: 0x52}), *RECORDS], {}, PARTIAL, ["X", *NAMES],
             [("SDR record 0x0001", "unknown SDR version 0x52")]),
            ([sdr(0x01, "")[:40].replace(b"\x2b", b"\x23"), *RECORDS], {}, PARTIAL, [None, *NAMES],
             [("SDR record 0x0001", "too short for a full sensor record: 40 bytes")]),
            ([full(1, "Cut", type_length=0xC9), *RECORDS], {}, PARTIAL, ["Cut", *NAMES],
             [("SDR record 0x0001", "ID string of 9 bytes is cut short")]),
            ([full(1, "x" * 17), *RECORDS], {}, PARTIAL, ["x" * 17, *NAMES],
             [("SDR record 0x0001", "an ID string of 17 bytes is not allowed")]),
            ([compact(1, "y" * 31), *RECORDS], {}, PARTIAL, ["y" * 31, *NAMES],
             [("SDR record 0x0001", "an ID string of 31 bytes is not allowed")]),
            ([b"\0\0\x51\x05\x01\x07", b"\0\0\x51\xC0\x03\x40\x42\x0F"], {}, OK, [None, None], []),
            ([], {}, OK, [], []),
        ]
        for records, ways, status, names, problems in table:
            with self.subTest(names=names, ways=ways), SdrBmc(records, **ways) as bmc:
                run, document = self.list(bmc)
                self.assertEqual(run.status, status, run.err)
                self.assertEqual([row["name"] for row in document["records"]], names)
                self.assertEqual([problem["where"] for problem in document.get("problems", [])],
                                 [where for where, _ in problems], document.get("problems"))
                for problem, (_, text) in zip(document.get("problems", []), problems):
                    self.assertIn(text, problem["message"])
                self.assertLess(bmc.count(*GET_SDR), 60)  # nothing is tried for ever

    def test_malformed_sensor_records_still_give_sensors(self):
        records = [full(1, "x" * 17), full(2, "Cut", type_length=0xC9), full(3, "Version", {2: 0x52}), full(4, "Good"),
                   full(5, "Lies", {4: 60})]
        reading = {(0x04, 0x2D): bytes([0, 23, 0xC0])}
        with SdrBmc(records, reading) as bmc:
            run, document = self.list(bmc, "sensors")
        self.assertEqual(run.status, PARTIAL)
        self.assertEqual([(row["name"], row["value"]) for row in document["sensors"]],
                         [("x" * 17, 23), ("Cut", 23), ("Good", 23), ("Lies", 23)])

    def test_nothing_to_read(self):
        for answer, status in [(b"\xc1", REFUSED), (b"\xd4", REFUSED), (b"\0\1", REFUSED), (None, TIMED_OUT)]:
            with self.subTest(answer), FakeBmc({GET_SDR: answer}) as bmc:
                run, _ = self.list(bmc)
                self.assertEqual((run.status, run.out), (status, ""))
                self.assertIn("Get SDR (NetFn 0x0A, command 0x23)", run.err)

    def test_bmc_lost_on_the_way(self):
        with SdrBmc(RECORDS) as bmc:
            get_sdr = bmc.handlers[GET_SDR]
            bmc.handlers[GET_SDR] = lambda data: get_sdr(data) if bmc.count(*GET_SDR) < 3 else None
            run, document = self.list(bmc)
        self.assertEqual(run.status, PARTIAL)
        self.assertEqual([row["name"] for row in document["records"]], [*NAMES[:2], None])
        self.assertEqual([problem["where"] for problem in document["problems"]],
                         ["SDR record 0x0003", "SDR repository"])
        self.assertLessEqual(bmc.count(*GET_SDR), 4)


class OddSensors(ToolCase):
    THRESHOLDS = {11: 0x04, 15: 0x70, 17: 0x70, 18: 0x3F}  # readable, all compared, all there

    def row(self, record, reading, more={}, status=OK):
        handlers = {(0x04, 0x2D): reading, (0x04, 0x27): bytes(8), **more}
        with SdrBmc([record], handlers) as bmc:
            run = self.tool("sensors", "-o", "json", driver=bmc.driver)
            self.assertEqual(run.status, status, run.err)
            return run.json()["sensors"][0], bmc

    def test_readings(self):
        undefined = "%s is not defined for reading 0x00"
        masks = {11: 0x04, 15: 0x10, 17: 0x40, 18: 0x3F}
        # record, answer to Get Sensor Reading, value, reason, states
        table = [
            (full(1, "T"), b"\0\x17\xc0\0\0", 23, None, []),
            (full(1, "T"), b"\0\x17\xe0\0\0", None, "not available", []),
            (full(1, "T"), b"\0\x17\x80\0\0", None, "scanning disabled", []),
            (full(1, "T"), b"\0\x17\xc0", 23, None, []),
            (full(1, "T", self.THRESHOLDS), b"\0\x17\xc0\x09", 23, None, ["upper non-critical", "lower non-critical"]),
            (full(1, "T", masks), b"\0\x17\xc0\x3f", 23, None, ["upper non-recoverable", "lower non-critical"]),
            (full(1, "T", {20: 0x40}), b"\0\xff\xc0\0", 0, None, []),
            (full(1, "T", {20: 0x40}), b"\0\x80\xc0\0", -127, None, []),
            (full(1, "T", {20: 0x80}), b"\0\x80\xc0\0", -128, None, []),
            (full(1, "T", {20: 0xC0}), b"\0\x80\xc0\0", None, NO_ANALOG, []),
            (full(1, "T", {23: 1}), b"\0\0\xc0\0", None, undefined % "ln(x)", []),
            (full(1, "T", {23: 7}), b"\0\0\xc0\0", None, undefined % "1/x", []),
            (full(1, "T", {23: 7}), b"\0\4\xc0\0", 0.25, None, []),
            (full(1, "T", {23: 12}), b"\0\4\xc0\0", None, "linearization 0x0C is not known", []),
            (compact(1, "P"), b"\0\0\xc0\x03\x80", None, NO_ANALOG,
             ["presence detected", "power supply failure detected"]),
            (compact(1, "P"), b"\0\0\xc0\xf1\x80", None, NO_ANALOG, ["presence detected"]),  # states that it has not
            (compact(1, "P", {18: 0}), b"\0\0\xc0\x81\xc0", None, NO_ANALOG,
             ["presence detected", "power supply inactive", "state 14"]),
            (compact(1, "O", {12: 0xC3}), b"\0\0\xc0\x05", None, NO_ANALOG, ["OEM state 0", "OEM state 2"]),
            (full(1, "D", {12: 0x23, 13: 0x6F, 18: 0x0F, 20: 0xC0}), b"\0\0\xc0\x02", None, NO_ANALOG, ["hard reset"]),
            (full(1, "B", {5: 0x2C}), b"\0\x17\xc0\0\0", None,
             "owned by controller 0x2C, not reachable over this interface", []),
            (full(1, "B", {5: 0x41}), b"\0\x17\xc0\0\0", None,
             "owned by system management software, not reachable over this interface", []),
        ]
        for record, answer, value, reason, states in table:
            with self.subTest(record=record.hex(), answer=answer):
                row, _ = self.row(record, answer)
                self.assertEqual((row["value"], row["reason"], row["state"]), (value, reason, states))

    def test_thresholds(self):
        every = b"\0\x3f\x01\xff\xfe\x10\x20\x30"
        # fields, answer to Get Sensor Thresholds, thresholds in order, whether it is asked at all
        table = [
            ({**self.THRESHOLDS, 20: 0x80}, every, (-2, -1, 1, 16, 32, 48), True),
            ({**self.THRESHOLDS, 20: 0x40}, every, (-1, 0, 1, 16, 32, 48), True),
            (self.THRESHOLDS, b"\0\x05\x01\xff\xfe\x10\x20\x30", (254, None, 1, None, None, None), True),
            ({**self.THRESHOLDS, 18: 0x18}, every, (None, None, None, 16, 32, None), True),
            ({**self.THRESHOLDS, 11: 0x08}, every, (254, 255, 1, 16, 32, 48), True),
            ({**self.THRESHOLDS, 11: 0x00}, every, NO_THRESHOLDS, False),
            ({**self.THRESHOLDS, 11: 0x0C}, every, NO_THRESHOLDS, False),
            ({**self.THRESHOLDS, 18: 0x00}, every, NO_THRESHOLDS, False),
            ({**self.THRESHOLDS, 13: 0x03}, every, NO_THRESHOLDS, False),
            ({**self.THRESHOLDS, 5: 0x2C}, every, NO_THRESHOLDS, False),
        ]
        for fields, answer, thresholds, asked in table:
            with self.subTest(fields):
                row, bmc = self.row(full(1, "T", fields), b"\0\x17\xc0\0", {(0x04, 0x27): answer})
                self.assertEqual((thresholds_of(row), bmc.count(0x04, 0x27)), (thresholds, int(asked)))

    def test_non_linear_thresholds(self):
        # M is the raw byte that is asked for: the value is its square
        factors = lambda data: bytes([0, 0, data[1], 0, 0, 0, 0, 0])
        row, _ = self.row(full(1, "N", {**self.THRESHOLDS, 23: 0x7F}), b"\0\x07\xc0\0",
                          {(0x04, 0x27): b"\0\x3f\1\2\3\4\5\6", (0x04, 0x23): factors})
        self.assertEqual((row["value"], thresholds_of(row)), (49, (9, 4, 1, 16, 25, 36)))

    def test_names(self):
        # record, names of its sensors
        table = [
            (full(1, b"caf\xe9"), ["caf\u00e9"]),                                  # Latin-1
            (full(1, "caf\u00e9".encode()), ["caf\u00e9"]),                         # UTF-8 in spite of the standard
            (full(1, b"a\x1b[2Jb"), ["a\\x1B[2Jb"]),
            (full(1, b"padded\0\0"), ["padded"]),
            (full(1, b"padded  "), ["padded"]),
            (full(1, b"\x29\xdc\xa6", type_length=0x84), ["IPMI"]),                # four characters in three bytes
            (full(1, b"\x29\xdc\xa6", type_length=0x83), ["IPMI"]),                # a BMC that counts bytes
            (full(1, b"\x29\xdc\xa6\0", type_length=0x84), ["IPMI"]),
            (full(1, b"\x12\x3c\x45", type_length=0x45), ["123.4"]),
            (full(1, b"\x12\x3c\x45", type_length=0x46), ["123.45"]),
            (full(1, b"\x12\x3c\x45", type_length=0x43), ["123.45"]),
            (compact(1, "Fan ", {23: 0x03, 24: 0x09}), ["Fan 9", "Fan 10", "Fan 11"]),
            (compact(1, "Fan", {23: 0x02, 24: 0x00}), ["Fan 0", "Fan 1"]),
            (compact(1, "Fan", {23: 0x13, 24: 0x18}), ["FanY", "FanZ", "FanBA"]),
            (compact(1, "Fan", {23: 0x00}), ["Fan"]),
            (event_only(1, "Ev", {12: 0x12, 13: 0x00}), ["EvA", "EvB"]),           # not the type of the ID string
            (event_only(1, "Ev", {12: 0x02, 13: 0x00}), ["Ev 0", "Ev 1"]),
        ]
        for record, names in table:
            with self.subTest(names=names, record=record.hex()), SdrBmc([record], {(0x04, 0x2D): b"\0\0\xc0"}) as bmc:
                run = self.tool("sensors", "-o", "json", driver=bmc.driver)
                self.assertEqual([row["name"] for row in run.json()["sensors"]], names)
                self.assertEqual([row["number"] for row in run.json()["sensors"]], list(range(1, 1 + len(names))))

    def test_units(self):
        # bytes 20 to 22 of the record, unit
        table = [
            ((0x00, 18, 0), "RPM"), ((0x01, 0, 0), "%"), ((0x18, 88, 0), "errors/s"),
            ((0x28, 89, 0), "correctable errors/h"),
            ((0x02, 6, 33), "W/cm"), ((0x04, 16, 34), "N*m"), ((0x0A, 70, 22), "bytes/s/us"), ((0x00, 0, 0), None),
            ((0x00, 92, 0), "g"), ((0x00, 93, 0), "unit 0x5D"), ((0x00, 61, 0), "dBA"), ((0x00, 58, 0), "ppm"),
        ]
        for units, unit in table:
            with self.subTest(units):
                fields = dict(zip([20, 21, 22], units))
                row, _ = self.row(full(1, "U", fields), b"\0\1\xc0")
                self.assertEqual(row["unit"], unit)


class Records(ToolCase):
    def test_list(self):
        run = self.tool("sdr", "-o", "json")
        self.assertEqual((run.status, run.err), (OK, ""))
        rows = run.json()["records"]
        self.assertEqual([row["record_id"] for row in rows], list(range(1, 55)))
        self.assertEqual(run.out, self.tool("sdr", "list", "-o", "json").out)
        # record, type, name, entity, summary
        table = [
            (1, "management controller locator", "Reference BMC", (7, 1), "controller at 0x20"),
            (0x1D, "full sensor", "Aux Temp", (7, 2), "Temperature, sensor 1.1"),
            (0x20, "compact sensor", "Dimm", (32, 1), "Memory, sensor 66 to 69"),
            (0x28, "compact sensor", "BOARD ID 3", (7, 1), "Module/Board, sensor 86"),
            (0x2B, "event-only sensor", "PCIe", (49, 1), "Critical Interrupt, sensor 97 to 98"),
            (0x2C, "entity association", None, (7, 1),
             "contains processor 3.1 to processor 3.1, memory device 32.1 to memory device 32.4"),
            (0x2D, "generic device locator", "Cfg EEPROM", (7, 1), "24C64 EEPROM at 0xA4, private bus 2"),
            (0x31, "FRU device locator", "Missing FRU", (11, 2), "FRU 5"),
            (0x32, "device-relative entity association", None, (23, 1),
             "contains power supply 10.1 of controller 0x20, power supply 10.2 of controller 0x20"),
            (0x33, "management controller confirmation", None, None, "controller at 0x20"),
            (0x34, "BMC message channel info", None, None, ""),
            (0x36, "OEM", None, None, "manufacturer 1000000"),
        ]
        for record, kind, name, entity, summary in table:
            row = rows[record - 1]
            shown_entity = row["entity"] and (row["entity"]["id"], row["entity"]["instance"])
            self.assertEqual((row["type"], row["name"], shown_entity, row["summary"]), (kind, name, entity, summary))

    def test_show(self):
        # ID, fields
        table = [
            ("1", {"slave_address": 0x20, "channel": 0, "power_notification": ["system power state",
                                                                              "device power state"],
                   "support": ["chassis", "IPMB event generator", "IPMB event receiver", "FRU inventory", "SEL",
                               "SDR repository", "sensors"]}),
            ("0x03", {"record_id": 3, "version": "1.5", "number": 1, "nominal": 23, "positive_hysteresis": 2,
                      "type": {"code": 1, "name": "full sensor"}}),
            ("0x20", {"share_count": 4, "modifier_type": "alphabetic", "modifier_offset": 0,
                      "instances_increment": True, "direction": "input",
                      "sensors": ["66 Dimm A", "67 Dimm B", "68 Dimm C", "69 Dimm D"]}),
            ("0x2b", {"share_count": 2, "modifier_type": "numeric", "modifier_offset": 1,
                      "sensors": ["97 PCIe 1", "98 PCIe 2"]}),
            ("0x2C", {"is_range": True, "is_linked": False, "always_accessible": True}),
            ("0x2D", {"slave_address": 0xA4, "private_bus": 2, "address_span": 1, "device_type": {
                "code": 0x0F, "name": "24C64 EEPROM"}}),
            ("0x2F", {"is_logical": True, "fru_id": 1, "access_lun": 0}),
            ("0x33", {"device_id": 0x11, "firmware": "2.15", "ipmi_version": "2.0", "manufacturer_id": 1000000,
                      "product_id": 0x1234, "guid": "5e f0 a1 b2 c3 d4 4e 5f 80 91 a2 b3 c4 d5 e6 f7"}),
            ("0x34", {"channel_0": {"protocol": 1, "transmit": True, "receive_lun": 0},
                      "channel_1": {"protocol": 4, "transmit": True, "receive_lun": 0}}),
            ("0x35", {"manufacturer_id": 1000000, "data": "01 46 61 6e 54 61 62 6c 65 20 76 32"}),
            ("0xFFFF", {"record_id": 0x36, "manufacturer_id": 1000000, "data": ""}),
            ("0", {"record_id": 1, "name": "Reference BMC"}),
        ]
        for record, fields in table:
            with self.subTest(record):
                run = self.tool("sdr", "show", record, "-o", "json")
                self.assertEqual((run.status, run.err), (OK, ""))
                shown_record = run.json()["record"]
                self.assertEqual({key: shown_record[key] for key in fields}, fields)
                self.assertIsNone(shown_record["error"])

    def test_show_sensor_facts(self):
        record = full(0xFE, "S", {6: 0x52, 9: 0x83, 10: 0x41, 11: 0xBE, 14: 0x01, 16: 0x02, 18: 0x3F, 19: 0x09,
                                  20: 0x80, 25: 0x03, 27: 0x32, 28: 0x04, 30: 0x05, 31: 0x80, 33: 0xFF, 36: 0x7F,
                                  41: 0x80, 42: 4, 43: 5, 46: 0x99})
        with SdrBmc([record]) as bmc:
            shown_record = self.tool("sdr", "show", 1, "-o", "json", driver=bmc.driver).json()["record"]
        fields = {
            "number": 0xFE, "lun": 2, "channel": 5, "oem": 0x99, "accuracy_percent": 5, "tolerance": 1.5,
            "entity": {"id": 7, "instance": 3, "name": "system board", "logical": True},
            "initialization": ["scanning", "scanning on at start"],
            "capabilities": ["ignored while the entity is absent"], "hysteresis_access": "fixed",
            "threshold_access": "fixed", "event_control": "whole controller",
            "possible_assertions": ["lower non-critical going low"],
            "possible_deassertions": ["lower non-critical going high"], "compared_thresholds": [],
            "settable_thresholds": ["lower non-critical", "upper non-critical"],
            "nominal": -128, "normal_maximum": None, "normal_minimum": -1, "positive_hysteresis": 4,
            "negative_hysteresis": 5,
        }
        self.assertEqual({key: shown_record[key] for key in fields}, fields)
        self.assertEqual(shown_record["sdr_thresholds"]["unr"], {"value": 127, "raw": 127})
        self.assertEqual(shown_record["sdr_thresholds"]["lnc"], {"value": -128, "raw": 128})

    def test_numbers_have_names(self):
        # field, its byte in the record, names by number
        table = [
            ("entity", 8, {0x03: "processor", 0x37: "air inlet", 0x36: "reserved 0x36", 0x42: "system board",
                           0x43: "reserved 0x43", 0x90: "chassis specific 0x90", 0xB1: "board-set specific 0xB1",
                           0xD0: "OEM 0xD0"}),
            ("sensor_type", 12, {0x00: "reserved 0x00", 0x2C: "FRU State", 0x2D: "reserved 0x2D", 0xC0: "OEM 0xC0"}),
            ("event_type", 13, {0x01: "threshold", 0x0C: "ACPI device power state", 0x0D: "reserved 0x0D",
                                0x6F: "sensor-specific", 0x7F: "OEM 0x7F"}),
            ("owner", 5, {0x20: "BMC", 0x2C: "controller 0x2C", 0x01: "BIOS", 0x21: "SMI handler",
                          0x41: "system management software", 0x61: "OEM software", 0x81: "remote console software 1",
                          0x8D: "remote console software 7", 0x8F: "terminal mode remote console software",
                          0x91: "software 0x48"}),
        ]
        for field, offset, names in table:
            with SdrBmc([full(1, "N", {offset: number}) for number in names]) as bmc:
                for record, (number, name) in enumerate(names.items(), 1):
                    shown_record = self.tool("sdr", "show", record, "-o", "json", driver=bmc.driver).json()["record"]
                    self.assertEqual(shown_record[field]["name"], name, hex(number))

    def test_show_failures(self):
        for record, status in [("0x99", REFUSED), ("65536", USAGE), ("", USAGE), ("0x", USAGE), ("3x", USAGE)]:
            with self.subTest(record):
                run = self.tool("sdr", "show", record)
                self.assertEqual((run.status, run.out), (status, ""))
        with SdrBmc([full(1, "Cut", type_length=0xC9)]) as bmc:
            run = self.tool("sdr", "show", 1, driver=bmc.driver)
        self.assertEqual(run.status, PARTIAL)
        self.assertRegex(run.out, r"\nError: +the ID string of 9 bytes is cut short")


if __name__ == "__main__":
    unittest.main()
