#!/usr/bin/env python3
"""What all commands of the tool share (options, output, exit statuses), and info, raw and status."""
import os
import pathlib
import re
import socket
import subprocess
import tempfile
import time
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

PRELOAD = os.environ.get("LUMIPMI_TEST_PRELOAD")
OK, INTERNAL, USAGE, NO_BMC, REFUSED, PARTIAL, TIMED_OUT = range(7)

GUID = "f7e6d5c4-b3a2-9180-5f4e-d4c3b2a1f05e"
GUID_BYTES = "5e f0 a1 b2 c3 d4 4e 5f 80 91 a2 b3 c4 d5 e6 f7"
SUPPORT = ["sensors", "SDR repository", "SEL", "FRU inventory", "IPMB event receiver", "IPMB event generator",
           "chassis"]
INFO = {
    "device": {"device_id": 17, "device_revision": 1, "provides_device_sdrs": False, "available": True,
               "firmware": "2.15", "firmware_auxiliary": "00 00 00 00", "ipmi_version": "2.0",
               "manufacturer_id": 1000000, "product_id": 0x1234, "support": SUPPORT},
    "health": {"self_test": {"result": 0x55, "detail": 0, "text": "passed"},
               "system_power_state": {"state": 0, "text": "S0/G0, working"},
               "device_power_state": {"state": 0, "text": "D0"}},
    "guid": {"device": {"text": GUID, "received": GUID_BYTES}, "system": {"text": GUID, "received": GUID_BYTES}},
    "system": {"unit_tag": "UT-0042", "asset_tag": "ASSET-7781", "bios": "RB100-BIOS 1.4.2", "host_name": "refserver",
               "operating_system": "Debian GNU/Linux 12 (bookworm)"},
}
INFO_CSV = [
    ["section", "item", "field", "value"],
    ["device", "", "device_id", "17"],
    ["device", "", "device_revision", "1"],
    ["device", "", "provides_device_sdrs", "false"],
    ["device", "", "available", "true"],
    ["device", "", "firmware", "2.15"],
    ["device", "", "firmware_auxiliary", "00 00 00 00"],
    ["device", "", "ipmi_version", "2.0"],
    ["device", "", "manufacturer_id", "1000000"],
    ["device", "", "product_id", "4660"],
    ["device", "", "support", ", ".join(SUPPORT)],
    ["health", "", "self_test", "passed"],
    ["health", "", "system_power_state", "S0/G0, working"],
    ["health", "", "device_power_state", "D0"],
    ["guid", "", "device", GUID],
    ["guid", "", "system", GUID],
    *(["system", "", field, value] for field, value in INFO["system"].items()),
]
INFO_TABLE = """\
Management controller
Device ID:                17 (0x11)
Device revision:          1
Provides device SDRs:     no
Operation:                normal
Firmware:                 2.15
Auxiliary firmware bytes: 00 00 00 00
IPMI version:             2.0
Manufacturer ID:          1000000 (0x0F4240)
Product ID:               4660 (0x1234)
Device support:           %s

State
Self test:               passed
ACPI system power state: S0/G0, working
ACPI device power state: D0

Identity
Device GUID: %s
System GUID: %s

System
Unit tag:         UT-0042
Asset tag:        ASSET-7781
BIOS version:     RB100-BIOS 1.4.2
Host name:        refserver
Operating system: Debian GNU/Linux 12 (bookworm)
""" % (", ".join(SUPPORT), GUID, GUID)

DEVICE_ID = "11 01 02 15 02 bf 40 42 0f 34 12 00 00 00 00"


def setUpModule():
    start_bmc()


def closed_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


class Info(ToolCase):
    def test_forms(self):
        run = self.tool("info")
        self.assertEqual((run.status, run.out, run.err), (OK, INFO_TABLE, ""))
        run = self.tool("info", "-o", "json")
        self.assertEqual((run.status, run.json(), run.err), (OK, INFO, ""))
        self.assertEqual(list(run.json()), ["device", "health", "guid", "system"])
        self.assertTrue(run.out.startswith('{\n  "device": {\n    "device_id": 17,\n'), run.out)
        run = self.tool("info", "-o", "csv")
        self.assertEqual((run.status, run.csv(), run.err), (OK, INFO_CSV, ""))
        self.assertNotIn("\r", run.out)

    def test_parts_that_are_missing_or_fail(self):
        # fault, field, whether it is a problem, what it says
        table = [
            ("0x06 0x04 1 0xc1", ("health", "self_test"), None),
            ("0x06 0x07 1 0xc2", ("health", "system_power_state"), None),
            ("0x06 0x08 1 0xd6", ("guid", "device"), None),
            ("0x06 0x04 1 0xff", ("health", "self_test"), "Get Self Test Results (NetFn 0x06, command 0x04): "
             "completion code 0xFF, unspecified error"),
            ("0x06 0x07 1 0xd4", ("health", "device_power_state"), "Get ACPI Power State (NetFn 0x06, command 0x07): "
             "completion code 0xD4, insufficient privilege"),
            ("0x06 0x37 1 short 15", ("guid", "system"), "Get System GUID (NetFn 0x06, command 0x37): "
             "an answer of 15 data bytes is too short"),
            ("0x06 0x08 1 drop", ("guid", "device"), "Get Device GUID (NetFn 0x06, command 0x08): vm:127.0.0.1:"),
        ]
        for fault, (section, field), problem in table:
            with self.subTest(fault):
                self.fault(fault)
                run = self.tool("info", "-o", "json", "--timeout", 200)
                document = run.json()
                self.assertIsNone(document[section][field])
                self.assertEqual(document["device"], INFO["device"])  # the rest goes on
                self.assertEqual(run.status, PARTIAL if problem else OK)
                if problem:
                    self.assertEqual(len(document["problems"]), 1, document)
                    self.assertIn(problem, document["problems"][0]["message"])
                    self.assertIn(problem, run.err)
                else:
                    self.assertNotIn("problems", document)
                    self.assertEqual(run.err, "")
        self.fault("0x06 0x04 1 0xc1")
        self.assertIn("Self test:               not supported\n", self.tool("info").out)

    def test_what_the_bytes_mean(self):
        device = "00 20 8f 81 07 51 01 bc 9a 78 56 34"
        # command, answer, field, text, value in JSON if that is no object with the text
        table = [
            (0x04, "00 56 00", ("health", "self_test"), "not implemented", None),
            (0x04, "00 57 81", ("health", "self_test"),
             "failed: SEL device cannot be accessed, operational firmware is corrupted", None),
            (0x04, "00 57 28", ("health", "self_test"),
             "failed: FRU device of the BMC cannot be accessed, SDR repository is empty", None),
            (0x04, "00 58 12", ("health", "self_test"), "fatal hardware error, detail 0x12", None),
            (0x04, "00 a0 01", ("health", "self_test"), "device-specific result 0xA0, detail 0x01", None),
            (0x07, "00 85 83", ("health", "system_power_state"), "S5/G2, soft off", None),
            (0x07, "00 85 83", ("health", "device_power_state"), "D3", None),
            (0x07, "00 0b 2a", ("health", "system_power_state"), "reserved value 0x0B", None),
            (0x07, "00 0b 2a", ("health", "device_power_state"), "unknown", None),
            (0x01, device, ("device", "firmware"), "1.07", "1.07"),
            (0x01, device, ("device", "ipmi_version"), "1.5", "1.5"),
            (0x01, device, ("device", "available"),
             "firmware update or initialization in progress", False),
            (0x01, device, ("device", "device_revision"), "15", 15),
            (0x01, device, ("device", "support"), "sensors", ["sensors"]),
            (0x01, device, ("device", "manufacturer_id"), "7903932 (0x789ABC)", 0x789ABC),
            (0x01, device, ("device", "product_id"), "13398 (0x3456)", 0x3456),
        ]
        for command, answer, (section, field), text, value in table:
            with self.subTest(answer=answer, field=field):
                handlers = {(0x06, 0x01): bytes.fromhex("00" + DEVICE_ID), (0x06, command): bytes.fromhex(answer)}
                with FakeBmc(handlers) as fake:
                    run = self.tool("info", "-o", "json", driver=fake.driver)
                    self.assertEqual(run.status, OK, run)
                    shown = run.json()[section][field]
                    self.assertEqual(shown["text"] if value is None else shown, text if value is None else value)
                    self.assertIn(": %s\n" % text, re.sub(": +", ": ", self.tool("info", driver=fake.driver).out))

    def test_lost_bmc_ends_it(self):
        self.fault("0x06 0x04 9 drop")
        self.fault("0x06 0x07 9 drop")
        run = self.tool("info", "-o", "json", "-v", "--timeout", 200)
        self.assertEqual(run.status, PARTIAL)
        self.assertEqual([problem["where"] for problem in run.json()["problems"]],
                         ["Get Self Test Results", "Get ACPI Power State"])
        self.assertEqual(run.err.count("> NetFn"), 3, run.err)  # the GUIDs are not even asked for


class Raw(ToolCase):
    def test_forms(self):
        run = self.tool("raw", "6", "1")
        self.assertEqual((run.status, run.out, run.err),
                         (OK, "Completion code: 0x00, success\nData:            %s\n" % DEVICE_ID, ""))
        data = list(bytes.fromhex(DEVICE_ID))
        for arguments in (["0x06", "0x01"], ["06", "0X1"]):
            run = self.tool("raw", *arguments, "-o", "json")
            self.assertEqual(run.json(), {"response": {"completion_code": 0, "meaning": "success", "data": data}})
        run = self.tool("raw", "6", "1", "-o", "csv")
        self.assertEqual(run.csv()[1:], [["response", "", "completion_code", "0"], ["response", "", "meaning", "success"],
                                         ["response", "", "data", DEVICE_ID]])

    def test_requests(self):
        # arguments, data of the answer
        table = [
            (["04", "2d", "01"], "17 c0 00 00"),
            (["4", "2D", "1", "--lun", "1"], "1f c0 00 00"),
            (["--lun", "0", "4", "2D", "0x1"], "17 c0 00 00"),
            (["a", "43", "0", "0", "0", "0", "0", "10"], None),
            (["6", "6", "80", "80"], "none"),
        ]
        for arguments, data in table:
            with self.subTest(arguments):
                run = self.tool("raw", *arguments)
                self.assertEqual(run.status, OK, run)
                if data:
                    self.assertEqual(run.out.splitlines()[1].split(None, 1)[1], data)
        run = self.tool("-v", "raw", "a", "11", *["0"] * 250)
        self.assertIn("> NetFn 0x0A cmd 0x11" + " 00" * 250 + "\n", run.err)

    def test_bad_arguments_name_what_is_wrong(self):
        table = [
            (["raw"], "NETFN"),
            (["raw", "6"], "CMD"),
            (["raw", "6", "x1"], 'CMD: "x1" is not a hexadecimal number'),
            (["raw", "", "1"], 'NETFN: "" is not'),
            (["raw", "0x", "1"], 'NETFN: "0x" is not'),
            (["raw", "7", "1"], "NETFN: 0x07 is not the network function of a request"),
            (["raw", "40", "1"], "NETFN: 0x40 is not the network function of a request"),
            (["raw", "6", "100"], "CMD: 100 is more than a byte holds"),
            (["raw", "6", "1", "0", "10000000000000000"], "BYTE 2: 10000000000000000 is more than a byte holds"),
            (["raw", "6", "1", "0", "1\x1b[2J"], 'BYTE 2: "1\\x1B[2J" is not a hexadecimal number'),
            (["raw", "6", "1"] + ["0"] * 251, "BYTE: 251 data bytes are too many"),
            (["raw", "6", "1", "--lun", "4"], "--lun"),
        ]
        for arguments, text in table:
            with self.subTest(arguments[:5]):
                run = self.tool(*arguments)
                self.assertEqual((run.status, run.out), (USAGE, ""))
                self.assertIn("lumipmi: ", run.err)
                self.assertIn(text, run.err)

    def test_completion_code(self):
        run = self.tool("raw", "6", "99")
        meaning = "invalid command; the BMC does not implement it"
        self.assertEqual((run.status, run.out),
                         (REFUSED, "Completion code: 0xC1, %s\nData:            none\n" % meaning))
        self.assertRegex(run.err, r"^lumipmi: raw request \(NetFn 0x06, command 0x99\): completion code 0xC1, %s\n  \S.*\n$"
                         % meaning)
        document = self.tool("raw", "6", "99", "-o", "json").json()
        self.assertEqual(document["response"], {"completion_code": 0xC1, "meaning": meaning, "data": []})
        self.assertEqual([problem["where"] for problem in document["problems"]], ["raw"])


class Status(ToolCase):
    def test_one(self):
        invalid = (0x200000C1, 0xC1, "IPMI_STATUS_BMC_INVALID_COMMAND", "IPMI_STATUS_BMC_INVALID_COMMAND is returned",
                   "invalid command; the BMC does not implement it")
        busy = (0x20000607, None, "IPMI_STATUS_NODE_BUSY_TIMEOUT", "No proper err msg output, rc = 0x20000607",
                "the BMC stayed busy (completion code 0xC0) until the retries were used up")
        table = [
            ("0xC1", invalid), ("c1", invalid), ("193", invalid), ("536871105", invalid), ("0x200000c1", invalid),
            ("IPMI_STATUS_BMC_INVALID_COMMAND", invalid),
            ("0x20000607", busy),
            ("0", (0, None, None, "IPMI function call is successful.", "success")),
            ("0x2000021C", (0x2000021C, None, "IPMI_STATUS_APP_OEM_FRU", "IPMI_STATUS_APP_OEM_FRU is returned", None)),
            ("0x2000011b", (0x2000011B, None, "IPMI_STATUS_BMC_FRU_WRITE_PROTECTED",
                            "No proper err msg output, rc = 0x2000011b", None)),
            ("0x81", (0x20000081, 0x81, None, "No proper err msg output, rc = 0x20000081",
                      "a completion code that only this command gives a meaning")),
            ("0x7e", (0x2000007E, 0x7E, None, "IPMI BMC OEMSPECIFIC END is returned",
                      "a device-specific (OEM) completion code")),
            ("0xd7", (0x200000D7, 0xD7, None, None, "a reserved completion code")),
            ("0xffffffff", (0xFFFFFFFF, None, None, None, "not a status of this library")),
        ]
        for code, expected in table:
            with self.subTest(code):
                run = self.tool("status", code, "-o", "json", driver="vm:nowhere:1")  # needs no BMC
                self.assertEqual(run.status, OK, run)
                status = run.json()["status"]
                found = [status[key] for key in ("code", "completion_code", "name", "message", "meaning")]
                for value, wanted in zip(found[3:], expected[3:]):
                    if wanted is not None:
                        self.assertEqual(value, wanted)
                self.assertEqual(tuple(found[:3]), expected[:3])
        for code in ("", "0x", "zz", "0x100000000", "4294967296", "-1x", "IPMI_STATUS_"):
            with self.subTest(code):
                run = self.tool("status", code)
                self.assertEqual((run.status, run.out), (USAGE, ""), run)

    def test_table_has_all_names_of_the_library(self):
        header = pathlib.Path(__file__).parents[2] / "include/lumipmi/status.h"
        names = re.findall(r"#define (IPMI_STATUS_\w+) (0x\w+)u\n", header.read_text())
        self.assertGreater(len(names), 40)
        listed = {(row["name"], row["code"]) for row in self.tool("status", "-o", "json").json()["statuses"]}
        missing = {(name, int(value, 16)) for name, value in names if name != "IPMI_STATUS_BMC_BASE"} - listed
        self.assertEqual(missing, set())
        table = self.tool("status").out.splitlines()
        self.assertEqual(table[0].split(), ["STATUS", "NAME", "MEANING"])
        self.assertEqual(len({line.index("  IPMI_") for line in table[1:] if "  IPMI_" in line}), 1)  # aligned


class Options(ToolCase):
    def test_before_and_behind_the_command(self):
        port = "vm:127.0.0.1:%d" % toolcase.bmc.vm_port
        for arguments in (["--driver", port, "-o", "json", "--color", "never", "-y", "info", "--timeout", "9000"],
                          ["info", "--driver=" + port, "--output=json", "--yes", "--timeout=9000", "--color=never"],
                          ["-o", "csv", "--timeout", "9000", "info", "-ojson", "--driver", port]):
            run = self.tool(*arguments, driver="vm:127.0.0.1:1")
            self.assertEqual((run.status, run.out[:1]), (OK, "{"), run)

    def test_usage(self):
        table = [
            ([], "a command is missing"),
            (["frobnicate"], "unknown command: frobnicate"),
            (["--frob", "info"], "unknown option: --frob"),
            (["info", "--frob"], "unknown option: --frob"),
            (["info", "more"], "unexpected argument: more"),
            (["info", "-o", "xml"], "xml"),
            (["info", "-o"], "--output"),
            (["info", "--color", "red"], "red"),
            (["info", "--timeout", "0"], "--timeout"),
            (["info", "--timeout", "3600001"], "--timeout"),
            (["info", "--timeout", "5s"], "5s"),
            (["info", "--driver", "lan:1"], '--driver: transport "lan:1"'),
            (["bad\x1b[31m"], "unknown command: bad\\x1B[31m"),
        ]
        for arguments, text in table:
            with self.subTest(arguments):
                run = self.tool(*arguments)
                self.assertEqual((run.status, run.out), (USAGE, ""))
                self.assertIn(text, run.err)

    def test_help_and_version(self):
        help = self.tool("--help")
        self.assertEqual((help.status, help.err), (OK, ""))
        for word in ("info", "sensors", "sdr", "sel", "fru", "raw", "status", "--driver", "--timeout", "--output",
                     "--verbose", "--yes", "--color", "--version"):
            self.assertIn(word, help.out)
        self.assertIn("NETFN", self.tool("raw", "--help").out)
        for words in (["-h"], ["--driver", "sel", "--help"], ["--driver", "status", "-vh"]):  # values, not commands
            self.assertEqual(self.tool(*words).out, help.out)
        self.assertRegex(self.tool("--version").out, r"^lumipmi \d+\.\d+\.\d+\n$")

    def test_verbose(self):
        run = self.tool("raw", "4", "2d", "1", "-v", "--lun", "1")
        self.assertEqual(run.out, "Completion code: 0x00, success\nData:            1f c0 00 00\n")
        self.assertRegex(run.err, r"^driver: \S*liblumipmi-driver\.so\.1 \(vm:127\.0\.0\.1:\d+\)\n"
                         r"> NetFn 0x04 LUN 1 cmd 0x2D 01\n< cc 00 1f c0 00 00\n$")
        self.fault("6 1 1 0xc0")
        run = self.tool("-v", "info")
        self.assertIn("> NetFn 0x06 cmd 0x01\n< cc c0\n> NetFn 0x06 cmd 0x01\n< cc 00 " + DEVICE_ID, run.err)


class ExitStatuses(ToolCase):
    def test_no_bmc(self):
        # driver, environment, exit status, what the message says besides
        port = closed_port()
        with tempfile.NamedTemporaryFile() as file:
            table = [
                ("vm:127.0.0.1:%d" % port, {}, NO_BMC, "connection refused"),
                ("dev:/dev/no-such-ipmi", {}, NO_BMC, "/dev/no-such-ipmi: no such device"),
                ("dev:" + file.name, {}, None, "not an IPMI device"),
                ("lan:x", {}, USAGE, 'transport "lan:x"'),
                (None, {"LUMIPMI_TIMEOUT_MS": "soon"}, USAGE, 'LUMIPMI_TIMEOUT_MS="soon"'),
            ]
            for driver, env, status, text in table:
                with self.subTest(text):
                    run = self.tool("info", driver=driver, env=env)
                    self.assertIn(run.status, [status] if status is not None else [USAGE, NO_BMC])
                    self.assertEqual(run.out, "")
                    self.assertRegex(run.err, r"^lumipmi: Get Device ID \(NetFn 0x06, command 0x01\): ")
                    self.assertIn(text, run.err)
                    self.assertNotIn("ZEPH", run.err)
        run = self.tool("raw", "6", "1", "-o", "json", driver="vm:127.0.0.1:%d" % port)
        self.assertEqual((run.status, run.out), (NO_BMC, ""))

    def test_timed_out_and_refused(self):
        table = [
            ("6 1 1 drop", TIMED_OUT, "timed out"),
            ("6 1 1 0xc3", TIMED_OUT, "completion code 0xC3, timeout"),
            ("6 1 1 0xd2", REFUSED, "completion code 0xD2, no response while the BMC is still initialising"),
            ("6 1 1 0x80", REFUSED, "completion code 0x80, a completion code that only this command gives a meaning"),
            ("6 1 1 short 10", REFUSED, "an answer of 10 data bytes is too short for this command"),
        ]
        for fault, status, text in table:
            with self.subTest(fault):
                self.fault(fault)
                run = self.tool("info", env={"LUMIPMI_TIMEOUT_MS": "200"})
                self.assertEqual((run.status, run.out), (status, ""), run)
                self.assertIn(text, run.err)

    def test_busy(self):
        self.fault("6 1 99 0xc0")
        begin = time.monotonic()
        run = self.tool("info")
        self.assertLess(time.monotonic() - begin, 15)  # not the library's minute
        self.assertEqual((run.status, run.out), (TIMED_OUT, ""))
        self.assertIn("stayed busy", run.err)

    def test_output_that_cannot_be_written(self):
        with open("/dev/full", "w") as full:
            for arguments in (["info"], ["status", "0"], ["--help"], ["--version"]):
                run = self.tool(*arguments, stdout=full)
                self.assertEqual(run.status, INTERNAL)
                self.assertEqual(run.err, "lumipmi: standard output: No space left on device\n")
        reader, writer = os.pipe()
        os.close(reader)
        run = self.tool("status", stdout=writer)
        os.close(writer)
        self.assertEqual((run.status, run.err), (INTERNAL, ""))
        # with no standard output or error, connections do not take their place
        script = '"$0" info >&- 2>&- <&-; echo $? >&3'
        reader, writer = os.pipe()
        subprocess.run(["sh", "-c", script.replace("3", str(writer)), toolcase.TOOL], pass_fds=[writer],
                       env=self.environment(None, {}))
        os.close(writer)
        self.assertEqual(os.read(reader, 100), b"1\n")
        os.close(reader)
        self.assertEqual(toolcase.bmc.request("06 01"), "00 " + DEVICE_ID)


class Terminal(ToolCase):
    def test_colours(self):
        green = "\x1b[32mpassed\x1b[0m"
        on_terminal, piped = self.tool_on_terminal, self.tool
        # how it is run, arguments, environment, whether there are colours
        table = [
            (on_terminal, [], {}, True),
            (on_terminal, [], {"NO_COLOR": ""}, True),
            (on_terminal, [], {"NO_COLOR": "1"}, False),
            (on_terminal, [], {"TERM": "dumb"}, False),
            (on_terminal, ["--color", "never"], {}, False),
            (on_terminal, ["--color", "always"], {"NO_COLOR": "1"}, True),
            (on_terminal, ["-o", "json"], {}, False),
            (on_terminal, ["-o", "csv", "--color", "always"], {}, False),
            (piped, [], {}, False),
            (piped, ["--color", "auto"], {}, False),
            (piped, ["--color", "always"], {}, True),
        ]
        for how, arguments, env, coloured in table:
            with self.subTest(how=how.__name__, arguments=arguments, env=env):
                run = how("info", *arguments, env=env)
                self.assertEqual(run.status, OK, run)
                self.assertEqual(green in run.out, coloured, run.out)
                self.assertEqual("\x1b" in run.out, coloured, run.out)
                self.assertIn("passed", run.out)
        run = on_terminal("info")
        self.assertEqual(re.sub("\x1b\\[[0-9;]*m", "", run.out), INFO_TABLE)


    def test_questions(self):
        entries = lambda: self.tool("sel", "info", "-o", "json").json()["sel"]["entries"]
        self.assertEqual(entries(), 12)
        run = self.tool("sel", "clear", stdin="y\n")  # not from a terminal: nobody was asked
        self.assertEqual((run.status, run.out), (USAGE, ""))
        self.assertIn("--yes", run.err)
        for typed in (b"n\n", b"\n", b"\x04", b"yesterday\n"):
            run = self.tool_on_terminal("sel", "clear", typed=typed)
            self.assertEqual(run.status, USAGE, run)
            self.assertIn("? [y/N] ", run.out)
        self.assertEqual(entries(), 12)
        self.assertEqual(self.tool_on_terminal("sel", "clear", typed=b"y\n").status, OK)
        self.assertEqual(entries(), 0)


@unittest.skipUnless(PRELOAD, "no preloaded library in a build with sanitizers")
class PreloadedDriver(ToolCase):
    def test_comes_first(self):
        run = self.tool("info", "-o", "json", "-v", env={"LD_PRELOAD": PRELOAD})
        document = run.json()
        self.assertEqual(run.status, PARTIAL)
        self.assertEqual(document["device"], {
            "device_id": 0x99, "device_revision": 1, "provides_device_sdrs": True, "available": True,
            "firmware": "2.15", "firmware_auxiliary": None, "ipmi_version": "1.5", "manufacturer_id": 1000000,
            "product_id": 0x1234, "support": []})
        self.assertIn("the driver in %s failed with -77" % PRELOAD, document["problems"][0]["message"])
        self.assertTrue(run.err.startswith("driver: %s\n" % PRELOAD), run.err)

    def test_what_it_cannot_do(self):
        table = [
            (["raw", "4", "2d", "1", "--lun", "2"], USAGE, "cannot address LUN 2"),
            (["raw", "6", "2"], NO_BMC, "answer without a completion code"),
            (["raw", "6", "1", "--driver", "vm:127.0.0.1:1"], OK, "--driver counts only if it passes them on"),
        ]
        for arguments, status, text in table:
            with self.subTest(arguments):
                run = self.tool(*arguments, env={"LD_PRELOAD": PRELOAD})
                self.assertEqual(run.status, status, run)
                self.assertIn(text, run.err)


if __name__ == "__main__":
    unittest.main()
