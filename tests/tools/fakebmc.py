"""A scripted BMC on a local port, for what the reference BMC does not do.

    def read_fru(data): return bytes([0xC8]) if data[3] > 4 else ...
    with FakeBmc({(0x0A, 0x11): read_fru}) as bmc:
        run_tool(bmc.driver)
        bmc.requests    # [(0x0A, 0x11, b"..."), ...]

A handler gets the request data and returns completion code and response data; None answers nothing. A handler may also
be bytes, the answer to every request. Commands without a handler are answered with C1h.
"""
import socket
import threading

END_MESSAGE, END_COMMAND, ESCAPE = 0xA0, 0xA1, 0xAA


def escaped(frame):
    return b"".join(bytes([ESCAPE, byte | 0x10]) if byte in (END_MESSAGE, END_COMMAND, ESCAPE) else bytes([byte])
                    for byte in frame)


class FakeBmc:
    def __init__(self, handlers):
        self.handlers = handlers
        self.requests = []

    def __enter__(self):
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.driver = "vm:127.0.0.1:%d" % self._listener.getsockname()[1]
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)  # wakes accept()
        self._listener.close()
        self._thread.join(5)

    def count(self, netfn, cmd):
        return sum(request[:2] == (netfn, cmd) for request in self.requests)

    def _serve(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            with connection:
                try:
                    self._converse(connection)
                except OSError:
                    pass

    def _converse(self, connection):
        connection.sendall(bytes([0xFF, 0x01, END_COMMAND]))
        frame, escape = bytearray(), False
        while data := connection.recv(4096):
            for byte in data:
                if byte == END_MESSAGE:
                    self._answer(connection, bytes(frame))
                if byte in (END_MESSAGE, END_COMMAND):
                    frame.clear()
                elif byte == ESCAPE:
                    escape = True
                else:
                    frame.append(byte & ~0x10 if escape else byte)
                    escape = False

    def _answer(self, connection, frame):
        sequence, netfn, cmd, data = frame[0], frame[1] >> 2, frame[2], frame[3:-1]
        self.requests.append((netfn, cmd, data))
        handler = self.handlers.get((netfn, cmd), b"\xc1")
        answer = handler(data) if callable(handler) else handler
        if answer is None:
            return
        response = bytes([sequence, (netfn | 1) << 2, cmd]) + bytes(answer)
        connection.sendall(escaped(response + bytes([-sum(response) & 0xFF])) + bytes([END_MESSAGE]))
