"""check_desktop.py WHAT ARGS...: what a desktop and a packager get of SORVAN.

  validate DESKTOP METAINFO CMAKELISTS    the validators, and a release entry for the version
  stage CMAKE BUILD STAGE                 installs BUILD under $DESTDIR (= STAGE)
  installed STAGE BINDIR DATADIR ID SIZES SOURCE SANDBOX  (full paths, as installed)
                                          the staged files, and the staged program run on a sandbox
  launcher BINDIR                         sorvan-root, with a stand-in for pkexec
  rpm SOURCE VERSION ID SIZES             tools/dist, rpmbuild -ta, and the RPM's file list
Exits 77 (skipped) when a tool it needs is missing."""
import configparser, json, os, re, shutil, signal, socket, struct, subprocess, sys
import tempfile, time
import xml.etree.ElementTree as ET

SKIP = 77


def missing(*tools):
    absent = [t for t in tools if not shutil.which(t)]
    if absent:
        print("skipped: not installed:", " ".join(absent))
    return absent


def validate(desktop, metainfo, cmakelists):
    if missing("desktop-file-validate", "appstreamcli"):
        return SKIP
    for command in (["desktop-file-validate", desktop], ["appstreamcli", "validate", "--no-net", metainfo]):
        run = subprocess.run(command, capture_output=True, text=True)
        assert run.returncode == 0, " ".join(command) + ":\n" + run.stdout + run.stderr
    # Software centres show the newest release as the version: it must be this one.
    with open(cmakelists) as f:
        version = re.search(r"^project\(sorvan VERSION ([0-9.]+)", f.read(), re.M).group(1)
    newest = ET.parse(metainfo).getroot().find("releases/release").get("version")
    assert newest == version, f"the metainfo's newest release is {newest}, the program's version {version}"
    return 0


def stage(cmake, build, staging):
    shutil.rmtree(staging, ignore_errors=True)
    subprocess.run([cmake, "--install", build], check=True, stdout=subprocess.DEVNULL)
    # The launcher's test runs the staged tree as an unprivileged user.
    os.chmod(staging, 0o755)
    return 0


def executable(path):
    return os.path.isfile(path) and os.access(path, os.X_OK)


def installed(staging, full_bindir, full_datadir, app_id, sizes, source, sandbox):
    bindir, datadir = staging + full_bindir, staging + full_datadir
    for program in ("sorvan", "sorvan-root"):
        assert executable(os.path.join(bindir, program)), "not installed as a program: " + program
    for size in map(int, sizes.split(";")):
        path = os.path.join(datadir, "icons", "hicolor", f"{size}x{size}", "apps", "sorvan.png")
        with open(path, "rb") as f:
            assert f.read(24)[16:] == struct.pack(">II", size, size), "not a PNG of its size: " + path

    entry = configparser.ConfigParser(interpolation=None)
    entry.read(os.path.join(datadir, "applications", app_id + ".desktop"))
    command = entry["Desktop Entry"]["Exec"].split()[0]
    assert executable(os.path.join(bindir, command)), "the desktop entry starts a program not installed: " + command
    assert entry["Desktop Entry"]["Icon"] == "sorvan"

    # pkexec lets a GUI run for exactly the installed launcher and program.
    actions = ET.parse(os.path.join(datadir, "polkit-1", "actions", app_id + ".policy")).getroot()
    paths = set()
    for action in actions.iter("action"):
        notes = {a.get("key"): a.text for a in action.iter("annotate")}
        assert notes.get("org.freedesktop.policykit.exec.allow_gui") == "true", action.get("id")
        paths.add(notes["org.freedesktop.policykit.exec.path"])
    assert paths == {os.path.join(full_bindir, p) for p in ("sorvan", "sorvan-root")}, paths

    # The staged program finds its shared data (the companion script the
    # engine runs) with no SORVANSHARE: it collects the sandbox's packages,
    # which it shows by taking the session's lock.
    with tempfile.TemporaryDirectory() as scratch:
        managed = os.path.join(scratch, "root")
        subprocess.run([sys.executable, "-I", os.path.join(source, "tools", "sandbox", "sandbox.py"), "clone",
                        sandbox, managed], check=True, stdout=subprocess.DEVNULL)
        env = {k: v for k, v in os.environ.items() if k != "SORVANSHARE"}
        env.update(QT_QPA_PLATFORM="offscreen", SORVANROOT=managed)
        log = open(os.path.join(scratch, "stderr"), "w+")
        sorvan = subprocess.Popen([os.path.join(bindir, "sorvan")], env=env, stderr=log, stdout=log)
        lock = os.path.join(managed, "var", "run", "sorvan.pid")
        deadline = time.monotonic() + 120
        try:
            while True:
                if os.path.isfile(lock) and open(lock).read().strip() == str(sorvan.pid):
                    break
                if sorvan.poll() is not None or time.monotonic() > deadline:
                    log.seek(0)
                    raise AssertionError("the staged program collected no packages:\n" + log.read())
                time.sleep(0.2)
        finally:
            sorvan.send_signal(signal.SIGTERM)
            status = sorvan.wait(60)
        assert status == 0, f"the staged program ended with {status}"
    return 0


# Stands in for pkexec (which needs polkit's daemon and agent): records what it
# was given, then answers with the status in ./answer, or with 0 runs the
# program in the environment pkexec keeps when no policy allows a GUI.
FAKE_PKEXEC = """#!/usr/bin/python3 -I
import json, os, sys
here = os.path.dirname(os.path.abspath(__file__))
with open(os.path.join(here, "record.json"), "w") as f:
    json.dump({"argv": sys.argv[1:], "env": dict(os.environ)}, f)
answer = int(open(os.path.join(here, "answer")).read())
if answer:
    sys.exit(answer)
kept = {k: v for k, v in os.environ.items()
        if k in ("LANG", "LANGUAGE") or k.startswith("LC_")}
kept.update(PATH="/usr/sbin:/usr/bin:/sbin:/bin", PKEXEC_UID=str(os.getuid()))
os.execve(sys.argv[1], sys.argv[1:], kept)
"""


def as_user():
    # The launcher asks pkexec only when it is not root already.
    if os.getuid() == 0:
        os.setgroups([])
        os.setgid(65534)
        os.setuid(65534)


def launcher(bindir):
    script = os.path.join(bindir, "sorvan-root")
    with tempfile.TemporaryDirectory() as fake:
        os.chmod(fake, 0o777)
        with open(os.path.join(fake, "pkexec"), "w") as f:
            f.write(FAKE_PKEXEC)
        os.chmod(os.path.join(fake, "pkexec"), 0o755)
        record = os.path.join(fake, "record.json")
        runtime = os.path.join(fake, "runtime")
        os.mkdir(runtime)
        compositor = socket.socket(socket.AF_UNIX)
        compositor.bind(os.path.join(runtime, "wayland-7"))

        def start(args, answer, **env):
            with open(os.path.join(fake, "answer"), "w") as f:
                f.write(str(answer))
            if os.path.exists(record):
                os.remove(record)
            full = {"PATH": fake + ":/usr/bin:/bin", "HOME": fake, "SORVANROOT": "/nonexistent",
                    "SECRET_TOKEN": "x"}
            full.update(env)
            return subprocess.run([script] + args, env=full, capture_output=True, text=True, timeout=120,
                                  preexec_fn=as_user)

        # The user's display (X11's and Wayland's) and locale reach pkexec,
        # nothing else does; pkexec is asked for the installed launcher, by
        # its full path (what the policy names), with the arguments as given.
        args = ["--mode", "filter", "-e", "a b*", "--"]
        run = start(args, 126, DISPLAY=":4711", XAUTHORITY="/home/u/.Xauthority", WAYLAND_DISPLAY="wayland-7",
                    XDG_RUNTIME_DIR=runtime, LANG="C.UTF-8")
        seen = json.load(open(record))
        assert seen["env"] == {"DISPLAY": ":4711", "XAUTHORITY": "/home/u/.Xauthority", "LANG": "C.UTF-8"}, seen
        assert seen["argv"][0] == script and seen["argv"][-len(args):] == args, seen["argv"]
        assert "WAYLAND_DISPLAY=" + os.path.join(runtime, "wayland-7") in seen["argv"], seen["argv"]

        # No password given, or not authorized: said, and not zero.
        for answer, says in ((126, "cancelled"), (127, "did not authorize")):
            run = start(["--log"], answer, DISPLAY=":4711")
            assert run.returncode == answer and says in run.stderr, (answer, run.returncode, run.stderr)

        # Authorized: the arguments and the display reach SORVAN, whose
        # toolkit says which display does not exist.
        run = start(["--log"], 0, DISPLAY=":4711")
        assert run.returncode != 0 and ":4711" in run.stderr, run.stderr

        # No pkexec at all.
        tools = os.path.join(fake, "tools")
        os.mkdir(tools)
        for tool in ("env", "id", "dirname"):
            os.symlink(shutil.which(tool), os.path.join(tools, tool))
        run = start(["--log"], 0, PATH=tools, DISPLAY=":4711")
        assert run.returncode != 0 and "pkexec is not installed" in run.stderr, run.stderr
        assert not os.path.exists(record)

        # Root already: SORVAN itself, no password asked.
        if os.getuid() == 0:
            run = subprocess.run([script, "--help"], env={"PATH": fake + ":/usr/bin:/bin"},
                                 capture_output=True, text=True, timeout=120)
            assert "usage: sorvan" in run.stdout and not os.path.exists(record), run.stdout + run.stderr
    return 0


def rpm(source, version, app_id, sizes):
    if missing("rpmbuild", "rpm", "git"):
        return SKIP
    with tempfile.TemporaryDirectory() as top:
        tarball = subprocess.run([os.path.join(source, "tools", "dist"), top], check=True, capture_output=True,
                                 text=True).stdout.strip()
        # --nocheck and no tests: the suite runs in CI on its own; --nodeps:
        # Debian's rpm database knows none of the BuildRequires; no debuginfo,
        # for which Debian lacks the tools.
        started = time.monotonic()
        build = subprocess.run(["rpmbuild", "-ta", "--nodeps", "--nocheck", "--without", "tests",
                                "--define", "_topdir " + top, "--define", "debug_package %{nil}",
                                "--define", "_smp_mflags -j2", tarball], capture_output=True, text=True)
        print(f"rpmbuild took {time.monotonic() - started:.0f} s")
        assert build.returncode == 0, build.stdout[-4000:] + build.stderr[-4000:]
        rpms = [os.path.join(d, f) for d, _, fs in os.walk(os.path.join(top, "RPMS")) for f in fs
                if re.fullmatch(rf"sorvan-{re.escape(version)}-[^-]+\.[^.]+\.rpm", f)]
        assert len(rpms) == 1, rpms
        query = subprocess.run(["rpm", "-qp", "--qf", "%{VERSION}", rpms[0]], capture_output=True, text=True)
        assert query.stdout == version, query.stdout + query.stderr
        files = set(subprocess.run(["rpm", "-qlp", rpms[0]], check=True, capture_output=True,
                                   text=True).stdout.split())

    # Where Fedora's packaging guidelines put each file.
    share = "/usr/share"
    wanted = {"/usr/bin/sorvan", "/usr/bin/sorvan-root",
              f"{share}/sorvan/python/YumIO.py", f"{share}/sorvan/webbrowser",
              f"{share}/applications/{app_id}.desktop", f"{share}/metainfo/{app_id}.metainfo.xml",
              f"{share}/polkit-1/actions/{app_id}.policy", f"{share}/icons/hicolor/scalable/apps/sorvan.svg",
              f"{share}/doc/sorvan/README.md", f"{share}/doc/sorvan/manual.pdf",
              f"{share}/doc/sorvan/html/index.html"}
    wanted |= {f"{share}/icons/hicolor/{n}x{n}/apps/sorvan.png" for n in sizes.split(";")}
    lacking = wanted - files
    assert not lacking, "the RPM lacks " + " ".join(sorted(lacking))
    assert any(re.fullmatch(r"/usr/share/man/man1/sorvan\.1(\.gz|\.xz|\.bz2)?", f) for f in files), "no man page"
    # rpm's own links from build ids to the program, as every Fedora package has.
    places = (f"{share}/sorvan/", f"{share}/doc/sorvan/", f"{share}/man/man1/", f"{share}/icons/hicolor/",
              "/usr/lib/.build-id/")
    stray = [f for f in files - wanted if not (f + "/").startswith(places)]
    assert not stray, "files in no place of theirs: " + " ".join(sorted(stray))
    return 0


if __name__ == "__main__":
    what, args = sys.argv[1], sys.argv[2:]
    sys.exit({"validate": validate, "stage": stage, "installed": installed, "launcher": launcher,
              "rpm": rpm}[what](*args))
