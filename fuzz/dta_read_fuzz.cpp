// Any bytes as a dataset file: the reader ends with a code or with a sound dataset, and takes no
// more memory than the data area has.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/session.h"
#include "core/startup.h"
#include "data/dataset.h"
#include "data/dta_read.h"

namespace {

constexpr int32_t kMaxvar = 2048;
constexpr int64_t kMemory = 4 << 20;

[[noreturn]] void give_up(const std::string& why) {
    fprintf(stderr, "%s\n", why.c_str());
    abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    korva::session.OutputThreshold = korva::kThresholdCapture;
    if (!korva::StartEngineTables(kMaxvar, kMemory)) give_up("the engine does not start");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    using namespace korva;
    ByteSource source;
    open_memory(&source, {bytes, size});
    const ReturnCode rc = load_dta(&source, "input", {});
    const std::string fault = check_dataset();
    if (!fault.empty()) give_up(fault);
    if (rc && dataset.nvar + dataset.nobs != 0) give_up("a failed load left data");
    clear_dataset();
    return 0;
}
