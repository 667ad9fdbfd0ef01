// output/number_format.cpp - numbers as text.
//
// Everything numeric starts from 19 significant digits, which std::to_chars rounds correctly; fewer
// digits are rounded from these, half up, with the carry carried. Whole numbers in general formats,
// which is what loops and macros print, skip that and go straight from integer to text.
#include "output/number_format.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/missing.h"
#include "core/settings.h"

namespace korva {

NumberText number_buffer;

namespace {

constexpr int kDigits = 19;
constexpr int kMaxNumericWidth = 26;  // what is wider is padding
constexpr Format kDefaultFormat{.kind = FormatKind::General, .width = 9};

// value = 0.ddd... x 10^x, its sign apart; zero has x = 1.
struct Decimal {
    char digits[kDigits];
    int x;
    bool negative;

    char digit(int i) const { return i < kDigits ? digits[i] : '0'; }
};

Decimal decompose(double value) {
    Decimal number;
    char text[40];
    number.negative = value < 0;
    const auto end = std::to_chars(text, text + sizeof text, number.negative ? -value : value + 0.0,
                                   std::chars_format::scientific, kDigits - 1);
    const char* first = text[0] == '-' ? text + 1 : text;  // a negative zero
    number.digits[0] = first[0];
    memcpy(number.digits + 1, first + 2, kDigits - 1);
    const char* exponent = first + kDigits + 2;
    int power = 0;
    std::from_chars(exponent + (*exponent == '+'), end.ptr, power);
    number.x = power + 1;
    return number;
}

// Keeps `keep` digits; fewer than none is zero.
void round_digits(Decimal* number, int keep) {
    if (keep >= kDigits) return;
    const bool up = keep >= 0 && number->digits[keep] >= '5';
    if (keep < 0) keep = 0;
    memset(number->digits + keep, '0', size_t(kDigits - keep));
    if (!up) return;
    int i = keep - 1;
    while (i >= 0 && number->digits[i] == '9') number->digits[i--] = '0';
    if (i >= 0) {
        number->digits[i]++;
    } else {  // a carry out of the first digit; the others are zeros
        number->digits[0] = '1';
        number->x++;
    }
}

// A number's text in the making, always short.
struct Text {
    char bytes[96];
    int n = 0;

    void add(char c) { bytes[n++] = c; }
    void add(const char* from, int count) {
        memcpy(bytes + n, from, size_t(count));
        n += count;
    }
};

// The first `count` digits as an integer part, with commas if asked.
void add_integer(Text* text, const Decimal& number, int count, bool groups) {
    for (int i = 0; i < count; i++) {
        if (groups && i > 0 && (count - i) % 3 == 0) text->add(',');
        text->add(number.digit(i));
    }
}

int group_commas(int integer_digits) {
    return integer_digits > 3 ? (integer_digits - 1) / 3 : 0;
}

void justify(NumberText* out, const char* bytes, int n, int width, bool left) {
    const int pad = std::clamp(width - n, 0, kMaxFormatWidth);
    char* to = out->text;
    if (!left) to = static_cast<char*>(memset(to, ' ', size_t(pad))) + pad;
    memcpy(to, bytes, size_t(n));
    to += n;
    if (left) to = static_cast<char*>(memset(to, ' ', size_t(pad))) + pad;
    *to = 0;
    out->length = int(to - out->text);
}

// The swap of decimal point and comma, then the padding to the width of the format.
void finish(NumberText* out, Text* text, const Format& format) {
    if (format.comma_point || settings.dp_comma) {
        for (int i = 0; i < text->n; i++) {
            char& c = text->bytes[i];
            c = c == '.' ? ',' : c == ',' ? '.' : c;
        }
    }
    justify(out, text->bytes, text->n, format.width, format.left);
}

void add_sign(Text* text, const Decimal& number, const Format& format) {
    if (number.negative) {
        text->add('-');
    } else if (!format.left) {
        text->add(' ');
    }
}

// d.ddde+xx in a field of `width` columns, blanks ahead included.
void exponent_form(Text* text, Decimal number, const Format& format, int width, int decimals) {
    const int w = std::max(width, 8);
    const int e = -98 <= number.x && number.x < 101 ? 7 : 8;
    const int m = decimals >= 1 && decimals < w - e ? decimals : w - e;
    round_digits(&number, m + 1);
    const int power = number.x - 1;
    const int size = power < 0 ? -power : power;
    const int power_digits = size > 99 ? 3 : 2;
    if (!format.left) {
        for (int pad = w - (m + power_digits + 5); pad > 0; pad--) text->add(' ');
    }
    add_sign(text, number, format);
    text->add(number.digits[0]);
    text->add('.');
    for (int i = 1; i <= m; i++) text->add(number.digit(i));
    text->add('e');
    text->add(power < 0 ? '-' : '+');
    if (power_digits == 3) text->add(char('0' + size / 100));
    text->add(char('0' + size / 10 % 10));
    text->add(char('0' + size % 10));
}

void fixed_form(Text* text, Decimal number, const Format& format, int width, int decimals) {
    if (number.x > 0) {
        const int spare = (number.negative ? 0 : 1) + (decimals == 0 ? 1 : 0);
        if (number.x > width - decimals - 2 + spare) {
            const int needed = number.x + decimals + 2 - spare;
            if (needed > 8) {
                exponent_form(text, number, format, width, decimals);
                return;
            }
            width = needed;
        }
    }
    round_digits(&number, number.x + decimals);
    const int integer_digits = std::max(number.x, 0);
    const int fraction = decimals > 0 ? 1 + decimals : 0;
    // The zero ahead of the point gives way where the width has no room for it.
    const bool zero = integer_digits == 0 &&
                      (fraction == 0 || number.negative + 1 + fraction <= width);
    const int plain = integer_digits + zero + fraction;
    const bool groups = format.groups &&
                        number.negative + plain + group_commas(integer_digits) <= width;

    if (number.negative) text->add('-');
    if (format.zero_pad && !format.groups && !format.left) {
        for (int pad = width - plain - number.negative; pad > 0; pad--) text->add('0');
    }
    if (zero) text->add('0');
    add_integer(text, number, integer_digits, groups);
    if (decimals == 0) return;
    text->add('.');
    for (int i = 0; i < decimals; i++) {
        const int at = number.x + i;
        text->add(at < 0 ? '0' : number.digit(at));
    }
}

// As many significant digits as fit in `width` columns; false when too few do.
bool packed_form(Text* text, Decimal number, const Format& format, int width, bool groups) {
    int room = width - 2 - std::max(-number.x, 0);
    if (groups && number.x >= 4) room -= (number.x - 1) / 3;
    if (room < 1 || room < std::max(width - 6, 2)) return false;
    if (room < number.x && room > -number.x) return false;
    round_digits(&number, room);
    if (number.x > room) return false;

    const int lead = std::max(-number.x, 0);
    const int integer_digits = std::max(number.x, 0);
    int last = std::min(room, kDigits);
    while (last > integer_digits && number.digits[last - 1] == '0') last--;
    const int fraction_digits = std::max(last - integer_digits, 0);
    const int columns = integer_digits + (groups ? group_commas(integer_digits) : 0) + 1 +
                        (fraction_digits > 0 ? fraction_digits + lead + 1 : 0);
    if (columns > width) return false;

    if (!format.left) {
        for (int pad = width - columns; pad > 0; pad--) text->add(' ');
    }
    add_sign(text, number, format);
    add_integer(text, number, integer_digits, groups);
    if (fraction_digits == 0) return true;
    text->add('.');
    for (int i = 0; i < lead; i++) text->add('0');
    text->add(number.digits + integer_digits, fraction_digits);
    return true;
}

// The packed form, given up first for commas and then for an exponent.
void packed_or_exponent(Text* text, const Decimal& number, const Format& format, int width,
                        int exponent_width) {
    if (format.groups && packed_form(text, number, format, width, true)) return;
    if (packed_form(text, number, format, width, false)) return;
    exponent_form(text, number, format, exponent_width, 0);
}

// A general format with decimals: they count the significant digits that are wanted.
void general_form(Text* text, const Decimal& number, const Format& format, int width,
                  int decimals) {
    const int w = std::max(width, 4);
    const int d = std::max(std::min(decimals, w - 2), 2);
    const int x = number.x;
    const int exponent_width = d + (x > 100 || x < -98 ? 7 : 6);
    int packed_width = 0;  // 0: the exponent form
    if (x > 0) {
        if (x <= w - 2) packed_width = std::max(x + 2, std::min(d + 2, w));
    } else {
        const int lead = 1 - x;
        const int t = lead + d + 1;
        if (d <= w - 6) {
            if (t <= w && lead < 6) packed_width = t;
        } else if (t <= w) {
            packed_width = t;
        } else if (lead + w - 7 <= w) {
            packed_width = w;
        }
    }
    Text packed;
    if (packed_width > 0) {
        packed_or_exponent(&packed, number, format, packed_width, exponent_width);
    } else {
        exponent_form(&packed, number, format, exponent_width, 0);
    }
    int start = 0;  // its own blanks go: the format's width is another
    while (packed.bytes[start] == ' ') start++;
    text->add(packed.bytes + start, packed.n - start);
}

// A whole number that fits a general format without decimals; false if it takes the long way.
bool short_whole(NumberText* out, const Format& format, double value) {
    if (format.decimals != 0 || format.groups || format.width < 4) return false;
    if (!(value > -1e15 && value < 1e15)) return false;
    const auto whole = int64_t(value);
    if (double(whole) != value) return false;
    char text[24];
    const int n = int(std::to_chars(text, text + sizeof text, whole).ptr - text);
    if (n - (whole < 0) > std::min(format.width, kMaxNumericWidth) - 2) return false;
    justify(out, text, n, format.width, format.left);
    return true;
}

void numeric_form(NumberText* out, const Format& format, double value) {
    if (format.kind == FormatKind::General && short_whole(out, format, value)) return;
    const Decimal number = decompose(value);
    const int width = std::min(format.width, kMaxNumericWidth);
    const int decimals = format.decimals > width ? 0 : format.decimals;
    Text text;
    switch (format.kind) {
    case FormatKind::Exponent: exponent_form(&text, number, format, width, decimals); break;
    case FormatKind::Fixed: fixed_form(&text, number, format, width, decimals); break;
    default:
        if (decimals == 0) {
            packed_or_exponent(&text, number, format, width, width);
        } else {
            general_form(&text, number, format, width, decimals);
        }
        break;
    }
    finish(out, &text, format);
}

void hex_form(NumberText* out, const Format& format, double value) {
    const auto bits = std::bit_cast<uint64_t>(value);
    const int field = int(bits >> 52 & 0x7FF);
    const int power = field - 1023;
    char text[40];
    const int n = snprintf(text, sizeof text, "%c%d.%013llxX%c%03x", bits >> 63 ? '-' : '+',
                           field != 0, static_cast<unsigned long long>(bits & 0xFFFFFFFFFFFFFULL),
                           power < 0 ? '-' : '+', unsigned(power < 0 ? -power : power));
    justify(out, text, n, format.width, format.left);
}

// The value as a float variable stores it: a missing value keeps its number, what is too large
// becomes missing, and what is too small zero.
uint32_t float_bits(double value) {
    if (is_missing(value)) return 0x7F000000u + (uint32_t(missing_code(value)) << 11);
    if (!(std::fabs(value) < 0x1p127)) return 0x7F000000u;
    if (std::fabs(value) < 0x1p-127) return 0;
    return std::bit_cast<uint32_t>(float(value));
}

void bytes_form(NumberText* out, const Format& format, double value) {
    const int bytes = format.kind == FormatKind::Bytes8 ? 8 : 4;
    const uint64_t bits = bytes == 8 ? std::bit_cast<uint64_t>(value) : float_bits(value);
    char text[16];
    for (int i = 0; i < bytes; i++) {
        const int shift = 8 * (format.low_first ? i : bytes - 1 - i);
        const auto byte = unsigned(bits >> shift & 0xFF);
        text[2 * i] = "0123456789abcdef"[byte >> 4];
        text[2 * i + 1] = "0123456789abcdef"[byte & 15];
    }
    justify(out, text, 2 * bytes, format.width, format.left);
}

void missing_form(NumberText* out, const Format& format, double value) {
    const int code = missing_code(value);
    const char text[2] = {'.', char('a' + code - 1)};
    justify(out, text, code == 0 ? 1 : 2, format.width, format.left);
}

// --- Reading formats ---

struct FormatReader {
    std::string_view text;
    size_t at = 0;

    char peek() const { return at < text.size() ? text[at] : '\0'; }
    bool take(char c) {
        if (peek() != c) return false;
        at++;
        return true;
    }
    // A number of up to three digits; -1 if there is none.
    int take_number() {
        int number = -1;
        for (int n = 0; n < 3 && peek() >= '0' && peek() <= '9'; n++, at++) {
            number = std::max(number, 0) * 10 + (peek() - '0');
        }
        return number;
    }
};

bool read_date(FormatReader* reader, Format* format) {
    char unit = 'd';
    if (reader->take('t')) {
        unit = reader->peek();
        reader->at += unit != 0;
        if (unit == 'g') {
            format->kind = FormatKind::General;
            format->width = kDefaultFormat.width;
            return true;
        }
    } else {
        reader->take('d');
    }
    const int n = parse_date_details(reader->text.substr(reader->at), unit, format);
    reader->at += size_t(std::max(n, 0));
    return n >= 0;
}

bool read_letter_only(FormatReader* reader, Format* format) {
    switch (reader->peek()) {
    case 's': format->kind = FormatKind::String; break;
    case 'x': format->kind = FormatKind::Hex; break;
    case 'H':
    case 'L':
        format->kind = format->width == 16 ? FormatKind::Bytes8 : FormatKind::Bytes4;
        format->low_first = reader->peek() == 'L';
        if (format->width != 16 && format->width != 8) return false;
        break;
    default: return false;
    }
    reader->at++;
    return format->kind != FormatKind::Hex || format->width == 21;
}

bool read_numeric(FormatReader* reader, Format* format) {
    format->comma_point = reader->peek() == ',';
    reader->at++;
    format->decimals = reader->take_number();
    if (format->decimals < 0) return false;
    switch (reader->peek()) {
    case 'f': format->kind = FormatKind::Fixed; break;
    case 'e': format->kind = FormatKind::Exponent; break;
    case 'g': format->kind = FormatKind::General; break;
    default: return false;
    }
    reader->at++;
    format->groups = reader->take('c');
    return !format->centre;
}

bool read_format(FormatReader* reader, Format* format) {
    if (!reader->take('%')) return false;
    format->left = reader->take('-');
    if (!format->left) format->centre = reader->take('~');
    const char first = reader->peek();
    if (first == 'd' || first == 't') return !format->centre && read_date(reader, format);
    format->zero_pad = reader->take('0');
    format->width = reader->take_number();
    if (format->width < 1 || format->width > kMaxFormatWidth) return false;
    const char next = reader->peek();
    if (next == '.' || next == ',') return read_numeric(reader, format);
    return read_letter_only(reader, format) &&
           (format->kind == FormatKind::String || !format->centre);
}

}  // namespace

int parse_format(std::string_view text, Format* format) {
    *format = Format{};
    FormatReader reader{text};
    if (!read_format(&reader, format)) {
        *format = Format{};
        return 0;
    }
    return int(reader.at);
}

void format_number(NumberText* out, const Format& format, double value) {
    switch (format.kind) {
    case FormatKind::Hex: hex_form(out, format, value); return;
    case FormatKind::Bytes8:
    case FormatKind::Bytes4: bytes_form(out, format, value); return;
    default: break;
    }
    value = finite_or_missing(value);
    if (is_missing(value)) {
        const bool shows = format.kind != FormatKind::Bad && format.kind != FormatKind::String;
        missing_form(out, shows ? format : kDefaultFormat, value);
        return;
    }
    if (format.kind == FormatKind::Date) {
        char text[kMaxFormatWidth];
        const int n = format_date(text, format, value);
        if (n > 0) {
            justify(out, text, n, format.width, format.left);
        } else {
            missing_form(out, format, kSysMissing);
        }
        return;
    }
    const bool shows = format.kind != FormatKind::Bad && format.kind != FormatKind::String;
    numeric_form(out, shows ? format : kDefaultFormat, value);
}

void format_number(NumberText* out, std::string_view format, double value) {
    Format parsed;
    if (size_t(parse_format(format, &parsed)) != format.size()) parsed.kind = FormatKind::Bad;
    format_number(out, parsed, value);
}

const char* fmt_number(std::string_view format, double value) {
    format_number(&number_buffer, format, value);
    return number_buffer.text;
}

bool fmt_is_valid(std::string_view format, bool strings) {
    Format parsed;
    const int n = parse_format(format, &parsed);
    return n > 0 && size_t(n) == format.size() && (parsed.kind == FormatKind::String) == strings;
}

int fmt_width(std::string_view format) {
    Format parsed;
    parse_format(format, &parsed);
    return parsed.kind == FormatKind::Bad ? kDefaultFormat.width : parsed.width;
}

}  // namespace korva
