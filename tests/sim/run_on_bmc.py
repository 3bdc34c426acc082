#!/usr/bin/env python3
"""usage: run_on_bmc.py PROGRAM [ARGUMENT...]: runs a program on a reference BMC of its own."""
import os
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from refbmc import RefBmc  # noqa: E402

with RefBmc() as bmc:
    os.environ["LUMIPMI_DRIVER"] = "vm:127.0.0.1:%d" % bmc.vm_port
    sys.exit(subprocess.run(sys.argv[1:]).returncode)
