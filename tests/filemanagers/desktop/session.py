"""A desktop of the test's own: a display, a window manager, a session bus, the programs of this
build, and one file manager. All of it goes with the session."""

import os
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

# What a test waits for comes in that time, also on a machine with much else to do; else it fails.
LONG_ENOUGH = 60

EXTENSION_SERVICE = "org.kelpie.Kelpie.Sync"


class Failure(Exception):
    """Something that must hold does not."""


def wait_for(what, get, holds=bool, seconds=LONG_ENOUGH):
    """Asks `get` again and again until `holds` says yes to its answer, and gives the answer."""
    end = time.monotonic() + seconds
    while True:
        answer = get()
        if holds(answer):
            return answer
        if time.monotonic() > end:
            raise Failure(f"{what}: after {seconds} s it is {answer!r}")
        time.sleep(0.05)


class Session:
    def __init__(self, build, artefacts):
        self.build = Path(build)
        self.artefacts = Path(artefacts)
        self.artefacts.mkdir(parents=True, exist_ok=True)
        self.folder = Path(tempfile.mkdtemp(prefix="kelpie-desktop."))
        self.processes = {}
        self.home = self.folder / "home"
        for path in (self.home, self.folder / "run"):
            path.mkdir(mode=0o700)
        services = self.home / ".local/share/dbus-1/services"
        services.mkdir(parents=True)
        (services / f"{EXTENSION_SERVICE}.service").write_text(
            f"[D-BUS Service]\nName={EXTENSION_SERVICE}\nExec={self.build}/bin/kelpie-sync\n")
        (self.home / ".gitconfig").write_text(
            "[user]\n\tname = Tester\n\temail = tester@example.org\n[init]\n\tdefaultBranch = main\n")
        # What the tests' own process needs as well: it looks at the screen by the same means.
        for name in list(os.environ):
            if name.startswith(("XDG_", "GTK_", "GIT_", "WAYLAND_", "AT_SPI_")):
                del os.environ[name]
        os.environ.update({
            "HOME": str(self.home),
            "XDG_RUNTIME_DIR": str(self.folder / "run"),
            "XDG_CONFIG_HOME": str(self.home / ".config"),
            "XDG_DATA_HOME": str(self.home / ".local/share"),
            "XDG_DATA_DIRS": f"{self.build}/share:/usr/local/share:/usr/share",
            "GIT_CONFIG_NOSYSTEM": "1",
            "GIT_CEILING_DIRECTORIES": str(self.home),
            "GSETTINGS_BACKEND": "keyfile",
            "GDK_BACKEND": "x11",
            "GTK_MODULES": "gail:atk-bridge",
            "GIO_USE_VFS": "local",
            "LIBGL_ALWAYS_SOFTWARE": "1",
            "GSK_RENDERER": "cairo",
            "NO_AT_BRIDGE": "0",
            "LC_ALL": "C.UTF-8",
            "G_MESSAGES_DEBUG": "kelpie",
        })

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for name in reversed(list(self.processes)):
            self.end(name)
        shutil.rmtree(self.folder, ignore_errors=True)

    # -- Processes --------------------------------------------------------------------------------

    def start(self, name, *command, **options):
        """Starts a program in the background; its output goes to NAME.log among the artefacts."""
        with open(self.artefacts / f"{name}.log", "ab") as log:
            self.processes[name] = subprocess.Popen(
                [str(word) for word in command], stdout=options.pop("stdout", log), stderr=log,
                stdin=subprocess.DEVNULL, cwd=self.home, **options)
        return self.processes[name]

    def end(self, name, number=signal.SIGTERM):
        process = self.processes.pop(name)
        if process.poll() is None:
            process.send_signal(number)
            process.send_signal(signal.SIGCONT)
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()

    def log_of(self, name):
        path = self.artefacts / f"{name}.log"
        return path.read_text(errors="replace") if path.exists() else ""

    def start_desktop(self):
        """The display, the session bus, the window manager. What is shown is in self.pixels, see
        ScreenFile."""
        (self.folder / "display").mkdir()
        self.pixels = self.folder / "display/Xvfb_screen0"
        read, write = os.pipe()
        self.start("display", "Xvfb", "-displayfd", write, "-screen", "0", "1024x768x24",
                   "-nolisten", "tcp", "-fbdir", self.pixels.parent, pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as number:
            os.environ["DISPLAY"] = f":{number.readline().strip()}"
        bus = self.start("bus", "dbus-daemon", "--session", "--nofork", "--print-address",
                         stdout=subprocess.PIPE)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        self.start("windows", "openbox", "--sm-disable")

    def start_agent(self):
        self.start("agent", self.build / "bin/kelpie-agent")
        port = self.folder / "run/kelpie/ports/group.org.kelpie.App"
        wait_for("the agent listens", port.exists)

    def extension(self):
        """The process of the extension, which the bus has started; None without one."""
        answer = self.ask_bus("GetConnectionUnixProcessID", EXTENSION_SERVICE)
        return int(answer.split()[-1]) if "uint32" in answer else None

    def ask_bus(self, method, name):
        command = ["dbus-send", "--session", "--dest=org.freedesktop.DBus", "--print-reply",
                   "/org/freedesktop/DBus", f"org.freedesktop.DBus.{method}", f"string:{name}"]
        return subprocess.run(command, capture_output=True, text=True).stdout

    # -- Repositories -----------------------------------------------------------------------------

    def git(self, repository, *arguments):
        command = ["git", "-C", str(repository), *arguments]
        result = subprocess.run(command, capture_output=True, text=True)
        if result.returncode != 0:
            raise Failure(f"{' '.join(command)}: {result.stderr}")
        return result.stdout

    def observe(self, folder):
        subprocess.run([self.build / "bin/kelpie", "folders", "add", folder], check=True,
                       stdout=subprocess.DEVNULL)
