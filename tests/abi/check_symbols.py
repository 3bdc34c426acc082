#!/usr/bin/env python3
"""Checks that headers, version script and library agree on what is exported, and what the libraries import."""
import argparse
import os
import pathlib
import re
import subprocess
import sys

# What an installed library may import, besides libc, libm and pthreads of the C library.
RUNTIME = re.compile(r"^(_Z|__cxa_(?!finalize$)|__gxx|_Unwind)")
LIBRARIES = {"lumipmi": {"libc.so.6", "libm.so.6", "liblumipmi-driver.so.1", "liblumipmi-broker.so.1"},
             "driver": {"libc.so.6"},
             "broker": {"libc.so.6", "liblumipmi-driver.so.1"}}
# The functions that others may define in our place, and who imports them.
IMPORTS = {"lumipmi": {"IPMI_DoIPMICmd", "tov_function_execute_DDS"},
           "driver": set(),
           "broker": {"IPMI_DoIPMICmd"}}
LOADER = re.compile(r"^(ld-linux.*|libpthread|libdl)\.so")

failures = []


def expect(condition, text):
    if not condition:
        failures.append(text)


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def declared(headers):
    names = set()
    for header in headers:
        text = re.sub(r"/\*.*?\*/|^#.*?$", "", header.read_text(), flags=re.S | re.M)
        for declaration in re.findall(r"LUMI_API\s+([^;]*);", text):
            names.add(re.search(r"(\w+)\s*[(\[]", declaration).group(1))
    return names


def listed(script):
    body = re.sub(r"#.*", "", script.read_text())
    body = body.split("global:")[1].split("local:")[0]
    return set(re.findall(r"(\w+)\s*;", body))


def symbols(library, *options):
    return {line.split()[-1].split("@")[0] for line in run(os.environ.get("NM", "nm"), "-D", *options, library).splitlines() if line.strip()}


def check(what, library, headers, script):
    in_headers, in_script = declared(headers), listed(script)
    exported = {name for name in symbols(library, "--defined-only") if not name.startswith("LUMIPMI_")}
    for left, right, text in ((in_headers, in_script, "declared, not in the version script"),
                              (in_script, in_headers, "in the version script, not declared"),
                              (in_script, exported, "in the version script, not exported"),
                              (exported, in_script, "exported, not in the version script")):
        expect(not left - right, f"{what}: {text}: {sorted(left - right)}")
    imported = symbols(library, "--undefined-only")
    runtime = sorted(name for name in imported if RUNTIME.match(name))
    expect(not runtime, f"{what}: imports of the C++ runtime: {runtime}")
    seams = imported & set().union(*IMPORTS.values())
    expect(seams == IMPORTS[what], f"{what}: imports {sorted(seams)}, not {sorted(IMPORTS[what])}")
    needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "-d", library)))
    unwanted = sorted(name for name in needed - LIBRARIES[what] if not LOADER.match(name))
    expect(not unwanted, f"{what}: needs {unwanted}")
    soname = re.search(r"\(SONAME\).*\[(.*)\]", run("readelf", "-d", library)).group(1)
    expect(soname.endswith(".so.1"), f"{what}: soname {soname}")
    # A relocation against an exported name is a call that an application could redirect.
    relocated = set(re.findall(r"R_\w+\s+[0-9a-f]+\s+(\w+)", run("readelf", "-rW", library)))
    redirected = sorted(relocated & exported)
    expect(not redirected, f"{what}: calls through its own exports: {redirected}")
    return exported


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--library", required=True)
    parser.add_argument("--driver", required=True)
    parser.add_argument("--broker", required=True)
    arguments = parser.parse_args()
    headers = set((arguments.source / "include/lumipmi").glob("*.h"))
    driver = arguments.source / "include/lumipmi/driver.h"
    broker = arguments.source / "include/lumipmi/broker.h"
    headers -= {driver, broker}
    exported = check("lumipmi", arguments.library, headers, arguments.source / "cmake/lumipmi.map")
    check("driver", arguments.driver, {driver}, arguments.source / "drivers/lumipmi-driver.map")
    check("broker", arguments.broker, {broker}, arguments.source / "broker/lumipmi-broker.map")
    umbrella = (arguments.source / "include/lumipmi/lumipmi.h").read_text()
    for header in headers:
        if header.name not in ("lumipmi.h", "export.h"):
            expect(f'"lumipmi/{header.name}"' in umbrella, f"lumipmi.h does not include {header.name}")
    for failure in failures:
        print(failure)
    print(f"{len(exported)} exports checked, {len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
