// core/poll.cpp - the periodic look at the front end, and breaks.
//
// A break is not an exception: a flag rises and every long loop tests it after Poll(). Under
// nobreak the request is parked instead and fires when breaks are enabled again.
#include "core/poll.h"

#include <csignal>
#include <ctime>

#include "core/session.h"
#include "core/threads.h"
#include "frontend/frontend.h"

namespace korva {

namespace {

bool on_worker_thread() {
    return ThreadNumber() != 0;
}

void pump_when_due() {
    if (session.PollGuard != 0) return;
    session.PollCounter = 0;
    const uint32_t now = TickMs();
    if (now - session.LastPollTick < uint32_t(session.polltime)) return;
    session.LastPollTick = now;
    frontend.PumpMessages();
}

void handle_signal(int) {
    RaiseBreak();
}

// A terminal that hangs up breaks what runs; the read behind it then finds the end of the input.
constexpr int kBreakSignals[] = {SIGINT, SIGTERM, SIGABRT, SIGHUP};

// Holds the signals back for a scope.
struct BlockedSignals {
    BlockedSignals() {
        sigset_t breaks;
        sigemptyset(&breaks);
        for (int signal_number : kBreakSignals) sigaddset(&breaks, signal_number);
        sigprocmask(SIG_BLOCK, &breaks, &old);
    }
    ~BlockedSignals() { sigprocmask(SIG_SETMASK, &old, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;
    sigset_t old;
};

}  // namespace

uint32_t TickMs() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return uint32_t(uint64_t(now.tv_sec) * 1000 + uint64_t(now.tv_nsec) / 1000000);
}

void Poll(int32_t count) {
    if (on_worker_thread()) return;
    if (++session.PollCounter < count) return;
    pump_when_due();
}

void PollNow() {
    if (on_worker_thread()) return;
    pump_when_due();
}

void PollIdle(int32_t count) {
    if (on_worker_thread()) return;
    if (count != 0) {
        if (++session.PollCounter < count) return;
        session.PollCounter = 0;
    }
    if (session.PollGuard != 0) return;
    if (frontend.InputWaits()) {
        session.LastPollTick = TickMs();
        frontend.PumpMessages();
    } else {
        pump_when_due();
    }
}

void RaiseBreak() {
    session.BreakFlag = session.BreakEnabled;
    session.BreakPending = session.BreakDeferred;
}

void ClearBreak() {
    session.BreakPending = 0;
    session.BreakFlag = 0;
}

bool SetBreakEnabled(bool enabled) {
    const bool was_enabled = session.BreakEnabled != 0;
    if (enabled == was_enabled) return was_enabled;
    const BlockedSignals blocked;  // a break between two of these stores would be lost
    if (enabled) {
        session.BreakDeferred = 0;
        session.BreakEnabled = 1;
        session.BreakFlag = session.BreakPending;
        session.BreakPending = 0;
    } else {
        session.BreakDeferred = 1;
        session.BreakEnabled = 0;
        session.BreakPending = session.BreakFlag;
        session.BreakFlag = 0;
    }
    return was_enabled;
}

bool BreakStands() {
    return session.BreakFlag != 0;
}

void InstallBreakHandler() {
    struct sigaction action = {};
    action.sa_handler = handle_signal;  // no SA_RESTART: a blocking read must see the break
    sigemptyset(&action.sa_mask);
    for (int signal_number : kBreakSignals) sigaction(signal_number, &action, nullptr);
    signal(SIGPIPE, SIG_IGN);  // a reader of our output that has gone is a write error, not our end
    signal(SIGXFSZ, SIG_IGN);  // so is a file that may not grow
}

}  // namespace korva
