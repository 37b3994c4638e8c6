"""What a manager must see of a fabric, derived from its description and from nothing else."""

ELEMENT_TYPES = {"unknown": 1, "switch": 3, "hub": 4, "bridge": 5}
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
        index = ".".join(map(str, [vsan, *octets(element["name"])]))
        for column, value in element_columns(element).items():
            varbinds[f"1.1.11.1.{column}.{index}"] = value
    for vsan in fabric["vsans"]:
        if vsan["id"] in readable:
            for column, counter in enumerate(COUNTERS, 1):
                value = vsan.get("statistics", {}).get(counter, 0)
                varbinds[f"1.2.2.1.{column}.{vsan['id']}"] = ("Counter32", str(value))
    return {f"{root}.{suffix}": value for suffix, value in varbinds.items()}
