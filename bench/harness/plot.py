"""The figures of a run as a drawing: the same figures give the same SVG."""

import subprocess

from .comparison import MODES
from .goals import cell, own_table
from .growth import cost

COLOURS = {"module": "#c0392b", "built-in": "#2c3e50", "memory": "#7f8c8d", "AgentX": "#2980b9",
           "pass_persist": "#27ae60"}

HEAD = """\
set terminal svg noenhanced size 960,760 font 'sans-serif,12' background '#ffffff'
set multiplot layout 2,2
set grid ytics lc rgb '#dddddd'
set key outside below horizontal
set format '%.0f'
"""
BY_MODE = """\
set title '{title}'
set ylabel '{label}'
set logscale y
unset logscale x
set xrange [-0.3:{last}]
set xtics ({ticks})
plot {curves}
"""
BY_SIZE = """\
set title '{title}'
set xlabel '{x_label}'
set ylabel '{label}'
set logscale x
set xrange [{first}:{last}]
set yrange [{low}:*]
set xtics auto
{scale}
plot $data{number} using 1:2 with linespoints pt 7 lc rgb '{colour}' notitle
"""


def datablock(name, rows):
    lines = [" ".join(f"{value:.6g}" for value in row) for row in rows]
    return "\n".join([f"${name} << END", *lines, "END\n"])


def of(results, contender, mode):
    return own_table(results, mode) if contender == "built-in" else cell(results, contender, "ports", mode)


def by_mode(results, key, title, label):
    blocks, curves = [], []
    for place, (contender, colour) in enumerate(COLOURS.items()):
        rows = [(x, *(of(results, contender, mode)[f"{key}{part}"] for part in ("", "_min", "_max")))
                for x, mode in enumerate(MODES)]
        blocks.append(datablock(f"{key}{place}", rows))
        curves.append(f"${key}{place} using 1:2:3:4 with yerrorlines pt 7 ps 0.6 lc rgb '{colour}' "
                      f"title '{contender}'")
    ticks = ", ".join(f"'{mode.replace('GETBULK', 'BULK')}' {x}" for x, mode in enumerate(MODES))
    return "".join(blocks) + BY_MODE.format(title=title, label=label, last=len(MODES) - 0.7, ticks=ticks,
                                            curves=", \\\n  ".join(curves))


def by_size(number, rows, **words):
    return datablock(f"data{number}", rows) + BY_SIZE.format(
        number=number, colour=COLOURS["module"], first=rows[0][0] / 2, last=rows[-1][0] * 2, **words)


def script(results):
    return "".join((
        HEAD,
        by_mode(results, "rate", "Walking ports: speed", "varbinds a second"),
        by_mode(results, "agent_us", "Walking ports: cost", "agent CPU a varbind, µs"),
        by_size(0, [(row["ports"], cost(row)) for row in results["ports"] if row["answers"] == "anew"],
                title="Cost by number of ports, GETBULK of 25, answers made anew", x_label="ports",
                label="CPU of agent and service a varbind, µs", low="0", scale="unset logscale y"),
        by_size(1, [(row["vsans"], row["ms"]) for row in results["starts"]], title="Starting discoveries",
                x_label="VSANs", label="ms", low="*", scale="set logscale y"),
        "unset multiplot\n"))


def write(results, path):
    drawn = subprocess.run(["gnuplot"], input=script(results).encode(), capture_output=True, timeout=60, check=False)
    if drawn.returncode != 0 or drawn.stderr:
        raise ValueError(f"gnuplot: {drawn.stderr.decode().strip()}")
    path.write_bytes(drawn.stdout)
