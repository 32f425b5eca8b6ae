"""Draws what the benchmarks of a family measured as one SVG image."""

import io
import re

import matplotlib

matplotlib.use("svg")
# Text stays text, and the same measurements give the same file.
matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "charts", "font.size": 9})

from matplotlib import pyplot  # pylint: disable=wrong-import-position

OURS_COLOUR = "#c0392b"
PANEL_WIDTH, PANEL_HEIGHT, PANELS_PER_ROW = 5.2, 3.4, 3
WIDE_RANGE = 10
SUFFIXES = {"": 1, "k": 1 << 10, "M": 1 << 20}
LABELS = {"ns": "nanoseconds", "bytesPerEntry": "bytes per entry"}


def size_order(size):
    """Sizes by number (64, 1k, 16k; 64-1, 4094-1, 4094-16); those that are words after them."""
    numbers = re.findall(r"(\d+)([kM]?)", size)
    return [int(digits) * SUFFIXES[suffix] for digits, suffix in numbers] or [float("inf")], size


def is_number(size):
    return re.fullmatch(r"\d+[kM]?", size) is not None


def panels(family, medians):
    """What was measured, as {case: {contender: {size: [values, one for each load]}}}, and its unit."""
    found = {}
    unit = "ns"
    for name, values in sorted(medians.items(), key=lambda item: ("/ours/" not in item[0], item[0])):  # ours first
        in_family, case, contender, size, *_ = name.split("/")
        if in_family != family:
            continue
        unit = "ns" if "ns" in values else "bytesPerEntry"
        found.setdefault(case, {}).setdefault(contender, {}).setdefault(size, []).append(values[unit])
    return found, unit


def colours(contenders):
    others = iter(pyplot.get_cmap("tab10")(index) for index in (0, 2, 4, 5, 6, 7, 8, 9, 1))
    return {name: OURS_COLOUR if name == "ours" else next(others) for name in contenders}


def draw_lines(axes, contenders, sizes, colour):
    """A line per contender over the sizes, as wide as its two loads are apart."""
    for name, by_size in contenders.items():
        at = [index for index, size in enumerate(sizes) if size in by_size]
        low = [min(by_size[sizes[index]]) for index in at]
        high = [max(by_size[sizes[index]]) for index in at]
        width, order = (2.4, 3) if name == "ours" else (1.1, 2)
        middle = [(a * b) ** 0.5 for a, b in zip(low, high)]
        axes.plot(at, middle, marker="o", markersize=3, color=colour[name], linewidth=width, label=name, zorder=order)
        axes.fill_between(at, low, high, color=colour[name], alpha=0.12, linewidth=0)
    axes.set_xticks(range(len(sizes)), sizes)
    axes.set_yscale("log")
    for ticks in (axes.yaxis.set_major_formatter, axes.yaxis.set_minor_formatter):
        ticks(lambda value, _: f"{value:g}" if f"{value:e}"[0] in "125" else "")


def draw_bars(axes, contenders, sizes, colour):
    """A group of bars per size."""
    width = 0.8 / len(contenders)
    for place, (name, by_size) in enumerate(contenders.items()):
        at = [index for index, size in enumerate(sizes) if size in by_size]
        heights = [sum(by_size[sizes[index]]) / len(by_size[sizes[index]]) for index in at]
        places = [index + (place + 0.5) * width - 0.4 for index in at]
        bars = axes.bar(places, heights, width * 0.9, color=colour[name], label=name)
        axes.bar_label(bars, fmt="%.3g", fontsize=5)
    axes.set_xticks(range(len(sizes)), sizes)
    every = [value for by_size in contenders.values() for values in by_size.values() for value in values]
    if max(every) > WIDE_RANGE * min(every):
        axes.set_yscale("log")


def draw(family, medians, machine):
    """The image as text."""
    cases, unit = panels(family, medians)
    contenders = sorted({name for case in cases.values() for name in case})
    colour = colours(contenders)
    rows = -(-len(cases) // PANELS_PER_ROW)
    columns = -(-len(cases) // rows)
    figure, all_axes = pyplot.subplots(
        rows, columns, figsize=(PANEL_WIDTH * columns, PANEL_HEIGHT * rows), squeeze=False, layout="constrained"
    )
    for axes, (case, measured) in zip(all_axes.flat, cases.items()):
        sizes = sorted({size for by_size in measured.values() for size in by_size}, key=size_order)
        lines = len(sizes) > 2 and all(map(is_number, sizes))
        (draw_lines if lines else draw_bars)(axes, measured, sizes, colour)
        axes.set_title(f"{family}: {case}")
        axes.set_ylabel(LABELS[unit])
        axes.grid(axis="y", which="both", alpha=0.2)
        axes.legend(fontsize=7)
    figure.supxlabel(machine, fontsize=6, color="grey")
    with io.StringIO() as image:
        figure.savefig(image, format="svg", metadata={"Date": None})
        pyplot.close(figure)
        return image.getvalue()
