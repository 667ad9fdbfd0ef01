// core/frame.h - entering and leaving a do-file or a program.
#pragma once

#include <cstdint>

#include "core/reader.h"
#include "core/session.h"
#include "core/types.h"

namespace korva {

// What is the current level's own. An include shares its caller's.
struct LevelState {
    int32_t preserveMark = -1;  // temporary file of the data that the level preserved, 0 when that
                                // took none; -1: nothing is preserved
};
extern LevelState level_state;  // defined in core/frame.cpp

// What a nested source could disturb, saved at its entry. Lives on the stack of RunFile.
struct ExecFrame {
    LineReader reader;  // the file opened for this level
    LineReader* previousReader = nullptr;
    bool stop = true;  // a non-zero code ends the file
    int32_t delimiterMode = 0;
    int32_t lineNumber = 0;  // the caller's place in its program text
    char programName[kMaxNameBytes + 2] = {};
    char programDisplayName[kMaxNameBytes + 2] = {};
    char scope[kMaxNameBytes + 1] = {};
    StoreRecord* programRecord = nullptr;  // the caller's
    uint32_t programGeneration = 0;
    int32_t tempNameCounterAtEntry = 0;
    int32_t tempFileCounterAtEntry = 0;
    int32_t preserveMark = -1;  // what the caller's level preserved; -1: nothing
    int32_t version = 0;
    int32_t callerVersion = 0;
    uint8_t modernMissing = 0;
    bool more = true;
    bool rmsg = false;
    bool trace = false;
    uint8_t echoOff = 0;
    uint8_t outputThreshold = 0;
    uint8_t outputThresholdAtEntry = 0;
    uint8_t inProgram = 0;
    uint8_t classProgram = 0;
    uint8_t resultKind = 0;
    uint8_t sortPreserve = 0;
    uint8_t inLoop = 0;
    uint8_t continueState = 0;
    uint8_t ifTaken = 0;
    std::string_view foreachRest;
    int32_t traceDepth = 0;
    int32_t blockDepth = 0;
    bool program_was_in_use = false;
    bool level_raised = false;  // this level has macros of its own
};

// A level ends that preserved the data: they come back as they were. Defined in data/preserve.cpp.
void RestoreForLevel();

// Runs a source to its end: the text behind the command word names a file and its arguments, or,
// for ExecProgram, CommandWord is the program and the text its arguments. keepBreak: a deferred
// break is not looked at on leaving.
ReturnCode RunFile(ExecKind kind, bool keepBreak);

// The two halves of the level change. PushFrame opens the source and makes it the current one; a
// code means that nothing was changed and no file stays open. PopFrame ends the level: it closes
// the file, drops what the level made and puts back what the frame holds.
ReturnCode PushFrame(ExecFrame* frame, ExecKind kind);
void PopFrame(ExecFrame* frame, ExecKind kind, bool keepBreak);

}  // namespace korva
