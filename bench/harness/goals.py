"""What a run is judged by."""

from .growth import cost

FCS_TABLES = ("elements", "ports", "statistics")
# CPU that agent and service may take in an idle second, in microseconds: timers, but no spinning.
IDLE_LIMIT_US = 1000


def cell(results, contender, table, mode):
    return next(row for row in results["comparison"]
                if (row["contender"], row["table"], row["mode"]) == (contender, table, mode))


def built_in(results, mode):
    return cell(results, "built-in", "views", mode)


def ratios(results, mode, key, reference, reference_key=None):
    """The module's figure over the reference's, for each table; reference maps a table to its row."""
    return [cell(results, "module", table, mode)[key] / reference(table)[reference_key or key]
            for table in FCS_TABLES]


def goals(results):
    """Each goal as (what, measured, "at least" or "at most", limit); the worst table counts."""
    bulk, single = "GETBULK 25", "GETNEXT"

    def own(mode):
        return lambda _: built_in(results, mode)

    def agentx(table):
        return cell(results, "AgentX", table, bulk)

    by_size = {row["ports"]: cost(row) for row in results["ports"]}
    history = {row["level"]: cost(row) for row in results["history"]}
    runs = [row for row in results["roles"] if row["hidden_runs"] > 0]
    return [
        ("GETBULK of 25: varbinds a second, to the built-in table",
         min(ratios(results, bulk, "rate", own(bulk))), "at least", 0.6),
        ("GETBULK of 25: varbinds a second, to AgentX",
         min(ratios(results, bulk, "rate", agentx)), "at least", 4),
        ("GETNEXT: varbinds a second, to the built-in table",
         min(ratios(results, single, "rate", own(single))), "at least", 0.85),
        ("GETBULK of 25: agent CPU a varbind, to the built-in table",
         max(ratios(results, bulk, "agent_us", own(bulk))), "at most", 1.5),
        ("GETBULK of 25: service CPU a varbind, to the built-in table's agent CPU",
         max(ratios(results, bulk, "other_us", own(bulk), "agent_us")), "at most", 1.5),
        ("CPU of agent and service in an idle second, in µs", results["idle_us"], "at most", IDLE_LIMIT_US),
        ("event history at detail level, share of a varbind's CPU",
         (history["detail"] - history["none"]) / history["detail"], "at most", 0.1),
        ("CPU a varbind at 200,000 ports, to that at 1,000", by_size[200_000] / by_size[1_000], "at most", 1.15),
        ("extra exchanges for each run of hidden VSANs",
         max(row["extra"] / row["hidden_runs"] for row in runs), "at most", 1),
    ]


def is_met(measured, bound, limit):
    return measured >= limit if bound == "at least" else measured <= limit
