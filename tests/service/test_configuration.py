"""Rows that the agent sets and deletes, and requests that make no sense."""

from fabric import ADDRESSES, NODE_NAMES, PLATFORMS, TABLES
from service import CONTROL, FCS, NOTIFICATION, alter, words

SET, DELETE, CREATE, CHANGE, HOST, WORD = FCS.OP_SET, FCS.OP_DELETE, FCS.ROW_CREATE_AND_GO, FCS.ROW_ACTIVE, 10, 2**32 - 1


def address(list_index, index, text=b"", status=CREATE):
    return ADDRESSES, (list_index, index, len(text), text, 0, status)


def platform(vsan, index, name=b"", status=CREATE, kind=HOST, names=0, addresses=0, validate=0):
    """Source and result of the validation stand as the agent may send them: as it has them."""
    result = 0 if status == CREATE else FCS.VALID
    return PLATFORMS, (vsan, index, len(name), name, kind, names, addresses, 0, result, validate, status)


def node_name(list_index, name):
    return NODE_NAMES, (list_index, bytes.fromhex(name), 0, 0)


def ask(client, operation, row):
    reply = client.record(operation, row[0], TABLES[row[0]].record.pack(*row[1]))
    assert not reply.payload
    return reply.result


OWN_NAME, ODD = "200000005e0053a1", "a type that is not of FC-GS".encode()
REFUSED = {
    FCS.ERR_ROW_EXISTS: [(SET, address(12, 1, b"192.0.2.9")), (SET, platform(1, 1, b"new")), (SET, node_name(1, OWN_NAME))],
    FCS.ERR_NO_SUCH_ROW: [(SET, address(12, 2, b"192.0.2.9", CHANGE)), (SET, platform(1, 5, b"new", CHANGE)),
                          (DELETE, address(12, 2)), (DELETE, platform(1, 5)), (DELETE, node_name(2, OWN_NAME))],
    FCS.ERR_EMPTY_ADDRESS: [(SET, address(12, 2))], FCS.ERR_NODE_NAME_TAKEN: [(SET, node_name(2, OWN_NAME))],
    FCS.ERR_BAD_PLATFORM_NAME: [(SET, platform(1, 5)), (SET, platform(1, 5, b"host 3")),
                                (SET, platform(2100, 5, b"still odd", CHANGE, 3))],
    FCS.ERR_PLATFORM_NAME_TAKEN: [(SET, platform(1, 5, b"array-1")), (SET, platform(1, 9, b"array-1", CHANGE))],
    FCS.ERR_UNKNOWN_VSAN: [(SET, platform(3, 1, b"new"))], FCS.ERR_BAD_VALUE: [
        (SET, address(0, 2, b"x")), (SET, address(2**31, 2, b"x")), (SET, address(12, 0, b"x")),
        (SET, address(12, 2, b"x", 0)), (SET, platform(1, 5, b"new", 6)), (SET, platform(1, 0, b"new")),
        (SET, platform(1, 2**31, b"new")), (SET, node_name(2**31, "00" * 8)),
        (SET, platform(1, 5, b"new", kind=3)), (SET, platform(2100, 5, ODD, CHANGE, 4)), (SET, node_name(0, "00" * 8)),
        (SET, platform(1, 5, b"new", names=2**31)), (SET, platform(1, 5, b"new", addresses=2**31)),
        (SET, platform(1, 5, b"new", validate=2))]}


def test_refusals_have_a_code_and_a_text(service):
    client, before, texts = service.client(), service.text(), []
    for result, requests in REFUSED.items():
        assert [ask(client, *request) for request in requests] == [result] * len(requests)
        texts += {line.rsplit(": ", 1)[1] for line in service.log().splitlines()[-len(requests):]}
    assert len(set(texts)) == len(REFUSED) == len(texts)
    assert 'user "an operator??2?": platform 5 of VSAN 1 not deleted: no such row\n' in service.log()
    assert service.text() == before


# A request, the part of the description that it makes appear, or disappear when it deletes, and the address that is
# announced, with the VSANs.
STEPS = [
    # The first row makes its list, and nothing has to refer to it.
    (SET, address(77, 2**31 - 1, b"\xFF" * 255), '"hex": "ffffff'),
    (DELETE, address(77, 2**31 - 1), '"index": 77'),
    (SET, platform(2100, 7, b"h", kind=0), '"name": "h", "type": 0, "nodeNameList": 0, "mgmtAddrList": 0, "configured": '
     'true, "validationResult": 0}'),
    # What an imported row has already is not judged again.
    (SET, platform(2100, 5, ODD, CHANGE, 3, 5), '"type": 3, "nodeNameList": 5, "mgmtAddrList": 0, "configured": true, '
     '"validationResult": 1'),
    # Validation: lists with rows, lists that are not there, no lists.
    *((SET, platform(1, 4, b"array-1", CHANGE, HOST, *lists, 1), '"array-1", "type": "host", "nodeNameList": {}, '
       '"mgmtAddrList": {}, "configured": true, "validationResult": {}'.format(*lists, result))
      for lists, result in [((5, 13), 2), ((5, 99), 3), ((99, 13), 3), ((0, 0), 2)]),
    (DELETE, platform(1, 4), '"array-1"'),
    (SET, node_name(6, "C0" * 8), '{"name": "c0:c0:c0:c0:c0:c0:c0:c0", "configured": true}'),
    (DELETE, node_name(1, OWN_NAME), "20:00:00:00:5e:00:53:a1"),
    (SET, address(11, 3, b"192.0.2.9"), '"192.0.2.9", "configured": true', "c000020900000000", 1, 100, 2100),
    (SET, address(11, 2, b"2001:db8:53::11", CHANGE), '"address": "2001:db8:53::11", "configured": true'),
    (SET, address(11, 2, b"2001:db8:53::12", CHANGE), "53::12", "20010db800530000", 1, 100, 2100),
    (DELETE, address(12, 1), "192.0.2.12", "00" * 8, 1, 100),
    (SET, address(14, 2, b"snmp://a.example.net"), "snmp://a.example.net", "736e6d703a2f2f61", 2100)]


def test_rows_are_stored_and_announced_and_survive_a_round_trip(service):
    client, listener, text = service.client(), service.client(NOTIFICATION), service.text()
    for operation, row, shown, *announced in STEPS:
        assert (shown in text) == (operation == DELETE) and ask(client, operation, row) == FCS.OK, shown
        text = service.text()
        assert (shown in text) == (operation == SET), shown
        for vsan in announced[1:]:
            listener.expect(FCS.MSG_IP_ADDR_CHANGE, vsan, bytes.fromhex(announced[0]))
    service.fcsctl("import", "-", text=text)
    assert service.text() == text and client.word(FCS.REC_PLATFORM_COUNT) == 17


def test_a_failure_of_the_store_leaves_nothing_half_done(service):
    before = service.text()
    service.stop()
    # The count comes after the row; RAISE(FAIL) leaves the row to the transaction.
    alter(service.store, "CREATE TRIGGER t BEFORE UPDATE ON vsan BEGIN SELECT RAISE(FAIL, 'broken'); END")
    service.start()
    assert ask(service.client(), SET, platform(1, 5, b"new")) == FCS.ERR_STORE and service.text() == before
    assert f"cannot use the store {service.store} for record 70: broken" in service.log()


def test_record_requests_that_make_no_sense(service):
    client = service.client()
    for record_id, table in TABLES.items():
        lengths = [0, table.request_length, table.request_length, table.written_length, table.written_length]
        for operation in (0, 1, 2, 3, 4, 5, 31, 32, 33, WORD):
            served = lengths[operation] if operation < len(lengths) else 0
            fault = FCS.ERR_BAD_LENGTH if served else FCS.ERR_BAD_OPERATION
            for length in (0, served - 1, served + 1) if served else [table.request_length]:
                assert client.record(operation, record_id, bytes(length)).result == fault, (record_id, operation)
        assert client.record(FCS.OP_GET, record_id + 5, bytes(table.request_length)).result == FCS.ERR_NO_SUCH_RECORD
    for record_id in range(100, 160, 10):
        for operation, length, result in [(1, 0, FCS.OK), (1, 4, FCS.ERR_BAD_LENGTH), (2, 0, FCS.ERR_BAD_OPERATION)]:
            assert client.record(operation, record_id, bytes(length)).result == result
    assert client.ask(FCS.MSG_REQUEST, FCS.OP_GET, bytes(3)).result == FCS.ERR_BAD_LENGTH
    assert service.status()["requests"] == client.sequence


UNKNOWN, BAD = FCS.ERR_UNKNOWN_VSAN, FCS.ERR_BAD_VALUE
MESSAGES = [  # Purpose, opcode, flag, a good payload, a bad one and its fault.
    (1, FCS.MSG_START_DISCOVERY, 0, (100, 0), (4, 0), UNKNOWN), (1, FCS.MSG_START_DISCOVERY, 0, (100, 0), (100, 1), BAD),
    (1, FCS.MSG_SET_DISC_TIMEOUT, 3, (300,), (299,), BAD), (1, FCS.MSG_SET_DISC_TIMEOUT, 3, (1800,), (1801,), BAD),
    (1, FCS.MSG_INVALIDATE_CACHE, 3, (1,), (WORD,), UNKNOWN), (3, FCS.CTL_REJECT, 0, (100, 9, 4), (4, 9, 0), UNKNOWN),
    (3, FCS.CTL_CHANGE_ADDRESS, 0, (1, 1, 2), (4, 1, 2), UNKNOWN), (3, FCS.CTL_COMPLETE, 0, (2100,), (4,), UNKNOWN),
    (3, FCS.CTL_TIME_OUT, 0, (2100,), (0,), UNKNOWN), (3, FCS.CTL_WANT, 0, (0, 2), (1, 3), BAD),
    (3, FCS.CTL_WANT, 0, (2, 0), (3, 0), BAD)]


def test_messages_that_make_no_sense(service):
    clients, before = {1: service.client(), 3: service.client(CONTROL)}, service.text()
    for purpose, opcode, flag, good, bad, fault in MESSAGES:
        ask, good = clients[purpose].ask, words(*good)
        assert [ask(opcode, flag, wrong).result for wrong in (b"", good[:-1], good + b"\0")] == [FCS.ERR_BAD_LENGTH] * 3
        assert [ask(opcode, flag ^ 3, good).result, ask(opcode, flag, words(*bad)).result,
                clients[4 - purpose].ask(opcode, flag, good).result] == [
            FCS.ERR_BAD_OPERATION, fault, FCS.ERR_NO_SUCH_RECORD], (opcode, bad)
    assert service.text() == before
