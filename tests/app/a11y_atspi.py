#!/usr/bin/python3
"""The real program read and driven through AT-SPI on xcb under a private
Xvfb, session and accessibility bus.  Exits 77 when a tool is missing."""
import contextlib
import importlib.util
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

LAUNCHER = "/usr/libexec/at-spi-bus-launcher"
# Generous: a sanitizer build collects the packages several times slower.
COLLECT_SECONDS = 240
WHOLE_SECONDS = 480


def fail(message):
    sys.exit("a11y_atspi: " + message)


def wait_for(what, probe, seconds, process=None):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if process and process.poll() is not None:
            fail("the program ended with %d" % process.returncode)
        found = probe()
        if found:
            return found
        time.sleep(0.5)
    fail("timed out waiting for " + what)


def stop_xvfb(xvfb):
    # Asked first, so that it removes its lock file and socket.
    with contextlib.suppress(ProcessLookupError):
        os.killpg(xvfb.pid, signal.SIGTERM)
    try:
        xvfb.wait(timeout=5)
    except subprocess.TimeoutExpired:
        os.killpg(xvfb.pid, signal.SIGKILL)
        xvfb.wait()


def start_xvfb():
    """A private X server on a free display, once a client can connect to it.

    Without -noreset the server resets whenever its last client leaves (the
    probe below, the bus launcher) and drops a client still connecting."""
    for _ in range(3):
        read, write = os.pipe()
        xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-nolisten", "tcp", "-noreset",
                                 "-screen", "0", "1280x1024x24"], pass_fds=[write],
                                stderr=subprocess.DEVNULL, start_new_session=True)
        os.close(write)
        with os.fdopen(read) as pipe:
            display = pipe.readline().strip()
        deadline = time.monotonic() + 10
        while display and time.monotonic() < deadline and xvfb.poll() is None:
            if subprocess.run(["xdpyinfo", "-display", ":" + display], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode == 0:
                return xvfb, display
            time.sleep(0.2)
        stop_xvfb(xvfb)
    fail("Xvfb did not start a display a client can connect to")


def outside():
    missing = [tool for tool in ("Xvfb", "xdpyinfo", "dbus-run-session") if not shutil.which(tool)] + [
        name for name, there in ((LAUNCHER, os.access(LAUNCHER, os.X_OK)),
                                 ("pyatspi", importlib.util.find_spec("pyatspi"))) if not there]
    if missing:
        print("a11y_atspi: skipped, not installed: " + ", ".join(missing))
        return 77
    with tempfile.TemporaryDirectory(prefix="sorvan-a11y-") as tmp:
        os.chmod(tmp, 0o700)
        env = {k: v for k, v in os.environ.items()
               if not k.startswith(("DBUS_", "AT_SPI", "DISPLAY", "WAYLAND", "XDG_"))}
        env.update(XDG_RUNTIME_DIR=tmp, XDG_CONFIG_HOME=tmp + "/config", XDG_CACHE_HOME=tmp + "/cache",
                   GSETTINGS_BACKEND="memory")
        xvfb, display = start_xvfb()
        inner = None
        try:
            env["DISPLAY"] = ":" + display
            # The private session and everything started in it share one process group.
            inner = subprocess.Popen(["dbus-run-session", "--", sys.executable, "-I", "-B",
                                      os.path.abspath(__file__), "--inside", tmp],
                                     env=env, start_new_session=True)
            return inner.wait(timeout=WHOLE_SECONDS)
        except subprocess.TimeoutExpired:
            fail("no result within %d s" % WHOLE_SECONDS)
        finally:
            if inner:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(inner.pid, signal.SIGKILL)
                inner.wait()
            stop_xvfb(xvfb)


def walk(node):
    import pyatspi
    yield node
    if node.getRole() != pyatspi.ROLE_TABLE:
        for child in node:
            yield from walk(child)


def read_table(table):
    # Qt 6.4 answers the header's texts, no header cells.
    cells = table.queryTable()
    titles = [cells.getColumnDescription(c) for c in range(cells.nColumns)]
    return [{title: cells.getAccessibleAt(r, c).name for c, title in enumerate(titles)}
            for r in range(cells.nRows)]


def inside(tmp):
    # Started here, not by activation, so that it belongs to this process group.
    subprocess.Popen([LAUNCHER, "--launch-immediately"])
    from gi.repository import Gio, GLib
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    wait_for("the accessibility bus", lambda: bus.call_sync(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
        GLib.Variant("(s)", ("org.a11y.Bus",)), None, 0, -1).unpack()[0], 30)
    import pyatspi

    root = tmp + "/root"
    subprocess.run([sys.executable, "-I", "-B", os.environ["SORVAN_SOURCE_DIR"] + "/tools/sandbox/sandbox.py",
                    "clone", os.environ["SORVAN_BINARY_DIR"] + "/sandbox", root],
                   check=True, stdout=subprocess.DEVNULL)
    sorvan = subprocess.Popen([os.environ["SORVAN_EXE"]], env=dict(
        os.environ, SORVANROOT=root, QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1"))
    app = wait_for("the program on the accessibility bus", lambda: next(
        (a for a in pyatspi.Registry.getDesktop(0) if a and a.name == "SORVAN"), None), 60, sorvan)

    def table():
        found = next((n for n in walk(app) if n.getRole() == pyatspi.ROLE_TABLE), None)
        return found if found and any(row.get("Name") == "sv-tool" for row in read_table(found)) else None
    view = wait_for("sv-tool in the table", table, COLLECT_SECONDS, sorvan)

    # Every icon-only cell says what it shows, and says it right: an
    # updatable package reads as out of date.
    texts = {"Action": {"No action", "Update", "Install", "Remove"},
             "State": {"Out of date", "Available", "Installed"}, "Kind": {"Suite", "Group", "Package"}}
    tool = {"Action": "No action", "State": "Out of date", "Kind": "Package"}
    wrong = [row for row in read_table(view) if any(row.get(t) not in texts[t] for t in texts)
             or row["Name"] == "sv-tool" and any(row[t] != tool[t] for t in tool)]
    if wrong:
        fail("cells that read wrong: %s" % wrong)

    # Whatever a user reaches, by the keyboard or as a button, has a name.
    widgets = [w for w in walk(app) if w.getState().contains(pyatspi.STATE_SHOWING)]
    unnamed = [w.getRoleName() for w in widgets if not w.name and (
        w.getRole() == pyatspi.ROLE_PUSH_BUTTON or w.getState().contains(pyatspi.STATE_FOCUSABLE))]
    if unnamed:
        fail("without a name: " + ", ".join(unnamed))
    buttons = {w.name: w for w in widgets if w.getRole() == pyatspi.ROLE_PUSH_BUTTON}
    if "Set Update of Listed" not in buttons or "Apply Actions" not in buttons:
        fail("buttons missing among %s" % sorted(buttons))

    # Driven as a screen reader user does: the button's accessible action.
    press = buttons["Set Update of Listed"].queryAction()
    press.doAction(next(i for i in range(press.nActions) if press.getName(i) == "Press"))

    def marked():
        updates = [r for r in read_table(view) if r["State"] == "Out of date"]
        return all(r["Action"] == "Update" for r in updates) and any(r["Name"] == "sv-tool" for r in updates) \
            and buttons["Apply Actions"].getState().contains(pyatspi.STATE_ENABLED)
    wait_for("every out-of-date row marked and Apply Actions enabled", marked, 30, sorvan)
    print("a11y_atspi: table read and driven through AT-SPI")
    return 0


if __name__ == "__main__":
    sys.exit(inside(sys.argv[2]) if sys.argv[1:2] == ["--inside"] else outside())
