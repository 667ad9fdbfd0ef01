// core/user_terminal.cpp - what a front end with a terminal asks of the engine.
#include <algorithm>
#include <cstdint>
#include <string>

#include "core/macro.h"
#include "core/print.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/settings_file.h"
#include "frontend/frontend.h"

namespace korva {

namespace {

constexpr int kLeastLinesize = 40;  // the bounds of -set linesize-
constexpr int kMostLinesize = 255;
constexpr int kMostPagesize = 32000;

}  // namespace

bool StatementGoesOn() {
    return session.UserIdle == 0;
}

std::string FunctionKeyText(int key) {
    return std::string(MacroValue("F" + std::to_string(key)));
}

std::string HistoryPath() {
    const std::string directory = MakeSettingsDirectory();
    return directory.empty() ? directory : directory + "/history";
}

void FitWindow(int columns, int rows) {
    if (columns > 0 && !settings.linesize_given) {
        const int linesize = std::clamp(columns, kLeastLinesize, kMostLinesize);
        if (linesize != settings.linesize) SetResultsWidth(linesize);
        settings.linesize = linesize;
    }
    // The line of the pause stands below the page.
    if (rows > 1 && !settings.pagesize_given) {
        const int pagesize = std::min(rows - 1, kMostPagesize);
        if (pagesize == settings.pagesize) return;
        settings.pagesize = pagesize;
        SetResultsPaging(settings.pagesize, settings.more && !session.BatchMode);
    }
}

}  // namespace korva
