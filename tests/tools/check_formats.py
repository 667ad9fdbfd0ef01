"""The written rules of the formats, worked out a second time: decimal arithmetic, another calendar.

formatted(format, value) is what a format shows, with `set dp comma` if asked. cases(n) gives n pairs of a format and a value, the
same in every run, that lie where the rules part: carries, widths that overflow, missing values.
"""
import datetime
import math
import random
import re
import struct
from decimal import ROUND_HALF_EVEN, ROUND_HALF_UP, Context, Decimal

DIGITS = 19  # significant digits that every decimal form starts from
WIDEST = 26  # what is wider is padding
LETTERS = "abcdefghijklmnopqrstuvwxyz"


class Failed(Exception):
    """The packed form has no room."""


def digits_of(number):
    """The digits and the exponent x of a number 0.ddd... x 10^x; zero has x = 1."""
    if number == 0:
        return "0", 1
    _, digits, exponent = number.as_tuple()
    return "".join(map(str, digits)), len(digits) + exponent


def to_digits(number, n):
    """Rounded to n significant digits, halves up."""
    return Context(prec=n, rounding=ROUND_HALF_UP).plus(number) if number else number


def grouped(integer):
    return re.sub(r"(?<=\d)(?=(\d{3})+$)", ",", integer)


def sign(negative, left):
    return "-" if negative else "" if left else " "


def exponent_form(number, negative, left, width, decimals):
    width = max(width, 8)
    x = digits_of(number)[1]
    places = width - (7 if -98 <= x < 101 else 8)
    if 1 <= decimals < places:
        places = decimals
    digits, x = digits_of(to_digits(number, places + 1))
    digits = digits.ljust(places + 1, "0")
    text = f"{digits[0]}.{digits[1:places + 1]}e{'-' if x < 1 else '+'}{abs(x - 1):02d}"
    return (sign(negative, left) + text).rjust(0 if left else width)


def fixed_form(number, negative, left, width, decimals, zeros, commas):
    x = digits_of(number)[1]
    reductions = (not negative) + (decimals == 0)
    if x > 0 and x > width - decimals - 2 + reductions:
        width_needed = x + decimals + 2 - reductions
        if width_needed > 8:
            return exponent_form(number, negative, left, width, decimals)
        width = width_needed
    rounded = number.quantize(Decimal(1).scaleb(-decimals), ROUND_HALF_UP, Context(prec=400))
    integer, _, fraction = f"{rounded:f}".partition(".")
    minus = "-" if negative else ""
    point = "." + fraction if decimals else ""
    if integer == "0" and number < 1 and point and len(minus + integer + point) > width:
        integer = ""
    if commas:
        with_commas = minus + grouped(integer) + point
        return with_commas if len(with_commas) <= width else minus + integer + point
    if zeros and not left:
        integer = integer.rjust(width - len(minus + point), "0")
    return minus + integer + point


def packed_form(number, negative, left, width, commas):
    x = digits_of(number)[1]
    lead = -x if x < 0 else 0
    room = width - 2 - lead
    if commas and x >= 4:
        room -= (x - 1) // 3
    if room < 1 or room < max(width - 6, 2) or -x < room < x:
        raise Failed
    digits, x = digits_of(to_digits(number, room))
    if x > room:
        raise Failed
    integer = digits[:x].ljust(x, "0") if x > 0 else ""
    fraction = (digits[x:] if x > 0 else "0" * -x + digits).rstrip("0")
    if number == 0:
        integer, fraction = "0", ""
    if commas:
        integer = grouped(integer)
    text = integer + ("." + fraction if fraction else "")
    if len(text) + 1 > width:
        raise Failed
    return (sign(negative, left) + text).rjust(0 if left else width)


def packed_or_exponent(number, negative, left, width, commas, exponent_width):
    for with_commas in (True, False) if commas else (False,):
        try:
            return packed_form(number, negative, left, width, with_commas)
        except Failed:
            pass
    return exponent_form(number, negative, left, exponent_width, 0)


def general_form(number, negative, left, width, decimals, commas):
    if decimals == 0:
        return packed_or_exponent(number, negative, left, width, commas, width)
    width = max(width, 4)
    decimals = max(min(decimals, width - 2), 2)
    x = digits_of(number)[1]
    exponent_width = decimals + (7 if x > 100 or x < -98 else 6)
    packed = None  # the width of the packed form; none: the exponent form
    if x > 0:
        if x <= width - 2:
            narrow = min(decimals + 2, width)
            packed = x + 2 if x > narrow - 2 else narrow
    else:
        lead = 1 - x
        needed = lead + decimals + 1
        if decimals <= width - 6:
            packed = needed if needed <= width and lead < 6 else None
        elif needed <= width:
            packed = needed
        elif lead + width - 7 <= width:
            packed = width
    if packed is None:
        return exponent_form(number, negative, left, exponent_width, 0).strip(" ")
    return packed_or_exponent(number, negative, left, packed, commas, exponent_width).strip(" ")


def missing_letter(value):
    """`.` or `.a` to `.z`; none for a number."""
    if value < 2.0**1023:
        return None
    code = struct.unpack(">Q", struct.pack(">d", value))[0] >> 40 & 0xFF
    return "." + LETTERS[code - 1] if code else "."


def missing(code):
    return struct.unpack(">d", struct.pack(">Q", 0x7FE0000000000000 | code << 40))[0]


def hexadecimal(value):
    bits = struct.unpack(">Q", struct.pack(">d", value))[0]
    field = bits >> 52 & 0x7FF
    power = field - 1023
    return (f"{'-' if bits >> 63 else '+'}{1 if field else 0}.{bits & (1 << 52) - 1:013x}"
            f"X{'-' if power < 0 else '+'}{abs(power):03x}")


EPOCH = datetime.date(1960, 1, 1)
PERIODS = {"w": 52, "m": 12, "q": 4, "h": 2}
# What each code of a date shows, and the most columns that it takes.
DATE_CODES = {
    "C": (lambda day, week: f"{day.year // 100:02}", 2), "c": (lambda day, week: f"{day.year // 100}", 2),
    "Y": (lambda day, week: f"{day.year % 100:02}", 2), "y": (lambda day, week: f"{day.year % 100}", 2),
    "N": (lambda day, week: f"{day.month:02}", 2), "n": (lambda day, week: f"{day.month}", 2),
    "D": (lambda day, week: f"{day.day:02}", 2), "d": (lambda day, week: f"{day.day}", 2),
    "J": (lambda day, week: f"{day:%j}", 3), "j": (lambda day, week: f"{day:%j}".lstrip("0"), 3),
    "W": (lambda day, week: f"{week:02}", 2), "w": (lambda day, week: f"{week}", 2),
    "q": (lambda day, week: f"{(day.month + 2) // 3}", 1), "Q": (lambda day, week: f"{(day.month + 2) // 3}", 1),
    "h": (lambda day, week: "12"[day.month > 6], 1), "H": (lambda day, week: "12"[day.month > 6], 1),
    "M": (lambda day, week: f"{day:%B}", 9), "m": (lambda day, week: f"{day:%b}", 3),
    "L": (lambda day, week: f"{day:%B}".lower(), 9), "l": (lambda day, week: f"{day:%b}".lower(), 3),
    "A": (lambda day, week: f"{day:%A}", 9), "a": (lambda day, week: f"{day:%a}", 3),
    "E": (lambda day, week: f"{day:%A}".lower(), 9), "e": (lambda day, week: f"{day:%a}".lower(), 3),
    "_": (lambda day, week: " ", 1),
    **{mark: (lambda day, week, mark=mark: mark, 1) for mark in ".,:;-/\\"},
}
SHORT_FORMS = {"d": "DlcY", "w": "cY!ww", "m": "cY!mn", "q": "cY!qq", "h": "cY!hh", "y": "cY"}


def date_of(unit, value):
    """The first day of the unit that the value stands in, and its week; none outside the calendar."""
    try:
        if unit == "d":
            day = EPOCH + datetime.timedelta(days=math.floor(value))
        elif unit == "y":
            day = datetime.date(math.floor(value), 1, 1)
        else:
            years, part = divmod(math.floor(value), PERIODS[unit])
            day = datetime.date(1960 + years, 1 if unit == "w" else part * 12 // PERIODS[unit] + 1, 1)
            day += datetime.timedelta(days=7 * part if unit == "w" else 0)
    except (OverflowError, ValueError):
        return None
    return (day, min(52, (day.timetuple().tm_yday + 6) // 7)) if day.year >= 100 else None


def date_formatted(text, value):
    left, unit, codes = re.fullmatch(r"%(-?)(?:d|t([dwmqhy]))(.*)", text).groups()
    unit = unit or "d"
    codes = re.findall(r"!.|.", codes or SHORT_FORMS[unit])
    width = sum(1 if code[0] == "!" else DATE_CODES[code][1] for code in codes)
    date = missing_letter(value) is None and date_of(unit, value)
    if date:
        shown = "".join(code[1] if code[0] == "!" else DATE_CODES[code][0](*date) for code in codes)
    else:
        shown = missing_letter(value) or "."
    return shown.ljust(width) if left else shown.rjust(width)


def bytes_shown(letter, width, value):
    order = ">" if letter == "H" else "<"
    if width == 8 and missing_letter(value):  # a float keeps which of the 27 it is
        code = (" " + LETTERS).index((missing_letter(value) + " ")[1])
        return struct.pack(order + "I", 0x7F000000 + code * 0x800)
    return struct.pack(order + "fd"[width == 16], value)


def formatted(text, value, dp_comma=False):
    if re.match("%-?[dt]", text):
        return date_formatted(text, value)
    left, zeros, width, mark, decimals, letter, commas = re.fullmatch(
        r"%(-?)(0?)(\d+)(?:([.,])(\d+))?([fegxHL])(c?)", text).groups()
    given, left = int(width), bool(left)
    if letter == "x":
        shown = hexadecimal(value)
    elif letter in "HL":
        shown = bytes_shown(letter, given, value).hex()
    elif missing_letter(value):
        shown = missing_letter(value)
    else:
        negative = value < 0
        number = Context(prec=DIGITS, rounding=ROUND_HALF_EVEN).plus(Decimal(abs(value)))
        width = min(given, WIDEST)
        decimals = int(decimals) if int(decimals) <= width else 0
        if letter == "e":
            shown = exponent_form(number, negative, left, width, decimals)
        elif letter == "f":
            shown = fixed_form(number, negative, left, width, decimals, zeros and not commas, commas)
        else:
            shown = general_form(number, negative, left, width, decimals, commas)
        if mark == "," or dp_comma:
            shown = shown.translate(str.maketrans(".,", ",."))
    return shown.ljust(given) if left else shown.rjust(given)


def date_case(choose):
    unit = choose.choice("dwmqhy")
    letters = "".join(choose.choice([*DATE_CODES, "!x", "!!", "!7"])
                      for _ in range(choose.choice([0, 0, 1, 2, 3, 4, 6, 9])))
    letters = letters.replace("//", "/").replace("/*", "/")  # comments in a do-file
    form = f"%{choose.choice(['', '-'])}{choose.choice(['t', 't', '']) if unit == 'd' else 't'}{unit}{letters}"
    if choose.random() < 0.05:
        return form, missing(choose.randrange(27))
    if unit == "y":
        return form, float(choose.randint(90, 10010))
    units = {"d": 365.2425, **PERIODS}[unit]
    years = choose.choice([choose.uniform(-1862, 8042), choose.uniform(-60, 60)])
    return form, choose.choice([math.floor, lambda x: round(4 * x) / 4])(years * units)


def cases(n, seed=9):
    choose = random.Random(seed)
    for _ in range(n):
        kind = choose.random()
        if kind > 0.85:
            yield date_case(choose)
            continue
        width = choose.choice([1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 18, 22, 26, 30, 244])
        decimals = choose.choice([0, 0, 1, 2, 3, 5, 8, 11, width])
        if kind < 0.06:
            form = choose.choice(["%21x", "%16H", "%16L", "%8H", "%8L"])
        else:
            form = (f"%{choose.choice(['', '', '-'])}{choose.choice(['', '', '0'])}{width}"
                    f"{choose.choice('...,')}{decimals}{choose.choice('fffegggg')}"
                    f"{choose.choice(['', '', 'c'])}")
        what = choose.random()
        if what < 0.06:
            value = missing(choose.randrange(27))
        elif what < 0.3:  # nines that carry, fives that tie
            value = float(f"{choose.choice(['9' * choose.randint(1, 17), '5', '25', '125', '45'])}"
                          f"e{choose.randint(-9, 12)}")
        elif what < 0.5:
            value = float(choose.randrange(10 ** choose.randint(1, 16)))
        elif what < 0.6:
            value = math.ldexp(choose.random() + 0.5, choose.randint(-1000, 1000))
        else:
            value = choose.random() * 10.0 ** choose.randint(-12, 17)
        if choose.random() < 0.3 and value < 2.0**1023:
            value = -value
        if form[-1] in "HL" and form.startswith("%8") and not missing_letter(value):
            value = struct.unpack("f", struct.pack("f", choose.uniform(-1e6, 1e6)))[0]
        yield form, value
