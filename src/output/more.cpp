// output/more.cpp - the command that pauses where its program wants it.
#include "core/commands.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/upcalls.h"
#include "output/results.h"
#include "output/stream.h"

namespace korva {

// more: the pause of a full page. It does nothing where `set more` is off and in a batch run.
ReturnCode CmdMore(int) {
    NextToken();
    if (!TokenIsEmpty()) return ReportInvalidSyntax();
    if (ByActive()) return ReportError(190);
    if (print_state.current != nullptr) out_more_pause(print_state.current);
    return session.BreakFlag ? kBreak : 0;
}

}  // namespace korva
