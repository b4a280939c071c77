"""A small IPP printer on 127.0.0.1 that says what the test wants, or misbehaves."""

import re
import socket
import struct
import threading

HEAD = b"HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\n"
KEYWORD, URI, ENUM, CHARSET, LANGUAGE = 0x44, 0x45, 0x23, 0x47, 0x48  # value tags of RFC 8010


def attribute(tag, name, value):
    return struct.pack(f">BH{len(name)}sH", tag, len(name), name, len(value)) + value


class IPPPrinter:
    """state and reasons are those of all further answers. Where behave is set, it gets each connection instead."""

    def __init__(self):
        self.state, self.reasons, self.behave = 3, ["none"], None
        self.connections = 0
        self.asked_uri = ""
        self._listener = socket.create_server(("127.0.0.1", 0))
        threading.Thread(target=self._serve, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()

    def get_uri(self, scheme="ipp"):
        return f"{scheme}://127.0.0.1:{self._listener.getsockname()[1]}/ipp/print"

    def _serve(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            self.connections += 1
            threading.Thread(target=self._handle, args=(connection,), daemon=True).start()

    def _handle(self, connection):
        with connection:
            try:
                (self.behave or self._answer)(connection)
            except OSError:
                pass

    def _answer(self, connection):
        request = read_request(connection)
        message = request.partition(b"\r\n\r\n")[2]
        uri = re.search(rb"printer-uri..(.*?)[\x44\x45\x47\x48\x03]\0", message, re.DOTALL)
        self.asked_uri = uri[1].decode() if uri else ""
        reasons = [attribute(KEYWORD, b"printer-state-reasons" if first else b"", reason.encode())
                   for first, reason in zip([True] + [False] * len(self.reasons), self.reasons)]
        answer = (b"\x01\x01\0\0" + message[4:8] + b"\x01" + attribute(CHARSET, b"attributes-charset", b"utf-8") +
                  attribute(LANGUAGE, b"attributes-natural-language", b"en") + b"\x04" +
                  attribute(ENUM, b"printer-state", struct.pack(">i", self.state)) + b"".join(reasons) + b"\x03")
        connection.sendall(HEAD + b"Content-Length: %d\r\n\r\n" % len(answer) + answer)


def read_request(connection):
    """All of it: closing with something unread would take back what was sent."""
    request = b""
    while b"printer-state-reasons" not in request or not request.endswith(b"\x03"):
        more = connection.recv(4096)
        if not more:
            break
        request += more
    return request


def hang(connection):
    while connection.recv(4096):
        pass


def drip(connection):
    connection.settimeout(0.01)
    while True:
        connection.sendall(b"H")
        try:
            if not connection.recv(4096):
                return
        except TimeoutError:
            pass


def say(answer):
    def behave(connection):
        read_request(connection)
        connection.sendall(answer)
    return behave


def flood(beginning, piece):
    """Says the beginning, and then the piece without end."""
    def behave(connection):
        read_request(connection)
        connection.sendall(beginning)
        while True:
            connection.sendall(1000 * piece)
    return behave
