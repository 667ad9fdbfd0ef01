// data/debug.cpp - debug: the checked recast that the recast command stands on, and a look at the
// invariants.
//
// Every value of every variable is tried before the first one changes. Without force a value that
// would not come back as it was refuses them all.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "core/commands.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/words.h"
#include "data/cells.h"
#include "data/expression.h"
#include "data/skeleton.h"

namespace korva {

namespace {

constexpr ReturnCode kWouldLose = 459;

// Numbers of the block that a cell of the type does not give back.
int numbers_lost(StorageType type, const double* values, int n) {
    int lost = 0;
    uint8_t cell[sizeof(double)];
    for (int k = 0; k < n; k++) {
        write_cell(type, cell, values[k]);
        lost += read_cell(type, cell) != values[k];
    }
    return lost;
}

// Values of the variable that would not be the same in the other type.
ReturnCode count_losses(int var, StorageType type, int64_t* lost) {
    double values[kBlockObs];
    const bool texts = type_is_string(type);
    for (int64_t obs = 1; obs <= dataset.nobs; obs += kBlockObs) {
        Poll(1);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(kBlockObs, dataset.nobs - obs + 1));
        if (texts) {
            for (int k = 0; k < n; k++) *lost += cell_text(var, int(obs) + k).size() > type;
        } else {
            gather(var, int(obs), n, values);
            *lost += numbers_lost(type, values, n);
        }
    }
    return 0;
}

ReturnCode parse_type(StorageType* type) {
    NextToken();
    if (TokenIsEmpty()) return ReportRequired("type");
    bool automatic = false;
    *type = type_from_name(scanner.TokenBuffer, &automatic);
    return *type == 0 || automatic ? ReportInvalid("type") : 0;
}

ReturnCode refuse(const std::vector<int64_t>& losses) {
    for (size_t i = 0; i < losses.size(); i++) {
        if (losses[i] == 0) continue;
        out_errorf("%s: %lld value%s would change; not recast\n",
                   dataset.names[skeleton.varlist[i] - 1], static_cast<long long>(losses[i]),
                   PluralEnd(losses[i]));
    }
    return kWouldLose;
}

void say_lost(const std::vector<int64_t>& losses) {
    const LevelGuard level(kLevelText);
    for (size_t i = 0; i < losses.size(); i++) {
        if (losses[i] == 0) continue;
        out_textf("%s: %lld value%s changed\n", dataset.names[skeleton.varlist[i] - 1],
                  static_cast<long long>(losses[i]), PluralEnd(losses[i]));
    }
}

// recast type varlist [, force]
ReturnCode recast_checked() {
    StorageType type = 0;
    if (ReturnCode rc = parse_type(&type)) return rc;
    skeleton.permit.by_allowed = false;
    skeleton.permit.varlist = kRequired;
    skeleton.permit.using_file = kForbidden;
    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    const bool force = option_present("force", 5, false);
    if (ReturnCode rc = options_done()) return rc;
    for (int32_t var : skeleton.varlist) {
        if (type_is_string(dataset.types[var - 1]) != type_is_string(type)) return ReportError(109);
    }

    std::vector<int64_t> losses(skeleton.varlist.size(), 0);
    bool any = false;
    for (size_t i = 0; i < losses.size(); i++) {
        if (ReturnCode rc = count_losses(skeleton.varlist[i], type, &losses[i])) return rc;
        any |= losses[i] > 0;
    }
    if (any && !force) return refuse(losses);
    if (ReturnCode rc = recast_variables(skeleton.varlist, type)) return rc;
    for (size_t i = 0; i < losses.size(); i++) {
        if (losses[i] > 0) forget_sort_from(skeleton.varlist[i]);
    }
    say_lost(losses);
    return 0;
}

ReturnCode check_store() {
    if (ReturnCode rc = ExpectEnd(0)) return rc;
    const std::string fault = check_dataset();
    if (fault.empty()) return 0;
    out_error("dataset: " + fault + "\n");
#ifdef KORVA_STRESS
    std::abort();  // an operation that failed has left damage: the run must not pass for good
#endif
    return 9;
}

}  // namespace

// debug recast type varlist [, force]: what recast stands on.
// debug tsset ...: what tsset stands on (data/tsset.cpp).
// debug check: the dataset's invariants, for test scripts; 9 with words if one does not hold.
ReturnCode CmdDebug(int) {
    NextToken();
    if (TokenIs("recast")) return recast_checked();
    if (TokenIs("check")) return check_store();
    if (TokenIs("tsset")) return set_time();
    return ReportInvalidSyntax();
}

}  // namespace korva
