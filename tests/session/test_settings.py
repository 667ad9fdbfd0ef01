"""Recorded settings: read at the next start, safe when sessions write at once, sound or not used."""
import os
import subprocess
import unittest

from sandbox import Build, Sandbox

BUILD = Build(os.environ["KORVA_BUILD"])
KORVA = str(BUILD.program("korva"))


def start(box, name, lines, arguments=("/q",)):
    (box.work / f"{name}.do").write_text("\n".join(lines) + "\n")
    return subprocess.Popen([KORVA, *arguments, "do", name], cwd=box.work, text=True,
                            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, env=box.environment())


def run(box, lines):
    return start(box, "lines", lines).communicate(timeout=60)[0]


class Settings(unittest.TestCase):

    def test_every_kind_comes_back_at_the_next_start(self):
        values = {"adosize": "700", "varabbrev": "off", "copycolor": "gs2", "searchdefault": "net",
                  "type": "double", "httpproxyuser": "a b", "more": "off", "timeout1": "7"}
        with Sandbox(BUILD) as box:
            kept = run(box, [f'set {name} {value}, permanently' for name, value in values.items()]
                       + ["set tracehilite x y, word perm", "set scrollbufsize 20000",
                          "set linegap 3"])
            self.assertNotIn("r(", kept)
            self.assertIn("(set adosize preference recorded)", kept)
            self.assertIn("(set scrollbufsize will take effect the next time", kept)
            shown = run(box, [f'display "{name} <" c({name}) ">"'
                              for name in [*values, "tracehilite", "scrollbufsize", "linegap"]])
            for name, value in values.items():
                self.assertIn(f"\n{name} <{value}>\n", shown)
            self.assertIn("\ntracehilite <x y>\n", shown)
            self.assertIn("\nscrollbufsize <20000>\n", shown)
            self.assertIn("\nlinegap <1>\n", shown)
            recorded = (box.path / "config" / "korva" / "settings").read_text().splitlines()
            for line in ("set_w searchdefault 2", "set_w type 255", "set_w varabbrev 0",
                         "set_w tracehilite_word 1"):
                self.assertIn(line, recorded)
            self.assertEqual(sorted(os.listdir(box.path / "config" / "korva")),
                             ["settings", "settings.lock"])

    def test_sessions_that_write_at_once_lose_nothing(self):
        names = ["adosize", "lumocache", "maxdb", "maxiter", "reventries", "timeout1", "timeout2",
                 "update_interval"]
        with Sandbox(BUILD) as box:
            sessions = [start(box, name, [f"set {name} {n}, permanently" for n in range(100, 140)])
                        for name in names]
            for session in sessions:
                self.assertNotIn("r(", session.communicate(timeout=60)[0])
            recorded = (box.path / "config" / "korva" / "settings").read_text().splitlines()
            self.assertEqual(sorted(recorded), sorted(f"set_w {name} 139" for name in names))

    def test_a_damaged_file_gives_defaults_and_one_note(self):
        damages = [b"set_w adosize 700\nset_w adosi", b"\0" * 5000, b"set_w adosize 7\x0100\n",
                   b"set_w adosize 700\n" + b"x" * 3000000, None]
        for damage in damages:
            with self.subTest(damage=damage and damage[:20]), Sandbox(BUILD) as box:
                path = box.path / "config" / "korva" / "settings"
                path.parent.mkdir()
                if damage is None:
                    path.mkdir()
                else:
                    path.write_bytes(damage)
                shown = run(box, ['display "<" c(adosize) ">"', "set timeout1 9, permanently"])
                self.assertIn("\n<500>\n", shown)
                self.assertEqual(shown.count("(note: settings file"), 1)
                if damage is not None and len(damage) < 10000:
                    self.assertNotIn("note:", run(box, ["display 1"]))

    def test_a_bad_value_leaves_the_others(self):
        with Sandbox(BUILD) as box:
            path = box.path / "config" / "korva" / "settings"
            path.parent.mkdir()
            path.write_text("set_w adosize 7000\nset_w timeout1 \nset_w type 3\nset_w more off\n"
                            "set_w copycolor pink\nset_w charset mac\nmem_se_w maxvar 3\n")
            shown = run(box, ['display "<" c(adosize) c(timeout1) c(type) c(more) c(copycolor) '
                              'c(charset) c(maxvar) ">"'])
            self.assertIn("\n<500120floatonautomaticmac5000>\n", shown)
            self.assertNotIn("note:", shown)

    def test_windows_are_left_alone_in_batch_and_traced_words_are_marked(self):
        lines = ["set dockable off, permanently", "program define p", 'display "{tot} total"',
                 "end", "set trace on", "set tracehilite {tot}", "p", "set tracehilite t, word",
                 "set traceindent off"]
        with Sandbox(BUILD) as box:
            start(box, "b", lines, ("/q", "/s")).communicate(timeout=60)
            log = (box.work / "b.tmrk").read_text(errors="replace")
            self.assertIn("request ignored due to batch mode", log)
            self.assertIn("{cmd:{c -(}tot{c )-}}", log)
            self.assertFalse((box.path / "config" / "korva").exists())


if __name__ == "__main__":
    unittest.main()
