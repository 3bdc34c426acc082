#!/usr/bin/env python3
"""The cache of sensor data records: it saves requests, and never changes what is shown."""
import os
import pathlib
import resource
import shutil
import stat
import subprocess
import tempfile
import threading
import unittest
import zlib

from sdrbmc import GET_SDR, RESERVE, SdrBmc, compact, event_only, full
from toolcase import TOOL, RefBmc, ToolCase

OK, USAGE, PARTIAL = 0, 2, 5
INFO, GUID, DEVICE = (0x0A, 0x20), (0x06, 0x37), (0x06, 0x01)
GUID_BYTES = bytes(range(0xF0, 0x100))
FILE = "47" + GUID_BYTES.hex() + ".sdr"
MOMENT, UNSPECIFIED, BEFORE_CLOCK = 1700000000, 0xFFFFFFFF, 7
NOBODY = 65534

LOCATOR = bytes([0, 0, 0x51, 0x11, 0x0F, 0x20, 0x01, 0x80, 0, 0, 0x10, 0, 7, 1, 0, 0xC4]) + b"Disk"
RECORDS = [full(1, "One"), compact(2, "A name of 29 characters, full"), event_only(4, "E"), LOCATOR,
           full(5, "x" * 17)]  # a name that is too long: a problem, warm as well as cold
SEL = {(0x0A, 0x40): bytes([0, 0x51, 1, 0, 0, 1]) + bytes(8) + b"\0",
       (0x0A, 0x43): bytes([0, 0xFF, 0xFF]) + bytes.fromhex("0100 02 00f15365 2000 04 01 01 01 572726")}
READING = {(0x04, 0x2D): bytes([0, 23, 0xC0])}
COMMANDS = (["sdr"], ["sensors"], ["sensors", "One"], ["sel"], ["sel", "get", "first"], ["fru"])


class CachedBmc(SdrBmc):
    """`info`: what Get SDR Repository Info tells; `guid`, `device`: answers to Get System GUID and Get Device ID."""

    def __init__(self, records=RECORDS, guid=b"\0" + GUID_BYTES, device=bytes.fromhex("00 11 01 02 15 02 bf 40420f 3412"),
                 handlers={}, **ways):
        super().__init__(records, {INFO: self._info, GUID: lambda _: self.guid, DEVICE: lambda _: self.device, **READING,
                                   **SEL, **handlers}, **ways)
        self.info = {"version": 0x51, "free": 0xFFFE, "add": MOMENT, "erase": UNSPECIFIED}
        self.guid, self.device = guid, device

    def _info(self, _):
        return (bytes([0, self.info["version"]]) + len(self.records).to_bytes(2, "little") +
                self.info["free"].to_bytes(2, "little") + self.info["add"].to_bytes(4, "little") +
                self.info["erase"].to_bytes(4, "little") + b"\x02")

    def replace(self, record):
        """Another first record, of which Get SDR Repository Info tells nothing."""
        self.records[0] = b"\1\0" + record[2:]


def with_checksum(content):
    return content + zlib.crc32(content).to_bytes(4, "little")


class CacheCase(ToolCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="cache-")
        self.addCleanup(folder.cleanup)
        self.base = pathlib.Path(folder.name)
        self.folder = self.base / "lumipmi"
        self.file = self.folder / FILE

    def run_tool(self, bmc, *words, env=None, **options):
        """How it ended, and how many requests of each kind it took."""
        bmc.requests.clear()
        run = self.tool("-o", "json", *words, driver=bmc.driver, env=env or {"XDG_CACHE_HOME": str(self.base)}, **options)
        return run, bmc.count(*GET_SDR), len(bmc.requests)

    def check_cold(self, bmc, names=None, **options):
        run, reads, _ = self.run_tool(bmc, "sdr", **options)
        self.assertGreaterEqual(reads, len(bmc.records))
        self.check_records(run, bmc)
        return run

    def check_warm(self, bmc, **options):
        run, reads, _ = self.run_tool(bmc, "sdr", **options)
        self.assertEqual(reads, 0)
        self.check_records(run, bmc)

    def check_records(self, run, bmc):
        self.assertEqual([row["raw"] for row in run.json()["records"]], [record.hex(" ") for record in bmc.records])
        self.assertEqual([row["record_id"] for row in run.json()["records"]], list(range(1, len(bmc.records) + 1)))

    def files(self):
        return sorted(path.name for path in self.folder.iterdir()) if self.folder.exists() else []


class Use(CacheCase):
    def test_the_same_with_fewer_requests(self):
        with CachedBmc(most=32) as bmc:
            for words in COMMANDS:
                without, reads, requests = self.run_tool(bmc, *words, "--no-cache")
                with self.subTest(words):
                    first, _, first_requests = self.run_tool(bmc, *words)
                    self.check_warm(bmc) if self.files() else self.check_cold(bmc)
                    second, second_reads, second_requests = self.run_tool(bmc, *words)
                    self.assertEqual((first, second), (without, without))
                    self.assertEqual(second_reads, 0)
                    if words != ["fru"]:  # which learns from the walk how much an answer holds
                        self.assertLess(second_requests, requests - reads + 2)
                        self.assertLessEqual(first_requests, requests + 2)
        self.assertEqual(self.files(), [FILE])
        self.assertEqual([stat.S_IMODE(path.stat().st_mode) for path in (self.folder, self.file)], [0o700, 0o600])

    def test_request_counts_of_the_reference_bmc(self):
        # options, command, requests at most: without a cache, cold, warm. 60 events, 54 records
        table = [("", "sensors", 151, 154, 58), ("", "sel", 157, 160, 64), ("", "fru", 80, 80, 29),
                 ("long", "sensors", 109, 112, 58), ("long", "sel", 115, 118, 64), ("long", "fru", 63, 63, 12)]
        for options in ("", "long"):
            with RefBmc(options=options) as bmc:
                with bmc.client() as client:
                    for _ in range(48):
                        client.request(0x0A, 0x44, bytes.fromhex("0100 02 00f15365 2000 04 01 01 01 572726"))
                for _, command, *most in filter(lambda row: row[0] == options, table):
                    for words, limit in zip((["--no-cache"], [], []), most):
                        if limit == most[1] and words != ["--no-cache"] and command != "fru":
                            shutil.rmtree(self.folder, ignore_errors=True)
                        if command == "fru" and limit == most[1]:
                            shutil.rmtree(self.folder, ignore_errors=True)
                        if command == "fru" and limit == most[2]:
                            self.tool("sdr", driver="vm:127.0.0.1:%d" % bmc.vm_port, env={"XDG_CACHE_HOME": str(self.base)})
                        run = self.tool(command, "-v", *words, driver="vm:127.0.0.1:%d" % bmc.vm_port,
                                        env={"XDG_CACHE_HOME": str(self.base)})
                        with self.subTest(options=options, command=command, limit=limit):
                            self.assertLessEqual(run.err.count("> NetFn"), limit)
