// tests/unit/core/engine_fixture.h - the engine's tables for a test, and lines run through macros.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

#include "core/macro.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/store.h"

namespace korva {

// Tables for the smallest maxvar, an empty store, and no output: tests look at codes and values.
class EngineTest : public ::testing::Test {
protected:
    static constexpr int kMaxvar = 2048;

    void SetUp() override {
        StoreClear();
        macros = {};
        ASSERT_TRUE(StartEngineTables(kMaxvar, 1 << 20));
        session.OutputThreshold = kThresholdCapture;
    }

    void TearDown() override {
        StoreClear();
        macros = {};
        EndEngineTables();
        session.OutputThreshold = kThresholdNormal;
        session.MessageLevel = 0;
        session.version = kCurrentVersion;
        session.ExecuteFlag = 1;
        session.BreakFlag = 0;
    }

    // Puts the text into the console line, the scanner at its start.
    static void set_line(std::string_view text) {
        ASSERT_LT(text.size(), size_t(session.conslen));
        std::memcpy(session.ConsoleBuffer, text.data(), text.size());
        session.ConsoleBuffer[text.size()] = 0;
        SetScanPointer(session.ConsoleBuffer);
    }

    // The line with its macros replaced.
    static std::string expanded(std::string_view text) {
        set_line(text);
        EXPECT_EQ(ExpandMacros(), 0) << text;
        return session.ConsoleBuffer;
    }

    // Runs a command's handler on what stands behind its word.
    template <typename Handler>
    static ReturnCode run(Handler handler, int argument, std::string_view text) {
        set_line(text);
        return handler(argument);
    }
};

}  // namespace korva
