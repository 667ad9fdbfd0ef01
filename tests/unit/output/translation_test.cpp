// Conversions of mark-up: what each target writes for styles, links, graphic and awkward
// characters; and hostile sources.
#include "output/translation.h"

#include <gtest/gtest.h>

#include <string>

namespace korva {
namespace {

ReturnCode take(void* data, std::string_view bytes) {
    static_cast<std::string*>(data)->append(bytes);
    return 0;
}

// The target's lines for the source, without what a page has around them.
std::string converted(Translation* t, std::string_view source, ReturnCode expected = 0) {
    std::string out;
    EXPECT_EQ(translation_begin(t, take, &out), 0);
    ReturnCode rc = translation_feed(t, source);
    if (rc == 0) rc = translation_end(t);
    EXPECT_EQ(rc, expected);
    return out;
}

std::string html(std::string_view source, bool all_links = false) {
    Translation t;
    t.target = TargetKind::Html;
    t.page = false;
    t.all_links = all_links;
    const std::string out = converted(&t, source);
    EXPECT_TRUE(out.starts_with("<pre>\n") && out.ends_with("</pre>\n")) << out;
    return out.substr(6, out.size() - 13);
}

std::string tex(std::string_view source) {
    Translation t;
    t.target = TargetKind::Tex;
    return converted(&t, source);
}

std::string plain(std::string_view source, bool is_markup, int width = 79) {
    Translation t;
    t.is_markup = is_markup;
    t.width = width;
    return converted(&t, source);
}

TEST(TranslationHtml, LinksGoWhereABrowserCanFollow) {
    const auto link = [](const char* open) {
        return std::string(open) + "<span class=\"link\">x</span></a>\n";
    };
    EXPECT_EQ(html("{help a##b c:x}\n"), link("<a href=\"/help.cgi?a#b+c\">"));
    EXPECT_EQ(html("{search a b:x}\n"), link("<a href=\"/search.cgi?query=a+b\">"));
    EXPECT_EQ(html("{browse \"http://h/?a&b\":x}\n"), link("<a href=\"http://h/?a&amp;b\">"));
    EXPECT_EQ(html("{help `\"a\"b\"':x}\n"), link("<a href=\"/help.cgi?a&quot;b\">"));
    EXPECT_EQ(html("{browse \"JavaScript:f()\":x}\n"), "<span class=\"link\">x</span>\n");
    EXPECT_EQ(html("{net from a<b:x}\n"), "<span class=\"link\">x</span>\n");
    EXPECT_EQ(html("{net from a<b:x}\n", true), link("<a title=\"net from a&lt;b\">"));
    EXPECT_EQ(html("{marker m&n}\n"), "<a name=\"m&amp;n\"></a>\n");
    EXPECT_EQ(html("{newpage}x\n"), "x\n");
}

TEST(TranslationHtml, StylesAndCharactersShowAsOnTheScreen) {
    EXPECT_EQ(html("{res:a<b>}&{bf:c}{it:d}{ul:e}\n"),
              "<span class=\"result\">a&lt;b&gt;</span>&amp;<b>c</b><i>d</i><u>e</u>\n");
    EXPECT_EQ(html("-{c -}{c |}{c TLC}{c e'}{c C=}\n"),
              "-&#9472;&#9474;&#9484;&#233;&#8364;\n");  // the euro is no Latin-1 character
    EXPECT_EQ(html(std::string_view("a\0\x1b"
                                    "b\n",
                                    5)),
              "a&#65533;&#65533;b\n");
    Translation t;
    t.target = TargetKind::Html;
    t.page = false;
    t.book = t.bold_result = t.bold_input = true;
    EXPECT_EQ(converted(&t, "{res:a}{inp:b}{err:c}\n{newpage}d\n"),
              "<pre>\n<span class=\"result\"><b>a</b></span><span class=\"input\"><b>b</b></span>"
              "<span class=\"error\">c</span>\n</pre>\n<pre>\nd\n</pre>\n");
}

TEST(TranslationTex, EveryCharacterIsAMacroOrItself) {
    EXPECT_EQ(tex("^~{c -(}{c )-}\n"), "{\\caret}{\\tytilde}{\\lbr}{\\rbr}\n");
    EXPECT_EQ(tex("#$%&_\\ <>\"|\n"), "\\#\\$\\%\\&{\\char95}{\\char92} <>\"|\n");
    EXPECT_EQ(tex("{hline 3}{c |}{c -}{c +}\n"), "\\HLI{3}{\\VBAR}{\\DASH}{\\PLUS}\n");
    EXPECT_EQ(tex("{c TT}{c BT}{c LT}{c RT}{c BRC}{c BLC}{c TRC}{c TLC}\n"),
              "{\\TOPT}{\\BOTT}{\\LFTT}{\\RGTT}{\\BRC}{\\BLC}{\\TRC}{\\TLC}\n");
    EXPECT_EQ(tex("{bf:a}{it:b}{ul:c}{bf:{ul:d}}\n"),
              "{\\bftt{a}}{\\sltt{b}}{\\underbar{c}}{\\underbar{{\\bftt{d}}}}\n");
    EXPECT_EQ(tex("a\n\n  \nb\n"), "a\n{\\smallskip}\n{\\smallskip}\nb\n");
    EXPECT_EQ(tex("{c e'}{c L-}\xd0?`\n"), "{\\'e}{\\pounds}??{`}\n");
}

TEST(Translation, PlainTextKeepsTheWidthAndTextSourcesStayAsTheyAre) {
    EXPECT_EQ(plain("{title:T}\n{res}{c |}{c TT}{c BRC}\n", true), "T\n-\n|-+\n");
    std::string wrapped(40, 'x');
    wrapped.append("\n> xxxxx\n");
    EXPECT_EQ(plain(std::string(45, 'x'), true, 40), wrapped);
    EXPECT_EQ(plain("a{bf:b}\r\n{tmrk}\n\rlast", false, 40), "a{bf:b}\n{tmrk}\n\nlast\n");
    std::string wide(100, 'x');
    wide.append("\n");
    EXPECT_EQ(plain(wide, false, 40), wide);
    EXPECT_EQ(plain("{asis}\r\n{it:a}\r\n{tmrk}\r\n{it:b}", true), "{it:a}\nb\n");
}

TEST(Translation, EndsWhateverTheSourceHolds) {
    std::string braces;
    for (int i = 0; i < 50'000; i++) braces += "{it:";
    EXPECT_GE(plain(braces, true).size(), braces.size());
    Translation copies;
    converted(&copies, "{dup 999:{dup 999:{dup 999:{dup 999:}}}}\n", 688);
    Translation measured;
    converted(&measured, "{center:{dup 999:{dup 999:{dup 999:x}}}}\n", 688);
    EXPECT_EQ(plain("{dup 200:{dup 60:-}}", true, 255).size(), 12'000u + 48 + 47 * 2);
}

}  // namespace
}  // namespace korva
