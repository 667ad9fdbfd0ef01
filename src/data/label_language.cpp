// data/label_language.cpp - the languages of a dataset: list, switch, new, rename, delete.
//
// A switch touches the labels and characteristics of every variable and may run out of memory
// anywhere. So all new records are made first, in front of the old ones, and are taken back if one
// fails; what they replace is deleted when nothing can fail any more.
#include "data/label_language.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/names.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/store.h"
#include "core/stored_results.h"
#include "core/words.h"
#include "data/dataset.h"
#include "data/labels.h"

namespace korva {

namespace {

constexpr std::string_view kDefaultLanguage = "default";
constexpr std::string_view kTextPrefix = "_lang_v_";
constexpr std::string_view kTablePrefix = "_lang_l_";
// So that a prefix and the name together are the name of a characteristic.
constexpr size_t kMaxLanguageBytes = kMaxNameBytes - kTextPrefix.size();
// Each language costs two characteristics a variable, in memory and in every saved file.
constexpr size_t kMaxLanguages = 100;

struct Languages {
    std::string current;
    std::vector<std::string> others;

    bool has_other(std::string_view name) const {
        return std::find(others.begin(), others.end(), name) != others.end();
    }
};

Languages read_languages() {
    Languages languages;
    languages.current = characteristic(kDatasetOwner, "_lang_c");
    if (languages.current.empty()) languages.current = kDefaultLanguage;
    // A file from elsewhere may list the current language too, or one twice.
    for (std::string_view name : SplitWords(characteristic(kDatasetOwner, "_lang_list"))) {
        const bool listed = name == languages.current || languages.has_other(name);
        if (!listed) languages.others.emplace_back(name);
    }
    return languages;
}

// Changes that are all made or all taken back.
struct LabelTransaction {
    struct TableName {
        int32_t var;
        std::string name;
    };
    std::vector<StoreRecord*> made;
    std::vector<StoreRecord*> gone;
    std::vector<int32_t> relabelled;  // variables that get another label
    std::vector<TableName> table_names;
    std::string data_label;
    bool has_data_label = false;

    LabelTransaction() = default;
    ~LabelTransaction() {
        for (StoreRecord* record : made) StoreDelete(record);
    }
    LabelTransaction(const LabelTransaction&) = delete;
    LabelTransaction& operator=(const LabelTransaction&) = delete;

    ReturnCode add(StoreRecord* record) {
        if (record == nullptr) return 950;
        made.push_back(record);
        return 0;
    }
    void remove(StoreRecord* record) {
        if (record != nullptr) gone.push_back(record);
    }
    void commit();
};

void LabelTransaction::commit() {
    made.clear();
    for (StoreRecord* record : gone) StoreDelete(record);
    for (int32_t var : relabelled) note_change(var);
    for (const TableName& entry : table_names) {
        NameText& name = dataset.label_names[entry.var - 1];
        if (entry.name == name) continue;
        std::memset(name, 0, sizeof name);
        std::memcpy(name, entry.name.data(), std::min(entry.name.size(), sizeof name - 1));
        note_change(entry.var);
    }
    if (has_data_label && data_label != dataset.label) {
        std::memset(dataset.label, 0, sizeof dataset.label);
        std::memcpy(dataset.label, data_label.data(),
                    std::min(data_label.size(), sizeof dataset.label - 1));
        dataset.changed = 1;
    }
}

std::string with_prefix(std::string_view prefix, std::string_view language) {
    return std::string(prefix).append(language);
}

ReturnCode replace_characteristic(LabelTransaction* t, std::string_view owner,
                                  std::string_view name, std::string_view text) {
    t->remove(find_characteristic(owner, name));
    return text.empty() ? 0 : t->add(make_characteristic(owner, name, text, kKindCharacteristic));
}

// Puts the labels in use away for `language`.
ReturnCode put_away(LabelTransaction* t, std::string_view language) {
    const std::string text_name = with_prefix(kTextPrefix, language);
    const std::string table_name = with_prefix(kTablePrefix, language);
    for (int var = 1; var <= dataset.nvar; var++) {
        const std::string_view owner = dataset.names[var - 1];
        if (ReturnCode rc = replace_characteristic(t, owner, text_name, variable_label(var))) {
            return rc;
        }
        if (ReturnCode rc = replace_characteristic(t, owner, table_name,
                                                   dataset.label_names[var - 1])) {
            return rc;
        }
    }
    return replace_characteristic(t, kDatasetOwner, text_name, dataset.label);
}

ReturnCode replace_variable_label(LabelTransaction* t, int var, std::string_view text) {
    if (text == variable_label(var)) return 0;
    const std::string_view owner = dataset.names[var - 1];
    t->relabelled.push_back(var);
    t->remove(StoreFind(owner, kKindVariableLabel));
    if (text.empty()) return 0;
    const uint32_t bytes = uint32_t(text.size()) + 1;
    StoreRecord* record = StoreCreate(owner, kKindVariableLabel, bytes);
    if (ReturnCode rc = t->add(record)) return rc;
    std::memcpy(record->payload(), text.data(), text.size());
    record->payload()[text.size()] = 0;
    return 0;
}

// Takes the labels of `language` into use: empty ones for a language without any.
ReturnCode take_out(LabelTransaction* t, std::string_view language) {
    const std::string text_name = with_prefix(kTextPrefix, language);
    const std::string table_name = with_prefix(kTablePrefix, language);
    for (int var = 1; var <= dataset.nvar; var++) {
        const std::string_view owner = dataset.names[var - 1];
        const std::string_view label = characteristic(owner, text_name);
        if (ReturnCode rc = replace_variable_label(t, var, label.substr(0, kVariableLabelMax))) {
            return rc;
        }
        const std::string_view table = characteristic(owner, table_name);
        const bool fits = table.empty() ||
                          (IsValidName(table) && !type_is_string(dataset.types[var - 1]));
        t->table_names.push_back({var, std::string(fits ? table : std::string_view())});
        t->remove(find_characteristic(owner, text_name));
        t->remove(find_characteristic(owner, table_name));
    }
    t->data_label = characteristic(kDatasetOwner, text_name).substr(0, kDataLabelBytes - 1);
    t->has_data_label = true;
    t->remove(find_characteristic(kDatasetOwner, text_name));
    return 0;
}

// Forgets the labels that wait for `language`.
void forget_language(LabelTransaction* t, std::string_view language) {
    const std::string text_name = with_prefix(kTextPrefix, language);
    const std::string table_name = with_prefix(kTablePrefix, language);
    for (int var = 1; var <= dataset.nvar; var++) {
        t->remove(find_characteristic(dataset.names[var - 1], text_name));
        t->remove(find_characteristic(dataset.names[var - 1], table_name));
    }
    t->remove(find_characteristic(kDatasetOwner, text_name));
}

ReturnCode write_languages(LabelTransaction* t, const Languages& languages) {
    std::string list;
    for (const std::string& name : languages.others) AppendWord(&list, name);
    if (ReturnCode rc = replace_characteristic(t, kDatasetOwner, "_lang_c", languages.current))
        return rc;
    return replace_characteristic(t, kDatasetOwner, "_lang_list", list);
}

// --- what is said ---

ReturnCode report_language(const std::string& name, const char* fault, ReturnCode rc) {
    out_errorf("language %s %s\n", name.c_str(), fault);
    return rc;
}

void say_current(const std::string& name) {
    const LevelGuard level(kLevelText);
    out_textf("(language %s now current language)\n", name.c_str());
}

ReturnCode list_languages() {
    const Languages languages = read_languages();
    std::string list = languages.current;
    {
        const LevelGuard level(kLevelText);
        out_newline();
        out_tmrk("{title:Language for variable and value labels}\n\n");
        if (languages.others.empty()) {
            out_tmrk("{p 4 4 2}\n"
                     "In this dataset, value and variable labels\n"
                     "have been defined in only one\n"
                     "language:  ");
            out_result(languages.current);
            out_tmrk("{p_end}\n");
        } else {
            out_text("    Available languages:\n");
            out_text("            ");
            out_result(languages.current);
            out_text(" (current)\n");
        }
        for (const std::string& name : languages.others) {
            out_text("            ");
            out_result(name);
            out_newline();
            AppendWord(&list, name);
        }
        out_newline();
        out_tmrk("    To change the language:       . label language <{it:name}>\n"
                 "    To define a new language:     . label language <{it:name}>, new\n"
                 "    To rename the current one:    . label language <{it:name}>, rename\n");
    }
    ClearResults();
    if (ReturnCode rc = SetResultNumber("k", double(languages.others.size() + 1))) return rc;
    if (ReturnCode rc = SetResultText("language", languages.current)) return rc;
    return SetResultText("languages", list);
}

// --- what is done ---

ReturnCode switch_to(const std::string& name, Languages languages) {
    if (name == languages.current) {
        const LevelGuard level(kLevelText);
        out_textf("(%s already current language)\n", name.c_str());
        return 0;
    }
    if (!languages.has_other(name)) return report_language(name, "not defined", 111);
    LabelTransaction t;
    if (ReturnCode rc = put_away(&t, languages.current)) return rc;
    if (ReturnCode rc = take_out(&t, name)) return rc;
    *std::find(languages.others.begin(), languages.others.end(), name) = languages.current;
    languages.current = name;
    if (ReturnCode rc = write_languages(&t, languages)) return rc;
    t.commit();
    say_current(name);
    return 0;
}

ReturnCode add_language(const std::string& name, bool copy, Languages languages) {
    if (name == languages.current || languages.has_other(name)) {
        return report_language(name, "already exists", 110);
    }
    if (languages.others.size() + 1 >= kMaxLanguages) {
        out_error("cannot create new language; too many languages\n");
        return 1000;
    }
    LabelTransaction t;
    if (ReturnCode rc = put_away(&t, languages.current)) return rc;
    if (copy) {
        forget_language(&t, name);
    } else if (ReturnCode rc = take_out(&t, name)) {
        return rc;
    }
    languages.others.push_back(languages.current);
    languages.current = name;
    if (ReturnCode rc = write_languages(&t, languages)) return rc;
    t.commit();
    say_current(name);
    return 0;
}

ReturnCode rename_current(const std::string& name, Languages languages) {
    if (name == languages.current || languages.has_other(name)) {
        return report_language(name, "already exists", 110);
    }
    const std::string old = languages.current;
    languages.current = name;
    LabelTransaction t;
    if (ReturnCode rc = write_languages(&t, languages)) return rc;
    t.commit();
    const LevelGuard level(kLevelText);
    out_textf("(language %s renamed %s)\n", old.c_str(), name.c_str());
    return 0;
}

ReturnCode delete_language(const std::string& name, Languages languages) {
    const bool current = name == languages.current;
    if (!current && !languages.has_other(name)) return report_language(name, "not defined", 111);
    if (languages.others.empty()) {
        return report_language(name, "is the only language defined; it may not be deleted", 198);
    }
    LabelTransaction t;
    if (current) {
        languages.current = languages.others.front();
        languages.others.erase(languages.others.begin());
        if (ReturnCode rc = take_out(&t, languages.current)) return rc;
    } else {
        std::erase(languages.others, name);
        forget_language(&t, name);
    }
    if (ReturnCode rc = write_languages(&t, languages)) return rc;
    t.commit();
    {
        const LevelGuard level(kLevelText);
        out_textf("(language %s deleted)\n", name.c_str());
    }
    if (current) say_current(languages.current);
    return 0;
}

}  // namespace

ReturnCode label_language() {
    NextToken();
    if (TokenIsEmpty()) return list_languages();
    const std::string name = scanner.TokenBuffer;
    if (!IsValidName(name) || name.size() > kMaxLanguageBytes) return ReportInvalid("name");
    bool fresh = false, copy = false, rename = false, remove = false;
    const OptionWord options[] = {
        {"new", 3, &fresh}, {"copy", 4, &copy}, {"rename", 6, &rename}, {"delete", 6, &remove}};
    if (ReturnCode rc = ReadTrailingOptions(options)) return rc;
    if (fresh + rename + remove > 1) {
        out_error("options -delete-, -new-, and -rename- may be not be combined\n");
        return 198;
    }
    if (copy && !fresh) {
        out_error("option -copy- may only be specified with option -new-\n");
        return 198;
    }
    const Languages languages = read_languages();
    if (fresh) return add_language(name, copy, languages);
    if (rename) return rename_current(name, languages);
    if (remove) return delete_language(name, languages);
    return switch_to(name, languages);
}

}  // namespace korva
