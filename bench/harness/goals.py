"""What a run is judged by."""

from . import built_in, conditions
from .growth import cost

FCS_TABLES = ("elements", "ports", "statistics")
# CPU that agent and service may take in an idle second, in microseconds: timers, but no spinning.
IDLE_LIMIT_US = 1000


def cell(results, contender, table, mode):
    return next(row for row in results["comparison"]
                if (row["contender"], row["table"], row["mode"]) == (contender, table, mode))


def own_table(results, mode):
    """The agent's own table in the comparison."""
    return cell(results, "built-in", "views", mode)


def ratios(results, mode, key, reference, reference_key=None):
    """The module's figure over the reference's, for each table; reference maps a table to its row."""
    return [cell(results, "module", table, mode)[key] / reference(table)[reference_key or key]
            for table in FCS_TABLES]


def condition(results, name, table, mode):
    return next(row for row in results["conditions"]
                if (row["condition"], row["table"], row["mode"]) == (name, table, mode))


def reference(results, name, mode):
    """The fastest of the agent's own tables in the condition."""
    plain = mode.partition(" behind")[0]
    return max((condition(results, name, table, plain) for table in built_in.TABLES), key=lambda row: row["rate"])


def compared(results, name, table, mode):
    """A row of the conditions beside its reference: rate, agent's and service's CPU as ratios, and the worst round."""
    row, own = condition(results, name, table, mode), reference(results, name, mode)
    return {"rate": row["rate"] / own["rate"], "worst": row["rate_min"] / row["rate"],
            "agent": row["agent_us"] / own["agent_us"], "service": row["other_us"] / own["agent_us"]}


# Varbinds a second of a walk over ports by GETBULK of 25, to the fastest built-in table; elements, whose rows are
# fifteen times as long, may have a tenth less, and a GETBULK of 10 or 50 a fifth of it.
BULK_GOALS = {"quiet": 0.75, "two idle-class loops": 0.75, "one busy loop": 0.6, "two busy loops": 0.5}
ELEMENTS_LESS = 0.1


def condition_goals(results):
    bulk = "GETBULK 25"
    modes = [mode for mode in conditions.MODES if mode != "GETNEXT"]
    for name, wanted in BULK_GOALS.items():
        for table in conditions.TABLES:
            limit = wanted - (ELEMENTS_LESS if table == "elements" else 0)
            rate = compared(results, name, table, bulk)["rate"]
            yield f"{name}: {table} by {bulk}, to the fastest built-in table", rate, "at least", limit
            others = min(compared(results, name, table, mode)["rate"] for mode in modes)
            yield f"{name}: {table} by the slowest GETBULK of 10, 25 and 50", others, "at least", 0.8 * limit
    cells = [(name, table, mode) for name in conditions.CONDITIONS for table in conditions.TABLES for mode in modes]
    yield ("quiet: GETNEXT, to the fastest built-in table",
           min(compared(results, "quiet", table, "GETNEXT")["rate"] for table in conditions.TABLES), "at least", 0.65)
    yield ("GETBULK: the worst round of any condition, to its median",
           min(compared(results, *cell)["worst"] for cell in cells), "at least", 0.5)
    yield ("GETBULK 25 right behind a GETNEXT walk, to the same otherwise",
           min(condition(results, name, table, conditions.BEHIND)["rate"] / condition(results, name, table, bulk)["rate"]
               for name in conditions.CONDITIONS for table in conditions.TABLES), "at least", 0.9)
    yield ("quiet: agent CPU a varbind by GETBULK 25, to that of the built-in table",
           max(compared(results, "quiet", table, bulk)["agent"] for table in conditions.TABLES), "at most", 1.3)
    yield ("any condition: agent CPU a varbind by GETBULK 25",
           max(compared(results, *cell)["agent"] for cell in cells if cell[2] == bulk), "at most", 1.5)
    yield ("any condition: service CPU a varbind by GETBULK 25, to the agent's for the built-in table",
           max(compared(results, *cell)["service"] for cell in cells if cell[2] == bulk), "at most", 0.5)


def goals(results):
    """Each goal as (what, measured, "at least" or "at most", limit); the worst table counts."""
    def agentx(table):
        return cell(results, "AgentX", table, "GETBULK 25")

    by_size = {(row["ports"], row["answers"]): cost(row) for row in results["ports"]}
    history = {row["level"]: cost(row) for row in results["history"]}
    roles = {row["one_in"]: row for row in results["roles"]}
    most_starts = results["starts"][-1]
    runs = [row for row in results["roles"] if row["hidden_runs"] > 0]
    return [
        *condition_goals(results),
        ("GETBULK of 25: varbinds a second, to AgentX",
         min(ratios(results, "GETBULK 25", "rate", agentx)), "at least", 10),
        ("CPU of agent and service in an idle second, in µs", results["idle_us"], "at most", IDLE_LIMIT_US),
        ("event history at detail level, share of a varbind's CPU",
         (history["detail"] - history["none"]) / history["detail"], "at most", 0.1),
        ("CPU a varbind at 200,000 ports, to that at 1,000",
         max(by_size[200_000, answers] / by_size[1_000, answers] for answers in ("kept", "anew")), "at most", 1.15),
        ("extra messages for each run of hidden VSANs",
         max((row["extra"] - roles[1]["extra"]) / row["hidden_runs"] for row in runs), "at most", 1),
        ("CPU a visible varbind of a role that hides VSANs, to that of one that hides none",
         max(cost(row) for row in runs) / cost(roles[1]), "at most", 1.5),
        (f"starting a discovery of {most_starts['vsans']:,} VSANs in one SET, in ms", most_starts["ms"], "at most", 150),
        (f"invalidating {most_starts['vsans']:,} VSANs in one SET, in ms", most_starts["invalidation_ms"], "at most", 300),
    ]


def is_met(measured, bound, limit):
    return measured >= limit if bound == "at least" else measured <= limit
