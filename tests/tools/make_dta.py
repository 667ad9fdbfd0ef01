#!/usr/bin/env python3
"""Writes the dataset files that the tests read, apart from the program's own code.

    tests/tools/make_dta.py          writes tests/data/*.dta and the seeds in fuzz/corpus/dta_read
    tests/tools/make_dta.py --check  only tells whether the files there are these

Dataset describes one file, encode() makes its bytes in a format and byte order. What it writes may
contradict itself: the tests need files that do.
"""
import struct
import sys
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DATA = ROOT / "tests" / "data"
SEEDS = ROOT / "fuzz" / "corpus" / "dta_read"

BYTE, INT, LONG, FLOAT, DOUBLE = 251, 252, 253, 254, 255  # 1 to 244: strings of that width
PACK = {BYTE: "b", INT: "h", LONG: "i", FLOAT: "f", DOUBLE: "d"}
LETTER = {BYTE: b"b", INT: b"i", LONG: b"l", FLOAT: b"f", DOUBLE: b"d"}
SYSMISS = {BYTE: 101, INT: 32741, LONG: 2147483621}
OLD_SYSMISS = {BYTE: 127, INT: 32767, LONG: 2147483647}
FORMATS = (102, 103, 104, 105, 106, 107, 108, 110, 111, 112, 113)


@dataclass
class Missing:
    """Missing value number `code`: 0 for `.`, 1 for `.a`, to 26 for `.z`."""

    code: int


@dataclass
class Bits:
    """A number cell's bits as they stand, which may be no value of the type."""

    bits: int


@dataclass
class Variable:
    name: str
    type: int
    format: str
    value_label: str = ""
    label: str = ""


@dataclass
class Dataset:
    variables: list
    rows: list
    label: str = ""
    stamp: str = ""
    sort: list = field(default_factory=list)  # 1-based variable numbers
    # (owner, name, text), or (kind, bytes) for an expansion record of another kind
    expansions: list = field(default_factory=list)
    value_labels: dict = field(default_factory=dict)  # name: {value: text}


def text(value, width):
    data = value if isinstance(value, bytes) else value.encode("latin-1")
    assert len(data) <= width, value
    return data.ljust(width, b"\0")


def old_cell(value, kind, order, number):
    """A number of the formats below 112, which know `.` alone."""
    if not isinstance(value, Missing):
        return cell(value, kind, order)
    if kind in OLD_SYSMISS:
        return struct.pack(order + PACK[kind], OLD_SYSMISS[kind])
    if kind == DOUBLE and number < 108:
        return struct.pack(order + "d", 2.0 ** 333)
    return cell(Missing(0), kind, order)


def cell(value, kind, order):
    if kind <= 244:
        return text(value, kind)
    if isinstance(value, Bits):
        return value.bits.to_bytes(struct.calcsize(PACK[kind]), "little" if order == "<" else "big")
    if not isinstance(value, Missing):
        return struct.pack(order + PACK[kind], value)
    if kind == FLOAT:
        return struct.pack(order + "I", 0x7F000000 + value.code * 0x800)
    if kind == DOUBLE:
        return struct.pack(order + "Q", 0x7FE0000000000000 + (value.code << 40))
    return struct.pack(order + PACK[kind], SYSMISS[kind] + value.code)


def type_code(kind, number):
    if number in (111, 113):
        return bytes([kind])
    return LETTER[kind] if kind in LETTER else bytes([127 + kind])


def value_table(entries, order):
    """The table's payload; texts in the order given, values ascending."""
    offsets, texts = {}, b""
    for value, label in entries.items():
        offsets[value] = len(texts)
        texts += label.encode("latin-1") + b"\0"
    values = sorted(entries)
    n = len(values)
    return (struct.pack(order + "ii", n, len(texts))
            + struct.pack(order + f"{n}i", *(offsets[v] for v in values))
            + struct.pack(order + f"{n}i", *values) + texts)


def old_value_table(name, entries, order):
    """A record of the formats up to 105."""
    return (struct.pack(order + "H", len(entries)) + text(name, 10)
            + struct.pack(order + f"{len(entries)}h", *entries)
            + b"".join(text(label, 8) for label in entries.values()))


def encode(data, order="<", number=113, filetype=1):
    """The file's bytes; order is that of struct: "<" low-high, ">" high-low."""
    k = len(data.variables)
    name_bytes, label_bytes = 33 if number >= 110 else 9, 81 if number >= 107 else 32
    format_bytes = 12 if number >= 105 else 7
    put = cell if number >= 112 else lambda x, kind, order: old_cell(x, kind, order, number)
    out = struct.pack("BBBB", number, 0 if number == 102 else 2 if order == "<" else 1, filetype, 0)
    out += struct.pack(order + ("Hh" if number == 102 else "Hi"), k, len(data.rows))
    out += text(data.label, label_bytes)
    if number >= 105:
        out += text(data.stamp, 18)
    out += b"".join(type_code(v.type, number) for v in data.variables)
    out += b"".join(text(v.name, name_bytes) for v in data.variables)
    out += struct.pack(order + f"{k + 1}H", *data.sort, *[0] * (k + 1 - len(data.sort)))
    out += b"".join(text(v.format, format_bytes) for v in data.variables)
    out += b"".join(text(v.value_label, name_bytes) for v in data.variables)
    out += b"".join(text(v.label, label_bytes) for v in data.variables)
    length_letter = "I" if number >= 110 else "H"
    for record in data.expansions if number >= 105 else ():
        kind, body = (1, b"") if len(record) == 3 else record
        if kind == 1 and len(record) == 3:
            owner, name, value = record
            body = text(owner, name_bytes) + text(name, name_bytes) + value.encode("latin-1") + b"\0"
        out += struct.pack(order + "B" + length_letter, kind, len(body)) + body
    if number >= 105:
        out += bytes(1 + struct.calcsize(length_letter))
    for row in data.rows:
        out += b"".join(put(x, v.type, order) if v.type > 244 else text(x, v.type)
                        for x, v in zip(row, data.variables, strict=True))
    for name, entries in data.value_labels.items():
        if number <= 105:
            out += old_value_table(name, entries, order)
            continue
        table = entries if isinstance(entries, bytes) else value_table(entries, order)
        out += struct.pack(order + "i", len(table)) + text(name, name_bytes) + bytes(3) + table
    return out


def every_type():
    """Rows 1 to 27 hold the missing values, then come the smallest, the largest and plain numbers."""
    variables = [
        Variable("b", BYTE, "%8.0g", "answer", "a byte"),
        Variable("i", INT, "%8.0g"),
        Variable("l", LONG, "%12.0g", label="x" * 80),
        Variable("f", FLOAT, "%9.0g"),
        Variable("d", DOUBLE, "%10.0g", label="a double"),
        Variable("s1", 1, "%9s"),
        Variable("s7", 7, "%-9s"),
        Variable("s244", 244, "%244s"),
        Variable("name_of_thirty_two_characters_xx", INT, "%d"),
    ]
    largest_float = struct.unpack("<f", struct.pack("<I", 0x7EFFFFFF))[0]
    largest_double = struct.unpack("<d", struct.pack("<Q", 0x7FDFFFFFFFFFFFFF))[0]
    rows = [[Missing(k)] * 5 + ["", "", "", k] for k in range(27)]
    rows.append([-127, -32767, -2147483647, -largest_float, -largest_double, "z", "seven77",
                 "y" * 244, -1])
    rows.append([100, 32740, 2147483620, largest_float, largest_double, " ", "a b", "", 0])
    rows.append([1, -300, 70000, 1.5, 0.1, "q", b"t\xe4x\xdft", "end", 16000])
    answer = {3: "three", -1: "minus one", 100: "hundred"}
    return Dataset(
        variables, rows, label="L" * 80, stamp="29 Feb 2004 23:59", sort=[9, 1],
        expansions=[("_dta", "note0", "1"), ("_dta", "note1", "A note on all."),
                    (7, b"of a kind that nobody knows"),
                    ("l", "note0", "1"), ("l", "note1", "n" * 300), ("d", "unit", "kg"),
                    ("nobody", "unit", "belongs to no variable")],
        value_labels={"answer": answer, "unused": {0: "no", 1: "yes"}})


def small():
    """One of each thing that a file can hold, in as few bytes as it goes."""
    return Dataset(
        [Variable("x", DOUBLE, "%9.2f"), Variable("g", BYTE, "%8.0g", "gl", "group"),
         Variable("s", 3, "%9s")],
        [[1.5, 0, "abc"], [Missing(2), 1, "d"], [-2.0, 1, ""]],
        label="Small", stamp=" 1 Jan 2001 00:00", sort=[2],
        expansions=[("_dta", "k", "v"), ("x", "note0", "1")],
        value_labels={"gl": {0: "no", 1: "yes"}})


def groups():
    """Three towns in four years, sorted by town and year, one of each kind of column to show."""
    rows = [["Asse", 1990, 10.0, 1, "first"], ["Asse", 1991, 20.0, 0, "a {b:c}"],
            ["Asse", 1992, Missing(0), 1, ""],
            ["Borg", 1990, 5.5, 0, "tab\there"], ["Borg", 1990, 6.5, 1, "end"],
            ["Borg", 1991, Missing(1), 2, "x"], ["Borg", 1993, 7.5, 0, "y"],
            ["Cork", 1991, -3.25, 1, "last"]]
    return Dataset(
        [Variable("town", 8, "%-8s", label="Town"), Variable("year", INT, "%8.0g"),
         Variable("output", DOUBLE, "%9.2f", label="Output of the year"),
         Variable("open", BYTE, "%8.0g", "open"),
         Variable("remark_of_the_clerk", 12, "%12s",
                  label="What the clerk wrote in the margin, if anything")],
        rows, label="Three towns, four years, and a label of more than one line", sort=[1, 2],
        stamp=" 3 Mar 2003 12:00", expansions=[("output", "note0", "1"), ("output", "note1", "n")],
        value_labels={"open": {0: "no", 1: "yes"}})


def no_values():
    """Cells that no writer of ours makes: NaN, infinities, unassigned missing values, -128."""
    variables = [Variable(name, kind, "%9.0g")
                 for name, kind in (("b", BYTE), ("i", INT), ("l", LONG), ("f", FLOAT),
                                    ("d", DOUBLE))]
    return Dataset(variables, [
        [Bits(0x80), Bits(0x8000), Bits(0x80000000), Bits(0x7FC00000), Bits(0x7FF8000000000000)],
        [Bits(0x80), Bits(0x8000), Bits(0x80000000), Bits(0xFF800000), Bits(0xFFF0000000000000)],
        [Bits(0x80), Bits(0x8000), Bits(0x80000000), Bits(0x7F00D800), Bits(0x7FE01B0000000000)],
        [-127, -32767, -2147483647, 1.5, -0.5],
        [Missing(26)] * 5])


def old():
    """What every format can hold: short names, and numbers that no current byte, int or long has."""
    variables = [Variable("id", INT, "%8.0g"), Variable("b", BYTE, "%8.0g", "bl", "a byte"),
                 Variable("plain", BYTE, "%8.0g"), Variable("i", INT, "%8.0g"),
                 Variable("l", LONG, "%12.0g"), Variable("f", FLOAT, "%9.0g"),
                 Variable("d", DOUBLE, "%9.2f"), Variable("s", 5, "%9s")]
    rows = [[1, 126, 100, 32766, 2147483646, 1.5, 0.1, "first"],
            [2, -128, -127, -32768, -2147483648, -2.25, 1e300, "b"],
            [3, *[Missing(0)] * 6, ""],
            [4, 0, 1, 1, 1, 0.0, -1.0, "end"]]
    return Dataset(variables, rows, label="Old data", stamp="22 Jan 1993 14:41", sort=[1],
                   expansions=[("_dta", "note0", "1"), ("d", "unit", "kg")],
                   value_labels={"bl": {2: "two", -1: "minus", 0: "none"}})


def dots(data):
    data.variables[1].name, data.variables[1].label = "a.b", "dotted"
    data.variables[2].name, data.variables[3].name = "a_b", "a1b"
    data.expansions.append(("a.b", "unit", "m"))
    data.sort = [7, 1]


def with_change(change, **options):
    data = small()
    change(data)
    return encode(data, **options)


def rename(data):
    data.variables[2].name = "x"


def no_name(data):
    data.variables[1].name = "1g"


def bad_sort(data):
    data.sort = [4]


def bad_formats(data):
    data.variables[0].format = "%9s"
    data.variables[2].format = "12"


def bad_table(data):
    data.value_labels["gl"] = struct.pack("<iiii", 1, 4, 9, 0) + b"abc\0"


def long_label(data):
    data.value_labels["gl"] = {0: "no", 1: "y" * 32001}


def string_junk(data):
    data.rows[1][2] = b"d\0\xff"


def no_text(data):
    """A characteristic's record that ends behind its name."""
    data.expansions = [(1, text("x", 33) + text("k", 33))]


def no_rows(data):
    data.rows = []


def no_variables(data):
    data.variables, data.rows, data.sort = [], [], []
    data.expansions = [("_dta", "k", "v")]


def many(data):
    """More than one block of rows."""
    data.rows = [[i * 0.1, i % 2, str(i % 900 + 100)] for i in range(2100)]
    data.sort = []


def files():
    low, high = encode(small()), encode(small(), ">")
    made = {
        DATA / "types_lohi.dta": encode(every_type()),
        DATA / "types_hilo.dta": encode(every_type(), ">"),
        DATA / "small_lohi.dta": low,
        DATA / "small_hilo.dta": high,
        DATA / "groups.dta": encode(groups()),
        DATA / "no_values_lohi.dta": encode(no_values()),
        DATA / "no_values_hilo.dta": encode(no_values(), ">"),
        DATA / "small_112.dta": encode(small(), number=112),
        DATA / "blocks_lohi.dta": with_change(many),
        DATA / "blocks_hilo.dta": with_change(many, order=">"),
        DATA / "no_rows.dta": with_change(no_rows),
        DATA / "no_variables.dta": with_change(no_variables),
        DATA / "bad_formats.dta": with_change(bad_formats),
        DATA / "string_junk.dta": with_change(string_junk),
        DATA / "no_text.dta": with_change(no_text),
        DATA / "long_label.dta": with_change(long_label),
        DATA / "bad_twice.dta": with_change(rename),
        DATA / "bad_name.dta": with_change(no_name),
        DATA / "bad_sort.dta": with_change(bad_sort),
        DATA / "bad_table.dta": with_change(bad_table),
        DATA / "cut.dta": low[:-90],
        DATA / "xp.dta": encode(small(), filetype=2),
        DATA / "later.dta": b"\x72Korva .dta file and more",
        DATA / "no_dataset.dta": b"x,y\n1,2\n",
        DATA / "old_110.dta": encode(small(), number=110),
    }
    dotted = old()
    dots(dotted)
    made[DATA / "dots_105.dta"] = encode(dotted, number=105)
    for number in FORMATS[:-2]:
        if number == 110:
            continue
        order = "<" if number % 2 == 0 or number == 111 else ">"
        made[DATA / f"old_{number}.dta"] = encode(old(), order, number)
        made[SEEDS / f"old_{number}.dta"] = made[DATA / f"old_{number}.dta"]
    for name in ("small_lohi", "small_hilo", "small_112", "no_rows", "no_variables", "string_junk",
                 "no_values_lohi", "no_text", "bad_table", "old_110", "later", "dots_105"):
        made[SEEDS / f"{name}.dta"] = made[DATA / f"{name}.dta"]
    # 65536 rows of no bytes once outran the table that tells where rows are.
    rows_alone = bytearray(made[DATA / "no_variables.dta"])
    rows_alone[6:10] = struct.pack("<i", 65536)
    made[SEEDS / "rows_without_variables.dta"] = bytes(rows_alone)
    return made


def main():
    made = files()
    if sys.argv[1:] == ["--check"]:
        stale = [path for path, data in made.items()
                 if not path.exists() or path.read_bytes() != data]
        for path in stale:
            print(f"{path.relative_to(ROOT)} is not what {Path(__file__).name} makes")
        return 1 if stale else 0
    for path, data in made.items():
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
    return 0


if __name__ == "__main__":
    sys.exit(main())
