// The stream as its sink sees it: lines, runs, links, and what the ends of chunks do.
#include "output/stream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include <unistd.h>

#include "core/session.h"
#include "core/settings.h"
#include "output/line.h"
#include "unit/output/collector.h"

namespace korva {
namespace {

using test::Collector;
using test::Line;
using test::Link;
using test::shown;
using test::StyleRun;

std::string dashes(int n) {
    return std::string(size_t(n), '-');
}

TEST(Stream, LongLinesAreCutAtTheWidth) {
    const std::string hundred(100, 'x');
    EXPECT_EQ(shown(hundred + "\n"), std::string(79, 'x') + "|> " + std::string(21, 'x') + "|");
    EXPECT_EQ(shown(std::string(40, 'x') + "\n", 40), std::string(40, 'x') + "|");
    // 40, then 38 beside each mark.
    EXPECT_EQ(shown(std::string(79, 'x') + "\n", 40),
              std::string(40, 'x') + "|> " + std::string(38, 'x') + "|> x|");
    EXPECT_EQ(shown(std::string(255, 'y') + "\n", 255), std::string(255, 'y') + "|");
    Collector c(300);  // as wide as a record can hold, and each column with a style of its own
    for (int i = 0; i < 127; i++) c.feed("{res}r{txt}t");
    c.feed("{res}r{txt}z\n");
    ASSERT_EQ(c.lines.size(), 2u);
    EXPECT_EQ(c.lines[0].text.size(), 255u);
    EXPECT_EQ(c.lines[0].runs.size(), 255u);
    EXPECT_EQ(c.lines[0].runs.back(), (StyleRun{kStyleResult, 255}));
    EXPECT_EQ(c.lines[1].text, "> z");
}

TEST(Stream, DirectivesThatAreNoneShowAsText) {
    EXPECT_EQ(shown("{txt\n"), "{txt|");
    EXPECT_EQ(shown("{nosuch}\n"), "{nosuch}|");
    EXPECT_EQ(shown("{?nosuch:a{it:b}c}{?nosuch}{? nosuch:x}\n"), "abc{? nosuch:x}|");
    EXPECT_EQ(shown("{?nosuch {it:x} y:abc}\n"), "abc|");
    EXPECT_EQ(shown("{txt foo}{p_end}{}{TXT}\n"), "{txt foo}{p_end}{}{TXT}|");
    EXPECT_EQ(shown("{nosuch:{res:good}}\n"), "{nosuch:good}|");
    EXPECT_EQ(shown("{it:{p 4 4}}\n"), "{p 4 4}|");
    EXPECT_EQ(shown("a{tmrk}b\n"), "a{tmrk}b|");
    EXPECT_EQ(shown("{p}\na {col 5}b\n"), "a {col 5}b||");
    EXPECT_EQ(shown("{hline 256}{dup 1000:x}{center 256:x}\n"),
              "{hline 256}{dup 1000:x}{center 256:x}|");
}

TEST(Stream, AnOpenDirectiveWaitsForTheNextCall) {
    Collector c;
    c.feed("{it:ab");
    EXPECT_EQ(c.s->held_len, 6);
    c.feed("c}d\n");
    ASSERT_EQ(c.lines.size(), 1u);
    EXPECT_EQ(c.lines[0].text, "abcd");
    EXPECT_EQ(c.lines[0].runs,
              (std::vector<StyleRun>{{kStyleText | kStyleItalic, 3}, {kStyleText, 4}}));
}

TEST(Stream, HeldTextNeverGrowsBeyondItsBuffer) {
    Collector c(255);
    std::string wanted = "{it:";
    c.feed("{it:");
    for (int i = 0; i < 300; i++) {
        c.feed("12345678");
        wanted += "12345678";
    }
    c.feed("\n");
    std::string all;
    for (const Line& line : c.lines) all += all.empty() ? line.text : line.text.substr(2);
    EXPECT_EQ(all, wanted);
}

TEST(Stream, WhatIsHeldShowsWhenTheModeEnds) {
    EXPECT_EQ(shown("a{t"), "a{t|");
    EXPECT_EQ(shown("{asis}\na{tmrk"), "a{tmrk|");
    // The held text starts a paragraph while the mode ends; its width goes with it.
    Collector c;
    c.feed("{a {p 0 0 20}b {c");
    EXPECT_EQ(c.text(), "{a |b {c||");
    EXPECT_EQ(c.s->width, 79);
}

TEST(Stream, ManyBracesAreText) {
    // Longer than what is held: each brace is told from its name alone.
    const std::string open(1500, '{');
    const std::string close(1500, '}');
    std::string all;
    Collector c(255);
    c.feed(open + "{it:x}" + close + "{c 65}\n").text();
    for (const Line& line : c.lines) all += all.empty() ? line.text : line.text.substr(2);
    EXPECT_EQ(all, open + "x" + close + "A");
}

TEST(Stream, LargeNumbersStayInBounds) {
    EXPECT_EQ(shown("{p2colset 255 256 9 2 0}\n"), "{p2colset 255 256 9 2 0}|");
    EXPECT_EQ(shown("{p2colset 1 9 9 2147483647 2147483647}{p2line 2147483647 2147483647}x\n"),
              "{p2line 2147483647 2147483647}x|");
    EXPECT_EQ(shown("{p2colset 10 30 9 0 99999999999}{p2coldent:a}b\n", 40),
              std::string(20, ' ') + "a        b||");
    EXPECT_EQ(shown("{p 0 0 99999999999}123456789 123456789 1\n", 40), "123456789 123456789|1||");
    EXPECT_EQ(shown("{hline -99999999999}{space 4294967296}\n"),
              "{hline -99999999999}{space 4294967296}|");
}

TEST(Stream, SplittingALineAnywhereChangesNothing) {
    const char* lines[] = {
        "plain {txt}text {res:result {it:nested}} and {hline 3}\n",
        "{help summarize:a link that is rather long and wraps over the end of the line} tail\n",
        "{right:flush}{col 10}x\n",
        "{c -(}{c )-}{c 0x41}{c TLC}{ul:under}{bf}bold{sf}\n",
        "{p 4 8 2}first second {bf:bold}face {help foo:linked words}s. Next!  And\n",
        "{pstd}one two three four five six seven eight nine ten eleven twelve thirteen fourteen.\n",
        "unclosed {it:brace\n",
        "{asis}{txt} as is {tmrk}\n",
        "tail{tmrk}\n",
    };
    for (const std::string line : lines) {
        Collector whole(50);
        whole.feed("{res}before\n").feed(line).feed("after\n");
        const std::string text = whole.text();
        for (size_t cut = 1; cut < line.size(); cut++) {
            Collector split(50);
            split.feed("{res}before\n")
                .feed(line.substr(0, cut))
                .feed(line.substr(cut))
                .feed("after\n");
            EXPECT_EQ(split.text(), text) << line << cut;
            EXPECT_EQ(split.lines, whole.lines) << line << cut;
        }
        Collector bytes(50);
        bytes.feed("{res}before\n");
        for (char b : line) bytes.feed({&b, 1});
        EXPECT_EQ(bytes.feed("after\n").text(), text);
    }
}

TEST(Stream, TheSequenceEndsAnyMode) {
    Collector c;
    c.feed("{asis}\n{txt}\n{it:x}{tmrk}\n{it:y}\n");
    // As-is text shows its braces; the line in progress ends where the mode does.
    EXPECT_EQ(c.text(), "{txt}|{it:x}{tmrk}|{it:y}|");
    Collector d;
    d.feed("{asis}\n{txt}{tm").feed("rk}\n").feed("{it:y}\n");
    EXPECT_EQ(d.text(), "{txt}|y|");
    Collector e;
    e.feed("a{tm").feed("b}c\n");
    EXPECT_EQ(e.text(), "a{tmb}c|");
}

TEST(Stream, LayoutDirectives) {
    EXPECT_EQ(shown("a{col 5}b{col 3}c{col 0}d\n"), "a   bcd|");
    EXPECT_EQ(shown("{col 7:ab}|\n"), "ababab||");
    EXPECT_EQ(shown("a{tab}b\tc\n"), "a       b       c|");
    EXPECT_EQ(shown("ab{space 3}c{dup 3:-}\n"), "ab   c---|");
    EXPECT_EQ(shown("{right:abc}\n", 40), std::string(37, ' ') + "abc|");
    EXPECT_EQ(shown("x{right:" + std::string(40, 'y') + "}\n", 40),
              "x|" + std::string(40, 'y') + "|");
    EXPECT_EQ(shown("{center:abc}\n", 40), std::string(18, ' ') + "abc|");
    EXPECT_EQ(shown("{rcenter:abc}\n", 40), std::string(19, ' ') + "abc|");
    EXPECT_EQ(shown("{center 6:abc}|{rcenter 6:abc}|\n"), " abc  |  abc ||");
    EXPECT_EQ(shown("{lalign 5:{it:ab}}|{ralign 5:{it:ab}}|{ralign 1:abc}\n"), "ab   |   ab|abc|");
    EXPECT_EQ(shown("ab{hline 3}{hline -30}\n", 40), "ab-----" + dashes(3) + "|");
    EXPECT_EQ(shown("ab{hline}\n", 40), "ab" + dashes(38) + "|");
    EXPECT_EQ(shown("a{.-}\nb\n", 40), "a|" + dashes(40) + "|b|");
    EXPECT_EQ(shown("{.-}\n", 40), dashes(40) + "|");
    EXPECT_EQ(shown("a{...}\nb{* comment {nested}}{break}c\n"), "ab|c|");
    EXPECT_EQ(shown("  {title:Ti{it:tle}}\n"), "  Title|  -----|");
    EXPECT_EQ(shown("{opt ab:brev(n, %f)}{cmdab:su:mmarize}{manhelp foo R}\n"),
              "abbrev(n, %f)summarize[R] foo|");
    EXPECT_EQ(shown("{ifin} {weight} {dtype} {depvars} {varname:_1}\n"),
              "[if] [in] [weight] [type] depvarlist varname_1|");
}

TEST(Stream, ADialogTabIsAFrameOnALine) {
    // A = 4, T = 4, B = 2, R = 40: the tail is 40 - 4 - 4 - 8 - 2 = 22.
    EXPECT_EQ(shown("{dlgtab:Main}\n", 40),
              "        \b------\a|      ----\5 Main \6" + dashes(22) + "|");
}

TEST(Stream, CharactersByName) {
    EXPECT_EQ(shown("{c 0x41}{c 0x4}{c 0x414}{c 256}{c 66}\n"), "A{c 0x4}{c 0x414}{c 256}B|");
    EXPECT_EQ(shown("{c -(}{c )-}{c S|}{c 'g}{c |}{c +}{char e'g}{c A:}\n"), "{}$`|+\xe8\xc4|");
    settings.charset = "mac";
    EXPECT_EQ(shown("{c e'g}{c A:}\n"), "\x8f\x80|");
    settings.charset = "latin1";
    Collector c;
    c.feed("a{c TLC}b\n");
    EXPECT_EQ(
        c.lines[0].runs,
        (std::vector<StyleRun>{{kStyleText, 1}, {kStyleText | kStyleGraphic, 2}, {kStyleText, 3}}));
}

TEST(Stream, StylesComeAndGo) {
    Collector c;
    c.feed("{res}a{bf:b{err:c}}{ul on}d{ul off}{reset}e{helpb x}\n");
    EXPECT_EQ(c.lines[0].runs, (std::vector<StyleRun>{{kStyleResult, 1},
                                                      {kStyleResult | kStyleBold, 2},
                                                      {kStyleError | kStyleBold, 3},
                                                      {kStyleResult | kStyleUnderline, 4},
                                                      {kStyleText, 5},
                                                      {kStyleLink | kStyleBold, 6}}));
}

TEST(Stream, LinksStandInTheTable) {
    Collector c;
    c.feed(
        "see {help regress##opts:the help}, {browse \"http://x.y\":there} or {korva di 1:run}\n");
    EXPECT_EQ(c.lines[0].text, "see the help, there or run");
    EXPECT_EQ(c.lines[0].links,
              (std::vector<Link>{
                  {4, 12, 12, "regress##opts"}, {14, 19, 9, "http://x.y"}, {23, 26, 21, "di 1"}}));
    EXPECT_EQ(shown("{help}{help x:  }{back y:z}{help a:{help b}}{back:b}\n"),
              "{help}{help x:  }{back y:z}{help b}b|");
}

TEST(Stream, ALinkThatWrapsHasOneEntryALine) {
    Collector c(40);
    c.feed("{help t:" + std::string(45, 'x') + "}y\n");
    ASSERT_EQ(c.lines.size(), 2u);
    EXPECT_EQ(c.lines[0].links, (std::vector<Link>{{0, 40, 12, "t"}}));
    EXPECT_EQ(c.lines[1].text, "> xxxxxy");
    EXPECT_EQ(c.lines[1].links, (std::vector<Link>{{0, 7, 12, "t"}}));
}

TEST(Stream, TheLinkTableRefusesWhatDoesNotFit) {
    const std::string args(240, 'a');
    const std::string link = "{help " + args + ":x}";
    Collector c(255);
    c.feed(link + link + link + link + "\n");
    ASSERT_GE(c.lines.size(), 1u);
    EXPECT_EQ(c.lines[0].links.size(), 3u);  // 1 + 3 * 245 bytes; a fourth would pass 765
    EXPECT_EQ(shown("{help " + std::string(255, 'a') + ":x}\n", 255).substr(0, 6), "{help ");
}

TEST(Stream, MarkersAreAnchors) {
    Collector c;
    c.feed("{marker one}{marker two}{newpage}x\ny\n");
    EXPECT_EQ(c.lines[0].anchors, (std::vector<std::string>{"one", "two", "\f"}));
    EXPECT_TRUE(c.lines[1].anchors.empty());
    Collector d;
    d.feed("{marker top}{p 2 2}word\n\n");
    EXPECT_EQ(d.lines[0].anchors, std::vector<std::string>{"top"});
    Collector e;
    e.feed("{p}{marker top}{p 2 2}word\n\n");
    ASSERT_GE(e.lines.size(), 2u);
    EXPECT_EQ(e.lines[1].anchors, std::vector<std::string>{"top"});
}

TEST(Stream, ParagraphsFillLines) {
    const std::string words = "aaaa bbbb cccc dddd eeee ffff gggg hhhh iiii jjjj\n";
    EXPECT_EQ(shown("{p}" + words, 40), "aaaa bbbb cccc dddd eeee ffff gggg hhhh|iiii jjjj||");
    EXPECT_EQ(shown("{p 2 4 6}" + words, 40),
              "  aaaa bbbb cccc dddd eeee ffff|    gggg hhhh iiii jjjj||");
    EXPECT_EQ(shown("{p}a\nb\n\nc\n"), "a b||c|");
    EXPECT_EQ(shown("{p}a{p_end}\nb\n"), "a|b|");
    EXPECT_EQ(shown("{p 200 0 0}x\n"), std::string(59, ' ') + "x||");
    EXPECT_EQ(shown("{p}{bf:bold}face {it:a} b{break}c\n"), "boldface a b|c||");
    EXPECT_EQ(
        shown("{p 0 0 0}abc {bind:" + std::string(20, 'x') + " " + std::string(20, 'y') + "}\n",
              43),
        "abc|" + std::string(20, 'x') + " " + std::string(20, 'y') + "||");
    EXPECT_EQ(shown("{p}{it unclosed\nb\n\nc\n"), "{it unclosed b||c|");
    EXPECT_EQ(shown("{p 1 2 3 4}\n"), "{p 1 2 3 4}|");
    EXPECT_EQ(shown("{p 256}\n"), "{p 256}|");
}

TEST(Stream, SentencesKeepTwoSpaces) {
    EXPECT_EQ(shown("{p}One.  Two. Three.\nFour,  five\n"), "One.  Two. Three.  Four, five||");
    // Width 40: "Two" would end at 41.
    EXPECT_EQ(shown("{p}" + std::string(35, 'x') + ".  Two\n", 40),
              std::string(35, 'x') + ".|Two||");
}

TEST(Stream, ParagraphLinesTellThatTheyContinue) {
    Collector c(40);
    c.feed("{p}" + std::string(30, 'x') + " " + std::string(30, 'y') + "\n\nz\n");
    ASSERT_EQ(c.lines.size(), 4u);
    EXPECT_FALSE(c.lines[0].continued);
    EXPECT_TRUE(c.lines[1].continued);
    EXPECT_FALSE(c.lines[3].continued);
}

TEST(Stream, ParagraphLinksBeginWhereTheyFit) {
    Collector c(40);
    c.feed("{p}" + std::string(36, 'x') + " {help t:link text}s end\n\n");
    ASSERT_GE(c.lines.size(), 2u);
    EXPECT_TRUE(c.lines[0].links.empty());
    EXPECT_EQ(c.lines[1].text, "link texts end");
    EXPECT_EQ(c.lines[1].links, (std::vector<Link>{{0, 9, 12, "t"}}));
}

TEST(Stream, WhatTouchesALinkGoesAlong) {
    Collector c(40);
    c.feed("{p}" + std::string(35, 'x') + " ({help t:link text}) ({bind:{help u:a b}})\n\n");
    ASSERT_GE(c.lines.size(), 2u);
    EXPECT_EQ(c.lines[1].text, "(link text) (a b)");
    EXPECT_EQ(c.lines[1].links, (std::vector<Link>{{1, 10, 12, "t"}, {13, 16, 12, "u"}}));
    Collector d(40);  // 36, a blank and "(a" would fit; bound, "(a b" does not
    d.feed("{p}" + std::string(36, 'x') + " ({bind:{help u:a b}})\n\n");
    EXPECT_EQ(d.lines[1].text, "(a b)");
}

// A word of 255 bytes waits, a longer one is placed as it comes: on a line of its own, cut at the
// width, whatever the pieces. One blank follows it, also behind a full stop.
TEST(Stream, AWordTooLongToWaitIsCutTheSameFromAnyPieces) {
    const std::string word(299, 'w');
    const std::string wanted = "ab|" + word.substr(0, 79) + "|> " + word.substr(0, 77) + "|> " +
                               word.substr(0, 77) + "|> " + word.substr(0, 66) + ". cd||";
    for (size_t step : {1u, 100u, 160u, 254u, 255u, 256u, 400u}) {
        Collector c;
        c.feed("{p}ab ");
        const std::string text = word + ".  cd\n";
        for (size_t at = 0; at < text.size(); at += step) c.feed(text.substr(at, step));
        EXPECT_EQ(c.text(), wanted) << step;
    }
    Collector c;  // a link in it stays where it is
    c.feed("{p}" + word + "{help t:go}x {help u:on}\n");
    c.text();
    ASSERT_EQ(c.lines.size(), 5u);
    EXPECT_EQ(c.lines[3].links, (std::vector<Link>{{68, 70, 12, "t"}, {72, 74, 12, "u"}}));
}

// Scanning for the end of each open brace would take minutes here.
TEST(Stream, ALongTextOfOpenBracesIsQuick) {
    std::string text;
    for (int i = 0; i < 20000; i++) text += "{it:{bf:x}";
    Collector c(255);
    c.feed(text + "{res:y}\n{p}\n");
    size_t open = 0;
    for (const Line& line : c.lines) {
        for (char byte : line.text) open += byte == '{';
    }
    EXPECT_EQ(open, 20000u);
    std::string lines = "{p}\n";
    for (int i = 0; i < 20000; i++) lines += "{\n";
    c.feed(lines);
}

TEST(Stream, ArgumentsThatTheGrammarRefuses) {
    const char*
        text = "{p +4}{p 4 -1}{opt:ab}{manhelp :x y}{marker}{synoptset 247}{hline x}{ul}{*}";
    EXPECT_EQ(shown(std::string(text) + "\n", 120), std::string(text) + "|");
    EXPECT_EQ(shown("{hline +2}{hline -77}{synoptset 246 tabbed}{* +}{col -4}|\n"), "--||");
}

TEST(Stream, APartialParagraphLineTellsThatItContinues) {
    Collector c(40);
    c.feed("{p}" + std::string(30, 'x') + " " + std::string(30, 'y') + " z");
    out_stream_flush(c.s);
    ASSERT_EQ(c.partial.size(), 1u);
    EXPECT_EQ(c.partial[0].text, std::string(30, 'y'));
    EXPECT_TRUE(c.partial[0].continued);
}

TEST(Record, ReadersAnswerAPointer) {
    struct Last {
        uint8_t record[kMaxRecordBytes];
    } last;
    Collector c;
    out_stream_set_sink(
        c.s,
        [](void* to, const uint8_t* record, int code) {
            if (code != kSinkLine && code != kSinkPartial) return 0;
            memcpy(to, record, size_t(record_length(record)));
            return 0;
        },
        &last);
    c.feed("a {help x y:link}{back:b} {marker m}c\n");
    RecordLink link;
    EXPECT_FALSE(link_at(last.record, 1, &link));
    ASSERT_TRUE(link_at(last.record, 5, &link));
    EXPECT_EQ(link.kind, 12);
    EXPECT_STREQ(link.argument, "x y");
    EXPECT_STREQ(link_hint(link.kind), "help %s");
    ASSERT_TRUE(link_at(last.record, 6, &link));
    EXPECT_STREQ(link_hint(link.kind), "back");
    EXPECT_STREQ(link_hint(27), "");
    EXPECT_STREQ(record_anchors(last.record), "m");
    out_stream_set_mode(c.s, kModeOldHelp);
    open_link(c.s, 26, "");
    c.feed("");
    place_text(c.s, "text", kStyleLink);
    out_stream_flush(c.s);  // the link is open: it reaches to the end of what there is
    ASSERT_TRUE(link_at(last.record, 3, &link));
    EXPECT_EQ(link.end, 4);
    EXPECT_STREQ(link_hint(link.kind), "dialog (Internet Preferences)");
    out_stream_set_sink(c.s, Collector::take, &c);
}

// Byte for byte: lengths, positions, table, anchors, runs, text.
TEST(Record, HasItsBytes) {
    std::string bytes;
    {
        Collector c;
        out_stream_set_sink(
            c.s,
            [](void* to, const uint8_t* record, int code) {
                if (code == kSinkLine) {
                    static_cast<std::string*>(to)->assign(reinterpret_cast<const char*>(record),
                                                          size_t(record_length(record)));
                }
                return 0;
            },
            &bytes);
        c.feed("{marker m}a{net x:b}{c TLC}\n");
        out_stream_set_sink(c.s, Collector::take, &c);
    }
    const std::string_view wanted(
        "\x22\0\x13\0\x16\0\x1e\0\0\x04"  // 34 bytes; anchors at 19, runs at 22, text at 30
        "\x01\x01\x02\x0f\x02x\0\0\0"     // one link: columns 1 to 2, kind 15, "x"
        "m\0\0"
        "\x02\0\x02\x01\x06\x02\x82\x03",
        10 + 9 + 3 + 8);
    EXPECT_EQ(bytes, std::string(wanted) + std::string("ab\b\0", 4));
}

TEST(Stream, TwoColumns) {
    EXPECT_EQ(
        shown("{p2colset 3 10 12 0}{p2col:ab}text{p_end}\n{p2col:too long here}text{p_end}\n"),
        "  ab     text|  too long here|           text|");
    EXPECT_EQ(shown("{synoptset 8}{synopt:{opt n:oisy}}loud{p_end}\n{synoptline}\n", 40),
              "    noisy     loud|    " + dashes(34) + "|");
    EXPECT_EQ(shown("{p2colset 10 5 12 0}\n"), "{p2colset 10 5 12 0}|");
}

TEST(Stream, OldHelp) {
    EXPECT_EQ(shown("{k6hlp}\n.-\n^hi^ a^^b @help foo:see@ @bar@ x@@y\n.\n", 40),
              dashes(40) + "|hi a^b see bar x@y|");
    Collector c;
    c.feed("{k6hlp}\n@net cd x:go@ @bar@\n");
    EXPECT_EQ(c.lines[0].links, (std::vector<Link>{{0, 2, 15, "cd x"}, {3, 6, 12, "bar"}}));
    // A line as long as is taken at a time ends once, wherever it is cut.
    for (size_t length : {1022u, 1023u, 1024u, 1025u, 2046u, 2047u}) {
        const std::string line(length, 'x');
        Collector whole;
        Collector split;
        whole.feed("{k6hlp}\n").feed(line + "\nend\n");
        split.feed("{k6hlp}\n").feed(line.substr(0, 700)).feed(line.substr(700)).feed("\nend\n");
        EXPECT_EQ(whole.text(), split.text()) << length;
        size_t empty = 0;
        for (const Line& l : whole.lines) empty += l.text.empty();
        EXPECT_EQ(empty, 0u) << length;
    }
}

TEST(Stream, FlushSendsTheLineSoFar) {
    Collector c;
    c.feed("abc");
    out_stream_flush(c.s);
    ASSERT_EQ(c.partial.size(), 1u);
    EXPECT_EQ(c.partial[0].text, "abc");
    c.feed("d\n");
    EXPECT_EQ(c.lines[0].text, "abcd");
}

TEST(Stream, PagesPauseAndStop) {
    Collector c;
    c.s->page_lines = 3;
    c.s->more_enabled = 1;
    for (int i = 0; i < 7; i++) c.feed("x\n");
    EXPECT_EQ(c.pauses, 2);
    c.key = 'l';
    c.feed("x\nx\n");  // the second fills the page, and then each line does
    EXPECT_EQ(c.pauses, 3);
    c.key = 'q';
    c.feed("x\n");
    EXPECT_EQ(c.pauses, 4);
    EXPECT_NE(session.BreakFlag, 0);
    session.BreakFlag = 0;
    c.s->more_enabled = 0;
}

TEST(Stream, FileNewlinesOfAllKinds) {
    Collector c;
    uint8_t state = 0;
    out_raw_newlines(&state, c.s, "a\rb\r\nc\r");
    out_raw_newlines(&state, c.s, "\nd{it:e}\n");
    out_literal_newlines(&state, c.s, "{it:f}\r\r");
    EXPECT_EQ(c.text(), "a|b|c|de|{it:f}||");
    Collector d;  // blanks ahead of a CR LF make an empty line, which ends a paragraph
    out_raw_newlines(&state, d.s, "{p}\r\na\r\n  \r\nb\r\n" + std::string(2000, 'x') + "\r\n");
    EXPECT_EQ(d.text().substr(0, 6), "a||b|x");
}

std::string contents(FILE* file) {
    std::string text;
    rewind(file);
    for (int c; (c = fgetc(file)) != EOF;) text += char(c);
    return text;
}

TEST(StreamLogs, MarkupLogsHoldTheSourceAndTextLogsTheLines) {
    FILE* markup = tmpfile();
    FILE* text = tmpfile();
    {
        Collector c(40);
        ASSERT_TRUE(out_log_attach(c.s, fileno(markup), LogOp::Add));
        ASSERT_TRUE(out_text_log_attach(c.s, fileno(text), LogOp::Add));
        c.feed("{res}{hline 3}{c TLC}\n").feed(std::string(42, 'x') + "\n");
        out_literal(c.s, "{}\n");
        ASSERT_TRUE(out_log_attach(c.s, fileno(markup), LogOp::Remove));
        EXPECT_FALSE(out_log_attach(c.s, fileno(markup), LogOp::Remove));
        c.feed("late\n");
    }
    EXPECT_EQ(contents(markup), "{tmrk}\r\n{txt}{sf}{ul off}{res}{hline 3}{c TLC}\r\n" +
                                    std::string(42, 'x') +
                                    "\r\n{c -(}{c )-}\r\n{tmrk}\r\n{res}{sf}{ul off}");
    EXPECT_EQ(contents(text), "---+\r\n" + std::string(40, 'x') + "\r\n> xx\r\n{}\r\nlate\r\n");
    fclose(markup);
    fclose(text);
}

TEST(StreamLogs, APreambleTellsTheParagraph) {
    FILE* file = tmpfile();
    {
        Collector c;
        c.feed("{p 4 8 2}word ");
        ASSERT_TRUE(out_log_attach(c.s, fileno(file), LogOp::Add));
    }
    EXPECT_EQ(contents(file).substr(0, 40), "{tmrk}\r\n{txt}{sf}{ul off}{p 8 8 2}\r\n");
    fclose(file);
    file = tmpfile();
    {
        Collector c;
        c.feed("{p 4 4}{err}");  // an indent is no text: the style is the one in force
        ASSERT_TRUE(out_log_attach(c.s, fileno(file), LogOp::Add));
    }
    EXPECT_EQ(contents(file).substr(0, 13), "{tmrk}\r\n{err}");
    fclose(file);
}

TEST(StreamLogs, AFileThatIsThereIsNotAddedAgain) {
    FILE* file = tmpfile();
    FILE* full = fopen("/dev/full", "w");
    {
        Collector c;
        ASSERT_TRUE(out_log_attach(c.s, fileno(file), LogOp::Add));
        ASSERT_TRUE(out_log_attach(c.s, fileno(file), LogOp::Add));
        EXPECT_EQ(c.s->tmrk_logs.count, 1u);
        if (full != nullptr) {  // its preamble comes up short
            ASSERT_TRUE(out_log_attach(c.s, fileno(full), LogOp::Add));
            EXPECT_FALSE(log_is_alive(c.s->tmrk_logs, fileno(full)));
        }
    }
    EXPECT_EQ(contents(file), "{tmrk}\r\n{txt}{sf}{ul off}");
    if (full != nullptr) fclose(full);
    fclose(file);
}

TEST(StreamLogs, ADeadFileLeavesTheOthersAlone) {
    FILE* file = tmpfile();
    const int closed = dup(fileno(file));
    {
        Collector c;
        ASSERT_TRUE(out_text_log_attach(c.s, closed, LogOp::Add));
        ASSERT_TRUE(out_text_log_attach(c.s, fileno(file), LogOp::Add));
        for (int fd = 900; fd < 903; fd++) EXPECT_TRUE(out_text_log_attach(c.s, fd, LogOp::Add));
        EXPECT_FALSE(out_text_log_attach(c.s, 999, LogOp::Add));  // five are the most
        close(closed);
        std::string wanted;
        for (int i = 0; i < 100; i++) {  // more than the buffer holds
            c.feed("a line of text\n");
            wanted += "a line of text\r\n";
        }
        out_stream_flush(c.s);
        EXPECT_EQ(contents(file), wanted);
    }
    fclose(file);
}

}  // namespace
}  // namespace korva
