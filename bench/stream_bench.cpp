// 100,000 lines of mixed mark-up through a stream whose sink drops them, beside a copy of the same
// bytes that looks for their newlines; and the memory that they ask for.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "output/stream.h"
#include "yardstick.h"

namespace {

using namespace korva;

constexpr int kRepeats = 10000;
constexpr int kRuns = 5;

long allocations = 0;

struct Text {
    const char* name;
    double limit;  // times the copy
    const char* lines;
};

// Ten lines each.
// clang-format off
constexpr Text kTexts[] = {
    {"plain lines of 70 bytes", 12,
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"
     "    the quick brown fox jumps over the lazy dog and goes on for seventy\n"},
    {"rows of a table", 80,
     "{txt}{hline 13}{c TT}{hline 64}\n"
     "{txt}     weight {c |}{res}         74    3019.459    777.1936       1760       4840\n"
     "{txt}      price {c |}{res}         74    6165.257    2949.496       3291      15906\n"
     "{txt}        mpg {c |}{res}         74     21.2973    5.785503         12         41\n"
     "{txt}     length {c |}{res}         74    187.9324    22.26634        142        233\n"
     "{txt}       turn {c |}{col 20}{res}74{col 30}39.64865{ralign 12:4.399354}\n"
     "{txt}      trunk {c |}{col 20}{res}74{col 30}13.75676{ralign 12:4.277404}\n"
     "{txt}   headroom {c |}{res}         74    2.993243    .8459948        1.5          5\n"
     "{txt}    foreign {c |}{res}         74    .2972973    .4601885          0          1\n"
     "{txt}{hline 13}{c BT}{hline 64}\n"},
    {"a page of help", 200,
     "{title:Description}\n"
     "{pstd}{cmd:summarize} calculates and displays a variety of summary statistics. If\n"
     "no {varlist} is specified, then they are calculated for all the variables.\n"
     "{p_end}\n"
     "{synoptset 20 tabbed}{...}\n"
     "{synopt:{opt d:etail}}display additional statistics{p_end}\n"
     "{synopt:{opth gen:erate(newvar)}}keep them in a {it:variable}, see {help generate}{p_end}\n"
     "{synoptline}\n"
     "{phang}{bf:Note}: see {help regress##opts:the options} and {search weights}.{p_end}\n"
     "{right:{back:back to the list}}\n"},
};
// clang-format on

int drop(void* lines, const uint8_t*, int code) {
    if (code == kSinkLine) ++*static_cast<long*>(lines);
    return 0;
}

template <class TakeLine>
void each_line(std::string_view text, TakeLine take_line) {
    while (!text.empty()) {
        const size_t n = text.find('\n') + 1;
        take_line(text.substr(0, n));
        text.remove_prefix(n);
    }
}

int measure(const Text& sample) {
    std::string text;
    for (int i = 0; i < kRepeats; i++) text += sample.lines;
    std::string copy(text.size(), 0);
    const double plain = fastest(kRuns, [&] {
        char* to = copy.data();
        each_line(text, [&](std::string_view line) {
            memcpy(to, line.data(), line.size());
            to += line.size();
        });
    });

    long lines = 0;
    OutputStream* s = out_stream_new();
    if (s == nullptr) return 1;
    out_stream_set_sink(s, drop, &lines);
    out_stream_set_mode(s, kModeLine);
    const long before = allocations;
    const double taken = fastest(kRuns, [&] {
        lines = 0;
        each_line(text, [&](std::string_view line) { out_raw(s, line); });
    });
    const long asked = allocations - before;
    out_stream_close(s);
    std::printf("%s: %.0f MB/s, %.0f ns a line; the copy %.0f MB/s\n", sample.name,
                double(text.size()) / taken / 1e6, taken / double(lines) * 1e9,
                double(text.size()) / plain / 1e6);
    report("times the copy", taken / plain, sample.limit);
    report("allocations", double(asked), 0);
    return asked > 0 || taken / plain > sample.limit;
}

}  // namespace

// Every block that C++ asks for is counted.
void* operator new(size_t size) {
    allocations++;
    void* block = std::malloc(size);
    if (block == nullptr) std::abort();
    return block;
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, size_t) noexcept {
    std::free(block);
}

int main() {
    int failures = 0;
    for (const Text& sample : kTexts) failures += measure(sample);
    return failures > 0;
}
