"""One BMC for several clients: ipmi_sim serves a single connection, so the guest and the host share it here.

Each client speaks the VM codec, as to ipmi_sim itself; sim/README.md tells more.
"""
import pathlib
import socket
import socketserver
import sys
import threading

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "sim"))
from vmclient import CTL, ESC, MSG, VMClient, escape  # noqa: E402


class Client(socketserver.BaseRequestHandler):
    def handle(self):
        hub = self.server
        self.request.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        part, escaped = bytearray(), False
        hub.clients.add(self.request)
        try:
            self.request.sendall(bytes([0xFF, 0x01, CTL]))
            while received := self.request.recv(4096):
                for byte in received:
                    if byte == MSG and sum(part) & 0xFF == 0 and len(part) >= 4:
                        self.request.sendall(hub.exchange(bytes(part)))
                    if byte in (MSG, CTL):
                        part, escaped = bytearray(), False
                    elif byte == ESC:
                        escaped = True
                    else:
                        part.append(byte & ~0x10 if escaped else byte)
                        escaped = False
        except OSError:
            pass  # gone
        hub.clients.discard(self.request)


class Hub(socketserver.ThreadingTCPServer):
    """`port` is where the clients connect, `served` the number of requests answered."""
    allow_reuse_address = daemon_threads = True

    def __init__(self, bmc_port):
        self.bmc, self.turn, self.clients, self.served = VMClient(bmc_port, timeout=3), threading.Lock(), set(), 0
        super().__init__(("127.0.0.1", 0), Client)
        self.port, self.open = self.server_address[1], True
        threading.Thread(target=self.serve_forever, kwargs={"poll_interval": 0.1}, daemon=True).start()

    def verify_request(self, request, address):
        return self.open

    def cut(self):
        """Closes all connections and refuses new ones until `open` is True again."""
        self.open = False
        for client in list(self.clients):
            client.shutdown(socket.SHUT_RDWR)

    def exchange(self, message):
        """The frames for the client: the BMC's control frames, then its answer, if there is one."""
        seq, netfn_lun, cmd, data = message[0], message[1], message[2], message[3:-1]
        with self.turn:
            answer = self.bmc.request(netfn_lun >> 2, cmd, data, netfn_lun & 3)
            frames = b"".join(escape(body) + bytes([CTL]) for body in self.bmc.control)
            self.bmc.control.clear()
            if answer is None:
                return frames
            self.served += 1
        body = bytes([seq, (netfn_lun | 4) & 0xFC, cmd]) + answer
        return frames + escape(body + bytes([-sum(body) & 0xFF])) + bytes([MSG])
