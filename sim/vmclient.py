#!/usr/bin/env python3
"""Talk to ipmi_sim's system interface (serial ... codec VM) over TCP.

  vmclient.py PORT NETFN CMD [BYTE...]   one request; all numbers in hex
  vmclient.py PORT -                     requests from standard input, one per
                                         line: NETFN[.LUN] CMD [BYTE...] [# note]
Options before PORT: -v trace frames on stderr, -t print the time taken,
-n COUNT repeat, -w SEC wait for control frames after the last request,
-c CAPS capability byte to announce (default 3f; "none" announces nothing).
Prints "CC data..."; exit status 0 when the completion code is 00, 1 when it is
another, 2 when there was no answer.
"""
import argparse
import socket
import sys
import time

MSG, CTL, ESC = 0xA0, 0xA1, 0xAA
CONTROL = {0x00: "clear attention", 0x01: "attention", 0x02: "attention + irq",
           0x03: "power off", 0x04: "reset", 0x05: "enable irq",
           0x06: "disable irq", 0x07: "NMI", 0x08: "capabilities",
           0x09: "graceful shutdown", 0xFF: "version"}


def escape(data):
    out = bytearray()
    for b in data:
        out += bytes([ESC, b | 0x10]) if b in (MSG, CTL, ESC) else bytes([b])
    return bytes(out)


class VMClient:
    """One connection; ipmi_sim serves one at a time. Close it, or use it in a with statement."""

    def __init__(self, port, host="127.0.0.1", timeout=5.0, caps=0x3F, trace=False):
        self.timeout, self.trace, self.seq = timeout, trace, 0
        deadline = time.monotonic() + min(timeout, 2.0)
        while not self.accepted((host, port)):
            if time.monotonic() > deadline:
                raise ConnectionError("ipmi_sim serves another client")
            time.sleep(0.01)
        if caps is not None:
            self.write(bytes([0xFF, 0x01, CTL]) + escape([0x08, caps]) + bytes([CTL]))

    def accepted(self, address):
        """Connect; False when closed at once, as while ipmi_sim has another client or still
        holds one that has just gone."""
        self.buf, self.esc, self.frames, self.control = bytearray(), False, [], []
        self.sock = socket.create_connection(address, self.timeout)
        self.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        try:
            raw = self.sock.recv(4096)    # the version frame greets an accepted client
        except ConnectionError:
            raw = b""
        except OSError:
            self.close()
            raise
        if not raw:
            self.close()
            return False
        self.feed(raw)
        return True

    def close(self):
        self.sock.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def write(self, raw):
        if self.trace:
            print("> " + raw.hex(" "), file=sys.stderr)
        self.sock.sendall(raw)

    def feed(self, raw):
        """Split received bytes into (end byte, unescaped body) frames."""
        for b in raw:
            if b in (MSG, CTL):
                self.frames.append((b, bytes(self.buf)))
                self.buf.clear()
                self.esc = False
            elif b == ESC:
                self.esc = True
            else:
                self.buf.append(b & ~0x10 if self.esc else b)
                self.esc = False

    def poll(self, deadline):
        """Next message body, or None at the deadline; control frames are collected."""
        while True:
            while self.frames:
                end, body = self.frames.pop(0)
                if self.trace:
                    what = CONTROL.get(body[0], "?") if end == CTL and body else "message"
                    print("< %s %02x  %s" % (body.hex(" "), end, what), file=sys.stderr)
                if end == CTL:
                    self.control.append(body)
                elif len(body) >= 5 and sum(body) & 0xFF == 0:
                    return body[:-1]
            left = deadline - time.monotonic()
            if left <= 0:
                return None
            self.sock.settimeout(left)
            try:
                raw = self.sock.recv(4096)
            except socket.timeout:
                return None
            if not raw:
                raise ConnectionError("ipmi_sim closed the connection")
            self.feed(raw)

    def request(self, netfn, cmd, data=b"", lun=0):
        """Completion code and data as bytes, or None after the time-out."""
        self.seq = (self.seq + 1) & 0xFF
        body = bytes([self.seq, netfn << 2 | lun, cmd]) + bytes(data)
        body += bytes([-sum(body) & 0xFF])
        self.write(escape(body) + bytes([MSG]))
        deadline = time.monotonic() + self.timeout
        while True:
            rsp = self.poll(deadline)
            if rsp is None:
                return None
            if rsp[0] == self.seq and rsp[1] >> 2 == netfn | 1 and rsp[2] == cmd:
                return rsp[3:]


def main():
    ap = argparse.ArgumentParser(usage=__doc__)
    ap.add_argument("-v", action="store_true")
    ap.add_argument("-t", action="store_true")
    ap.add_argument("-n", type=int, default=1)
    ap.add_argument("-w", type=float, default=0)
    ap.add_argument("-c", default="3f")
    ap.add_argument("-T", type=float, default=5.0)
    ap.add_argument("port", type=int)
    ap.add_argument("words", nargs="*")
    a = ap.parse_args()
    lines = sys.stdin if a.words == ["-"] else [" ".join(a.words)]
    caps = None if a.c == "none" else int(a.c, 16)
    status, client = 0, None
    for line in lines:
        words = line.split("#")[0].split()
        if not words:
            continue
        netfn, _, lun = words[0].partition(".")
        args = int(netfn, 16), int(words[1], 16), bytes(int(w, 16) for w in words[2:]), int(lun or "0")
        start = time.perf_counter()
        try:
            client = client or VMClient(a.port, caps=caps, trace=a.v, timeout=a.T)
            start = time.perf_counter()
            for _ in range(a.n):
                rsp = client.request(*args)
        except OSError as e:
            print("no answer: %s" % e, file=sys.stderr)
            client, rsp = None, None
        took = (time.perf_counter() - start) / a.n * 1e6
        prefix = line.strip() + "  ->  " if a.words == ["-"] else ""
        print(prefix + (rsp.hex(" ") if rsp else "no answer") + ("  %.0f us" % took if a.t else ""))
        sys.stdout.flush()
        status = 2 if rsp is None else max(status, 1 if rsp[0] else 0)
    if a.w:
        client = client or VMClient(a.port, caps=caps, trace=a.v)
        client.poll(time.monotonic() + a.w)
        for body in client.control:
            print("control %s  %s" % (body.hex(" "), CONTROL.get(body[0], "?")))
    sys.exit(status)


if __name__ == "__main__":
    main()
