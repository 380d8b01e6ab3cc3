"""A client of the session bus of its own: messages byte by byte, so that a test can send what no library would.

A variant is a pair (signature, value); structs are tuples, arrays lists, dictionaries dicts, "ay" is bytes.
"""

import os
import re
import socket
import struct

from support import PATIENCE

CALL, RETURN, ERROR, SIGNAL = 1, 2, 3, 4
NO_REPLY_EXPECTED = 1
ALIGNMENT = dict(y=1, b=4, n=2, q=2, i=4, u=4, x=8, t=8, d=8, s=4, o=4, g=1, a=4, v=1) | {"(": 8, "{": 8}
NUMBERS = dict(y="B", n="h", q="H", i="i", u="I", x="q", t="Q", d="d", b="I")


class BusError(Exception):
    def __init__(self, name, text):
        super().__init__(f"{name}: {text}")
        self.name, self.text = name, text


def first_type(signature):
    """The first complete type of a signature."""
    if signature[0] == "a":
        return "a" + first_type(signature[1:])
    if signature[0] not in "({":
        return signature[0]
    depth = 0
    for index, character in enumerate(signature):
        depth += (character in "({") - (character in ")}")
        if depth == 0:
            return signature[: index + 1]
    raise ValueError(signature)


def types(signature):
    while signature:
        kind = first_type(signature)
        yield kind
        signature = signature[len(kind):]


class Writer:
    def __init__(self):
        self.data = bytearray()

    def align(self, size):
        self.data += b"\0" * (-len(self.data) % size)

    def write(self, kind, value):
        self.align(ALIGNMENT[kind[0]])
        if kind[0] in NUMBERS:
            self.data += struct.pack("<" + NUMBERS[kind[0]], value)
        elif kind in "so":
            encoded = value if isinstance(value, bytes) else value.encode()
            self.data += struct.pack("<I", len(encoded)) + encoded + b"\0"
        elif kind == "g":
            self.data += bytes([len(value)]) + value.encode() + b"\0"
        elif kind == "v":
            self.write("g", value[0])
            self.write(*value)
        elif kind == "ay":
            self.data += struct.pack("<I", len(value)) + value
        elif kind[0] == "a":
            position = len(self.data)
            self.data += b"\0\0\0\0"
            self.align(ALIGNMENT[kind[1]])
            start = len(self.data)
            for item in value.items() if kind[1] == "{" else value:
                self.write(kind[1:], item)
            struct.pack_into("<I", self.data, position, len(self.data) - start)
        else:  # a struct or an entry
            for inner, item in zip(types(kind[1:-1]), value, strict=True):
                self.write(inner, item)


class Reader:
    def __init__(self, data, position=0):
        self.data, self.position = data, position

    def take(self, count):
        self.position += count
        return self.data[self.position - count : self.position]

    def align(self, size):
        self.position += -self.position % size

    def read(self, kind):
        self.align(ALIGNMENT[kind[0]])
        if kind[0] in NUMBERS:
            form = "<" + NUMBERS[kind[0]]
            value = struct.unpack(form, self.take(struct.calcsize(form)))[0]
            return bool(value) if kind == "b" else value
        if kind in "so":
            length = self.read("u")
            return bytes(self.take(length + 1)[:-1]).decode()
        if kind == "g":
            return bytes(self.take(self.take(1)[0] + 1)[:-1]).decode()
        if kind == "v":
            return self.read(self.read("g"))
        if kind == "ay":
            return bytes(self.take(self.read("u")))
        if kind[0] == "a":
            length = self.read("u")
            self.align(ALIGNMENT[kind[1]])
            end, items = self.position + length, []
            while self.position < end:
                items.append(self.read(kind[1:]))
            return dict(items) if kind[1] == "{" else items
        return tuple(self.read(inner) for inner in types(kind[1:-1]))


class Wire:
    def __init__(self, address, timeout=PATIENCE):
        path = re.search(r"unix:path=([^,;]+)", address).group(1)
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(timeout)
        self.socket.connect(path)
        self.serial = 0
        self.signals = []
        self.buffer = b""
        self.socket.sendall(b"\0AUTH EXTERNAL " + str(os.getuid()).encode().hex().encode() + b"\r\n")
        assert self.socket.recv(512).startswith(b"OK ")
        self.socket.sendall(b"BEGIN\r\n")
        self.name = self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "Hello")[0]

    def close(self):
        self.socket.close()

    __enter__ = lambda self: self

    def __exit__(self, *_):
        self.close()

    def message(self, destination, path, interface, member, signature="", arguments=(), flags=0, kind=CALL):
        body = Writer()
        for part, value in zip(types(signature), arguments, strict=True):
            body.write(part, value)
        fields = [(1, ("o", path)), (2, ("s", interface)), (3, ("s", member))]
        if destination:
            fields.append((6, ("s", destination)))
        if signature:
            fields.append((8, ("g", signature)))
        self.serial += 1
        header = Writer()
        header.data += struct.pack("<cBBBII", b"l", kind, flags, 1, len(body.data), self.serial)
        header.write("a(yv)", fields)
        header.align(8)
        return bytes(header.data + body.data)

    def send(self, *arguments, **more):
        """Sends a call and answers its serial number; receive() brings the reply."""
        data = self.message(*arguments, **more)
        self.socket.sendall(data)
        return self.serial

    def signal(self, path, interface, member, signature, arguments):
        self.socket.sendall(self.message("", path, interface, member, signature, arguments, NO_REPLY_EXPECTED, SIGNAL))

    def _need(self, count):
        while len(self.buffer) < count:
            chunk = self.socket.recv(1 << 20)
            if not chunk:
                raise EOFError("the bus closed the connection")
            self.buffer += chunk

    def next_message(self):
        """(kind, fields by code, arguments)"""
        self._need(16)
        kind = self.buffer[1]
        body_length, _, fields_length = struct.unpack_from("<III", self.buffer, 4)
        body_start = 16 + fields_length + (-fields_length % 8)
        self._need(body_start + body_length)
        data, self.buffer = memoryview(self.buffer[: body_start + body_length]), self.buffer[body_start + body_length :]
        fields = dict(Reader(data, 12).read("a(yv)"))
        body = Reader(data[body_start:])
        return kind, fields, [body.read(part) for part in types(fields.get(8, ""))]

    def _keep(self, fields, arguments):
        if fields[2] != "org.freedesktop.DBus":
            self.signals.append((fields[2], fields[3], arguments))

    def receive(self):
        """The next reply: (serial, arguments or a BusError). Signals are kept in `signals`."""
        while True:
            kind, fields, arguments = self.next_message()
            if kind == SIGNAL:
                self._keep(fields, arguments)
            elif kind == ERROR:
                return fields[5], BusError(fields[4], arguments[0] if arguments else "")
            elif kind == RETURN:
                return fields[5], arguments

    def next_signal(self):
        while not self.signals:
            kind, fields, arguments = self.next_message()
            if kind == SIGNAL:
                self._keep(fields, arguments)
        return self.signals.pop(0)

    def call(self, *arguments, **more):
        serial = self.send(*arguments, **more)
        while True:
            answered, result = self.receive()
            if answered == serial:
                break
        if isinstance(result, BusError):
            raise result
        return result

    def watch(self, interface):
        self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "AddMatch", "s",
                  [f"type='signal',interface='{interface}'"])


# Scripting descriptors.


def leaf(code, content=b""):
    return code, ("ay", content)


def boolean(value):
    return leaf("true" if value else "fals")


def integer(value):
    return leaf("long", struct.pack(">i", value))


def listing(items, code="list"):
    return code, ("a(sv)", items)


def record(fields, code="reco"):
    return code, ("a{s(sv)}", fields)


def furl(path):
    from urllib.parse import quote

    return leaf("furl", b"file://" + quote(os.fsencode(path)).encode())


class AgentClient(Wire):
    """The agent's interfaces."""

    NAME, PATH = "com.corvane.vantaro", "/com/corvane/vantaro"

    def event_arguments(self, event, parameters, event_class="vnTR"):
        return (self.NAME, self.PATH, self.NAME + ".Events", "Send", "ssa{s(sv)}", [event_class, event, parameters])

    def event(self, event, drive=None, event_class="vnTR", **parameters):
        """The reply's descriptors by keyword."""
        if drive is not None:
            parameters["----"] = furl(drive)
        return self.call(*self.event_arguments(event, parameters, event_class))[0]

    def drives(self, member, signature="", *arguments):
        return self.call(self.NAME, self.PATH, self.NAME + ".Drives", member, signature, list(arguments))
