// core/commands.h - the handlers that rows of the command table name.
//
// A handler is Cmd and the word as typed, first letter raised; the folder that owns the subject
// defines it. Words that share a handler differ by its argument.
#pragma once

#include "core/types.h"

namespace korva {

// core: prefixes, control flow, programs (core/prefix.cpp, control.cpp, program_commands.cpp)
ReturnCode CmdQuietly(int);
ReturnCode CmdNoisily(int);
ReturnCode CmdCapture(int);
ReturnCode CmdNobreak(int);
ReturnCode CmdBreak(int);
ReturnCode CmdVersion(int);
ReturnCode CmdIf(int);
ReturnCode CmdElse(int);
ReturnCode CmdWhile(int);  // argument: 0 while, 1 foreach, 2 forvalues
ReturnCode CmdContinue(int);
ReturnCode CmdBlock(int);  // {
ReturnCode CmdExit(int);
ReturnCode CmdDo(int);  // argument: ExecKind
ReturnCode CmdProgram(int);
ReturnCode CmdDiscard(int);
ReturnCode CmdWhich(int);
ReturnCode CmdUnabcmd(int);
ReturnCode CmdSysdir(int);

// core: macros, messages, settings
ReturnCode CmdMacro(int);
ReturnCode CmdLocal(int);    // argument: 1 local, 2 global, 7 c_local
ReturnCode CmdTempvar(int);  // argument: 0 tempvar and tempname, 1 tempfile
ReturnCode CmdError(int);
ReturnCode CmdGettoken(int);
ReturnCode CmdSet(int);
ReturnCode CmdQuery(int);

// core: what programs take their own text apart with (core/tokens.cpp, number_list.cpp, ...)
ReturnCode CmdArgs(int);
ReturnCode CmdConfirm(int);
ReturnCode CmdNumlist(int);
ReturnCode Cmd_parse(int);
ReturnCode CmdTokenize(int);

// output
ReturnCode CmdDisplay(int);
ReturnCode CmdLog(int);
ReturnCode CmdCmdlog(int);
ReturnCode CmdTranslate(int form);  // 0 translate, 1 log html, 2 log texman, 3 log webhtml
ReturnCode CmdMore(int);

// data
ReturnCode CmdBy(int);  // argument: 0 by, 1 bysort
ReturnCode Cmd_describe(int);
ReturnCode CmdAssert(int);
ReturnCode CmdChar(int);
ReturnCode CmdCount(int);
ReturnCode CmdCompress(int);
ReturnCode CmdDebug(int);  // debug recast, check, tsset
ReturnCode CmdDrop(int);   // argument: 0 drop, 1 keep
ReturnCode CmdExpand(int);
ReturnCode CmdFormat(int);
ReturnCode CmdGenerate(int);
ReturnCode CmdLabel(int);
ReturnCode CmdList(int);  // argument: 0 list, 1 flist
ReturnCode CmdMark(int);
ReturnCode CmdMarkin(int);
ReturnCode CmdMarkout(int);
ReturnCode CmdMarksample(int);
ReturnCode CmdMemory(int);
ReturnCode CmdMove(int);
ReturnCode CmdOrder(int);
ReturnCode CmdParse(int);
ReturnCode CmdPreserve(int);
ReturnCode CmdRename(int);
ReturnCode CmdReplace(int);
ReturnCode Cmd_repart(int);
ReturnCode CmdRestore(int);
ReturnCode CmdSummarize(int);
ReturnCode CmdSave(int);
ReturnCode CmdSyntax(int);
ReturnCode CmdTsrevar(int);
ReturnCode CmdUse(int);

// Rows of the settings table whose field belongs to a folder further right.
ReturnCode SetObs();      // set obs #, data/
ReturnCode SetMemory();   // data/memory.cpp
ReturnCode SetMaxvar();   // data/memory.cpp
ReturnCode SetMatsize();  // data/memory.cpp

}  // namespace korva
