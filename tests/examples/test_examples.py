#!/usr/bin/env python3
"""The example programs as an application developer builds and runs them."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve()
sys.path.insert(0, str(HERE.parents[1] / "support"))
from installed import Installed, example_sources  # noqa: E402
from refbmc import RefBmc  # noqa: E402

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]


def setUpModule():
    global bmc, folder, library
    temporary = tempfile.TemporaryDirectory(prefix="examples-")
    unittest.addModuleCleanup(temporary.cleanup)
    folder = pathlib.Path(temporary.name)
    installed = Installed(os.environ["LUMIPMI_BUILD"], folder / "usr")
    library = installed.library
    for source in example_sources():
        installed.compile(source, folder / source.stem, os.environ["CC"], os.environ["CXX"], *WARNINGS)
    bmc = RefBmc().start()
    unittest.addModuleCleanup(bmc.stop)


class Examples(unittest.TestCase):
    def run_example(self, *words, status=0, driver=None):
        env = {**os.environ, "LD_LIBRARY_PATH": str(library), "TZ": "UTC",
               "LUMIPMI_DRIVER": driver or "vm:127.0.0.1:%d" % bmc.vm_port}
        done = subprocess.run([str(folder / words[0]), *map(str, words[1:])], env=env, capture_output=True, text=True,
                              timeout=60)
        self.assertEqual(done.returncode, status, done)
        return done.stdout if status != 1 else done.stderr

    def test_inventory(self):
        shown = {line[:18].strip(): line[19:] for line in self.run_example("inventory", 4).splitlines()}
        self.assertEqual(shown["IPMI version"], "2.0")
        self.assertEqual(shown["BMC firmware"], "2.15")
        self.assertEqual(shown["Power"], "on")
        for what in ("BIOS", "Host name", "Operating system", "Unit tag", "Manufacturer", "Product", "Serial number"):
            self.assertRegex(shown[what], r"^\w", what)

    def test_sensor_watch(self):
        lines = self.run_example("sensor_watch", 1, 2, 0).splitlines()
        self.assertEqual(lines[0], "Inlet Temp: lower non-critical 5; lower critical 2; lower non-recoverable 0; "
                                   "upper non-critical 38; upper critical 42; upper non-recoverable 47;")
        self.assertEqual(lines[1:], ["23 ok", "23 ok"])
        bmc.cmd("sensor_set_value 0x20 0 1 43 0")
        self.addCleanup(bmc.cmd, "sensor_set_value 0x20 0 1 23 0")
        self.assertEqual(self.run_example("sensor_watch", 1, status=2).splitlines()[1],
                         "43 above upper non-critical, above upper critical")
        self.assertIn("0x20000213", self.run_example("sensor_watch", 0xFE, status=1))

    def test_network(self):
        before = self.run_example("network")
        self.assertIn("Address          192.0.2.10\n", before)
        self.assertIn("IPMI over LAN    on, privilege limit 4\n", before)
        self.assertIn("usage", self.run_example("network", "300.0.0.1", "255.0.0.0", "10.0.0.1", status=1))
        # the settings of ipmi_sim count only between "set in progress" and "commit"
        bmc.request("0c 01 01 00 01")
        self.addCleanup(bmc.request, "0c 01 01 00 00")
        after = self.run_example("network", "192.0.2.20", "255.255.0.0", "192.0.2.9")
        self.assertIn("Address          192.0.2.20\n", after)
        self.assertIn("Subnet mask      255.255.0.0\n", after)
        self.assertIn("Gateway          192.0.2.9\n", after)

    def test_event_watch(self):
        shown = self.run_example("event_watch", 0).splitlines()
        self.assertEqual(len(shown), 12)
        self.assertEqual(shown[0], "0001 2023-11-14T22:13:20Z sensor 0x01 (type 0x01) asserted, event type 0x01, "
                                   "data 57 27 26")
        self.assertEqual(shown[11], "000C record of type 0xE5")

    def test_no_bmc(self):
        for name, status in [("inventory", "0x20000600"), ("event_watch", "0x20000600"),
                             ("network", "0x20000213")]:  # no channel answers
            self.assertIn(status, self.run_example(name, status=1, driver="vm:127.0.0.1:1"))


if __name__ == "__main__":
    unittest.main()
