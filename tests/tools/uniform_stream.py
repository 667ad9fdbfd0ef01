#!/usr/bin/env python3
"""The streams of uniform() and uniform0() from their recurrences, for tests/unit/data/random_test.cpp.

Whole numbers without bound, reduced by hand where the recurrences say so; prints the raw words.
"""
M = 1 << 32


def uniform(seed, n):
    x, y, z, w = seed, 521288629, 362436069, 2262615
    words = []
    for _ in range(n + (100 if seed != 123456789 else 0)):
        x = (69069 * x + 1234567) % M
        y ^= (y << 13) % M
        y ^= y >> 17
        y ^= (y << 5) % M
        z = (65184 * (z % 65536) + z // 65536) % M
        w = (63663 * (w % 65536) + w // 65536) % M
        words.append((x + y + z + w * 65536) % M)
    text = "X" + "".join("%08x" % v for v in (x, y, z, w))
    h = 0
    for c in text:
        h = (h * 31 + ord(c)) % M
    return words[-n:], text + "%04x" % (h % 20009)


def uniform0(s, n):
    words = []
    for _ in range(n):
        s = ((s * 3533) % 2**31 + (s * 65536) % 2**31) % 2**31
        words.append(s)
    return words


for seed in (123456789, 1, 2147483646):
    print(seed, *uniform(seed, 4), *uniform(seed, 1000)[0][-1:])
print(*uniform0(1001, 4), uniform0(1001, 1000)[-1])
