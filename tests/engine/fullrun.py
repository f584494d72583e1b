"""A whole session of the program's calls in a process of its own:
    fullrun.py RESULT.json
on the root named by SORVANROOT.  Writes what it collected, the errors it met
and how often each yumIOC function was called to RESULT.json, and nothing to
its standard output or error: the engine must not either.  With
SORVAN_FULLRUN_HTTP set it also uses the sandbox's HTTP repository."""

import collections
import json
import os
import runpy
import sys
import traceback

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402

result_path = sys.argv[1]
sys.argv = [sys.argv[0], "info"]
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
    result["updates"] = enginetest.names(y.collectUpdates())
    everything = y.collectAll()
    result["installed"] = enginetest.names(everything.installed)
    result["available"] = enginetest.names(everything.available)
    y.setupTsGroup()
    result["groups"] = sorted((g.name, g.installed) for g in y.collectGroupInfo())
    y.collectDone()
    result["yumvar"] = dict(y.conf.yumvar)
    y.collectFileLists()
    y.collectOtherData()
    result["details"] = {str(p): [p.returnSimple("buildhost"), p.returnSimple("description"),
                                  [list(map(str, r)) for r in p.returnPrco("requires")],
                                  p.returnFileEntries("file"), len(p.returnChangelog()),
                                  getattr(p, "hdr", None) is not None]
                         for p in list(everything.installed) + list(everything.available)}
    for method in enginetest.CLEANERS:
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
    traceback.print_exc(file=sys.__stderr__)  # sys.stderr goes to yumIOC
    sys.exit(1)
result["calls"] = collections.Counter(yumIOC.names())
with open(result_path, "w") as f:
    json.dump(result, f)
