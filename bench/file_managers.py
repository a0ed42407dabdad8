#!/usr/bin/python3
"""What the extensions of the file managers cost, against the file manager alone.

    bench/file_managers.py BUILD [--hosts caja,nemo] [--sizes 280,10000] [--rounds 5] [--keep DIR]

BUILD: the folder of an optimised build. Each measurement has a display, a session bus and a file
manager of its own, which shows an empty folder; then it opens the folder of a repository with so
many entries in all states. In each round every file manager runs alone and with the extension in turns;
Caja and Nemo, where their headers are there, also with one that knows everything beforehand, says
it at once, and is nothing else: the floor, below which the file manager lets no extension come.
Printed are medians:

time: from the request until the window does not change any more; with the extension that is when
    the last visible emblem was drawn. That emblems are there is looked at.
CPU: of the file manager, and with the extension of kelpie-sync, kelpie-agent and its git processes,
    until all of them are quiet.
held: the longest time for which a call of the extension has held the main thread.

HOSTS may be caja, nemo, nautilus and dolphin, and dolphin-git: Dolphin with KDE's own plug-in for
git, where that is installed. Nothing of ours needs to be installed. The logs and the last screen of
each go to DIR."""

import argparse
import json
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SOURCES = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(SOURCES / "tests/filemanagers/desktop"))
sys.dont_write_bytecode = True

from screen_file import ScreenFile  # noqa: E402
from session import Session, wait_for  # noqa: E402

COMMANDS = {
    "caja": ["caja", "--no-desktop"],
    "nemo": ["nemo"],
    "nautilus": ["nautilus"],
    "dolphin": ["dolphin"],
}
# Where GTK's file managers look for extensions, below the folder of the libraries.
FOLDERS = {
    "caja": "caja/extensions-2.0",
    "nemo": "nemo/extensions-3.0",
    "nautilus": "nautilus/extensions-4",
}
# What is drawn on items in the states of the repository.
EMBLEMS = ("current", "index-modified", "workdir-modified", "workdir-new", "ignored")
TICK = os.sysconf("SC_CLK_TCK")
# How often the screen is looked at, for how long nothing must change, how much of a core a program
# may use that is quiet, and how long a measurement may take; seconds.
GLANCE, QUIET, IDLE, LIMIT = 0.015, 2.0, 0.02, 180


# -- What is shown ---------------------------------------------------------------------------------

def make_repository(folder, entries):
    """A repository whose upper folder has so many entries: most of them as committed, the others
    in all states, also among the first ones."""
    folder.mkdir(parents=True)
    git = ["git", "-C", str(folder), "-c", "user.name=Tester", "-c", "user.email=t@example.org"]
    names = [f"file-{i:05}.txt" for i in range(entries)]
    (folder / ".gitignore").write_text("*9.txt\n")
    for i, name in enumerate(names):
        (folder / name).write_text(f"content {i}\n")
    subprocess.run([*git, "init", "-q", "-b", "main"], check=True)
    tracked = [name for i, name in enumerate(names) if i % 10 not in (7, 9)]
    subprocess.run([*git, "add", "--pathspec-from-file=-"],
                   input="\n".join([".gitignore", *tracked]), text=True, check=True)
    subprocess.run([*git, "commit", "-q", "-m", "First"], check=True)
    for i, name in enumerate(names):
        if i % 10 in (3, 5):
            (folder / name).write_text("changed\n")
    staged = [name for i, name in enumerate(names) if i % 10 == 3]
    subprocess.run([*git, "add", "--pathspec-from-file=-"], input="\n".join(staged), text=True,
                   check=True)


def emblem_colours(build):
    """The colour that most of the pixels of each emblem have, as the display keeps it."""
    import gi
    gi.require_version("GdkPixbuf", "2.0")
    from gi.repository import GdkPixbuf
    colours = {}
    for name in EMBLEMS:
        file = build / f"share/icons/hicolor/scalable/emblems/emblem-kelpie-{name}.svg"
        drawn = GdkPixbuf.Pixbuf.new_from_file_at_size(str(file), 32, 32)
        data = drawn.get_pixels()
        counts = {}
        for at in range(0, len(data), 4):
            if data[at + 3] == 255 and data[at:at + 3] != b"\xff\xff\xff":
                counts[data[at:at + 3]] = counts.get(data[at:at + 3], 0) + 1
        colours[name] = max(counts, key=counts.get)[::-1]  # blue comes first
    return colours


# -- One measurement, in a session of its own -----------------------------------------------------

class Programs:
    """The CPU seconds of processes and of those that they have started and that have ended."""

    def __init__(self, numbers):
        self.files = [f"/proc/{number}/stat" for number in numbers]

    def cpu(self):
        ticks = 0
        for file in self.files:
            fields = Path(file).read_text().rsplit(")", 1)[1].split()
            ticks += sum(int(field) for field in fields[11:15])
        return ticks / TICK


def watch(screen, programs, act=lambda: None):
    """Acts, and looks until all is quiet: (when the screen has changed last, CPU seconds)."""
    begin = time.monotonic()
    first = programs.cpu()
    act()
    changed, samples = begin, []
    while True:
        now = time.monotonic()
        if screen.has_changed():
            changed = time.monotonic()
        samples.append((now, programs.cpu()))
        while samples[0][0] < now - QUIET - 0.1:
            samples.pop(0)
        used = samples[-1][1] - samples[0][1]
        if now - changed > QUIET and now - samples[0][0] >= QUIET and used <= IDLE * QUIET:
            return changed - begin, samples[-1][1] - first
        if now - begin > LIMIT:
            raise SystemExit(f"not quiet after {LIMIT} s")
        time.sleep(GLANCE)


def open_folder(host, process, folder):
    if host == "dolphin":
        call = [f"--dest=org.kde.dolphin-{process}", "/dolphin/Dolphin_1",
                "org.kde.dolphin.MainWindow.openDirectories", f"array:string:{folder.as_uri()}",
                "boolean:false"]
    else:
        call = ["--dest=org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                "org.freedesktop.FileManager1.ShowFolders", f"array:string:{folder.as_uri()}",
                "string:"]
    subprocess.run(["dbus-send", "--session", "--print-reply", *call], check=True,
                   stdout=subprocess.DEVNULL)


def measure(host, variant, build, folder, artefacts):
    """One measurement, inside its namespace; prints what it found."""
    with Session(build, artefacts) as session:
        # Assistive programs cost the file manager more than anything that is looked for here.
        os.environ.pop("GTK_MODULES")
        os.environ.update({"NO_AT_BRIDGE": "1", "QT_LOGGING_RULES": "kelpie.debug=true"})
        session.start_desktop()
        (session.home / "empty").mkdir()
        if variant == "git":
            config = session.home / ".config"
            config.mkdir(exist_ok=True)
            (config / "dolphinrc").write_text("[VersionControl]\nenabledPlugins=Git\n")
        if variant == "kelpie":
            session.observe(folder.parent)
            session.start_agent()
        file_manager = session.start("host", *COMMANDS[host], session.home / "empty").pid
        processes = [file_manager]
        if variant == "kelpie":
            processes.append(session.processes["agent"].pid)
            if host != "dolphin":
                processes.append(wait_for("the extension runs", session.extension))
        screen = ScreenFile(session.pixels)
        watch(screen, Programs(processes))
        if variant == "kelpie" and host == "dolphin":
            processes.append(wait_for("the extension runs", session.extension))
        programs = Programs(processes)
        took, cpu = watch(screen, programs, lambda: open_folder(host, file_manager, folder))
        drawn = {name: screen.last.count(colour)
                 for name, colour in emblem_colours(build).items()}
        subprocess.run(["import", "-window", "root", artefacts / "screen.png"], check=True)
        held = {}
        for what, time_held in re.findall(r"kelpie.*?: ([^:]*) held the main loop for (\d+) us",
                                          session.log_of("host")):
            held[what] = int(time_held) / 1000
    print(json.dumps({"time": took, "cpu": cpu, "held": held, "emblems": drawn}))


def run_in_namespace(host, variant, build, folder, artefacts):
    """Measures once, as a user without privileges for whom our extension is installed or none."""
    shutil.rmtree(artefacts, ignore_errors=True)
    artefacts.mkdir(parents=True)
    inside = ["unshare", "--user", "--map-user=1000", "--map-group=1000", sys.executable, __file__,
              "--measure", host, variant, str(build), str(folder), str(artefacts)]
    environment = dict(os.environ)
    if host in FOLDERS:
        library = subprocess.run(["dpkg-architecture", "-qDEB_HOST_MULTIARCH"], capture_output=True,
                                 text=True).stdout.strip() or "x86_64-linux-gnu"
        extensions = {"kelpie": build / "filemanagers" / host,
                      "floor": artefacts.parent / "floor" / host,
                      "alone": artefacts / "none"}[variant]
        (artefacts / "none").mkdir()
        script = 'mount --bind "$1" "$2" && shift 2 && exec "$@"'
        inside = ["unshare", "--map-root-user", "--mount", "sh", "-c", script, "sh",
                  str(extensions), f"/usr/lib/{library}/{FOLDERS[host]}", *inside]
    elif variant == "kelpie":
        environment["QT_PLUGIN_PATH"] = f"{build}/filemanagers/{host}"
    result = subprocess.run(inside, env=environment, stdout=subprocess.PIPE, text=True)
    if result.returncode != 0:
        sys.exit(f"file_managers: {host}, {variant}: failed; see {artefacts}")
    return json.loads(result.stdout.splitlines()[-1])


# -- All of them -----------------------------------------------------------------------------------

def has_all_emblems(found):
    return all(found["emblems"][name] >= 20 for name in EMBLEMS)


def build_floor(host, folder):
    """Makes the extension that is the floor for this file manager; whether that can be done."""
    if host not in ("caja", "nemo"):
        return False
    folder.mkdir(parents=True, exist_ok=True)
    package = subprocess.run(["pkg-config", "--cflags", "--libs", f"lib{host}-extension"],
                             capture_output=True, text=True)
    return package.returncode == 0 and subprocess.run(
        ["cc", "-shared", "-fPIC", "-O2", f"-DHOST_{host.upper()}", "-o", folder / "floor.so",
         SOURCES / "bench/floor_extension.c", *package.stdout.split()]).returncode == 0


def measure_in_turns(host, variants, entries, rounds, build, folder, keep):
    found = {variant: [] for variant in variants}
    for number in range(rounds):
        for variant in variants if number % 2 == 0 else reversed(variants):
            one = run_in_namespace(host, variant, build, folder,
                                   keep / f"{host}-{variant}-{entries}")
            found[variant].append(one)
            if variant in ("kelpie", "alone") and has_all_emblems(one) != (variant == "kelpie"):
                sys.exit(f"file_managers: {host}, {variant}: the emblems on the screen are "
                         f"{one['emblems']}")
    return found


def compare(name, entries, rounds, build, folder, keep):
    """Measures and prints one line for each variant."""
    host, _, other = name.partition("-")
    variants = ["alone", other or "kelpie"]
    if not other and build_floor(host, keep / "floor" / host):
        variants.insert(1, "floor")
    found = measure_in_turns(host, variants, entries, rounds, build, folder, keep)
    alone = None
    for variant in variants:
        took, cpu = (statistics.median(one[what] for one in found[variant])
                     for what in ("time", "cpu"))
        alone = alone or (took, cpu)
        longest = {}
        for one in found[variant]:
            for what, held in one["held"].items():
                longest[what] = max(longest.get(what, 0), held)
        held = ", ".join(f"{held:.1f} {what}" for what, held in
                         sorted(longest.items(), key=lambda row: -row[1])[:4])
        print(f"{host:9}{entries:7} {variant:7}{took:7.2f}{took / alone[0]:7.2f}x"
              f"{cpu:7.2f}{cpu / alone[1]:7.2f}x  {held}", flush=True)
    return found


def main():
    if sys.argv[1:2] == ["--measure"]:
        host, variant, *paths = sys.argv[2:]
        return measure(host, variant, *(Path(path) for path in paths))
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=Path)
    parser.add_argument("--hosts", default="caja,nemo")
    parser.add_argument("--sizes", default="280,10000")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--keep", type=Path)
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    with tempfile.TemporaryDirectory(prefix="kelpie-bench.") as place:
        keep = (arguments.keep or Path(place) / "kept").resolve()
        print(f"{os.cpu_count()} cores, load {os.getloadavg()[0]:.1f}; medians of "
              f"{arguments.rounds} rounds; seconds, and ms of the longest calls\n"
              f"{'host':9}{'entries':>7} {'':7}{'time':>7}{'':8}{'CPU':>7}{'':10}held")
        for entries in (int(size) for size in arguments.sizes.split(",")):
            folder = Path(place) / f"projects-{entries}" / "repository"
            make_repository(folder, entries)
            results = {name: compare(name, entries, arguments.rounds, build, folder, keep)
                       for name in arguments.hosts.split(",")}
            if arguments.keep:
                (keep / f"results-{entries}.json").write_text(json.dumps(results, indent=1))
        print(f"load at the end {os.getloadavg()[0]:.1f}")


if __name__ == "__main__":
    main()
