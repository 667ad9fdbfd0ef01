// core/poll.h - the periodic look at the world outside, and the break.
#pragma once

#include <cstdint>

namespace korva {

// Every loop that may run long calls it, with session.pollcount as a rule, and then tests
// session.BreakFlag. In the common case it costs one counter. Only thread 0 does anything.
void Poll(int32_t count);

// Poll without the count: Dispatch calls it before every command.
void PollNow();

// The variant for waits: pumps only if the front end reports input; count 0 does not count.
void PollIdle(int32_t count);

// Milliseconds of a steady clock, wrapping.
uint32_t TickMs();

// Enables or parks breaks; returns whether they were enabled. A parked break fires when they are
// again.
bool SetBreakEnabled(bool enabled);

// What the signal handler and the front end's break key do.
void RaiseBreak();

// Forgets a break that stands or is parked: a line begins, or capture swallowed it.
void ClearBreak();

// One handler for the interrupt, break, abort and termination signals.
void InstallBreakHandler();

}  // namespace korva
