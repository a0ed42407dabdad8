#!/usr/bin/python3
"""Runs Thunar or Dolphin with this build's extension on a screen of its own, and looks at it.

    check_others.py HOST BUILD ARTEFACTS

HOST: thunar or dolphin. What the screen showed goes to ARTEFACTS, as pictures, with the logs of the
programs. Not among the tests: these bring much with them, and are tried by hand. Needs nothing
installed but the file manager (for Dolphin, scripts/install-packages kde)."""

import os
import shutil
import signal
import sys
import time
from pathlib import Path

import check


class Trial(check.Check):
    """What every file manager must do: the menu, what is chosen in it, faults."""

    command = []

    def run(self):
        projects = self.session.home / "projects"
        work = projects / "work"
        self.make_repositories(projects)
        (work / "apple.txt").write_text("changed\n")
        self.session.observe(projects)
        self.session.start_agent()
        self.session.start("host", *self.command, work)
        self.when_open(projects)
        self.menu(work)
        self.extension_stops()
        self.extension_is_killed(work)
        self.repository_goes(work)
        self.no_complaints()

    def when_open(self, projects):
        """The window is there with the first folder."""

    def group_titles(self):
        if self.screen.is_sensitive("Git Repository"):
            raise AssertionError("a title over a group can be chosen")

    def after_staging(self):
        pass

    def after_return(self, work):
        pass

    def open_git(self, item, wanted):
        """Opens the menu of the item and in it ours, which has the wanted item. It stays as it was
        when it was opened: opens it again until the item is there."""
        from session import wait_for

        def is_there():
            self.screen.close_menu()
            self.screen.open_menu(item)
            wait_for("the menu", self.screen.menu_items)
            if "Git" not in self.screen.menu_items():
                return False
            before = set(self.screen.menu_items())
            self.screen.choose("Git")
            items = wait_for("our menu", self.screen.menu_items, lambda now: set(now) > before)
            return wanted in items

        wait_for(f"{wanted} in the menu", is_there)

    def menu(self, work):
        from session import wait_for
        self.step("Stage, chosen in the menu of an item, stages")
        self.open_git("apple.txt", 'Stage "apple.txt"')
        self.keep("menu")
        self.group_titles()
        self.screen.choose('Stage "apple.txt"')
        wait_for("what git has staged",
                 lambda: self.session.git(work, "diff", "--cached", "--name-only"),
                 lambda names: names == "apple.txt\n")
        self.after_staging()
        self.step("the menu is another now")
        self.open_git("apple.txt", 'Unstage "apple.txt"')
        self.keep("menu-staged")
        self.screen.close_menu()

    def extension_stops(self):
        from session import wait_for
        self.step("an extension that does not answer is not waited for")
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

    def extension_is_killed(self, work):
        from session import wait_for
        self.step("the extension is killed, and comes back")
        self.kill_extension(signal.SIGKILL)
        wait_for("the extension is back", self.session.extension,
                 lambda process: process not in (None, self.killed))
        self.after_return(work)
        self.open_git("apple.txt", 'Unstage "apple.txt"')
        self.screen.close_menu()

    def repository_goes(self, work):
        pass


class ThunarTrial(Trial):
    command = ["thunar"]
    folder = "thunarx-3"
    emblem_size = 16

    def when_open(self, projects):
        from screen import hand
        from session import wait_for
        wait_for("the window", self.screen.application)
        wait_for("its views", self.screen.buttons)
        # Its icons are not to be found by name, its rows are.
        hand("key", "ctrl+2")
        wait_for("the items", self.screen.items, lambda items: "apple.txt" in items)

    def group_titles(self):
        # It draws no item of an extension as one that can't be chosen.
        if "— Git Repository —" not in self.screen.menu_items():
            raise AssertionError("a title over a group looks like an item")


class DolphinTrial(Trial):
    command = ["dolphin"]
    folder = None
    emblem_size = 22

    def when_open(self, projects):
        self.step("every item has its emblem")
        self.shows({"apple.txt": "workdir-modified", "berry.txt": "current",
                    "cherry.txt": "current", "x.app": "current"})
        self.step("a name that is not UTF-8, which Qt does not keep, has none")
        latin = next(name for name in self.screen.items() if name.startswith("latin-"))
        self.shows({latin: None})
        self.keep("folder")

    def shows(self, wanted, begin=None):
        begin = begin or time.monotonic()
        # What is selected is drawn in other colours.
        self.screen.select_nothing()
        return super().shows(wanted, begin)

    def after_staging(self):
        self.shows({"apple.txt": "index-modified"})
        self.keep("staged")

    def after_return(self, work):
        took = self.shows({"apple.txt": "index-modified", "berry.txt": "current"})
        self.step(f"  {took:.2f} s after its return all emblems are right")
        self.step("a commit outside changes the emblems")
        self.screen.select_nothing()
        self.session.git(work, "commit", "-q", "-a", "-m", "Second")
        took = self.shows({"apple.txt": "current"})
        self.step(f"  {took:.2f} s after the commit all emblems are right")
        self.agent_is_killed(work, {"berry.txt": "workdir-modified", "apple.txt": "current"})
        (work / "apple.txt").write_text("changed again\n")
        self.session.git(work, "add", "apple.txt")

    def repository_goes(self, work):
        self.step("a repository that is deleted clears its emblems")
        shutil.rmtree(work / ".git")
        self.shows({"apple.txt": None, "berry.txt": None})
        self.keep("deleted")


TRIALS = {"thunar": ThunarTrial, "dolphin": DolphinTrial}


def enter_namespace(trial, host, build):
    """Goes on as a user without privileges, for whom our extension is there."""
    if trial.folder is not None:
        check.FOLDERS[host] = trial.folder
        check.enter_namespace(host, build)
    os.environ.update({
        "KELPIE_DESKTOP_TEST": "inside",
        "QT_PLUGIN_PATH": f"{build}/filemanagers/{host}",
        "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
        "QT_LOGGING_RULES": "kelpie.debug=true",
    })
    os.execvp("unshare", ["unshare", "--user", "--map-user=1000", "--map-group=1000",
                          sys.executable, *sys.argv])


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in TRIALS:
        sys.exit(__doc__)
    host, build, artefacts = sys.argv[1], Path(sys.argv[2]).resolve(), Path(sys.argv[3]).resolve()
    trial = TRIALS[host]
    if os.environ.get("KELPIE_DESKTOP_TEST") != "inside":
        enter_namespace(trial, host, build)
    from session import Session
    with Session(build, artefacts) as session:
        session.start_desktop()
        # These connect to the session's bus and display when they are loaded.
        from other_screens import SCREENS
        from pictures import Emblems
        emblems = Emblems(build / "share/icons/hicolor/scalable/emblems", trial.emblem_size)
        running = trial(host, session, SCREENS[host](host), emblems)
        try:
            running.run()
        except Exception:
            running.keep("failure")
            raise
    print(f"{host}: all right")


if __name__ == "__main__":
    main()
