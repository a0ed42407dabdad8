#!/usr/bin/env python3
"""Tells how much of the readers of foreign bytes the fuzz targets have run.

    fuzz/coverage.py READERS FOLDER RUNS

READERS lists the sources (see fuzz/readers.txt), FOLDER has the profile of the runs, all.profdata.
Lines and regions (pieces of code between branches) are counted over all functions of a file, or
those whose names hold one of the words in braces. Writes FOLDER/unreached.txt, and fails when less
than 95 percent of all lines are reached.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FUZZERS = ROOT / "build/coverage/fuzzers"
PROGRAMS = ("kelpie_fuzz_readers", "fuzz_MessageGraphFuzz")
BAR = 95.0
CODE = 0  # the kind of a region that is run or not
SKIPPED = 2


def readers(path):
    """The names of the sources, each with the words of its functions; none for all of them."""
    result = {}
    for line in Path(path).read_text().splitlines():
        line = line.split("#")[0].strip()
        if line:
            name, _, words = line.partition("{")
            result[name.strip()] = words.strip(" }").split()
    return result


def functions(folder):
    """What the runs did with each function of the programs."""
    command = ["llvm-cov-14", "export", f"-instr-profile={folder}/all.profdata"]
    command += [FUZZERS / PROGRAMS[0]] + [f"-object={FUZZERS / name}" for name in PROGRAMS[1:]]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
    return json.loads(output)["data"][0]["functions"]


def is_counted(line):
    """Whether there is anything to run in a line of the source."""
    return re.search(r"[A-Za-z0-9_]", line.split("//")[0]) is not None


def main():
    wanted = readers(sys.argv[1])
    folder = Path(sys.argv[2])
    runs = {name: {} for name in wanted}  # by region: how often it was run
    for function in functions(folder):
        # Its own file is the first; the others are what it expands.
        name = str(Path(function["filenames"][0]).resolve().relative_to(ROOT.anchor))
        name = "/" + name
        if not name.startswith(str(ROOT) + "/"):
            continue
        name = name[len(str(ROOT)) + 1 :]
        if name not in wanted:
            continue
        if wanted[name] and not any(word in function["name"] for word in wanted[name]):
            continue
        for begin, begin_at, end, end_at, count, file, _, kind in function["regions"]:
            if file == 0 and kind == CODE:
                key = (begin, begin_at, end, end_at)
                runs[name][key] = runs[name].get(key, 0) + count

    unreached = []
    total = [0, 0, 0, 0]
    print(f"{'lines':>12} {'regions':>14}")
    for name in wanted:
        source = (ROOT / name).read_text().splitlines()
        # The innermost region that holds a line says how often it was run.
        counts = {}
        for region in sorted(runs[name], key=lambda r: ((r[2] - r[0], r[3] - r[1])), reverse=True):
            for line in range(region[0], region[2] + 1):
                begins = line > region[0] or not source[line - 1][: region[1] - 1].strip()
                if begins and is_counted(source[line - 1]):
                    counts[line] = runs[name][region]
                elif line == region[0] and line not in counts and is_counted(source[line - 1]):
                    counts[line] = runs[name][region]
        lines, reached = len(counts), sum(1 for count in counts.values() if count)
        regions, run = len(runs[name]), sum(1 for count in runs[name].values() if count)
        for index, value in enumerate((lines, reached, regions, run)):
            total[index] += value
        print(row(lines, reached, regions, run, name))
        for line in sorted(counts):
            if not counts[line]:
                unreached.append(f"{name}:{line}: {source[line - 1].strip()}")
    print(row(*total, f"in all, with {sys.argv[3]} runs of each target after its seeds"))
    (folder / "unreached.txt").write_text("\n".join(unreached) + "\n")
    if 100.0 * total[1] / max(total[0], 1) < BAR:
        sys.exit(f"fuzz: less than {BAR:.0f} percent of the lines are reached")


def row(lines, reached, regions, run, name):
    def percent(part, whole):
        return f"{100.0 * part / whole:6.1f}" if whole else "     -"

    return f"{percent(reached, lines)}%{reached:>5} {percent(run, regions)}%{run:>6}  {name}"


if __name__ == "__main__":
    main()
