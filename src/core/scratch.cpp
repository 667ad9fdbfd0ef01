// core/scratch.cpp - one block and the place of its top.
#include "core/scratch.h"

#include "core/alloc.h"
#include "core/print.h"
#include "core/session.h"

namespace korva {

namespace {

struct ScratchState {
    char* block = nullptr;  // named achar in the report of memory; owned
    size_t bytes = 0;       // of the block that may be used
    size_t used = 0;        // bytes of it that are taken
};
ScratchState scratch;

}  // namespace

bool ScratchStart(size_t bytes, size_t most) {
    ScratchEnd();
    scratch.block = static_cast<char*>(EngineAlloc(most));
    if (scratch.block == nullptr) return false;
    scratch.bytes = bytes;
    return true;
}

void ScratchLimit(size_t bytes) {
    scratch.bytes = bytes;
}

void ScratchEnd() {
    EngineFree(scratch.block);
    scratch = {};
}

char* ScratchTake(size_t n) {
    if (scratch.used > scratch.bytes || n > scratch.bytes - scratch.used) {
        LevelGuard level(kLevelError);
        out_error("unexpectedly out of memory\n");
        return nullptr;
    }
    char* text = scratch.block + scratch.used;
    scratch.used += n;
    return text;
}

char* ScratchTakeMacro() {
    return ScratchTake(size_t(session.macrolen));
}

void ScratchRelease(char* p) {
    if (p != nullptr) scratch.used = size_t(p - scratch.block);
}

}  // namespace korva
