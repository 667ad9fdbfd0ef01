// data/characteristics.cpp - char: define, list and rename.
#include <algorithm>
#include <string>
#include <vector>

#include "core/commands.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/stored_results.h"
#include "core/words.h"
#include "data/dataset.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {

namespace {

// _dta, or a variable by name or abbreviation.
ReturnCode find_owner(const std::string& typed, std::string* owner) {
    *owner = kDatasetOwner;
    if (typed == kDatasetOwner) return 0;
    if (typed.empty()) return ReportRequired("varname");
    int32_t var = 0;
    if (ReturnCode rc = find_variable(typed, &var)) return rc;
    *owner = dataset.names[var - 1];
    return 0;
}

ReturnCode take_symbol(std::string_view symbol) {
    NextToken();
    return TokenIs(symbol) ? 0 : ReportInvalidSyntax();
}

// The text without the quotes around the whole of it. A text that only begins and ends with two
// strings keeps theirs; a quote may stand in a text by itself.
std::string_view without_outer_quotes(std::string_view text) {
    std::string_view rest = text;
    std::string_view word;
    bool quoted = false;
    TakeWord(&rest, &word, &quoted);
    const bool closed = quoted && text.size() >= 2 && word.data() + word.size() < rest.data();
    return closed && rest.empty() ? word : text;
}

// owner[name] [text]
ReturnCode define_characteristic() {
    NextToken();
    std::string owner;
    if (ReturnCode rc = find_owner(std::string(scanner.TokenBuffer), &owner)) return rc;
    if (ReturnCode rc = take_symbol("[")) return rc;
    NextToken();
    const std::string name = scanner.TokenBuffer;
    if (!IsValidName(name)) return ReportInvalid("name");
    if (ReturnCode rc = take_symbol("]")) return rc;
    return set_characteristic(owner, name, without_outer_quotes(TrimBlanks(ScanRest())));
}

// --- list ---

void print_characteristic(const std::string& owner, std::string_view name) {
    const LevelGuard level(kLevelText);
    out_tmrk("{p 2 30 2}\n");
    out_text(owner + "[" + std::string(name) + "]:");
    out_tmrk("{space 2}");
    out_text(characteristic(owner, name));
    out_tmrk("{p_end}\n");
}

// Owners by the words of the text: _dta, or elements of a variable list.
ReturnCode owners_of(std::string_view text, std::vector<std::string>* owners) {
    std::string variables;
    for (std::string_view word : SplitWords(text)) {
        if (word == kDatasetOwner) {
            owners->emplace_back(word);
        } else {
            variables.append(word).append(" ");
        }
    }
    if (variables.empty()) return 0;
    std::vector<int32_t> vars;
    if (ReturnCode rc = varlist_from_text(variables, &vars)) return rc;
    for (int32_t var : vars) owners->emplace_back(dataset.names[var - 1]);
    return 0;
}

std::vector<std::string> all_owners() {
    std::vector<std::string> owners{std::string(kDatasetOwner)};
    for (int var = 1; var <= dataset.nvar; var++) owners.emplace_back(dataset.names[var - 1]);
    return owners;
}

// What stands behind `list`.
struct ListRequest {
    std::vector<std::string> owners;
    std::string name;  // of one characteristic; empty: all
};

ReturnCode parse_list(ListRequest* request) {
    const std::string_view rest = TrimBlanks(ScanRest());
    if (rest.empty()) {
        request->owners = all_owners();
        return 0;
    }
    const size_t bracket = std::min(rest.find('['), rest.size());
    if (bracket == 0) return ReportInvalidSyntax();
    if (ReturnCode rc = owners_of(rest.substr(0, bracket), &request->owners)) return rc;
    std::string_view tail = rest.substr(bracket);
    if (tail.empty()) return 0;
    if (!tail.ends_with(']')) return ReportInvalidSyntax();
    request->name = TrimBlanks(tail.substr(1, tail.size() - 2));
    return request->name.empty() || IsValidName(request->name) ? 0 : ReportInvalid("name");
}

// [owners[[name]]]: r(owners) names those that had something to list.
ReturnCode list_characteristics() {
    ListRequest request;
    if (ReturnCode rc = parse_list(&request)) return rc;
    std::string found;
    for (const std::string& owner : request.owners) {
        std::vector<std::string_view> names;
        if (request.name.empty()) {
            names = characteristic_names(owner);
        } else if (find_characteristic(owner, request.name) != nullptr) {
            names = {request.name};
        }
        for (std::string_view name : names) {
            print_characteristic(owner, name);
            Poll(session.pollcount);
            if (session.BreakFlag) return kBreak;
        }
        if (!names.empty()) AppendWord(&found, owner);
    }
    ClearResults();
    return SetResultText("owners", found);
}

// --- rename ---

// old new [, replace]: what the old owner has goes to the new one.
ReturnCode rename_characteristics() {
    std::string owner, new_owner;
    NextToken();
    if (ReturnCode rc = find_owner(std::string(scanner.TokenBuffer), &owner)) return rc;
    NextToken();
    if (ReturnCode rc = find_owner(std::string(scanner.TokenBuffer), &new_owner)) return rc;
    bool replace = false;
    const OptionWord options[] = {{"replace", 7, &replace}};
    if (ReturnCode rc = ReadTrailingOptions(options)) return rc;
    if (owner == new_owner) return 0;

    std::vector<StoreRecord*> moved, hidden;
    for (std::string_view name : characteristic_names(owner)) {
        moved.push_back(find_characteristic(owner, name));
        StoreRecord* taken = find_characteristic(new_owner, name);
        if (taken == nullptr) continue;
        if (!replace) {
            return ReportAlreadyDefined(new_owner + "[" + std::string(name) + "]");
        }
        hidden.push_back(taken);
    }
    for (StoreRecord* record : hidden) StoreDelete(record);
    for (std::string_view name : characteristic_names(owner)) {
        note_characteristic_change(owner, name);
        note_characteristic_change(new_owner, name);
    }
    // From the oldest on, so that the newest is in front again.
    for (auto record = moved.rbegin(); record != moved.rend(); ++record) {
        StoreRename(*record, new_owner);
    }
    return 0;
}

}  // namespace

// char define|list|rename ..., or owner[name] [text]
ReturnCode CmdChar(int) {
    NextToken();
    const std::string word = scanner.TokenBuffer;
    // A variable may be called `list`.
    if (PeekChar() != '[') {
        if (MatchAbbreviation(word, "define", 2)) return define_characteristic();
        if (MatchAbbreviation(word, "list", 1)) return list_characteristics();
        if (MatchAbbreviation(word, "rename", 3)) return rename_characteristics();
    }
    PushBackToken();
    return define_characteristic();
}

}  // namespace korva
