// data/rename.cpp - rename: another name for a variable, and for what hangs on it.
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "data/by.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

// rename oldvar newvar
ReturnCode CmdRename(int) {
    if (by_state.active) return ReportError(190);
    NextToken();
    if (TokenIsEmpty()) return ReportRequired("varname");
    const std::string old_word = scanner.TokenBuffer;
    int32_t var = 0;
    if (ReturnCode rc = find_variable(old_word, &var)) return rc;
    NextToken();
    if (TokenIsEmpty()) return ReportRequired("new variable name");
    const std::string name = scanner.TokenBuffer;
    if (ReturnCode rc = ExpectEnd(0)) return rc;

    // A variable of the new name is made and taken back: it is refused where the name is, and a
    // name that is issued for temporaries is noted.
    const int32_t nvar_before = dataset.nvar;
    if (ReturnCode rc = addvar(name, kByte)) return rc;
    undo_new_variables(nvar_before);

    NameText& place = dataset.names[var - 1];
    note_change(var);
    rename_owner_objects(place, name);
    std::memcpy(place, name.c_str(), name.size() + 1);
    note_change(var);  // meant: a name without underscore counts, be it the old or the new one
    return 0;
}

}  // namespace korva
