#!/usr/bin/env python3
"""lumipmi fru: inventories of the reference BMC, of scripted ones and of damaged images."""
import os
import pathlib
import re
import shutil
import stat
import subprocess
import tempfile
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

BINARY, BCD, SIX_BIT, TEXT = range(4)
END = b"\xc1"
NO_AREAS = "01 00 00 00 00 00 00 ff"


def setUpModule():
    start_bmc()


# --- images

def checked(body, off=0):
    """The bytes and the checksum that makes their sum `off`."""
    return bytes(body) + bytes([off - sum(body) & 0xFF])


def field(data, kind=TEXT):
    data = data.encode("latin-1") if isinstance(data, str) else bytes(data)
    return bytes([kind << 6 | len(data)]) + data


def area(head, *fields, end=END, off=0, length=None, version=1):
    """An info area: head is what stands between its length and its fields."""
    body = bytes(head) + b"".join(fields) + end
    size = (2 + len(body) + 1 + 7) // 8
    body = bytes([version, size if length is None else length]) + body
    return checked(body.ljust(8 * size - 1, b"\0"), off)


def board(*fields, language=25, minutes=14379030, **more):
    return area(bytes([language]) + minutes.to_bytes(3, "little"), *fields, **more)


def product(*fields, language=0, **more):
    return area([language], *fields, **more)


def multirecord(kind, data, last=False, off=0, header_off=0, version=2, length=None):
    head = bytes([kind, version | (0x80 if last else 0), len(data) if length is None else length,
                  off - sum(data) & 0xFF])
    return checked(head, header_off) + bytes(data)


def image(internal=b"", chassis=b"", board=b"", product=b"", multi=b"", offsets=None, off=0, version=1, tail=b""):
    """The areas one behind the other; offsets, in units of 8, replace those of the header."""
    body, places = b"", []
    for part in (internal, chassis, board, product, multi):
        places.append((8 + len(body)) // 8 if part else 0)
        body += part
        body += bytes(-len(body) % 8) if part is not multi else b""
    places = [given if given is not None else place for given, place in zip(offsets or [None] * 5, places)]
    return checked([version, *places, 0], off) + body + tail


MAKER = field("Maker")
BOARD = board(MAKER, field("Thing"), field("S1"), field("P1"), field(""))
PRODUCT = product(MAKER, field("Box"), field("P2"), field("1.0"), field("S2"), field(""), field(""))
CHASSIS = area([0x17], field("P3"), field("S3"))
# all parts are whole; the damaged ones below are made of the same
GOOD = dict(internal=bytes([1, 2, 3, 4, 5, 6, 7, 8]), chassis=CHASSIS, board=BOARD, product=PRODUCT,
            multi=multirecord(0xC1, b"\x40\x42\x0f\x55", last=True))


# without an end marker, with a checksum that looks like an empty field: who reads on finds the product's end marker
BOARD_READ_ON = next(part for part in (board(MAKER, field("Thing"), field(""), field(""),
                                             field(bytes([65, tail]) + b"CDE"),
                                             end=b"") for tail in range(65, 256)) if part[-1] & 0x3F == 0)


def made(**changes):
    return image(**{**GOOD, **changes})


# --- the reference BMC

FRU_0 = {
    "device": {"id": 0, "size": 512, "access": "bytes"},
    "chassis": {"type": "Rack mount chassis", "type_code": 0x17, "part_number": "CH-2U-0042",
                "serial_number": "2024011705", "custom_1": "RACK 12 ", "custom_2": "de ad be ef"},
    "board": {"language": {"code": 25, "tag": "en"},
              "manufacturing_date": {"iso": "2023-05-04T10:30:00+00:00", "minutes": 14379030},
              "manufacturer": "Example Boards", "product_name": "RB-100 Mainboard",
              "serial_number": "RB1002305040001", "part_number": "900-0100-A2", "fru_file_id": "rb100.fru",
              "custom_1": "Rev C", "custom_2": "OPTION KIT 7", "custom_3": "02:00:5e:10:00:01"},
    "product": {"language": {"code": 0, "tag": "en"}, "manufacturer": "Example Systems",
                "product_name": "Reference Server", "part_number": "RS-2U-100", "version": "1.4",
                "serial_number": "RS100-000042", "asset_tag": "ASSET-7781", "fru_file_id": "", "custom_1": "Lab unit"},
    "internal_use": {"length": 16, "data": "01 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e"},
    "areas": [{"area": "internal_use", "offset": 8, "size": 16, "format_version": 1, "checksum": None},
              {"area": "chassis", "offset": 24, "size": 40, "format_version": 1, "checksum": "ok"},
              {"area": "board", "offset": 64, "size": 112, "format_version": 1, "checksum": "ok"},
              {"area": "product", "offset": 176, "size": 88, "format_version": 1, "checksum": "ok"}],
}

FRU_1 = {
    "board": {"language": {"code": 25, "tag": "en"},
              "manufacturing_date": {"iso": "2023-05-04T10:30:00+00:00", "minutes": 14379030},
              "manufacturer": "Example Power", "product_name": "PSU-550 Board", "serial_number": "PB550-0007",
              "part_number": "910-0550-01", "fru_file_id": ""},
    "product": {"language": {"code": 25, "tag": "en"}, "manufacturer": "Example Power", "product_name": "PSU-550",
                "part_number": "PS-550W-12V", "version": "A3", "serial_number": "55000.17-2", "asset_tag": "",
                "fru_file_id": ""},
    "multirecord_1": {"capacity_watts": 550, "peak_va": 600, "inrush_current_amperes": 30, "inrush_interval_ms": 20,
                      "input_voltage_1_low": 90, "input_voltage_1_high": 264, "input_voltage_2_low": 0,
                      "input_voltage_2_high": 0, "input_frequency_low": 47, "input_frequency_high": 63,
                      "dropout_tolerance_ms": 12, "predictive_fail": False, "power_factor_correction": True,
                      "autoswitch": True, "hot_swap": True, "peak_watts": 600, "hold_up_seconds": 2,
                      "combined_watts": None},
    "multirecord_2": {"output": 1, "standby": False, "nominal_volts": 12, "minimum_volts": 11.4, "maximum_volts": 12.6,
                      "ripple_mv": 120, "minimum_amperes": 0, "maximum_amperes": 45},
    "multirecord_3": {"output": 2, "standby": True, "nominal_volts": 5, "minimum_volts": 4.75, "maximum_volts": 5.25,
                      "ripple_mv": 50, "minimum_amperes": 0, "maximum_amperes": 3},
    "multirecord_4": {"output": 1, "nominal_volts": 12, "minimum_volts": 11.4, "maximum_volts": 12.6, "ripple_mv": 120,
                      "minimum_amperes": 0.5, "maximum_amperes": 20},
    "multirecord_5": {"system_url": "http://mgmt.example/psu1"},
    "multirecord_6": {"system_unique_id": "5e f0 a1 b2 c3 d4 4e 5f 80 91 a2 b3 c4 d5 e6 f7"},
    "multirecord_7": {"manufacturer_id": 1000000, "oem_data": "01 02 43 41 4c 10 20 30"},
}

# ipmitool's labels and ours
LABELS = {"Chassis Type": "chassis.type", "Chassis Part Number": "chassis.part_number",
          "Chassis Serial": "chassis.serial_number", "Board Mfg": "board.manufacturer",
          "Board Product": "board.product_name", "Board Serial": "board.serial_number",
          "Board Part Number": "board.part_number", "Product Manufacturer": "product.manufacturer",
          "Product Name": "product.product_name", "Product Part Number": "product.part_number",
          "Product Version": "product.version", "Product Serial": "product.serial_number",
          "Product Asset Tag": "product.asset_tag"}


def rounded(value):
    """Numbers without the noise of binary fractions."""
    if isinstance(value, dict):
        return {key: rounded(part) for key, part in value.items()}
    return round(value, 9) if isinstance(value, float) else value


class Reference(ToolCase):
    def json_of(self, *words, status=0):
        run = self.tool("-o", "json", "fru", *words)
        self.assertEqual(run.status, status, run)
        return run.json()

    def test_list(self):
        empty = {"size": None, "access": None, "areas": []}
        expected = [
            {"id": 0, "name": "Mainboard FRU", "size": 512, "access": "bytes",
             "areas": ["internal_use", "chassis", "board", "product"], "status": "ok"},
            {"id": 1, "name": "PSU1 Fru", "size": 384, "access": "bytes",
             "areas": ["board", "product", "multirecord"], "status": "ok"},
            {"id": 2, "name": "Blank FRU", "size": 64, "access": "bytes", "areas": [], "status": "blank"},
            {"id": 5, "name": "Missing FRU", **empty, "status": "refused"}]
        for words in ([], ["list"]):
            shown = self.json_of(*words, status=5)
            self.assertEqual(shown["fru_devices"], expected)
            self.assertEqual([problem["where"] for problem in shown["problems"]], ["FRU 2, common header", "FRU 5"])
        table = self.tool("fru")
        self.assertEqual(table.status, 5)
        self.assertRegex(table.out, r"(?m)^ 2  Blank FRU +64 B +not programmed$")
        self.assertRegex(table.out, r"(?m)^ 5  Missing FRU +not readable: completion code 0xCC$")
        self.assertIn("lumipmi: FRU 5: Get FRU Inventory Area Info (NetFn 0x0A, command 0x10): completion code 0xCC",
                      table.err)
        rows = self.tool("-o", "csv", "fru").csv()
        self.assertEqual(rows[0], ["id", "name", "size", "access", "areas", "status"])
        self.assertEqual(rows[2], ["1", "PSU1 Fru", "384", "bytes", "board, product, multirecord", "ok"])

    def test_print_one(self):
        self.assertEqual(self.json_of("print", "0"), FRU_0)
        shown = self.json_of("print", "0x1")
        self.assertEqual({key: rounded(shown[key]) for key in FRU_1}, FRU_1)
        self.assertEqual([(record["type"], record["name"], record["length"], record["checksum"])
                          for record in shown["multirecords"]],
                         [(0, "Power supply information", 24, "ok"), (1, "DC output", 13, "ok"),
                          (1, "DC output", 13, "ok"), (2, "DC load", 13, "ok"), (3, "Management access", 25, "ok"),
                          (3, "Management access", 17, "ok"), (0xC0, "OEM", 11, "ok")])
        lenient = self.json_of("print", "0", "--lenient")
        self.assertEqual(lenient, FRU_0)

    def test_print_forms(self):
        table = self.tool("fru", "print", "0")
        for line in ("Type:          Rack mount chassis", "Manufacturing date: 2023-05-04T10:30:00+00:00",
                     "Custom 2:           OPTION KIT 7", "board info area    0x0040   112    0x01  ok"):
            self.assertIn(line + "\n", table.out)
        rows = self.tool("-o", "csv", "fru", "print", "0").csv()
        for row in (["board", "", "serial_number", "RB1002305040001"], ["device", "", "size", "512"],
                    ["board", "", "manufacturing_date", "2023-05-04T10:30:00+00:00"],
                    ["areas", "2", "area", "chassis info area"]):
            self.assertIn(row, rows)

    def test_date_does_not_depend_on_the_place(self):
        for zone in ("UTC", "Asia/Tokyo", "America/New_York"):
            run = self.tool("-o", "json", "fru", "print", "0", env={"TZ": zone})
            self.assertEqual(run.json()["board"]["manufacturing_date"], FRU_0["board"]["manufacturing_date"])

    def test_details(self):
        fields = self.json_of("print", "0", "--details")["fields"]
        self.assertEqual(len(fields), 20)
        self.assertEqual(fields[1], {"area": "chassis", "field": "serial_number", "offset": 0x26,
                                     "encoding": "BCD plus",
                                     "length": 5, "bytes": "20 24 01 17 05", "text": "2024011705"})
        self.assertEqual([part["encoding"] for part in fields[:4]], ["8-bit text", "BCD plus", "6-bit ASCII", "binary"])

    def test_print_all(self):
        shown = self.json_of("print", status=5)
        for key in ("chassis", "board", "product", "areas"):
            self.assertEqual(shown["fru0_" + key], FRU_0[key])
        self.assertEqual(shown["fru0_device"], {"id": 0, "name": "Mainboard FRU", "size": 512, "access": "bytes"})
        self.assertEqual(rounded(shown["fru1_multirecord_4"]), FRU_1["multirecord_4"])
        self.assertFalse([key for key in shown if key.startswith(("fru2_", "fru5_"))])
        self.assertEqual([problem["where"] for problem in shown["problems"]], ["FRU 2", "FRU 5"])

    def test_devices_that_cannot_be_printed(self):
        for words, status, message in [
                (["2"], 4, "FRU 2: not programmed.*all FFh"), (["5"], 4, "Get FRU Inventory Area Info.*0xCC"),
                (["2", "--lenient"], 5, "FRU 2, common header: not programmed"), (["255"], 2, "255"),
                (["x"], 2, "x"), (["0", "--file", "y"], 2, "excludes"),
                (["--file", "/nowhere/x"], 2, "/nowhere/x: No such"),
                (["--file", "/dev/null"], 2, "/dev/null: empty"), (["--file", "/dev/zero"], 2, "larger than any"),
                (["--file", "/"], 2, "cannot be read|directory")]:
            with self.subTest(words=words):
                run = self.tool("fru", "print", *words)
                self.assertEqual(run.status, status, run)
                self.assertRegex(run.err, message)

    def test_one_failure_does_not_lose_the_rest(self):
        self.fault("0x0a 0x11 3 0xff")  # FRU 0: every length down to 8 bytes
        shown = self.json_of("list", status=5)
        self.assertEqual([device["status"] for device in shown["fru_devices"]], ["ok", "ok", "blank", "refused"])
        toolcase.bmc.cmd("fault off")
        self.fault("0x0a 0x10 1 0xd5")
        shown = self.json_of("list", status=5)
        self.assertEqual([device["status"] for device in shown["fru_devices"]], ["refused", "ok", "blank", "refused"])
        self.fault("0x0a 0x20 5 0xd5")
        self.fault("0x0a 0x23 500 0xd5")
        shown = self.json_of("list", status=5)
        self.assertEqual([(device["id"], device["name"]) for device in shown["fru_devices"]], [(0, "built-in")])
        self.assertEqual(shown["fru_devices"][0]["status"], "ok")

    def test_as_ipmitool(self):
        if not shutil.which("ipmitool"):
            self.skipTest("no ipmitool")
        for device in (0, 1):
            ours = self.json_of("print", device)
            theirs = subprocess.run(
                ["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p", str(toolcase.bmc.lan_port), "-U",
                 "admin",
                 "-P", "admin-pw", "fru", "print", str(device)], capture_output=True, text=True, timeout=30).stdout
            seen = 0
            for line in theirs.splitlines():
                label, _, value = (part.strip() for part in line.partition(" : "))
                if label in LABELS:
                    section, key = LABELS[label].split(".")
                    self.assertEqual(ours[section][key].lower(), value.lower(), label)
                    seen += 1
            self.assertEqual(seen, 13 if device == 0 else 9, theirs)


class Dump(ToolCase):
    def setUp(self):
        self.directory = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.file = self.directory / "fru.bin"

    def device_bytes(self, device, size):
        with toolcase.bmc.client() as client:
            return b"".join(client.request(0x0A, 0x11, bytes([device, at & 0xFF, at >> 8, 16]))[2:18]
                            for at in range(0, size, 16))

    def test_round_trip(self):
        run = self.tool("-o", "json", "fru", "dump", "0", self.file)
        self.assertEqual((run.status, run.json()), (0, {"dump": {"id": 0, "file": str(self.file), "size": 512}}), run)
        self.assertEqual(self.file.read_bytes(), self.device_bytes(0, 512))
        self.assertEqual(stat.S_IMODE(self.file.stat().st_mode), 0o666 & ~self.umask())
        shown = self.tool("-o", "json", "fru", "print", "--file", self.file, driver="vm:127.0.0.1:1").json()
        self.assertEqual(shown.pop("file"), {"name": str(self.file), "size": 512})
        self.assertEqual(shown, {key: part for key, part in FRU_0.items() if key != "device"})
        self.assertEqual(list(self.directory.iterdir()), [self.file])

    @staticmethod
    def umask():
        mask = os.umask(0)
        os.umask(mask)
        return mask

    def test_standard_output(self):
        for form in ("table", "json", "csv"):
            run = subprocess.run([toolcase.TOOL, "-o", form, "fru", "dump", "2", "-"], env=self.environment(None, {}),
                                 stdin=subprocess.DEVNULL, capture_output=True, timeout=30)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, bytes([0xFF] * 64), b""))

    def test_overwriting(self):
        self.file.write_bytes(b"precious")
        (self.directory / "link").symlink_to(self.file)
        for target in (self.file, self.directory / "link"):
            run = self.tool("fru", "dump", "1", target)
            self.assertEqual((run.status, self.file.read_bytes()), (2, b"precious"), run)
            self.assertIn("--force", run.err)
        for option in ("--force", "--yes"):
            self.file.write_bytes(b"precious")
            self.assertEqual(self.tool("fru", "dump", "1", self.file, option).status, 0)
            self.assertEqual(self.file.read_bytes(), self.device_bytes(1, 384))

    def test_failures_leave_nothing(self):
        cases = [(["5", self.file], 4), (["0", self.directory / "none" / "x"], 1), (["0", self.directory], 2),
                 (["0", "/dev/null", "--force"], 2), (["0"], 2), (["300", self.file], 2)]
        for words, status in cases:
            with self.subTest(words=words):
                run = self.tool("fru", "dump", *words)
                self.assertEqual(run.status, status, run)
                self.assertNotEqual(run.err, "")
                self.assertEqual(list(self.directory.iterdir()), [])
        self.fault("0x0a 0x11 1 0xd5")
        self.file.write_bytes(b"precious")
        self.assertEqual(self.tool("fru", "dump", "0", self.file, "--force").status, 4)
        self.assertEqual(self.file.read_bytes(), b"precious")


# --- damaged images

# name, image, exit status when strict, its message, what --lenient complains about, values it shows all the same
DAMAGED = [
    ("nothing wrong", made(), 0, "", [], {"board.product_name": "Thing", "product.serial_number": "S2"}),
    ("board checksum", made(board=BOARD[:-1] + bytes([BOARD[-1] ^ 1])), 4,
     r"board info area \(offset 0x0020\): the checksum is wrong.*\n.*--lenient",
     [r"board info area \(offset 0x0020\): the checksum is wrong: 0x%02X is stored, 0x%02X would fit"
      % (BOARD[-1] ^ 1, BOARD[-1])],
     {"chassis.part_number": "P3", "board.product_name": "Thing", "product.serial_number": "S2"}),
    ("a flipped bit in the product", made(product=PRODUCT.replace(b"Box", b"Boy")), 4, "product info area.*checksum",
     ["product info area.*checksum"], {"product.product_name": "Boy", "board.serial_number": "S1"}),
    ("header checksum", made(off=1), 4, "common header: the checksum", ["common header: the checksum"],
     {"chassis.serial_number": "S3", "board.product_name": "Thing"}),
    ("header version", made(version=2), 4, "common header: unknown format version 0x02",
     ["common header: unknown format version 0x02"], {"board.product_name": "Thing"}),
    ("high nibble of the header version", made(version=0x11), 5, "version 0x11", ["version 0x11"],
     {"board.product_name": "Thing"}),
    ("area version", made(board=board(MAKER, field("Thing"), field(""), field(""), field(""), version=4)), 4,
     "board info area.*unknown format version 0x04", ["board info area.*unknown format version 0x04"],
     {"board.product_name": "Thing"}),
    ("blank", bytes([0xFF] * 64), 4, "not programmed: the image is all FFh", ["not programmed: the image is all FFh"],
     {}),
    ("zeros", bytes(64), 4, "not programmed: the image is all 00h", ["not programmed: the image is all 00h"], {}),
    ("blank header", bytes([0xFF] * 8) + BOARD, 4, "not programmed: the header is all FFh", ["the header is all FFh"],
     {}),
    ("no areas", bytes.fromhex(NO_AREAS), 0, "", [], {}),
    ("three bytes", b"\1\0\0", 4, "ends after 3 bytes", ["common header: the image ends after 3 bytes"], {}),
    ("cut in the board", made()[:8 + 8 + 16 + 20], 4, "board info area.*claims 32 bytes, the image has 20 of them",
     ["board info area.*claims 32 bytes, the image has 20", "board info area.*field \"Serial number\"",
      "product info area: its offset", "multirecord area: its offset"],
     {"chassis.part_number": "P3", "board.product_name": "Thing"}),
    ("cut in the head of the product", image(board=BOARD, offsets=[0, 0, 1, 5, 0], tail=b"\1\4"), 4,
     "product info area.*ends inside the head", ["product info area.*ends inside the head"],
     {"board.product_name": "Thing"}),
    ("an offset outside", image(board=BOARD, offsets=[0, 0, 1, 0xFF, 0]), 4,
     "product info area: its offset 0x07F8 lies outside",
     ["product info area: its offset 0x07F8 lies outside the image of 40 bytes"], {"board.product_name": "Thing"}),
    ("overlapping areas", image(board=BOARD, offsets=[0, 0, 1, 1, 0]), 4, "product info area.*no end marker",
     [r"board info area \(offset 0x0008\): it overlaps the product info area \(offset 0x0008\)",
      "product info area.*end marker|product info area.*claims"], {"board.product_name": "Thing"}),
    ("an area on the header", image(board=board(MAKER, field("Thing"), field(""), field(""), field(""), length=0)), 5,
     "its length is 0", ["its length is 0"], {"board.product_name": "Thing"}),
    ("endless fields", image(board=board(MAKER, field("Thing"), *[field("")] * 9, end=b"\xc0\xc0")), 4,
     "no end marker C1h",
     ["board info area.*no end marker C1h"], {"board.product_name": "Thing", "board.custom_1": ""}),
    ("a field beyond its area", image(board=board(MAKER, b"\xffThing", end=b"")), 4,
     'field "Product name" claims 63 bytes',
     ['field "Product name" claims 63 bytes, the area has 10 left'], {"board.manufacturer": "Maker"}),
    ("an end marker too early", made(board=board(MAKER, field("Thing"))), 4,
     'end marker C1h stands where the field "Serial number"', ['end marker C1h stands where the field "Serial number"'],
     {"board.product_name": "Thing"}),
    ("fields that go on in the next area", made(board=BOARD_READ_ON), 4, "board info area.*no end marker C1h",
     [r"board info area \(offset 0x0020\): no end marker C1h$"],
      {"board.product_name": "Thing", "product.product_name": "Box"}),
    ("a field like the end marker", image(board=board(MAKER, field("X"), field("S1"), field("P1"), field("Y")),
                                          tail=b"\0"), 5,
     'field "Product name" begins with the end marker', ['field "Product name" begins with the end marker',
                                                         '"FRU file ID"'],
     {"board.product_name": "X", "board.part_number": "P1", "board.fru_file_id": "Y"}),
    ("multirecord checksum", made(multi=multirecord(0xC1, b"\x40\x42\x0f\x55", last=True, off=1)), 5,
     r"multirecord 1 \(offset 0x0060\): the checksum is wrong", ["multirecord 1.*the checksum is wrong"],
     {"multirecord_1.oem_data": "55", "board.product_name": "Thing"}),
    ("multirecord header checksum", made(multi=multirecord(0xC1, b"\x40\x42\x0f\x55", header_off=3)), 5,
     "multirecord 1.*header's checksum", ["multirecord 1.*header's checksum is wrong"],
     {"board.product_name": "Thing"}),
    ("a multirecord list without end", made(multi=multirecord(0xC1, b"abc") * 3), 5,
     "multirecord 4.*no record is marked",
     ["multirecord 4.*no record is marked as the last"], {"multirecord_3.manufacturer_id": 0x636261}),
    ("a multirecord list that runs into zeros", made(multi=multirecord(0xC1, b"abc") + bytes(4000)), 5, "empty space",
     [r"multirecord 2 \(offset 0x0068\): empty space; no record is marked as the last"], {}),
    ("multirecords without data", made(multi=multirecord(0x10, b"") * 12000), 5, "multirecord 12001",
     ["multirecord 12001.*no record is marked as the last"], {}),
    ("a multirecord beyond the image", made(multi=multirecord(0xC1, b"abcd", length=200)), 5,
     "claims 200 bytes of data",
     ["multirecord 1.*claims 200 bytes of data, the image has 4"], {}),
    ("an unknown multirecord version", made(multi=multirecord(0xC1, b"abcd", last=True, version=3)), 5, "version 3",
     [r"multirecord 1.*unknown format version 3 \(2 is known\)"], {}),
    ("a multirecord list that is the header", image(board=BOARD, offsets=[0, 0, 1, 0, 1]), 5, "overlaps",
     ["multirecord 1.*header's checksum", "overlaps the multirecord area"], {"board.product_name": "Thing"}),
    ("noise", bytes(range(1, 256)), 4, "common header: the checksum", ["common header: the checksum"], {}),
]

# language, type, bytes, text, encoding
TEXTS = [
    (0, TEXT, b"Caf\xe9", "Caf\u00e9", "8-bit text"),
    (25, TEXT, "Caf\u00e9".encode(), "Caf\u00e9", "8-bit text"),
    (25, TEXT, b"pad\0\0", "pad", "8-bit text"),
    (25, TEXT, b"a\0b", r"a\x00b", "8-bit text"),
    (25, TEXT, b"\x1b[31m\x9b", r"\x1B[31m\x9B", "8-bit text"),
    (25, TEXT, bytes(range(0xC0, 0xFF)), "".join(map(chr, range(0xC0, 0xFF))), "8-bit text"),
    (135, TEXT, "\u4e2d\u56fd \u00fc".encode("utf-16-le"), "\u4e2d\u56fd \u00fc", "UCS-2 text"),
    (53, TEXT, "\U0001f600".encode("utf-16-le"), "\U0001f600", "UCS-2 text"),
    (53, TEXT, b"\x00\xd8A\x00", "\ufffdA", "UCS-2 text"),
    (53, TEXT, b"\x07\x00A\x00", r"\x07A", "UCS-2 text"),
    (53, TEXT, b"\x2d\x4e\xfd", "2d 4e fd", "UCS-2 text"),
    (22, TEXT, b"Plain ASCII", "Plain ASCII", "8-bit text"),
    (22, SIX_BIT, b"\x24\x01\x04", "D$ !", "6-bit ASCII"),
    (0, BCD, b"\x12\x3a\xbc\xde\xf0", "123 -.:,_0", "BCD plus"),
    (0, BCD, bytes([0x99] * 63), "9" * 126, "BCD plus"),
    (0, SIX_BIT, bytes([0xFF] * 63), "_" * 84, "6-bit ASCII"),
    (0, BINARY, bytes([0xA5] * 63), " ".join(["a5"] * 63), "binary"),
    (0, BINARY, b"", "", "binary"),
]


class Images(ToolCase):
    def show(self, data, *options):
        with tempfile.NamedTemporaryFile() as file:
            file.write(data)
            file.flush()
            return self.tool("-o", "json", "fru", "print", "--file", file.name, *options, driver="vm:127.0.0.1:1")

    def test_damaged(self):
        for name, data, status, message, complaints, values in DAMAGED:
            with self.subTest(name):
                strict = self.show(data)
                self.assertEqual(strict.status, status, strict)
                problems = "\n".join(problem["message"] for problem in strict.json().get("problems", [])) \
                    if strict.out else ""
                self.assertRegex(strict.err + problems, message or "^$")
                lenient = self.show(data, "--lenient")
                self.assertEqual(lenient.status, 5 if complaints else 0, lenient)
                shown = lenient.json()
                seen = ["%s: %s" % (problem["where"], problem["message"]) for problem in shown.get("problems", [])]
                for complaint in complaints:
                    self.assertTrue([text for text in seen if re.search(complaint, text)], (complaint, seen))
                for path, value in values.items():
                    section, key = path.split(".")
                    self.assertEqual(shown[section][key], value, path)

    def test_every_cut_and_every_flipped_bit(self):
        whole = made()
        broken = [whole[:size] for size in range(1, len(whole), 3)]
        for at in range(len(whole)):
            broken.append(whole[:at] + bytes([whole[at] ^ 1 << at % 8]) + whole[at + 1:])
        for data in broken:
            for options in ([], ["--lenient"]):
                run = self.show(data, *options)
                self.assertIn(run.status, (0, 4, 5), (data.hex(), run))
                if options:
                    self.assertIn(run.status, (0, 5), (data.hex(), run))
                    run.json()

    def test_texts(self):
        for language, kind, data, text, encoding in TEXTS:
            with self.subTest(language=language, kind=kind, data=data):
                for options in ([], ["--lenient"]):
                    data_image = image(product=product(field(data, kind), *[field("")] * 6, language=language))
                    run = self.show(data_image, "--details", *options)
                    self.assertEqual(run.status, 0, run)
                    shown = run.json()
                    self.assertEqual(shown["product"]["manufacturer"], text)
                    self.assertEqual(shown["fields"][0]["encoding"], encoding)

    def test_heads(self):
        for minutes, date in [(0, None), (1, "1996-01-01T00:01:00+00:00"), (0xFFFFFF, "2027-11-24T20:15:00+00:00")]:
            shown = self.show(image(board=board(*[field("")] * 5, minutes=minutes))).json()["board"]
            self.assertEqual(shown["manufacturing_date"], {"iso": date, "minutes": minutes})
        for code, tag in [(0, "en"), (1, "aa"), (22, "de"), (135, "zh"), (136, "zu"), (137, None), (255, None)]:
            shown = self.show(image(product=product(*[field("")] * 7, language=code))).json()["product"]
            self.assertEqual(shown["language"], {"code": code, "tag": tag})
        for code, name in [(0, "Unspecified"), (1, "Other"), (0x11, "Main server chassis"), (0x24, "Stick PC"),
                           (0x25, "Unknown type 0x25")]:
            shown = self.show(image(chassis=area([code], field(""), field("")))).json()["chassis"]
            self.assertEqual((shown["type"], shown["type_code"]), (name, code))

    def test_power_supply_flags(self):
        data = bytearray.fromhex("26f2 ffff ff 00 0a00 1400 0000 0000 00 00 00 1f 58f2 01 2c01 05")
        records = {"tachometer": data, "polarity": data[:17] + b"\x01" + data[18:23] + b"\0", "short": data[:23]}
        shown = {name: self.show(image(multi=multirecord(0, data, last=True))).json() for name, data in records.items()}
        first = shown["tachometer"]["multirecord_1"]
        self.assertEqual({key: first[key] for key in (
            "capacity_watts", "peak_va", "inrush_current_amperes", "input_voltage_1_low", "predictive_fail_signal",
            "predictive_fail_threshold_rps", "peak_watts", "hold_up_seconds", "combined_watts")},
            {"capacity_watts": 550, "peak_va": None, "inrush_current_amperes": None, "input_voltage_1_low": 0.1,
             "predictive_fail_signal": "two pulses a turn", "predictive_fail_threshold_rps": 5, "peak_watts": 600,
             "hold_up_seconds": 15, "combined_watts": 300})
        self.assertEqual(shown["polarity"]["multirecord_1"]["predictive_fail_signal"], "deasserted means failure")
        self.assertNotIn("multirecord_1", shown["short"])
        self.assertEqual(shown["short"]["multirecords"][0]["data"], data[:23].hex(" "))

    def test_standard_input(self):
        run = subprocess.run([toolcase.TOOL, "-o", "json", "fru", "print", "--file", "-"], input=made(),
                             env=self.environment("vm:127.0.0.1:1", {}), capture_output=True, timeout=30)
        self.assertEqual(run.returncode, 0, run)
        self.assertIn(b'"product_name": "Box"', run.stdout)


# --- reading

class Device:
    """A FRU device: its content, and the longest read it allows with the code for longer ones."""

    def __init__(self, content, limit=255, refusal=0xC8, words=False, size=None, beyond=0xC9, busy=0):
        self.content, self.limit, self.refusal, self.words = content, limit, refusal, words
        self.size, self.beyond, self.busy = len(content) if size is None else size, beyond, busy

    def info(self, data):
        return bytes([0, self.size & 0xFF, self.size >> 8, self.words])

    def read(self, data):
        unit = 2 if self.words else 1
        at, count = int.from_bytes(data[1:3], "little") * unit, data[3] * unit
        if self.busy:
            self.busy -= 1
            return b"\x81"
        if count > self.limit:
            return bytes([self.refusal])
        if at + count > len(self.content) and self.beyond == 0xC9 or at >= len(self.content):
            return bytes([self.beyond])
        part = self.content[at:at + count]
        return bytes([0, len(part) // unit]) + part

    def bmc(self):
        return FakeBmc({(0x0A, 0x10): self.info, (0x0A, 0x11): self.read})


CONTENT = made(tail=bytes(range(240)) + bytes(999))  # 1344 bytes, more than one read of any length

# device, requests to dump it, bytes that come, exit status
READS = [
    (Device(CONTENT), 6, None, 0),
    (Device(CONTENT, limit=128), 1 + 11, None, 0),
    (Device(CONTENT, limit=34), 3 + 42, None, 0),
    (Device(CONTENT, limit=34, refusal=0xC6), 3 + 42, None, 0),
    (Device(CONTENT, limit=34, refusal=0xC7), 3 + 42, None, 0),
    (Device(CONTENT, limit=34, refusal=0xCA), 3 + 42, None, 0),
    (Device(CONTENT, limit=34, refusal=0xFF), 3 + 42, None, 0),
    (Device(CONTENT, limit=3), 7 + 672, None, 0),
    (Device(CONTENT, limit=0), 9, b"", 4),
    (Device(CONTENT, limit=34, words=True), 3 + 42, None, 0),
    (Device(CONTENT, words=True), 6, None, 0),
    (Device(CONTENT[:300], words=True, size=400), None, CONTENT[:300], 5),
    (Device(CONTENT[:300], size=400), None, CONTENT[:300], 5),
    (Device(CONTENT[:300], size=400, limit=16), None, CONTENT[:300], 5),
    (Device(CONTENT, busy=5), 5 + 6, None, 0),
    (Device(CONTENT, busy=1000), 20, b"", 4),
    (Device(b"", size=64), None, b"", 4),
    (Device(b"", size=0), 0, b"", 4),
    (Device(CONTENT[:50], size=400, beyond=0x00), None, b"", 4),  # then answers without a count
]


class Reading(ToolCase):
    def setUp(self):
        self.file = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "fru.bin"

    def dump(self, bmc):
        return self.tool("fru", "dump", "7", self.file, "--force", driver=bmc.driver)

    def test_dump(self):
        for number, (device, requests, expected, status) in enumerate(READS):
            self.file.unlink(missing_ok=True)
            with self.subTest(number), device.bmc() as bmc:
                run = self.dump(bmc)
                self.assertEqual(run.status, status, run)
                if expected is None:
                    expected = device.content
                self.assertEqual(self.file.read_bytes() if self.file.exists() else b"", expected)
                if requests is not None:
                    self.assertEqual(bmc.count(0x0A, 0x11), requests)

    def test_no_data_is_no_endless_loop(self):
        with FakeBmc({(0x0A, 0x10): b"\0\x40\0\0", (0x0A, 0x11): b"\0\0"}) as bmc:
            run = self.dump(bmc)
            self.assertEqual(run.status, 4)
            self.assertIn("returned no data at byte 0 of 64", run.err)
            self.assertEqual(bmc.count(0x0A, 0x11), 1)

    def test_print_reads_what_the_areas_take(self):
        whole = made(tail=bytes(4000))
        for device, requests in [(Device(whole), 1), (Device(whole, limit=16), 4 + 7),
                                 (Device(image(internal=bytes([1] * 8), tail=bytes(1000))), 5)]:
            with device.bmc() as bmc:
                run = self.tool("fru", "print", "0", driver=bmc.driver)
                self.assertEqual(run.status, 0, run)
                self.assertEqual(bmc.count(0x0A, 0x11), requests)

    def test_short_image_is_shown(self):
        with Device(made(), size=1000).bmc() as bmc:
            run = self.tool("-o", "json", "fru", "print", "0", driver=bmc.driver)
            self.assertEqual(run.status, 0, run)  # all areas are there
        with Device(image(internal=b"\x99" + bytes(7)), size=1000).bmc() as bmc:
            run = self.tool("-o", "json", "fru", "print", "0", driver=bmc.driver)
            self.assertEqual(run.status, 5, run)
            self.assertEqual(run.json()["internal_use"]["length"], 8)
            self.assertIn("the image ends after 16 bytes", run.err)

    def test_locators_of_devices_elsewhere(self):
        def locator(number, address, device_id, access, name):
            body = bytes([address, device_id, access, 0, 0, 0x10, 0, 0x0A, 1, 0, 0xC0 | len(name)]) + name
            return bytes([number, 0, 0x51, 0x11, len(body)]) + body
        mc = bytes([4, 0, 0x51, 0x12, 0x0D, 0x2C, 0, 0, 0x08, 0, 0, 0, 0x0A, 1, 0, 0xC2]) + b"MC"
        records = {1: locator(1, 0x20, 0xA6, 0x0B, b"Eeprom"), 2: locator(2, 0x20, 3, 0x80, b"Riser"),
                   3: locator(3, 0x2C, 1, 0x80, b"Remote"), 4: mc}

        def get_sdr(data):
            record_id = int.from_bytes(data[2:4], "little") or 1
            following = record_id + 1 if record_id < 4 else 0xFFFF
            return b"\0" + following.to_bytes(2, "little") + records[record_id][data[4]:data[4] + data[5]]
        handlers = {(0x0A, 0x20): bytes.fromhex("00 51 04 00 00 00 00 00 00 00 00 00 00 00 02"), (0x0A,
                                                                                                  0x22): b"\0\1\0",
                    (0x0A, 0x23): get_sdr, (0x0A, 0x10): Device(made()).info, (0x0A, 0x11): Device(made()).read}
        with FakeBmc(handlers) as bmc:
            run = self.tool("-o", "json", "fru", driver=bmc.driver)
            table = self.tool("fru", driver=bmc.driver)
        self.assertEqual(run.status, 0, run)
        self.assertEqual([(device["id"], device["name"], device["status"]) for device in run.json()["fru_devices"]],
                         [(0, "built-in", "ok"), (3, "Riser", "ok"), (None, "Eeprom", "unreachable"),
                          (None, "Remote", "unreachable"), (None, "MC", "unreachable")])
        self.assertRegex(table.out, r"Eeprom +behind bus 3, address 0xA6, not readable")
        self.assertRegex(table.out, r"Remote +device 1 of controller 0x2C, not readable")


if __name__ == "__main__":
    unittest.main()
