"""The shared library: where it is, and how a call of it becomes Python's: statuses, reports, callbacks, threads.

The library is loaded with ctypes.CDLL (WinDLL on Windows), which releases the interpreter's lock for the time of every
call: other threads run Python meanwhile. A callback takes the lock again as long as it runs.
"""
import ctypes
import ctypes.util
import os
import sys
import threading
from collections import namedtuple
from pathlib import Path

from . import _declarations as d

_NAMES = ("orvz3.dll",) if sys.platform == "win32" else ("liborvz3.so.2", "liborvz3.so", "liborvz3.dylib")


def _candidates():
    """ORVZ3_LIBRARY alone if it is set; else the package's folder, a source tree's build folder, the system."""
    if given := os.environ.get("ORVZ3_LIBRARY"):
        yield given
        return
    here = Path(__file__).resolve().parent
    for folder in (here, here.parent.parent / "build/release"):
        yield from (str(folder / name) for name in _NAMES if (folder / name).exists())
    if found := ctypes.util.find_library("orvz3"):
        yield found


def _load():
    loader = ctypes.WinDLL if sys.platform == "win32" else ctypes.CDLL
    for path in _candidates():
        try:
            return loader(path)
        except OSError as error:
            raise ImportError(f"orvz3: {path} cannot be loaded: {error}") from None
    raise ImportError("orvz3: the shared library is not found. Build it (cmake --preset release, cmake --build "
                      "--preset release --target orvz3) or set ORVZ3_LIBRARY to its path")


library = _load()
missing = [name for name in d.FUNCTIONS if not hasattr(library, name)]
if missing:
    raise ImportError(f"orvz3: {library._name} is another version: it has no {', '.join(missing[:5])}")
for _name, (_result, _parameters, _) in d.FUNCTIONS.items():
    _function = getattr(library, _name)
    _function.restype = _result
    _function.argtypes = [kind for _, kind, _ in _parameters]

STATUS_NAMES = {value: name for name, value in vars(d).items() if name.startswith("ORV_STATUS_")}


def status_name(status):
    """The name of a status; that of a mask's fault ends in "(mask)"."""
    if status in STATUS_NAMES:
        return STATUS_NAMES[status]
    return f"{STATUS_NAMES[status + 100]} (mask)" if status + 100 in STATUS_NAMES else "unknown"


Report = namedtuple("Report", "status function context file line")
Report.__doc__ = "What the library told of a fault: one line of its trace."


class Error(Exception):
    """A call of the library failed.

    status     the status, ORV_STATUS_...
    function   the exported function that found the fault, which may be another than the one called
    context    the condition that failed, or a short phrase
    reports    all that was reported on the way, innermost first
    """

    def __init__(self, status, function, context, reports=()):
        super().__init__(status, function, context, reports)
        self.status, self.function, self.context, self.reports = status, function, context, tuple(reports)

    def __str__(self):
        return f"{self.function}: {status_name(self.status)} ({self.status}): {self.context}"


class _Frame:
    """A call under way."""
    __slots__ = ("reports", "exception")

    def __init__(self):
        self.reports = []
        self.exception = None


class _Thread(threading.local):
    """What every thread has of its own. Made at the thread's first call, before which its handler is the library's."""

    def __init__(self):
        self.frames = []
        self.handler = None  # the user's, beside ours
        library.orvRedirectError(_collect)
        library.orvSetErrMode(d.ORV_ErrorModeParent)


def _text(value):
    return (value or b"").decode("utf-8", "replace")


@d.OrvErrorCallBack
def _collect(status, function, context, file, line):
    report = Report(status, _text(function), _text(context), _text(file), line)
    if _thread.frames:
        _thread.frames[-1].reports.append(report)
    if _thread.handler is not None:
        try:
            return int(_thread.handler(*report))
        except BaseException as error:  # it reaches the caller when the library has returned
            keep(error)
    return status


_thread = _Thread()


def keep(error):
    """Keeps an exception that came up in a callback, until the library returns."""
    if _thread.frames and _thread.frames[-1].exception is None:
        _thread.frames[-1].exception = error


def kept():
    """Whether a callback of the call under way has failed."""
    return bool(_thread.frames) and _thread.frames[-1].exception is not None


def call(name, arguments, check=True):
    """Calls a function. A fault is raised, and the thread's stored status is as before; so callbacks may fail."""
    thread = _thread
    frame = _Frame()
    before = library.orvGetErrStatus() if thread.frames else 0
    library.orvSetErrStatus(0)
    thread.frames.append(frame)
    try:
        result = getattr(library, name)(*arguments)
    finally:
        thread.frames.pop()
        status = library.orvGetErrStatus()
        library.orvSetErrStatus(before)
    if frame.exception is not None:
        raise frame.exception
    if check and (status < 0 or any(report.status != d.ORV_STATUS_AUTOTRACE for report in frame.reports)):
        first = frame.reports[0] if frame.reports else Report(status, name, _text(library.orvErrorStr(status)), "", 0)
        raise Error(first.status, first.function, first.context, frame.reports)
    return result


def direct(name, arguments):
    """Calls a function that deals with statuses itself, in this thread's ways of reporting."""
    _thread.frames  # makes them
    return getattr(library, name)(*arguments)


def guarded(function, failed=0, stop=None):
    """A function that keeps exceptions for the caller; it returns `failed` then, and for the rest of the call."""
    def run(*arguments):
        if kept():
            return failed
        try:
            return function(*arguments)
        except BaseException as error:
            keep(error)
            if stop:
                stop()
            return failed
    return run


def redirect(handler):
    """orvRedirectError for this thread: returns the handler before, None at first.

    `handler` is called with (status, function, context, file, line) of every report, before the call that failed raises
    its Error. None ends that. The library's own default, which would ask the user, is never installed.
    """
    before, _thread.handler = _thread.handler, handler
    return before
