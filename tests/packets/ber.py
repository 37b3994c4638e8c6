"""As much of BER as it takes to change an SNMP message and put it together again."""

CONSTRUCTED = 0x20


def parse(octets):
    """The elements of `octets`: [tag, content] each, the content octets or elements again."""
    elements = []
    at = 0
    while at < len(octets):
        tag, length, start = octets[at], octets[at + 1], at + 2
        if length >= 0x80:
            start += length - 0x80
            length = int.from_bytes(octets[at + 2 : start], "big")
        content = octets[start : start + length]
        elements.append([tag, parse(content) if tag & CONSTRUCTED else content])
        at = start + length
    return elements


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


def all_elements(elements):
    """Every element, with the list that it stands in and its place there."""
    for place, element in enumerate(elements):
        yield elements, place
        if not isinstance(element[1], bytes):
            yield from all_elements(element[1])


def length_places(octets, start=0):
    """Where the elements of a message have their lengths."""
    places = []
    at = 0
    while at + 1 < len(octets):
        tag, length, begin = octets[at], octets[at + 1], at + 2
        places.append(start + at + 1)
        if length >= 0x80:
            begin += length - 0x80
            length = int.from_bytes(octets[at + 2 : begin], "big")
        if tag & CONSTRUCTED:
            places += length_places(octets[begin : begin + length], start + begin)
        at = begin + length
    return places


def sub_identifiers(*numbers):
    octets = b""
    for number in numbers:
        groups = [number & 0x7F]
        while number := number >> 7:
            groups.append(0x80 | number & 0x7F)
        octets += bytes(reversed(groups))
    return octets
