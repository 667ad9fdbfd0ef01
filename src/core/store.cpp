// core/store.cpp - one hash table of chained records, and a list of records for each kind.
//
// A look-up walks the chain of its bucket and compares the whole hash before the kind and the
// bytes, so that a wrong record costs one comparison. Chains are newest first. A record that was
// found eleven times since it last moved goes to the head of its chain: names that a loop uses stay
// in front, and a single look-up writes no more than its counter.
//
// The two tables of heads lie in static storage and need no start-up; records come from
// EngineAlloc.
#include "core/store.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>

#include "core/alloc.h"
#include "core/print.h"
#include "core/session.h"

namespace korva {

namespace {

constexpr uint32_t kNameBuckets = 20009;  // a prime
// A bucket is split into chains by the rest of the hash, so that a look-up among very many records
// meets few of them: each is a line that the cache does not hold. Records of one name share a
// chain.
constexpr uint32_t kChainsOfBucket = 8;
constexpr uint8_t kHitsToMove = 11;
constexpr uint32_t kLeastSlack = 128;
constexpr uint32_t kMostSlack = 1024;

struct StoreState {
    StoreRecord* by_name[kNameBuckets * kChainsOfBucket] = {};
    StoreRecord* by_type[kKindEnd] = {};
    uint64_t bytes = 0;  // of all records, headers included
};
StoreState store;

std::string_view cut_name(std::string_view name) {
    return name.substr(0, kMaxNameBytes);
}

// h = h * 31 + byte, four bytes a step: one multiplication waits for the last instead of four.
uint32_t hash_name(std::string_view name) {
    const auto* byte = reinterpret_cast<const uint8_t*>(name.data());
    size_t left = name.size();
    uint32_t h = 0;
    for (; left >= 4; left -= 4, byte += 4) {
        h = h * (31u * 31 * 31 * 31) +
            (byte[0] * (31u * 31 * 31) + byte[1] * (31u * 31) + byte[2] * 31u + byte[3]);
    }
    for (; left > 0; left--) h = h * 31 + *byte++;
    return h;
}

StoreRecord** name_head(uint32_t hash) {
    const uint32_t bucket = hash % kNameBuckets;
    return &store.by_name[bucket * kChainsOfBucket + hash / kNameBuckets % kChainsOfBucket];
}

StoreRecord** type_head(int32_t type) {
    assert(type >= 0 && type < kKindEnd);
    return &store.by_type[type];
}

void link_name(StoreRecord* record) {
    StoreRecord** head = name_head(record->nameHash);
    record->previousByName = nullptr;
    record->nextByName = *head;
    if (*head != nullptr) (*head)->previousByName = record;
    *head = record;
}

void unlink_name(StoreRecord* record) {
    if (record->nextByName != nullptr) record->nextByName->previousByName = record->previousByName;
    if (record->previousByName != nullptr) {
        record->previousByName->nextByName = record->nextByName;
    } else {
        *name_head(record->nameHash) = record->nextByName;
    }
}

void link_type(StoreRecord* record) {
    StoreRecord** head = type_head(record->type);
    record->previousByType = nullptr;
    record->nextByType = *head;
    if (*head != nullptr) (*head)->previousByType = record;
    *head = record;
}

void unlink_type(StoreRecord* record) {
    if (record->nextByType != nullptr) record->nextByType->previousByType = record->previousByType;
    if (record->previousByType != nullptr) {
        record->previousByType->nextByType = record->nextByType;
    } else {
        *type_head(record->type) = record->nextByType;
    }
}

void set_name(StoreRecord* record, std::string_view name, uint32_t hash) {
    // The text may be the record's own name.
    std::memmove(record->name, name.data(), name.size());
    std::memset(record->name + name.size(), 0, sizeof record->name - name.size());
    record->name_bytes = uint8_t(name.size());
    record->nameHash = hash;
}

bool has_name(const StoreRecord* record, std::string_view name, uint32_t hash) {
    return record->nameHash == hash && record->name_bytes == name.size() &&
           std::memcmp(record->name, name.data(), name.size()) == 0;
}

void release(StoreRecord* record) {
    store.bytes -= sizeof(StoreRecord) + record->capacity;
    EngineFree(record);
}

void report_no_memory(std::string_view name, int32_t type) {
    const std::string_view word = StoreKindWord(type);
    LevelGuard level(kLevelError);
    out_error("insufficient memory for ");
    out_text(word);
    out_text(word.ends_with('(') ? "" : " ");
    out_text(name);
    out_text(word.ends_with('(') ? ")\n" : "\n");
}

StoreRecord* create(std::string_view name, uint32_t hash, int32_t type, uint32_t length,
                    uint32_t user_word) {
    void* block = EngineAlloc(sizeof(StoreRecord) + size_t(length));
    if (block == nullptr) {
        report_no_memory(name, type);
        return nullptr;
    }
    auto* record = new (block) StoreRecord;
    record->capacity = length;
    record->length = length;
    record->user_word = user_word;
    record->type = type;
    record->hits = 0;
    set_name(record, name, hash);
    link_name(record);
    link_type(record);
    store.bytes += sizeof(StoreRecord) + length;
    return record;
}

void note_hit(StoreRecord* record) {
    if (++record->hits < kHitsToMove) return;
    record->hits = 0;
    if (record->previousByName == nullptr) return;
    unlink_name(record);
    link_name(record);
}

StoreRecord* find(std::string_view name, uint32_t hash, int32_t type) {
    for (StoreRecord* record = *name_head(hash); record != nullptr; record = record->nextByName) {
        if (record->nameHash == hash && record->type == type && has_name(record, name, hash)) {
            note_hit(record);
            return record;
        }
    }
    return nullptr;
}

// True if a record that has this capacity stays for a payload of this length.
bool fits(uint32_t capacity, uint32_t length) {
    const uint32_t slack = std::clamp(length / 2, kLeastSlack, kMostSlack);
    return length <= capacity && uint64_t(length) + slack >= capacity;
}

// The record for a payload of `length` bytes under the name and kind; its bytes are whatever they
// were. A record that must go is left to the caller in *old, since the new payload may come from
// it, and since it stays when there is no memory for another.
StoreRecord* reserve(std::string_view name, int32_t type, uint32_t length, uint32_t user_word,
                     StoreRecord** old) {
    const uint32_t hash = hash_name(name);
    StoreRecord* record = find(name, hash, type);
    *old = nullptr;
    if (record != nullptr && fits(record->capacity, length)) {
        record->length = length;
        record->user_word = user_word;
        return record;
    }
    *old = record;
    StoreRecord* made = create(name, hash, type, length, user_word);
    if (made == nullptr) *old = nullptr;
    return made;
}

}  // namespace

StoreRecord* StoreCreate(std::string_view name, int32_t type, uint32_t length, uint32_t user_word) {
    name = cut_name(name);
    return create(name, hash_name(name), type, length, user_word);
}

StoreRecord* StorePut(std::string_view name, int32_t type, const void* bytes, uint32_t length,
                      uint32_t user_word) {
    StoreRecord* old = nullptr;
    StoreRecord* record = reserve(cut_name(name), type, length, user_word, &old);
    if (record != nullptr && length != 0) std::memmove(record->payload(), bytes, length);
    StoreDelete(old);
    return record;
}

StoreRecord* StorePutText(std::string_view name, int32_t type, std::string_view text,
                          uint32_t user_word) {
    StoreRecord* old = nullptr;
    StoreRecord* record = reserve(cut_name(name), type, uint32_t(text.size()) + 1, user_word, &old);
    if (record != nullptr) {
        if (!text.empty()) std::memmove(record->payload(), text.data(), text.size());
        record->payload()[text.size()] = 0;
    }
    StoreDelete(old);
    return record;
}

StoreRecord* StoreFind(std::string_view name, int32_t type) {
    name = cut_name(name);
    return find(name, hash_name(name), type);
}

StoreRecord* StoreFindAnyType(std::string_view name) {
    name = cut_name(name);
    const uint32_t hash = hash_name(name);
    for (StoreRecord* record = *name_head(hash); record != nullptr; record = record->nextByName) {
        if (has_name(record, name, hash)) return record;
    }
    return nullptr;
}

StoreRecord* StoreNextOfName(StoreRecord* record, int32_t type) {
    const std::string_view name(record->name, record->name_bytes);
    const uint32_t hash = record->nameHash;
    for (record = record->nextByName; record != nullptr; record = record->nextByName) {
        if ((type == kKindAny || record->type == type) && has_name(record, name, hash)) break;
    }
    return record;
}

StoreRecord* StoreNext(int32_t type, StoreRecord* record) {
    return record == nullptr ? *type_head(type) : record->nextByType;
}

void StoreDelete(StoreRecord* record) {
    if (record == nullptr) return;
    unlink_name(record);
    unlink_type(record);
    release(record);
}

void StoreDeleteType(int32_t type) {
    StoreRecord* record = *type_head(type);
    *type_head(type) = nullptr;
    while (record != nullptr) {
        StoreRecord* next = record->nextByType;
        unlink_name(record);
        release(record);
        record = next;
    }
}

void StoreRename(StoreRecord* record, std::string_view name) {
    name = cut_name(name);
    unlink_name(record);
    set_name(record, name, hash_name(name));
    link_name(record);
}

void StoreChangeType(StoreRecord* record, int32_t type) {
    unlink_type(record);
    record->type = type;
    link_type(record);
}

const char* StoreKindWord(int32_t type) {
    struct WordRow {
        int32_t first, last;
        const char* word;
    };
    // clang-format off
    static constexpr WordRow kWords[] = {
        {kKindValueLabel,     kKindValueLabel,         "value label"},
        {kKindGlobalMacro,    kKindGlobalMacro,        "global macro"},
        {kKindVarlist,        kKindVarlist,            "varlist"},
        {kKindLastCommand,    kKindLastCommand,        "last command"},
        {kKindEstimation,     kKindEstimation,         "saved estimation result"},
        {kKindVariableLabel,  kKindVariableLabel,      "variable label"},
        {kKindProgram,        kKindProgram,            "program"},
        {kKindMatrix,         kKindMatrix + 2,         "matrix"},
        {kKindCommandBuffer,  kKindCommandBuffer,      "command buffer"},
        {kKindConstraint,     kKindConstraint,         "constraint"},
        {kKindSavedGraph,     kKindSavedGraph,         "saved graph"},
        {kKindScalar,         kKindScalar,             "scalar"},
        {kKindPreserve,       kKindPreserve,           "estimates preserve/restore"},
        {kKindCharacteristic, kKindCharacteristic,     "characteristic"},
        {kKindPostfile,       kKindPostfile,           "tracking the postfile"},
        {kKindWorkMatrix,     kKindWorkMatrix,         "internal temporary matrix"},
        {kKindResultScalar,   kKindResultScalar,       "scalar r("},
        {kKindResultMacro,    kKindResultMacro,        "local macro r("},
        {kKindResultMatrix,   kKindResultMatrix + 2,   "matrix r("},
        {kKindEstimateScalar, kKindEstimateScalar,     "scalar e("},
        {kKindEstimateMacro,  kKindEstimateMacro,      "local macro e("},
        {kKindEstimateMatrix, kKindEstimateMatrix + 2, "matrix e("},
        {kKindSMacro,         kKindSMacro,             "local macro s("},
        {kKindPlugin,         kKindPlugin,             "plugin"},
        {kKindByobs,          kKindByobs,              "byobs subcommand"},
        {kKindFileHandle,     kKindFileHandle,         "file handle"},
        {kKindProgramIndex,   kKindProgramIndex,       "program index"},
        {kKindHeld,           kKindLocalMacro - 1,     "held estimates"},
        {kKindLocalMacro,     kKindReturnScalar - 1,   "local macro"},
        {kKindReturnScalar,   kKindReturnMacro - 1,    "scalar return("},
        {kKindReturnMacro,    kKindReturnMatrix - 1,   "local macro return("},
        {kKindReturnMatrix,   kKindReturnMatrix + 3 * kLevels - 1, "matrix return("},
    };
    // clang-format on
    for (const WordRow& row : kWords) {
        if (type >= row.first && type <= row.last) return row.word;
    }
    return "object";
}

uint64_t StoreBytes() {
    return store.bytes;
}

void StoreClear() {
    for (int32_t type = 0; type < kKindEnd; type++) StoreDeleteType(type);
}

}  // namespace korva
