"""A problem taken along: the tool's exchanges with the reference BMC are recorded and then played without it."""
import pathlib
import stat
import tempfile
import unittest

import toolcase
from toolcase import ToolCase, start_bmc

OK, USAGE, NO_BMC, REFUSED = 0, 2, 3, 4

COMMANDS = (["info"], ["sensors"], ["sel"], ["fru", "print", "0"], ["lan"], ["-o", "json", "user"])

recordings = {}  # command: file, and how it ended


def setUpModule():
    """Records every command, one of them refused by the BMC, and stops the BMC."""
    start_bmc()
    directory = tempfile.TemporaryDirectory(prefix="replay-")
    unittest.addModuleCleanup(directory.cleanup)
    recorder = ToolCase()
    for number, words in enumerate([*COMMANDS, ["chassis"]]):
        if words == ["chassis"]:
            toolcase.bmc.cmd("fault 0x00 0x01 1 0xd4")
        file = pathlib.Path(directory.name, "%d.txt" % number)
        recordings[" ".join(words)] = (file, recorder.tool(*words, env={"LUMIPMI_TRACE": str(file)}))
    toolcase.bmc.stop()


class Replay(ToolCase):
    def test_the_same_without_the_bmc(self):
        for words, (file, live) in recordings.items():
            for kind in ("replay", "replay-any"):
                with self.subTest(words, kind=kind):
                    self.assertEqual(live.status, REFUSED if words == "chassis" else OK, live)
                    self.assertEqual(self.tool(*words.split(), "--driver", "%s:%s" % (kind, file)), live)
            self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o600)

    def test_another_command(self):
        file, _ = recordings["info"]
        run = self.tool("sensors", "--driver", "replay:%s" % file)
        self.assertEqual((run.status, run.out), (NO_BMC, ""), run)
        self.assertIn("%s:3: expected netFn 0x06 LUN 0 command 0x01, but" % file, run.err)

    def test_all_in_one(self):
        """Several runs in one file: by content, each finds its own."""
        whole = recordings["info"][0].with_name("whole.txt")
        whole.write_bytes(b"".join(file.read_bytes() for words, (file, _) in recordings.items() if words != "chassis"))
        for words in ("sensors", "info"):
            self.assertEqual(self.tool(*words.split(), driver="replay-any:%s" % whole), recordings[words][1])

    def test_damage(self):
        file, _ = recordings["info"]
        lines = file.read_bytes().splitlines(keepends=True)
        cut, torn = file.with_name("cut.txt"), file.with_name("torn.txt")
        cut.write_bytes(b"".join(lines)[:-3])
        torn.write_bytes(b"".join([*lines[:3], lines[3].replace(b">", b""), *lines[4:]]))
        table = [
            (cut, USAGE, "%s:%d: the file is cut off in this line" % (cut, len(lines))),
            (torn, USAGE, "%s:4: \">\" is missing" % torn),
            (file.with_name("missing.txt"), NO_BMC, "no such file"),
        ]
        for damaged, status, text in table:
            for kind in ("replay", "replay-any"):
                with self.subTest(damaged.name, kind=kind):
                    run = self.tool("raw", "6", "1", "--driver", "%s:%s" % (kind, damaged))
                    self.assertEqual((run.status, run.out), (status, ""), run)
                    self.assertIn(text, run.err)

    def test_unwritable(self):
        file, live = recordings["info"]
        run = self.tool("info", driver="replay:%s" % file, env={"LUMIPMI_TRACE": "/proc/no/trace"})
        self.assertEqual((run.status, run.out), (live.status, live.out), run)
        self.assertEqual(run.err.count("LUMIPMI_TRACE: /proc/no/trace: "), 1, run.err)


if __name__ == "__main__":
    unittest.main()
