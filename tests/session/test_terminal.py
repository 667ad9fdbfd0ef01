"""Output and keys at a terminal, where the user's own typing stands between the lines."""
import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import termios
import time
import unittest

from sandbox import Build, Sandbox

BUILD = Build(os.environ["KORVA_BUILD"])
KORVA = str(BUILD.program("korva"))
EDITS_LINES = b"libreadline" in BUILD.program("korva").read_bytes()


def typed(steps, **environment):
    """Starts a session in a terminal and types a line each time a text shows; what it showed.

    steps: pairs of the text to wait for, behind what was waited for before, and the line to type.
    """
    with Sandbox(BUILD) as box:
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(box.work)
            os.execve(KORVA, [KORVA, "/q"], {**box.environment(), "TERM": "dumb", **environment})
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


class Terminal:
    """A session in a terminal that can move its cursor: keys go in one by one, nothing is waited
    for but what a test names. Sequences that begin with ESC are left out of what it showed."""

    def __init__(self, box, size=(0, 0), term="xterm"):
        self.shown, self.seen = "", 0
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            os.chdir(box.work)
            self.resize(*size, fd=0)
            os.execve(KORVA, [KORVA, "/q"], {**box.environment(), "TERM": term})
        self.wait_for("\n. ")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.kill(self.pid, signal.SIGKILL)
        os.close(self.fd)
        os.waitpid(self.pid, 0)

    def resize(self, rows, columns, fd=None):
        window = struct.pack("HHHH", rows, columns, 0, 0)
        fcntl.ioctl(self.fd if fd is None else fd, termios.TIOCSWINSZ, window)

    def press(self, keys):
        os.write(self.fd, keys.encode("latin-1"))

    def read(self):
        if not select.select([self.fd], [], [], 20)[0]:
            raise AssertionError(f"nothing more shows behind\n{self.shown[-2000:]}")
        self.shown += os.read(self.fd, 65536).decode("latin-1")

    def wait_for(self, wanted):
        """Reads until the text shows behind what was waited for before; what stands before it."""
        while True:
            plain = re.sub("\033(\\[[0-9;?]*[A-Za-z]|O.)|\r", "", self.shown)
            if (at := plain.find(wanted, self.seen)) >= 0:
                break
            self.read()
        before, self.seen = plain[self.seen:at], at + len(wanted)
        return before

    def enter(self, keys, wanted):
        """Presses keys and Enter and waits for the result, if there is one, and the prompt."""
        self.press(keys + "\r")
        if wanted:
            self.wait_for("\n" + wanted + "\n")
        self.wait_for("\n. ")


UP, LEFT, END, F3, F4 = "\033[A", "\033[D", "\x05", "\033[13~", "\033OS"


@unittest.skipUnless(EDITS_LINES, "built without readline")
class Editing(unittest.TestCase):
    def test_moves_inserts_recalls_and_searches(self):
        with Sandbox(BUILD) as box, Terminal(box) as terminal:
            terminal.enter("display 14" + LEFT + "2" + END + "3", "1243")
            terminal.enter("display 5", "5")
            terminal.enter(UP + UP, "1243")
            terminal.enter("\x12lay 5", "5")  # Ctrl-R

    def test_vi_keys_come_from_inputrc(self):
        with Sandbox(BUILD) as box:
            (box.path / "home" / ".inputrc").write_text("set editing-mode vi\n")
            with Terminal(box) as terminal:
                terminal.press("display 12\033")
                time.sleep(0.7)  # a lone ESC is one once nothing has followed it
                terminal.enter("0wx", "2")

    def test_history_outlives_a_kill_and_holds_two_sessions(self):
        with Sandbox(BUILD) as box:
            with Terminal(box) as first, Terminal(box) as second:  # both are killed at the end
                second.press("if 1 {\r")
                second.wait_for("> ")
                first.enter("display 61", "61")
                second.press('display "a" "b"\r')
                second.wait_for("\nab\n")
                second.wait_for("> ")
                first.enter("display 62", "62")
                second.press("}\r")
                second.wait_for("\n. ")
            with Terminal(box) as third:
                third.enter(UP, "62")
                third.enter(UP + UP, "61")
                third.enter("\x12if 1", "ab")  # the block as one entry
                third.enter(UP, "ab")

    def test_history_file_is_bounded_and_may_hold_anything(self):
        with Sandbox(BUILD) as box:
            folder = box.path / "config" / "korva"
            folder.mkdir()
            line = "1-1 . display 7 // " + "x" * 1000
            (folder / "history").write_bytes(
                b"\xff\0\n\n1-1\n1-1 ?\n" + f"{line}\n".encode() * 3000 + b"1-1 . display 8")
            with Terminal(box) as terminal:
                terminal.enter(UP, "8")
            kept = (folder / "history").read_text().splitlines()
            self.assertLess((folder / "history").stat().st_size, 1 << 21)
            self.assertTrue(kept[-1].endswith(" . display 8") and kept[-2] == "1-1 . display 8")

    def test_function_keys_insert_their_macros(self):
        with Sandbox(BUILD) as box, Terminal(box) as terminal:
            terminal.enter("global F4 display 4", "")
            terminal.enter(F4 + "2", "42")
            terminal.press(F3)
            terminal.wait_for("describe\n")
            terminal.wait_for("Sorted by:")

    def test_lines_are_joined_and_blocks_have_their_prompt(self):
        with Sandbox(BUILD) as box, Terminal(box) as terminal:
            terminal.press("display 3 + /// the rest\r")
            terminal.wait_for("\n> ")
            terminal.enter("4", "7")
            terminal.enter('display "///"', "///")
            terminal.press("if {\r")  # refused at once: what follows is no block
            terminal.wait_for("\n. ")

    def test_a_break_drops_the_line(self):
        with Sandbox(BUILD) as box, Terminal(box) as terminal:
            terminal.press("display 99")
            terminal.wait_for("display 99")
            terminal.press("\x03")
            terminal.wait_for("^C\n")
            terminal.wait_for(". ")
            terminal.enter("display 1", "1")
            self.assertNotIn("\n99\n", terminal.shown.replace("\r", ""))

    def test_end_of_input_on_an_empty_line_ends(self):
        with Sandbox(BUILD) as box, Terminal(box) as terminal:
            terminal.press("\x04")
            with self.assertRaises(OSError):
                while True:
                    terminal.read()

    def test_completes_variables(self):
        with Sandbox(BUILD) as box, Terminal(box) as terminal:
            terminal.press("set obs 1\r")
            terminal.wait_for("\n. ")
            for name in ("walnut", "walrus"):
                terminal.press(f"generate {name} = 5\r")
                terminal.wait_for("\n. ")
            terminal.press("assert walr\t")
            terminal.wait_for("assert walrus ")
            terminal.enter("== 5", "")
            terminal.press("list wa\t\t\t")
            self.assertRegex(terminal.wait_for("\n. list wal"), "walnut +float +walrus +float")


@unittest.skipUnless(EDITS_LINES, "built without readline")
class Paste(unittest.TestCase):
    LINES = "".join(f'display {i} " and a text that makes the line longer"\n' for i in range(4400))

    def seconds(self, text):
        with Sandbox(BUILD) as box, Terminal(box) as terminal:
            start = time.monotonic()
            end, at = text + '\rdisplay "e" "nd"\r', 0
            while "end\r\n\r\n" not in terminal.shown[-400:]:
                ready = select.select([terminal.fd], [terminal.fd] if at < len(end) else [], [], 20)
                if ready[0]:
                    terminal.read()
                if not any(ready):
                    raise AssertionError(terminal.shown[-400:])
                if ready[1]:
                    at += os.write(terminal.fd, end[at:at + 1024].encode())
            return time.monotonic() - start, terminal.shown

    def test_takes_time_that_grows_with_its_length(self):
        """A second would do for each; what is quadratic takes minutes."""
        for text in ("\033[200~" + self.LINES + "\033[201~", self.LINES.replace("\n", "\r"),
                     "\033[200~if 0 {\n" + self.LINES + "}\n\033[201~",
                     'display length("' + "x" * 150000 + '")'):
            seconds, shown = self.seconds(text)
            self.assertLess(seconds, 10 if BUILD.is_sanitized else 5)
            if "if 0" not in text and "xxx" not in text:
                self.assertIn("\n4399 and a text", shown.replace("\r", "").replace("\033[?2004l", ""))

    def test_without_a_line_end_is_edited(self):
        with Sandbox(BUILD) as box, Terminal(box) as terminal:
            terminal.press("display 9" + LEFT + "\033[200~1\r\ndisplay 2\ndisplay \033[201~")
            terminal.wait_for("\n1\n")
            terminal.wait_for("\n2\n")
            terminal.enter("", "9")


class Window(unittest.TestCase):
    def test_decides_the_width_until_it_is_set(self):
        for term in ("xterm", "dumb"):
            with Sandbox(BUILD) as box, Terminal(box, (30, 100), term) as terminal:
                terminal.enter("display c(linesize) c(pagesize)", "10029")
                terminal.resize(24, 300)
                terminal.enter("display c(linesize) c(pagesize)", "25523")
                terminal.resize(24, 20)
                terminal.enter("display c(linesize)", "40")
                terminal.enter("set linesize 90", "")
                terminal.resize(24, 60)
                terminal.enter("display c(linesize)", "90")


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

    def test_one_key_answers_and_its_line_is_removed(self):
        for term, removal in (("xterm", "\r\033[K"), ("dumb", "\r" + " " * 8 + "\r")):
            with Sandbox(BUILD) as box, Terminal(box, (10, 79), term) as terminal:
                terminal.press('set more on\rdisplay "1" _newline(22) "last"\r')
                terminal.wait_for("--more--")
                terminal.press("\033[B")  # an arrow is one key, not three
                terminal.wait_for("--more--")
                terminal.press(" ")
                terminal.wait_for("last\n")
                self.assertEqual(terminal.shown.count("--more--" + removal), 2, terminal.shown)
                terminal.press('display "1" _newline(22) "never"\r')
                terminal.wait_for("--more--")
                terminal.press("\x03")
                terminal.wait_for("--Break--")
                terminal.enter("display 5", "5")
                self.assertNotIn("\nnever", terminal.shown)

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

    def test_of_data_are_no_commands_to_a_terminal(self):
        line = 'display _char(27) "[2J" _char(155) "2J" " \xc3\x80" _char(194) _char(155)'
        for codes, shown in (("C", "?[2J?2J \xc3?\xc2?"), ("C.UTF-8", "?[2J?2J \xc3\x80\xc2?")):
            self.assertIn(f"\n{shown}\n", typed([("\n. ", line)], LC_ALL=codes))
        with Sandbox(BUILD) as box:
            run = subprocess.run([KORVA, "/q"], input=line.encode("latin-1") + b"\n", cwd=box.work,
                                 capture_output=True, timeout=60, env=box.environment())
        self.assertIn(b"\n\x1b[2J\x9b2J \xc3\x80\xc2\x9b\n", run.stdout)


if __name__ == "__main__":
    unittest.main()
