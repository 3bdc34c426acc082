#!/usr/bin/env python3
"""lumipmi sel: the log of the reference BMC, and logs of scripted ones."""
import re
import shutil
import subprocess
import tempfile
import time
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc
from refbmc import SIM  # toolcase knows where

START = 1700000000  # 2023-11-14 22:13:20 UTC


def setUpModule():
    start_bmc()


def at(seconds):
    shown = time.strftime("%Y-%m-%dT%H:%M:%S+00:00", time.gmtime(seconds))
    return {"iso": shown, "seconds": seconds}


# time in seconds after START, generator, sensor, its number, type, event, direction, severity, detail
EVENTS = [
    (0, "BMC", "Inlet Temp", 1, "Temperature", "upper non-critical going high", "asserted", "warning",
     "reading 39 degrees C; threshold 38 degrees C"),
    (120, "BMC", "Inlet Temp", 1, "Temperature", "upper non-critical going high", "deasserted", "ok",
     "reading 35 degrees C; threshold 38 degrees C"),
    (180, "BMC", "Fan2 Tach", 6, "Fan", "lower critical going low", "asserted", "critical",
     "reading 900 RPM; threshold 1200 RPM"),
    (300, "BMC", "PSU2 Status", 0x41, "Power Supply", "power supply failure detected", "asserted", "critical", None),
    (360, "BMC", "Dimm C", 0x44, "Memory", "correctable memory error", "asserted", "warning",
     "OEM data 0x00; OEM data 0x02"),
    (480, "BIOS", "POST Error", 0x60, "System Firmware Progress", "system firmware progress", "asserted", "ok",
     "at memory initialization"),
    (540, "BMC", "Watchdog", 0, "Watchdog 2", "hard reset", "asserted", "critical",
     "timer use SMS/OS; interrupt none"),
    (600, "BMC", "CPU1 Prochot", 0x53, "Temperature", "state asserted", "asserted", ..., None),
    (660, "BMC", "Fan Redundancy", 0x52, "Fan", "redundancy lost", "asserted", "warning", None),
    (720, "BMC", "OEM Flags", 0x55, "OEM 0xC0", "OEM state 3", "asserted", None, "OEM data 0x12; OEM data 0x34"),
    (780, None, None, None, "OEM 0xC1 with a time", "manufacturer 1000000", None, None, "01 02 03 04 05 06"),
    (None, None, None, None, "OEM 0xE5", "OEM data", None, None, "52 45 46 42 4d 43 00 01 02 03 04 05 06"),
]
KEYS = ["generator", "sensor", "sensor_number", "type", "event", "direction", "severity", "detail"]


class Shown(ToolCase):
    def json_of(self, *words, status=0):
        run = self.tool("-o", "json", "sel", *words)
        self.assertEqual(run.status, status, run)
        return run.json()

    def test_list(self):
        stored = [line for line in (SIM / "sel.txt").read_text().splitlines() if line and not line.startswith("#")]
        for words in ([], ["list"]):
            events = self.json_of(*words)["events"]
            self.assertEqual(len(events), 12)
            for number, (event, expected) in enumerate(zip(events, EVENTS), 1):
                with self.subTest(number):
                    self.assertEqual(event["id"], number)
                    self.assertEqual(event["time"], None if expected[0] is None else at(START + expected[0]))
                    for key, value in zip(KEYS, expected[1:]):
                        if value is not ...:
                            self.assertEqual(event[key], value, key)
                    self.assertEqual(event["raw"], stored[number - 1])

    def test_table(self):
        run = self.tool("sel")
        self.assertEqual((run.status, run.err), (0, ""))
        lines = run.out.splitlines()
        self.assertEqual(re.split("  +", lines[0]), ["ID", "Time", "From", "Sensor", "Type", "Event", "Direction",
                                                     "Detail",
                                                    "Severity"])
        self.assertEqual(re.split("  +", lines[1]), ["0x0001", "2023-11-14T22:13:20+00:00", "Inlet Temp", "Temperature",
                                                    "upper non-critical going high", "asserted",
                                                    "reading 39 degrees C; threshold 38 degrees C", "warning"])
        self.assertRegex(lines[6], "^0x0006  2023-11-14T22:21:20.00:00  BIOS  POST Error ")
        self.assertRegex(lines[12], "^0x000C +OEM 0xE5 +OEM data +52 45 46")
        self.assertNotIn("From", self.tool("sel", "--last", "2").out)  # none but the BMC
        zone = self.tool("sel", "--last", "2", env={"TZ": "Asia/Kolkata"}).out
        self.assertIn("0x000B  2023-11-15T03:56:20+05:30", zone)

    def test_csv(self):
        rows = self.tool("-o", "csv", "sel").csv()
        self.assertEqual(rows[0], ["id", "time", "generator", "sensor", "sensor_number", "type", "event", "direction",
                                   "detail", "severity", "raw"])
        self.assertEqual(len(rows), 13)
        self.assertEqual(rows[3], ["3", "2023-11-14T22:16:20+00:00", "BMC", "Fan2 Tach", "6", "Fan",
                                   "lower critical going low", "asserted", "reading 900 RPM; threshold 1200 RPM",
                                   "critical",
                                   "03 00 02 b4 f1 53 65 20 00 04 04 06 01 52 0f 14"])

    def test_last(self):
        for count, first in [(0, 13), (1, 12), (3, 10), (11, 2), (12, 1), (13, 1), (65535, 1)]:
            events = self.json_of("--last", str(count))["events"]
            self.assertEqual([event["id"] for event in events], list(range(first, 13)))
            self.assertEqual(self.json_of("list", "--last", str(count))["events"], events)

    def test_info(self):
        shown = self.json_of("info")
        self.assertEqual(shown, {
            "sel": {"version": "1.5", "entries": 12, "free_bytes": 832, "last_add_time": at(START + 780),
                    "last_erase_time": at(START), "overflow": False,
                    "supported_operations": ["get_allocation_info", "reserve", "delete"]},
            "allocation": {"total_units": 1024, "unit_size": 16, "free_units": 832, "largest_free_block": 832,
                           "max_record_size": 1}})
        self.assertIn("Supports:      allocation info, reservation, deletion\n", self.tool("sel", "info").out)
        self.fault("0x0a 0x41 1 0xc1")
        shown = self.json_of("info", status=5)
        self.assertEqual((shown["sel"]["entries"], shown["problems"][0]["where"]), (12, "allocation"))

    def test_get(self):
        self.assertEqual(self.json_of("get", "5")["record"], {
            "id": 5, "record_type": 2, "time": at(START + 360), "generator": "BMC", "generator_id": 0x20,
            "generator_lun": 0, "generator_channel": 0, "message_format": 4, "sensor": "Dimm C", "sensor_number": 0x44,
            "sensor_type": "Memory", "sensor_type_code": 0x0C, "event_type": "sensor-specific", "event_type_code": 0x6F,
            "event": "correctable memory error", "direction": "asserted", "detail": "OEM data 0x00; OEM data 0x02",
            "severity": "warning", "event_data": "a0 00 02", "raw": "05 00 02 68 f2 53 65 20 00 04 0c 44 6f a0 00 02"})
        self.assertEqual(self.json_of("get", "0x0b")["record"], {
            "id": 11, "record_type": 0xC1, "time": at(START + 780), "manufacturer_id": 1000000,
            "oem_data": "01 02 03 04 05 06", "raw": "0b 00 c1 0c f4 53 65 40 42 0f 01 02 03 04 05 06"})
        last = {"id": 12, "record_type": 0xE5, "oem_data": "52 45 46 42 4d 43 00 01 02 03 04 05 06",
                "raw": "0c 00 e5 52 45 46 42 4d 43 00 01 02 03 04 05 06"}
        for word in ("last", "12", "0xffff"):
            self.assertEqual(self.json_of("get", word)["record"], last)
        for word in ("first", "0"):
            self.assertEqual(self.json_of("get", word)["record"]["id"], 1)

    def test_usage(self):
        for words, message in [(["get", "0x10000"], "record ID"), (["get", "99999999999"], "record ID"),
                               (["get", "x"], "record ID"), (["get", "0x"], "record ID"), (["get", ""], "record ID"),
                               (["get"], "ID"), (["delete", "-"], "record ID"), (["--last", "x"], "x"),
                               (["--last", "-1"], "-1"), (["--last", "65536"], "65536"), (["add"], "16 bytes, not 0"),
                               (["add", "1"], "16 bytes, not 1"),
                               (["add", "00" * 17], "16 bytes, not 17"), (["add", "xyz"], "not a byte in hex: xyz"),
                               (["add", "123"], "not a byte in hex"),
                               (["add", "--file", "/nowhere"], "/nowhere: No such"),
                               (["add", "--file", "/dev/null"], "no records"), (["clear"], "--yes"),
                               (["time", "set"], "TIME"), (["time", "set", "yesterday"], "not a time"),
                               (["time", "set", "4294967295"], "not a time"), (["time", "set", "-1"], ""),
                               (["time", "set", "2023-02-30T00:00:00Z"], "not a time"),
                               (["time", "set", "2023-02-03"], "not a time"),
                               (["time", "set", "2023-02-03T04:05:06 Z"], "not a time"),
                               (["time", "set", "2023-02-03T04:05:06Zulu"], "not a time"),
                               (["time", "set", "1969-12-31T23:59:59Z"], "not a time"),
                               (["time", "set", "2106-02-07T06:28:15Z"], "not a time")]:
            with self.subTest(words=words):
                run = self.tool("sel", *words)
                self.assertEqual((run.status, run.out), (2, ""), run)
                self.assertIn(message, run.err)

    def test_refusals(self):
        self.assertRegex(self.tool("sel", "get", "77").err, "Get SEL Entry .*0xCB")
        for command, words in [(0x40, []), (0x40, ["info"]), (0x43, ["get", "3"]), (0x44, ["add", "00" * 16]),
                               (0x46, ["delete", "99"]), (0x48, ["time"]), (0x49, ["time", "set", "5"]),
                               (0x47, ["clear", "--yes"]), (0x42, ["clear", "--yes"]), (0x42, ["delete", "1"])]:
            with self.subTest(command=command, words=words):
                toolcase.bmc.cmd("fault off")
                self.fault("0x0a 0x%02x 9 0xd4" % command)
                run = self.tool("sel", *words)
                self.assertEqual((run.status, run.out), (4, ""), run)
                self.assertIn("completion code 0xD4", run.err)

    def test_broken_records(self):
        self.fault("0x0a 0x43 1 0xff")
        shown = self.json_of(status=5)  # the first one: the record behind it has the ID 1
        self.assertEqual((shown["events"][0]["id"], shown["events"][0]["raw"]), (None, ""))
        self.assertEqual([event["id"] for event in shown["events"][1:]], list(range(1, 13)))
        self.assertEqual([problem["where"] for problem in shown["problems"]], ["first record"])
        toolcase.bmc.cmd("fault off")
        for fault in ("short 10", "short 2"):
            with self.subTest(fault=fault):
                self.fault("0x0a 0x43 1 " + fault)
                shown = self.json_of(status=5)
                self.assertEqual(len(shown["events"]), 12)
                self.assertEqual(shown["events"][1]["sensor"], "Inlet Temp")
                self.assertRegex(shown["problems"][0]["message"], "the BMC sent [08] of the record's 16 bytes")
                run = self.tool("sel")
                self.assertEqual(run.status, 0, run)

    def test_a_lost_request_loses_no_record(self):
        self.fault("0x0a 0x43 1 drop")
        run = self.tool("--timeout", "300", "-o", "json", "sel")
        self.assertEqual((run.status, len(run.json()["events"])), (0, 12), run)

    def test_without_sensors(self):
        self.fault("0x0a 0x20 3 0xc1")
        self.fault("0x0a 0x23 99 0xc1")
        shown = self.json_of(status=5)
        self.assertEqual(len(shown["events"]), 12)
        self.assertEqual((shown["events"][0]["sensor"], shown["events"][0]["sensor_number"]), (None, 1))
        self.assertEqual(shown["problems"][0]["where"], "SDR repository")
        self.assertIn("sensor 0x01", self.tool("sel").out)

    def test_as_ipmitool(self):
        if not shutil.which("ipmitool"):
            self.skipTest("no ipmitool")
        theirs = subprocess.run(
            ["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p", str(toolcase.bmc.lan_port), "-U", "admin",
             "-P", "admin-pw", "sel", "elist"], capture_output=True, text=True, timeout=30, env={"TZ": "UTC"}).stdout
        ours = self.json_of()["events"]
        lines = [[part.strip() for part in line.split("|")] for line in theirs.splitlines()]
        self.assertEqual(len(lines), 12, theirs)
        for event, line in zip(ours, lines):
            self.assertEqual(event["id"], int(line[0], 16))
            if event["time"]:
                day = time.strftime("%m/%d/%y", time.gmtime(event["time"]["seconds"]))
                clock = event["time"]["iso"][11:19]
                self.assertEqual((day, clock + " UTC"), (line[1], line[2]))
            if event["direction"]:
                self.assertEqual(event["direction"], line[5 if line[5:] else 4].lower())
            for number in re.findall(r"(?:reading|threshold) ([\d.]+)", event["detail"] or ""):
                self.assertIn(number, line[-1])


class Changed(ToolCase):
    """On a BMC of its own, whose log is as it was after each test."""

    @classmethod
    def setUpClass(cls):
        cls.bmc = toolcase.RefBmc().start()
        cls.addClassCleanup(cls.bmc.stop)

    def sel(self, *words, status=0, **options):
        run = self.tool("-o", "json", "sel", *words, driver="vm:127.0.0.1:%d" % self.bmc.vm_port, **options)
        self.assertEqual(run.status, status, run)
        return run.json() if run.out else run

    def ids(self):
        return [event["id"] for event in self.sel()["events"]]

    def fault(self, text):
        self.bmc.cmd("fault " + text)
        self.addCleanup(self.bmc.cmd, "fault off")

    def setUp(self):
        self.bmc.cmd("fault off")
        for event in self.sel()["events"][12:]:
            self.sel("delete", str(event["id"]))

    RECORD = "ff ff 02 00 00 00 00 41 00 04 12 5a 6f 01 ff ff".split()

    def test_add_and_delete(self):
        before = self.sel()["events"]
        added = [self.sel("add", *words)["added"] for words in (
            self.RECORD, ["0x" + byte for byte in self.RECORD], ["".join(self.RECORD)],
            ["0" if byte == "00" else byte for byte in self.RECORD])]
        new = [rows[0]["id"] for rows in added]
        self.assertEqual(len(set(new)), 4)
        for number in new:
            record = self.sel("get", str(number))["record"]
            self.assertEqual((record["id"], record["generator"], record["event_data"]),
                             (number, "system management software", "01 ff ff"))
            self.assertEqual(record["raw"].split()[7:], self.RECORD[7:])
            self.assertEqual(self.sel("delete", hex(number)), {"deleted": {"id": number}})
        self.assertEqual(self.sel()["events"], before)
        self.sel("delete", str(new[0]), status=4)

    def test_add_file(self):
        lines = "# two\n%s # one\n\n\t%s\r\n" % (" ".join(self.RECORD), "".join(self.RECORD))
        with tempfile.NamedTemporaryFile("w") as file:
            file.write(lines)
            file.flush()
            self.assertEqual(len(self.sel("add", "--file", file.name)["added"]), 2)
        self.assertEqual(len(self.sel("add", "--file", "-", stdin=lines)["added"]), 2)
        self.assertEqual(len(self.ids()), 16)
        run = self.sel("add", "--file", "-", stdin=lines + "00 01\n", status=2)  # nothing is added
        self.assertIn("-, line 5: a record has 16 bytes, not 2", run.err)
        self.assertEqual(len(self.ids()), 16)
        self.fault("0x0a 0x44 1 0")
        self.sel("add", *self.RECORD, status=4)  # an answer without an ID

    def test_add_stops_at_the_first_refusal(self):
        lines = "\n".join([" ".join(self.RECORD)] * 3)
        self.fault("0x0a 0x44 1 0xc4")
        run = self.sel("add", "--file", "-", stdin=lines, status=4)
        self.assertIn("0xC4", run.err)
        self.assertEqual(len(self.ids()), 12)

    def test_cancelled_reservations(self):
        number = self.sel("add", *self.RECORD)["added"][0]["id"]
        self.fault("0x0a 0x46 4 0xc5")
        self.assertEqual(self.sel("delete", str(number)), {"deleted": {"id": number}})
        number = self.sel("add", *self.RECORD)["added"][0]["id"]
        self.fault("0x0a 0x46 5 0xc5")
        run = self.sel("delete", str(number), status=4)
        self.assertIn("0xC5", run.err)
        self.assertIn(number, self.ids())

    def test_time(self):
        before = self.sel("time")["sel_time"]["time"]["seconds"]
        self.addCleanup(self.sel, "time", "set", before)
        self.assertGreaterEqual(before, START)
        for word, zone, seconds in [
                ("1700001000", "UTC", 1700001000), ("2023-11-14T22:13:20Z", "UTC", START),
                ("2023-11-14T22:13:20+00:00", "UTC", START), ("2023-11-14T23:13:20+01:00", "UTC", START),
                ("2023-11-14T17:43:20-0430", "UTC", START), ("2023-11-14T22:13:20", "UTC", START),
                ("2023-11-14 23:13:20", "Europe/Berlin", START), ("2023-07-14T02:00:00", "Europe/Berlin", 1689292800),
                ("2023-11-14T22:13", "UTC", START - 20), ("2024-02-29T00:00Z", "UTC", 1709164800),
                ("2100-01-01T00:00:00Z", "UTC", 4102444800)]:
            with self.subTest(word=word, zone=zone):
                shown = self.sel("time", "set", word, env={"TZ": zone})["sel_time"]["time"]
                self.assertIn(shown["seconds"] - seconds, (0, 1))
        shown = self.sel("time", "set", "now")["sel_time"]
        self.assertLess(abs(shown["time"]["seconds"] - time.time()), 5)
        self.assertLess(abs(shown["ahead_seconds"]), 3)
        shown = self.sel("time", "set", "500")["sel_time"]
        self.assertEqual((shown["time"]["iso"], shown["time"]["seconds"]), (None, 500))
        run = self.tool("sel", "time", driver="vm:127.0.0.1:%d" % self.bmc.vm_port)
        self.assertRegex(run.out, r"Time of the log: pre-init \+50\d s\nDifference: +\d+ s behind this computer")


class Cleared(ToolCase):
    def setUp(self):
        self.bmc = self.enterContext(toolcase.RefBmc())
        self.driver = "vm:127.0.0.1:%d" % self.bmc.vm_port

    def entries(self):
        return self.tool("-o", "json", "sel", "info", driver=self.driver).json()["sel"]["entries"]

    def test_clear(self):
        self.assertEqual(self.tool("sel", "clear", driver=self.driver, stdin="y\n").status, 2)  # nobody there to ask
        refused = self.tool_on_terminal("sel", "clear", driver=self.driver, typed=b"n\n")
        self.assertEqual(refused.status, 2, refused)
        self.assertIn("Erase 12 events of the system event log? [y/N]", refused.out)
        self.assertEqual(self.entries(), 12)
        self.bmc.cmd("fault 0x0a 0x47 4 0xc5")  # four reservations are cancelled
        run = self.tool_on_terminal("sel", "clear", driver=self.driver, typed=b"y\n")
        self.assertEqual(run.status, 0, run)
        self.assertRegex(run.out, r"Erased records: 12")
        self.assertEqual(self.entries(), 0)
        for words, expected in [(["sel"], {"events": []}), (["sel", "--last", "3"], {"events": []}),
                                (["sel", "clear"], {"cleared": {"entries": 0}})]:
            run = self.tool("-o", "json", *words, driver=self.driver)
            self.assertEqual((run.status, run.json()), (0, expected))


# --- scripted logs

def record(number, kind=0x02, seconds=START, body="20 00 04 01 01 01 57 27 26"):
    head = number.to_bytes(2, "little") + bytes([kind])
    return head + (seconds.to_bytes(4, "little") if kind < 0xE0 else b"") + bytes.fromhex(body)


class Log:
    """A log of records by ID, each with the ID of the next one."""

    def __init__(self, *records, entries=None, support=0x0A, erase_polls=0):
        self.records = {int.from_bytes(raw[:2], "little"): raw for raw in records}
        ids = list(self.records)
        self.next = dict(zip(ids, ids[1:] + [0xFFFF]))
        self.entries = len(ids) if entries is None else entries
        self.support, self.erase_polls, self.erasing, self.reservation = support, erase_polls, None, 0

    def info(self, _):
        if self.erasing:
            return b"\x81"
        return (b"\0\x51" + self.entries.to_bytes(2, "little") + b"\xff\xff" + b"\xff" * 8 + bytes([self.support]))

    def get(self, data):
        number = int.from_bytes(data[2:4], "little")
        if self.records:
            number = {0: next(iter(self.records)), 0xFFFF: next(reversed(self.records))}.get(number, number)
        if number not in self.records:
            return b"\xcb"
        return b"\0" + self.next[number].to_bytes(2, "little") + self.records[number]

    def reserve(self, _):
        if self.erasing:
            self.erasing -= 1
            return b"\x81"
        self.reservation += 1
        return b"\0" + self.reservation.to_bytes(2, "little")

    def clear(self, data):
        """The reservation is lost with the erasure, and polling needs one."""
        if data[5] == 0xAA:
            self.erasing, self.records, self.reservation = self.erase_polls, {}, 9
            return bytes([0, 0 if self.erasing else 1])
        if data[:2] != self.reservation.to_bytes(2, "little"):
            return b"\xc5"
        return b"\0\1"

    def bmc(self, **changes):
        return FakeBmc({(0x0A, 0x40): self.info, (0x0A, 0x42): self.reserve, (0x0A, 0x43): self.get,
                        (0x0A, 0x47): self.clear, (0x0A, 0x46): lambda data: b"\0" + data[2:4]})


class Scripted(ToolCase):
    def sel(self, log, *words, status=5):
        with log.bmc() as bmc:
            run = self.tool("-o", "json", "sel", *words, driver=bmc.driver)
            self.assertEqual(run.status, status, run)
            return run.json(), bmc

    def test_ways_through_the_log(self):
        ring = Log(*[record(number) for number in (1, 2, 3)])
        ring.next[3] = 2
        itself = Log(record(7))
        itself.next[7] = 7
        gone = Log(*[record(number) for number in (1, 2, 9, 10)])
        gone.next[2] = 5  # which does not exist; 9 comes four IDs later
        far = Log(*[record(number) for number in (1, 2, 900)])
        far.next[2] = 5
        short = Log(record(1), record(2)[:9], record(3))
        cases = [("ring", ring, [1, 2, 3], "leads back to this record"), ("itself", itself, [7], "leads back"),
                 ("gap", gone, [1, 2, 5, 9, 10], "0xCB"), ("too far", far, [1, 2, 5], "0xCB"),
                 ("short", short, [1, 2, 3], "the BMC sent 9 of the record's 16 bytes")]
        for name, log, ids, message in cases:
            with self.subTest(name):
                shown, bmc = self.sel(log)
                self.assertEqual([event["id"] for event in shown["events"]], ids)
                self.assertIn(message, shown["problems"][0]["message"])
                self.assertLess(bmc.count(0x0A, 0x43), 20)

    def test_last_of_a_log_with_gaps(self):
        for numbers in ([1, 2, 40, 41, 65530, 3, 4], [3, 9, 5, 7, 8]):  # the IDs began anew; some went
            for count in range(1, 9):
                shown, _ = self.sel(Log(*[record(number) for number in numbers]), "--last", str(count))
                self.assertEqual([event["id"] for event in shown["events"]], numbers[-count:])

    def test_last_reads_no_more_than_it_must(self):
        log = Log(*[record(number) for number in range(1, 301)])
        shown, bmc = self.sel(log, "--last", "5")
        self.assertEqual(([event["id"] for event in shown["events"]], bmc.count(0x0A, 0x43)),
                         (list(range(296, 301)), 6))
        shown, bmc = self.sel(log)
        self.assertEqual((len(shown["events"]), bmc.count(0x0A, 0x43)), (300, 300))

    def test_records_of_all_kinds(self):
        log = Log(record(1, seconds=0xFFFFFFFF), record(2, seconds=0x20000000), record(3, seconds=0x20000001),
                  record(4, body="81 33 04 2d 05 0c 00 ff ff"), record(5, kind=0xDF),
                  record(6, kind=0xE0, body="aa" * 13),
                  record(7, kind=0x01), record(0xFFFE, body="2c 03 03 01 09 90 ff 00 00"))
        shown, _ = self.sel(log)
        events = shown["events"]
        self.assertEqual([event["time"] and (event["time"]["iso"], event["time"]["seconds"]) for event in events[:3]],
                         [(None, 0xFFFFFFFF), (None, 0x20000000), ("1987-01-05T18:48:33+00:00", 0x20000001)])
        self.assertEqual((events[3]["sensor_number"], events[3]["direction"]), (5, "asserted"))
        self.assertEqual(events[4]["type"], "OEM 0xDF with a time")
        self.assertEqual((events[5]["type"], events[5]["time"], events[5]["detail"]),
                         ("OEM 0xE0", None, " ".join(["aa"] * 13)))
        self.assertEqual((events[6]["type"], events[6]["time"], events[6]["event"]),
                         ("unknown type 0x01", None, "data"))
        self.assertEqual((events[7]["id"], events[7]["generator"], events[7]["direction"]),
                         (0xFFFE, "controller 0x2C", "deasserted"))
        with log.bmc() as bmc:
            out = self.tool("sel", driver=bmc.driver).out
        self.assertRegex(out, "0x0001  unspecified ")
        self.assertRegex(out, r"0x0002  pre-init \+536870912 s ")

    def test_info_of_a_large_log(self):
        shown, bmc = self.sel(Log(record(1), entries=0x1234, support=0x80), "info", status=0)
        self.assertEqual((shown["sel"]["entries"], shown["sel"]["overflow"], shown["sel"]["supported_operations"]),
                         (0x1234, True, []))
        self.assertEqual(bmc.count(0x0A, 0x41), 0)

    def test_reservations_only_where_supported(self):
        for support, reservations in [(0x0A, 1), (0x08, 0)]:
            for words in (["delete", "1"], ["clear", "--yes"]):
                _, bmc = self.sel(Log(record(1), support=support), *words, status=0)
                self.assertEqual(bmc.count(0x0A, 0x42), reservations)
                requests = [data for _, cmd, data in bmc.requests if cmd in (0x46, 0x47)]
                self.assertEqual(requests[0][:2], bytes([reservations, 0]))

    def test_waiting_for_an_erasure(self):
        for polls in (1, 4):
            shown, bmc = self.sel(Log(record(1), erase_polls=polls), "clear", "--yes", status=0)
            self.assertEqual(shown, {"cleared": {"entries": 1}})
            self.assertEqual(bmc.requests[2], (0x0A, 0x47, b"\1\0CLR\xaa"))
            self.assertEqual(bmc.requests[-1][2][2:], b"CLR\0")
            self.assertEqual(bmc.count(0x0A, 0x42), 1 + polls + 1)


if __name__ == "__main__":
    unittest.main()
