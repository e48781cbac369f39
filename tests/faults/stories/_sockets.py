"""Sockets in a namespace, and just enough of RFC 6455 to break its rules on purpose."""

import base64
import contextlib
import ctypes
import hashlib
import os
import socket
import struct

PORT = 9001
TEXT, BINARY, CLOSE, PING, PONG = 1, 2, 8, 9, 10
_CLONE_NEWNET = 0x40000000
_LIBC = ctypes.CDLL(None, use_errno=True)


@contextlib.contextmanager
def inside(namespace):
    """Sockets that this thread makes meanwhile belong to the namespace for good."""
    with open("/proc/thread-self/ns/net", "rb") as own, open(namespace.path, "rb") as other:
        _enter(other)
        try:
            yield
        finally:
            _enter(own)


def _enter(file) -> None:
    if _LIBC.setns(file.fileno(), _CLONE_NEWNET) != 0:
        raise OSError(ctypes.get_errno(), "setns")


def listen(namespace, address: str, port: int = PORT) -> socket.socket:
    with inside(namespace):
        made = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    made.bind((address, port))
    made.listen(128)
    return made


def connect(namespace, address: str, port: int = PORT, within: float = 10) -> socket.socket:
    with inside(namespace):
        made = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    made.settimeout(within)
    made.connect((address, port))
    return made


def reset(connection: socket.socket) -> None:
    """Ends it with an RST."""
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def read_head(connection: socket.socket) -> bytes:
    head = b""
    while not head.endswith(b"\r\n\r\n") and len(head) < 16384:
        byte = connection.recv(1)
        if not byte:
            break
        head += byte
    return head


def acceptance(request: bytes) -> bytes:
    key = b""
    for line in request.split(b"\r\n"):
        if line.lower().startswith(b"sec-websocket-key:"):
            key = line.split(b":", 1)[1].strip()
    digest = hashlib.sha1(key + b"258EAFA5-E914-47DA-95CA-C5AB0DC85B11").digest()
    return (b"HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
            b"Sec-WebSocket-Accept: " + base64.b64encode(digest) + b"\r\n\r\n")


def request(address: str, path: str = "/") -> bytes:
    key = base64.b64encode(os.urandom(16)).decode()
    return (f"GET {path} HTTP/1.1\r\nHost: {address}:{PORT}\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
            f"Sec-WebSocket-Key: {key}\r\nSec-WebSocket-Version: 13\r\n\r\n").encode()


def frame(opcode: int, payload: bytes, last: bool = True, mask: bytes | None = None, promise: int | None = None) -> bytes:
    """`promise` is a length that the header names instead of the real one."""
    size = len(payload) if promise is None else promise
    head = bytes([(0x80 if last else 0) | opcode])
    bit = 0x80 if mask else 0
    if size < 126:
        head += bytes([bit | size])
    elif size < 65536:
        head += bytes([bit | 126]) + struct.pack(">H", size)
    else:
        head += bytes([bit | 127]) + struct.pack(">Q", size)
    if not mask:
        return head + payload
    return head + mask + bytes(byte ^ mask[at % 4] for at, byte in enumerate(payload))


class Frames:
    """Whole frames out of a stream: (opcode, payload), or None at its end."""

    def __init__(self, connection: socket.socket) -> None:
        self.connection = connection
        self.received = b""

    def next(self) -> tuple[int, bytes] | None:
        head = self._take(2)
        if head is None:
            return None
        size = head[1] & 0x7F
        if size >= 126:
            wide = self._take(2 if size == 126 else 8)
            if wide is None:
                return None
            size = int.from_bytes(wide, "big")
        mask = self._take(4) if head[1] & 0x80 else bytes(4)
        payload = self._take(size) if mask is not None else None
        if payload is None:
            return None
        return head[0] & 0x0F, bytes(byte ^ mask[at % 4] for at, byte in enumerate(payload))

    def _take(self, count: int) -> bytes | None:
        while len(self.received) < count:
            try:
                chunk = self.connection.recv(65536)
            except OSError:
                return None
            if not chunk:
                return None
            self.received += chunk
        taken, self.received = self.received[:count], self.received[count:]
        return taken
