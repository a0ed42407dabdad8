#!/usr/bin/python3
"""Runs a file manager with this build's extension on a screen of its own, and looks at it.

    check.py HOST BUILD ARTEFACTS

HOST: caja, nemo or nautilus; of the last one, emblems are looked at and no menus, since it does not
tell where they are. BUILD: the folder of the build. What the screen showed goes to ARTEFACTS, as
pictures, with the logs of the programs. Needs nothing installed: the extension's folder is mounted
over the one where the file manager looks, in a namespace of its own. Ends with 77 where the system
allows none."""

import os
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

from screen_file import ChangeWatch

HERE = Path(__file__).resolve().parent
SOURCES = HERE.parent.parent.parent
FOLDERS = {
    "caja": "caja/extensions-2.0",
    "nemo": "nemo/extensions-3.0",
    "nautilus": "nautilus/extensions-4",
}
COMMANDS = {
    "caja": ["caja", "--no-desktop"],
    "nemo": ["nemo"],
    "nautilus": ["nautilus"],
}
# The size in which the file manager draws emblems in its icon view, in pixels.
SIZES = {"caja": 24, "nemo": 32, "nautilus": 16}
# How far an emblem stands out from what the file manager says is the item's place.
OVERHANG = 10


def enter_namespace(host, build):
    """Goes on as a user without privileges, for whom only our extension is installed."""
    library = subprocess.run(["dpkg-architecture", "-qDEB_HOST_MULTIARCH"], capture_output=True,
                             text=True).stdout.strip() or "x86_64-linux-gnu"
    target = f"/usr/lib/{library}/{FOLDERS[host]}"
    allowed = subprocess.run(["unshare", "--map-root-user", "--mount", "unshare", "--user", "true"],
                             capture_output=True, text=True)
    if allowed.returncode != 0:
        print("check: skipped, no namespaces of one's own:", allowed.stderr.strip())
        sys.exit(77)
    script = ('mount --bind "$1" "$2" && shift 2 && '
              'exec unshare --user --map-user=1000 --map-group=1000 "$@"')
    os.environ["KELPIE_DESKTOP_TEST"] = "inside"
    os.execvp("unshare", ["unshare", "--map-root-user", "--mount", "sh", "-c", script, "sh",
                          f"{build}/filemanagers/{host}", target, sys.executable, *sys.argv])


class Check:
    def __init__(self, host, session, screen, emblems):
        self.host = host
        self.session = session
        self.screen = screen
        self.emblems = emblems
        self.pictures = 0
        self.watch = ChangeWatch(session.pixels)

    # -- Looking ----------------------------------------------------------------------------------

    def look(self, name="now"):
        from pictures import take_screen
        return take_screen(self.session.artefacts / f"{self.host}-{name}.png")

    def keep(self, name):
        """Keeps a picture of the screen."""
        self.pictures += 1
        self.look(f"{self.pictures:02}-{name}")

    def emblem_of(self, item):
        """The emblem that is drawn on the item; None without one, or without the item."""
        place = self.screen.items().get(item)
        if place is None:
            return None
        x, y, width, height = place
        area = (x - OVERHANG, y - OVERHANG, width + 2 * OVERHANG, height + 2 * OVERHANG)
        return self.emblems.name_in(self.look(), area)

    def shows(self, wanted, begin=None):
        """Each of these items gets that emblem, without anybody asking the file manager to look.
        How many seconds after `begin`, else after the call, the screen was as it is now: finding
        emblems takes longer than drawing them."""
        from session import wait_for
        begin = begin or time.monotonic()
        for item, emblem in wanted.items():
            wait_for(f"the emblem of {item}, to be {emblem}", lambda i=item: self.emblem_of(i),
                     lambda found, e=emblem: found == e)
        return max(0.0, self.watch.changed - begin)

    def step(self, text):
        print(f"{self.host}: {text}", flush=True)

    # -- What is checked --------------------------------------------------------------------------

    def run(self):
        projects = self.session.home / "projects"
        self.make_repositories(projects)
        self.session.observe(projects)
        self.session.start_agent()
        self.session.start("host", *COMMANDS[self.host], projects / "sample")
        self.screen.folder = projects / "sample"
        self.every_state(projects / "sample")
        if self.host == "nautilus":
            self.changes(projects / "sample/src")
        else:
            self.one_repository(projects)
            self.faults(projects / "work")
        self.no_complaints()

    def changes(self, folder):
        self.step("the emblems follow what is staged outside")
        self.session.git(folder, "add", "both.c")
        self.shows({"both.c": "index-modified", "main.c": "current"})
        self.step("the extension is killed")
        self.kill_extension(signal.SIGKILL)
        self.after_return_of_extension({"both.c": "index-modified", "main.c": "current"})
        self.step("a repository that is deleted clears its emblems")
        shutil.rmtree(folder.parent / ".git")
        self.shows({"both.c": None, "main.c": None})
        self.keep("deleted")

    def make_repositories(self, projects):
        subprocess.run([SOURCES / "scripts/sample-repository", projects / "sample"], check=True)
        work = projects / "work"
        (work / "x.app").mkdir(parents=True)
        for name in ("apple.txt", "berry.txt", "cherry.txt", "x.app/inside"):
            (work / name).write_text("as committed\n")
        with open(os.fsencode(work) + b"/latin-\xe9.txt", "w", encoding="ascii") as file:
            file.write("as committed\n")
        git = self.session.git
        git(work, "init", "-q")
        git(work, "add", "-A")
        git(work, "commit", "-q", "-m", "First")
        (projects / "link").symlink_to("work")

    def every_state(self, sample):
        from session import wait_for
        self.step("every item of a folder has its emblem")
        self.shows({"Presentation.key": "workdir-modified", "build": "ignored",
                    "docs": "index-modified", "library": "workdir-modified", "src": "conflicted",
                    "README.md": "workdir-modified", "debug.log": "ignored",
                    "notes.txt": "workdir-new"})
        self.keep("folder")
        if self.host != "nautilus":
            wait_for("the button of the toolbar menu", self.screen.buttons,
                     lambda buttons: "Git" in buttons)
            self.screen.open_menu("README.md")
            self.screen.choose("Git")
            wait_for("the submenu", self.screen.menu_items,
                     lambda items: 'Stage "README.md"' in items)
            self.keep("sample-menu")
            self.screen.close_menu()
        self.screen.go_to(sample / "src")
        self.shows({"added.c": "index-new", "both.c": "workdir-modified",
                    "conflict.c": "conflicted", "main.c": "current", "staged.c": "index-modified"})
        self.keep("subfolder")

    def one_repository(self, projects):
        from session import wait_for
        work = projects / "work"
        git = self.session.git
        self.step("a folder shown through a symbolic link; names that are not UTF-8; packages")
        (work / "apple.txt").write_text("changed\n")
        (work / "x.app/inside").write_text("changed\n")
        self.screen.go_to(projects / "link")
        self.shows({"apple.txt": "workdir-modified", "berry.txt": "current",
                    "x.app": "workdir-modified"})
        latin = next(name for name in self.screen.items() if name.startswith("latin-"))
        self.shows({latin: "current"})
        self.keep("link")

        self.step("a folder without badges shows nothing of us")
        self.screen.go_to(self.session.folder)
        wait_for("the items there", self.screen.items, lambda items: "home" in items)
        if "Git" in self.screen.buttons():
            raise AssertionError("the button of the toolbar menu is there")
        self.keep("elsewhere")

        self.step("Stage, chosen in the menu of an item, stages")
        self.screen.go_to(work)
        self.shows({"apple.txt": "workdir-modified"})
        self.screen.open_menu("apple.txt")
        wait_for("the menu", self.screen.menu_items, lambda items: "Git" in items)
        self.screen.choose("Git")
        wait_for("its submenu", self.screen.menu_items,
                 lambda items: 'Stage "apple.txt"' in items)
        self.keep("menu")
        if self.screen.is_sensitive("Git Repository"):
            raise AssertionError("a title over a group can be chosen")
        self.screen.choose('Stage "apple.txt"')
        wait_for("what git has staged", lambda: git(work, "diff", "--cached", "--name-only"),
                 lambda names: names == "apple.txt\n")
        self.shows({"apple.txt": "index-modified"})
        self.keep("staged")

        self.step("a commit outside changes the emblems")
        (work / "new.txt").write_text("new\n")
        self.shows({"new.txt": "workdir-new"})
        git(work, "commit", "-q", "-a", "-m", "Second")
        took = self.shows({"apple.txt": "current", "x.app": "current"})
        self.step(f"  {took:.2f} s after the commit all emblems are right")
        self.keep("committed")

    def faults(self, work):
        self.step("the extension is killed")
        self.kill_extension(signal.SIGKILL)
        took = self.after_return_of_extension({"apple.txt": "current", "new.txt": "workdir-new"})
        self.step(f"  {took:.2f} s after its return all emblems are right")

        self.agent_is_killed(work, {"berry.txt": "workdir-modified", "apple.txt": "current"})

        self.step("an extension that does not answer is not waited for")
        self.stopped_extension()

        self.step("a repository that is deleted clears its emblems")
        shutil.rmtree(work / ".git")
        self.shows({"apple.txt": None, "berry.txt": None, "new.txt": None})
        self.keep("deleted")

    def agent_is_killed(self, work, wanted):
        """berry.txt is changed while it is not there."""
        self.step("the main application is killed, and things change meanwhile")
        self.session.end("agent", signal.SIGKILL)
        (work / "berry.txt").write_text("changed\n")
        self.session.start_agent()
        took = self.shows(wanted)
        self.step(f"  {took:.2f} s after its return all emblems are right")

    def kill_extension(self, number):
        from session import wait_for
        old = wait_for("the extension runs", self.session.extension)
        os.kill(old, number)
        self.killed = old

    def after_return_of_extension(self, wanted):
        from session import wait_for
        wait_for("the extension is back", self.session.extension,
                 lambda process: process not in (None, self.killed))
        return self.shows(wanted)

    def stopped_extension(self):
        from session import wait_for
        process = wait_for("the extension runs", self.session.extension)
        os.kill(process, signal.SIGSTOP)
        try:
            for item in ("cherry.txt", "berry.txt"):
                begin = time.monotonic()
                self.screen.open_menu(item)
                wait_for("the file manager's own menu", self.screen.menu_items)
                self.step(f"  the menu of {item} is there after {time.monotonic() - begin:.2f} s")
                self.screen.close_menu()
        finally:
            os.kill(process, signal.SIGCONT)
        self.shows({"berry.txt": "workdir-modified"})

    def no_complaints(self):
        log = self.session.log_of("host")
        bad = [line for line in log.splitlines()
               if re.search(r"kelpie-(WARNING|CRITICAL)|invalid \(NULL\) pointer"
                            rf"|{self.host}_(menu|file_info|info_provider|column)", line)]
        if bad:
            raise AssertionError("the file manager complains:\n" + "\n".join(bad[:20]))
        if self.session.processes["host"].poll() is not None:
            raise AssertionError("the file manager has ended")
        longest = {}
        for what, held in re.findall(r"kelpie.*?: ([^:]*) held the main loop for (\d+) us", log):
            longest[what] = max(longest.get(what, 0), int(held))
        self.step("how long a call has held the main loop at the longest, in us:")
        for what, held in sorted(longest.items(), key=lambda row: -row[1]):
            self.step(f"  {held:6} {what}")


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in FOLDERS:
        sys.exit(__doc__)
    host, build, artefacts = sys.argv[1], Path(sys.argv[2]).resolve(), Path(sys.argv[3]).resolve()
    if os.environ.get("KELPIE_DESKTOP_TEST") != "inside":
        enter_namespace(host, build)
    from session import Session
    with Session(build, artefacts) as session:
        session.start_desktop()
        # These connect to the session's bus and display when they are loaded.
        from pictures import Emblems
        from screen import Screen
        emblems = Emblems(build / "share/icons/hicolor/scalable/emblems", SIZES[host])
        check = Check(host, session, Screen(host), emblems)
        try:
            check.run()
        except Exception:
            check.keep("failure")
            raise
    print(f"{host}: all right")


if __name__ == "__main__":
    main()
