// The number formatter. Expected texts are worked out by hand from the digits of the value; where a
// double is not the decimal that is written, its exact expansion decides.
#include "core/print.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "core/missing.h"
#include "core/settings.h"
#include "output/number_format.h"

namespace korva {
namespace {

struct Case {
    const char* format;
    double value;
    const char* text;
};

void check(std::initializer_list<Case> cases) {
    for (const Case& c : cases) EXPECT_STREQ(fmt_number(c.format, c.value), c.text) << c.format;
}

TEST(NumberFormat, GeneralFormatsPackWhatFits) {
    check({
        {"%9.0g", 0, "        0"},
        {"%9.0g", 0.5, "       .5"},
        {"%9.0g", -0.5, "      -.5"},
        {"%9.0g", 1, "        1"},
        {"%9.0g", -1, "       -1"},
        {"%9.0g", 3.14159265358979, " 3.141593"},
        {"%9.0g", 0.1, "       .1"},
        {"%9.0g", 1.0 / 3, " .3333333"},
        {"%9.0g", 1234567, "  1234567"},
        {"%9.0g", 12345678, " 1.23e+07"},
        {"%9.0g", 123456789012, " 1.23e+11"},
        {"%9.0g", 0.000012345678, " .0000123"},
        {"%9.0g", 0.0000012345678, " 1.23e-06"},  // two digits of room, three are wanted
        {"%9.0g", 1e300, " 1.0e+300"},
        {"%9.0g", -1e300, "-1.0e+300"},
        {"%10.0g", 12345678, "  12345678"},
        {"%10.0g", 2.0 / 3, " .66666667"},
        {"%18.0g", 0.1, "                .1"},
        {"%18.0g", 1e15, "  1000000000000000"},
        {"%18.0g", 123456789.125, "     123456789.125"},
        {"%-9.0g", 0.5, ".5       "},
        {"%-9.0g", -2, "-2       "},
        {"%12.0gc", 1234567, "   1,234,567"},
        {"%9.0gc", 1234567, "  1234567"},  // the commas do not fit
        {"%9.0gc", 1234.5, "  1,234.5"},
        {"%9,0g", 0.5, "       ,5"},
    });
}

TEST(NumberFormat, CarriesRunThroughTheDigits) {
    check({
        {"%9.0g", 9999999.4, "  9999999"},
        {"%9.0g", 9999999.5, " 1.00e+07"},  // the carry makes it too long
        {"%9.0g", 0.99999999, "        1"},
        {"%9.0g", 0.099999999, "       .1"},
        {"%5.1f", 9.96, " 10.0"},
        {"%4.2f", 9.999, "10.00"},
        {"%3.0f", 0.5, "  1"},  // half goes up,
        {"%3.0f", 2.5, "  3"},  // away from zero
        {"%3.0f", -2.5, " -3"},
        {"%3.0f", 0.4999, "  0"},
        {"%9.2e", 9.996, " 1.00e+01"},
        {"%12.3e", 9.9999e99, "  1.000e+100"},
        {"%6.2f", 1.005, "  1.00"},  // 1.00499999999999989...
    });
}

TEST(NumberFormat, FixedFormatsWidenUpToEightColumns) {
    check({
        {"%9.2f", 3.14159, "     3.14"},
        {"%9.2f", -3.14159, "    -3.14"},
        {"%4.2f", 0.5, "0.50"},
        {"%5.2f", -0.001, "-0.00"},
        {"%3.2f", 0.5, ".50"},  // the zero ahead of the point only where there is room
        {"%4.2f", -0.5, "-.50"},
        {"%2.0f", 0.25, " 0"},
        {"%5.3f", 1e-9, "0.000"},
        {"%4.2f", 12345.67, "12345.67"},
        {"%4.2f", 123456.78, " 1.2e+05"},
        {"%12.2fc", 1234567.891, "1,234,567.89"},
        {"%12.2fc", -1234567.891, " -1234567.89"},
        {"%9.0fc", 123456, "  123,456"},
        {"%08.2f", 3.14159, "00003.14"},
        {"%08.2f", -3.14159, "-0003.14"},
        {"%-08.2f", 3.14159, "3.14    "},
        {"%9,2f", 3.14159, "     3,14"},
        {"%12,2fc", 1234567.891, "1.234.567,89"},
        {"%30.2f", 1.25, "                          1.25"},
        {"%20.15f", 0.1, "   0.100000000000000"},
        {"%26.20f", 0.5, "    0.50000000000000000000"},
    });
}

TEST(NumberFormat, ExponentFormats) {
    check({
        {"%10.3e", 12345.678, " 1.235e+04"},
        {"%10.3e", -12345.678, "-1.235e+04"},
        {"%-12.3e", 12345.678, "1.235e+04   "},
        {"%10.3e", 0, " 0.000e+00"},
        {"%10.9e", 1.5, " 1.500e+00"},  // too many decimals: as many as fit
        {"%8.1e", 1e-300, " 1.e-300"},  // three digits of exponent leave none
        {"%12.0e", 1.5, " 1.50000e+00"},
        {"%26.18e", 0.1, "  1.000000000000000056e-01"},
    });
}

TEST(NumberFormat, GeneralFormatsWithDecimalsCountSignificantDigits) {
    check({
        {"%9.4g", 3.14159265, "    3.142"},
        {"%9.4g", 31415.9265, "    31416"},
        {"%9.4g", 0.000314159, " .0003142"},
        {"%9.3g", 1e20, " 1.00e+20"},
        {"%9.2g", 0, "        0"},
        {"%12.5g", 123456, "      123456"},
        {"%-9.4g", 3.14159265, "3.142    "},
    });
}

TEST(NumberFormat, MissingValuesKeepTheirLetter) {
    check({
        {"%9.0g", kSysMissing, "        ."},
        {"%9.2f", missing_value(1), "       .a"},
        {"%-9.2f", missing_value(26), ".z       "},
        {"%td", kSysMissing, "        ."},
        {"%9.0g", std::nan(""), "        ."},
        {"%9,0g", kSysMissing, "        ."},
    });
}

TEST(NumberFormat, BytesAndHexadecimal) {
    check({
        {"%21x", 1, "+1.0000000000000X+000"},
        {"%21x", -0.1, "-1.999999999999aX-004"},
        {"%21x", 0, "+0.0000000000000X-3ff"},
        {"%21x", 0x1p+1000, "+1.0000000000000X+3e8"},
        {"%16H", 1, "3ff0000000000000"},
        {"%16L", 1, "000000000000f03f"},
        {"%8H", -2, "c0000000"},
        {"%8L", 1, "0000803f"},
        {"%8H", missing_value(2), "7f001000"},
        {"%8H", -1e300, "7f000000"},  // as a float variable keeps it: missing,
        {"%8H", 1e-50, "00000000"},   // and zero
    });
}

TEST(NumberFormat, DatesCountFrom1960) {
    check({
        {"%d", 0, "01jan1960"},
        {"%td", 59, "29feb1960"},
        {"%td", -1, "31dec1959"},
        {"%td", 17440, "01oct2007"},  // 47 years with 12 leap days are 17167, and 273 days of 2007
        {"%td", 14670, "01mar2000"},  // 40 years with 10 leap days are 14610, and 60 days of 2000
        {"%-td", 0.9, "01jan1960"},
        {"%tw", 52, " 1961w1"},
        {"%tw", -1, "1959w52"},
        {"%tm", 11, "1960m12"},
        {"%tq", 191, "2007q4"},
        {"%th", 1, "1960h2"},
        {"%ty", 2007, "2007"},
        {"%td", 1e15, "        ."},
        {"%td", 2936549, "31dec9999"},
        {"%td", 2936550, "        ."},
        {"%td", -679350, " 01jan100"},
        {"%td", -679351, "        ."},
        {"%tg", 0.5, "       .5"},
    });
}

// 17440 is Monday, 1 October 2007: day 274, week 40.
TEST(NumberFormat, DetailedDatesShowTheirCodes) {
    check({
        {"%tdDD", 17440, "0101"},
        {"%dN/D/Y", 17440, "10/01/07"},
        {"%tdn/d/y", 17440, "  10/1/7"},
        {"%-tdM_d,_CY", 17440, "October 1, 2007   "},
        {"%tdA_a_E_e", 17440, "      Monday Mon monday mon"},
        {"%tdL.l.m", 17440, "  october.oct.Oct"},
        {"%tdJ-j:W;w", 3, "   004-4:01;1"},
        {"%td!t!d\\!!d", 17440, " td\\!1"},
        {"%tqCY!qq", 191, "2007q4"},
        {"%thH_h!h", -1, "2 2h"},
        {"%twD_N_w", 51, "23 12 52"},  // day 358 of a leap year: 335 days before December
        {"%tyCY", 1066, "1066"},
        {"%tdCY", -679350, "0100"},
        {"%tdM", kSysMissing, "        ."},
        {"%-tdM", missing_value(3), ".c       "},
    });
}

TEST(NumberFormat, DecimalCommaSwapsBothSigns) {
    settings.dp_comma = true;
    check({{"%12.2fc", 1234567.5, "1.234.567,50"}, {"%9.0g", kSysMissing, "        ."}});
    settings.dp_comma = false;
}

TEST(NumberFormat, WholeNumbersShowEveryDigit) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; i++) {
        const double whole = std::floor(std::ldexp(double(random() >> 11), -int(random() % 53)));
        if (whole >= 1e16) continue;  // what %18.0g has room for
        char wanted[32];
        snprintf(wanted, sizeof wanted, "%18.0f", whole);
        EXPECT_STREQ(fmt_number("%18.0g", whole), wanted);
        snprintf(wanted, sizeof wanted, "%-18.0f", -whole);
        if (whole > 0) {
            EXPECT_STREQ(fmt_number("%-18.0g", -whole), wanted);
        }
    }
}

TEST(NumberFormat, ValidityAndWidth) {
    for (const char* good : {"%9.0g", "%-9.2f", "%012.3f", "%8.0gc", "%9,2e", "%21x", "%16L", "%8H",
                             "%d", "%-d", "%tq", "%tdD_m_Y", "%-tw", "%tg", "%0244.2f", "%td!x"}) {
        EXPECT_TRUE(fmt_is_valid(good, false)) << good;
        EXPECT_FALSE(fmt_is_valid(good, true)) << good;
    }
    for (const char* good : {"%9s", "%-20s", "%~12s", "%244s"}) {
        EXPECT_TRUE(fmt_is_valid(good, true)) << good;
        EXPECT_FALSE(fmt_is_valid(good, false)) << good;
    }
    for (const char* bad :
         {"", "%", "9.0g", "%9g", "%9.0", "%.2f", "%0.2f", "%9.0q", "%9.0gx", "%tz", "%tdX", "%td!",
          "%tgD", "%t", "%~d", "%17H", "%245s", "%s", "%~9.0g"}) {
        EXPECT_FALSE(fmt_is_valid(bad, false)) << bad;
        EXPECT_FALSE(fmt_is_valid(bad, true)) << bad;
    }
    EXPECT_EQ(fmt_width("%12.0g"), 12);
    EXPECT_EQ(fmt_width("%-20s"), 20);
    EXPECT_EQ(fmt_width("%td"), 9);
    EXPECT_STREQ(fmt_number("%nonsense", 0.5), "       .5");
}

}  // namespace
}  // namespace korva
