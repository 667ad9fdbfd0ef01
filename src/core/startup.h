// core/startup.h - bringing the engine up and down, apart from the session's loop.
#pragma once

#include <cstdint>
#include <string>

namespace korva {

struct StartupOptions {
    bool quiet = false;          // /q: no banner, no notes
    bool batch = false;          // one of the batch forms
    bool batch_markup = false;   // /s: the log holds mark-up
    bool no_done_box = false;    // /e, /i
    bool hide_window = false;    // /i
    bool finish_update = false;  // /u
    bool web_exec = false;       // /webexec
    bool show_help = false;      // --help
    bool show_version = false;   // --version
    int64_t memory = 0;          // bytes; 0: not given
    int32_t matsize = 0;
    int32_t maxvar = 0;
    int32_t procs = 0;
};
extern StartupOptions startup_options;  // defined in core/startup.cpp
extern int StartStage;                  // 1 to 19: how far the start has come

// Computes conslen, macrolen and maxlrecl from maxvar and takes the console line, the review ring,
// the macro scratch and the dataset. False, with nothing taken, when the system refuses one of
// them.
bool StartEngineTables(int32_t maxvar, int64_t memory);
void EndEngineTables();

// maxvar is another: conslen, macrolen and maxlrecl follow. Nothing moves and nothing fails.
void SetTextLimits(int32_t maxvar);

// profile.do along PATH and in the home directory; empty: there is none.
std::string FindProfileAlongSearchPath();

// Descriptor of the log of a batch run; -1: none.
int BatchLogHandle();

// Ends the log of a batch run: after everything that leaving the levels printed.
// False, with words, if the log is not whole.
bool CloseBatchLog();

// One of the blocks that the start took: its name and bytes, for `memory`.
struct StartBlock {
    char name[9];
    int64_t bytes;
};
constexpr int kMaxStartBlocks = 20;
extern StartBlock start_blocks[kMaxStartBlocks];
extern int n_start_blocks;

}  // namespace korva
