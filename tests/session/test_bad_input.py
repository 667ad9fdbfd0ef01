"""Files and lines that nobody should write: each gets its own words and code, and the session goes on."""
import os
import subprocess
import unittest

from sandbox import Build, Sandbox

BUILD = Build(os.environ["KORVA_BUILD"])
KORVA = str(BUILD.program("korva"))
CONSLEN = 33 * 5000 + 216  # bytes of a line at the default maxvar


def nested(depth):
    """A do-file that calls itself until `depth` levels are in force, then says so."""
    return (f"if `1' == {depth} {{\ndisplay \"at the bottom\"\nexit\n}}\n"
            "local next = `1' + 1\nquietly noisily do nested `next'\n")


class BadInput(unittest.TestCase):
    def session(self, lines, files=()):
        """Runs the lines as a piped session beside the files; returns its output."""
        with Sandbox(BUILD) as box:
            for name, content in dict(files).items():
                path = box.work / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_bytes(content if isinstance(content, bytes) else content.encode())
            run = subprocess.run([KORVA, "/q"], cwd=box.work, capture_output=True, timeout=120,
                                 input="\n".join([*lines, 'display "alive"', ""]).encode("latin1"),
                                 env=box.environment())
            output = (run.stdout + run.stderr).decode("latin1")
            self.assertEqual(run.returncode, 0, output[-2000:])
            self.assertTrue(output.rstrip().endswith("alive"), output[-2000:])
            self.assertEqual(list(box.scratch.iterdir()), [])
            return output

    def test_lines_up_to_the_limit_and_beyond(self):
        fits = 'display "' + "x" * (CONSLEN - 20) + '"'
        output = self.session(["do fits", "do over", "x" * CONSLEN],
                              {"fits.do": fits + '\ndisplay "fitted"\n',
                               "over.do": "display 1\n" + "y" * CONSLEN + "\ndisplay 2\n"})
        self.assertIn("\nfitted\n", output)
        self.assertEqual(output.count("input too long"), 2)
        self.assertNotIn("\n2\n", output)

    def test_quotes_and_comments_that_do_not_close(self):
        output = self.session(["do quote", "do comment", 'local a "b', "display `\"c"],
                              {"quote.do": 'display "one\ndisplay "two"\n',
                               "comment.do": "display 1\n/* never closed\ndisplay 2\n"})
        self.assertIn("unexpected end of file", output)
        self.assertIn("r(612);", output)
        self.assertNotIn("\n2\n", output)
        self.assertIn("r(198);", output)

    def test_files_that_are_none(self):
        binary = bytes(range(256)) * 4
        output = self.session(
            ["do missing", "do folder", "do empty", "do binary", "do cut", "run missing", "include missing",
             "use missing", "use folder/file", "use binary.do"],
            {"folder.do/file": "", "folder/file.dta": "", "empty.do": "", "binary.do": binary,
             "cut.do": 'display "a"\ndisplay "b"'})
        self.assertIn("file missing.do not found", output)
        self.assertIn("file folder.do could not be opened", output)
        self.assertIn("file binary.do not Korva format", output)
        self.assertIn("\na\n", output)
        self.assertNotIn("\nb\n", output)

    def test_an_unreadable_file(self):
        if os.geteuid() == 0:
            self.skipTest("root reads everything")
        output = self.session(["do secret"], {"secret.do": "display 1\n"})
        self.assertIn("could not be opened", output)

    def test_nesting_to_the_limit_and_beyond(self):
        output = self.session(["do nested 1"], {"nested.do": nested(64)})
        self.assertIn("\nat the bottom\n", output)
        output = self.session(["do nested 1"], {"nested.do": nested(65)})
        self.assertNotIn("\nat the bottom\n", output)
        self.assertIn("system limit exceeded", output)
        self.assertIn("r(1000);", output)

    def test_blocks_and_prefixes_without_end(self):
        output = self.session(["do blocks", "n " * 70000 + "display 1", "if 1 " * 30000 + "display 1"],
                              {"blocks.do": "if 1 {\n" * 40000})
        self.assertEqual(output.count("r(1000);"), 4, output[-3000:])

    def test_a_batch_log_that_cannot_be_written(self):
        with Sandbox(BUILD) as box:
            (box.work / "full.do").write_text("display 1\n")
            (box.work / "full.log").symlink_to("/dev/full")
            run = subprocess.run([KORVA, "/q", "/b", "do", "full"], cwd=box.work, timeout=60,
                                 capture_output=True, env=box.environment())
            self.assertEqual(run.returncode, 1)
            self.assertIn(b"insufficient disk space", run.stderr)

    def test_macros_without_end(self):
        output = self.session(
            ["global a $" + "b", "macro list a", 'global b "\\$b \\$b"', "display $b",
             'local c "x"', "while 1 {", "local c `c'`c'`c'`c'", "}", "`" * 50000, "$" + "{" * 50000])
        self.assertIn("too many macros", output)
        self.assertIn("r(920);", output)

    def test_ado_files_that_fail(self):
        output = self.session(
            ["capture nothing_there", "empty_one", "other_name", "breaks", "quietly breaks", "outside",
             "capture breaks", "display _rc"],
            {"empty_one.ado": "", "other_name.ado": "program another\nend\n",
             "breaks.ado": "program breaks\nend\nprogram define 9x\nend\n",
             "outside.ado": "display 1\nprogram outside\nend\n"})
        self.assertIn("unrecognized command:  empty_one not defined by empty_one.ado", output)
        self.assertIn("unrecognized command:  other_name not defined by other_name.ado", output)
        self.assertEqual(output.count("(error occurred while loading breaks.ado)"), 2)
        self.assertIn("ado-file has commands outside of program define ... end", output)

    def test_words_and_paths_that_an_ado_file_hardly_fits(self):
        cut = "c" * 32  # what a longer word leaves as the command word
        output = self.session(
            ["global S_ADO `\"q\"q;BASE\"'", "quoted", cut + "d", cut],
            {'q"q/quoted.ado': 'program quoted\ndisplay "in " "quotes"\nend\n',
             f'q"q/{cut}.ado': f'program {cut}\ndisplay "32 " "letters"\nend\n'})
        self.assertIn("\nin quotes\n", output)
        self.assertEqual(output.count("\n32 letters\n"), 1)
        self.assertIn(f"\nunrecognized command:  {cut} invalid command name\n", output)

    def test_the_end_of_input_inside_a_block_or_program(self):
        for lines in (["if 1 {"], ["program x"], ["while 1 {"], ["capture {", "if 0 {"]):
            with Sandbox(BUILD) as box:
                run = subprocess.run([KORVA, "/q"], cwd=box.work, capture_output=True, timeout=60,
                                     input="\n".join([*lines, ""]).encode(),
                                     env=box.environment())
                self.assertEqual(run.returncode, 0, lines)


if __name__ == "__main__":
    unittest.main()
