// core/stored_results.cpp - results as records of the store, a kind for each family and form.
//
// A name has one form at a time: setting a number under it takes a text of that name away.
#include "core/stored_results.h"

#include <cstring>

#include "core/macro.h"
#include "core/store.h"

namespace korva {

namespace {

constexpr int32_t kNoKind = 0;

struct FamilyKinds {
    int32_t number, text, matrix;  // kNoKind: the family has no such form
};

FamilyKinds kinds_of(ResultFamily family) {
    switch (family) {
    case ResultFamily::R: return {kKindResultScalar, kKindResultMacro, kKindResultMatrix};
    case ResultFamily::E: return {kKindEstimateScalar, kKindEstimateMacro, kKindEstimateMatrix};
    case ResultFamily::S: return {kNoKind, kKindSMacro, kNoKind};
    case ResultFamily::Return: break;
    }
    const int32_t level = macros.MacroLevel;
    return {kKindReturnScalar + level, kKindReturnMacro + level, kKindReturnMatrix + level};
}

const StoreRecord* find(std::string_view name, int32_t kind) {
    return kind == kNoKind ? nullptr : StoreFind(name, kind);
}

}  // namespace

StoredValue FindStoredResult(ResultFamily family, std::string_view name) {
    const FamilyKinds kinds = kinds_of(family);
    StoredValue value;
    if (const StoreRecord* record = find(name, kinds.text)) {
        value.kind = ResultKind::Text;
        value.text = {record->payload(), record->length - 1};
    } else if (const StoreRecord* scalar = find(name, kinds.number)) {
        value.kind = ResultKind::Number;
        std::memcpy(&value.number, scalar->payload(), sizeof value.number);
    } else if (find(name, kinds.matrix) != nullptr) {
        value.kind = ResultKind::Matrix;
    }
    return value;
}

void ClearResults() {
    for (int32_t kind = kKindResultScalar; kind <= kKindResultMatrix + 2; kind++) {
        StoreDeleteType(kind);
    }
}

ReturnCode SetResultNumber(std::string_view name, double value) {
    if (StorePut(name, kKindResultScalar, &value, sizeof value) == nullptr) return 950;
    StoreDelete(StoreFind(name, kKindResultMacro));
    return 0;
}

ReturnCode SetResultText(std::string_view name, std::string_view text) {
    if (ReturnCode rc = SetMacroOfKind(name, kKindResultMacro, text)) return rc;
    StoreDelete(StoreFind(name, kKindResultScalar));
    return 0;
}

void ClearSResults() {
    StoreDeleteType(kKindSMacro);
}

ReturnCode SetSResult(std::string_view name, std::string_view text) {
    return SetMacroOfKind(name, kKindSMacro, text);
}

}  // namespace korva
