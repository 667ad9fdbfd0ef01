"""Output and keys at a terminal, where the user's own typing stands between the lines."""
import os
import pty
import select
import subprocess
import unittest

from sandbox import Build, Sandbox

BUILD = Build(os.environ["KORVA_BUILD"])
KORVA = str(BUILD.program("korva"))


def typed(steps):
    """Starts a session in a terminal and types a line each time a text shows; what it showed.

    steps: pairs of the text to wait for, behind what was waited for before, and the line to type.
    """
    with Sandbox(BUILD) as box:
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(box.work)
            os.execve(KORVA, [KORVA, "/q"], {**box.environment(), "TERM": "dumb"})
        shown, seen = "", 0
        try:
            for wanted, line in [*steps, ("\n. ", "exit, clear")]:
                while (at := shown.find(wanted, seen)) < 0:
                    if not select.select([terminal], [], [], 20)[0]:
                        raise AssertionError(f"{wanted!r} did not show in\n{shown}")
                    shown += os.read(terminal, 65536).decode("latin-1").replace("\r", "")
                seen = at + len(wanted)
                os.write(terminal, line.encode("latin-1") + b"\n")
            while block := os.read(terminal, 65536):
                shown += block.decode("latin-1").replace("\r", "")
        except OSError:  # the other end has closed
            pass
        finally:
            os.close(terminal)
            os.waitpid(pid, 0)
        return shown


class UnfinishedLine(unittest.TestCase):
    def test_is_shown_once_ahead_of_a_prompt(self):
        shown = typed([(". ", 'display "abc" _continue'),
                       ("\nabc\n. ", 'display "{p}one two" _continue'),
                       ("\none two. ", 'display "three"'),
                       ("\n\n\nthree\n\n. ", 'display "name? " _request(who)'),
                       ("\nname? ", "Ann"),
                       ("\n. ", 'display "so: $who"')])
        for text in ("abc\n", "one two. ", "name? A", "so: A"):
            self.assertEqual(shown.count(text), 1, shown)


class More(unittest.TestCase):
    LINES = "\n. ", 'display "1" _newline(40) "last"'

    def test_shows_its_line_and_stops(self):
        shown = typed([(". ", "set more on"), ("\n. ", "set pagesize 10"), self.LINES,
                       ("--more--", "q"), ("--Break--", 'display "alive"'), ("alive", "")])
        self.assertEqual(shown.count("--more--"), 1, shown)
        self.assertNotIn("last\n", shown)

    def test_enter_goes_on_by_a_line_and_keeps_what_is_typed_ahead(self):
        shown = typed([(". ", "set more on"), ("\n. ", "set pagesize 30"), self.LINES,
                       ("--more--", "\n "), ("last", 'display "here"'), ("\nhere", "")])
        self.assertEqual(shown.count("--more--"), 2, shown)

    def test_pauses_where_a_program_asks(self):
        shown = typed([(". ", "set more on"),
                       ("\n. ", 'display "a" _newline "b"'), ("\n. ", "more"), ("--more--", " "),
                       ("\n. ", "more"), ("--more--", "q"), ("--Break--", 'display "alive"'), ("alive", "")])
        self.assertEqual(shown.count("--more--"), 2, shown)


class OddBytes(unittest.TestCase):
    def test_mean_nothing_among_the_input(self):
        """Byte 255 would hide the line from the log, and byte 7 break it."""
        with Sandbox(BUILD) as box:
            run = subprocess.run([KORVA, "/q"], input=b'\xff\x07display "a\x07\xffb"\n', cwd=box.work,
                                 capture_output=True, timeout=60, env=box.environment())
        self.assertIn(b'. display "ab"\n', run.stdout)
        self.assertIn(b"\nab\n", run.stdout)


if __name__ == "__main__":
    unittest.main()
