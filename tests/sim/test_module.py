#!/usr/bin/env python3
"""The reference BMC and its ipmi_sim module, over the system interface and LAN."""
import pathlib
import re
import subprocess
import sys
import time
import unittest

SUPPORT = pathlib.Path(__file__).resolve().parents[1] / "support"
sys.path.insert(0, str(SUPPORT))
import answers  # noqa: E402
from refbmc import BUILT_MODULE, SIM, RefBmc, ask  # noqa: E402
import kest_fru  # noqa: E402

GUID = "5e f0 a1 b2 c3 d4 4e 5f 80 91 a2 b3 c4 d5 e6 f7"
DEVICE_ID = "00 11 01 02 15 02 bf 40 42 0f 34 12 00 00 00 00"
SAME = object()

# request, ipmi_sim's own answer, the answer with the module
ANSWERS = [
    ("06 01", DEVICE_ID, SAME),
    ("04 2d 1a", "00 40 c0 00 00", SAME),
    ("06 09", "c1", SAME),
    ("06 02", "c1", "00"),
    ("06 02 00", "c1", "c7"),
    ("06 03", "c1", "00"),
    ("06 03 00", "c1", "c7"),
    ("06 01", DEVICE_ID, SAME),  # the resets end nothing
    ("06 04", "c1", "00 55 00"),
    ("06 04 00", "c1", "c7"),
    ("06 05", "c1", "00"),
    ("06 05 01", "c1", "c7"),
    ("06 06 80", "c1", "c7"),
    ("06 06 80 80 80", "c1", "c7"),
    ("06 07", "c1", "00 00 00"),
    ("06 07 00", "c1", "c7"),
    ("06 08", "c1", "00 " + GUID),
    ("06 08 00", "c1", "c7"),
    ("06 37", "c1", "00 " + GUID),
    # sensor 26: range 40h to 7Fh, then C0h to FFh; each at its lower end, its exact byte, its upper end
    ("04 23 1a 40", "c1", "00 60 05 02 00 e4 10 e0"),
    ("04 23 1a 60", "c1", "00 a0 05 02 00 e4 10 e0"),
    ("04 23 1a 7f", "c1", "00 60 05 02 00 e4 10 e0"),
    ("04 23 1a c0", "c1", "00 e0 f4 61 b4 cb 14 d3"),
    ("04 23 1a e0", "c1", "00 20 f4 61 b4 cb 14 d3"),
    ("04 23 1a ff", "c1", "00 e0 f4 61 b4 cb 14 d3"),
    ("04 23 1a", "c1", "c7"),
    ("04 23 1a 40 00", "c1", "c7"),
    ("04 23 01 40", "c1", "cd"),    # linear
    ("04 23 40 40", "c1", "cd"),    # discrete
    ("04 23 60 40", "c1", "cd"),    # event-only
    ("04.1 23 01 40", "c1", "cd"),  # on LUN 1
    ("04.1 23 1a 40", "c1", "cb"),  # absent on LUN 1
    ("04 23 99 40", "c1", "cb"),
]

# Set ACPI Power State data, its answer, the state afterwards; in this order
ACPI_STEPS = [
    ("85 01", "00", "05 00"),  # the device state is not to be set
    ("05 83", "00", "05 03"),  # the system state is not to be set
    ("00 00", "00", "05 03"),
    ("ff ff", "00", "05 03"),  # no change
    ("8b 80", "cc", "05 03"),  # a bad system state: both stay
    ("80 84", "cc", "05 03"),  # a bad device state: both stay
    ("a2 80", "cc", "05 03"),
    ("80 a0", "cc", "05 03"),  # legacy on is no device state
    ("0b 04", "00", "05 03"),  # bad, but not to be set
    ("8a 82", "00", "0a 02"),
    ("a0 aa", "00", "20 2a"),
    ("a1 00", "00", "21 2a"),
    ("aa 81", "00", "2a 01"),
    ("80 80", "00", "00 00"),
]

# raw reading of sensor 26: amperes
IMON_AMPERES = {0: 0.0, 63: 0.63, 64: 0.64, 100: 2.44, 127: 3.79, 128: 3.80, 191: 19.55, 192: 20.0, 255: 51.5}

# emulator commands, then requests and answers, then what "fault list" says
FAULTS = [
    (["0x06 0x04 2 0xc0"],
     [("06 04", "c0"), ("06 01", DEVICE_ID), ("06 04", "c0"), ("06 04", "00 55 00")], ""),
    (["6 4 1 0"], [("06 04", "00"), ("06 04", "00 55 00")], ""),
    (["6 4 1 drop"], [("06 04", None), ("06 04", "00 55 00")], ""),
    (["6 1 1 short 10", "6 1 1 short 0", "6 1 1 short 250"],
     [("06 01", DEVICE_ID[:32]), ("06 01", "00"), ("06 01", DEVICE_ID), ("06 01", DEVICE_ID)], ""),
    (["0xff 0x2d 1 0xcb"], [("06 04", "00 55 00"), ("04 2d 1a", "cb"), ("04 2d 1a", "00 40 c0 00 00")], ""),
    (["4 0xff 1 0xd5"], [("06 2d", "c1"), ("04 2f 01", "d5"), ("04 2f 01", "00 01 01")], ""),
    (["0xff 0xff 2 0xff"], [("06 01", "ff"), ("30 21", "ff"), ("06 04", "00 55 00")], ""),
    # the first that matches acts, whatever comes behind it
    (["6 4 1 0xc3", "0xff 0xff 1 drop", "6 4 1 0xc0"],
     [("06 04", "c3"), ("06 04", None), ("06 04", "c0"), ("06 04", "00 55 00")], ""),
    # a failed command changes nothing, a shortened one does its work
    (["6 6 1 0xd5"], [("06 06 83 81", "d5"), ("06 07", "00 00 00")], ""),
    (["6 6 1 short 0", "6 7 3 short 1"],
     [("06 06 83 81", "00"), ("06 07", "00 03"), ("06 06 80 80", "00")], "06 07: 2 more, short 01"),
    (["6 4 1000000 0xc0", "6 4 1 drop"], [("06 04", "c0")],
     "06 04: 999999 more, completion code c0\n06 04: 1 more, drop"),
    (["6 4 5 drop", "off"], [("06 04", "00 55 00")], ""),
]

BAD_FAULTS = ["", "on", "6", "6 4", "6 4 1", "6 4 0 drop", "6 4 1000001 drop", "6 4 -1 drop", "6 4 1 0x100",
              "256 4 1 drop", "6 256 1 drop", "6 4 1 short", "6 4 1 short 251", "6 4 1 drop 1", "6 4x 1 drop"]


def signed(value, bits):
    return value - (1 << bits) if value >> (bits - 1) else value


def amperes(raw, factors):
    """The reading conversion of IPMI v2.0 rev 1.1, 36.3, from the bytes after the completion code."""
    m = signed(factors[1] | (factors[2] & 0xC0) << 2, 10)
    b = signed(factors[3] | (factors[4] & 0xC0) << 2, 10)
    return (m * raw + b * 10.0 ** signed(factors[6] & 0x0F, 4)) * 10.0 ** signed(factors[6] >> 4, 4)


def ipmitool(bmc, words):
    done = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p", str(bmc.lan_port), "-U",
                           "admin", "-P", "admin-pw", *words.split()], capture_output=True, text=True, timeout=30)
    return done.stdout + done.stderr


class Table(unittest.TestCase):
    def check(self, client, request, expected):
        with self.subTest(request=request):
            self.assertEqual(ask(client, request), expected)


class Commands(Table):
    def setUp(self):
        self.client = self.enterContext(self.enterContext(RefBmc()).client())

    def check_all(self, rows):
        for request, answer in rows:
            self.check(self.client, request, answer)

    def test_answers(self):
        self.check_all(answers.MODULE_ANSWERS)

    def test_values_are_kept_until_a_reset(self):
        families = [answers.KEPT, answers.BOOT, answers.SYSTEM_INFO, answers.SERIAL, answers.SOL, answers.LAN]
        for get, first, put, then in sum(families, []):
            self.check_all([(get, "00 " + first), (put, "00"), (get, "00 " + then)])
        for option, restored in (("dd", families[1:-1]), ("aa", families[-1:])):
            untouched = [family for family in families if family not in restored and family is not answers.KEPT]
            before = [(row[0], ask(self.client, row[0])) for row in sum(untouched, [])]
            self.check(self.client, "30 21 " + option, "00 01")
            self.check_all(before + [(get, "00 " + first) for get, first, _, _ in sum(restored, [])])
        self.check_all([(get, "00 " + then) for get, _, _, then in answers.KEPT])

    def test_time(self):
        self.check_all([("04 16 01 41 00", "00 00"), ("04 16 01 01 00", "00"), ("04 16 01 41 00", "00 ff"),
                        ("04 16 01 01 00", "81"), ("04 16 01 c1 00", "cc"), ("04 16 01 0f 00", "cc"),
                        ("04 16 00 01 00", "cc"), ("04 16 01 01 00 00", "c7"),
                        ("00 04 01", "00"), ("00 01", "00 21 00 50 f0"),
                        ("06 25", "00 04 00 00 00 58 02 58 02"), ("06 24 04 00 00 00 0a 00", "00"),
                        ("06 24 04 00 00 00 0a", "c7"), ("06 22", "00")])
        running = bytes.fromhex(ask(self.client, "06 25"))
        self.assertTrue(running[1] == 0x44 and 0 < running[7] <= 10, running.hex(" "))
        time.sleep(1.1)
        self.check_all([("06 25", "00 04 00 00 10 0a 00 00 00"), ("00 01", "00 21 00 40 f0"),
                        ("04 16 01 41 00", "00 01"), ("04 16 01 81 00", "00"), ("04 16 01 41 00", "00 00"),
                        ("06 24 04 00 00 10 14 00", "00"), ("06 25", "00 04 00 00 00 14 00 14 00")])

    def test_any_length(self):
        for netfn, commands in answers.SWEPT.items():
            for cmd in commands:
                for fill in (b"\0", b"\xff", bytes(range(1, 64)), b"\x01\0\xff"):
                    for length in range(40):
                        with self.subTest(netfn=netfn, cmd=cmd, fill=fill, length=length):
                            self.assertIsNotNone(self.client.request(netfn, cmd, (fill * 40)[:length]))

    def test_without_sol(self):
        with RefBmc("-S") as bmc, bmc.client() as client:
            for request, answer in [("06 4e 01", "00 01 00 3f 00 00 00 00 00"), ("06 4f 01 01", "80"),
                                    ("06 48 01 01 00 00 00 00", "cc"), ("0c 22 01 02 00 00", "c1"),
                                    ("0c 22 01 01 00 00", "c1"), ("34 04 00 02 00 00", "c1")]:
                self.check(client, request, answer)


class OwnAnswers(Table):
    def test_without_module(self):
        with RefBmc(module=None) as bmc:
            with bmc.client() as client:
                for request, own, _ in ANSWERS:
                    self.check(client, request, own)
            with self.assertRaisesRegex(RuntimeError, "Unknown command: fault"):
                bmc.cmd("fault off")


class WithModule(Table):
    @classmethod
    def setUpClass(cls):
        cls.bmc = RefBmc().start()
        cls.addClassCleanup(cls.bmc.stop)

    def test_answers(self):
        with self.bmc.client() as client:
            for request, own, answer in ANSWERS:
                self.check(client, request, own if answer is SAME else answer)

    def test_one_guid_everywhere(self):
        for name, line in (("bmc.emu", r"mc_set_guid 0x20 (\w+)"), ("lan.conf.in", r"\bguid (\w+)")):
            found = re.search(line, (SIM / name).read_text())
            self.assertEqual(found and found.group(1), GUID.replace(" ", ""), name)

    def test_acpi_power_state(self):
        with self.bmc.client() as client:
            for data, answer, state in ACPI_STEPS:
                self.check(client, "06 06 " + data, answer)
                self.check(client, "06 07", "00 " + state)
        self.assertEqual(self.bmc.request("06 07"), "00 00 00")  # kept over connections

    def test_reading_factors(self):
        with self.bmc.client() as client:
            def factors(raw):
                answer = bytes.fromhex(ask(client, "04 23 1a %02x" % raw))
                self.assertEqual((answer[0], len(answer)), (0, 8))
                return answer[1:]

            for raw, expected in IMON_AMPERES.items():
                with self.subTest(raw=raw):
                    self.assertAlmostEqual(amperes(raw, factors(raw)), expected)
            curve = [amperes(raw, factors(raw)) for raw in range(256)]
            self.assertEqual(curve, sorted(set(curve)))
            for start in (0x00, 0x20, 0x40, 0xFF):  # the walk reaches the whole table from anywhere
                seen = [factors(start)[0]]
                while len(seen) < 5:
                    seen.append(factors(seen[-1])[0])
                self.assertEqual((sorted(seen[:4]), seen[4]), ([0x20, 0x60, 0xA0, 0xE0], seen[0]))

    def test_faults(self):
        for commands, steps, left in FAULTS:
            with self.subTest(commands=commands), self.bmc.client(timeout=0.3) as client:
                for command in commands:
                    self.bmc.cmd("fault " + command)
                self.assertEqual([ask(client, request) for request, _ in steps], [answer for _, answer in steps])
                self.assertEqual(self.bmc.cmd("fault list"), left)
            self.bmc.cmd("fault off")

    def test_bad_faults_change_nothing(self):
        for command in BAD_FAULTS:
            with self.subTest(command=command), self.assertRaisesRegex(RuntimeError, r"\*\*fault: "):
                self.bmc.cmd("fault " + command)
        self.assertEqual(self.bmc.cmd("fault list"), "")
        for _ in range(16):
            self.bmc.cmd("fault 6 4 1 drop")
        with self.assertRaisesRegex(RuntimeError, "too many faults"):
            self.bmc.cmd("fault 6 4 1 drop")
        self.bmc.cmd("fault off")

    def test_lan(self):
        self.bmc.cmd("fault 6 4 1 0xc3")
        self.assertIn("rsp=0xc3", ipmitool(self.bmc, "raw 6 4"))
        self.assertEqual(ipmitool(self.bmc, "mc selftest"), "Selftest: passed\n")
        self.assertIn("Firmware Revision         : 2.15\n", ipmitool(self.bmc, "mc info"))
        self.assertEqual(ipmitool(self.bmc, "raw 6 0x37").split(), GUID.split())

    def test_ipmitool(self):
        for words, said in answers.IPMITOOL:
            with self.subTest(words=words):
                self.assertIn(said, ipmitool(self.bmc, words))

    def test_lan_key(self):
        self.assertEqual(self.bmc.request("06 56 01 01 01" + answers.KEY), "00 02")
        self.assertEqual(ipmitool(self.bmc, "-y %s raw 6 0x37" % answers.KEY.replace(" ", "")).split(), GUID.split())
        self.assertEqual(self.bmc.request("06 56 01 01 01" + answers.NO_KEY), "00 02")
        self.assertEqual(ipmitool(self.bmc, "raw 6 0x37").split(), GUID.split())

    def test_fru_of_the_maker(self):
        self.assertIn(kest_fru.command(), (SIM / "bmc.emu").read_text())
        image = kest_fru.image()
        for at in range(0, len(image), 16):
            piece = image[at:at + 16]
            self.assertEqual(self.bmc.request("0a 11 04 %02x %02x %02x" % (at & 0xFF, at >> 8, len(piece))),
                             "00 %02x %s" % (len(piece), piece.hex(" ")))

    def test_usual_limit(self):
        self.assertEqual(len(self.bmc.request("0a 11 00 00 00 22").split()), 36)
        self.assertEqual(self.bmc.request("0a 11 00 00 00 23"), "c8")
        self.assertEqual(self.bmc.request("0a 23 00 00 03 00 00 22"), "ca")


class LongAnswers(Table):
    def test_long(self):
        with RefBmc(options="long") as bmc, bmc.client() as client:
            # FRU 0, 248 bytes in one answer and in pieces
            whole = ask(client, "0a 11 00 00 00 f8")
            pieces = [ask(client, "0a 11 00 %02x 00 1f" % at) for at in range(0, 0xF8, 0x1F)]
            self.assertEqual(whole, "00 f8 " + " ".join(piece[6:] for piece in pieces))
            self.check(client, "0a 11 00 00 00 f9", "c8")
            # a record of 58 bytes (5 of header), with ipmi_sim's 6 stray ones behind it
            record = bytes.fromhex(ask(client, "0a 23 00 00 03 00 00 ff"))
            self.assertEqual((record[:8].hex(" "), len(record)), ("00 04 00 03 00 51 01 35", 3 + 58 + 6))
            self.assertEqual(record[3 + 48:3 + 58], b"Inlet Temp")
            self.check(client, "06 04", "00 55 00")
            bmc.cmd("fault 0x0a 0x11 1 short 200")
            self.check(client, "0a 11 00 00 00 f8", whole[:3 * 201 - 1])
            self.assertIn("rsp=0xc8", ipmitool(bmc, "raw 0x0a 0x11 0 0 0 0x23"))  # not over LAN


class Lifetime(unittest.TestCase):
    @staticmethod
    def processes(directory):
        """Those with this directory on their command line."""
        found = []
        for path in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
            try:
                if str(directory).encode() in path.read_bytes():
                    found.append(path.parent.name)
            except OSError:
                pass
        return found

    def test_failed_start_says_why_and_leaves_nothing(self):
        cases = [(dict(options="fast"), (), 'unknown option "fast"'),
                 (dict(options="long,fast"), (), 'unknown option "fast"'),
                 (dict(options="lon"), (), 'unknown option "lon"'),
                 (dict(module="/nowhere/lumipmi-sim.so"), (), "no module /nowhere"),
                 (dict(module=None), ("-o", "long"), "without a module")]
        for keywords, args, why in cases:
            bmc = RefBmc(*args, **keywords)
            with self.subTest(keywords=keywords), self.assertRaisesRegex(RuntimeError, why):
                bmc.start()
            self.assertFalse(bmc.dir.exists())
            self.assertEqual(self.processes(bmc.dir), [])

    def test_ends_with_a_failing_test(self):
        with self.assertRaises(ZeroDivisionError), RefBmc(module=None) as bmc:
            self.assertNotEqual(self.processes(bmc.dir), [])
            _ = 1 / 0
        self.assertFalse(bmc.dir.exists())
        self.assertEqual(self.processes(bmc.dir), [])

    def test_ends_with_its_process(self):
        code = "import os, refbmc; bmc = refbmc.RefBmc(module=None).start(); print(bmc.dir, flush=True); os._exit(1)"
        done = subprocess.run([sys.executable, "-c", code], cwd=SUPPORT, stdout=subprocess.PIPE, text=True, timeout=30)
        directory = pathlib.Path(done.stdout.strip())
        self.assertTrue(directory.name.startswith("refbmc-"))
        deadline = time.monotonic() + 5
        while self.processes(directory) and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertEqual(self.processes(directory), [])
        subprocess.run(["rm", "-r", directory], check=True)


if __name__ == "__main__":
    if not BUILT_MODULE:
        sys.exit("LUMIPMI_SIM_MODULE does not say where lumipmi-sim.so is")
    unittest.main()
