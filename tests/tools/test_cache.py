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

OK, PARTIAL, TIMED_OUT = 0, 5, 6
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

    def __init__(self, records=RECORDS, guid=b"\0" + GUID_BYTES, handlers={}, **ways):
        super().__init__(records, {INFO: self._info, GUID: lambda _: self.guid, DEVICE: lambda _: self.device,
                                   **READING, **SEL, **handlers}, **ways)
        self.info = {"version": 0x51, "free": 0xFFFE, "add": MOMENT, "erase": UNSPECIFIED}
        self.guid, self.device = guid, bytes.fromhex("00 11 01 02 15 02 bf 40420f 3412")

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
        self.env = {"XDG_CACHE_HOME": str(self.base)}
        self.folder = self.base / "lumipmi"
        self.file = self.folder / FILE

    def run_tool(self, bmc, *words, env=None, **options):
        """How it ended, and how many requests of each kind it took."""
        bmc.requests.clear()
        run = self.tool("-o", "json", "--timeout", 1000, *words, driver=bmc.driver, env=env or self.env, **options)
        return run, bmc.count(*GET_SDR), len(bmc.requests)

    def check_cold(self, bmc, **options):
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
                    shutil.rmtree(self.folder, ignore_errors=True)
                    first, _, first_requests = self.run_tool(bmc, *words)
                    self.assertEqual(self.files(), [] if words == ["fru"] else [FILE])  # which reads some records only
                    self.run_tool(bmc, "sdr")
                    second, second_reads, second_requests = self.run_tool(bmc, *words)
                    self.assertEqual((first, second), (without, without))
                    self.assertEqual((second_reads, bmc.count(*RESERVE)), (0, 0))
                    self.assertLessEqual(first_requests, requests + 2)
                    self.assertLess(second_requests, requests - reads + 3)
        self.assertEqual(self.files(), [FILE])
        self.assertEqual([stat.S_IMODE(path.stat().st_mode) for path in (self.folder, self.file)], [0o700, 0o600])

    def test_requests_to_the_reference_bmc(self):
        # command, requests at most without a cache, cold and warm: 54 records, 60 events
        table = {"": [("sensors", 151, 154, 58), ("sel", 157, 160, 64), ("fru", 80, 80, 29)],
                 "long": [("sensors", 109, 112, 58), ("sel", 115, 118, 64), ("fru", 63, 63, 12)]}
        for options, rows in table.items():
            with RefBmc(options=options) as bmc:
                with bmc.client() as client:
                    for _ in range(48):
                        client.request(0x0A, 0x44, SEL[(0x0A, 0x43)][3:])
                for command, *most in rows:
                    def count(*words):
                        run = self.tool("-v", *words, driver="vm:127.0.0.1:%d" % bmc.vm_port, env=self.env)
                        return run.err.count("> NetFn")

                    with self.subTest(options=options, command=command):
                        counts = [count(command, "--no-cache"), count(command)]
                        count("sdr")
                        counts.append(count(command))
                        self.assertTrue(all(a <= b for a, b in zip(counts, most)), counts)
                    shutil.rmtree(self.folder)

    def test_few_records_of_many(self):
        with CachedBmc(most=32) as bmc:
            run, reads, _ = self.run_tool(bmc, "fru")
            self.assertEqual((run.status, [row["id"] for row in run.json()["fru_devices"]]), (PARTIAL, [0, 1]))
            self.assertEqual((reads, bmc.count(*RESERVE)), (len(RECORDS) + 2, 0))  # two sizes are refused

    def test_another_state_is_read_anew(self):
        another = full(1, "Two")
        # what changes besides the record
        table = [{"add": MOMENT + 1}, {"erase": MOMENT}, {"free": 17}, {"version": 0x02}]
        for info in table:
            with self.subTest(info), CachedBmc() as bmc:
                shutil.rmtree(self.folder, ignore_errors=True)
                self.check_cold(bmc)
                bmc.replace(another)
                bmc.info.update(info)
                self.check_cold(bmc)
                self.check_warm(bmc)
        with CachedBmc() as bmc:
            self.check_cold(bmc)
            del bmc.records[1:4]
            bmc.records[1] = b"\2\0" + bmc.records[1][2:]
            self.check_cold(bmc)
            self.check_warm(bmc)

    def test_change_on_the_way(self):
        """The state from before the walk counts: what was read then is not taken for what is there now."""
        with CachedBmc() as bmc:
            def change(number):
                if number == 4:
                    bmc.info["add"] += 1
                    bmc.replace(full(1, "Two"))
            bmc.cancel = change
            self.run_tool(bmc, "sdr")
            bmc.cancel = None
            self.check_cold(bmc)

    def test_times_that_say_little(self):
        """Without a clock a new firmware can bring other records with the same times."""
        with CachedBmc() as bmc:
            bmc.info["add"] = BEFORE_CLOCK
            self.check_cold(bmc)
            self.check_warm(bmc)
            bmc.replace(full(1, "Two"))
            bmc.device = bmc.device[:3] + b"\3" + bmc.device[4:]
            self.check_cold(bmc)
            self.check_warm(bmc)

    def test_bmc_that_cannot_be_kept(self):
        # handlers, last addition
        table = [({}, UNSPECIFIED), ({INFO: b"\xc1"}, 0), ({INFO: b"\0\x51\5\0"}, 0), ({INFO: None}, 0),
                 ({GUID: b"\xc1", DEVICE: b"\xc1"}, MOMENT), ({DEVICE: b"\0\1\2"}, BEFORE_CLOCK)]
        for handlers, added in table:
            with self.subTest(handlers, added=added), CachedBmc(handlers=handlers) as bmc:
                bmc.info["add"] = added
                for _ in range(2):
                    self.assertEqual(self.check_cold(bmc, stdin="").status, PARTIAL)  # for the name that is too long
                self.assertEqual(self.files(), [])

    def test_lost_bmc_is_left_alone(self):
        commands = (INFO, GUID, DEVICE, GET_SDR)
        for answered in ([], [INFO], [INFO, GUID]):
            handlers = {command: None for command in commands if command not in answered}
            with self.subTest(answered), CachedBmc(handlers=handlers) as bmc:
                bmc.info["add"] = BEFORE_CLOCK
                run, _, requests = self.run_tool(bmc, "sdr")
                self.assertEqual((run.status, run.out, requests), (TIMED_OUT, "", len(answered) + 2))

    def test_bmc_without_a_guid(self):
        for guid in (b"\xc1", b"\0" * 17, b"\0" + b"\xff" * 16, b"\0\1"):
            with self.subTest(guid), CachedBmc(guid=guid) as bmc, CachedBmc([full(1, "Two")], guid=guid) as other:
                shutil.rmtree(self.folder, ignore_errors=True)
                for one in (bmc, other):
                    self.check_cold(one)
                for one in (bmc, other):
                    self.check_warm(one)
                self.assertEqual([name[:16] for name in self.files()], ["44110140420f3412"] * 2)

    def test_incomplete_walks_are_not_kept(self):
        for ways in ({"broken": {(2, None): 0xCC}}, {"broken": {(3, 16): 0xFF}, "most": 16}, {"followers": {3: 2}},
                     {"broken": {(5, None): 0xCC}}):
            with self.subTest(ways), CachedBmc(**ways) as bmc:
                for _ in range(2):
                    run, reads, _ = self.run_tool(bmc, "sdr")
                    self.assertEqual((run.status, reads > 0, self.files()), (PARTIAL, True, []))

    def test_switched_off(self):
        trace = self.base / "trace.txt"
        table = [(["--no-cache"], self.env), ([], {**self.env, "LUMIPMI_TRACE": str(trace)})]
        with CachedBmc() as bmc:
            for words, env in table:
                run, reads, requests = self.run_tool(bmc, "sdr", *words, env=env)
                self.assertEqual((reads, requests, self.files()), (len(RECORDS), len(RECORDS), []))
            live = self.check_cold(bmc)
            self.check_warm(bmc)
            trace.rename(self.base / "first.txt")
            for words, env in table:
                self.assertEqual(self.run_tool(bmc, "sdr", *words, env=env)[1:], (len(RECORDS), len(RECORDS)))
        for kind in ("replay", "replay-any"):
            self.assertEqual(self.tool("-o", "json", "sdr", driver="%s:%s" % (kind, trace), env=self.env), live)


class Distrust(CacheCase):
    """Whatever stands in the place of the file, the records are the BMC's, and nothing is said."""

    def check_replaced(self, bmc, is_replaced=True):
        self.assertEqual(self.check_cold(bmc).err, self.quiet)
        if is_replaced:
            self.check_warm(bmc)
            self.assertEqual(self.files(), [FILE])

    def setUp(self):
        super().setUp()
        bmc = CachedBmc()
        self.bmc = bmc.__enter__()
        self.addCleanup(bmc.__exit__)
        self.quiet = self.run_tool(bmc, "sdr", "--no-cache")[0].err
        self.check_cold(bmc)
        self.good = self.file.read_bytes()

    def test_content(self):
        good, end = self.good, len(self.good) - 4
        body, key = good[:end], good.index(b"G" + GUID_BYTES)
        state = key + 18
        count = state + 14
        table = [b"", b"\0", b"text\n" * 50, with_checksum(b""), with_checksum(body[:18]), body, body + bytes(4),
                 good + b"\0", good * 2, with_checksum(body + b"\0"), with_checksum(b"L" + body[1:])]
        ends = (1, 17, 18, 20, key, state, count, count + 2, count + 4, count + 9, end - 1)
        table += [good[:size] for size in (*ends, end, end + 3)] + [with_checksum(good[:size]) for size in ends]
        table += [good[:at] + bytes([good[at] ^ 1 << bit]) + good[at + 1:]
                  for at, bit in ((0, 0), (18, 0), (key + 4, 7), (state, 0), (count, 1), (count + 30, 3), (end - 1, 7),
                                  (end, 0))]
        # with a good checksum: version, lengths, key, state, number of records, length of a record
        for at, byte in ((18, 2), (19, 1), (key - 1, 16), (key - 1, 255), (key - 1, 0), (key + 1, 0), (state - 1, 13),
                         (state - 1, 255), (state, 0x50), (count, 0), (count, 4), (count, 6), (count + 1, 255),
                         (count + 8, 255), (count + 8, 0)):
            self.assertNotEqual(body[at], byte)
            table.append(with_checksum(body[:at] + bytes([byte]) + body[at + 1:]))
        self.assertEqual((good[18:20], good[count:count + 2]), (b"\1\0", b"\5\0"))
        self.bmc.replace(full(1, "Two"))  # the file does not have the truth
        for content in table:
            with self.subTest(content[:60], size=len(content)):
                self.file.write_bytes(content)
                self.check_replaced(self.bmc)

    def test_file_of_another_bmc(self):
        other = self.folder / ("47" + bytes(range(16)).hex() + ".sdr")
        with CachedBmc([full(1, "Two")], guid=b"\0" + bytes(range(16))) as bmc:
            self.check_cold(bmc)
        other.rename(self.file)
        self.check_replaced(self.bmc)

    def test_kind_of_file(self):
        elsewhere = self.base / "elsewhere"
        elsewhere.write_bytes(self.good)

        def as_link():
            self.file.unlink()
            self.file.symlink_to(elsewhere)

        def as_pipe():
            self.file.unlink()
            os.mkfifo(self.file)

        def as_folder():
            self.file.unlink()
            self.file.mkdir()

        table = [as_link, as_pipe, lambda: self.file.chmod(0o620), lambda: self.file.chmod(0o602), as_folder]
        if os.geteuid() == 0:
            table.insert(0, lambda: os.chown(self.file, NOBODY, NOBODY))
        self.bmc.replace(full(1, "Two"))
        for number, make in enumerate(table):
            with self.subTest(number):
                make()
                self.check_replaced(self.bmc, is_replaced=make != as_folder)
        self.assertEqual((elsewhere.read_bytes(), self.file.is_dir()), (self.good, True))

    def test_kind_of_folder(self):
        elsewhere = self.base / "elsewhere"

        def as_link():
            self.folder.rename(elsewhere)
            self.folder.symlink_to(elsewhere)

        def as_file():
            self.folder.unlink()
            self.folder.write_text("mine")

        self.bmc.replace(full(1, "Two"))
        for make in (lambda: self.folder.chmod(0o770), lambda: self.folder.chmod(0o707), as_link, as_file):
            make()
            self.check_replaced(self.bmc, is_replaced=False)
            self.folder.is_dir() and self.folder.chmod(0o700)
        self.assertEqual((elsewhere / FILE).read_bytes(), self.good)
        loud, _, _ = self.run_tool(self.bmc, "sdr", "-v")
        self.assertIn("cache: not used: %s: Not a directory\n" % self.folder, loud.err)


class Writing(CacheCase):
    def test_places(self):
        # environment, the folder that it leads to
        table = [({"HOME": "/B"}, ".cache/lumipmi"), ({"HOME": "/B", "XDG_CACHE_HOME": ""}, ".cache/lumipmi"),
                 ({"HOME": "/B", "XDG_CACHE_HOME": "relative"}, ".cache/lumipmi"),
                 ({"HOME": "/nowhere", "XDG_CACHE_HOME": "/B/new"}, "new/lumipmi"),
                 ({"XDG_CACHE_HOME": "/B"}, "lumipmi"), ({"XDG_CACHE_HOME": "/B/a/b"}, None),
                 ({"HOME": "/B/nowhere"}, None), ({"HOME": "relative"}, None),
                 ({"HOME": "", "XDG_CACHE_HOME": ""}, None), ({"XDG_CACHE_HOME": "/dev/null"}, None)]
        for env, place in table:
            with self.subTest(env), CachedBmc() as bmc, tempfile.TemporaryDirectory(prefix="cache-") as base:
                env = {name: value.replace("/B", base) for name, value in env.items()}
                self.check_cold(bmc, env=env, cwd=base)
                if place:
                    self.check_warm(bmc, env=env, cwd=base)
                found = [path.relative_to(base) for path in pathlib.Path(base).rglob("*.sdr")]
                self.assertEqual(found, [pathlib.Path(place, FILE)] if place else [])

    @staticmethod
    def as_user():
        """Root may write everywhere; the tool runs as somebody else then."""
        return {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}

    def test_read_only_folder(self):
        for path, mode in ((self.base, 0o755), (self.folder, 0o500)):
            path.mkdir(exist_ok=True)
            path.chmod(mode)
            if os.geteuid() == 0:
                os.chown(path, NOBODY, NOBODY)
        try:
            subprocess.run([TOOL, "--version"], check=True, stdout=subprocess.DEVNULL, **self.as_user())
        except (OSError, subprocess.CalledProcessError):
            self.skipTest("the tool cannot be run by another user")
        with CachedBmc() as bmc:
            quiet = self.run_tool(bmc, "sdr", "--no-cache")[0].err
            self.assertEqual(self.check_cold(bmc, **self.as_user()).err, quiet)
            self.assertEqual(self.files(), [])
            loud, _, _ = self.run_tool(bmc, "sdr", "-v", **self.as_user())
            self.assertIn("\ncache: not written: %s: Permission denied\n" % self.folder, loud.err)
            # a file that is there already counts
            self.folder.chmod(0o700)
            self.check_cold(bmc, **self.as_user())
            self.folder.chmod(0o500)
            self.check_warm(bmc, **self.as_user())
            bmc.info["add"] += 1
            before = self.file.read_bytes()
            self.assertEqual(self.check_cold(bmc, **self.as_user()).err, quiet)
            self.assertEqual(self.file.read_bytes(), before)

    def test_full_disk(self):
        def full_disk():  # Python ignores SIGXFSZ, and so does the tool then
            resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))

        with CachedBmc() as bmc:
            self.folder.mkdir(0o700)
            quiet = self.run_tool(bmc, "sdr", "--no-cache")[0].err
            run = self.check_cold(bmc, preexec_fn=full_disk, restore_signals=False)
            self.assertEqual((run.err, self.files()), (quiet, []))

    def test_two_processes_at_once(self):
        """Each sees a whole file, while others read and write it for BMCs that change and have one GUID."""
        rounds, failures = 12, []

        def work(bmc, name):
            for number in range(rounds):
                bmc.info["add"] = MOMENT + number % 3
                bmc.replace(full(1, "%s %d" % (bmc.info["add"] % 10, 0)))
                run, _, _ = self.run_tool(bmc, "sdr")
                try:
                    self.check_records(run, bmc)
                except Exception as failure:
                    failures.append((name, number, run, failure))

        bmcs = [CachedBmc(most=32) for _ in range(3)]
        threads = [threading.Thread(target=work, args=(bmc.__enter__(), index)) for index, bmc in enumerate(bmcs)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for bmc in bmcs:
            bmc.__exit__()
        self.assertEqual((failures, self.files()), ([], [FILE]))


class Commands(CacheCase):
    def cache(self, *words, **env):
        run = self.tool("-o", "json", "cache", *words, driver="vm:nowhere:1", env=env or self.env)
        return run.status, run.json()

    def test_list_and_clear(self):
        self.assertEqual(self.cache(), (OK, {"cache": []}))
        self.assertEqual(self.cache("clear"), (OK, {"removed": []}))
        self.assertFalse(self.folder.exists())
        with CachedBmc() as one, CachedBmc([full(1, "Two")], guid=b"\xc1") as two:
            self.check_cold(one)
            self.check_cold(two)
        damaged, left, foreign = (self.folder / name for name in ("00ff.sdr", ".0123456789abcdef.tmp", "notes.sdr"))
        for path in (damaged, left, foreign):
            path.write_bytes(b"x")
        os.utime(self.file, (0, 0))
        status, shown = self.cache("list")
        self.assertEqual((status, self.cache()), (OK, (OK, shown)))
        files = {row["path"]: row for row in shown["cache"]}
        two_path = next(path for path in files if path.startswith(str(self.folder / "44")))
        self.assertEqual(sorted(files), sorted([str(self.file), two_path, str(damaged), str(left)]))
        text = GUID_BYTES[::-1].hex()
        text = "-".join((text[:8], text[8:12], text[12:16], text[16:20], text[20:]))
        rows = [files[path] for path in (str(self.file), two_path, str(damaged))]
        self.assertEqual([(row["bmc"], row["records"]) for row in rows],
                         [(text, 5), ("device 0x11 of manufacturer 1000000, product 0x1234", 1), (None, None)])
        self.assertEqual(files[str(self.file)]["size"], self.file.stat().st_size)
        self.assertGreater(files[str(self.file)]["age"], 1600000000)
        self.assertLess(files[two_path]["age"], 100)
        self.assertIn(text, self.tool("cache", env=self.env, driver="vm:nowhere:1").out)

        status, removed = self.cache("clear")
        self.assertEqual((status, [row["path"] for row in removed["removed"]]),
                         (OK, [row["path"] for row in shown["cache"]]))
        self.assertEqual((self.files(), self.cache()), (["notes.sdr"], (OK, {"cache": []})))

    def test_what_cannot_be_listed(self):
        self.folder.mkdir(0o700)
        self.file.mkdir()
        status, shown = self.cache("clear")
        self.assertEqual((status, shown["removed"], len(shown["problems"])), (PARTIAL, [], 1))
        self.folder.chmod(0o777)
        for env in (self.env, {"HOME": ""}):
            status, shown = self.cache("list", **env)
            self.assertEqual((status, shown["cache"], len(shown["problems"])), (PARTIAL, [], 1))


if __name__ == "__main__":
    unittest.main()
