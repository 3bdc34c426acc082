#!/usr/bin/env python3
"""What events say (IPMI v2.0 rev 1.1, tables 29-6, 42-2 and 42-3), shown by way of the event log."""
import unittest

from sdrbmc import SdrBmc, full
from toolcase import ToolCase

GENERATOR = 0x20
SENSOR = 0x30  # two's complement, tenths of a degree

# sensor type, event type, deasserted, event data, event, detail, severity
EVENTS = [
    # thresholds
    (0x01, 0x01, 0, "59 2b 2a", "upper critical going high",
     "reading 4.3 degrees C; threshold 4.2 degrees C", "critical"),
    (0x01, 0x01, 1, "57 26 26", "upper non-critical going high",
     "reading 3.8 degrees C; threshold 3.8 degrees C", "ok"),
    (0x01, 0x01, 0, "50 f6 00", "lower non-critical going low",
     "reading -1 degrees C; threshold 0 degrees C", "warning"),
    (0x01, 0x01, 0, "02 ff ff", "lower critical going low", None, "critical"),
    (0x01, 0x01, 0, "ab 12 34", "upper non-recoverable going high", "OEM data 0x12; OEM data 0x34", "critical"),
    (0x01, 0x01, 0, "f4 12 34", "lower non-recoverable going low", "event data 2 0x12; event data 3 0x34", "critical"),
    (0x01, 0x01, 0, "0c ff ff", "state 12", None, None),
    # generic states
    (0x07, 0x02, 0, "01 ff ff", "active", None, "ok"),
    (0x01, 0x03, 0, "01 ff ff", "state asserted", None, "ok"),
    (0x0D, 0x04, 0, "01 ff ff", "predictive failure asserted", None, "warning"),
    (0x0D, 0x04, 1, "01 ff ff", "predictive failure asserted", None, "ok"),
    (0x02, 0x05, 0, "01 ff ff", "limit exceeded", None, "warning"),
    (0x02, 0x06, 0, "01 ff ff", "performance lags", None, "warning"),
    (0x28, 0x07, 0, "43 12 ff", "transition to non-recoverable from less severe",
     "severity transition to non-critical from OK; previous state transition to critical from less severe", "critical"),
    (0x28, 0x07, 0, "46 f1 ff", "transition to non-recoverable", "previous state transition to non-critical from OK",
     "critical"),
    (0x28, 0x07, 0, "48 ff ff", "informational", None, "ok"),
    (0x15, 0x08, 0, "00 ff ff", "device absent", None, "ok"),
    (0x15, 0x09, 0, "01 ff ff", "device enabled", None, "ok"),
    (0x04, 0x0A, 0, "06 ff ff", "degraded", None, "warning"),
    (0x04, 0x0A, 0, "08 ff ff", "install error", None, "critical"),
    (0x04, 0x0B, 0, "01 ff ff", "redundancy lost", None, "warning"),
    (0x04, 0x0B, 0, "05 ff ff", "non-redundant: insufficient resources", None, "critical"),
    (0x07, 0x0C, 0, "03 ff ff", "D3 power state", None, "ok"),
    (0x01, 0x0D, 0, "03 ff ff", "state 3", None, None),
    # sensor-specific states
    (0x05, 0x6F, 0, "00 ff ff", "general chassis intrusion", None, "critical"),
    (0x05, 0x6F, 0, "c4 02 ff", "LAN leash lost", "network controller 2", "warning"),
    (0x06, 0x6F, 0, "05 ff ff", "out-of-band access password violation", None, "warning"),
    (0x07, 0x6F, 0, "01 ff ff", "thermal trip", None, "critical"),
    (0x07, 0x6F, 0, "0c ff ff", "correctable machine check error", None, "warning"),
    (0x08, 0x6F, 0, "33 ff 01", "power supply input lost", "event data 3 0x01", "critical"),
    (0x08, 0x6F, 0, "36 ff 03", "configuration error", "error power supply rating mismatch", "critical"),
    (0x08, 0x6F, 0, "36 ff 0f", "configuration error", "error 0x0F", "critical"),
    (0x09, 0x6F, 0, "05 ff ff", "soft power control failure", None, "critical"),
    (0x0C, 0x6F, 0, "30 ff 07", "correctable memory error", "memory module 7", "warning"),
    (0x0C, 0x6F, 0, "0a ff ff", "critical overtemperature", None, "critical"),
    (0x0D, 0x6F, 0, "08 ff ff", "rebuild aborted", None, "critical"),
    (0x0F, 0x6F, 0, "c0 0b ff", "system firmware error", "error firmware ROM corruption detected", "critical"),
    (0x0F, 0x6F, 0, "c1 09 ff", "system firmware hang", "at video initialization", "critical"),
    (0x0F, 0x6F, 0, "c2 13 ff", "system firmware progress", "at starting operating system boot process", "ok"),
    (0x0F, 0x6F, 0, "c2 15 ff", "system firmware progress", "at 0x15", "ok"),
    (0x0F, 0x6F, 0, "c2 19 ff", "system firmware progress", "at primary processor initialization", "ok"),
    (0x10, 0x6F, 0, "f1 6f 12", "event type logging disabled", "event type 0x6F; offset 2", "warning"),
    (0x10, 0x6F, 0, "02 ff ff", "log area reset/cleared", None, "ok"),
    (0x10, 0x6F, 0, "35 ff 4b", "SEL almost full", "percent full 75", "warning"),
    (0x11, 0x6F, 0, "06 ff ff", "OS watchdog expired, status only", None, "warning"),
    (0x12, 0x6F, 0, "c3 50 ff", "entry added to auxiliary log", "action log enabled; log MCA log", "ok"),
    (0x12, 0x6F, 0, "c4 24 ff", "PEF action", "action reset, diagnostic interrupt", "ok"),
    (0x12, 0x6F, 0, "c5 81 ff", "timestamp clock synch", "event second of pair; clock SDR clock", "ok"),
    (0x13, 0x6F, 0, "05 ff ff", "PCI SERR", None, "critical"),
    (0x13, 0x6F, 0, "a8 00 f0", "bus uncorrectable error", "OEM data 0x00; OEM data 0xF0", "critical"),
    (0x14, 0x6F, 0, "04 ff ff", "FRU service request button pressed", None, "ok"),
    (0x19, 0x6F, 0, "f0 05 0d", "soft power control failure",
     "requested power state S5/G2; power state unknown", "critical"),
    (0x1B, 0x6F, 0, "01 ff ff", "configuration error: incorrect cable connected", None, "critical"),
    (0x1D, 0x6F, 0, "f7 04 0e", "system restart", "cause watchdog expiration; channel 14", "ok"),
    (0x1E, 0x6F, 0, "00 ff ff", "no bootable media", None, "critical"),
    (0x1F, 0x6F, 0, "01 ff ff", "C: boot completed", None, "ok"),
    (0x20, 0x6F, 0, "01 ff ff", "run-time critical stop", None, "critical"),
    (0x21, 0x6F, 0, "f0 09 03", "fault status asserted", "slot type PCI Express; slot 3", "critical"),
    (0x22, 0x6F, 0, "0e ff ff", "unknown", None, "warning"),
    (0x22, 0x6F, 0, "0d ff ff", "state 13", None, None),
    (0x23, 0x6F, 0, "c1 14 ff", "hard reset", "timer use SMS/OS; interrupt SMI", "critical"),
    (0x23, 0x6F, 0, "c8 f2 ff", "timer interrupt", "timer use BIOS/POST; interrupt unspecified", "warning"),
    (0x25, 0x6F, 0, "01 ff ff", "entity absent", None, "ok"),
    (0x27, 0x6F, 0, "00 ff ff", "LAN heartbeat lost", None, "warning"),
    (0x28, 0x6F, 0, "c4 31 ff", "sensor failure", "sensor 0x31", "warning"),
    (0x28, 0x6F, 0, "f5 80 02", "FRU failure", "event data 2 0x80; FRU 2", "warning"),
    (0x29, 0x6F, 0, "01 ff ff", "battery failed", None, "critical"),
    (0x2A, 0x6F, 0, "f1 02 21", "session deactivated", "user 2; channel 1; cause timeout", "ok"),
    (0x2A, 0x6F, 0, "c2 00 ff", "invalid user name or password", None, "warning"),
    (0x2B, 0x6F, 0, "c1 09 ff", "firmware or software change detected", "change system firmware", "ok"),
    (0x2C, 0x6F, 0, "c4 14 ff", "FRU active",
     "cause commanded by software external to the FRU; previous state FRU active", "ok"),
    # the maker's own, and nobody's
    (0xC1, 0x6F, 0, "a3 11 22", "OEM state 3", "OEM data 0x11; OEM data 0x22", None),
    (0x01, 0x70, 0, "05 ff ff", "OEM state 5", None, None),
    (0x2D, 0x6F, 0, "01 ff ff", "state 1", None, None),
    (0x0A, 0x6F, 0, "00 ff ff", "state 0", None, None),
]


class Events(ToolCase):
    def sel(self, events, sensor_number):
        records = []
        for number, (sensor_type, event_type, deasserted, data, *_) in enumerate(events, 1):
            records.append(bytes([number & 0xFF, number >> 8, 0x02, 0, 0, 0x53, 0x65, GENERATOR, 0, 0x04, sensor_type,
                                  sensor_number, deasserted << 7 | event_type]) + bytes.fromhex(data))

        def get_entry(data):
            number = max(data[2] | data[3] << 8, 1)
            follower = number + 1 if number < len(records) else 0xFFFF
            return bytes([0, follower & 0xFF, follower >> 8]) + records[number - 1]

        info = bytes([0, 0x51, len(records), 0, 0xFF, 0xFF]) + bytes(8) + b"\x02"
        temperature = full(SENSOR, "Temp", {20: 0x80, 29: 0xF0})  # K2 is -1
        with SdrBmc([temperature], {(0x0A, 0x40): info, (0x0A, 0x43): get_entry}) as bmc:
            run = self.tool("sel", "list", "-o", "json", driver=bmc.driver)
        self.assertEqual((run.status, run.err), (0, ""))
        return run.json()["events"]

    def test_texts(self):
        for row, (*event, what, detail, severity) in zip(self.sel(EVENTS, SENSOR), EVENTS, strict=True):
            with self.subTest(event):
                self.assertEqual((row["event"], row["detail"], row["severity"]), (what, detail, severity))

    def test_without_the_sensor_readings_are_raw(self):
        row, = self.sel(EVENTS[:1], SENSOR + 1)
        self.assertEqual((row["event"], row["detail"]), (EVENTS[0][4], "reading raw 0x2B; threshold raw 0x2A"))


if __name__ == "__main__":
    unittest.main()
