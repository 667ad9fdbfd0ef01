"""Number formats: what the program shows beside what the written rules give."""
import os
import sys
import unittest

from sandbox import ROOT, Build, Sandbox

sys.path.insert(0, str(ROOT / "tests" / "tools"))
from check_formats import cases, formatted, hexadecimal, missing_letter  # noqa: E402

BUILD = Build(os.environ["KORVA_BUILD"])
PAIRS = 6000


class Formats(unittest.TestCase):
    def test_agree_with_the_rules(self):
        pairs = list(cases(PAIRS))
        lines = [f'display "<" {form} {missing_letter(value) or hexadecimal(value)} ">"'
                 for form, value in pairs]
        with Sandbox(BUILD) as box:
            (box.work / "formats.do").write_text("noisily {\n" + "\n".join(lines) + "\n}\n")
            run = box.run([BUILD.program("korva"), "/q", "run", "formats"], timeout=120)
        self.assertIsNone(run.crash())
        shown = [line for line in run.output.decode().split("\n") if line.startswith("<")]
        self.assertEqual(len(shown), len(pairs))
        wrong = [f"{form} {value!r}: {line} for <{formatted(form, value)}>"
                 for (form, value), line in zip(pairs, shown)
                 if line != f"<{formatted(form, value)}>"]
        self.assertFalse(wrong, f"{len(wrong)} differ:\n" + "\n".join(wrong[:30]))


if __name__ == "__main__":
    unittest.main()
