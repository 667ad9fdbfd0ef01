// data/preserve.cpp - preserve and restore: the data as they are now, kept for later.
//
// Each level (the keyboard, a do-file, a program) may keep one state, which comes back of itself
// when the level ends. The state is a store record; the data lie in a temporary file of the
// session, which only this session reads and which nothing is flushed for. The file holds all that
// hangs on the data in the order in which the store has it, so that what comes back is what went.
//
// A restore is not broken off, and it goes back to the pitch that the rows had: the data fitted the
// area then, so they fit now. What still goes wrong may pass, such as a want of memory, and is
// tried once more. After that the session ends, for it could go on only without its data; the file
// stays, under a name that no session takes for a temporary one.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "core/alloc.h"
#include "core/commands.h"
#include "core/frame.h"
#include "core/macro.h"
#include "core/poll.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/startup.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "data/dataset.h"
#include "data/dta_read.h"
#include "data/dta_write.h"
#include "data/skeleton.h"
#include "frontend/frontend.h"

namespace korva {

namespace {

constexpr int kAttempts = 2;  // to read the data back

// The fixed part of a state's record. Behind it stand the texts of PreservedState, each with a NUL.
struct PreserveHead {
    int64_t memory;  // bytes of the data area
    int32_t maxvar;
    int32_t file_number;  // running count of the temporary file; 0: none
    int32_t lrecl;        // pitch of the rows
    uint8_t changed;
    uint8_t is_saved;  // the data are in the file
    uint8_t is_empty;  // there were none
};

struct PreservedState {
    PreserveHead head{};
    std::string path;  // of the temporary file
    std::string fn;    // S_FN
    std::string fn_date;
    std::string filename;
};

std::string level_key() {
    return std::to_string(macros.MacroLevel);
}

bool dataset_is_empty() {
    return dataset.nvar == 0 && dataset.nobs == 0 && dataset.label[0] == 0 &&
           StoreNext(kKindValueLabel, nullptr) == nullptr &&
           StoreNext(kKindCharacteristic, nullptr) == nullptr;
}

PreservedState state_now() {
    PreservedState state;
    state.head.memory = dataset.end - dataset.begin;
    state.head.maxvar = dataset.maxmaxvar;
    state.head.lrecl = dataset.lrecl;
    state.head.changed = dataset.changed;
    state.fn = MacroValue("S_FN");
    state.fn_date = MacroValue("S_FNDATE");
    state.filename = dataset.filename;
    return state;
}

ReturnCode put_state(const PreservedState& state) {
    std::string payload(reinterpret_cast<const char*>(&state.head), sizeof state.head);
    for (const std::string* text : {&state.path, &state.fn, &state.fn_date, &state.filename}) {
        payload.append(text->c_str(), text->size() + 1);
    }
    const StoreRecord* record = StorePut(level_key(), kKindPreserve, payload.data(),
                                         uint32_t(payload.size()));
    return record == nullptr ? 950 : 0;
}

// The state of this level, which has one.
PreservedState find_state() {
    const StoreRecord* record = StoreFind(level_key(), kKindPreserve);
    PreservedState state;
    memcpy(&state.head, record->payload(), sizeof state.head);
    const char* text = record->payload() + sizeof state.head;
    for (std::string* to : {&state.path, &state.fn, &state.fn_date, &state.filename}) {
        *to = text;
        text += to->size() + 1;
    }
    return state;
}

void forget_state(const PreservedState& state) {
    StoreDelete(StoreFind(level_key(), kKindPreserve));
    if (state.head.is_saved) unlink(state.path.c_str());
    level_state.preserveMark = -1;
}

// --- the file ---

struct Output {
    int fd;
    const std::string& path;
};

ReturnCode write_all(void* context, const void* bytes, size_t n) {
    const Output& out = *static_cast<Output*>(context);
    const char* from = static_cast<const char*>(bytes);
    while (n > 0) {
        errno = EIO;
        const ssize_t written = StressFails() ? -1 : write(out.fd, from, n);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            const bool full = written == 0 || errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
            return full ? ReportError(699) : ReportFileError(693, out.path);
        }
        from += written;
        n -= size_t(written);
    }
    return 0;
}

// Writes the data to a new file; a failure leaves none.
ReturnCode write_data(const std::string& path) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    Output out{StressFails() ? -1 : open(path.c_str(), kFlags, 0600), path};
    if (out.fd < 0) return ReportFileError(603, path);
    DtaWriteOptions options;
    options.orphans = options.all = options.oldest_first = true;
    const char no_time_stamp[kTimeStampBytes] = {};
    ReturnCode rc = write_dta({write_all, &out}, options, no_time_stamp);
    // Some systems tell only here that there was no room.
    if (close(out.fd) != 0 && rc == 0) rc = ReportFileError(693, path);
    if (rc) unlink(path.c_str());
    return rc;
}

// --- back ---

// set memory and set maxvar are as they were, and the rows have their pitch; there are no data.
bool put_memory_back(const PreserveHead& head) {
    if (dataset.end - dataset.begin != head.memory || dataset.maxmaxvar != head.maxvar) {
        if (!replace_data_area(head.memory, head.maxvar)) return false;
        settings.memory = head.memory;
        settings.maxvar = head.maxvar;
        SetTextLimits(head.maxvar);
    }
    return repart(head.lrecl - dataset.lrecl, 0) == 0;
}

bool put_data_back(const PreservedState& state) {
    clear_dataset();
    if (!put_memory_back(state.head)) return false;
    if (state.head.is_empty) return true;
    ByteSource source;
    if (open_source(&source, state.path) != 0) return false;
    DtaOptions options;
    options.quiet = options.own = true;
    return load_dta(&source, state.path, options) == 0;
}

bool put_all_back(const PreservedState& state) {
    const ThresholdGuard silent(kThresholdCapture);
    const bool has_data = state.head.is_saved || state.head.is_empty;
    if (has_data && !put_data_back(state)) return false;
    if (SetMacro("S_FN", state.fn) || SetMacro("S_FNDATE", state.fn_date)) return false;
    snprintf(dataset.filename, sizeof dataset.filename, "%s", state.filename.c_str());
    dataset.changed = state.head.changed;
    return true;
}

// Moves the file out of reach of those that delete temporary files: its name now.
std::string rescue(const std::string& path) {
    const std::string kept = path.substr(0, path.rfind('.')) + "_" + std::to_string(getpid()) +
                             ".dta";
    return rename(path.c_str(), kept.c_str()) == 0 ? kept : path;
}

// The data cannot be read back: the session ends, and tells where they are.
void leave(const PreservedState& state) {
    constexpr int kAtOnce = 900;
    session.OutputThreshold = kThresholdNormal;
    const std::string kept = rescue(state.path);
    frontend.ShowNote("Error--Korva Exiting:");
    frontend.ShowNote("Check Results Window for filename");
    frontend.ShowNote(nullptr);
    out_error(kept + "\n");
    SessionCleanup(0);
    CloseBatchLog();
    SessionCleanup(kAtOnce);
}

// A break waits until the data are whole.
void restore_state(const PreservedState& state) {
    const bool enabled = SetBreakEnabled(false);
    bool done = false;
    for (int i = 0; i < kAttempts && !done; i++) done = put_all_back(state);
    if (!done) leave(state);
    if (enabled) SetBreakEnabled(true);
}

ReturnCode parse_options_alone() {
    skeleton.permit.varlist = kForbidden;
    skeleton.permit.by_allowed = false;
    skeleton.permit.if_exp = kForbidden;
    skeleton.permit.in_range = kForbidden;
    return parse_tail();
}

}  // namespace

// preserve [, changed]: with the option only what is known of the data is kept, for a caller that
// leaves them as they are.
ReturnCode CmdPreserve(int) {
    if (ReturnCode rc = parse_options_alone()) return rc;
    const bool without_data = option_present("changed", 2, false);
    if (ReturnCode rc = options_done()) return rc;
    if (level_state.preserveMark >= 0) return ReportError(621);

    PreservedState state = state_now();
    state.head.is_empty = !without_data && dataset_is_empty();
    state.head.is_saved = !without_data && !state.head.is_empty;
    if (state.head.is_saved) {
        char path[kMaxFileNameBytes + 1];
        NewTempFile(path);
        state.path = path;
        state.head.file_number = macros.TempFileCounter;
        if (ReturnCode rc = write_data(state.path)) return rc;
    }
    if (ReturnCode rc = put_state(state)) {
        if (state.head.is_saved) unlink(state.path.c_str());
        return rc;
    }
    level_state.preserveMark = state.head.file_number;
    return 0;
}

// restore [, not preserve]
ReturnCode CmdRestore(int) {
    if (ReturnCode rc = parse_options_alone()) return rc;
    const bool forget = option_present("not", 3, false);
    const bool keep = option_present("preserve", 4, false);
    if (ReturnCode rc = options_done()) return rc;
    if (forget && keep) return ReportInvalidSyntax();
    if (level_state.preserveMark < 0) return ReportError(622);

    const PreservedState state = find_state();
    if (!forget) restore_state(state);
    if (!keep) forget_state(state);
    return session.BreakFlag ? kBreak : 0;
}

void RestoreForLevel() {
    const PreservedState state = find_state();
    restore_state(state);
    forget_state(state);
}

}  // namespace korva
