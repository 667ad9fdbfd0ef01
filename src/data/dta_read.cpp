// data/dta_read.cpp - the lists, the expansion records, the rows and the value labels of a dataset
// file.
//
// The dataset is cleared when the header is known to be good, filled section by section, and
// cleared again if any section fails. A file that ends early is 692, one that contradicts itself
// 688. Rows come in blocks that stay in the nearest cache: there numbers are turned round and cells
// that hold no value are mended, one column after the other, before the rows are copied to their
// places.
#include "data/dta_read.h"

#include <algorithm>
#include <cstring>

#include "core/alloc.h"
#include "core/file_path.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "data/cells.h"
#include "data/labels.h"

namespace korva {

namespace {

constexpr int kBlockBytes = 24000;  // rows moved at a time; fits the first-level cache
constexpr int kBlockAlignment = 64;
constexpr int kOldestFormat = 112;  // the numbers of older ones need an upgrade behind the load

// Rows of a dataset without variables take no bytes of the file, so its size cannot vouch for them;
// their slots are 8 bytes each.
constexpr int32_t kMaxEmptyRows = 4'000'000;

constexpr std::string_view kDatasetOwner = "_dta";
constexpr uint8_t kCharacteristicRecord = 1;
constexpr int kValueLabelPadding = 3;

// What the sections of one file share.
struct DtaReader {
    ByteSource* source;
    std::string_view name;  // of the file, for words
    const DtaHeader* header;

    ReturnCode corrupt() const { return ReportFileError(688, name); }
    ReturnCode cut() const { return ReportFileError(692, name); }
};

ReturnCode break_or_ok() {
    Poll(session.pollcount);
    return session.BreakFlag ? kBreak : 0;
}

// The text of a field that is as wide as `bytes`; all of it if it has no NUL.
std::string_view field_text(const uint8_t* field, size_t bytes) {
    const uint8_t* end = std::find(field, field + bytes, uint8_t(0));
    return {reinterpret_cast<const char*>(field), size_t(end - field)};
}

// Copies the text into `to`, which has room for `room` bytes and is all NUL.
void put_text(char* to, size_t room, std::string_view text) {
    memcpy(to, text.data(), std::min(text.size(), room - 1));
}

// --- the lists ---

// The storage type that a letter of the older type lists stands for; 0: none.
StorageType type_of_letter(uint8_t letter) {
    constexpr int kStringBase = 127;  // a string of length L is 127 + L
    switch (letter) {
    case 'b': return kByte;
    case 'i': return kInt;
    case 'l': return kLong;
    case 'f': return kFloat;
    case 'd': return kDouble;
    default: return letter > kStringBase ? StorageType(letter - kStringBase) : 0;
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

// Every name is valid, or the hidden variable's with its type, and none is there twice.
ReturnCode read_names(const DtaReader& in, DtaVariables* variables) {
    const int bytes = in.header->format->name;
    const std::vector<uint8_t> fields = take_fields(in.source, variables->nvar, bytes);
    if (fields.empty()) return in.cut();
    std::vector<std::string_view>& sorted = variables->sorted_names;
    for (int i = 0; i < variables->nvar; i++) {
        const std::string_view name = field_text(&fields[size_t(i) * size_t(bytes)], size_t(bytes));
        const bool hidden = name == kEstimationSample && variables->types[i] == kByte;
        if (name.size() == size_t(bytes) || (!IsValidName(name) && !hidden)) return in.corrupt();
        put_text(variables->names[i], sizeof(NameText), name);
        sorted.push_back(variables->names[i]);
    }
    std::sort(sorted.begin(), sorted.end());
    const bool repeated = std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
    return repeated ? in.corrupt() : 0;
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

bool has_variable(const DtaVariables& variables, std::string_view name) {
    const std::vector<std::string_view>& sorted = variables.sorted_names;
    return std::binary_search(sorted.begin(), sorted.end(), name);
}

// --- into the dataset ---

// Makes the partition wide enough, with a little to spare where the limit allows it.
ReturnCode make_width(int32_t width) {
    if (width <= dataset.lrecl) return 0;
    const int32_t wanted = std::min(width + 2, dataset.maxlrecl);
    if (ReturnCode rc = grow_width(wanted - dataset.lrecl)) return report_no_room(rc);
    return width <= dataset.lrecl ? 0 : report_no_room(902);
}

// The variable table becomes that of the file. There are no observations yet.
ReturnCode put_variables(const DtaVariables& variables) {
    if (ReturnCode rc = make_width(variables.width)) return rc;
    const size_t n = size_t(variables.nvar);
    memcpy(dataset.types, variables.types.get(), n * sizeof(StorageType));
    memcpy(dataset.offsets, variables.offsets.get(), n * sizeof(uint32_t));
    memcpy(dataset.names, variables.names.get(), n * sizeof(NameText));
    memcpy(dataset.formats, variables.formats.get(), n * sizeof(FormatText));
    memcpy(dataset.label_names, variables.label_names.get(), n * sizeof(NameText));
    memcpy(dataset.sortlist, variables.sortlist.data(),
           variables.sortlist.size() * sizeof(uint16_t));
    dataset.nvar = variables.nvar;
    for (int var = 1; var <= variables.nvar; var++) {
        if (std::string_view(variables.names[var - 1]).starts_with("__"))
            dataset.has_temporaries = true;
        const char* label = variables.labels[var - 1];
        if (!*label) continue;
        if (ReturnCode rc = set_variable_label(var, label)) return rc;
    }
    return 0;
}

void put_data_label(const DtaHeader& header, bool quiet) {
    snprintf(dataset.label, sizeof dataset.label, "%s", header.label);
    if (quiet || !dataset.label[0]) return;
    const LevelGuard level(kLevelText);
    out_textf("(%s)\n", dataset.label);
}

// --- expansion records ---

// One characteristic of `length` bytes, which are there. An owner that the file does not have is
// left out: such a record would come back with the next variable of that name.
ReturnCode read_characteristic(const DtaReader& in, const DtaVariables& variables,
                               uint32_t length) {
    const uint32_t name_bytes = in.header->format->name;
    if (length < 2 * name_bytes) return in.corrupt();
    uint8_t names[2 * (kMaxNameBytes + 1)];
    if (!take_bytes(in.source, names, 2 * name_bytes)) return in.cut();
    const std::string_view owner = field_text(names, name_bytes);
    const std::string_view name = field_text(names + name_bytes, name_bytes);

    // One byte beyond the longest text, so that a longer one is still seen to be longer.
    const uint32_t in_file = length - 2 * name_bytes;
    const uint32_t kept = std::min(in_file, uint32_t(kMaxCharacteristicBytes + 1));
    std::vector<uint8_t> text(kept);
    if (!take_bytes(in.source, text.data(), kept)) return in.cut();
    if (!skip_bytes(in.source, in_file - kept)) return in.cut();

    if (name.size() == name_bytes || !IsValidName(name)) return in.corrupt();
    if (owner != kDatasetOwner && !has_variable(variables, owner)) return 0;
    return set_characteristic(owner, name, field_text(text.data(), text.size()));
}

ReturnCode read_expansion_records(const DtaReader& in, const DtaVariables& variables) {
    const int length_bytes = in.header->format->expansion_length;
    if (length_bytes == 0) return 0;
    for (;;) {
        if (ReturnCode rc = break_or_ok()) return rc;
        uint8_t head[5];
        if (!take_bytes(in.source, head, uint64_t(1 + length_bytes))) return in.cut();
        const uint32_t length = length_bytes == 2 ? dta_u16(head + 1, in.header->swapped)
                                                  : dta_u32(head + 1, in.header->swapped);
        if (head[0] == 0 && length == 0) return 0;
        if (length > in.source->left) return in.cut();
        if (head[0] == kCharacteristicRecord) {
            if (ReturnCode rc = read_characteristic(in, variables, length)) return rc;
        } else if (!skip_bytes(in.source, length)) {
            return in.cut();
        }
    }
}

// --- rows ---

// Room for the file's observations and the scratch row, after the bytes of the file were seen to
// hold that many.
ReturnCode make_rows(const DtaReader& in, const DtaVariables& variables) {
    const int64_t nobs = in.header->nobs;
    if (nobs < 0) return in.corrupt();
    if (uint64_t(nobs) * uint64_t(variables.width) > in.source->left) return in.cut();
    if (variables.width == 0 && nobs > kMaxEmptyRows) return in.corrupt();
    if (ReturnCode rc = grow_obs(nobs - (dataset.mobs - 1))) return report_no_room(rc);
    return nobs < dataset.mobs ? 0 : report_no_room(901);
}

template <class Word>
void turn_column(uint8_t* cell, int rows, int width) {
    for (int row = 0; row < rows; row++, cell += width) {
        Word word;
        memcpy(&word, cell, sizeof word);
        if constexpr (sizeof word == 2) word = __builtin_bswap16(word);
        if constexpr (sizeof word == 4) word = __builtin_bswap32(word);
        if constexpr (sizeof word == 8) word = __builtin_bswap64(word);
        memcpy(cell, &word, sizeof word);
    }
}

// Reverses the bytes of every number in the block.
void turn_numbers(const DtaVariables& variables, uint8_t* block, int rows) {
    for (int i = 0; i < variables.nvar; i++) {
        if (type_is_string(variables.types[i])) continue;
        uint8_t* cell = block + variables.offsets[i];
        switch (type_width(variables.types[i])) {
        case 2: turn_column<uint16_t>(cell, rows, variables.width); break;
        case 4: turn_column<uint32_t>(cell, rows, variables.width); break;
        case 8: turn_column<uint64_t>(cell, rows, variables.width); break;
        default: break;
        }
    }
}

// The rest of the program trusts the cells of the dataset, whatever the file's writer put there.
void make_block_sound(const DtaVariables& variables, uint8_t* block, int rows) {
    for (int i = 0; i < variables.nvar; i++) {
        make_cells_sound(variables.types[i], block + variables.offsets[i], rows,
                         size_t(variables.width));
    }
}

// Copies the rows of the block to observations obs, obs + 1, ...
void place_rows(const uint8_t* block, int rows, int width, int32_t obs) {
    const uint32_t* slot = dataset.slot + (obs - 1);
    uint8_t* const base = dataset.rows;
    const uint64_t pitch = uint64_t(dataset.lrecl);
    for (int row = 0; row < rows; row++, block += width) {
        memcpy(base + slot[row] * pitch, block, size_t(width));
    }
}

ReturnCode read_rows(const DtaReader& in, const DtaVariables& variables) {
    const int32_t nobs = in.header->nobs;
    const int32_t width = variables.width;
    if (width == 0 || nobs == 0) {
        set_nobs(nobs);
        return 0;
    }
    const int32_t block_rows = 2 * width < kBlockBytes ? kBlockBytes / width : 2;
    const EngineBlock memory(size_t(block_rows) * size_t(width) + kBlockAlignment);
    if (!memory.bytes) return ReportError(909);
    uint8_t* block = static_cast<uint8_t*>(memory.bytes);
    block += size_t(-reinterpret_cast<uintptr_t>(block)) % kBlockAlignment;

    for (int32_t done = 0; done < nobs;) {
        if (ReturnCode rc = break_or_ok()) return rc;
        const int32_t rows = std::min(block_rows, nobs - done);
        if (!take_bytes(in.source, block, uint64_t(rows) * uint64_t(width))) return in.cut();
        if (in.header->swapped) turn_numbers(variables, block, rows);
        make_block_sound(variables, block, rows);
        ready_slots(int64_t(done) + rows);
        place_rows(block, rows, width, done + 1);
        done += rows;
    }
    set_nobs(nobs);
    return 0;
}

// --- value labels ---

// The head of a table in its payload form.
struct TableHead {
    uint32_t entries;
    uint32_t text_bytes;

    // Bytes of the whole table. At most 64 bits are needed for any two numbers.
    uint64_t bytes() const { return 8 + 8 * uint64_t(entries) + text_bytes; }
};

// Brings the numbers of the table into this machine's order, as far as its length holds what its
// count says. False if it does not.
bool open_table(uint8_t* table, uint32_t length, bool swapped, TableHead* head) {
    if (length < 8) return false;
    *head = {dta_u32(table, swapped), dta_u32(table + 4, swapped)};
    if (head->entries > uint32_t(kMaxLabels) || head->bytes() > length) return false;
    if (swapped) turn_column<uint32_t>(table, int(2 + 2 * head->entries), sizeof(uint32_t));
    return true;
}

// True if one of the table's texts is longer than a label may be.
bool has_long_label(const uint8_t* table, const TableHead& head) {
    const uint8_t* texts = table + 8 + 8 * size_t(head.entries);
    for (uint32_t i = 0; i < head.entries; i++) {
        const uint32_t offset = dta_u32(table + 8 + 4 * size_t(i), false);
        if (offset >= head.text_bytes) continue;
        const size_t most = std::min<size_t>(head.text_bytes - offset, kMaxLabelBytes + 1);
        if (field_text(texts + offset, most).size() > size_t(kMaxLabelBytes)) return true;
    }
    return false;
}

// Reads and stores one table of `length` bytes under the name; *too_long if it was left out for a
// label beyond the limit.
ReturnCode read_table(const DtaReader& in, std::string_view name, uint32_t length, bool* too_long) {
    if (length > in.source->left) return in.cut();
    const EngineBlock memory(length);
    if (!memory.bytes) return ReportError(909);
    uint8_t* table = static_cast<uint8_t*>(memory.bytes);
    if (!take_bytes(in.source, table, length)) return in.cut();

    TableHead head;
    if (!open_table(table, length, in.header->swapped, &head)) return in.corrupt();
    *too_long = has_long_label(table, head);
    if (*too_long) return 0;
    ReturnCode rc = 0;
    if (store_value_table(name, {table, size_t(head.bytes())}, &rc)) return 0;
    return rc ? rc : in.corrupt();
}

void print_tables_left_out(int n) {
    if (n == 0) return;
    const LevelGuard level(kLevelText);
    out_textf("The maximum length of labels in this version of Korva is %d. ", kMaxLabelBytes);
    out_textf("The value label%s mentioned %s not loaded.\n", n == 1 ? "" : "s",
              n == 1 ? "was" : "were");
}

// Tables stand up to the end of the file, or up to one without a length.
ReturnCode read_value_labels(const DtaReader& in) {
    const uint32_t name_bytes = in.header->format->name;
    int left_out = 0;
    for (;;) {
        if (ReturnCode rc = break_or_ok()) return rc;
        uint8_t length_field[4];
        if (!take_bytes(in.source, length_field, sizeof length_field)) break;
        const int32_t length = int32_t(dta_u32(length_field, in.header->swapped));
        if (length < 1) break;
        uint8_t name_field[kMaxNameBytes + 1 + kValueLabelPadding];
        if (!take_bytes(in.source, name_field, name_bytes + kValueLabelPadding)) return in.cut();
        const std::string_view name = field_text(name_field, name_bytes);
        if (name.size() == name_bytes || !IsValidName(name)) return in.corrupt();
        bool too_long = false;
        if (ReturnCode rc = read_table(in, name, uint32_t(length), &too_long)) return rc;
        left_out += too_long;
    }
    print_tables_left_out(left_out);
    return 0;
}

// --- the whole file ---

// Everything behind the header, into the cleared dataset.
ReturnCode load_body(const DtaReader& in, const DtaOptions& options) {
    DtaVariables variables;
    if (ReturnCode rc = read_dta_variables(in.source, in.name, *in.header, &variables)) return rc;
    if (ReturnCode rc = put_variables(variables)) return rc;
    put_data_label(*in.header, options.quiet);
    if (ReturnCode rc = read_expansion_records(in, variables)) return rc;
    if (ReturnCode rc = make_rows(in, variables)) return rc;
    if (ReturnCode rc = read_rows(in, variables)) return rc;
    if (!options.value_labels) return 0;
    return read_value_labels(in);
}

ReturnCode remember_file(std::string_view name, const DtaHeader& header) {
    if (ReturnCode rc = SetMacro("S_FN", name)) return rc;
    if (ReturnCode rc = SetMacro("S_FNDATE", header.time_stamp)) return rc;
    snprintf(dataset.filename, sizeof dataset.filename, "%.*s", int(name.size()), name.data());
    dataset.changed = 0;
    return 0;
}

}  // namespace

ReturnCode read_dta_variables(ByteSource* source, std::string_view name, const DtaHeader& header,
                              DtaVariables* variables) {
    const DtaReader in{source, name, &header};
    if (header.nvar > dataset.maxmaxvar) return report_no_room(900);
    if (list_bytes(header) > source->left) return in.cut();
    const size_t n = header.nvar;
    *variables = {};
    variables->nvar = header.nvar;
    variables->types = std::make_unique<StorageType[]>(n);
    variables->offsets = std::make_unique<uint32_t[]>(n);
    variables->names = std::make_unique<NameText[]>(n);
    variables->formats = std::make_unique<FormatText[]>(n);
    variables->label_names = std::make_unique<NameText[]>(n);
    variables->labels = std::make_unique<VariableLabelText[]>(n);
    if (n == 0) {  // the sort list is all there is
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

ReturnCode load_dta(ByteSource* source, std::string_view name, const DtaOptions& options) {
    DtaHeader header;
    if (ReturnCode rc = read_dta_header(source, name, &header)) return rc;
    if (header.format->number < kOldestFormat) {
        out_errorf("format %d files are not available yet\n", header.format->number);
        return 199;
    }
    clear_dataset();
    ReturnCode rc = load_body(DtaReader{source, name, &header}, options);
    if (rc == 0) rc = remember_file(name, header);
    if (rc) clear_dataset();
    return rc;
}

ReturnCode use_file(const std::string& name, const DtaOptions& options) {
    std::string path;
    if (ReturnCode rc = LocalPath(name, &path)) return rc;
    ByteSource source;
    if (ReturnCode rc = open_source(&source, path)) return ReportFileError(rc, name);
    return load_dta(&source, name, options);
}

}  // namespace korva
