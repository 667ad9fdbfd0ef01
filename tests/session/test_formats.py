"""Formats: what the program shows beside what the written rules give."""
import os
import sys
import unittest

from sandbox import ROOT, Build, Sandbox

sys.path.insert(0, str(ROOT / "tests" / "tools"))
from check_formats import cases, formatted, hexadecimal, missing_letter  # noqa: E402

BUILD = Build(os.environ["KORVA_BUILD"])
PAIRS = 12000


def shown(pairs, ahead):
    """What display makes of each pair of a format and a value, behind the line `ahead`."""
    lines = [f'display "<" {form} {missing_letter(value) or hexadecimal(value)} ">"'
             for form, value in pairs]
    with Sandbox(BUILD) as box:
        (box.work / "formats.do").write_text(f"{ahead}\nnoisily {{\n" + "\n".join(lines) + "\n}\n")
        run = box.run([BUILD.program("korva"), "/q", "run", "formats"], timeout=120)
    if run.crash():
        raise AssertionError(run.crash())
    return [line for line in run.output.decode().split("\n") if line.startswith("<")]


class Formats(unittest.TestCase):
    def compare(self, pairs, ahead="", **settings):
        lines = shown(pairs, ahead + "\nset linesize 255")
        self.assertEqual(len(lines), len(pairs))
        wrong = [f"{form} {value!r}: {line} for <{formatted(form, value, **settings)}>"
                 for (form, value), line in zip(pairs, lines)
                 if line != f"<{formatted(form, value, **settings)}>"]
        self.assertFalse(wrong, f"{len(wrong)} differ:\n" + "\n".join(wrong[:30]))

    def test_agree_with_the_rules(self):
        self.compare(list(cases(PAIRS)))

    def test_agree_with_a_decimal_comma(self):
        self.compare(list(cases(PAIRS // 6, seed=10)), "set dp comma", dp_comma=True)


if __name__ == "__main__":
    unittest.main()
