#!/usr/bin/python3
"""What the engine costs at scale, on a root made by scale.py:

    bench_engine.py ROOT [--runs N]

Each run is a process of its own that drives the companion script the way the
program does (run as __main__, one YumIO, the collection sequence, then file
lists and change logs) with a yumIOC that only counts calls.  "cold" runs
start without dnf's cache (metadata copy and solver cache removed), "warm"
runs with the cache the previous run left.  Prints wall and CPU seconds per
step (the machine may be shared: CPU time is the steadier figure), the number
of objects made and the peak memory.  It changes only ROOT's cache.
"""

import argparse
import json
import os
import resource
import runpy
import shutil
import subprocess
import sys
import time
import types

HERE = os.path.dirname(os.path.abspath(__file__))
SHARE_PYTHON = os.path.join(os.path.dirname(os.path.dirname(HERE)), "share", "python")

STEPS = ("start", "setupRepos", "collectUpdates", "collectAll", "groups", "entryFields",
         "collectFileLists", "collectOtherData")


def countingYumIOC():
    """A yumIOC that counts calls and answers None, as the program's does."""
    module = types.ModuleType("yumIOC")
    module.counts = {}

    def make(name):
        def call(*args):
            module.counts[name] = module.counts.get(name, 0) + 1
        return call
    for name in ("stdoutWrite", "stderrWrite", "log", "errorlog", "collectProgress",
                 "collectGrabMeterStart", "collectGrabMeterUpdate", "collectGrabMeterEnd",
                 "collectGrabMeterFailure", "collectGrabMultiMeterStart",
                 "collectGrabMultiMeterNew", "collectGrabMultiMeterRemove",
                 "collectGrabMultiMeterEnd", "applyGrabMeterStart", "applyGrabMeterUpdate",
                 "applyGrabMeterEnd", "applyGrabMeterFailure", "applyGrabMultiMeterStart",
                 "applyGrabMultiMeterNew", "applyGrabMultiMeterRemove",
                 "applyGrabMultiMeterEnd", "dsTsCheck", "dsRestartLoop", "userconfirm",
                 "reportDownloadSize", "listTransaction", "tsInitCallback", "tsCallback",
                 "tsEvent", "postTransactionOutput", "gpgsigcheck", "downloadsCancellable",
                 "downloadCancelled"):
        setattr(module, name, make(name))
    return module


def child(root, cold):
    if cold:
        cache = os.path.join(root, "var/cache/dnf")
        shutil.rmtree(cache, ignore_errors=True)
        os.makedirs(cache)
    os.environ["SORVANROOT"] = root
    sys.modules["yumIOC"] = yumIOC = countingYumIOC()
    sys.path.insert(0, SHARE_PYTHON)
    sys.argv = ["sorvan", "info"]
    timings = {}
    counts = {}

    def step(name, fn):
        wall, cpu = time.monotonic(), time.process_time()
        result = fn()
        timings[name] = (time.monotonic() - wall, time.process_time() - cpu)
        return result

    def start():
        ns = runpy.run_path(os.path.join(SHARE_PYTHON, "YumIO.py"), run_name="__main__")
        return ns["YumIO"]()

    y = step("start", start)
    y.lock()
    step("setupRepos", y.setupRepos)
    updates = step("collectUpdates", lambda: list(y.collectUpdates()))
    everything = step("collectAll", y.collectAll)

    def groups():
        y.setupTsGroup()
        return list(y.collectGroupInfo())
    counts["groups"] = len(step("groups", groups))
    installed, available = list(everything.installed), list(everything.available)

    def entryFields():
        # What the program reads of every package for its table.
        for p in updates + installed + available:
            (p.name, p.arch, p.printVer(), p.returnSimple("repoid"), y.getBiArch(p.arch),
             p.size(), p.returnSimple("summary"), p.returnSimple("buildtime"),
             p.returnSimple("group"))
    step("entryFields", entryFields)
    step("collectFileLists", y.collectFileLists)
    step("collectOtherData", y.collectOtherData)
    y.unlock()
    counts.update(updates=len(updates), installed=len(installed), available=len(available))
    sample = next(p for p in available if p.returnFileEntries())
    counts["files of one package"] = len(sample.returnFileEntries())
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss // 1024
    sys.__stdout__.write(json.dumps({"timings": timings, "counts": counts, "peakMiB": peak,
                                     "yumIOC": yumIOC.counts}) + "\n")


def main(argv):
    parser = argparse.ArgumentParser(prog="bench_engine.py", description=__doc__.split("\n\n")[0])
    parser.add_argument("root")
    parser.add_argument("--runs", type=int, default=2, help="runs of each kind (default 2)")
    parser.add_argument("--child", choices=("cold", "warm"), help=argparse.SUPPRESS)
    args = parser.parse_args(argv)
    root = os.path.abspath(args.root)
    if not os.path.isdir(os.path.join(root, "etc")) and os.path.isdir(os.path.join(root, "root")):
        root = os.path.join(root, "root")  # the directory scale.py built
    if args.child:
        try:
            child(root, args.child == "cold")
        except BaseException:
            # The script routed sys.stderr to yumIOC.
            import traceback
            traceback.print_exc(file=sys.__stderr__)
            return 1
        return 0
    results = {"cold": [], "warm": []}
    for _ in range(args.runs):
        for kind in ("cold", "warm"):
            out = subprocess.run([sys.executable, "-I", "-B", os.path.abspath(__file__), root,
                                  "--child", kind], capture_output=True, text=True)
            if out.returncode != 0:
                sys.exit(out.stderr)
            results[kind].append(json.loads(out.stdout.strip().splitlines()[-1]))
    first = results["cold"][0]
    print("Root: %s" % root)
    print("Collected: %(updates)d updates, %(installed)d installed, %(available)d available, "
          "%(groups)d groups" % first["counts"])
    print("Load average now: %.1f %.1f %.1f (2 cores shared)" % os.getloadavg())
    print()
    print("%-18s %22s %22s" % ("step", "cold: wall / CPU s", "warm: wall / CPU s"))
    for name in STEPS:
        cells = []
        for kind in ("cold", "warm"):
            walls = sorted(r["timings"][name][0] for r in results[kind])
            cpus = sorted(r["timings"][name][1] for r in results[kind])
            cells.append("%8.2f / %6.2f" % (walls[0], cpus[0]))
        print("%-18s %22s %22s" % (name, cells[0], cells[1]))
    for kind in ("cold", "warm"):
        total = [sum(r["timings"][n][0] for n in STEPS) for r in results[kind]]
        print("%s run in all: best %.2f s wall; peak memory %d MiB" %
              (kind, min(total), max(r["peakMiB"] for r in results[kind])))
    print("(best of %d runs each)" % args.runs)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
