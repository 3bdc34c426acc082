"""The lumipmi tool in tests.

    from toolcase import ToolCase, start_bmc

    def setUpModule():
        start_bmc()

    class Something(ToolCase):
        def test_it(self):
            run = self.tool("-o", "json", "info")
            self.assertEqual(run.status, 0, run)
            self.assertEqual(run.json()["device"]["device_id"], 17)
"""
import csv
import dataclasses
import io
import json
import os
import pathlib
import pty
import select
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from refbmc import RefBmc  # noqa: E402

TOOL = os.environ["LUMIPMI_TOOL"]

bmc = None  # the BMC of the test module


def start_bmc(*args, **options):
    """Start the BMC of the test module, to be called from setUpModule; arguments of RefBmc."""
    global bmc
    bmc = RefBmc(*args, **options).start()
    unittest.addModuleCleanup(bmc.stop)
    return bmc


@dataclasses.dataclass
class Run:
    """How the tool ended and what it wrote."""
    status: int
    out: str
    err: str

    def json(self):
        return json.loads(self.out)

    def csv(self):
        return list(csv.reader(io.StringIO(self.out), strict=True))


class ToolCase(unittest.TestCase):
    maxDiff = None

    def environment(self, driver, changes):
        """Ours without what changes the tool's ways; the tool talks to the BMC of the module unless told otherwise."""
        env = {name: value for name, value in os.environ.items()
               if not name.startswith("LUMIPMI_") and
               name not in ("NO_COLOR", "LD_PRELOAD", "HOME", "XDG_CACHE_HOME")}  # without a home there is no cache
        env.update(TZ="UTC", LC_ALL="C.UTF-8", TERM="xterm")
        env["LUMIPMI_DRIVER"] = driver or "vm:127.0.0.1:%d" % bmc.vm_port
        env.update(changes)
        return env

    def tool(self, *args, driver=None, env={}, stdin=None, **options):
        """Run the tool; options are those of subprocess.run. `stdin`: text for its standard input."""
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        done = subprocess.run([TOOL, *map(str, args)], env=self.environment(driver, env), input=stdin or "",
                              encoding="utf-8", timeout=90, **options)
        return Run(done.returncode, done.stdout or "", done.stderr or "")

    def tool_on_terminal(self, *args, driver=None, env={}, typed=b""):
        """Run the tool on a terminal of its own; the output has both what it wrote to standard output and error."""
        master, slave = pty.openpty()
        try:
            with subprocess.Popen([TOOL, *map(str, args)], env=self.environment(driver, env), stdin=slave,
                                  stdout=slave, stderr=slave, start_new_session=True) as process:
                os.close(slave)
                slave = None
                os.write(master, typed)
                shown = b""
                while select.select([master], [], [], 90)[0]:
                    try:
                        shown += os.read(master, 4096)
                    except OSError:  # the other end is closed
                        break
                else:
                    process.kill()
                    self.fail("no end in sight after %r" % shown)
                return Run(process.wait(), shown.decode("utf-8").replace("\r\n", "\n"), "")
        finally:
            os.close(master)
            if slave is not None:
                os.close(slave)

    def fault(self, text):
        """Make requests fail until the end of the test: "0x06 0x04 1 0xc0"; see sim/module/fault.c."""
        bmc.cmd("fault " + text)
        self.addCleanup(bmc.cmd, "fault off")

    def json_of(self, *words, status=0, **options):
        """What the tool says in JSON."""
        run = self.tool("-o", "json", *words, **options)
        self.assertEqual(run.status, status, run)
        return run.json()

    def check_change(self, change, show, expected, restore, stdin=None, volatile=()):
        """Changes a setting, reads it back with another command, restores it. `expected`: {path: value} in what
        `show` says, "lan.ip_source.text"; `volatile`: paths that change by themselves."""
        before = self.json_of(*show)
        for path, value in expected.items():
            self.assertNotEqual(field(before, path), value, "%s has that value already" % path)
        try:
            self.json_of("--yes", *change, stdin=stdin)
            after = self.json_of(*show)
            for path, value in expected.items():
                self.assertEqual(field(after, path), value, path)
        finally:
            self.json_of("--yes", *restore)
        restored = self.json_of(*show)
        for path in volatile:
            put_field(restored, path, field(before, path))
        self.assertEqual(restored, before)

    def check_changes(self, command, changes, restore):
        """check_change() for rows (options of `command` set, {path below `command`: value in what it shows})."""
        for options, expected in changes:
            with self.subTest(options):
                self.check_change([command, "set", *options], [command],
                                  {command + "." + path: value for path, value in expected.items()}, restore)

    def check_refused(self, words, *texts, status=2, stdin=None):
        """The tool refuses, says why on standard error, and shows nothing."""
        run = self.tool(*words, stdin=stdin)
        self.assertEqual(run.status, status, run)
        for text in texts:
            self.assertIn(text, run.err)
        self.assertEqual(run.out, "")

    def check_all_refused(self, command, rows):
        """check_refused() for rows (words behind those of `command`, texts)."""
        for words, texts in rows:
            with self.subTest(words):
                self.check_refused([*command, *words], *texts)


def field(document, path):
    """A value of a JSON document: "users.1.name"."""
    for step in path.split("."):
        document = document[int(step)] if isinstance(document, list) else document[step]
    return document


def put_field(document, path, value):
    parent, _, name = path.rpartition(".")
    field(document, parent)[name] = value
