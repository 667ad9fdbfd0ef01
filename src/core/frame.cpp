// core/frame.cpp - the level change: what a nested do-file or program could disturb is saved and
// put back.
//
// The frame lives on RunFile's stack; frames are linked only through that nesting.
#include "core/frame.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "core/control.h"
#include "core/do_file.h"
#include "core/macro.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/program.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/settings.h"
#include "core/trace.h"
#include "core/upcalls.h"

namespace korva {

LevelState level_state;

namespace {

constexpr int kTempFilesSince = 310;  // from this version on a level's temporary files go with it

void copy_name(char* target, const char* source) {
    std::strcpy(target, source);
}

void save_session(ExecFrame* frame) {
    frame->delimiterMode = session.DelimiterMode;
    frame->lineNumber = session.ProgramLine;
    copy_name(frame->programName, session.ProgramName);
    copy_name(frame->programDisplayName, session.ProgramDisplayName);
    copy_name(frame->scope, session.Scope);
    frame->programRecord = session.ProgramRecord;
    frame->programGeneration = session.ProgramGeneration;
    frame->tempNameCounterAtEntry = macros.TempNameCounter;
    frame->tempFileCounterAtEntry = macros.TempFileCounter;
    frame->preserveMark = level_state.preserveMark;
    frame->version = session.version;
    frame->callerVersion = session.callerVersion;
    frame->modernMissing = session.ModernMissing;
    frame->more = settings.more;
    frame->trace = settings.trace;
    frame->echoOff = session.EchoOff;
    frame->rmsg = settings.rmsg;
    frame->outputThreshold = session.OutputThreshold;
    frame->outputThresholdAtEntry = session.OutputThresholdAtEntry;
    frame->inProgram = session.InProgram;
    frame->classProgram = session.ClassProgram;
    frame->resultKind = session.ResultKind;
    frame->sortPreserve = session.SortPreserve;
    frame->inLoop = session.InLoop;
    frame->continueState = session.ContinueState;
    frame->ifTaken = session.IfTaken;
    frame->foreachRest = session.ForeachRest;
    frame->traceDepth = session.TraceDepth;
    frame->blockDepth = session.BlockDepth;
}

// Makes the program of CommandWord the current one.
void enter_program(ExecFrame* frame) {
    StoreRecord* record = FindProgram(session.CommandWord, session.Scope, kFindPrograms);
    ProgramHead* program = ProgramOf(record);
    frame->program_was_in_use = program->inUse != 0;
    program->inUse = 1;
    program->lastUsed = session.CommandCounter;
    settings.rmsg = false;
    session.InProgram = 1;
    copy_name(session.ProgramName, record->name);
    copy_name(session.ProgramDisplayName, record->name);
    copy_name(session.Scope, program->owner[0] != 0 ? program->owner : record->name);
    ForgetCurrentProgram();
    session.ResultKind = program->resultKind;
    session.ClassProgram = program->classProgram;
    session.SortPreserve = program->sortPreserve;
    session.version = program->version != 0 ? program->version : session.version;
}

void enter_file(ExecFrame* frame, ExecKind kind) {
    session.CurrentReader = &frame->reader;
    session.ReaderEof = 0;
    session.DelimiterMode = 0;
    session.ResultKind = kClassNone;
    session.InProgram = 0;
    std::snprintf(session.ProgramDisplayName, sizeof session.ProgramDisplayName, "%.32s",
                  frame->reader.name);
    if (kind == ExecInclude) return;
    session.ProgramName[0] = 0;
    ForgetCurrentProgram();
    // An ado-file that loads keeps the scope that its load has set: what it defines belongs there.
    if (session.LoadStarting == 0) session.Scope[0] = 0;
    session.LoadStarting = 0;
}

// Opens the file of a do, run or include; *arguments: what stood behind its name.
ReturnCode open_source(ExecFrame* frame, ExecKind kind, std::string* arguments) {
    std::string path;
    if (ReturnCode rc = ParseDoLine(kind, &path, arguments, &frame->stop)) return rc;
    return OpenReader(&frame->reader, path.c_str());
}

// The level's macros: none of its own for an include.
ReturnCode set_arguments(ExecFrame* frame, ExecKind kind, std::string_view arguments) {
    if (kind == ExecInclude) return 0;
    RaiseMacroLevel();
    frame->level_raised = true;
    return SetArguments(arguments);
}

// What is the level's own: settings it may have changed, temporaries, macros. An include has none
// of it: it shares even its caller's loop, which a continue in it must reach.
void end_level(const ExecFrame& frame) {
    if (settings.more != frame.more) {
        settings.more = frame.more;
        SetResultsPaging(settings.pagesize, settings.more && !session.BatchMode);
    }
    session.version = frame.version;
    session.callerVersion = frame.callerVersion;
    level_state.preserveMark = frame.preserveMark;
    DropTemporaryVariables(frame.tempNameCounterAtEntry);
    DropTemporariesSince(frame.tempNameCounterAtEntry, frame.tempFileCounterAtEntry,
                         session.version >= kTempFilesSince);
    session.ModernMissing = frame.modernMissing;
    settings.trace = frame.trace;
    session.TraceDepth = frame.traceDepth;
    session.InLoop = frame.inLoop;
    session.ContinueState = frame.continueState;
    session.IfTaken = frame.ifTaken;
    session.ForeachRest = frame.foreachRest;
    DropMacroLevel();
}

// Where the caller's next line comes from, and as whose.
void restore_source(const ExecFrame& frame) {
    session.InProgram = frame.inProgram;
    session.ProgramLine = frame.lineNumber;
    session.ClassProgram = frame.classProgram;
    session.BlockDepth = frame.blockDepth;
    session.ResultKind = frame.resultKind;
    session.SortPreserve = frame.sortPreserve;
    copy_name(session.ProgramName, frame.programName);
    copy_name(session.ProgramDisplayName, frame.programDisplayName);
    copy_name(session.Scope, frame.scope);
    session.ProgramRecord = frame.programRecord;
    session.ProgramGeneration = frame.programGeneration;
}

void count_batch_lines(ExecFrame* frame) {
    if (session.CallDepth == 1 && session.BatchMode)
        frame->reader.total_lines = CountReaderLines(frame->reader);
}

}  // namespace

ReturnCode PushFrame(ExecFrame* frame, ExecKind kind) {
    if (session.CallDepth >= kMaxCallDepth) return ReportError(1000);
    std::string arguments;
    std::string_view argument_text;
    if (kind == ExecProgram) {
        argument_text = ScanRest();
    } else {
        if (ReturnCode rc = open_source(frame, kind, &arguments)) return rc;
        argument_text = arguments;
    }
    if (ReturnCode rc = set_arguments(frame, kind, argument_text)) {
        if (frame->level_raised) DropMacroLevel();
        CloseReader(&frame->reader);
        return rc;
    }
    save_session(frame);
    frame->previousReader = session.CurrentReader;
    session.ProgramLine = 0;
    if (kind == ExecProgram) {
        enter_program(frame);
    } else {
        enter_file(frame, kind);
    }
    TraceBeginEnd(false, session.ProgramDisplayName);
    if (kind != ExecInclude) session.OutputThresholdAtEntry = session.OutputThreshold;
    if (kind == ExecRun) {
        if (session.OutputThreshold < kThresholdQuiet) session.OutputThreshold = kThresholdQuiet;
        session.EchoOff = 1;
    }
    session.CallDepth++;
    session.BlockDepth = blocks.depth;
    if (kind != ExecProgram) count_batch_lines(frame);
    if (kind == ExecInclude) return 0;
    session.callerVersion = frame->version;
    level_state.preserveMark = -1;
    session.InLoop = 0;
    session.ContinueState = 0;
    session.IfTaken = 0;
    session.ForeachRest = {};
    return 0;
}

void PopFrame(ExecFrame* frame, ExecKind kind, bool keepBreak) {
    session.CallDepth--;
    session.EchoOff = frame->echoOff;
    if (kind != ExecInclude) {
        session.OutputThreshold = frame->outputThreshold;
        session.OutputThresholdAtEntry = frame->outputThresholdAtEntry;
    }
    TraceBeginEnd(true, session.ProgramDisplayName);
    if (kind == ExecProgram) {
        StoreRecord* record = CurrentProgram();
        if (record != nullptr && !frame->program_was_in_use) ProgramOf(record)->inUse = 0;
        settings.rmsg = frame->rmsg;
    } else {
        CloseReader(&frame->reader);
        session.CurrentReader = frame->previousReader;
        session.ReaderEof = 0;
    }
    session.DelimiterMode = frame->delimiterMode;
    if (kind != ExecInclude) end_level(*frame);
    restore_source(*frame);
    if (kind == ExecInclude) return;
    // A break that came under nobreak fires once breaks are enabled again.
    if (!keepBreak && session.BreakEnabled && session.BreakPending) RaiseBreak();
    if (kind == ExecDo) {
        const LevelGuard level(kLevelText);
        out_newline();
        out_text("end of do-file\n");
    }
}

ReturnCode RunFile(ExecKind kind, bool keepBreak) {
    if (ByActive()) return ReportError(190);
    ExecFrame frame;
    if (ReturnCode rc = PushFrame(&frame, kind)) return rc;
    session.LastReturnCode = 0;
    for (int go_on = 1; go_on;) {
        // A break that arrived between two lines must not be lost: only one that has been answered
        // goes.
        if (session.LastReturnCode == kBreak) ClearBreak();
        if (kind != ExecProgram) {
            session.MessageLevel = kLevelText;
            out_newline();
        }
        if (ReadNextLine(true) != 0) {
            session.LastReturnCode = session.BreakFlag ? kBreak : frame.reader.error;
            break;
        }
        if (session.BreakFlag) {
            session.LastReturnCode = kBreak;
            break;
        }
        go_on = RunLine();
        if (frame.stop && session.LastReturnCode != 0) break;
    }
    const ReturnCode rc = session.LastReturnCode;
    // An ended session has no temporary files any more, and its data go.
    if (kind != ExecInclude && level_state.preserveMark >= 0 && !session.ShuttingDown) {
        RestoreForLevel();
    }
    PopFrame(&frame, kind, keepBreak);
    session.LastReturnCode = rc;
    return rc;
}

}  // namespace korva
