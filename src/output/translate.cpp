// output/translate.cpp - translate and its kin under log.
#include "core/commands.h"
#include "core/print.h"

namespace korva {

ReturnCode CmdTranslate(int) {
    out_error("translations of logs are not available yet\n");
    return 199;
}

}  // namespace korva
