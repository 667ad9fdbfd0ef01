// data/dta_old.cpp - what old dataset files have otherwise: names with dots, value labels of
// two-byte values, numbers with one missing value.
//
// While such a file is loaded its numbers keep their old types, which the accessors know; then each
// variable is brought up to date. An old byte holds 101 to 126, and -128, as numbers, which are
// missing values of the current one or none of its values: a variable that has such a value becomes
// wider. int and long alike.
#include <limits>
#include <map>

#include "core/names.h"
#include "core/print.h"
#include "data/cells.h"
#include "data/dta_file.h"

namespace korva {

namespace {

constexpr std::string_view kDotReplacements = "_1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr double kOldMissing = 0x1p+333;  // `.` in doubles before format 108
constexpr int kOldNameField = 10;         // of a value label's name, 9 of them used
constexpr int kOldLabelBytes = 8;

// What an old integer type becomes: its cells, the last value that stays, and the two forms of `.`.
template <class Cell>
struct OldInteger {
    StorageType wider;
    Cell largest;
    Cell old_missing;
    Cell missing;
};
constexpr OldInteger<int8_t> kOldByteRule{kInt, 100, 127, 101};
constexpr OldInteger<int16_t> kOldIntRule{kLong, 32740, 32767, 32741};
constexpr OldInteger<int32_t> kOldLongRule{kDouble, 2147483620, 2147483647, 2147483621};

template <class Cell>
ReturnCode upgrade_integers(int var, const OldInteger<Cell>& rule) {
    const auto cell_of = [](const uint8_t* at) {
        Cell cell;
        memcpy(&cell, at, sizeof cell);
        return cell;
    };
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        const Cell value = cell_of(rawcell(var, obs));
        const bool fits = value <= rule.largest && value != std::numeric_limits<Cell>::min();
        if (!fits && value != rule.old_missing) return recast_variable(var, rule.wider);
    }
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        uint8_t* at = rawcell(var, obs);
        if (cell_of(at) == rule.old_missing) memcpy(at, &rule.missing, sizeof rule.missing);
    }
    dataset.types[var - 1] = StorageType(dataset.types[var - 1] + (kByte - kOldByte));
    return 0;
}

}  // namespace

bool rename_dots(std::string_view name, const std::function<bool(std::string_view)>& is_free,
                 std::string* renamed) {
    for (char replacement : kDotReplacements) {
        *renamed = name;
        std::replace(renamed->begin(), renamed->end(), '.', replacement);
        if (is_free(*renamed)) return true;
    }
    return false;
}

ReturnCode read_old_table(const DtaReader& in, std::string* name, std::vector<uint8_t>* payload,
                          bool* ended) {
    uint8_t head[2 + kOldNameField];
    *ended = !take_bytes(in.source, head, sizeof head);
    if (*ended) return 0;
    const size_t n = dta_u16(head, in.header->swapped);
    *name = field_text(head + 2, kOldNameField);
    if (name->size() >= kOldNameField - 1 || !IsValidName(*name)) return in.corrupt();
    std::vector<uint8_t> body(n * (2 + kOldLabelBytes));
    if (!take_bytes(in.source, body.data(), body.size())) return in.cut();

    // The texts stay in the order of the file; of two for one value the later counts.
    std::map<int32_t, int32_t> offsets;
    std::string texts;
    for (size_t i = 0; i < n; i++) {
        const int32_t value = int16_t(dta_u16(&body[2 * i], in.header->swapped));
        offsets[value] = int32_t(texts.size());
        texts += field_text(&body[2 * n + kOldLabelBytes * i], kOldLabelBytes);
        texts += '\0';
    }
    const auto add = [payload](int32_t number) {
        const uint8_t* bytes = reinterpret_cast<const uint8_t*>(&number);
        payload->insert(payload->end(), bytes, bytes + sizeof number);
    };
    payload->clear();
    add(int32_t(offsets.size()));
    add(int32_t(texts.size()));
    for (const auto& [value, offset] : offsets) add(offset);
    for (const auto& [value, offset] : offsets) add(value);
    payload->insert(payload->end(), texts.begin(), texts.end());
    return 0;
}

bool replace_old_missing(uint8_t* cell, int n, size_t pitch) {
    bool found = false;
    for (int i = 0; i < n; i++, cell += pitch) {
        double value;
        memcpy(&value, cell, sizeof value);
        if (value != kOldMissing) continue;
        memcpy(cell, &kSysMissing, sizeof kSysMissing);
        found = true;
    }
    return found;
}

void drop_old_sort(const std::vector<bool>& had_old_missing) {
    bool is_key = false;
    for (const uint16_t* key = dataset.sortlist; *key; key++) is_key |= had_old_missing[*key - 1u];
    if (!is_key) return;
    const LevelGuard level(kLevelText);
    out_text("Warning:  old-format data was sorted by");
    for (const uint16_t* key = dataset.sortlist; *key; key++) {
        out_textf(" %s", dataset.names[*key - 1]);
    }
    out_text("\ndue to changes in Korva, the sort information had to be cleared\n");
    out_text("in this case; you must reissue the sort command if you care\n");
    dataset.sortlist[0] = 0;
}

ReturnCode upgrade_old_types() {
    for (int var = 1; var <= dataset.nvar; var++) {
        if (ReturnCode rc = break_or_ok()) return rc;
        ReturnCode rc = 0;
        switch (dataset.types[var - 1]) {
        case kOldByte: rc = upgrade_integers(var, kOldByteRule); break;
        case kOldInt: rc = upgrade_integers(var, kOldIntRule); break;
        case kOldLong: rc = upgrade_integers(var, kOldLongRule); break;
        // Their one missing value has the bits that it has today.
        case kOldFloat: dataset.types[var - 1] = kFloat; break;
        case kOldDouble: dataset.types[var - 1] = kDouble; break;
        default: break;
        }
        if (rc) return rc;
    }
    return 0;
}

}  // namespace korva
