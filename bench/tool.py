#!/usr/bin/env python3
"""What the tool's commands cost beside ipmitool and FreeIPMI on one reference BMC: requests, CPU, memory, time.

    tool.py BUILD      prints JSON; takes a few minutes

Requests are counted on the way to the BMC: ours by the hub of the virtual machines' tests, one for each answer; those
over LAN by a relay of datagrams, where each authenticated IPMI message of a session is one. Discovery of the BMC's
abilities and the open-session and key exchange are other kinds of message and not counted; the requests that set the
session's privilege and close it are, and are taken off again. The delay is added in both places, to counted ones only.
"""
import json
import os
import pathlib
import select
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "tests/support"), str(ROOT / "sim")]
from hub import Hub  # noqa: E402
from refbmc import RefBmc  # noqa: E402

EVENTS, RUNS, DELAY = 60, 3, 0.002

IPMITOOL = "ipmitool -C 3 -I lanplus -H 127.0.0.1 -p {port} -U admin -P admin-pw"
FREEIPMI = "{tool} -D LAN_2_0 -h 127.0.0.1:{port} -u admin -p admin-pw -l admin -W opensesspriv {rest}"


def freeipmi(tool, rest=""):
    return FREEIPMI.replace("{tool}", tool).replace("{rest}", rest)


# What does the same by all three. FreeIPMI keeps the sensor data records in a cache of its own.
SDR_CACHE = "--sdr-cache-directory={cache} --quiet-cache"
COMMANDS = {
    "info": ("info", "mc info", freeipmi("bmc-info")),
    "sensors": ("sensors", "sensor", freeipmi("ipmi-sensors", f"{SDR_CACHE} --output-sensor-thresholds")),
    "sel": ("sel", "sel elist", freeipmi("ipmi-sel", SDR_CACHE)),
    "fru": ("fru", "fru print", freeipmi("ipmi-fru", SDR_CACHE)),
    "lan": ("lan", "lan print 1", freeipmi("ipmi-config", "--category=core -o -S Lan_Conf")),
    "user": ("user", "user list 1", freeipmi("ipmi-config", "--category=core -o {user_sections}")),
    "chassis": ("chassis", "chassis status", freeipmi("ipmi-chassis", "--get-chassis-status")),
}


class SlowHub(Hub):
    delay = 0.0

    def exchange(self, message):
        time.sleep(self.delay)
        return super().exchange(message)


class Relay:
    """Passes datagrams on between one client at a time and the BMC's LAN port, and counts those that ask."""

    def __init__(self, bmc_port):
        self.delay, self.requests, self.sessions = 0.0, 0, 0
        self.front, self.back = (socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in range(2))
        self.front.bind(("127.0.0.1", 0))
        self.back.connect(("127.0.0.1", bmc_port))
        self.port = self.front.getsockname()[1]
        threading.Thread(target=self.run, daemon=True).start()

    def run(self):
        client = None
        while True:
            for ready in select.select([self.front, self.back], [], [])[0]:
                try:
                    if ready is self.back:
                        self.front.sendto(self.back.recv(4096), client)
                        continue
                    datagram, client = self.front.recvfrom(4096)
                    self.count(datagram)
                    self.back.send(datagram)
                except ConnectionRefusedError:
                    pass  # a client that has gone

    def count(self, datagram):
        # RMCP header of 4 bytes; then authentication type 6 (RMCP+), payload type, session id (IPMI v2.0 rev 1.1, 13.6)
        if len(datagram) < 10 or datagram[3] != 0x07 or datagram[4] != 0x06:
            return
        payload = datagram[5] & 0x3F
        if payload == 0x14:  # RAKP message 3, the last one before the session
            self.sessions += 1
        if payload == 0x00 and datagram[6:10] != b"\0\0\0\0":
            self.requests += 1
            time.sleep(self.delay)

    def take(self):
        """Requests since the last call, without the two that belong to each session."""
        taken, self.requests, self.sessions = self.requests - 2 * self.sessions, 0, 0
        return taken


def run(build, command, environment):
    """Runs a command: CPU and wall time in ms, peak memory in KiB."""
    done = subprocess.run([str(build / "bench/lumipmi-cost"), *command], stdin=subprocess.DEVNULL, check=True,
                          stdout=subprocess.PIPE, env={**os.environ, **environment})
    figures = json.loads(done.stdout)
    if figures.pop("status") not in (0, 1, 5):  # 1 and 5: devices of the reference BMC that do not answer
        raise RuntimeError("failed: " + " ".join(command))
    return figures


def median(runs):
    return {key: round(statistics.median(run[key] for run in runs), 2) for key in runs[0]}


class Bench:
    """A reference BMC with its counting ways in."""

    def __init__(self, build, options=""):
        self.build = build
        self.bmc = RefBmc(module=str(build / "sim"), options=options).start()
        with self.bmc.client() as client:
            have = client.request(0x0A, 0x40)
            for n in range(int.from_bytes(have[2:4], "little"), EVENTS):
                client.request(0x0A, 0x44, bytes.fromhex("0000 02 00000000 2000 04 01 20 01 57") + bytes([n, 38]))
            have = client.request(0x0A, 0x40)
            if int.from_bytes(have[2:4], "little") != EVENTS:
                raise RuntimeError(f"the log cannot be filled up to {EVENTS} events")
        self.hub = SlowHub(self.bmc.vm_port)
        self.relay = Relay(self.bmc.lan_port)
        self.folder = tempfile.TemporaryDirectory(prefix="lumipmi-bench-")

    def stop(self):
        self.hub.shutdown()
        self.bmc.stop()
        self.folder.cleanup()

    def ours(self, arguments, cache, delay=0.0):
        self.hub.delay, before = delay, self.hub.served
        figures = run(self.build, [str(self.build / "tools/lumipmi"), "--driver", f"vm:127.0.0.1:{self.hub.port}",
                                   *arguments.split()], {"XDG_CACHE_HOME": cache})
        return {**figures, "requests": self.hub.served - before}

    def theirs(self, command, cache, delay=0.0):
        self.relay.delay = delay
        self.relay.take()
        line = command.format(port=self.relay.port, cache=cache,
                              user_sections=" ".join(f"-S User{n}" for n in range(1, 64)))
        figures = run(self.build, line.split(), {"HOME": cache})
        return {**figures, "requests": self.relay.take()}

    def measure(self, call, command, counts_only=False):
        """Cold, with an empty cache folder; then warm, and with every request delayed."""
        cold = []
        for _ in range(1 if counts_only else RUNS):
            cache = tempfile.mkdtemp(dir=self.folder.name)
            cold.append(call(command, cache))
        if counts_only:
            return {"requests": cold[0]["requests"], "warm_requests": call(command, cache)["requests"]}
        delayed = call(command, tempfile.mkdtemp(dir=self.folder.name), DELAY)
        return {**median(cold), "warm_requests": call(command, cache)["requests"],
                "wall_2ms_ms": round(delayed["wall_ms"], 1)}


def measure_start(build):
    """Start-up alone: a command that needs no BMC."""
    home = tempfile.mkdtemp(prefix="lumipmi-bench-")
    commands = {"lumipmi": [str(build / "tools/lumipmi"), "status", "0x200000c1"], "ipmitool": ["ipmitool", "-V"],
                "freeipmi": ["ipmi-sensors", "--version"]}
    rows = {name: median([run(build, command, {"HOME": home}) for _ in range(21)])
            for name, command in commands.items()}
    os.rmdir(home)
    return rows


def measure(build, ours_only=False):
    """The start-up, and a row a command. ours_only: requests of our tool, and nothing else."""
    build, rows = pathlib.Path(build), []
    bench = Bench(build)
    try:
        for name, (ours, ipmitool, free) in COMMANDS.items():
            row = {"command": name, "lumipmi": bench.measure(bench.ours, ours, ours_only)}
            if not ours_only:
                row["ipmitool"] = bench.measure(bench.theirs, f"{IPMITOOL} {ipmitool}")
                row["freeipmi"] = bench.measure(bench.theirs, free)
            rows.append(row)
    finally:
        bench.stop()
    bench = Bench(build, "long")  # answers of up to 250 bytes instead of 36
    try:
        for name in ("sensors", "sel", "fru"):
            rows.append({"command": f"{name}, long answers",
                         "lumipmi": bench.measure(bench.ours, COMMANDS[name][0], ours_only)})
    finally:
        bench.stop()
    return {"commands": rows} if ours_only else {"commands": rows, "start": measure_start(build)}


if __name__ == "__main__":
    json.dump(measure(sys.argv[1]), sys.stdout, indent=1)
    print()
