"""A reference BMC for tests, in a temporary directory.

    with RefBmc(options="long") as bmc:
        bmc.cmd("fault 0x06 0x01 1 0xc0")
        bmc.request("06 01")                    # "c0"
        run_tool(bmc.vm_port)

It ends with the with statement, and also when this process ends in any other way: start-bmc
watches a pipe from here.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

SIM = pathlib.Path(__file__).resolve().parents[2] / "sim"
sys.path.insert(0, str(SIM))
from vmclient import VMClient  # noqa: E402

BUILT_MODULE = os.environ.get("LUMIPMI_SIM_MODULE")


class RefBmc:
    """module: the module's file, None for ipmi_sim's own answers; options: the module's;
    args: more arguments for start-bmc. Ports are in vm_port, lan_port and sol_port."""

    def __init__(self, *args, module=BUILT_MODULE, options=""):
        choice = ["-m", str(module), "-o", options] if module else ["-n"]
        self._args = [*choice, *map(str, args)]
        self._temporary = self._start_bmc = None

    def start(self):
        self._temporary = tempfile.TemporaryDirectory(prefix="refbmc-")
        self.dir = pathlib.Path(self._temporary.name)
        try:
            with open(self.dir / "start.log", "w") as errors:
                self._start_bmc = subprocess.Popen(
                    [SIM / "start-bmc", "-W", *self._args, self.dir / "state"],
                    stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=errors, text=True)
            ports = dict(self._start_bmc.stdout.readline().strip().partition("=")[::2] for _ in range(3))
            if "SOL_PORT" not in ports:
                raise RuntimeError("start-bmc failed: " + (self.dir / "start.log").read_text())
            self.vm_port, self.lan_port, self.sol_port = (int(ports[kind + "_PORT"]) for kind in ("VM", "LAN", "SOL"))
        except BaseException:
            self.stop()
            raise
        return self

    def stop(self):
        if self._start_bmc:
            try:
                self._start_bmc.communicate(timeout=10)  # closes its standard input
            except subprocess.TimeoutExpired:
                self._script("stop-bmc")
                self._start_bmc.kill()
                self._start_bmc.communicate()
            self._start_bmc = None
        if self._temporary:
            self._temporary.cleanup()
            self._temporary = None

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.stop()

    def _script(self, name, *words):
        return subprocess.run([SIM / name, self.dir / "state", *words], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=30)

    def cmd(self, text):
        """Run an emulator command; what it prints."""
        done = self._script("bmc-cmd", *text.split())
        if done.returncode != 0:
            raise RuntimeError("%s: %s" % (text, done.stdout.strip()))
        return done.stdout.strip()

    def client(self, timeout=5.0):
        """A connection to the system interface; nobody else can have one meanwhile."""
        return VMClient(self.vm_port, timeout=timeout)

    def request(self, text, timeout=5.0):
        """Send "NETFN[.LUN] CMD [BYTE...]" in hex; "CC [BYTE...]", or None without an answer."""
        with self.client(timeout) as client:
            return ask(client, text)


def ask(client, text):
    """RefBmc.request on an open connection."""
    netfn, cmd, *data = text.split()
    netfn, _, lun = netfn.partition(".")
    answer = client.request(int(netfn, 16), int(cmd, 16), bytes.fromhex("".join(data)), int(lun or "0"))
    return None if answer is None else answer.hex(" ")
