"""Everything the engine says goes to the program's log through yumIOC.

Python's standard streams become writers to `stdoutWrite` and `stderrWrite`;
dnf's, librepo's and Python's warning loggers go to `log` and `errorlog`
with yum's detail levels, so nothing reaches the terminal.
"""

import io
import logging

import yumIOC

# Python logging levels below INFO that dnf uses.
DDEBUG = 8
SUBDEBUG = 6
TRACE = 4

# The engine's loggers; each forwards, none propagates to the root logger.
LOGGERS = ("dnf", "dnf.rpm", "dnf.plugin", "librepo", "py.warnings", "sorvan")


def detailLevel(levelno):
    """yum's detail level (0 = always of interest, 10 = everything) of a record:
    the lowest debug level at which dnf itself would show it."""
    if levelno >= logging.WARNING:
        return 0 if levelno >= logging.ERROR else 1
    if levelno >= logging.INFO:
        return 1
    if levelno >= logging.DEBUG:
        return 3
    if levelno >= DDEBUG:
        return 7
    if levelno >= SUBDEBUG:
        return 8
    if levelno >= TRACE:
        return 9
    return 10


class StreamWriter(io.TextIOBase):
    """A text stream that hands every write to one yumIOC function."""

    def __init__(self, sink, name, fd):
        super().__init__()
        self._sink = sink
        self._name = name
        self._fd = fd

    @property
    def name(self):
        return self._name

    @property
    def encoding(self):
        return "utf-8"

    @property
    def errors(self):
        return "replace"

    def writable(self):
        return True

    def isatty(self):
        return False

    def fileno(self):
        # The process's own descriptor, for C code that wants a real file (rpm's
        # log file): what it writes there is captured around rpm's work.
        return self._fd

    def write(self, text):
        if isinstance(text, bytes):
            text = text.decode("utf-8", "replace")
        if text:
            self._sink(text)
        return len(text)

    def flush(self):
        pass


class YumIOCHandler(logging.Handler):
    """Sends log records to yumIOC: warnings and errors to `errorlog`, the rest to `log`."""

    def __init__(self):
        super().__init__(level=1)
        self.setFormatter(logging.Formatter("%(message)s"))

    def emit(self, record):
        try:
            text = self.format(record)
        except Exception:
            text = str(record.msg)
        level = detailLevel(record.levelno)
        if record.levelno >= logging.WARNING:
            yumIOC.errorlog(level, text)
        else:
            yumIOC.log(level, text)


_installed = False


def install():
    """Route the process's Python output and the engine's loggers to yumIOC.

    Idempotent: the program may create several sessions in one process."""
    global _installed
    import sys
    sys.stdout = StreamWriter(yumIOC.stdoutWrite, "<yumIOC stdout>", 1)
    sys.stderr = StreamWriter(yumIOC.stderrWrite, "<yumIOC stderr>", 2)
    if _installed:
        return
    _installed = True
    handler = YumIOCHandler()
    for name in LOGGERS:
        logger = logging.getLogger(name)
        for old in list(logger.handlers):
            logger.removeHandler(old)
        logger.addHandler(handler)
        logger.setLevel(TRACE)
        logger.propagate = False
    logging.captureWarnings(True)
    # A record of a logger nobody configured still goes to the program, not the terminal.
    logging.lastResort = handler


def logger():
    """SORVAN's own logger, for messages of the script itself."""
    return logging.getLogger("sorvan")
