// data/dta_variables.cpp - the lists behind the header, read and checked.
//
// A list that ends early is 692, one that contradicts itself 688. What is merely odd and on which
// nothing depends gives way: a display format that is none, a value label on a string.
#include "data/dta_variables.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_set>

#include "core/names.h"
#include "core/print.h"
#include "data/dta_file.h"

namespace korva {

namespace {

constexpr int kFirstWithoutDots = 107;  // format from which names have no dots

// Copies the text into `to`, which has room for `room` bytes and is all NUL.
void put_text(char* to, size_t room, std::string_view text) {
    memcpy(to, text.data(), std::min(text.size(), room - 1));
}

// The storage type that a letter of the older type lists stands for; 0: none.
StorageType type_of_letter(uint8_t letter) {
    switch (letter) {
    case 'b': return kByte;
    case 'i': return kInt;
    case 'l': return kLong;
    case 'f': return kFloat;
    case 'd': return kDouble;
    default: return letter > kLetterStringBase ? StorageType(letter - kLetterStringBase) : 0;
    }
}

// The storage type of a code in the file, in the form that its numbers have; 0: there is no such
// type.
StorageType type_of_code(uint8_t code, const DtaFormat& format) {
    if (format.letter_types) code = type_of_letter(code);
    if (code == 0 || (code > kMaxStrType && code < kByte)) return 0;
    if (type_is_string(code) || !format.old_missing) return code;
    return StorageType(code - (kByte - kOldByte));
}

// Reads n fields of `bytes` bytes; the vector is empty if the file ends before.
std::vector<uint8_t> take_fields(ByteSource* source, int n, int bytes) {
    std::vector<uint8_t> fields(size_t(n) * size_t(bytes));
    if (!take_bytes(source, fields.data(), fields.size())) fields.clear();
    return fields;
}

// Bytes of all six lists.
uint64_t list_bytes(const DtaHeader& header) {
    const DtaFormat& format = *header.format;
    const uint64_t each = 1u + 2u * format.name + sizeof(uint16_t) + format.display_format +
                          format.variable_label;
    return header.nvar * each + sizeof(uint16_t);
}

void make_arrays(DtaVariables* variables, int32_t nvar) {
    const size_t n = size_t(nvar);
    *variables = {};
    variables->nvar = nvar;
    variables->types = std::make_unique<StorageType[]>(n);
    variables->offsets = std::make_unique<uint32_t[]>(n);
    variables->names = std::make_unique<NameText[]>(n);
    variables->file_names = std::make_unique<NameText[]>(n);
    variables->formats = std::make_unique<FormatText[]>(n);
    variables->label_names = std::make_unique<NameText[]>(n);
    variables->labels = std::make_unique<VariableLabelText[]>(n);
}

ReturnCode read_types(const DtaReader& in, DtaVariables* variables) {
    const std::vector<uint8_t> codes = take_fields(in.source, variables->nvar, 1);
    if (codes.empty()) return in.cut();
    int64_t width = 0;
    for (int i = 0; i < variables->nvar; i++) {
        const StorageType type = type_of_code(codes[i], *in.header->format);
        if (type == 0) return in.corrupt();
        variables->types[i] = type;
        variables->offsets[i] = uint32_t(width);
        width += type_width(type);
    }
    if (width > dataset.maxlrecl) return report_no_room(1010);
    variables->width = int32_t(width);
    return 0;
}

// Puts the variables in the order of their names in the file; false if a name is there twice.
bool sort_names(DtaVariables* variables) {
    std::vector<int32_t>& order = variables->by_name;
    order.resize(size_t(variables->nvar));
    for (int i = 0; i < variables->nvar; i++) order[size_t(i)] = i;
    const auto name_of = [&](int32_t i) { return std::string_view(variables->file_names[i]); };
    std::sort(order.begin(), order.end(),
              [&](int32_t a, int32_t b) { return name_of(a) < name_of(b); });
    const auto twice = std::adjacent_find(
        order.begin(), order.end(), [&](int32_t a, int32_t b) { return name_of(a) == name_of(b); });
    return twice == order.end();
}

// Names with dots become names of today. Those given so far count as used.
bool replace_dots(DtaVariables* variables) {
    std::unordered_set<std::string> given;
    const auto is_free = [&](std::string_view name) {
        return IsValidName(name) && find_in_file(*variables, name) < 0 &&
               !given.contains(std::string(name));
    };
    for (int i = 0; i < variables->nvar; i++) {
        const std::string_view name = variables->file_names[i];
        if (name.find('.') == name.npos) continue;
        std::string renamed;
        if (!rename_dots(name, is_free, &renamed)) return false;
        memset(variables->names[i], 0, sizeof(NameText));
        put_text(variables->names[i], sizeof(NameText), renamed);
        given.insert(renamed);
    }
    return true;
}

// A name is valid once its dots are replaced, in formats where it may have any.
bool name_may_stand(std::string_view name, bool dots) {
    if (!dots || name.find('.') == name.npos) return IsValidName(name);
    std::string plain(name);
    std::replace(plain.begin(), plain.end(), '.', '_');
    return IsValidName(plain);
}

// Every name is valid, or the hidden variable's with its type, and none is there twice.
ReturnCode read_names(const DtaReader& in, DtaVariables* variables) {
    const int bytes = in.header->format->name;
    const bool dots = in.header->format->treated_as < kFirstWithoutDots;
    const std::vector<uint8_t> fields = take_fields(in.source, variables->nvar, bytes);
    if (fields.empty()) return in.cut();
    for (int i = 0; i < variables->nvar; i++) {
        const std::string_view name = field_text(&fields[size_t(i) * size_t(bytes)], size_t(bytes));
        const StorageType type = variables->types[i];
        const bool hidden = name == kEstimationSample && (type == kByte || type == kOldByte);
        if (name.size() == size_t(bytes)) return in.corrupt();
        if (!hidden && !name_may_stand(name, dots)) return in.corrupt();
        put_text(variables->names[i], sizeof(NameText), name);
        put_text(variables->file_names[i], sizeof(NameText), name);
    }
    if (!sort_names(variables)) return in.corrupt();
    return dots && !replace_dots(variables) ? in.corrupt() : 0;
}

// Up to the first 0, the list names variables, each once.
ReturnCode read_sort_list(const DtaReader& in, DtaVariables* variables) {
    const int entries = variables->nvar + 1;
    const std::vector<uint8_t> fields = take_fields(in.source, entries, sizeof(uint16_t));
    if (fields.empty()) return in.cut();
    std::vector<bool> seen(size_t(entries), false);
    for (int i = 0; i < entries; i++) {
        const uint16_t var = dta_u16(&fields[size_t(i) * sizeof(uint16_t)], in.header->swapped);
        if (var == 0) break;
        if (var > variables->nvar || seen[var]) return in.corrupt();
        seen[var] = true;
        variables->sortlist.push_back(var);
    }
    variables->sortlist.push_back(0);
    return 0;
}

// A format that is none gives way to the type's own: nothing else of the variable depends on it.
ReturnCode read_formats(const DtaReader& in, DtaVariables* variables) {
    const int bytes = in.header->format->display_format;
    const std::vector<uint8_t> fields = take_fields(in.source, variables->nvar, bytes);
    if (fields.empty()) return in.cut();
    for (int i = 0; i < variables->nvar; i++) {
        const StorageType type = variables->types[i];
        const std::string_view format = field_text(&fields[size_t(i) * size_t(bytes)],
                                                   size_t(bytes));
        const bool sound = format.size() < sizeof(FormatText) &&
                           fmt_is_valid(format, type_is_string(type));
        put_text(variables->formats[i], sizeof(FormatText), sound ? format : default_format(type));
    }
    return 0;
}

// A string has no use for a value label: one that is attached is dropped.
ReturnCode read_label_names(const DtaReader& in, DtaVariables* variables) {
    const int bytes = in.header->format->name;
    const std::vector<uint8_t> fields = take_fields(in.source, variables->nvar, bytes);
    if (fields.empty()) return in.cut();
    for (int i = 0; i < variables->nvar; i++) {
        const std::string_view name = field_text(&fields[size_t(i) * size_t(bytes)], size_t(bytes));
        if (name.empty()) continue;
        if (name.size() == size_t(bytes) || !IsValidName(name)) return in.corrupt();
        if (type_is_string(variables->types[i])) continue;
        put_text(variables->label_names[i], sizeof(NameText), name);
    }
    return 0;
}

ReturnCode read_variable_labels(const DtaReader& in, DtaVariables* variables) {
    const int bytes = in.header->format->variable_label;
    const std::vector<uint8_t> fields = take_fields(in.source, variables->nvar, bytes);
    if (fields.empty()) return in.cut();
    for (int i = 0; i < variables->nvar; i++) {
        put_text(variables->labels[i], sizeof(VariableLabelText),
                 field_text(&fields[size_t(i) * size_t(bytes)], size_t(bytes)));
    }
    return 0;
}

}  // namespace

ReturnCode read_dta_variables(ByteSource* source, std::string_view name, const DtaHeader& header,
                              DtaVariables* variables) {
    const DtaReader in{source, name, &header, 0};
    if (header.nvar > dataset.maxmaxvar) return report_no_room(900);
    if (list_bytes(header) > source->left) return in.cut();
    make_arrays(variables, header.nvar);
    if (header.nvar == 0) {  // the sort list is all there is
        variables->sortlist = {0};
        return skip_bytes(source, sizeof(uint16_t)) ? 0 : in.cut();
    }
    if (ReturnCode rc = read_types(in, variables)) return rc;
    if (ReturnCode rc = read_names(in, variables)) return rc;
    if (ReturnCode rc = read_sort_list(in, variables)) return rc;
    if (ReturnCode rc = read_formats(in, variables)) return rc;
    if (ReturnCode rc = read_label_names(in, variables)) return rc;
    return read_variable_labels(in, variables);
}

DtaVariables choose_variables(const DtaVariables& variables, const std::vector<int32_t>& vars) {
    DtaVariables chosen;
    make_arrays(&chosen, int32_t(vars.size()));
    std::vector<uint16_t> new_number(size_t(variables.nvar) + 1, 0);
    uint32_t width = 0;
    for (size_t i = 0; i < vars.size(); i++) {
        const size_t from = size_t(vars[i]) - 1;
        chosen.types[i] = variables.types[from];
        chosen.offsets[i] = width;
        width += uint32_t(type_width(variables.types[from]));
        memcpy(chosen.names[i], variables.names[from], sizeof(NameText));
        memcpy(chosen.file_names[i], variables.file_names[from], sizeof(NameText));
        memcpy(chosen.formats[i], variables.formats[from], sizeof(FormatText));
        memcpy(chosen.label_names[i], variables.label_names[from], sizeof(NameText));
        memcpy(chosen.labels[i], variables.labels[from], sizeof(VariableLabelText));
        new_number[size_t(vars[i])] = uint16_t(i + 1);
    }
    chosen.width = int32_t(width);
    for (uint16_t var : variables.sortlist) {
        chosen.sortlist.push_back(new_number[var]);
        if (new_number[var] == 0) break;
    }
    sort_names(&chosen);
    return chosen;
}

int find_in_file(const DtaVariables& variables, std::string_view name) {
    const std::vector<int32_t>& order = variables.by_name;
    const auto place = std::lower_bound(
        order.begin(), order.end(), name, [&](int32_t i, std::string_view wanted) {
            return std::string_view(variables.file_names[i]) < wanted;
        });
    if (place == order.end() || name != variables.file_names[*place]) return -1;
    return *place;
}

void print_renamed(const DtaVariables& variables) {
    const LevelGuard level(kLevelText);
    for (int i = 0; i < variables.nvar; i++) {
        if (strcmp(variables.names[i], variables.file_names[i]) == 0) continue;
        out_textf("Warning:  renamed %s to %s\n", variables.file_names[i], variables.names[i]);
    }
}

DatasetView::DatasetView(const DtaVariables& variables, const DtaHeader& header) : saved(dataset) {
    dataset.nvar = variables.nvar;
    dataset.nobs = std::max(header.nobs, 0);
    dataset.mvar = dataset.maxmaxvar;
    dataset.changed = 0;
    memcpy(dataset.label, header.label, sizeof dataset.label);
    dataset.names = variables.names.get();
    dataset.types = variables.types.get();
    dataset.offsets = variables.offsets.get();
    dataset.formats = variables.formats.get();
    dataset.label_names = variables.label_names.get();
    dataset.sortlist = const_cast<uint16_t*>(variables.sortlist.data());
}

}  // namespace korva
