"""Reads the results of one or more runs of the benchmarks, and their limits, for the other scripts in this folder."""
import json
import math
import pathlib
import statistics
import sys

FOLDER = pathlib.Path(__file__).resolve().parent
SIZES = ("100", "2000", "20000")
WIDTHS = ("wide200", "wide1000", "wide5000")

# Limits that do not depend on the machine. The others are in limits.txt.
COMMANDS = ("check", "check-folder", "diff", "diff-folder", "explain", "merge", "merge-folder")
LIMITS = {
    "create": {"calls": 5.8},
    "load": {"peak": 1.2},
    "sort": {"growth": 1.4},
    "collect": {"growth": 1.35},
    "overwrites": {"memory": 2.0},
    # The allowed time is that of three loads for each manifest and two creations for each folder. "explain" needs all
    # of it. A merge has three trees and the result in memory.
    **{f"{command}/20000": {"of allowed": 1.1 if command == "explain" else 1.0,
                            "trees": 3.3 if command.startswith("merge") else 3.0}
       for command in COMMANDS},
}


def limits():
    """Returns the limits by name and column. A name is that of an operation, or of an operation with one tree."""
    found = {name: dict(columns) for name, columns in LIMITS.items()}
    for line in (FOLDER / "limits.txt").read_text().splitlines():
        if not line.startswith("#"):
            name, limit = line.split()
            found.setdefault(name, {})["of qt"] = float(limit)
    return found


def limit_of(row, column, all_limits):
    for name in (row["name"], row["operation"]):
        if column in all_limits.get(name, {}):
            return all_limits[name][column]
    return None


def exponent(rows, tree_names, count):
    """Returns the exponent of growth: the slope of a line through the times of one operation, on logarithmic scales."""
    points = [(math.log(row[count]), math.log(row["library"])) for row in rows if row["tree"] in tree_names]
    if len(points) < 2:
        return None
    mean_x = sum(x for x, _ in points) / len(points)
    mean_y = sum(y for _, y in points) / len(points)
    return sum((x - mean_x) * (y - mean_y) for x, y in points) / sum((x - mean_x) ** 2 for x, _ in points)


def timed(path):
    rows = []
    for row in json.loads(path.read_text())["benchmarks"]:
        name = row["run_name"].split("/iterations:")[0]
        if row.get("error_occurred"):
            sys.exit(f"{name}: {row['error_message']}")
        row["name"] = name
        row["operation"], row["tree"] = name.split("/")
        rows.append(row)
    return rows


def best(rows, others):
    """Replaces each row that was measured again by the better of the two."""
    again = {row["name"]: row for row in others}
    return [min(row, again.get(row["name"], row), key=lambda either: either["of qt"]) for row in rows]


def counted(path):
    # A device may lack the tools for counting.
    if not path.exists():
        return {}
    with open(path) as lines:
        return {(job, side): float(count) for job, side, count in map(str.split, lines)}


def gathered(folder):
    rows = timed(folder / "times.json")
    for again in folder.glob("again-*.json"):
        rows = best(rows, timed(again))
    for row in rows:
        alike = [other for other in rows if other["operation"] == row["operation"]]
        for trees, count in ((SIZES, "elements"), (WIDTHS, "siblings")):
            largest = [other["name"] for other in alike if other["tree"] in trees][-1:]
            if row["name"] in largest:
                row["growth"] = exponent(alike, trees, count)
    memory = json.loads((folder / "memory.json").read_text())
    instructions = counted(folder / "instructions.txt")
    calls = counted(folder / "calls.txt")
    for row in rows:
        own = instructions.get((row["name"], "library"))
        if own is not None:
            row["instructions"] = own
            row["instructions of qt"] = own / instructions[row["name"], "qt"]
        own = calls.get((row["name"], "library"))
        if own is not None:
            row["calls"] = own
            row["calls of qt"] = own / calls[row["name"], "qt"]
        peaks = memory.get(row["name"])
        if peaks is not None:
            row["peak"] = peaks["library"] / peaks["parsing"]
    commands = folder / "commands.json"
    if commands.exists():
        for row in json.loads(commands.read_text()):
            rows.append({"name": f"{row['operation']}/{row['tree']}", **row})
    rows.append({"name": f"overwrites/{memory['saves']}", "operation": "overwrites", "memory": memory["growth"] / 1e6})
    return rows


def medians(folders):
    """Returns the rows of the first run, with the medians of all runs."""
    runs = [{row["name"]: row for row in gathered(pathlib.Path(folder))} for folder in folders]
    rows = []
    for name, first in runs[0].items():
        row = dict(first)
        for column, value in first.items():
            if isinstance(value, (int, float)):
                # A row or column may be missing in some runs.
                row[column] = statistics.median(run[name][column] for run in runs if column in run.get(name, {}))
        rows.append(row)
    return rows


def with_unit(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= size:
            break
    return f"{nanoseconds / size:.3g} {unit}"
