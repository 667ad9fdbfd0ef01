// data/compress.cpp - compress: the narrowest storage type that holds every value.
//
// The columns are only read until all new types are known. Then one pass over the rows makes them,
// in place: it needs no memory and cannot fail, so that a break or an error finds the data as they
// were.
#include <algorithm>
#include <cmath>
#include <vector>

#include "core/commands.h"
#include "core/missing.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "data/cells.h"
#include "data/expression.h"
#include "data/skeleton.h"

namespace korva {

namespace {

// Whole numbers that a type holds, missing values left out.
struct WholeRange {
    StorageType type;
    double least;
    double most;
};
constexpr WholeRange kWholeRanges[] = {
    {kByte, -127, 100},
    {kInt, -32767, 32740},
    {kLong, -2147483647.0, 2147483620.0},
};

// What is known of a column's numbers.
struct Extent {
    double least = 0;
    double most = 0;
    bool whole = true;  // no fraction
};

void extend(Extent* extent, const double* values, int n) {
    for (int k = 0; k < n; k++) {
        const double x = values[k];
        if (is_missing(x)) continue;
        extent->least = std::min(extent->least, x);
        extent->most = std::max(extent->most, x);
        extent->whole &= x == std::trunc(x);
    }
}

// The narrowest type for the extent: the present one if no narrower does. Meant: a double never
// becomes a float, and a float no long, which is as wide.
StorageType narrowest_type(const Extent& extent, StorageType type) {
    if (!extent.whole) return type;
    for (const WholeRange& range : kWholeRanges) {
        if (type_width(range.type) >= type_width(type)) break;
        if (extent.least >= range.least && extent.most <= range.most) return range.type;
    }
    return type;
}

ReturnCode narrowest_number(int var, StorageType* type) {
    const StorageType present = *type;
    Extent extent;
    double values[kBlockObs];
    for (int64_t obs = 1; obs <= dataset.nobs; obs += kBlockObs) {
        Poll(1);
        if (session.BreakFlag) return kBreak;
        const int n = int(std::min<int64_t>(kBlockObs, dataset.nobs - obs + 1));
        gather(var, int(obs), n, values);
        extend(&extent, values, n);
        if (narrowest_type(extent, present) == present) return 0;
    }
    *type = narrowest_type(extent, present);
    return 0;
}

ReturnCode narrowest_string(int var, StorageType* type) {
    size_t longest = 1;
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        longest = std::max(longest, cell_text(var, obs).size());
        if (longest == *type) return 0;
    }
    *type = StorageType(longest);
    return 0;
}

// In which of the passes a type is looked at; -1: never, there is nothing narrower.
int pass_of(StorageType type) {
    switch (type) {
    case kInt:
    case kLong:
    case kFloat: return 0;
    case kDouble: return 1;
    default: return type_is_string(type) && type > 1 ? 2 : -1;
    }
}

// The listed variables in the order of their passes, each once.
std::vector<int32_t> in_order_of_passes() {
    std::vector<bool> listed(size_t(dataset.nvar) + 1, false);
    for (int32_t var : skeleton.varlist) listed[size_t(var)] = true;
    std::vector<int32_t> vars;
    for (int pass = 0; pass < 3; pass++) {
        for (int32_t var = 1; var <= dataset.nvar; var++) {
            if (listed[size_t(var)] && pass_of(dataset.types[var - 1]) == pass) vars.push_back(var);
        }
    }
    return vars;
}

}  // namespace

// compress [varlist]
ReturnCode CmdCompress(int) {
    skeleton.permit.by_allowed = false;
    skeleton.permit.using_file = kForbidden;
    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    skeleton.permit.options = kForbidden;
    if (ReturnCode rc = parse_skeleton()) return rc;
    if (dataset.nvar == 0) return ReportError(3);
    if (dataset.nobs == 0) return 0;
    varlist_or_all();

    const std::vector<StorageType> old_types(dataset.types, dataset.types + dataset.nvar);
    const std::vector<int32_t> vars = in_order_of_passes();
    std::vector<StorageType> new_types = old_types;
    for (int32_t var : vars) {
        StorageType* type = &new_types[size_t(var) - 1];
        const bool text = type_is_string(*type);
        if (ReturnCode rc = text ? narrowest_string(var, type) : narrowest_number(var, type)) {
            return rc;
        }
    }
    narrow_variables(new_types);

    const LevelGuard level(kLevelText);
    for (int32_t var : vars) {
        const size_t i = size_t(var) - 1;
        if (new_types[i] == old_types[i]) continue;
        out_textf("%s was %s now %s\n", dataset.names[i], type_name(old_types[i]).c_str(),
                  type_name(new_types[i]).c_str());
    }
    return 0;
}

}  // namespace korva
