// core/program.cpp - the records of programs: stored text, look-up, eviction.
//
// Several programs may have one name: a global one, and subprograms of ado-files, told apart by
// their owner. A running program is asked for again at each of its lines, since the record belongs
// to the store and may go with the program; so what was found is remembered, in the session for the
// current program and in a small table for all others, until one counter tells that a record came
// or went.
#include "core/program.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>

#include "core/names.h"
#include "core/print.h"
#include "core/reader.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/version.h"

namespace korva {

uint32_t program_generation = 1;

namespace {

constexpr int kAutomaticIndent = 8;  // of the version line put in front of an ado-file's program
constexpr size_t kRememberedLookups = 128;  // a power of two; a call chain touches a few of them

struct Lookup {
    StoreRecord* record = nullptr;
    uint32_t generation = 0;  // program_generation when it was entered
    int which = 0;
    uint8_t name_bytes = 0;
    uint8_t owner_bytes = 0;
    char name[kMaxNameBytes];
    char owner[kMaxNameBytes];
};

struct LookupTable {
    Lookup slots[kRememberedLookups];
};
LookupTable lookups;

bool same_text(const char* bytes, uint8_t length, std::string_view text) {
    return std::string_view(bytes, length) == text;
}

Lookup* slot_of(std::string_view name, int which) {
    uint32_t hash = uint32_t(which);
    for (char c : name) hash = hash * 31 + uint8_t(c);
    return &lookups.slots[(hash ^ hash >> 7) % kRememberedLookups];
}

std::string_view owner_of(const StoreRecord* record) {
    if (record->type == kKindPlugin) {
        return reinterpret_cast<const PluginHead*>(record->payload())->owner;
    }
    return reinterpret_cast<const ProgramHead*>(record->payload())->owner;
}

std::string_view name_of(const StoreRecord* record) {
    return {record->name, record->name_bytes};
}

// One with the very owner wins at once; of global ones the last seen is taken.
StoreRecord* search(std::string_view name, std::string_view owner, int which) {
    StoreRecord* global = nullptr;
    for (int kind : {kFindPrograms, kFindPlugins}) {
        if (!(which & kind)) continue;
        const int32_t type = kind == kFindPrograms ? kKindProgram : kKindPlugin;
        StoreRecord* record = StoreFind(name, type);
        for (; record; record = StoreNextOfName(record, type)) {
            const std::string_view record_owner = owner_of(record);
            if (record_owner == owner) return record;
            if (record_owner.empty()) global = record;
        }
    }
    return global;
}

// The record whose owner is just this one.
StoreRecord* find_owned(std::string_view name, std::string_view owner, int which) {
    StoreRecord* record = FindProgram(name, owner, which);
    return record && owner_of(record) == owner ? record : nullptr;
}

uint32_t* block_ends(ProgramHead* head) {
    return head->lineOffsets + head->lines + 1;
}

void copy_text(char* buffer, size_t size, std::string_view text) {
    buffer[text.copy(buffer, size - 1)] = 0;
}

// A record with the text and a head of zeros; null if memory was refused.
StoreRecord* create_program(std::string_view name, const ProgramText& text) {
    const auto lines = uint32_t(text.offsets.size());
    const size_t start = offsetof(ProgramHead, lineOffsets) +
                         size_t(2 * (lines + 1)) * sizeof(uint32_t);
    const size_t length = start + text.bytes.size();
    StoreRecord* record = StoreCreate(name, kKindProgram,
                                      uint32_t(std::max(length, sizeof(ProgramHead))), lines);
    if (!record) return nullptr;
    ForgetPrograms();

    std::memset(record->payload(), 0, start);
    ProgramHead* head = ProgramOf(record);
    head->lines = int32_t(lines);
    for (uint32_t i = 0; i < lines; i++) head->lineOffsets[i] = uint32_t(start) + text.offsets[i];
    head->lineOffsets[lines] = uint32_t(length);
    std::memcpy(record->payload() + start, text.bytes.data(), text.bytes.size());
    return record;
}

uint64_t delete_program(StoreRecord* record) {
    const uint64_t bytes = record->length;
    StoreDelete(record);
    ForgetPrograms();
    return bytes;
}

// Deletes the programs that `chosen` picks.
template <typename Choice>
uint64_t delete_programs(Choice chosen) {
    uint64_t bytes = 0;
    StoreRecord* next = nullptr;
    for (StoreRecord* record = StoreNext(kKindProgram, nullptr); record; record = next) {
        next = StoreNext(kKindProgram, record);
        if (chosen(record, ProgramOf(record))) bytes += delete_program(record);
    }
    return bytes;
}

// A program of the owner may not be defined twice. The one that an earlier load of the same
// ado-file left is replaced: *stale.
ReturnCode check_definition(std::string_view name, std::string_view owner, StoreRecord** stale) {
    *stale = nullptr;
    if (find_owned(name, owner, kFindPlugins)) return ReportAlreadyDefined(name);
    StoreRecord* record = find_owned(name, owner, kFindPrograms);
    if (!record) return 0;
    const ProgramHead* head = ProgramOf(record);
    const bool earlier_load = session.LoadDepth > 0 && head->loadMark != 0 &&
                              head->loadMark != uint32_t(session.LoadMark);
    if (!earlier_load || head->inUse) return ReportAlreadyDefined(name);
    *stale = record;
    return 0;
}

std::string_view owner_of_definition(std::string_view name) {
    const std::string_view scope = session.Scope;
    return session.LoadDepth > 0 && name != scope ? scope : std::string_view();
}

ReturnCode store_definition(std::string_view name, const ProgramOptions& options,
                            const ProgramText& text, StoreRecord* stale) {
    if (text.too_long) return ReportError(1000);
    StoreRecord* record = create_program(name, text);
    if (!record) return 950;
    const bool loading = session.LoadDepth > 0;
    ProgramHead* head = ProgramOf(record);
    head->loadMark = loading ? uint32_t(session.LoadMark) : 0;
    head->lastUsed = loading ? session.LoadMark : session.CommandCounter;
    head->sortPreserve = options.sortPreserve;
    head->classProgram = options.classProgram;
    head->resultKind = options.resultKind;
    head->byableState = options.byableState;
    head->version = uint16_t(session.version);
    copy_text(head->owner, sizeof head->owner, owner_of_definition(name));
    copy_text(head->properties, sizeof head->properties, options.properties);
    if (stale) delete_program(stale);
    return 0;
}

// An ado-file's program says first under which version it was loaded.
void start_text(ProgramText* text) {
    if (session.LoadDepth == 0) return;
    AddProgramLine(text,
                   std::string(kAutomaticIndent, ' ') + "version " + VersionText(session.version));
}

bool is_end_line(char* line) {
    SetScanPointer(line);
    NextToken();
    return TokenIs("end");
}

ReturnCode read_body(ProgramText* text) {
    const bool typed = !session.InProgram && !session.CurrentReader;
    for (int number = 1;; number++) {
        if (typed && session.OutputThreshold < kThresholdQuiet) {
            LevelGuard level(kLevelText);
            out_textf("%3d. ", number);
        }
        if (!ReadRawLine()) return session.BreakFlag ? kBreak : ReportError(612);
        if (is_end_line(session.ConsoleBuffer)) return 0;
        AddProgramLine(text, session.ConsoleBuffer);
    }
}

// The program that has gone unused longest among those that may go; null: none.
StoreRecord* oldest_program(uint32_t loadMark, std::string_view keep) {
    StoreRecord* oldest = nullptr;
    for (StoreRecord* r = StoreNext(kKindProgram, nullptr); r; r = StoreNext(kKindProgram, r)) {
        const ProgramHead* head = ProgramOf(r);
        if (head->loadMark == 0 || head->classProgram || head->owner[0]) continue;
        if (uint32_t(head->lastUsed) > loadMark || name_of(r) == keep) continue;
        if (oldest && ProgramOf(oldest)->lastUsed <= head->lastUsed) continue;
        if (!ScopeInUse(name_of(r))) oldest = r;
    }
    return oldest;
}

}  // namespace

void AddProgramLine(ProgramText* text, std::string_view line) {
    const size_t first = std::min(line.find_first_not_of(' '), line.size());
    const size_t start = text->bytes.size();
    if (text->offsets.size() >= size_t(kMaxProgramLines)) text->too_long = true;
    if (text->too_long) return;
    std::string& out = text->bytes;
    out += char(uint8_t(std::min<size_t>(first, 255)));

    int compound = 0;  // depth of `" "'
    bool quoted = false;
    for (size_t i = first; i < line.size(); i++) {
        const char c = line[i];
        const char next = i + 1 < line.size() ? line[i + 1] : '\0';
        if (!quoted && c == '`' && next == '"') {
            compound++;
            out += c;
            out += next;
            i++;
        } else if (compound > 0 && c == '"' && next == '\'') {
            compound--;
            out += c;
            out += next;
            i++;
        } else if (c == '"' && compound == 0) {
            quoted = !quoted;
            out += c;
        } else if (c == ' ' && !quoted && compound == 0 && out.back() == ' ' && i > first) {
            continue;
        } else {
            out += c;
        }
    }
    while (out.size() > start + 1 && out.back() == ' ') out.pop_back();
    out += '\0';
    if (out.size() > size_t(kMaxProgramBytes)) {
        text->too_long = true;
        return;
    }
    text->offsets.push_back(uint32_t(start));
}

StoreRecord* FindProgram(std::string_view name, std::string_view owner, int which) {
    if (name.empty() || name.size() > kMaxNameBytes || owner.size() > kMaxNameBytes) return nullptr;
    Lookup* slot = slot_of(name, which);
    if (slot->generation == program_generation && slot->which == which &&
        same_text(slot->name, slot->name_bytes, name) &&
        same_text(slot->owner, slot->owner_bytes, owner)) {
        return slot->record;
    }
    StoreRecord* record = search(name, owner, which);
    if (!record) return nullptr;
    slot->record = record;
    slot->generation = program_generation;
    slot->which = which;
    slot->name_bytes = uint8_t(name.size());
    slot->owner_bytes = uint8_t(owner.size());
    name.copy(slot->name, name.size());
    owner.copy(slot->owner, owner.size());
    return record;
}

StoreRecord* FindCurrentProgram() {
    StoreRecord* record = FindProgram(session.ProgramName, session.Scope, kFindPrograms);
    session.ProgramRecord = record;
    session.ProgramGeneration = record ? program_generation : 0;
    return record;
}

void ForgetPrograms() {
    if (++program_generation == 0) program_generation = 1;
}

std::string_view ProgramLineText(const StoreRecord* record, int32_t index) {
    const auto* head = reinterpret_cast<const ProgramHead*>(record->payload());
    assert(index >= 0 && index < head->lines);
    const uint32_t start = head->lineOffsets[index];
    return {record->payload() + start, head->lineOffsets[index + 1] - start};
}

ReturnCode DefineProgram(std::string_view name, const ProgramOptions& options) {
    StoreRecord* stale;
    if (ReturnCode rc = check_definition(name, owner_of_definition(name), &stale)) return rc;
    ProgramText text;
    start_text(&text);
    if (ReturnCode rc = read_body(&text)) return rc;
    return store_definition(name, options, text, stale);
}

ReturnCode DefineProgramFromText(std::string_view name, const ProgramOptions& options,
                                 std::string_view source) {
    StoreRecord* stale;
    if (ReturnCode rc = check_definition(name, owner_of_definition(name), &stale)) return rc;
    ProgramText text;
    start_text(&text);
    ScannerGuard scanner_guard;
    for (size_t at = 0; at < source.size();) {
        const size_t end = std::min(source.find('\n', at), source.size());
        std::string line(source.substr(at, end - at));
        if (is_end_line(line.data())) break;
        AddProgramLine(&text, line);
        at = end + 1;
    }
    return store_definition(name, options, text, stale);
}

StoreRecord* StoreLoopProgram(std::string_view name, const ProgramText& text) {
    assert(IsLoopProgram(name));
    StoreRecord* record = create_program(name, text);
    if (!record) return nullptr;
    ProgramHead* head = ProgramOf(record);
    head->inUse = 1;
    head->lastUsed = session.CommandCounter;
    head->version = uint16_t(session.version);
    return record;
}

void DropLoopProgram(std::string_view name) {
    if (StoreRecord* record = StoreFind(name, kKindProgram)) delete_program(record);
}

bool ScopeInUse(std::string_view scope) {
    for (StoreRecord* r = StoreNext(kKindProgram, nullptr); r; r = StoreNext(kKindProgram, r)) {
        const ProgramHead* head = ProgramOf(r);
        if (!head->inUse) continue;
        if (head->owner[0] ? scope == head->owner : scope == name_of(r)) return true;
    }
    return false;
}

uint64_t DropProgram(StoreRecord* record) {
    const ProgramHead* head = ProgramOf(record);
    const std::string name(name_of(record));
    const bool has_scope = head->loadMark != 0 && head->owner[0] == 0;
    uint64_t bytes = delete_program(record);
    if (has_scope) {
        bytes += delete_programs([&](StoreRecord*, ProgramHead* h) { return name == h->owner; });
    }
    return bytes;
}

void DropAdoPrograms() {
    delete_programs([](StoreRecord* record, ProgramHead* head) {
        return head->loadMark != 0 && !ScopeInUse(head->owner[0] ? head->owner : name_of(record));
    });
}

int32_t RememberedBlockEnd(StoreRecord* record, int32_t line) {
    ProgramHead* head = ProgramOf(record);
    return line >= 0 && line <= head->lines ? int32_t(block_ends(head)[line]) : 0;
}

void RememberBlockEnd(StoreRecord* record, int32_t line, int32_t end) {
    ProgramHead* head = ProgramOf(record);
    if (line >= 0 && line <= head->lines && end <= head->lines)
        block_ends(head)[line] = uint32_t(end);
}

void EvictPrograms(uint32_t loadMark, std::string_view keep) {
    const uint64_t limit = uint64_t(std::max(settings.adosize, 0)) * 1000;
    uint64_t total = 0;
    for (StoreRecord* r = StoreNext(kKindProgram, nullptr); r; r = StoreNext(kKindProgram, r)) {
        total += r->length;
    }
    while (total >= limit) {
        StoreRecord* record = oldest_program(loadMark, keep);
        if (!record) return;
        total -= std::min(total, DropProgram(record));
    }
}

void DropLoadedPrograms(uint32_t loadMark, std::string_view owner) {
    delete_programs([&](StoreRecord* record, ProgramHead* head) {
        if (head->loadMark != loadMark || loadMark == 0 || head->inUse) return false;
        return head->owner[0] ? owner == head->owner : owner == name_of(record);
    });
}

bool AllowedOutsidePrograms(std::string_view full_command_name) {
    constexpr std::string_view kAllowed[] = {
        "program", "version", "exit",  "capture", "quietly", "noisily",
        "break",   "nobreak", "class", "lumo",    "m",
    };
    return std::find(std::begin(kAllowed), std::end(kAllowed), full_command_name) !=
           std::end(kAllowed);
}

}  // namespace korva
