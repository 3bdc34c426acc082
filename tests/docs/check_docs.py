#!/usr/bin/env python3
"""Executes what README.md, CONTRIBUTING.md, docs/ and the manual page tell the reader to type.

usage: tests/docs/check_docs.py BUILD-FOLDER

C code is compiled, and programs are run. Commands run in a folder with the installed tree and a reference BMC, in the
order of the documents, as COMMANDS says. A command that it does not know how to run is a failure, so that no document
gets one that is never tried.
"""
import itertools
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "support"))
from installed import Installed  # noqa: E402
from refbmc import RefBmc  # noqa: E402

DOCUMENTS = ["README.md", "CONTRIBUTING.md", *sorted(str(p.relative_to(ROOT)) for p in (ROOT / "docs").glob("*.md")),
             "docs/lumipmi.1"]
COMMAND = re.compile(r"(?:(?:LUMIPMI_\w+|LD_PRELOAD)=\S+ )*(?:\./dev|lumipmi|cmake|cc|man|apt|pass|tests/\S+)(?: |$)")
# What this test itself, `./dev check` or other tests do all the time, or what takes too long for it.
DEV_RUNS_ELSEWHERE = {"test", "build", "fuzz", "tsan", "arm64", "e2e", "package", "package-test", "check", "coverage",
                      "mutate", "abi-update", "format", "bench", "bmc", "clean"}
CONFIGURE = ("cmake -S %s -B configured -G Ninja -DLUMIPMI_BUILD_SIM=OFF -DLUMIPMI_BUILD_TOOL=OFF "
             "-DLUMIPMI_BROKER_TABLE= -DLUMIPMI_BROKER_LIBRARY= -DLUMIPMI_DRIVER_LIBRARY= %%s > configured.log 2>&1 && "
             "cmake --build configured > configured.log 2>&1 || { cat configured.log; exit 1; }" % ROOT)
# What a platform would bring.
PLATFORM_BROKER = """#include <lumipmi/broker.h>
uint32_t tov_function_execute_DDS(const char *name, uint32_t *length, const void *frame, uint32_t caller_length,
                                  void *response, uint32_t response_size) {
  return name && length && frame && caller_length && response && response_size ? 3 : 5;
}
"""
PLATFORM_DRIVER = """#include <stddef.h>
static int bmc_transfer(uint8_t netFn, uint8_t cmd, const void *data, size_t size, void *answer, size_t *length) {
  return netFn && cmd && data && size && answer && length;
}
"""

# pattern of a command line, how it runs here (\1 is the first group), accepted statuses
COMMANDS = [
    (r"\./dev build && cmake --install build && ldconfig", "test -x $(command -v lumipmi)", [0]),
    (r"\./dev( help| packages|)", "%s/dev\\1 > /dev/null || [ $? = 2 -a -z '\\1' ]" % ROOT, [0]),
    (r"\./dev demo", "%s/dev demo" % ROOT, [0]),
    (r"cmake (-DLUMIPMI_BROKER_TABLE=)(\S+) \.\.\.", CONFIGURE % r"\1$PWD/\2", [0]),
    (r"cmake (-DLUMIPMI_DRIVER_LIBRARY=)/opt/\S+", CONFIGURE % r"\1$PWD/libmine.so", [0]),
    (r"cmake (-DLUMIPMI_BROKER_LIBRARY=)/opt/\S+", CONFIGURE % r"\1$PWD/libbroker.so", [0]),
    (r"tests/e2e/run-guest aarch64 PROGRAM", "test -x %s/tests/e2e/run-guest" % ROOT, [0]),
    (r"LD_PRELOAD=\./libmine.so lumipmi \.\.\.", "LD_PRELOAD=./libmine.so lumipmi info", [0, 3, 4]),
    (r"apt install \./build/package/.*", "true", [0]),  # ./dev package-test installs them
    (r"man (lumipmi|docs/lumipmi\.1)", r"man \1 | grep -q DESCRIPTION", [0]),
    (r"pass show \w+ \| (lumipmi .*)", r"printf 'secret-1\\n' | \1", [0]),
    (r"(cc app\.c .*)", r"\1 -Wl,-rpath-link,$LD_LIBRARY_PATH -o app && ./app", [0]),
    (r"(LUMIPMI_TRACE=)(?:/tmp/)?(\S+ lumipmi .*)", r"rm -f problem.txt; \1\2", [0]),
    (r"(lumipmi .*) \| jq .*", r"\1 | python3 -m json.tool > /dev/null", [0]),
    (r"(lumipmi status) CODE", r"\1 0x200000C1", [0]),
    (r"(lumipmi raw) NETFN CMD \[BYTE\.\.\.\]", r"\1 6 1", [0]),
    (r"(lumipmi fru print --file) IMAGE", r"lumipmi fru dump 0 image.bin && \1 image.bin", [0]),
    (r"(lumipmi [^\[\]]*)", r"\1", [0]),
]

failures = []
commands_run = 0


def fail(document, what, why):
    failures.append("%s: %s\n    %s" % (document, what, "\n    ".join(why.strip().splitlines()[-8:])))


class Sandbox:
    """A folder with the installed tree and a reference BMC."""

    def __init__(self, build, bmc, folder):
        self.folder = pathlib.Path(folder)
        prefix = self.folder / "prefix"
        installed = Installed(build, prefix)
        self.environment = dict(os.environ, LUMIPMI_DRIVER="vm:127.0.0.1:%d" % bmc.vm_port,
                                PATH="%s/bin:%s" % (prefix, os.environ["PATH"]), MANPATH=str(prefix / "share/man"),
                                PKG_CONFIG_PATH=str(installed.pkgconfig), LD_LIBRARY_PATH=str(installed.library),
                                CPATH=str(prefix / "include"), XDG_CACHE_HOME=str(self.folder))
        (self.folder / "docs").symlink_to(ROOT / "docs")
        self.make_library("libbroker.so", PLATFORM_BROKER, "a platform's broker")

    def make_library(self, name, code, what):
        (self.folder / "mine.c").write_text(code)
        self.run("C code", what, "cc -Wall -Wextra -Werror -shared -fPIC mine.c -o " + name, [0])

    def run(self, document, what, command, accepted):
        global commands_run
        commands_run += 1
        done = subprocess.run(["bash", "-o", "pipefail", "-c", command], cwd=self.folder, env=self.environment,
                              text=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode not in accepted:
            fail(document, what, "ran: %s\nexit status %d\n%s" % (command, done.returncode, done.stdout))


def blocks(text):
    """(language, lines) of the fenced and the indented blocks, in order."""
    pattern = r"^(```(\w*)\n(.*?)^```)|((?:^    [^\n]*\n)+)"
    for fenced, language, code, indented in re.findall(pattern, text, re.S | re.M):
        yield (language, code) if fenced else ("", re.sub(r"^    ", "", indented, flags=re.M))


def with_alternatives(words):
    """Words of the overview "lumipmi sel [info|get]   text": each command alone."""
    alternatives = [word.strip("[]").split("|") if "|" in word else [word] for word in words]
    return [" ".join(choice) for choice in itertools.product(*alternatives)]


def run_overview(sandbox, document, line):
    """A row of the list of commands: each has a help of its own."""
    usage = re.split(r" {2,}", line)[0]
    for name in usage.removeprefix("lumipmi ").split(", "):
        values = r"\[\w+ ID\]|\[[A-Z.]+\]|\.\.\.|\b[A-Z]{2,}\b"
        words = [word for word in re.sub(values, "", name).split() if word != "[]"]
        for command in with_alternatives([re.sub(r"\|\]", "]", word) for word in words]):
            sandbox.run(document, line, 'lumipmi %s --help | grep -F "lumipmi %s"' % (command, command), [0])


def run_command(sandbox, document, line):
    line = re.sub(r"\s+# .*| {3,}.*", "", line).strip()
    for pattern, how, accepted in COMMANDS:
        match = re.fullmatch(pattern, line)
        if match:
            return sandbox.run(document, line, match.expand(how), accepted)
    name = re.match(r"\./dev (\S+)", line)
    if name and name[1] in DEV_RUNS_ELSEWHERE:
        return sandbox.run(document, line, "%s/dev help | grep -q '^  %s '" % (ROOT, name[1]), [0])
    fail(document, line, "nothing here knows how to run this command")


def compile_c(sandbox, document, code):
    """A program is run later, by its command; a table is kept for its; everything else compiles as a piece."""
    if "int main(" in code:
        return (sandbox.folder / "app.c").write_text(code)
    if re.search(r"^\{", code, re.M):
        return (sandbox.folder / "controller_table.inc").write_text(code)
    includes = "#include <lumipmi/lumipmi.h>\n#include <lumipmi/driver.h>\n"
    if re.search(r"\) \{$", code, re.M):  # a driver
        sandbox.make_library("libmine.so", includes + PLATFORM_DRIVER + code, document)
    elif re.search(r"^\w+ \w+;$", code, re.M):  # statements
        sandbox.make_library("piece.so", includes + "void piece(IpmiHandle *handle);\n"
                             "void piece(IpmiHandle *handle) {\n%s(void)status;\n}\n" % code, document)
    else:  # declarations
        sandbox.make_library("piece.so", includes + code, document)
    return None


def check(sandbox, document):
    text = (ROOT / document).read_text()
    if document.endswith(".1"):
        for line in re.findall(r"^\.Dl (.*)", text, re.M):
            run_command(sandbox, document, line.replace(r"\(dq", '"').replace(r"\&", ""))
        return
    for language, code in blocks(text):
        if language == "c":
            compile_c(sandbox, document, code)
            continue
        for line in code.splitlines():
            if re.match(r"lumipmi [a-z, -]+(?: \[| {2,}|$)", line) and re.search(r" {2,}|\[|,", line) \
                    or line.startswith(("lumipmi raw", "lumipmi status")):
                run_overview(sandbox, document, line)
            elif COMMAND.match(line):
                run_command(sandbox, document, line)
    for code in re.findall(r"(?<!`)`([^`\n]+)`", text):
        if COMMAND.match(code) and " " in code:
            run_command(sandbox, document, code)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as folder, RefBmc(module=build / "sim") as bmc:
        sandbox = Sandbox(build, bmc, folder)
        for document in DOCUMENTS:
            check(sandbox, document)
    print("%d commands of %d documents" % (commands_run, len(DOCUMENTS)))
    if failures:
        sys.exit("\n".join(failures))


if __name__ == "__main__":
    main()
