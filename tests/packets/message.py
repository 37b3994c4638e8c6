"""SNMP messages put together without a tool: as long as a packet can be, and at the cost of a packet."""

import ber

GET, GETBULK, SET = 0xA0, 0xA5, 0xA3
INTEGER, OCTETS, NULL, OID, SEQUENCE = 0x02, 0x04, 0x05, 0x06, 0x30


def message(community, kind, number, bindings, fields=(0, 0)):
    """A v2c message with request id `number`. Bindings: (OID, tag, content octets). `fields`: error status and index,
    or non-repeaters and repetitions."""
    def binding(name, tag, content):
        numbers = [int(part) for part in name.split(".")]
        return [SEQUENCE, [[OID, ber.sub_identifiers(numbers[0] * 40 + numbers[1], *numbers[2:])], [tag, content]]]

    pdu = [[INTEGER, number.to_bytes(4, "big")], *([INTEGER, bytes([field])] for field in fields),
           [SEQUENCE, [binding(*parts) for parts in bindings]]]
    return ber.encode([[SEQUENCE, [[INTEGER, b"\x01"], [OCTETS, community.encode()], [kind, pdu]]]])
