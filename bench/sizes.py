#!/usr/bin/env python3
"""Size and start-up of liblumipmi beside its peers.

    sizes.py BUILD [ARM64-BUILD]      prints JSON: a list of libraries with their figures

The loading figures are the medians of runs of BUILD/bench/lumipmi-load, each in a process of its own, with our
libraries as they are installed: without the search paths of the build folder.
"""
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

PEER_FOLDER = "/usr/lib/x86_64-linux-gnu/"
PEERS = {"libfreeipmi": PEER_FOLDER + "libfreeipmi.so.17", "libOpenIPMI": PEER_FOLDER + "libOpenIPMI.so.0"}
RUNS = 15


def output(*command, environment=None):
    return subprocess.run([str(word) for word in command], check=True, stdout=subprocess.PIPE, text=True,
                          env=environment).stdout


def file_figures(path, prefix=""):
    """What the file itself says, in bytes; prefix is that of the cross tools."""
    text, data, bss = map(int, output(prefix + "size", path).splitlines()[1].split()[:3])
    dynamic = output(prefix + "readelf", "-dW", path)
    sections = output(prefix + "readelf", "-SW", path)
    relocations = sum(map(int, re.findall(r"contains (\d+) entr", output(prefix + "readelf", "-rW", path))))
    constructors = 0
    for name, size in re.findall(r"\] (\.\w+)\s+\w+\s+\w+ \w+ (\w+)", sections):
        if name in (".init_array", ".ctors"):
            constructors += int(size, 16) // 8
    return {"text": text, "data": data + bss, "relocations": relocations,
            "needed": re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic),
            # The C compiler's start files add frame_dummy, which does nothing.
            "constructors": max(constructors - 1, 0)}


def load_figures(loader, path, folder):
    environment = {**os.environ, "LD_LIBRARY_PATH": folder}
    runs = [json.loads(output(loader, path, environment=environment)) for _ in range(RUNS)]
    return {key: statistics.median(run[key] for run in runs) for key in runs[0]}


def install(build, folder):
    """Copies our libraries, and takes the search paths out of them; the path of liblumipmi."""
    for name in ("", "drivers", "broker"):
        for library in (build / name).glob("liblumipmi*.so.1"):
            copy = os.path.join(folder, library.name)
            shutil.copy(library, copy)
            script = os.path.join(folder, "remove.cmake")
            pathlib.Path(script).write_text(f'file(RPATH_REMOVE FILE "{copy}")')
            output("cmake", "-P", script)
    return os.path.join(folder, "liblumipmi.so.1")


def measure(build, arm_build=None):
    build = pathlib.Path(build)
    with tempfile.TemporaryDirectory(prefix="lumipmi-sizes-") as folder:
        libraries = {"liblumipmi": install(build, folder), **PEERS}
        rows = [{"library": name, "machine": "x86-64", **file_figures(path),
                 **load_figures(build / "bench/lumipmi-load", path, folder)} for name, path in libraries.items()]
    if arm_build and (pathlib.Path(arm_build) / "liblumipmi.so.1").exists():
        rows.append({"library": "liblumipmi", "machine": "aarch64",
                     **file_figures(pathlib.Path(arm_build) / "liblumipmi.so.1", "aarch64-linux-gnu-")})
    return rows


if __name__ == "__main__":
    json.dump(measure(*sys.argv[1:]), sys.stdout, indent=1)
    print()
