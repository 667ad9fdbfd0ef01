// The primitives: what shows at which threshold, and what style reaches the stream.
#include "core/print.h"

#include <gtest/gtest.h>

#include <string>

#include "core/session.h"
#include "frontend/frontend.h"
#include "output/results.h"
#include "unit/output/collector.h"

namespace korva {
namespace {

struct Print : testing::Test {
    test::Collector collector;
    OutputStream* before = out_set_current(collector.s);
    uint8_t level = session.MessageLevel;
    uint8_t threshold = session.OutputThreshold;

    Print() {
        session.MessageLevel = kLevelResult;
        session.OutputThreshold = kThresholdNormal;
    }
    ~Print() override {
        out_set_current(before);
        session.MessageLevel = level;
        session.OutputThreshold = threshold;
    }
};

TEST_F(Print, QuietDropsAllButErrorsAndInput) {
    session.OutputThreshold = kThresholdQuiet;
    session.MessageLevel = kLevelText;
    out_text("text\n");
    out_tmrk("{res}mark-up\n");
    out_textf("%d\n", 1);
    out_error("fault\n");
    EXPECT_EQ(session.MessageLevel, kLevelError);
    session.OutputThreshold = kThresholdCapture;
    out_error("more\n");
    EXPECT_EQ(collector.text(), "fault|");
}

TEST_F(Print, PagedInputShowsUnderQuietly) {
    session.OutputThreshold = kThresholdQuiet;
    out_page_text("text\n");
    out_page_input("typed\n");
    session.OutputThreshold = kThresholdCapture;
    out_page_input("more\n");
    EXPECT_EQ(session.MessageLevel, kLevelResult);
    EXPECT_EQ(collector.text(), "typed|");
}

TEST_F(Print, LiteralTextKeepsItsBraces) {
    out_text("{res}a} {\n");
    out_tmrk("{c 65}\n");
    EXPECT_EQ(collector.text(), "{res}a} {|A|");
}

TEST_F(Print, StyleFollowsTheKind) {
    out_text("r");
    session.MessageLevel = kLevelText2;
    out_text("t");
    session.MessageLevel = kLevelInput;
    out_text("i\n");
    EXPECT_EQ(collector.lines[0].runs,
              (std::vector<test::StyleRun>{{kStyleResult, 1}, {kStyleText, 2}, {kStyleInput, 3}}));
}

TEST_F(Print, AnErrorEndsWhatWasLeftOpen) {
    out_tmrk("{p 4 4}words in a paragraph");
    out_error("fault\n");
    EXPECT_EQ(collector.text(), "    words in a paragraph||fault|");
}

TEST_F(Print, FillsAndNumbers) {
    out_fill('=', 3);
    out_fill('=', -1);
    out_spaces(2);
    out_int(-12);
    out_repeat("ab", 2);
    out_text_pad("x", 3);
    out_char('y');
    fmt_number("%5.1f", 2.25);
    out_buffer();
    out_newline();
    EXPECT_EQ(collector.text(), "===  -12ababx   y  2.3|");
    out_set_current(collector.s);
    const size_t lines = collector.lines.size();
    out_textf("%s\n", std::string(5000, 'z').c_str());
    size_t count = 0;
    for (size_t i = lines; i < collector.lines.size(); i++) {
        for (char c : collector.lines[i].text) count += c == 'z';
    }
    EXPECT_EQ(count, 5000u);
}

TEST_F(Print, AnEchoThatTheTerminalHasShownLosesNothing) {
    OutputStream* results = print_state.results;
    print_state.results = collector.s;
    out_text("abc");
    out_flush();
    out_echo_to_logs(". ");
    out_echo_to_logs("command");
    EXPECT_EQ(collector.partial.size(), 1u);
    out_echo_to_logs("\n");
    // The sink hears that the line it has seen begin is over; the echo itself it never gets.
    ASSERT_EQ(collector.partial.size(), 2u);
    EXPECT_EQ(collector.partial[1].text, "");
    EXPECT_TRUE(collector.lines.empty());
    out_tmrk("{p}one two");  // the last word waits
    out_echo_to_logs("\n");
    out_tmrk("{it:held");
    out_echo_to_logs("\n");
    out_tmrk("x{...}");  // would join the echo to what follows
    out_echo_to_logs("\n");
    out_text("def\n");
    print_state.results = results;
    EXPECT_EQ(collector.text(), "one two||{it:held|def|");
}

int guard_at_pause = -1;

TEST(Results, NoEventStartsACommandDuringAPause) {
    ASSERT_EQ(print_state.results, nullptr);
    const FrontEnd before = frontend;
    frontend.WaitForMoreKey = [] {
        guard_at_pause = session.PollGuard;
        return int('q');
    };
    ASSERT_TRUE(OpenResultsStream());
    SetResultsPaging(1, true);
    session.OutputThreshold = kThresholdNormal;
    EXPECT_EQ(out_text("line\n"), kBreak);
    EXPECT_EQ(guard_at_pause, 1);
    EXPECT_EQ(session.PollGuard, 0);
    session.BreakFlag = 0;
    frontend = before;
    CloseResultsStream();
}

TEST_F(Print, EveryPrintTellsOfABreak) {
    session.BreakFlag = 1;
    EXPECT_EQ(out_text("x"), kBreak);
    session.OutputThreshold = kThresholdCapture;
    EXPECT_EQ(out_tmrk("x"), kBreak);
    session.BreakFlag = 0;
    EXPECT_EQ(out_newline(), 0);
}

}  // namespace
}  // namespace korva
