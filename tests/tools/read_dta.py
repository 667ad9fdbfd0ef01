#!/usr/bin/env python3
"""Reads a dataset file, apart from the program's own code; the standard library only.

    tests/tools/read_dta.py FILE...     prints what the files hold

decode() takes the bytes of a file of any format from 102 to 113 in either byte order and is strict:
it fails for a field that is not filled up with NULs, for bytes that nobody accounts for, and for
anything else that a good writer does not do.
"""
import struct
import sys
from dataclasses import dataclass, field

BYTE, INT, LONG, FLOAT, DOUBLE = 251, 252, 253, 254, 255
PACK = {BYTE: "b", INT: "h", LONG: "i", FLOAT: "f", DOUBLE: "d"}
LETTERS = {ord("b"): BYTE, ord("i"): INT, ord("l"): LONG, ord("f"): FLOAT, ord("d"): DOUBLE}
LARGEST = {BYTE: 100, INT: 32740, LONG: 2147483620}
OLD_MISSING = {BYTE: 127, INT: 32767, LONG: 2147483647}


class Damaged(Exception):
    pass


@dataclass(frozen=True)
class Missing:
    """Missing value number `code`: 0 for `.`, 1 for `.a`, to 26 for `.z`."""

    code: int


@dataclass
class File:
    number: int = 0
    order: str = "<"
    label: bytes = b""
    stamp: bytes = b""
    types: list = field(default_factory=list)
    names: list = field(default_factory=list)
    sort: list = field(default_factory=list)  # 1-based
    formats: list = field(default_factory=list)
    value_label_names: list = field(default_factory=list)
    variable_labels: list = field(default_factory=list)
    characteristics: dict = field(default_factory=dict)  # (owner, name): text
    rows: list = field(default_factory=list)
    value_labels: dict = field(default_factory=dict)  # name: {value: text}


class Reader:
    def __init__(self, data):
        self.data, self.at, self.order = data, 0, "<"

    def take(self, n):
        if self.at + n > len(self.data):
            raise Damaged(f"{n} bytes wanted at {self.at} of {len(self.data)}")
        self.at += n
        return self.data[self.at - n:self.at]

    def numbers(self, letters):
        return struct.unpack(self.order + letters, self.take(struct.calcsize(self.order + letters)))

    def text(self, n):
        return padded(self.take(n), must_end=True)


def padded(raw, must_end):
    text, nul, rest = raw.partition(b"\0")
    if must_end and not nul or rest.strip(b"\0"):
        raise Damaged(f"field {raw!r}")
    return text


def cell(raw, kind, old, before_108, order):
    if kind <= 244:
        return padded(raw, must_end=False)
    value, = struct.unpack(order + PACK[kind], raw)
    if kind in LARGEST:
        if old:
            return Missing(0) if value == OLD_MISSING[kind] else value
        return Missing(value - LARGEST[kind] - 1) if value > LARGEST[kind] else value
    bits = int.from_bytes(raw, "little" if order == "<" else "big")
    first, step = (0x7F000000, 0x800) if kind == FLOAT else (0x7FE0000000000000, 1 << 40)
    if before_108 and kind == DOUBLE and value == 2.0 ** 333:
        return Missing(0)
    if value != value or value >= (2.0 ** 127 if kind == FLOAT else 2.0 ** 1023):
        code, rest = divmod(bits - first, step)
        if rest or not 0 <= code <= (0 if old else 26):
            raise Damaged(f"number {bits:#x}")
        return Missing(code)
    return value


def table(raw, order):
    n, text_bytes = struct.unpack_from(order + "ii", raw)
    if len(raw) != 8 + 8 * n + text_bytes:
        raise Damaged("value-label table")
    offsets = struct.unpack_from(order + f"{n}i", raw, 8)
    values = struct.unpack_from(order + f"{n}i", raw, 8 + 4 * n)
    texts = raw[8 + 8 * n:]
    if list(values) != sorted(set(values)):
        raise Damaged("values out of order")
    return {v: texts[o:texts.index(b"\0", o)] for v, o in zip(values, offsets)}


def decode(data):
    r, f = Reader(data), File()
    f.number = r.take(1)[0]
    if f.number not in (102, 103, 104, 105, 106, 107, 108, 110, 111, 112, 113):
        raise Damaged(f"format {f.number}")
    order = r.take(1)[0]
    if f.number > 102:
        f.order = r.order = {1: ">", 2: "<"}[order]
    if r.take(1) != b"\1":
        raise Damaged("file type")
    r.take(1)
    k, n = r.numbers("Hh" if f.number == 102 else "Hi")
    f.label = r.text(32 if f.number < 107 else 81)
    f.stamp = r.text(18) if f.number >= 105 else b""
    name = 9 if f.number < 110 else 33

    codes = r.take(k)
    if f.number in (111, 113):
        f.types = list(codes)
    else:
        f.types = [LETTERS[c] if c in LETTERS else c - 127 for c in codes]
    if any(t == 0 or 244 < t < 251 for t in f.types):
        raise Damaged("types")
    f.names = [r.text(name) for _ in range(k)]
    sort = list(r.numbers(f"{k + 1}H"))
    f.sort = sort[:sort.index(0)]
    f.formats = [r.text(7 if f.number < 105 else 12) for _ in range(k)]
    f.value_label_names = [r.text(name) for _ in range(k)]
    f.variable_labels = [r.text(32 if f.number < 107 else 81) for _ in range(k)]
    while f.number >= 105:
        kind, length = r.numbers("BH" if f.number < 110 else "BI")
        if kind == 0 and length == 0:
            break
        body = Reader(r.take(length))
        if kind == 1:
            key = body.text(name), body.text(name)
            if key in f.characteristics:
                raise Damaged(f"{key} twice")
            f.characteristics[key] = body.text(length - 2 * name)
    old, early = f.number < 112, f.number < 108
    widths = [t if t <= 244 else struct.calcsize(PACK[t]) for t in f.types]
    for _ in range(n):
        f.rows.append([cell(r.take(w), t, old, early, r.order) for w, t in zip(widths, f.types)])
    while r.at < len(data):
        if f.number <= 105:
            count, = r.numbers("H")
            label = r.text(10)
            values = r.numbers(f"{count}h")
            f.value_labels[label] = {v: padded(r.take(8), must_end=False) for v in values}
            continue
        length, = r.numbers("i")
        label = r.text(name)
        if r.take(3) != bytes(3) or label in f.value_labels:
            raise Damaged("value-label record")
        f.value_labels[label] = table(r.take(length), r.order)
    return f


def main():
    for path in sys.argv[1:]:
        with open(path, "rb") as file:
            print(decode(file.read()))


if __name__ == "__main__":
    main()
