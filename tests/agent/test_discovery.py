"""Managers run discoveries: races, refusals, faults, notifications."""

from concurrent.futures import ThreadPoolExecutor

from lab import OPERATOR, ROOT
from programs import eventually


def test_switches_rule_and_survive(lab):
    switches = {"fcsDiscoveryCompleteNotifyEnable.0": "1", "fcsReqRejNotifyEnable.0": "2"}
    lab.put(*(f"{name} i {value}" for name, value in switches.items()))
    rejections, changes = map(lab.traps, ("fcsReqRejNotify", "fcsMgmtAddrChangeNotify"))
    lab.control("event", "reject", "--vsan", "1")
    lab.control("event", "address", "--vsan", "1", "--address", "192.0.2.8")
    eventually(lambda: lab.traps("fcsMgmtAddrChangeNotify") > changes)
    assert lab.traps("fcsReqRejNotify") == rejections, "switched off"
    lab.end("AGENT")
    lab.up()
    for _ in range(2):
        assert {name: lab.get(name) for name in switches} == switches
        lab.reconfigure()
    lab.put("fcsReqRejNotifyEnable.0 i 1")
    eventually(lambda: not lab.control("event", "reject", "--vsan", "1") and lab.traps("fcsReqRejNotify") > rejections)


def test_one_manager_wins_the_lock(lab):
    with ThreadPoolExecutor() as managers:
        for _ in range(20):
            lock = lab.get("fcsVsanDiscoverySpinLock.0")
            answers = managers.map(lab.put, [f"fcsVsanDiscoverySpinLock.0 i {lock}"] * 3)
            assert sorted(answers) == ["inconsistentValue", "inconsistentValue", "noError"]
            assert int(lab.get("fcsVsanDiscoverySpinLock.0")) == int(lock) + 1


def test_refusals_leave_everything(lab):
    lab.put("fcsVsanDiscoveryList2k.0 x 80")
    before = lab.walk(of=f"{ROOT}.1.1")
    for binding, status in [("fcsVsanDiscoverySpinLock.0 s x", "wrongType"),
                            ("fcsVsanDiscoveryTimeOut.0 u 1801", "badValue"),
                            (f"fcsVsanDiscoveryList2k.0 x {'00' * 257}", "wrongLength")]:
        assert lab.put(binding) == status
    # VSAN 51 is one that the operator reads and may not write; its neighbours do not matter.
    for binding in ["fcsVsanDiscoveryList2k.0 x 80000000000020", "fcsDiscoveryInvalidateCache2k.0 x 80000000000020",
                    "fcsVsanDiscoveryList4k.0 x 80"]:
        assert lab.put(binding, options=OPERATOR) == "notWritable"
    assert lab.walk(of=f"{ROOT}.1.1") == before
    assert "user 'operator' refused: it names a VSAN" in lab.log()
    assert lab.put("fcsVsanDiscoveryList2k.0 x 80000000000040", options=OPERATOR) == "noError", "VSANs 1 and 50"


def test_every_vsan_starts_within_one_set(lab):
    """The service knows three of the 4,094 VSANs; the SET succeeds all the same."""
    lab.put(f"fcsVsanDiscoveryList2k.0 x {'FF' * 256}", f"fcsVsanDiscoveryList4k.0 x {'FF' * 255}FC")
    assert lab.put("fcsStartDiscovery.0 i 1") == "noError"
    events = lab.control("history", "--level", "event")
    for failed in ["Discovery on VSAN 2048 fails with err 6", "Discovery on VSAN 2049 fails\n",
                   "Discovery on VSAN 4094 fails\n", "Discovery started successfully"]:
        assert failed in events
    eventually(lambda: lab.get("fcsDiscoveryStatus.2100") == "2")
