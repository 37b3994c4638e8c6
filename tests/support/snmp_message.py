"""SNMP messages put together without a tool: as long as a packet can be, at the cost of a packet, and spoilt."""

import socket
import time

INTEGER, OCTETS, NULL, OID, SEQUENCE, CONSTRUCTED = 0x02, 0x04, 0x05, 0x06, 0x30, 0x20
GET, SET = 0xA0, 0xA3


def extents(octets):
    """Where the elements of `octets` begin, and where the content of each begins and ends."""
    at = 0
    while at + 1 < len(octets):
        length, content = octets[at + 1], at + 2
        if length >= 0x80:
            content += length - 0x80
            length = int.from_bytes(octets[at + 2:content], "big")
        yield at, content, content + length
        at = content + length


def parse(octets):
    """The elements of `octets`: [tag, content] each, the content octets or elements again."""
    return [[octets[at], parse(octets[begin:end]) if octets[at] & CONSTRUCTED else octets[begin:end]]
            for at, begin, end in extents(octets)]


def length_places(octets, start=0):
    """Where the elements of a message have their lengths."""
    for at, begin, end in extents(octets):
        yield start + at + 1
        if octets[at] & CONSTRUCTED:
            yield from length_places(octets[begin:end], start + begin)


def all_elements(elements):
    """Every element, as the list that it stands in and its place there."""
    for place, (_, content) in enumerate(elements):
        yield elements, place
        if isinstance(content, list):
            yield from all_elements(content)


def length_octets(length):
    if length < 0x80:
        return bytes([length])
    octets = length.to_bytes((length.bit_length() + 7) // 8, "big")
    return bytes([0x80 + len(octets)]) + octets


def encode(elements):
    message = b""
    for tag, content in elements:
        octets = content if isinstance(content, bytes) else encode(content)
        message += bytes([tag]) + length_octets(len(octets)) + octets
    return message


def sub_identifiers(*numbers):
    octets = b""
    for number in numbers:
        groups = [number & 0x7F]
        while number := number >> 7:
            groups.append(0x80 | number & 0x7F)
        octets += bytes(reversed(groups))
    return octets


def message(community, kind, number, bindings):
    """A v2c message with request id `number`. Bindings: (OID, tag, content octets)."""
    def binding(name, tag, content):
        first, second, *numbers = map(int, name.split("."))
        return [SEQUENCE, [[OID, sub_identifiers(first * 40 + second, *numbers)], [tag, content]]]

    none = [INTEGER, b"\x00"]  # Error status and index.
    pdu = [[INTEGER, number.to_bytes(4, "big")], none, none, [SEQUENCE, [binding(*parts) for parts in bindings]]]
    return encode([[SEQUENCE, [[INTEGER, b"\x01"], [OCTETS, community.encode()], [kind, pdu]]]])


class Manager(socket.socket):
    """Sends packets to an agent."""

    def __init__(self, port):
        super().__init__(socket.AF_INET, socket.SOCK_DGRAM)
        self.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
        self.connect(("127.0.0.1", port))

    def answers(self, seconds):
        """The packets that come within a time, as long as there is an agent."""
        deadline = time.monotonic() + seconds
        while (left := deadline - time.monotonic()) > 0:
            self.settimeout(left)
            try:
                yield self.recv(65535)
            except OSError:  # Nothing in time, or nobody is there any more.
                time.sleep(0.001)
                return
