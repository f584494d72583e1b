"""Stand-in for the program's yumIOC module: records every call, and fails one
whose arguments the program's PyArg_ParseTuple formats would reject."""

calls = []


def reset():
    del calls[:]


def names():
    return [c[0] for c in calls]


def of(name):
    return [c[1] for c in calls if c[0] == name]


def _recorder(name, fmt):
    def call(*args):
        if fmt is not None:
            if len(args) != len(fmt):
                raise TypeError("%s() takes %d arguments (%d given)" % (name, len(fmt), len(args)))
            for code, arg in zip(fmt, args):
                if code in "lL" and (not isinstance(arg, int) or isinstance(arg, bool)) \
                        or code == "s" and not isinstance(arg, str):
                    raise TypeError("%s(): %r does not fit the format %s" % (name, arg, code))
        calls.append((name, args))
    call.__name__ = name
    return call


# The program's functions in its table order, with the formats it parses (None: any).
for _name, _fmt in [
    ("stdoutWrite", "s"), ("stderrWrite", "s"), ("log", "ls"), ("errorlog", "ls"),
    ("collectProgress", "llO"), ("collectGrabMeterStart", "OOOOOO"), ("collectGrabMeterUpdate", "OL"),
    ("collectGrabMeterEnd", "OL"), ("collectGrabMeterFailure", "OO"),
    ("collectGrabMultiMeterStart", "LL"), ("collectGrabMultiMeterNew", "O"),
    ("collectGrabMultiMeterRemove", "O"), ("collectGrabMultiMeterEnd", None),
    ("applyGrabMeterStart", "OOOOOO"), ("applyGrabMeterUpdate", "OL"), ("applyGrabMeterEnd", "OL"),
    ("applyGrabMeterFailure", "OO"), ("applyGrabMultiMeterStart", "LL"),
    ("applyGrabMultiMeterNew", "O"), ("applyGrabMultiMeterRemove", "O"),
    ("applyGrabMultiMeterEnd", None), ("dsTsCheck", ""), ("dsRestartLoop", ""),
    ("reportDownloadSize", "O"), ("listTransaction", "O"), ("tsInitCallback", "l"),
    ("tsCallback", "lLLOO"), ("tsEvent", "OlLLll"), ("postTransactionOutput", "O"),
    ("gpgsigcheck", None), ("userconfirm", ""), ("downloadsCancellable", "l")]:
    globals()[_name] = _recorder(_name, _fmt)


def downloadCancelled():
    return False
