// core/frontend_default.cpp - the front end of an engine that has none: nothing to read, nothing
// shown.
#include "frontend/frontend.h"

namespace korva {

FrontEnd frontend = {
    .ReadKey = [] { return kKeyEndOfInput; },
    .PumpMessages = [] {},
    .InputWaits = [] { return false; },
    .QueueText = [](const char*) {},
    .QueueKey = [](int) {},
    .SetBusy = [](bool) {},
    .ShowNote = [](const char*) {},
    .ShowMainWindow = [] {},
    .HideMainWindow = [] {},
    .MinimizeMainWindow = [] {},
    .FocusCommandWindow = [] {},
    .SetTitle = [](const char*) {},
    .AddToReview = [](const char*) {},
    .ShowPrompt = [](const char*) {},
    .WaitForMoreKey = [] { return int(' '); },
    .ResultsSink = [](const unsigned char*, int) {},
    .RefreshVariablesWindow = [] {},
    .SavePreferences = [] {},
    .ShowLogStatus = [](const char*) {},
    .shows_typed_text = false,
};

}  // namespace korva
