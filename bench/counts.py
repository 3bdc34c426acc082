#!/usr/bin/env python3
"""Instructions and heap allocations of each operation: lumipmi-count under callgrind, for 64-bit ARM under qemu-user.

    counts.py BUILD                      prints JSON
    counts.py BUILD ROW [LIBRARY]        the functions that an operation of lumipmi, or of that library, spends them in
"""
import collections
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile


def read_profile(path):
    """The name of the operation, its instructions, and those of each function alone."""
    name, total, own = None, 0, collections.Counter()
    function, is_callee = None, False
    with open(path) as lines:
        for line in lines:
            if line.startswith("desc: Trigger: Client Request: "):
                name = line.split(": ", 3)[3].rstrip("\n")
            elif line.startswith("summary:"):
                total = int(line.split()[1])
            elif line.startswith("fn="):
                function = line[3:].strip()
            elif line.startswith("calls="):
                is_callee = True  # the next line has the callee's instructions
            elif function and line[0] in "0123456789+-*":
                if not is_callee:
                    own[function] += int(line.split()[1])
                is_callee = False
    return name, total, own


def run_callgrind(build):
    """Rows as lumipmi-count prints them, with the instructions of all their runs and those of each function."""
    with tempfile.TemporaryDirectory(prefix="lumipmi-count-") as folder:
        done = subprocess.run(
            ["valgrind", "-q", "--tool=callgrind", "--compress-strings=no", f"--callgrind-out-file={folder}/profile",
             str(pathlib.Path(build) / "bench/lumipmi-count")], check=True, stdout=subprocess.PIPE, text=True)
        profiles = {name: (total, own) for name, total, own in map(read_profile, pathlib.Path(folder).iterdir())}
    rows = [json.loads(line) for line in done.stdout.splitlines()]
    for row in rows:
        row["total"], row["functions"] = profiles[f"{row['library']}/{row['row']}"]
    return rows


def run_qemu(build):
    """The same from qemu's log, which has a line for each instruction."""
    totals, start, inside = [], None, False
    with tempfile.TemporaryDirectory(prefix="lumipmi-count-") as folder:
        log = os.path.join(folder, "log")
        os.mkfifo(log)
        program = subprocess.Popen(
            ["qemu-aarch64", "-L", "/usr/aarch64-linux-gnu", "-singlestep", "-d", "exec,nochain", "-D", log,
             str(pathlib.Path(build) / "bench/lumipmi-count"), "4"], stdout=subprocess.PIPE, text=True)
        with open(log, errors="replace") as lines:
            for at, line in enumerate(lines):
                if line.endswith(" bench_mark\n") and not inside:
                    if start is None:
                        start = at
                    else:
                        totals.append(at - start)
                        start = None
                inside = line.endswith(" bench_mark\n")
        rows = [json.loads(line) for line in program.communicate()[0].splitlines()]
    if program.returncode != 0 or len(rows) != len(totals):
        raise RuntimeError("lumipmi-count failed under qemu-aarch64")
    for row, total in zip(rows, totals):
        row["total"] = total
    return rows


def chosen_functions(rows):
    """The functions of the C library that it chose for this processor, out of several: they decide the counts."""
    names = {name for row in rows if row["library"] == "lumipmi" for name in row["functions"]}
    return sorted(name for name in names if re.search(r"_(sse|avx|evex|fma|erms)", name))


def measure(rows):
    """Figures by library for each row, per run or per record; what a request costs more than the bare driver."""
    loop = rows[0]["total"] / rows[0]["runs"]
    table = {}
    for row in rows[1:]:
        units = row["records"] or 1
        entry = table.setdefault(row["row"], {"row": row["row"], "requests": row["requests"], "libraries": {}})
        entry["libraries"][row["library"]] = {
            "instructions": round((row["total"] / row["runs"] - loop) / units, 1),
            "allocations": row["allocations"] / units}
    for entry in table.values():
        if "bare" in entry["libraries"]:
            ours, bare = (entry["libraries"][name]["instructions"] for name in ("lumipmi", "bare"))
            entry["over_bare"] = round((ours - bare) / entry["requests"], 1)
    return list(table.values())


if __name__ == "__main__":
    found = run_callgrind(sys.argv[1])
    if len(sys.argv) > 2:
        wanted = (sys.argv[2], sys.argv[3] if len(sys.argv) > 3 else "lumipmi")
        for row in found:
            if (row["row"], row["library"]) == wanted:
                for function, count in row["functions"].most_common(15):
                    print(f"{count / row['runs'] / (row['records'] or 1):10.1f}  {function}")
    else:
        json.dump(measure(found), sys.stdout, indent=1)
        print()
