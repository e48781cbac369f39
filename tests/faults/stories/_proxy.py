"""A relay between a host and a phone that can say more than the phone does."""

import json
import threading

from stories import _sockets as sockets


class Proxy:
    """Listens at one address and passes on, message by message, what is said to another."""

    def __init__(self, namespace, address: str, target: str) -> None:
        self.namespace = namespace
        self.target = target
        self.lock = threading.Lock()
        self.host_side = None
        self.peer = ""  # as the phone names itself
        self.listener = sockets.listen(namespace, address)
        threading.Thread(target=self._serve, daemon=True).start()

    def inject(self, payload: bytes) -> None:
        """One more message to the host, between two of the phone's."""
        with self.lock:
            self.host_side.sendall(sockets.frame(sockets.TEXT, payload))

    def _serve(self) -> None:
        while True:
            try:
                host_side, _ = self.listener.accept()
                phone_side = sockets.connect(self.namespace, self.target)
            except OSError:
                return
            phone_side.settimeout(None)
            with self.lock:
                self.host_side = host_side
            threading.Thread(target=self._from_host, args=(host_side, phone_side), daemon=True).start()
            threading.Thread(target=self._from_phone, args=(phone_side, host_side), daemon=True).start()

    @staticmethod
    def _from_host(host_side, phone_side) -> None:
        try:
            while chunk := host_side.recv(65536):
                phone_side.sendall(chunk)
        except OSError:
            pass
        _end(phone_side)

    def _from_phone(self, phone_side, host_side) -> None:
        try:
            head = sockets.read_head(phone_side)
            host_side.sendall(head)
            frames = sockets.Frames(phone_side)
            while (frame := frames.next()) is not None:
                if frame[0] == sockets.TEXT and b'"peerJoined"' in frame[1]:
                    self.peer = json.loads(frame[1]).get("peersIdentifier", "")
                with self.lock:
                    host_side.sendall(sockets.frame(*frame))
        except OSError:
            pass
        _end(host_side)


def _end(connection) -> None:
    try:
        connection.shutdown(2)
    except OSError:
        pass
    connection.close()
