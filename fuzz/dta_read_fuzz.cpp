// Any bytes as a dataset file of any format, whole or in part: the reader ends with a code and the
// data as they were, or with a sound dataset, and takes no more memory than the data area has. What
// was read is written in each format and read again.
//
// The last byte chooses what is wanted: 0 all of the file, else some variables, a range of
// observations, a condition.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/session.h"
#include "core/startup.h"
#include "data/dataset.h"
#include "data/dta_read.h"
#include "data/dta_write.h"
#include "data/expression.h"
#include "data/skeleton.h"

namespace {

using namespace korva;

constexpr int32_t kMaxvar = 2048;
constexpr int64_t kMemory = 4 << 20;
constexpr size_t kMaxWritten = 1 << 20;

[[noreturn]] void give_up(const std::string& why) {
    fprintf(stderr, "%s\n", why.c_str());
    abort();
}

// Bits 1 and 2: every second variable, a range; bits 4 and 8 are left for the size of the range.
ReturnCode load_part(ByteSource* source, uint8_t wanted) {
    DtaHeader header;
    DtaVariables variables;
    if (ReturnCode rc = read_dta_header(source, "input", &header)) return rc;
    if (ReturnCode rc = read_dta_variables(source, "input", header, &variables)) return rc;
    DtaSelection selection;
    for (int32_t var = 1; var <= variables.nvar; var += wanted & 1 ? 2 : 1) {
        selection.vars.push_back(var);
    }
    if (wanted & 2) {
        selection.first = 1 + (wanted >> 3) % 4;
        selection.last = selection.first + (wanted >> 5);
    }
    if (wanted & 4) {
        const DtaVariables chosen = choose_variables(variables, selection.vars);
        const DatasetView view(chosen, header);
        reset_expression_pools();
        if (compile(wanted & 8 ? "_n != 2" : "2 > 1", &if_expression, ExpressionMode::Number)) {
            give_up("the condition does not compile");
        }
        selection.has_condition = true;
        skeleton.if_given = true;
    }
    const ReturnCode rc = load_dta_body(source, "input", header, variables, &selection, {});
    skeleton.if_given = false;
    return rc;
}

ReturnCode keep(void* context, const void* bytes, size_t n) {
    auto* written = static_cast<std::vector<uint8_t>*>(context);
    const auto* from = static_cast<const uint8_t*>(bytes);
    written->insert(written->end(), from, from + n);
    return written->size() > kMaxWritten ? 699 : 0;
}

void check() {
    const std::string fault = check_dataset();
    if (!fault.empty()) give_up(fault);
}

// Formats whose strings are wider than a letter can say are not asked of the writer.
bool has_wide_string() {
    for (int i = 0; i < dataset.nvar; i++) {
        if (type_is_string(dataset.types[i]) && dataset.types[i] > 128) return true;
    }
    return false;
}

void write_and_read(int format) {
    std::vector<uint8_t> written;
    const int32_t nobs = dataset.nobs, nvar = dataset.nvar;
    DtaWriteOptions options;
    options.format = format;
    options.all = options.orphans = true;
    if (write_dta({keep, &written}, options, " 1 Jan 2001 00:00")) return;
    ByteSource source;
    open_memory(&source, written);
    if (load_dta(&source, "output", {})) give_up("what was written cannot be read");
    check();
    if (dataset.nobs != nobs || dataset.nvar != nvar) give_up("rows or variables were lost");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    session.OutputThreshold = kThresholdCapture;
    if (!StartEngineTables(kMaxvar, kMemory)) give_up("the engine does not start");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    ByteSource source;
    open_memory(&source, {bytes, size});
    const uint8_t wanted = size ? bytes[size - 1] : 0;
    const ReturnCode rc = wanted ? load_part(&source, wanted) : load_dta(&source, "input", {});
    check();
    if (rc && dataset.nvar + dataset.nobs != 0) give_up("a failed load left data");
    if (rc == 0) {
        for (int format : {113, 111, 110}) {
            if (format != 110 || !has_wide_string()) write_and_read(format);
        }
    }
    clear_dataset();
    return 0;
}
