"""What a manager must see of a fabric, derived from its description and from nothing else."""

ELEMENT_TYPES = {"unknown": 1, "switch": 3, "hub": 4, "bridge": 5}
DISCOVERY_STATUSES = {"inProgress": 1, "completed": 2, "localOnly": 3}
# What the module shows of the codes that FC-GS names, and of those that have a value all the same.
PORT_TYPES = {"unidentified": 1, "N_Port": 9, "NL_Port": 10, "Nx_Port": 11, "F_Port": 2, "FL_Port": 3, "E_Port": 4,
              "B_Port": 5, 0x00: 1, 0x01: 9, 0x02: 10, 0x7F: 11, 0x81: 2, 0x82: 3, 0x84: 4, 0x85: 5, 0xF9: 18,
              0xFA: 17, 0xFC: 13, 0xFD: 7, 0xFE: 12, 0xFF: 8}
PORT_STATES = {"unknown": 1, "online": 2, "offline": 3, "testing": 4, "fault": 5, 0: 1, 1: 2, 2: 3, 3: 4, 4: 5}
PLATFORM_TYPES = {"unknown": 1, "other": 2, "gateway": 3, "converter": 4, "hba": 5, "proxyAgent": 6,
                  "storageDevice": 7, "host": 8, "storageSubsystem": 9, "module": 10, "softwareDriver": 11,
                  "storageAccessDevice": 12, **{code: code - 2 for code in range(5, 15)}}
COUNTERS = ["rxGetReqs", "txGetReqs", "rxRegReqs", "txRegReqs", "rxDeregReqs", "txDeregReqs", "txRscns", "rxRscns",
            "rejects"]


def octets(wwn):
    return bytes.fromhex(wwn.replace(":", ""))


def text_octets(value):
    return value.encode() if isinstance(value, str) else bytes.fromhex(value["hex"])


def visible_elements(fabric, vsans):
    for vsan in fabric["vsans"]:
        for element in vsan.get("elements", []):
            local_only = vsan.get("discovery", {}).get("status", "localOnly") == "localOnly"
            if vsan["id"] in vsans and (element.get("local", False) or not local_only):
                yield vsan["id"], element


def element_columns(element):
    kind = element.get("type", "unknown")
    return {
        2: ("INTEGER", str(ELEMENT_TYPES.get(kind, 1))),
        3: ("INTEGER", str(element.get("domainId", 0))),
        4: ("OCTETS", element.get("mgmtId", "000000")),
        5: ("OCTETS", octets(element.get("fabricName", "00" * 8)).hex()),
        6: ("OCTETS", text_octets(element.get("logicalName", "")).hex()),
        7: ("INTEGER", str(element.get("mgmtAddrList", 0))),
        8: ("OCTETS", text_octets(element.get("infoList", "")).hex().ljust(512, "0")),
        9: ("INTEGER", str(element.get("portList", 0))),
    }


def dotted(*parts):
    """Sub-identifiers of words and octets."""
    return ".".join(str(i) for part in parts for i in (part if isinstance(part, bytes) else [part]))


def port_columns(port):
    return {
        2: str(PORT_TYPES.get(port.get("type", 0), port.get("type", 0))),
        3: str(port.get("txType", 0)),
        4: str(port.get("moduleType", 0)),
        5: str(port.get("physicalPort", 0)),
        6: str(port.get("attachedList", 0)),
        7: str(PORT_STATES.get(port.get("state", 0), 6)),
    }


def port_varbinds(fabric, readable):
    for vsan, element in visible_elements(fabric, range(1, 4097)):
        for port in element.get("ports", []):
            name = octets(port["name"])
            yield f"1.1.13.1.1.{dotted(element['portList'], name)}", ("INTEGER", str(element["portList"]))
            for attached in port.get("attached", []):
                yield (f"1.1.16.1.2.{dotted(port['attachedList'], bytes.fromhex(attached))}", ("OCTETS", attached))
            if vsan in readable:
                for column, value in port_columns(port).items():
                    yield f"1.1.15.1.{column}.{dotted(vsan, name)}", ("INTEGER", value)


def platform_varbinds(fabric, readable):
    for vsan in fabric["vsans"]:
        for platform in vsan.get("platforms", []) if vsan["id"] in readable else []:
            kind = platform.get("type", 1)
            columns = {
                2: ("OCTETS", text_octets(platform.get("name", "")).hex()),
                3: ("INTEGER", str(PLATFORM_TYPES.get(kind, kind))),
                4: ("INTEGER", str(platform.get("nodeNameList", 0))),
                5: ("INTEGER", str(platform.get("mgmtAddrList", 0))),
                6: ("INTEGER", "1" if platform.get("configured", False) else "2"),
                7: ("INTEGER", "2"),
                8: ("INTEGER", str(platform.get("validationResult", 1))),
                9: ("INTEGER", "1"),
            }
            for column, value in columns.items():
                yield f"1.1.18.1.{column}.{dotted(vsan['id'], platform['index'])}", value


def list_varbinds(fabric):
    for names in fabric.get("nodeNameLists", []):
        for name in names["names"]:
            name = name if isinstance(name, dict) else {"name": name}
            index = dotted(names["index"], octets(name["name"]))
            yield f"1.1.19.1.3.{index}", ("INTEGER", "1" if name.get("configured", False) else "2")
            yield f"1.1.19.1.4.{index}", ("INTEGER", "1")
    for addresses in fabric.get("mgmtAddrLists", []):
        for address in addresses["addresses"]:
            index = dotted(addresses["index"], address["index"])
            yield f"1.1.12.1.3.{index}", ("OCTETS", text_octets(address["address"]).hex())
            yield f"1.1.12.1.4.{index}", ("INTEGER", "1" if address.get("configured", False) else "2")
            yield f"1.1.12.1.5.{index}", ("INTEGER", "1")


def discovery_varbinds(fabric, readable):
    """The completions of a description are taken to lie before the agent's start: they show as 0."""
    for vsan in fabric["vsans"]:
        if vsan["id"] in readable:
            status = vsan.get("discovery", {}).get("status", "localOnly")
            yield f"1.1.6.1.1.{vsan['id']}", ("INTEGER", str(DISCOVERY_STATUSES[status]))
            yield f"1.1.6.1.2.{vsan['id']}", ("Timeticks", "(0) 0:00:00.00")


def expected_varbinds(fabric, root, readable=range(1, 4097)):
    """The walk of a fresh agent, for a user who may read these VSANs: {oid: (type, value)}."""
    everything = range(1, 4097)
    all_elements = list(visible_elements(fabric, everything))
    rejects = sum(v.get("statistics", {}).get("rejects", 0) for v in fabric["vsans"]) % 2**32
    varbinds = {
        "1.1.1.0": ("INTEGER", "0"), "1.1.2.0": ("OCTETS", ""), "1.1.3.0": ("OCTETS", ""),
        "1.1.4.0": ("OCTETS", ""), "1.1.5.0": ("INTEGER", "2"), "1.1.7.0": ("Gauge32", "900"),
        "1.1.8.0": ("OCTETS", ""), "1.1.9.0": ("OCTETS", ""),
        # The counts are those of the whole fabric, whoever asks.
        "1.1.10.0": ("INTEGER", str(len(all_elements))),
        "1.1.14.0": ("INTEGER", str(sum(len(e.get("ports", [])) for _, e in all_elements))),
        "1.1.17.0": ("INTEGER", str(sum(len(v.get("platforms", [])) for v in fabric["vsans"]))),
        "1.1.20.0": ("INTEGER", "2"), "1.1.21.0": ("INTEGER", "2"), "1.2.1.0": ("Counter32", str(rejects)),
        "1.3.1.0": ("INTEGER", "1"), "1.3.2.0": ("INTEGER", "1"),
    }
    for vsan, element in visible_elements(fabric, readable):
        index = dotted(vsan, octets(element["name"]))
        for column, value in element_columns(element).items():
            varbinds[f"1.1.11.1.{column}.{index}"] = value
    for vsan in fabric["vsans"]:
        if vsan["id"] in readable:
            for column, counter in enumerate(COUNTERS, 1):
                value = vsan.get("statistics", {}).get(counter, 0)
                varbinds[f"1.2.2.1.{column}.{vsan['id']}"] = ("Counter32", str(value))
    for table in [port_varbinds(fabric, readable), platform_varbinds(fabric, readable), list_varbinds(fabric),
                  discovery_varbinds(fabric, readable)]:
        varbinds.update(table)
    return {f"{root}.{suffix}": value for suffix, value in varbinds.items()}


def port_type_label(kind):
    if isinstance(kind, int):
        return f"code{kind}" if kind >= 0xF9 else kind
    letters, _, port = kind.partition("_")
    return letters.lower() + port


def expected_labels(fabric, root):
    """What the MIB file calls the types and states of a fabric; codes that are passed on have no name of their own."""
    labels = {}
    for vsan, element in visible_elements(fabric, range(1, 4097)):
        labels[f"1.1.11.1.2.{dotted(vsan, octets(element['name']))}"] = element.get("type", "unknown")
        for port in element.get("ports", []):
            index = dotted(vsan, octets(port["name"]))
            labels[f"1.1.15.1.2.{index}"] = port_type_label(port.get("type", "unidentified"))
            labels[f"1.1.15.1.7.{index}"] = port.get("state", "unknown")
    for vsan in fabric["vsans"]:
        for platform in vsan.get("platforms", []):
            labels[f"1.1.18.1.3.{dotted(vsan['id'], platform['index'])}"] = platform.get("type", "unknown")
    return {f"{root}.{oid}": label for oid, label in labels.items() if isinstance(label, str)}
