"""Draws what a cold equilibrium costs by the size of its system; run by `make benchmark-size`.

python cost_against_size.py TIMES.json FIGURE.svg, where the times are what the engine's benchmarks
of this name have written.
"""

import argparse
import json
from collections import defaultdict
from pathlib import Path

NAME = "cost_against_size/"
MILLISECOND = 1e3


def curves(times):
    """`{components: [(constituents, milliseconds), ...]}` from the medians of a run."""
    found = defaultdict(list)
    for row in times["benchmarks"]:
        if not row["name"].startswith(NAME) or row.get("aggregate_name") != "median":
            continue
        words = row["run_name"].removeprefix(NAME).split("/")
        size = dict(word.split(":") for word in words)
        milliseconds = MILLISECOND * row["per equilibrium"]
        found[int(size["components"])].append((int(size["constituents"]), milliseconds))
    if not found:
        raise ValueError(f"there are no medians of {NAME}")
    return {components: sorted(points) for components, points in sorted(found.items())}


def failures(times):
    """Give the sizes without a time, each with the reason."""
    return {
        row["name"]: row["error_message"]
        for row in times["benchmarks"]
        if row["name"].startswith(NAME) and row.get("error_occurred")
    }


def draw(found, path):
    """Write the figure: one line for each number of components, both axes logarithmic."""
    import matplotlib as mpl

    mpl.use("svg")
    # Drawn again from the same times it is the same file.
    mpl.rcParams |= {"svg.hashsalt": "tessara", "svg.fonttype": "none", "font.size": 10}
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(6.4, 4.2), layout="constrained")
    colours = pyplot.get_cmap("viridis")
    for k, (components, points) in enumerate(found.items()):
        axes.loglog(
            *zip(*points, strict=True),
            marker="o",
            markersize=4,
            color=colours(0.9 * k / max(len(found) - 1, 1)),
            label=f"{components} components",
        )
    axes.set_xlabel("constituents of the system")
    axes.set_ylabel("ms for a cold equilibrium")
    axes.grid(which="major", linewidth=0.4)
    axes.legend()
    figure.savefig(path, metadata={"Date": None})


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("times", type=Path)
    parser.add_argument("figure", type=Path)
    given = parser.parse_args()
    times = json.loads(given.times.read_text("utf-8"))
    draw(curves(times), given.figure)
    for name, reason in failures(times).items():
        print(f"{name} is left out: {reason}")
    return 1 if failures(times) else 0


if __name__ == "__main__":
    raise SystemExit(main())
