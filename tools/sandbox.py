"""Runs the programs of a build, each in a fresh directory, shut off from the user's files.

A Build names what was built; a Sandbox is one temporary directory with a working directory, a home
and a place for temporary files in it. Everything that runs tests stands on these two, so that a
program finds the same surroundings whoever starts it:

    with Sandbox(build) as box:
        run = box.run([build.program("korva"), "/q"], stdin=path, timeout=60)
"""
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

SANITIZER_STATUS = 99  # the exit status of a program that a sanitizer stopped; no test expects it
SANITIZER_REPORT = re.compile(rb"ERROR: \w+Sanitizer|SUMMARY: \w+Sanitizer|: runtime error: ")
MAX_OUTPUT_BYTES = 16 << 20  # of what a program prints, this much is looked at
MAX_FILE_BLOCKS = 2 << 20  # 1 GB: a program that writes without end is stopped by its own signal

_running = {}  # the processes now running, by id
_running_lock = threading.Lock()


class Build:
    """A build directory, and how it was configured."""

    def __init__(self, path):
        self.path = Path(path).resolve()
        cache = self.path / "CMakeCache.txt"
        text = cache.read_text() if cache.is_file() else ""
        self.is_sanitized = bool(re.search(r"^KORVA_SANITIZE:\w+=.", text, re.M))
        self.is_stress = bool(re.search(r"^KORVA_STRESS:\w+=(ON|1)$", text, re.M))

    def program(self, name):
        """The path of a program that was built; ends the run if it was not."""
        path = self.path / name
        if not path.is_file():
            sys.exit(f"{Path(sys.argv[0]).name}: {relative(path)} is not built")
        return path


@dataclass
class Run:
    """What a program did."""

    output: bytes  # standard output and standard error, in the order of writing
    status: int  # exit status; minus the signal's number if a signal ended it
    timed_out: bool
    seconds: float  # the limit that it ran into, if it did

    def crash(self):
        """How the program came to an end that no test expects; None if it ended by itself."""
        if self.timed_out:
            return f"still running after {self.seconds:g} s"
        if self.status < 0:
            return f"killed by {signal.Signals(-self.status).name}"
        if self.status == SANITIZER_STATUS or SANITIZER_REPORT.search(self.output):
            return "stopped by a sanitizer"
        return None


class Sandbox:
    """A temporary directory with surroundings for one run; gone at the end unless kept."""

    def __init__(self, build, keep=False):
        self.build = build
        self.keep = keep

    def __enter__(self):
        # Always under /tmp and of one length: paths show up in output, and lines wrap.
        self.path = Path(tempfile.mkdtemp(prefix="korva-", dir="/tmp")).resolve()
        self.work = self.path / "work"
        self.scratch = self.path / "scratch"
        for name in ("work", "scratch", "home", "config"):
            (self.path / name).mkdir()
        (self.work / "data").symlink_to(ROOT / "tests" / "data")
        (self.work / "examples").symlink_to(ROOT / "examples")
        return self

    def __exit__(self, *_):
        if self.keep:
            print(f"kept: {self.path}")
        else:
            shutil.rmtree(self.path, ignore_errors=True)

    def environment(self):
        """The whole environment of the program; nothing of the caller's."""
        sanitizer = f"exitcode={SANITIZER_STATUS}:allocator_may_return_null=1"
        return {
            "PATH": "/usr/bin:/bin",
            "HOME": str(self.path / "home"),
            "XDG_CONFIG_HOME": str(self.path / "config"),
            "KORVATMP": str(self.scratch),
            "TZ": "UTC",
            "LC_ALL": "C",
            "NO_COLOR": "1",
            "ASAN_OPTIONS": sanitizer,
            "UBSAN_OPTIONS": f"exitcode={SANITIZER_STATUS}:print_stacktrace=1",
        }

    def run(self, argv, stdin=None, timeout=60, env=None):
        """Runs a program in the working directory; stdin is a path, or None for no input."""
        command = ["/bin/sh", "-c", f'ulimit -c 0; ulimit -f {MAX_FILE_BLOCKS}; exec "$@"', "sh"]
        if self.build.is_sanitized and shutil.which("setarch"):
            # Some kernels spread addresses wider than these sanitizers can stand.
            command += ["setarch", "-R"]
        with open(stdin or os.devnull, "rb") as source, open(self.path / "output", "w+b") as output:
            process = subprocess.Popen(
                command + [str(word) for word in argv],
                cwd=self.work, env={**self.environment(), **(env or {})},
                stdin=source, stdout=output, stderr=subprocess.STDOUT, start_new_session=True)
            with _running_lock:
                _running[process.pid] = process
            timed_out = False
            try:
                process.wait(timeout)
            except subprocess.TimeoutExpired:
                timed_out = True
                _kill(process)
                process.wait()
            finally:
                with _running_lock:
                    del _running[process.pid]
            output.seek(0)
            return Run(output.read(MAX_OUTPUT_BYTES), process.returncode, timed_out, timeout)


def _kill(process):
    """Ends a process that we started, and what it started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def end_all():
    """Ends what is still running; for a user's break."""
    with _running_lock:
        for process in _running.values():
            _kill(process)


def relative(path):
    """A path as a user at the project's root would type it."""
    try:
        return str(Path(path).relative_to(ROOT))
    except ValueError:
        return str(path)


def printable(data):
    """Bytes as text for a terminal, control bytes and blanks at a line's end made visible."""
    text = data.decode("utf-8", "backslashreplace")
    text = text.replace("\t", "\\t")
    text = re.sub(r"[^\n\x20-\x7e\xa0-\U0010ffff]", lambda m: f"\\x{ord(m[0]):02x}", text)
    return re.sub(r" +$", lambda m: "·" * len(m[0]), text, flags=re.M)


def tail(data, lines):
    """The last lines of what a program printed, indented, for a report."""
    return "\n".join("    " + line for line in printable(data).splitlines()[-lines:])


class Colour:
    """Escape sequences, empty when standard output is no terminal."""

    on = sys.stdout.isatty() and "NO_COLOR" not in os.environ
    bold = "\033[1m" if on else ""
    red = "\033[31m" if on else ""
    green = "\033[32m" if on else ""
    cyan = "\033[36m" if on else ""
    end = "\033[0m" if on else ""


def prepare():
    """To be called first by a tool: any byte can be printed, and `| head` ends it quietly."""
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    sys.stdout.reconfigure(errors="backslashreplace", line_buffering=True)
