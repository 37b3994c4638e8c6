"""The figures of a run as Markdown tables."""

from . import comparison, conditions
from .goals import FCS_TABLES, cell, compared, condition, goals, is_met, own_table, reference
from .growth import cost

BEGIN = "<!-- figures: bench/run --report writes what follows -->"
END = "<!-- end of figures -->"
CONTENDERS = ("module", "fcs-agentx", "proxy", "built-in", "memory", "AgentX", "pass_persist", "socket echo")


def number(value):
    """Three significant digits, thousands with commas."""
    if abs(value) >= 100:
        return f"{value:,.0f}"
    return f"{value:.3g}"


def span(row, key):
    return f"{number(row[f'{key}_min'])}..{number(row[f'{key}_max'])}"


def table(heads, rows):
    """A Markdown table that also reads well as it stands; the first column is left-aligned."""
    cells = [[str(cell) for cell in row] for row in (heads, *rows)]
    widths = [max(len(row[column]) for row in cells) for column in range(len(heads))]

    def line(row):
        aligned = [text.rjust(width) if column else text.ljust(width)
                   for column, (text, width) in enumerate(zip(row, widths))]
        return f"| {' | '.join(aligned)} |"

    rule = [("-" * (width - 1) + ":") if column else "-" * width for column, width in enumerate(widths)]
    return "\n".join([line(cells[0]), line(rule), *(line(row) for row in cells[1:])])


def goals_table(results):
    rows = [(what, number(measured), f"{bound} {number(limit)}",
             "met" if is_met(measured, bound, limit) else "MISSED")
            for what, measured, bound, limit in goals(results)]
    return table(("goal", "measured", "wanted", ""), rows)


def comparison_row(results, row):
    mode, name = row["mode"], row["table"]
    has_ratio = mode in comparison.MODES
    to_built_in = number(row["rate"] / own_table(results, mode)["rate"]) if has_ratio else ""
    to_agentx = number(row["rate"] / cell(results, "AgentX", name, mode)["rate"]) \
        if has_ratio and name in FCS_TABLES else ""
    return (f"{row['contender']}, {mode}", number(row["rate"]), span(row, "rate"), to_built_in, to_agentx,
            number(row["agent_us"]), number(row["other_us"]), number(row["p50_us"]), number(row["p99_us"]))


def comparison_table(results, name):
    heads = ("", "varbinds/s", "min..max", "to built-in", "to AgentX", "agent CPU µs", "other CPU µs", "p50 µs",
             "p99 µs")
    modes = [*comparison.MODES, "exchange"]
    rows = sorted((row for row in results["comparison"] if row["table"] in (name, "views")),
                  key=lambda row: (modes.index(row["mode"]), CONTENDERS.index(row["contender"])))
    return table(heads, [comparison_row(results, row) for row in rows])


def conditions_table(results, name):
    def line(walked, mode):
        row, beside = condition(results, name, walked, mode), compared(results, name, walked, mode)
        own = reference(results, name, mode)
        return (f"{walked}, {mode}", number(row["rate"]), number(beside["rate"]), number(beside["worst"]),
                f"{own['table']} {number(own['rate'])}", number(row["agent_us"]), number(beside["agent"]),
                number(beside["service"]), number(row["p50_us"]), number(row["p99_us"]))

    heads = ("", "varbinds/s", "to built-in", "worst round", "fastest built-in", "agent CPU µs", "to built-in",
             "service to it", "p50 µs", "p99 µs")
    modes = (*conditions.MODES, conditions.BEHIND)
    return table(heads, [line(walked, mode) for walked in conditions.TABLES for mode in modes])


def consoles_table(results):
    return table(("prints go to", "varbinds/s", "min..max", "agent CPU µs"),
                 [(row["console"], number(row["rate"]), span(row, "rate"), number(row["agent_us"]))
                  for row in results["consoles"]])


def ports_table(results):
    fewest = {row["answers"]: cost(row) for row in reversed(results["ports"])}
    return table(("ports", "answers", "varbinds/s", "min..max", "CPU a varbind µs", "to the fewest", "service's CPU µs",
                  "agent KiB", "service KiB"),
                 [(f"{row['ports']:,}", row["answers"], number(row["rate"]), span(row, "rate"),
                   number(cost(row)), number(cost(row) / fewest[row["answers"]]), number(row["other_us"]),
                   number(row["agent_kib"]), number(row["service_kib"])) for row in results["ports"]])


def roles_table(results):
    return table(("a user sees 1 VSAN in", "varbinds/s", "CPU a varbind µs", "varbinds of a walk", "messages",
                  "extra", "runs of hidden VSANs"),
                 [(row["one_in"], number(row["rate"]), number(cost(row)), number(row["visible"]),
                   number(row["messages"]), row["extra"], row["hidden_runs"]) for row in results["roles"]])


def starts_table(results):
    return table(("VSANs started", "ms", "min..max", "ms a VSAN", "agent CPU ms", "service CPU ms",
                  "invalidation ms"),
                 [(f"{row['vsans']:,}", number(row["ms"]), span(row, "ms"),
                   number(row["ms"] / row["vsans"]), number(row["agent_ms"]), number(row["service_ms"]),
                   number(row["invalidation_ms"]))
                  for row in results["starts"]])


def history_table(results):
    return table(("event history", "varbinds/s", "agent CPU µs", "service CPU µs"),
                 [(row["level"], number(row["rate"]), number(row["agent_us"]), number(row["other_us"]))
                  for row in results["history"]])


def figures(results):
    """All tables, as they stand in the report and on the terminal."""
    command = f"bench/run --rounds {results['rounds']} --seconds {results['seconds']}"
    parts = [f"Medians of `{command}` on {results['machine']}.", "### Goals", goals_table(results)]
    for name in conditions.CONDITIONS:
        parts += [f"### A client on Net-SNMP's library, {name}", conditions_table(results, name)]
    for name in FCS_TABLES:
        parts += [f"### Walking {name}", comparison_table(results, name)]
    for title, text in (("Number of ports", ports_table), ("Roles", roles_table),
                        ("Starting discoveries", starts_table), ("Event history", history_table), ("Console", consoles_table)):
        parts += [f"### {title}", text(results)]
    return "\n\n".join(parts) + "\n"


def write(results, path):
    """Puts the figures between the marks of a document."""
    text = path.read_text()
    before, begin, rest = text.partition(BEGIN)
    _, end, after = rest.partition(END)
    if not begin or not end:
        raise ValueError(f"{path}: the marks '{BEGIN}' and '{END}' are missing")
    path.write_text(f"{before}{BEGIN}\n\n{figures(results)}\n{END}{after}")
