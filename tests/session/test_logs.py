"""Log files as bytes on the disk: headers, line ends, what the line size changes, a disk that is full."""
import os
import re
import resource
import subprocess
import unittest

from sandbox import Build, Sandbox

BUILD = Build(os.environ["KORVA_BUILD"])
KORVA = str(BUILD.program("korva"))
STAMP = (r"[ 1-3]\d (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) \d{4}, "
         r"[0-2]\d:[0-5]\d:[0-5]\d")
RULE = "-" * 79
ENVIRONMENT_IN_GERMAN = {"LC_ALL": "de_DE.UTF-8", "LANG": "de_DE.UTF-8"}


def header(change, name="a.log", kind="text"):
    """The header's lines as a pattern, each with the log's line end."""
    label = f"{change} on:  ".rjust(13)
    lines = [f"       log:  {re.escape(name)}", f"  log type:  {kind}", label + STAMP]
    lines.insert(0 if change in ("opened", "resumed") else len(lines), RULE)
    return "".join(line + "\r\n" for line in lines)


class Logs(unittest.TestCase):
    def run_lines(self, box, lines, **how):
        """Runs the lines as a piped session; returns what it showed."""
        run = subprocess.run([KORVA, "/q"], cwd=box.work, input="\n".join([*lines, ""]).encode(),
                             capture_output=True, timeout=60,
                             env={**box.environment(), **ENVIRONMENT_IN_GERMAN}, **how)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        return (run.stdout + run.stderr).decode("latin1")

    def test_headers_and_command_log(self):
        with Sandbox(BUILD) as box:
            self.run_lines(box, [
                "quietly cmdlog using c", "log using a.log", "display 1", "log off", "display 2", "log on",
                "program p", "    display 3", "end", "p", "capture cmdlog off", "display 4", "cmdlog on",
                'display "{c 233}"'])  # both are closed by the end of the input
            text = (box.work / "a.log").read_bytes().decode("latin1")
            pattern = (header("opened") + r"\r\n\. display 1\r\n1\r\n\r\n\. log off\r\n" + header("paused") +
                       header("resumed") + r"(?s:.*)" + header("closed"))
            self.assertRegex(text, re.compile(r"\A" + pattern + r"\Z"))
            self.assertNotIn("display 2", text)
            self.assertNotRegex(text, r"[^\r]\n")
            self.assertEqual((box.work / "c.txt").read_bytes(), b"\r\n".join([
                b"log using a.log", b"display 1", b"log off", b"display 2", b"log on", b"program p",
                b"    display 3", b"end", b"p", b'display "{c 233}"', b""]))

    def test_line_size_stays_out_of_mark_up(self):
        body = ['display "{p 2 4}' + "word " * 40 + '{p_end}"', 'display "{hline}"',
                'display "{right:there}"', "quietly log close _all"]
        made = {}
        for columns in (50, 120):
            with Sandbox(BUILD) as box:
                self.run_lines(box, [f"set linesize {columns}", "quietly log using m",
                                     "quietly log using t, text name(t)", *body])
                made[columns] = [(box.work / name).read_bytes() for name in ("m.tmrk", "t.log")]
        self.assertEqual(made[50][0], made[120][0])
        self.assertIn(b"{p 2 4}word word", made[50][0])
        self.assertNotEqual(made[50][1], made[120][1])
        self.assertIn(b"-" * 120 + b"\r\n", made[120][1])
        self.assertNotIn(b"-" * 51, made[50][1])

    def test_every_log_is_closed_when_the_program_ends(self):
        with Sandbox(BUILD) as box:
            (box.work / "leave.do").write_text("log using inner, text name(inner)\nexit, korva\n")
            self.run_lines(box, ["log using a.log", "run leave", "display 1"])
            text = (box.work / "a.log").read_bytes().decode()
            self.assertRegex(text, r"\. run leave\r\n" + header("closed", "inner.log") + header("closed"))
            self.assertNotIn("display 1", text)
            # Opened quietly, it begins with the header that a quiet end must not leave out.
            self.assertRegex((box.work / "inner.log").read_bytes().decode(),
                             header("closed", "inner.log") + r"\Z")
            # A batch run's own log is no file for another.
            (box.work / "own.do").write_text("capture noisily log using own.log, append\ndisplay _rc\n")
            subprocess.run([KORVA, "/q", "/b", "do", "own"], cwd=box.work, timeout=60,
                           capture_output=True, env=box.environment(), check=True)
            self.assertIn(b"\r\n604\r\n", (box.work / "own.log").read_bytes())

    def test_full_disk_is_told_at_the_close(self):
        limit = 8192
        with Sandbox(BUILD) as box:
            (box.work / "device.log").symlink_to("/dev/full")
            (box.work / "fill.do").write_text("local i 0\nwhile `i' < 400 {\n    display \"line `i' of the output\"\n"
                                              "    local i = `i' + 1\n}\n")
            output = self.run_lines(
                box, ["log using big.log", "log using device.log, replace name(device)", "cmdlog using c",
                      "* " + "x" * 9000, "do fill", "log off", "log close", "quietly log close device",
                      "cmdlog close", 'display "alive"'],
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
            self.assertIn("line 399 of the output", output)
            for name, times in (("big.log", 2), ("device.log", 1), ("c.txt", 1)):
                note = f"note: {name} is incomplete: a write to it failed\n"
                self.assertEqual(output.count(note), times, output[-3000:])
            self.assertNotRegex(output, r"r\(\d+\);")
            self.assertTrue(output.rstrip().endswith("alive"))
            self.assertLessEqual((box.work / "big.log").stat().st_size, limit)

    def test_a_log_that_does_not_open_leaves_the_old_one(self):
        with Sandbox(BUILD) as box:
            (box.work / "old.log").write_bytes(b"old\r\n")
            (box.work / "folder.log").mkdir()
            full = [f"quietly log using n{i}, text name(n{i})" for i in range(5)]
            output = self.run_lines(box, [
                "log using old, text", "log using folder, replace text", "log using old, replace text sideways",
                *full, "log using old, replace text", "quietly log close _all",
                "quietly log using old, append text", "quietly log close"])
            self.assertEqual(re.findall(r"r\((\d+)\);", output), ["602", "603", "198", "603"])
            text = (box.work / "old.log").read_bytes()
            self.assertEqual(text, b"old\r\n\r\n. quietly log close\r\n")
            self.run_lines(box, ["quietly log using old, replace text", "quietly log close"])
            self.assertEqual((box.work / "old.log").read_bytes(), b"\r\n. quietly log close\r\n")


if __name__ == "__main__":
    unittest.main()
