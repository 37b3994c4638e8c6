"""Ways to spoil an SNMP message. Half of them leave it well-formed, so that it goes deep."""

from snmp_message import INTEGER, OCTETS, OID, all_elements, encode, length_places, parse, sub_identifiers

TAGS = [0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x09, 0x30, 0x40, 0x41, 0x42, 0x43, 0x44, 0x46, 0x80, 0x81, 0x82, 0xFF]
TAGS += range(0xA0, 0xAA)
NUMBERS = [0, 1, 2, 3, 4, 5, 6, 7, 127, 128, 255, 256, 300, 900, 4095, 4096, 65535, 2**31 - 1, 2**31, 2**32 - 1,
           2**32, 2**63, -1, -128, -(2**31)]
LENGTHS = [0, 1, 3, 4, 5, 8, 31, 32, 33, 254, 255, 256, 257, 512, 1200]
LENGTH_FIELDS = [b"\x00", b"\x01", b"\x7f", b"\x80", b"\x81\xff", b"\x82\xff\xff", b"\x83\xff\xff\xff",
                 b"\x84\x7f\xff\xff\xff", b"\x84\xff\xff\xff\xff", b"\x85\x01\x00\x00\x00\x00", b"\x88" + b"\xff" * 8,
                 b"\xff", b"\x84\x00\x00\x00\x05"]


# ---- Well-formed


def other_number(random, _content):
    number = random.choice(NUMBERS)
    return number.to_bytes(number.bit_length() // 8 + 1, "big", signed=True)


def other_octets(random, content):
    if random.random() < 0.5:
        return random.randbytes(random.choice(LENGTHS))
    return content[: random.randrange(len(content) + 1)] + random.randbytes(random.choice(LENGTHS[:8]))


def other_oid(random, content):
    kept = content[: random.randrange(len(content) + 1)]
    count = random.choice((0, 1, 2, 9))
    numbers = [random.choice((random.randrange(256), 2**32 - 1, 2**31, 4096)) for _ in range(count)]
    if random.random() < 0.1:
        numbers *= 16  # Beyond 128 sub-identifiers, or nearly.
    return kept + sub_identifiers(*numbers)


OTHER_CONTENT = {INTEGER: other_number, OCTETS: other_octets, OID: other_oid}


def change_element(random, elements, place):
    tag, content = elements[place]
    if isinstance(content, bytes):
        elements[place][1] = OTHER_CONTENT.get(tag, other_octets)(random, content)
    else:
        change_tag(random, elements, place)


def change_tag(random, elements, place):
    elements[place][0] = random.choice(TAGS)


def remove_element(_random, elements, place):
    del elements[place]


def repeat_element(random, elements, place):
    elements[place:place] = [elements[place]] * random.choice((1, 2, 60))


WELL_FORMED = [change_element] * 6 + [change_tag, remove_element, repeat_element]


def spoil_elements(random, packet):
    elements = parse(packet)
    for _ in range(random.choice((1, 1, 2, 4))):
        choices = list(all_elements(elements))
        if choices:
            random.choice(WELL_FORMED)(random, *random.choice(choices))
    return encode(elements)


# ---- Whatever comes of it


def flip_bits(random, packet):
    octets = bytearray(packet)
    for _ in range(random.choice((1, 1, 2, 8))):
        octets[random.randrange(len(octets))] ^= 1 << random.randrange(8)
    return bytes(octets)


def lie_about_a_length(random, packet):
    place = random.choice(list(length_places(packet)))
    return packet[:place] + random.choice(LENGTH_FIELDS) + packet[place + 1 :]


def recombine(random, packet, other):
    """The beginning of one, perhaps octets of none, and the end of another: it is cut, goes on, or repeats itself."""
    middle = random.choice((b"", random.randbytes(random.choice(LENGTHS))))
    end = random.choice((b"", packet[random.randrange(len(packet)) :], other[random.randrange(len(other)) :]))
    return packet[: random.randrange(len(packet) + 1)] + middle + end


def spoil(random, packets):
    """One of `packets`, spoilt."""
    packet = random.choice(packets)
    if random.random() < 0.5:
        return spoil_elements(random, packet)
    return random.choice((
        lambda: flip_bits(random, packet), lambda: lie_about_a_length(random, packet),
        lambda: recombine(random, packet, random.choice(packets))))()
