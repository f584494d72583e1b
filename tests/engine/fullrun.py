"""A whole session of the program's calls in a process of its own:
    fullrun.py RESULT.json
on the root named by SORVANROOT.  It writes what it collected, the errors it
met and how often each yumIOC function was called to RESULT.json, and nothing
to its standard output or error: the engine must not either.  With
SORVAN_FULLRUN_HTTP set it also uses the sandbox's HTTP repository."""

import collections
import json
import os
import runpy
import sys
import traceback

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
import enginetest  # noqa: E402

sys.path.insert(0, enginetest.SHARE_PYTHON)
sys.argv = [sys.argv[0], "info"] + sys.argv[1:]
result_path = sys.argv[2]
ns = runpy.run_path(enginetest.SCRIPT, run_name="__main__")
import yum.Errors  # noqa: E402
import yumIOC  # noqa: E402

def session(result):
    y = ns["YumIO"]()
    y.lock()
    if os.environ.get("SORVAN_FULLRUN_HTTP"):
        y.repos.enableRepo("sv-http")
    y.setupRepos()
    y.setupTs()
    result["updates"] = sorted(str(p) for p in y.collectUpdates())
    everything = y.collectAll()
    result["installed"] = sorted(str(p) for p in everything.installed)
    result["available"] = sorted(str(p) for p in everything.available)
    y.setupTsGroup()
    result["groups"] = sorted((g.name, g.installed) for g in y.collectGroupInfo())
    y.collectDone()
    result["yumvar"] = dict(y.conf.yumvar)

    y.collectFileLists()
    y.collectOtherData()
    details = {}
    for p in list(everything.installed) + list(everything.available):
        details[str(p)] = {
            "buildhost": p.returnSimple("buildhost"),
            "description": p.returnSimple("description"),
            "requires": [list(map(str, r)) for r in p.returnPrco("requires")],
            "files": p.returnFileEntries("file"),
            "changelog": len(p.returnChangelog()),
            "hdr": hasattr(p, "hdr") and p.hdr is not None,
        }
    result["details"] = details

    for method in ("cleanHeaders", "cleanPackages", "cleanMetadata", "cleanPickles",
                   "cleanSqlite"):
        result[method] = getattr(y, method)()[0]
    y.flush()

    y.repos.enableRepo("sv-unreachable")
    try:
        y.setupRepos()
    except yum.Errors.RepoError as e:
        result["errors"].append(type(e).__name__)
    y.repos.disableRepo("sv-unreachable")
    y.setupRepos()
    y.unlock()


result = {"errors": []}
try:
    session(result)
except BaseException:
    # The script routed sys.stderr to yumIOC; a failure of this run must show.
    traceback.print_exc(file=sys.__stderr__)
    sys.exit(1)
result["calls"] = collections.Counter(yumIOC.names())
with open(result_path, "w") as f:
    json.dump(result, f)
