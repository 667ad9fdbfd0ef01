// data/dta_write.cpp - header, lists, characteristics, rows and value labels of a dataset file.
//
// Everything small goes through a buffer of the size of a block. Rows are gathered from their slots
// into the same buffer, a block at a time, and translated there if the format is an old one: the
// dataset itself is only read. Fields are filled up with NULs, so that a file tells nothing of what
// lay in memory behind a text.
#include "data/dta_write.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <ctime>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "core/file_replace.h"
#include "core/poll.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/store.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/labels.h"
#include "data/row_copy.h"

namespace korva {

namespace {

// Bytes of the row in memory that stand together in the file's row.
struct Run {
    uint32_t from;
    uint32_t bytes;
};

struct DtaWriter {
    const DtaSink& sink;
    const DtaWriteOptions& options;
    const DtaFormat& format;
    std::vector<int32_t> vars;  // written, 1-based
    std::vector<Run> runs;
    size_t width = 0;  // of a row in the file
    uint8_t* buffer = nullptr;
    size_t room = 0;  // bytes of the buffer
    size_t used = 0;
};

ReturnCode flush(DtaWriter* out) {
    if (out->used == 0) return 0;
    const size_t n = out->used;
    out->used = 0;
    return out->sink.write(out->sink.context, out->buffer, n);
}

ReturnCode put_bytes(DtaWriter* out, const void* bytes, size_t n) {
    if (n > out->room - out->used) {
        if (ReturnCode rc = flush(out)) return rc;
        if (n >= out->room) return out->sink.write(out->sink.context, bytes, n);
    }
    memcpy(out->buffer + out->used, bytes, n);
    out->used += n;
    return 0;
}

template <class Number>
ReturnCode put_number(DtaWriter* out, Number number) {
    return put_bytes(out, &number, sizeof number);
}

// The text in a field of `bytes` bytes, at most 255, which keeps at least one NUL.
ReturnCode put_field(DtaWriter* out, std::string_view text, size_t bytes) {
    char field[256] = {};
    assert(bytes < sizeof field);
    text.copy(field, bytes - 1);
    return put_bytes(out, field, bytes);
}

// --- what is written ---

void choose_columns(DtaWriter* out) {
    for (int var = 1; var <= dataset.nvar; var++) {
        const bool hidden = strcmp(dataset.names[var - 1], kEstimationSample) == 0;
        if (hidden && !out->options.all) continue;
        const uint32_t from = dataset.offsets[var - 1];
        const uint32_t bytes = uint32_t(type_width(dataset.types[var - 1]));
        if (!out->runs.empty() && out->runs.back().from + out->runs.back().bytes == from) {
            out->runs.back().bytes += bytes;
        } else {
            out->runs.push_back({from, bytes});
        }
        out->vars.push_back(var);
        out->width += bytes;
    }
}

uint8_t type_code(StorageType type, const DtaFormat& format) {
    if (!format.letter_types) return type;
    switch (type) {
    case kByte: return 'b';
    case kInt: return 'i';
    case kLong: return 'l';
    case kFloat: return 'f';
    case kDouble: return 'd';
    default: return uint8_t(kLetterStringBase + type);
    }
}

ReturnCode put_header(DtaWriter* out, const char* time_stamp) {
    const uint8_t start[] = {out->format.number, 2, 1, 0};  // low-high, the only file type, unused
    if (ReturnCode rc = put_bytes(out, start, sizeof start)) return rc;
    if (ReturnCode rc = put_number(out, uint16_t(out->vars.size()))) return rc;
    if (ReturnCode rc = put_number(out, dataset.nobs)) return rc;
    if (ReturnCode rc = put_field(out, dataset.label, out->format.data_label)) return rc;
    return put_field(out, time_stamp, out->format.time_stamp);
}

// The keys as they are numbered in the file, up to the first that is not written.
ReturnCode put_sort_list(DtaWriter* out) {
    std::vector<uint16_t> keys(out->vars.size() + 1, 0);
    for (size_t i = 0; i < out->vars.size() && dataset.sortlist[i]; i++) {
        const auto place = std::find(out->vars.begin(), out->vars.end(), dataset.sortlist[i]);
        if (place == out->vars.end()) break;
        keys[i] = uint16_t(place - out->vars.begin() + 1);
    }
    return put_bytes(out, keys.data(), keys.size() * sizeof(uint16_t));
}

// One field of each variable.
template <class TextOf>
ReturnCode put_list(DtaWriter* out, size_t bytes, TextOf text_of) {
    for (int32_t var : out->vars) {
        if (ReturnCode rc = put_field(out, text_of(var), bytes)) return rc;
    }
    return 0;
}

ReturnCode put_lists(DtaWriter* out) {
    const DtaFormat& format = out->format;
    for (int32_t var : out->vars) {
        const uint8_t code = type_code(dataset.types[var - 1], format);
        if (ReturnCode rc = put_number(out, code)) return rc;
    }
    ReturnCode rc = put_list(out, format.name, [](int32_t var) { return dataset.names[var - 1]; });
    if (rc == 0) rc = put_sort_list(out);
    if (rc == 0) {
        rc = put_list(out, format.display_format,
                      [](int32_t var) { return dataset.formats[var - 1]; });
    }
    if (rc == 0) {
        rc = put_list(out, format.name, [](int32_t var) { return dataset.label_names[var - 1]; });
    }
    if (rc == 0) {
        rc = put_list(out, format.variable_label, [](int32_t var) { return variable_label(var); });
    }
    return rc;
}

std::vector<StoreRecord*> records_to_write(const DtaWriter& out, int32_t kind) {
    std::vector<StoreRecord*> records;
    for (StoreRecord* record = StoreNext(kind, nullptr); record != nullptr;
         record = StoreNext(kind, record)) {
        records.push_back(record);
    }
    if (out.options.oldest_first) std::reverse(records.begin(), records.end());
    return records;
}

// Characteristics, and the record that ends them.
ReturnCode put_characteristics(DtaWriter* out) {
    std::unordered_set<std::string_view> owners{kDatasetOwner};
    for (int32_t var : out->vars) owners.insert(dataset.names[var - 1]);
    const size_t name_bytes = out->format.name;
    for (const StoreRecord* record : records_to_write(*out, kKindCharacteristic)) {
        const std::string_view owner(record->name, record->name_bytes);
        if (!owners.contains(owner)) continue;
        const std::string_view text = characteristic_text(record);
        const uint8_t kind = 1;
        if (ReturnCode rc = put_number(out, kind)) return rc;
        const uint32_t length = uint32_t(2 * name_bytes + text.size() + 1);
        if (ReturnCode rc = put_number(out, length)) return rc;
        if (ReturnCode rc = put_field(out, owner, name_bytes)) return rc;
        if (ReturnCode rc = put_field(out, characteristic_name(record), name_bytes)) return rc;
        if (ReturnCode rc = put_bytes(out, text.data(), text.size() + 1)) return rc;
    }
    const uint8_t end[5] = {};
    return put_bytes(out, end, sizeof end);
}

// --- rows ---

void gather_rows(const DtaWriter& out, int32_t obs, size_t n) {
    const uint64_t pitch = uint64_t(dataset.lrecl);
    const uint32_t* slot = dataset.slot + (obs - 1);
    uint8_t* column = out.buffer;
    for (const Run& run : out.runs) {
        const uint8_t* from = dataset.rows + run.from;
        with_row_copy(run.bytes, [&](auto copy) {
            uint8_t* to = column;
            for (size_t row = 0; row < n; row++, to += out.width) {
                copy(to, from + slot[row] * pitch);
            }
        });
        column += run.bytes;
    }
}

// Every missing value of the column becomes the one of the old types.
template <class Cell, class IsMissing>
void old_missing(uint8_t* cell, size_t n, size_t pitch, Cell old_dot, IsMissing is_missing_cell) {
    for (size_t i = 0; i < n; i++, cell += pitch) {
        Cell value;
        memcpy(&value, cell, sizeof value);
        if (is_missing_cell(value)) memcpy(cell, &old_dot, sizeof old_dot);
    }
}

void make_rows_old(const DtaWriter& out, size_t n) {
    uint8_t* cell = out.buffer;
    const size_t pitch = out.width;
    for (int32_t var : out.vars) {
        const StorageType type = dataset.types[var - 1];
        switch (type) {
        case kByte: old_missing<int8_t>(cell, n, pitch, 127, [](int v) { return v > 100; }); break;
        case kInt:
            old_missing<int16_t>(cell, n, pitch, 32767, [](int v) { return v > 32740; });
            break;
        case kLong:
            old_missing<int32_t>(cell, n, pitch, 2147483647,
                                 [](int32_t v) { return v > 2147483620; });
            break;
        case kFloat:
            old_missing<float>(cell, n, pitch, 0x1p127f, [](float v) { return v >= 0x1p127f; });
            break;
        case kDouble:
            old_missing<double>(cell, n, pitch, kSysMissing,
                                [](double v) { return is_missing(v); });
            break;
        default: break;
        }
        cell += type_width(type);
    }
}

ReturnCode put_rows(DtaWriter* out) {
    if (out->width == 0) return 0;
    if (ReturnCode rc = flush(out)) return rc;
    const int64_t block_rows = int64_t(out->room / out->width);
    for (int64_t done = 0; done < dataset.nobs;) {
        Poll(session.pollcount);
        if (session.BreakFlag) return kBreak;
        const size_t n = size_t(std::min<int64_t>(block_rows, dataset.nobs - done));
        gather_rows(*out, int32_t(done) + 1, n);
        if (out->format.old_missing) make_rows_old(*out, n);
        out->used = n * out->width;
        if (ReturnCode rc = flush(out)) return rc;
        done += int64_t(n);
    }
    return 0;
}

// --- value labels ---

ReturnCode put_value_labels(DtaWriter* out) {
    std::unordered_set<std::string_view> used;
    for (int32_t var : out->vars) used.insert(dataset.label_names[var - 1]);
    for (const StoreRecord* record : records_to_write(*out, kKindValueLabel)) {
        const std::string_view name(record->name, record->name_bytes);
        if (!out->options.orphans && !used.contains(name)) continue;
        const uint8_t padding[3] = {};
        if (ReturnCode rc = put_number(out, record->length)) return rc;
        if (ReturnCode rc = put_field(out, name, out->format.name)) return rc;
        if (ReturnCode rc = put_bytes(out, padding, sizeof padding)) return rc;
        if (ReturnCode rc = put_bytes(out, record->payload(), record->length)) return rc;
    }
    return 0;
}

ReturnCode write_to_replacement(void* context, const void* bytes, size_t n) {
    return WriteReplacement(static_cast<FileReplacement*>(context), bytes, n);
}

}  // namespace

ReturnCode write_dta(const DtaSink& sink, const DtaWriteOptions& options,
                     const char time_stamp[kTimeStampBytes]) {
    DtaWriter out{sink, options, *find_dta_format(options.format), {}, {}, 0, nullptr, 0, 0};
    choose_columns(&out);
    const size_t rows = std::max<size_t>(kRowBufferBytes / std::max<size_t>(out.width, 1), 2);
    out.room = std::max(rows * out.width, kRowBufferBytes);
    const RowBuffer buffer(out.room);
    if (!buffer.rows) return ReportError(909);
    out.buffer = buffer.rows;

    if (ReturnCode rc = put_header(&out, time_stamp)) return rc;
    if (ReturnCode rc = put_lists(&out)) return rc;
    if (ReturnCode rc = put_characteristics(&out)) return rc;
    if (ReturnCode rc = put_rows(&out)) return rc;
    if (options.value_labels) {
        if (ReturnCode rc = put_value_labels(&out)) return rc;
    }
    return flush(&out);
}

void make_time_stamp(char stamp[kTimeStampBytes]) {
    static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    char text[64];
    snprintf(text, sizeof text, "%2d %s %04d %02d:%02d", local.tm_mday, kMonths[local.tm_mon % 12],
             local.tm_year + 1900, local.tm_hour, local.tm_min);
    memcpy(stamp, text, kTimeStampBytes - 1);
    stamp[kTimeStampBytes - 1] = 0;
}

ReturnCode save_dta(const std::string& path, const DtaWriteOptions& options,
                    const char time_stamp[kTimeStampBytes]) {
    FileReplacement file;
    if (ReturnCode rc = BeginReplace(&file, path)) return rc;
    if (ReturnCode rc = write_dta({write_to_replacement, &file}, options, time_stamp)) return rc;
    return CommitReplace(&file);
}

}  // namespace korva
