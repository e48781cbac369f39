"""What may sit on a phone's port without being a phone, and what may knock at one without being a host."""

import json
import random
import socket

from stories import _sockets as sockets

_BANNERS = (b"SSH-2.0-OpenSSH_9.2\r\n", b"220 ftp ready\r\n", b"220 mail ESMTP\r\n", b"+OK pop\r\n", b"RFB 003.008\n",
            b"\x15\x03\x01\x00\x02\x02\x46", b"HTTP/1.1 400 Bad Request\r\n\r\n", b"RTSP/1.0 400 Bad\r\n\r\n", b"* OK imap\r\n")
_HELLO = bytes.fromhex("160301007a010000760303") + bytes(32) + bytes.fromhex("000004130213010100002d")
_ACTIONS = ("peerJoined", "gotAnswer", "createAnswer", "ice", "peerDisconnected", "broadcastToPeers", "joinMaster", "", "x")


def _bytes(dice: random.Random, most: int) -> bytes:
    return dice.randbytes(dice.randrange(1, most))


def _message(dice: random.Random) -> bytes:
    """Like one of a phone's, with parts missing, of the wrong type or too many."""
    values = (None, True, -1, 1e308, "", "x" * dice.randrange(500), [], {}, [[[]]], "\u0000", "v=0\r\n", "candidate:1")
    message = {key: dice.choice(values) for key in ("peersIdentifier", "sessionGuid", "sdp", "type", "sdpMid",
                                                    "sdpMLineIndex", "username", "value") if dice.random() < 0.7}
    if dice.random() < 0.9:
        message["action"] = dice.choice(_ACTIONS)
    text = json.dumps(message)
    if dice.random() < 0.2:
        text = text[:dice.randrange(len(text))]
    if dice.random() < 0.1:
        text = "[" * dice.randrange(1, 5000) + text
    return text.encode("utf-8", "replace")


class BadPeer:
    """Plays one conversation on the phone's side, differently for every number."""

    def __init__(self, seed: int) -> None:
        self.seed = seed

    def play(self, connection: socket.socket, number: int) -> None:
        dice = random.Random(self.seed * 1_000_003 + number)
        connection.settimeout(2)
        kind = dice.randrange(14)
        try:
            if kind == 0:
                return
            if kind == 1:
                return sockets.reset(connection)
            if kind == 2:
                return connection.sendall(_bytes(dice, 4096))
            if kind == 3:
                return connection.sendall(dice.choice(_BANNERS))
            request = sockets.read_head(connection)
            answer = sockets.acceptance(request)
            if kind == 4:
                connection.sendall(b"HTTP/1.1 " + dice.choice((b"200 OK", b"404 Not Found", b"302 Found", b"503 Busy"))
                                   + b"\r\nContent-Type: text/html\r\n\r\n<html>" + b"x" * dice.randrange(20000))
            elif kind == 5:
                connection.sendall(answer[:dice.randrange(len(answer))])
            elif kind == 6:
                connection.sendall(answer.replace(b"Accept: ", b"Accept: x"))
            elif kind == 7:
                connection.sendall(b"HTTP/1.1 100 Continue\r\n\r\n" * dice.randrange(1, 50))
            elif kind == 8:
                connection.sendall(answer[:-2] + b"X-Long: " + b"x" * dice.randrange(100_000))
            elif kind == 9:
                connection.sendall(answer + _bytes(dice, 4096))
            elif kind == 10:
                connection.sendall(answer + sockets.frame(dice.choice((1, 2)), b"", promise=dice.getrandbits(63)))
            elif kind == 11:
                connection.sendall(answer + sockets.frame(sockets.CLOSE, dice.randbytes(dice.randrange(4))))
            else:
                connection.sendall(answer)
                frames = sockets.Frames(connection)
                frames.next()  # it joins
                for _ in range(dice.randrange(1, 20)):
                    connection.sendall(sockets.frame(sockets.TEXT, _message(dice)))
                if dice.random() < 0.5:
                    connection.sendall(_bytes(dice, 100))
        except OSError:
            pass  # the host has had enough


def scan(connection: socket.socket, address: str, dice: random.Random) -> None:
    """One visit at a phone by somebody who is no host."""
    kind = dice.randrange(14)
    upgrade = sockets.request(address)
    try:
        if kind == 0:
            return
        if kind == 1:
            return sockets.reset(connection)
        if kind == 2:
            connection.sendall(_bytes(dice, 4096))
        elif kind == 3:
            connection.sendall(_HELLO)
        elif kind == 4:
            connection.sendall(b"GET /" + b"x" * dice.randrange(100) + b" HTTP/1.1\r\nHost: a\r\n\r\n")
            connection.recv(4096)
        elif kind == 5:
            connection.sendall(b"GET / HTTP/1.1\r\nHost: a\r\n\r\n" * dice.randrange(2, 200))
            connection.recv(4096)
        elif kind == 6:
            connection.sendall(upgrade[:dice.randrange(len(upgrade))])
        elif kind == 7:
            connection.sendall(b"POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 1000000\r\n\r\n" + b"x" * 100_000)
        elif kind == 8:
            connection.sendall(upgrade[:-2] + b"X-Long: " + b"x" * dice.randrange(200_000))
        elif kind == 9:
            connection.sendall(dice.choice((b"OPTIONS * RTSP/1.0\r\n\r\n", b"\x00" * 64, b"\x05\x01\x00", b"EHLO x\r\n",
                                            b"INVITE sip:x SIP/2.0\r\n\r\n", b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n")))
        else:
            connection.sendall(upgrade)
            sockets.read_head(connection)
            if kind == 10:
                connection.sendall(_bytes(dice, 4096))
            elif kind == 11:
                connection.sendall(sockets.frame(sockets.TEXT, b"not masked"))
            elif kind == 12:
                connection.sendall(sockets.frame(sockets.TEXT, b"", mask=b"mask", promise=dice.getrandbits(63)))
            else:
                for _ in range(dice.randrange(1, 20)):
                    connection.sendall(sockets.frame(sockets.TEXT, _message(dice), mask=b"mask"))
    except OSError:
        pass  # the phone has had enough
