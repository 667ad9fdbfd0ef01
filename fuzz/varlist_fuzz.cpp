// Any bytes as a variable list and what stands behind it: the parse ends in a code or in a list
// whose elements have values, what it added goes again, and the dataset stays as it was.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace {

using namespace korva;

constexpr int kRows = 40;

[[noreturn]] void give_up(const char* why) {
    fprintf(stderr, "%s\n", why);
    abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    session.OutputThreshold = kThresholdCapture;
    if (!StartEngineTables(2048, 1 << 20)) give_up("the engine does not start");
    if (addvar("id", kByte) || addvar("t", kInt) || addvar("x", kDouble) || addvar("x2", kFloat) ||
        addvar("s", 5) || extend_observations(kRows)) {
        give_up("the dataset does not fit");
    }
    for (int obs = 1; obs <= kRows; obs++) {
        put(1, obs, obs / 15);
        put(2, obs, obs + obs / 7);  // a gap every seven periods
        put(3, obs, obs * 0.5);
    }
    set_characteristic("_dta", "_TStvar", "t");
    set_characteristic("_dta", "_TSpanel", "id");
    dataset.sortlist[0] = 1;
    dataset.sortlist[1] = 2;
    dataset.sortlist[2] = 0;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0) return 0;
    std::string line(reinterpret_cast<const char*>(bytes) + 1, size - 1);
    line.resize(std::string_view(line).substr(0, line.find('\0')).size());
    // The first byte chooses what the line may have.
    ResetSkeleton();
    skeleton.permit.operators = bytes[0] & 1 ? kAllowed : kForbidden;
    skeleton.permit.new_varlist = bytes[0] & 2;
    skeleton.permit.label_names = bytes[0] & 4;
    skeleton.permit.weights = bytes[0] >> 4;
    skeleton.permit.exp = bytes[0] & 8 ? kAllowed : kForbidden;
    const int32_t nvar = dataset.nvar;
    SetScanPointer(line.data());
    if (parse_skeleton() == 0) {
        double values[kRows];
        for (size_t i = 0; i < skeleton.varlist.size() && i < 100; i++) {
            if (skeleton.varlist[i] > nvar) continue;
            varlist_gather(i, 1, kRows, values);
            if (varlist_value(i, kRows) != values[kRows - 1]) give_up("block and value differ");
            varlist_name(i);
        }
    }
    undo_new_variables(nvar);
    if (!check_dataset().empty()) give_up("the dataset is not sound any more");
    return 0;
}
