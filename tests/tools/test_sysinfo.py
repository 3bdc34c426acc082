#!/usr/bin/env python3
"""lumipmi sysinfo on the reference BMC and on a scripted one."""
import subprocess
import unittest

import toolcase
from fakebmc import FakeBmc
from toolcase import ToolCase, start_bmc

WHAT = ["firmware", "name", "primary-os", "os-name", "os-version", "bmc-url", "hypervisor-url"]  # parameters 1 to 7
LATIN1, UTF8 = 0, 1

# text, encoding, bytes
TEXTS = [
    ("", LATIN1, 0),
    ("a" * 14, LATIN1, 14),  # fills the first block
    ("b" * 15, LATIN1, 15),
    ("c" * 30, LATIN1, 30),  # fills the second
    ("d" * 31, LATIN1, 31),
    ("e" * 255, LATIN1, 255),
    ("\u00a0Gr\u00fcn \u00ff", LATIN1, 7),
    ("\u00fc" * 255, LATIN1, 255),  # 510 bytes of UTF-8
    ("\u0100", UTF8, 2),
    ("Rack \u65e5\u672c \U0001f5a5", UTF8, 16),
    ("\u00c3\u00a9", UTF8, 4),  # looks like UTF-8 in Latin-1
]


def setUpModule():
    start_bmc()


def texts_of(document):
    return {row["key"]: row for row in document["texts"]}


class Sysinfo(ToolCase):
    def test_texts(self):
        for text, encoding, length in TEXTS:
            with self.subTest(text):
                row = texts_of(self.json_of("sysinfo", "set", "name", "--", text))["name"]
                self.assertEqual((row["text"], row["encoding"]["value"], row["length"]), (text, encoding, length))
                first = bytes.fromhex(toolcase.bmc.request("06 59 00 02 00 00"))
                self.assertEqual(first[2:5], bytes([0, encoding, length]))

    def test_each_parameter(self):
        rows = texts_of(self.json_of("sysinfo"))
        self.assertEqual([(key, row["parameter"]) for key, row in rows.items()],
                         [(key, i) for i, key in enumerate(WHAT, 1)])
        for i, key in enumerate(WHAT):
            with self.subTest(key):
                self.check_change(["sysinfo", "set", key, "changed " + key], ["sysinfo"],
                                  {"texts.%d.text" % i: "changed " + key}, ["sysinfo", "set", key, rows[key]["text"]])

    def test_refused(self):
        for words, text in [(["name", "x" * 256], "256 bytes; 255"), (["name", "\u0100" * 128], "256 bytes; 255"),
                            (["name", "\u0085"], "control characters"), (["name", "a\nb"], "control characters"),
                            (["name", "\udcff"], "not UTF-8"),
                            (["color", "x"], "primary-os"), (["name"], "text")]:
            with self.subTest(words):
                self.check_refused(["sysinfo", "set", *words], text)

    def test_agrees_with_ipmitool(self):
        def ipmitool(*words):
            done = subprocess.run(["ipmitool", "-C", "3", "-I", "lanplus", "-H", "127.0.0.1", "-p",
                                   str(toolcase.bmc.lan_port), "-U", "admin", "-P", "admin-pw", "mc", *words],
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, encoding="utf-8", timeout=60)
            return done.stdout.rstrip("\n")
        theirs = {"firmware": "system_fw_version", "name": "system_name", "primary-os": "primary_os_name",
                  "os-name": "os_name"}
        self.addCleanup(self.json_of, "sysinfo", "set", "os-name", "x")  # ipmitool counts the filling bytes, too
        ipmitool("setsysinfo", "os_name", "of ipmitool, in three blocks and \u00fcber 32 bytes")
        self.json_of("sysinfo", "set", "primary-os", "of lumipmi, longer than a block")
        ours = texts_of(self.json_of("sysinfo"))
        for key, name in theirs.items():
            self.assertEqual(ours[key]["text"], ipmitool("getsysinfo", name))
        self.assertIn("ipmitool", ours["os-name"]["text"])


class OtherBmcs(ToolCase):
    def set_on(self, refuse, text="0123456789abcdef"):
        """Sets the system name on a BMC that answers what `refuse` says; exit status, requests to set."""
        with FakeBmc({(6, 0x58): lambda data: bytes([refuse.get(data.hex()[:6], 0)])}) as bmc:
            run = self.tool("sysinfo", "set", "name", text, driver=bmc.driver)
            return run.status, [data.hex() for _, cmd, data in bmc.requests if cmd == 0x58]

    def test_progress(self):
        """In progress, the blocks, commit, complete; and what BMCs may refuse."""
        blocks = ["02000010" + b"0123456789abcd".hex(), "0201" + b"ef".hex() + "00" * 14]
        for refuse, expected in [({}, (0, ["0001", *blocks, "0002", "0000"])),
                                 ({"0002": 0xCC}, (0, ["0001", *blocks, "0002", "0000"])),
                                 ({"0001": 0x80}, (0, ["0001", *blocks])),
                                 ({"0001": 0x81}, (4, ["0001"])),
                                 ({"020165": 0x82}, (4, ["0001", *blocks, "0000"])),
                                 ({"0001": 0x80, "020000": 0x82}, (4, ["0001", blocks[0]]))]:
            with self.subTest(refuse):
                self.assertEqual(self.set_on(refuse), expected)

    def test_reading(self):
        """Blocks as BMCs have them: encoding and length, bytes, and what is shown."""
        for head, text, shown in [("0212", "4700 7200 fc00 3dd8 a5dd 00d8 4100 e565 0000",
                                   "Gr\u00fc\U0001f5a5\ufffdA\u65e5"),
                                  ("0207", "41 00 42 00 43 00 44", "ABC"),
                                  ("0006", "47 72 fc 6e 00 00", "Gr\u00fcn"),
                                  ("f105", "47 72 c3 bc 6e", "Gr\u00fcn"),
                                  ("0003", "61 1b 62", "a\\x1Bb")]:
            data = bytes.fromhex(head + text)
            blocks = data.ljust(32, b"\0")

            def answer(request):
                selector, block = request[1:3]
                return bytes([0, 0x11, block]) + blocks[16 * block:16 * block + 16] if selector == 2 else b"\x80"
            with self.subTest(shown), FakeBmc({(6, 0x59): answer}) as bmc:
                document = self.json_of("sysinfo", driver=bmc.driver)
                self.assertIsNone(document["state"]["set_in_progress"])
                rows = texts_of(document)
                self.assertEqual((rows["name"]["text"], rows["firmware"]["text"]), (shown, None))


if __name__ == "__main__":
    unittest.main()
