"""Dataset files there and back: every format read, all three written, and a save that is cut short."""
import os
import random
import re
import resource
import signal
import struct
import subprocess
import sys
import time
import unittest

from sandbox import ROOT, Build, Sandbox

sys.path.insert(0, str(ROOT / "tests" / "tools"))
import make_dta  # noqa: E402
import read_dta  # noqa: E402
from make_dta import BYTE, DOUBLE, FLOAT, INT, LONG  # noqa: E402

BUILD = Build(os.environ["KORVA_BUILD"])
KORVA = str(BUILD.program("korva"))
LARGEST = {BYTE: 100, INT: 32740, LONG: 2147483620}
LEAST = {BYTE: -127, INT: -32767, LONG: -2147483647}
WIDER = {BYTE: INT, INT: LONG, LONG: DOUBLE}
WRITTEN = {113: "orphans", 111: "oldformat", 110: "oldformat midrange"}


def run(box, lines, before=None):
    done = subprocess.run([KORVA, "/q"], cwd=box.work, capture_output=True, timeout=120,
                          input="\n".join([*lines, ""]).encode(), env=box.environment(),
                          preexec_fn=before, restore_signals=True)
    return done.returncode, (done.stdout + done.stderr).decode("latin1")


def random_number(rng, kind, number):
    if rng.random() < 0.2:
        return make_dta.Missing(rng.randrange(27) if number >= 112 else 0)
    if kind == FLOAT:
        return rng.randrange(-10**6, 10**6) / 64
    if kind == DOUBLE:
        return rng.choice([rng.random(), rng.uniform(-1, 1) * 10.0 ** rng.randrange(-300, 300)])
    if number >= 112:
        return rng.randint(LEAST[kind], LARGEST[kind])
    low, high = LEAST[kind] - 1, make_dta.OLD_SYSMISS[kind] - 1
    return rng.choice([rng.randint(LEAST[kind], LARGEST[kind]), rng.randint(0, 50), low, high])


def random_text(rng, width):
    return bytes(rng.randrange(1, 256) for _ in range(rng.randint(0, width)))


def random_dataset(rng, number):
    """What the format can hold, as make_dta describes it."""
    long_names, kinds = number >= 110, [BYTE, INT, LONG, FLOAT, DOUBLE]
    variables = []
    for i in range(rng.randint(1, 12)):
        width = rng.choice([1, 2, 7, 8, 9, 33, 80, 128 if number != 113 else 244])
        kind = rng.choice([*kinds, width])
        name = f"v{i}_" + "n" * rng.randint(0, 28 if long_names else 4)
        variables.append(make_dta.Variable(
            name, kind, "%9s" if kind < 245 else rng.choice(["%9.0g", "%8.2f"]),
            rng.choice(["", "la", "lb"]) if kind > 244 else "",
            "t" * rng.randint(0, 80 if number >= 107 else 31)))
    rows = [[random_text(rng, v.type) if v.type < 245 else random_number(rng, v.type, number)
             for v in variables] for _ in range(rng.choice([0, 1, 5, 300]))]
    names = [v.name for v in variables]
    texts = [(rng.choice(["_dta", *names]), f"c{i}", "x" * rng.randint(1, 400)) for i in range(6)]
    labels = {name: {v: f"t{v}" for v in sorted(rng.sample(range(-99, 99), rng.randint(1, 9)))}
              for name in ("la", "lb", "unused")}
    return make_dta.Dataset(
        variables, rows, label="L" * rng.randint(0, 80 if number >= 107 else 31),
        sort=rng.sample(range(1, len(names) + 1), rng.randint(0, len(names))),
        expansions=texts, value_labels=labels)


def current_type(kind, column):
    """The type that a column of an old file has today."""
    numbers = [x for x in column if not isinstance(x, make_dta.Missing)]
    fits = kind not in LARGEST or all(LEAST[kind] <= x <= LARGEST[kind] for x in numbers)
    return kind if fits else WIDER[kind]


class RoundTrips(unittest.TestCase):
    def expect(self, data, number, written, f):
        """f is what `data`, read from format `number`, was written as."""
        columns = list(zip(*data.rows)) if data.rows else [()] * len(data.variables)
        types = [current_type(v.type, column) if number < 112 else v.type
                 for v, column in zip(data.variables, columns)]
        self.assertEqual((f.number, f.order, f.types), (written, "<", types))
        self.assertRegex(f.stamp.decode(), r"^[ \d]\d [A-Z][a-z]{2} \d{4} \d\d:\d\d$")
        self.assertEqual(f.label.decode(), data.label)
        for name, theirs in (("name", f.names), ("format", f.formats), ("label", f.variable_labels),
                             ("value_label", f.value_label_names)):
            self.assertEqual([x.decode() for x in theirs], [getattr(v, name) for v in data.variables])
        # Old doubles among the keys lose the order only where 2^333 stood for missing.
        lost = number < 108 and any(
            data.variables[k - 1].type == DOUBLE and make_dta.Missing(0) in columns[k - 1]
            for k in data.sort)
        self.assertEqual(f.sort, [] if lost else data.sort)
        texts = {(o.encode(), n.encode()): t.encode() for o, n, t in data.expansions}
        self.assertEqual(f.characteristics, texts if number >= 105 else {})
        used = {v.value_label for v in data.variables}
        labels = {n.encode(): {v: t.encode() for v, t in entries.items()}
                  for n, entries in data.value_labels.items() if written == 113 or n in used}
        self.assertEqual(f.value_labels, labels)
        for mine, theirs in zip(data.rows, f.rows, strict=True):
            for x, y in zip(mine, theirs, strict=True):
                if isinstance(x, make_dta.Missing):
                    x = read_dta.Missing(x.code if written == 113 else 0)
                self.assertEqual(x, y)

    def test_every_format_in_both_byte_orders(self):
        rng = random.Random(20040712)
        cases, lines = [], ["set more off"]
        with Sandbox(BUILD) as box:
            for number in make_dta.FORMATS:
                for order in "<" if number == 102 else "<>":
                    for _ in range(3):
                        data = random_dataset(rng, number)
                        name = f"f{len(cases)}"
                        (box.work / f"{name}.dta").write_bytes(make_dta.encode(data, order, number))
                        cases.append((name, number, data))
                        for written, options in WRITTEN.items():
                            lines += [f"use {name}, clear", f"save {name}_{written}, {options}"]
            status, output = run(box, lines)
            self.assertEqual(status, 0)
            for name, number, data in cases:
                for written in WRITTEN:
                    with self.subTest(name=name, number=number, written=written):
                        widest = max(v.type if v.type < 245 else 0 for v in data.variables)
                        path = box.work / f"{name}_{written}.dta"
                        if written == 110 and widest > 128:
                            self.assertFalse(path.exists())
                            continue
                        self.assertTrue(path.exists(), output[-3000:])
                        self.expect(data, number, written, read_dta.decode(path.read_bytes()))


class CutShort(unittest.TestCase):
    """The target is one of two datasets, each with one number in all cells."""

    ROWS = 100000

    def make(self, box):
        for i, name in enumerate(("one", "two", "target")):
            run_lines = [f"set obs {self.ROWS}", f"generate double x = {1 + i % 2}", "generate double y = x",
                         f"save {name}"]
            self.assertEqual(run(box, run_lines)[0], 0)

    def check(self, box):
        rows = (box.work / "target.dta").read_bytes()[-16 * self.ROWS:]
        contents = [(box.work / f"{name}.dta").read_bytes()[-16 * self.ROWS:] for name in ("one", "two")]
        self.assertIn(rows, contents)

    def test_a_kill_leaves_the_old_file_or_the_new_one(self):
        rng = random.Random(9)
        with Sandbox(BUILD) as box:
            self.make(box)
            (box.work / "loop.do").write_text(
                "while 1 {\nforeach n in one two {\nuse `n', clear\nsave target, replace\n}\n}\n")
            for _ in range(20):
                session = subprocess.Popen([KORVA, "/q"], stdin=subprocess.PIPE, cwd=box.work,
                                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                           env=box.environment())
                session.stdin.write(b"do loop\n")
                session.stdin.flush()
                time.sleep(0.02 + rng.random() * 0.15)
                self.assertIsNone(session.poll())
                session.send_signal(signal.SIGKILL)
                session.wait()
                session.stdin.close()
                self.check(box)

    def test_a_full_disk_leaves_the_old_file_and_the_data(self):
        def little_room():
            resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))

        with Sandbox(BUILD) as box:
            self.make(box)
            status, output = run(
                box, ["use two", "replace y = 5 in 1", "capture noisily save target, replace", "display _rc",
                      "assert y[1] == 5 & x == 2", 'display "|$S_FN|"', "save another", "use one"],
                little_room)
            self.assertEqual(status, 0, output)
            self.assertRegex(output, r"insufficient disk space\n+\. display _rc\n699|insufficient disk space\n699")
            self.assertIn("|two.dta|", output)
            self.assertIn("no; data in memory would be lost", output)  # still changed
            self.assertFalse((box.work / "another.dta").exists())
            self.assertEqual([p.name for p in box.work.iterdir() if p.name.startswith(".")], [])
            self.check(box)


class Preserved(unittest.TestCase):
    def test_what_comes_back_is_what_was_there(self):
        rng = random.Random(621)
        lines = ["set more off"]
        with Sandbox(BUILD) as box:
            for i in range(8):
                data = random_dataset(rng, 113)
                (box.work / f"f{i}.dta").write_bytes(make_dta.encode(data, "<", 113))
                lines += [f"use f{i}, clear", "preserve", f"use f{(i + 1) % 8}", "restore",
                          f"save after{i}, orphans", f"use f{i}, clear", f"save before{i}, orphans"]
            status, output = run(box, lines)
            self.assertEqual(status, 0, output)
            for i in range(8):
                before, after = ((box.work / f"{name}{i}.dta").read_bytes() for name in ("before", "after"))
                stamp = slice(91, 109)
                self.assertEqual(before[:stamp.start] + before[stamp.stop:],
                                 after[:stamp.start] + after[stamp.stop:])
            self.assertEqual(list(box.scratch.iterdir()), [])

    def test_data_that_cannot_be_read_back_end_the_session(self):
        with Sandbox(BUILD) as box:
            session = subprocess.Popen([KORVA, "/q"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=subprocess.STDOUT, cwd=box.work, env=box.environment())
            session.stdin.write(b"set obs 1000\ngenerate double x = _n\nquietly preserve\n")
            session.stdin.write(b'display "kept"\n')
            session.stdin.flush()
            while b"kept" not in session.stdout.readline():
                pass
            temporary = max(box.scratch.iterdir(), key=lambda path: path.stat().st_size)
            whole = temporary.read_bytes()
            temporary.write_bytes(whole[:5000])
            output = session.communicate(b'quietly restore\ndisplay "too far"\n', timeout=60)[0].decode()
            self.assertEqual(session.returncode, 1, output)
            self.assertIn("Error--Korva Exiting:\nCheck Results Window for filename", output)
            self.assertNotIn("too far", output)
            # The file that was told outlives the session and the next one.
            kept = re.search(r"^(/\S+_\d+\.dta)$", output.replace("\n> ", ""), re.M)
            self.assertIsNotNone(kept, output)
            self.assertEqual(run(box, ["display 1"])[0], 0)
            with open(kept[1], "rb") as f:
                self.assertEqual(f.read(), whole[:5000])

    def test_a_full_disk_preserves_nothing(self):
        def little_room():
            resource.setrlimit(resource.RLIMIT_FSIZE, (5000, 5000))

        with Sandbox(BUILD) as box:
            status, output = run(box, ["set obs 1000", "generate double x = _n", "preserve", "restore",
                                       "assert x == _n & _N == 1000"], little_room)
            self.assertEqual(status, 0, output)
            self.assertRegex(output, r"insufficient disk space[\s\S]*nothing to restore")
            self.assertNotIn("r(9)", output)
            self.assertEqual(list(box.scratch.iterdir()), [])


class Hostile(unittest.TestCase):
    """Files that are made to take memory, or to be read wrongly."""

    def peak_bytes(self, box, line):
        """The memory that a session of one line takes at most."""
        process = subprocess.Popen([KORVA, "/q"], cwd=box.work, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, env=box.environment())
        process.stdin.write(line.encode() + b'\ndisplay "done"\n')
        process.stdin.flush()
        while (shown := process.stdout.readline()) not in (b"done\n", b""):
            pass
        self.assertTrue(shown, "the session ended")
        with open(f"/proc/{process.pid}/status") as status:
            peak = int(re.search(r"VmHWM:\s*(\d+) kB", status.read())[1])
        process.communicate()
        self.assertEqual(process.returncode, 0)
        return peak * 1024

    def test_memory_follows_the_size_of_the_file(self):
        if BUILD.is_sanitized:
            self.skipTest("the sanitizers take memory of their own")
        names = [b"a%07x" % i for i in range(1_000_000)]
        empty = make_dta.Dataset([make_dta.Variable("x", BYTE, "%8.0g")], [])
        small = make_dta.encode(empty, "<", 106)  # ends in the three bytes behind the characteristics
        texts = b"".join(b"\1\x14\0_dta\0\0\0\0\0" + name + b"\0q\0" for name in names)
        tables = b"".join(b"\x08\0\0\0" + name + bytes(12) for name in names)
        lying = make_dta.encode(empty, "<", 113)
        files = {"texts": small[:-3] + texts + bytes(3), "tables": small + tables,
                 "rows": lying[:6] + b"\xff\xff\xff\x7f" + lying[10:],
                 "variables": lying[:4] + b"\xff\x7f" + lying[6:]}
        for name, content in files.items():
            with self.subTest(name), Sandbox(BUILD) as box:
                (box.work / f"{name}.dta").write_bytes(content)
                self.assertLess(self.peak_bytes(box, f"capture use {name}"),
                                (64 << 20) + 4 * len(content))

    def test_entries_may_share_a_text_of_a_label_length(self):
        data = make_dta.encode(make_dta.Dataset([make_dta.Variable("x", BYTE, "%8.0g")], []), "<", 113)
        lines, offsets = [], {"longest": (0, 0), "tail": (1, 9), "over": (1, 0)}
        with Sandbox(BUILD) as box:
            for name, offset in offsets.items():
                text = b"y" * (32000 if name == "longest" else 32001) + b"\0"
                table = struct.pack("<6i", 2, len(text), *offset, 1, 2) + text
                (box.work / f"{name}.dta").write_bytes(
                    data + struct.pack("<i33s3x", len(table), name.encode()) + table)
                lines += [f"use {name}", "label dir"]
            status, output = run(box, lines)
            self.assertEqual(status, 0)
        self.assertIn("\nlongest\n", output)
        self.assertIn("\ntail\n", output)
        self.assertNotIn("\nover\n", output)
        self.assertEqual(output.count("The maximum length of labels"), 1)


if __name__ == "__main__":
    unittest.main()
