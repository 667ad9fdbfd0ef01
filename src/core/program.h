// core/program.h - programs kept in memory: definition, look-up, the stored lines, eviction.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/session.h"
#include "core/store.h"
#include "core/types.h"

namespace korva {

constexpr int kMaxProgramLines = 3500;
constexpr int kMaxProgramBytes = 135600;

enum : uint8_t { kByNo = 0, kByOnecall = 1, kByRecallHeader = 2, kByRecall = 3 };

// Head of a program's record; behind it stand the line offsets (one more than there are lines), as
// many remembered block ends, then the lines. A stored line is one byte with the count of leading
// blanks in the source, then the text and a NUL. The record's user word is the number of lines.
struct ProgramHead {
    uint32_t loadMark;  // of the ado-file that defined it; 0: defined by hand
    int32_t lastUsed;   // CommandCounter when it was last entered
    uint8_t inUse;      // a frame of it is active: it may not be dropped
    uint8_t sortPreserve;
    uint8_t classProgram;
    uint8_t resultKind;             // kClass...
    uint8_t byableState;            // kBy...
    uint16_t version;               // times 100, in force at the definition
    char owner[kMaxNameBytes + 1];  // empty: global
    char properties[83];
    int32_t lines;            // stored lines
    uint32_t lineOffsets[1];  // lines + 1 of them, from the start of the payload
};

// The payload of a plugin's record begins with its owner, as NUL-terminated text.
struct PluginHead {
    char owner[kMaxNameBytes + 1];
};

// Lines on their way into a record, in stored form.
struct ProgramText {
    std::vector<uint32_t> offsets;  // of each line in `bytes`
    std::string bytes;
    bool too_long = false;  // a limit was passed: the text is no program
};

// Adds a source line: its leading blanks counted, runs of blanks outside strings cut to one, the
// final blanks dropped. Beyond kMaxProgramLines or kMaxProgramBytes it only sets too_long.
void AddProgramLine(ProgramText* text, std::string_view line);

struct ProgramOptions {
    uint8_t resultKind = 0;  // kClass...
    uint8_t byableState = kByNo;
    uint8_t sortPreserve = 0;
    uint8_t classProgram = 0;
    std::string_view properties;  // at most 80 bytes
};

enum : int { kFindPrograms = 1, kFindPlugins = 2, kFindBoth = 3 };

// The program or plugin of the name: one whose owner is `owner` wins, else the last global one
// seen. Null: none.
StoreRecord* FindProgram(std::string_view name, std::string_view owner, int which);

// Counts changes of the programs in the store; never 0.
extern uint32_t program_generation;

// The same for the program that runs now (session.ProgramName in session.Scope), which every stored
// line asks for. Whoever writes these names calls ForgetCurrentProgram.
StoreRecord* FindCurrentProgram();
inline StoreRecord* CurrentProgram() {
    if (session.ProgramGeneration == program_generation) return session.ProgramRecord;
    return FindCurrentProgram();
}
inline void ForgetCurrentProgram() {
    session.ProgramGeneration = 0;
}

inline ProgramHead* ProgramOf(StoreRecord* record) {
    return reinterpret_cast<ProgramHead*>(record->payload());
}

// Stored line `index` (0-based) of the program: the blank-count byte, the text and, counted in the
// length, its NUL.
std::string_view ProgramLineText(const StoreRecord* record, int32_t index);

// Reads a program's body from the current source, up to the line `end`, and stores it under the
// name. While an ado-file loads (session.LoadDepth), a program of another name than session.Scope
// becomes a subprogram of it. 110 if a program or plugin of the owner has the name, 612 at the end
// of the source, 1000 for a body beyond the limits: nothing is stored then.
ReturnCode DefineProgram(std::string_view name, const ProgramOptions& options);

// The same with the body given: lines with `\n` between them; an `end` line ends it, but need not
// be there.
ReturnCode DefineProgramFromText(std::string_view name, const ProgramOptions& options,
                                 std::string_view text);

// Stores the body of a loop that runs as a program, under a name that no program can have. It is in
// use until DropLoopProgram. Null: memory was refused, with its words (950).
StoreRecord* StoreLoopProgram(std::string_view name, const ProgramText& text);
void DropLoopProgram(std::string_view name);

// True for the names of such loops.
inline bool IsLoopProgram(std::string_view name) {
    return !name.empty() && (name[0] == '!' || (name[0] >= '0' && name[0] <= '9'));
}

// True while a program of the scope runs: the ado-file's own one or a subprogram.
bool ScopeInUse(std::string_view scope);

// Drops a program that is not in use; with an ado-file's public program its subprograms go. Returns
// the bytes that the records took.
uint64_t DropProgram(StoreRecord* record);

// Drops what ado-files defined, except scopes in use: discard.
void DropAdoPrograms();

// Line behind the closing brace of a block that is only passed over from stored line `line` on; 0:
// it was never passed over yet. What is remembered lives in the record, which never changes.
int32_t RememberedBlockEnd(StoreRecord* record, int32_t line);
void RememberBlockEnd(StoreRecord* record, int32_t line, int32_t end);

// True if the built-in, by its full name, may stand in an ado-file outside of its programs.
// Prefixes may: what they run is looked at again.
bool AllowedOutsidePrograms(std::string_view full_command_name);

// Program or plugin records came or went by other hands than this file's (a plugin was defined, the
// store was cleared): what FindProgram remembers no longer holds.
void ForgetPrograms();

// After a load: drops ado-file programs, the longest unused first, while all programs together take
// adosize * 1000 bytes or more. Programs in use, of the class system, with an owner, or newer than
// the mark stay; `keep` stays as well.
void EvictPrograms(uint32_t loadMark, std::string_view keep);

// Drops the programs that the failed load of `owner` left.
void DropLoadedPrograms(uint32_t loadMark, std::string_view owner);

// Reads lines up to the closing brace and runs each; the scanner stands behind the opening one.
ReturnCode RunBlock();

}  // namespace korva
