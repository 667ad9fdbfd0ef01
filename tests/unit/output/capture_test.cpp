// Capture: everything printed goes to its sink, and the session is afterwards as it was.
#include "output/capture.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/print.h"
#include "core/scanner.h"
#include "core/session.h"
#include "output/results.h"
#include "unit/output/collector.h"

namespace korva {
namespace {

TEST(Capture, TakesAllOutputAndPutsEverythingBack) {
    test::Collector around;
    out_set_current(around.s);
    session.OutputThreshold = kThresholdQuiet;
    session.MessageLevel = kLevelResult;
    session.BreakFlag = 0;
    char line[] = "first second";
    SetScanPointer(line);
    NextToken();
    std::vector<test::Line> lines;
    const auto collect = [](void* data, const uint8_t* record, int code) {
        auto* to = static_cast<std::vector<test::Line>*>(data);
        if (code == kSinkLine) to->push_back(test::read_record(record));
        return 0;
    };
    {
        ASSERT_EQ(capture_begin(collect, &lines, 40), 0);
        CaptureGuard guard;
        EXPECT_TRUE(capture_active());
        out_text("shown");
        out_tmrk("{title:T}");
        char other[] = "else";
        SetScanPointer(other);
        session.BreakFlag = 1;
        session.OutputThreshold = kThresholdCapture;
        EXPECT_EQ(capture_begin(collect, &lines, 40), 119);
    }
    EXPECT_FALSE(capture_active());
    EXPECT_EQ(print_state.current, around.s);
    EXPECT_EQ(session.OutputThreshold, kThresholdQuiet);
    EXPECT_EQ(session.MessageLevel, kLevelResult);
    EXPECT_EQ(session.BreakFlag, 0);
    EXPECT_STREQ(NextToken(), "second");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "shownT");
    EXPECT_EQ(lines[0].runs, (std::vector<test::StyleRun>{
                                 {kStyleText, 5}, {kStyleText | kStyleBold | kStyleUnderline, 6}}));
    EXPECT_TRUE(around.lines.empty());
    session.OutputThreshold = kThresholdNormal;
    session.MessageLevel = kLevelText;
    out_set_current(nullptr);
}

}  // namespace
}  // namespace korva
