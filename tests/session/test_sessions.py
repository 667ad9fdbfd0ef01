"""Whole sessions: the break key, a terminal, a pipe, a batch run, all with one do-file's results."""
import os
import pty
import re
import select
import signal
import subprocess
import time
import unittest

from sandbox import ROOT, Build, Sandbox

BUILD = Build(os.environ["KORVA_BUILD"])
KORVA = str(BUILD.program("korva"))
BREAK_SECONDS = 0.5 if BUILD.is_sanitized else 0.05  # a break is seen within this time, plus a start


class Piped:
    """A session whose standard input is a pipe that stays open; gone when the test is over."""

    def __init__(self, test, box):
        self.process = subprocess.Popen([KORVA, "/q"], stdin=subprocess.PIPE, cwd=box.work,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                        env=box.environment())
        test.addCleanup(self.process.kill)  # one that was not broken would run for ever
        self.output = b""

    def type(self, text):
        self.process.stdin.write(text.encode())
        self.process.stdin.flush()

    def wait_for(self, text, seconds=20):
        """Reads until the text has shown; returns the seconds that it took."""
        start = time.monotonic()
        while text.encode() not in self.output:
            left = start + seconds - time.monotonic()
            ready = select.select([self.process.stdout], [], [], max(left, 0))[0]
            if not ready:
                raise AssertionError(f"{text!r} did not show in\n{self.output.decode()}")
            block = os.read(self.process.stdout.fileno(), 65536)
            if not block:
                raise AssertionError(f"the session ended before {text!r}\n{self.output.decode()}")
            self.output += block
        return time.monotonic() - start

    def end(self):
        self.process.stdin.close()
        self.output += self.process.stdout.read()
        self.process.stdout.close()
        return self.process.wait(20)


class Break(unittest.TestCase):
    def broken(self, line, more=""):
        """Runs an endless line, breaks it, and returns what shows behind the break."""
        with Sandbox(BUILD) as box:
            session = Piped(self, box)
            session.type('display "ready"\n')
            session.wait_for("\nready")
            session.type(line + "\n")
            time.sleep(0.3)
            session.process.send_signal(signal.SIGINT)
            seconds = session.wait_for("--Break--")
            self.assertLess(seconds, BREAK_SECONDS + 0.1, "the break was seen late")
            session.type(more + 'display "alive " _N\n')
            session.wait_for("\nalive")
            self.assertEqual(session.end(), 0)
            return session.output.decode()

    def test_stops_a_long_command_and_takes_back_its_variable(self):
        output = self.broken("set obs 400000\ngenerate x = 1\nwhile 1 {\nquietly generate y = "
                             + "+".join(["ln(exp(x))"] * 60) + "\ndrop y\n}",
                             "capture confirm_nothing\ncapture noisily display y\n")
        self.assertIn("y not found", output)

    def test_stops_a_loop_of_short_commands(self):
        self.broken("while 1 {\nlocal a = 1\n}")

    def broken_in_a_file(self, line, seconds=0.1):
        """Breaks a line that runs slow.do; the line behind it must run."""
        with Sandbox(BUILD) as box:
            (box.work / "slow.do").write_text("local i = 0\nwhile `i' < 400000 {\nlocal i = `i' + 1\n}\n"
                                              'noisily display "whole"\n')
            (box.work / "outer.do").write_text("quietly run slow\n")
            session = Piped(self, box)
            session.type('display "ready"\n')
            session.wait_for("\nready")
            session.type(line + '\ndisplay "code " _rc\n')
            time.sleep(seconds)
            session.process.send_signal(signal.SIGINT)
            session.wait_for("\ncode ")
            session.type('display "alive"\n')
            session.wait_for("\nalive")
            self.assertEqual(session.end(), 0)
            return session.output.decode()

    def test_under_nobreak_it_fires_afterwards(self):
        output = self.broken_in_a_file("nobreak run slow")
        self.assertLess(output.index("whole"), output.index("--Break--"))
        output = self.broken_in_a_file("capture nobreak quietly run slow")
        self.assertIn("code 1", output)

    def test_in_quiet_files_it_is_reported_once(self):
        output = self.broken_in_a_file("run outer")
        self.assertEqual(output.count("--Break--"), 1)
        self.assertNotIn("whole", output)

    def test_in_a_typed_block_it_leaves_the_block(self):
        self.broken("set obs 300000\ngenerate x = _n\nif 1 {\nlist x", "")

    def test_at_the_prompt_it_drops_the_line(self):
        with Sandbox(BUILD) as box:
            session = Piped(self, box)
            session.type('display "ready"\n')
            session.wait_for("\nready")
            time.sleep(0.1)
            session.process.send_signal(signal.SIGINT)
            time.sleep(0.1)
            session.type('display "alive"\n')
            session.wait_for("\nalive")
            self.assertEqual(session.end(), 0)


def results(text):
    """The text of a run without echo, prompts, log headers and empty lines: what commands showed."""
    lines = [line.rstrip() for line in text.replace("\r", "").split("\n")]
    return [line for line in lines
            if line and not re.match(r"^([.>]( |$)| {2}\d+\. [^|]*$|end of do-file|running )", line)]


class SameResults(unittest.TestCase):
    """The tour shows the same whether it is a do-file, piped, a batch run or typed."""

    def run_korva(self, box, arguments, stdin=subprocess.DEVNULL):
        return subprocess.run([KORVA, *arguments], cwd=box.work, stdin=stdin, capture_output=True,
                              text=True, errors="replace", timeout=60, env=box.environment())

    def typed(self, box, lines):
        """Types the lines in a terminal; returns what the terminal showed."""
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(box.work)
            os.execve(KORVA, [KORVA, "/q"], {**box.environment(), "NO_COLOR": "1", "TERM": "dumb"})
        shown = b""
        try:
            for line in [*lines, "exit, clear"]:
                answer = b""
                while not re.search(rb"(^|\n)([.>]|  \d+\.) $", answer.replace(b"\r", b"")):
                    self.assertTrue(select.select([terminal], [], [], 20)[0], shown + answer)
                    answer += os.read(terminal, 65536)
                shown += answer
                os.write(terminal, line.encode() + b"\n")
            while block := os.read(terminal, 65536):
                shown += block
        except OSError:  # the other end has closed
            pass
        os.waitpid(pid, 0)
        return shown.decode()

    def test_the_tour(self):
        tour = ROOT / "examples" / "tour.do"
        with Sandbox(BUILD) as box:
            as_file = self.run_korva(box, ["/q", "do", "examples/tour.do"])
            self.assertEqual(as_file.returncode, 0)
            expected = results(as_file.stdout)
            self.assertGreater(len(expected), 80)
            with open(tour) as stdin:
                piped = self.run_korva(box, ["/q"], stdin)
            self.assertEqual(results(piped.stdout), expected)
            batch = self.run_korva(box, ["/q", "/b", "do", "examples/tour.do"])
            self.assertEqual(batch.returncode, 0)
            self.assertEqual(results((box.work / "tour.log").read_text()), expected)
            typed = self.typed(box, ["set more off", *tour.read_text().splitlines()])
            self.assertEqual(results(typed), expected)

    def test_batch_status_and_log(self):
        with Sandbox(BUILD) as box:
            (box.work / "good.do").write_text("display 6*7\n")
            (box.work / "bad.do").write_text("display 6*7\nnosuchcommand\n")
            for name, status in (("good", 0), ("bad", 1)):
                run = subprocess.run([KORVA, "/q", "/b", "do", name], cwd=box.work,
                                     stdin=subprocess.DEVNULL, capture_output=True, timeout=60,
                                     env=box.environment())
                self.assertEqual(run.returncode, status)
                self.assertIn(b"42", (box.work / f"{name}.log").read_bytes())

    def test_notes_of_the_start(self):
        notes = ["Notes:", "      1.  (/m# option or -set memory-) 2.00 MB allocated to data",
                 "      2.  (/v# option or -set maxvar-) 5000 maximum variables"]
        with Sandbox(BUILD) as box:
            self.assertIn("\n".join(notes) + "\n\n. display 1",
                          self.run_korva(box, ["/m2", "display", "1"]).stdout)
            self.run_korva(box, ["/b", "/k2048", "display", "1"])
            notes.append("      3.  Korva running in batch mode\n")
            self.assertIn("\n".join(notes), (box.work / "korva.log").read_text())

    def test_typed_in_a_terminal(self):
        lines = ["set obs 3", "generate x = _n", "list", "display x[2]", "capture nosuch",
                 "display _rc", "{", "display 1", "}"]
        with Sandbox(BUILD) as box:
            (box.work / "typed.do").write_text("\n".join(lines) + "\n")
            run = subprocess.run([KORVA, "/q", "do", "typed"], cwd=box.work,
                                 stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                 timeout=60, env=box.environment())
            self.assertEqual(results(self.typed(box, lines)), results(run.stdout))


if __name__ == "__main__":
    unittest.main()
