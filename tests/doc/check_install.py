"""check_install.py CMAKE BUILD DOCDIR MANDIR COMPLETE: installs BUILD into a staging
prefix and checks the manual there.  Skipped (77) when COMPLETE is not ON."""
import html, os, re, shutil, subprocess, sys, tempfile, urllib.parse


def main(cmake, build, docdir, mandir, complete):
    missing = [t for t in ("pdfinfo", "groff") if not shutil.which(t)]
    if complete != "ON" or missing:
        print("skipped: the documentation tools are missing", missing)
        return 77
    with tempfile.TemporaryDirectory() as staging:
        subprocess.run([cmake, "--install", build, "--prefix", staging], check=True,
                       stdout=subprocess.DEVNULL)
        docs = os.path.join(staging, docdir)
        index, pdf = os.path.join(docs, "html", "index.html"), os.path.join(docs, "manual.pdf")
        page = os.path.join(staging, mandir, "man1", "sorvan.1")
        for path in (index, pdf, page):
            assert os.path.isfile(path), "not installed: " + path

        with open(index, encoding="utf-8") as f:
            text = f.read()
        ids = set(re.findall(r'\sid="([^"]*)"', text))
        assert re.search(r"<img\s[^>]*src=", text), "the HTML manual shows no pictures"
        for target in map(html.unescape, re.findall(r'\s(?:href|src)="([^"]*)"', text)):
            url = urllib.parse.urlsplit(target)
            if url.scheme or url.netloc:
                continue
            local = os.path.normpath(os.path.join(os.path.dirname(index), url.path))
            assert not url.path or (os.path.isfile(local) and local.startswith(docs + os.sep)), \
                "missing file: " + target
            assert url.path or url.fragment in ids, "missing anchor: " + target

        info = subprocess.run(["pdfinfo", pdf], capture_output=True, text=True)
        pages = re.search(r"^Pages:\s+(\d+)", info.stdout, re.M)
        assert info.returncode == 0 and pages and int(pages.group(1)) >= 10, \
            "pdfinfo: " + info.stdout + info.stderr

        man = subprocess.run(["groff", "-man", "-Tutf8", "-ww", page], capture_output=True,
                             text=True, env=dict(os.environ, LC_ALL="C.UTF-8"))
        assert man.returncode == 0 and not man.stderr, "groff warns:\n" + man.stderr
        text = re.sub(".\b", "", man.stdout)
        for wanted in ("OPTIONS", "ENVIRONMENT", "FILES", "--enablerepo", "SORVANROOT"):
            assert wanted in text, "the manual page lacks " + wanted
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:6]))
