// data/order.cpp - order, move: where variables stand.
#include <algorithm>
#include <vector>

#include "core/commands.h"
#include "core/return_codes.h"
#include "data/skeleton.h"

namespace korva {

namespace {

ReturnCode parse_bare_list() {
    skeleton.permit.by_allowed = false;
    skeleton.permit.using_file = kForbidden;
    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    skeleton.permit.options = kForbidden;
    return parse_skeleton();
}

// The variables of the list, each once.
std::vector<int32_t> each_once(const std::vector<int32_t>& list) {
    std::vector<bool> seen(size_t(dataset.nvar) + 1, false);
    std::vector<int32_t> once;
    for (int32_t var : list) {
        if (!seen[size_t(var)]) once.push_back(var);
        seen[size_t(var)] = true;
    }
    return once;
}

// The variables that change places when each of the list in turn is moved behind those before it,
// not counting those that only make room.
std::vector<int32_t> movers(const std::vector<int32_t>& list) {
    std::vector<bool> placed(size_t(dataset.nvar) + 2, false);
    std::vector<int32_t> moved;
    int32_t next = 1;  // what stands right behind those that are placed
    for (int32_t var : list) {
        while (placed[size_t(next)]) next++;
        if (var != next) moved.push_back(var);
        placed[size_t(var)] = true;
    }
    return moved;
}

}  // namespace

// order varlist
ReturnCode CmdOrder(int) {
    skeleton.permit.varlist = kRequired;
    if (ReturnCode rc = parse_bare_list()) return rc;
    std::vector<int32_t> order = each_once(skeleton.varlist);
    const std::vector<int32_t> moved = movers(order);
    std::vector<bool> listed(size_t(dataset.nvar) + 1, false);
    for (int32_t var : order) listed[size_t(var)] = true;
    for (int32_t var = 1; var <= dataset.nvar; var++) {
        if (!listed[size_t(var)]) order.push_back(var);
    }
    if (ReturnCode rc = reorder_variables(order)) {
        return rc == kBreak ? rc : ReportError(901);
    }
    std::vector<int32_t> position(order.size() + 1);
    for (size_t i = 0; i < order.size(); i++) position[size_t(order[i])] = int32_t(i) + 1;
    for (int32_t var : moved) note_change(position[size_t(var)]);
    return 0;
}

// move varname1 varname2: the first comes to the place of the second.
ReturnCode CmdMove(int) {
    if (ReturnCode rc = parse_bare_list()) return rc;
    if (skeleton.varlist.size() < 2) return ReportError(102);
    if (skeleton.varlist.size() > 2) return ReportError(103);
    const ReturnCode rc = move_variable(skeleton.varlist[0], skeleton.varlist[1]);
    return rc ? report_no_room(rc) : 0;
}

}  // namespace korva
