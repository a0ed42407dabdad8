"""What scripts/bench and scripts/soak have in common: the machine, and a page of docs/ with figures."""

import os
import platform
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


def run(command, **options):
    return subprocess.run(command, check=True, text=True, cwd=ROOT, **options)


def build(folder, targets):
    """Builds the targets in the optimised build that lies in the folder, or will."""
    if not (folder / "build.ninja").exists():
        run(["cmake", "--preset", "release", "-B", folder], stdout=sys.stderr)
    run(["cmake", "--build", folder, "-j", str(os.cpu_count()), "--target", *targets],
        stdout=sys.stderr)


def first_line(command):
    try:
        return subprocess.run(command, capture_output=True, text=True).stdout.splitlines()[0]
    except (OSError, IndexError):
        return command[0] + " unknown"


def machine(folder):
    """What the figures depend on, besides the sources."""
    info = Path("/proc/cpuinfo").read_text(encoding="utf-8")
    name = re.search(r"model name\s*:\s*(.*)", info)
    total = re.search(r"MemTotal:\s*(\d+)", Path("/proc/meminfo").read_text(encoding="utf-8"))
    compiler = re.search(r"CMAKE_CXX_COMPILER:\w+=(.*)", (folder / "CMakeCache.txt").read_text())
    return (f"{name.group(1) if name else platform.machine()}, {os.cpu_count()} cores, "
            f"{int(total.group(1)) / 1e6:.0f} GB, {platform.system()} {platform.release()}; "
            f"{first_line([compiler.group(1), '--version'])}, -O2; "
            f"{first_line(['git', '--version'])}")


def load():
    return " ".join(f"{value:.1f}" for value in os.getloadavg())


def write(path, program, text):
    """Replaces what stands between the page's two marker lines, which name the program."""
    begin, end = (f"<!-- scripts/{program} {word} -->" for word in ("begin", "end"))
    page = path.read_text(encoding="utf-8")
    if page.count(begin) != 1 or page.count(end) != 1 or page.index(begin) > page.index(end):
        sys.exit(f"{program}: {path.relative_to(ROOT)} has lost its marker lines")
    before, after = page[:page.index(begin)], page[page.index(end):]
    path.write_text(f"{before}{begin}\n\n{text}\n\n{after}", encoding="utf-8")
