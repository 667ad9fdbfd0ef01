// core/store.h - the named-object store: everything of variable length, keyed by name and kind.
//
// Records are found through the hash of their name and through the list of their kind. A found
// record that is asked for often moves to the head of its hash chain, so hot macros stay in front.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/types.h"

namespace korva {

constexpr int kLevels = 65;  // the top level and kMaxCallDepth nested ones, each with kinds of its
                             // own

enum StoreKind : int32_t {
    kKindAny = -1,
    kKindValueLabel = 1,
    kKindGlobalMacro = 2,
    kKindVarlist = 3,
    kKindLastCommand = 4,
    kKindEstimation = 5,
    kKindVariableLabel = 6,
    kKindProgram = 7,
    kKindMatrix = 9,  // header, row stripe, column stripe
    kKindCommandBuffer = 12,
    kKindConstraint = 13,
    kKindSavedGraph = 14,
    kKindScalar = 15,
    kKindPreserve = 16,
    kKindCharacteristic = 17,
    kKindPostfile = 18,
    kKindWorkMatrix = 19,
    kKindResultScalar = 20,
    kKindResultMacro = 21,
    kKindResultMatrix = 22,  // to 24
    kKindEstimateScalar = 25,
    kKindEstimateMacro = 26,
    kKindEstimateMatrix = 27,  // to 29
    kKindSMacro = 30,
    kKindPlugin = 31,
    kKindByobs = 33,
    kKindFileHandle = 36,
    kKindProgramIndex = 37,
    kKindIncoming = 47,  // of a dataset file being read, before they have their own kinds
    kKindSetAside = 48,  // value labels in memory while those of a file are in force
    kKindHeld = 49,      // 301 slots of 10 kinds
    kKindLocalMacro = 3059,
    kKindReturnScalar = kKindLocalMacro + kLevels,
    kKindReturnMacro = kKindReturnScalar + kLevels,
    kKindReturnMatrix = kKindReturnMacro + kLevels,  // three bands
    kKindEnd = 3493,
};
static_assert(kKindReturnMatrix + 3 * kLevels <= kKindEnd);

struct StoreRecord {
    // What a look-up reads comes first and together: in a large store each line of it is a miss.
    StoreRecord* nextByName;
    uint32_t nameHash;   // before the reduction to a bucket
    int32_t type;        // StoreKind
    uint32_t length;     // payload bytes in use
    uint8_t name_bytes;  // length of name
    uint8_t hits;        // look-ups since the last move to the front
    char name[kMaxNameBytes + 1];
    uint32_t capacity;   // payload bytes allocated
    uint32_t user_word;  // the owner's own
    StoreRecord* previousByName;
    StoreRecord* previousByType;
    StoreRecord* nextByType;

    char* payload() { return reinterpret_cast<char*>(this + 1); }
    const char* payload() const { return reinterpret_cast<const char*>(this + 1); }
};

// A new record at the head of its chains, its payload not initialised. The caller knows that no
// record of this name and kind exists (or wants a second one). Names longer than 32 bytes are cut.
// Null when memory is refused: "insufficient memory for ..." is printed and the caller returns 950.
StoreRecord* StoreCreate(std::string_view name, int32_t type, uint32_t length,
                         uint32_t user_word = 0);

// Stores `length` bytes under (name, kind). An existing record is used again if the new length is
// at most its capacity and at least capacity less slack, the slack being half the new length, held
// between 128 and 1024; otherwise it is freed and made anew. The bytes may lie in the record's own
// payload. Null: as StoreCreate, and the old one is as it was.
StoreRecord* StorePut(std::string_view name, int32_t type, const void* bytes, uint32_t length,
                      uint32_t user_word = 0);

// The same for a text and the NUL behind it: `length` counts both.
StoreRecord* StorePutText(std::string_view name, int32_t type, std::string_view text,
                          uint32_t user_word = 0);

// The record of (name, kind), or null.
StoreRecord* StoreFind(std::string_view name, int32_t type);

// The first record of the name of whatever kind, or null.
StoreRecord* StoreFindAnyType(std::string_view name);

// The next record of the same name behind `record` in its chain; kind kKindAny matches all.
StoreRecord* StoreNextOfName(StoreRecord* record, int32_t type);

// Iterates a kind, newest first: null starts, null ends. The record after a deleted one must be
// taken before the deletion.
StoreRecord* StoreNext(int32_t type, StoreRecord* record);

void StoreDelete(StoreRecord* record);  // null is nothing
void StoreDeleteType(int32_t type);     // every record of the kind
void StoreRename(StoreRecord* record, std::string_view name);
void StoreChangeType(StoreRecord* record, int32_t type);

// The word that stands for a kind in "insufficient memory for ".
const char* StoreKindWord(int32_t type);

// Bytes allocated for all records, headers included.
uint64_t StoreBytes();

// Frees every record: the end of the session, and the start of a unit test.
void StoreClear();

}  // namespace korva
