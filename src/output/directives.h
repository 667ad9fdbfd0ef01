// output/directives.h - one row a directive, and what handlers read their arguments with.
#pragma once

#include <cstdint>
#include <string_view>

#include "output/stream.h"

namespace korva {

struct DirectiveCall {
    int argument = 0;       // of the row
    std::string_view rest;  // arguments not read yet
    bool has_text = false;  // a `:text` stood behind the arguments
    std::string_view text;
};

// False: the directive fails and shows as text; nothing has been written then.
using DirectiveHandler = bool (*)(OutputStream* s, DirectiveCall* call);

// What the caller does for a row before its handler runs.
enum DirectiveFlags : uint8_t {
    kNoText = 1,    // there are no arguments, and no text may follow
    kMayText = 2,   // no arguments; a text may follow
    kMustText = 4,  // no arguments; a text must follow
    kArgs = 8,      // the handler reads the arguments
    kTop = 16,      // fails below the top level of the text
    kLine = 32,     // fails outside line mode
};

struct DirectiveRow {
    std::string_view name;
    uint8_t flags;
    DirectiveHandler handler;
    int argument = 0;
};

// The next token of the arguments; empty at their end. Tokens end at blanks and at the separator,
// which alone is a token of its own; quotes keep a token together and are taken off.
std::string_view next_token(DirectiveCall* call, char separator = ':');

// The end of the arguments: reads a `:text` if there is one. False if anything else stands there.
bool finish_arguments(DirectiveCall* call);

// The token as a whole number; -1 when it is none. With a sign, false when it is none.
int read_number(std::string_view token);
bool read_signed(std::string_view token, int* number);

// Up to `most` signed numbers ahead of the end or the colon; their count, or -1 for a bad one.
int read_numbers(DirectiveCall* call, int* numbers, int most);

// --- Handlers, by the file that holds them ---

// directive_layout.cpp
bool dir_class(OutputStream* s, DirectiveCall* call);
bool dir_weight(OutputStream* s, DirectiveCall* call);
bool dir_ul(OutputStream* s, DirectiveCall* call);
bool dir_reset(OutputStream* s, DirectiveCall* call);
bool dir_dots(OutputStream* s, DirectiveCall* call);
bool dir_rule(OutputStream* s, DirectiveCall* call);
bool dir_comment(OutputStream* s, DirectiveCall* call);
bool dir_tab(OutputStream* s, DirectiveCall* call);
bool dir_col(OutputStream* s, DirectiveCall* call);
bool dir_right(OutputStream* s, DirectiveCall* call);
bool dir_center(OutputStream* s, DirectiveCall* call);
bool dir_align(OutputStream* s, DirectiveCall* call);
bool dir_dup(OutputStream* s, DirectiveCall* call);
bool dir_space(OutputStream* s, DirectiveCall* call);
bool dir_hline(OutputStream* s, DirectiveCall* call);
bool dir_break(OutputStream* s, DirectiveCall* call);
bool dir_newpage(OutputStream* s, DirectiveCall* call);
bool dir_marker(OutputStream* s, DirectiveCall* call);
bool dir_bind(OutputStream* s, DirectiveCall* call);
bool dir_title(OutputStream* s, DirectiveCall* call);
bool dir_dlgtab(OutputStream* s, DirectiveCall* call);

// directive_paragraph.cpp
bool dir_p(OutputStream* s, DirectiveCall* call);
bool dir_p_end(OutputStream* s, DirectiveCall* call);
bool dir_p_fixed(OutputStream* s, DirectiveCall* call);
bool dir_p2colset(OutputStream* s, DirectiveCall* call);
bool dir_p2colreset(OutputStream* s, DirectiveCall* call);
bool dir_p2col(OutputStream* s, DirectiveCall* call);
bool dir_p2line(OutputStream* s, DirectiveCall* call);
bool dir_synoptset(OutputStream* s, DirectiveCall* call);
bool dir_synopthdr(OutputStream* s, DirectiveCall* call);
bool dir_syntab(OutputStream* s, DirectiveCall* call);
bool dir_mode(OutputStream* s, DirectiveCall* call);

// directive_characters.cpp
bool dir_char(OutputStream* s, DirectiveCall* call);
bool dir_ccl(OutputStream* s, DirectiveCall* call);

// directive_syntax.cpp
bool dir_link(OutputStream* s, DirectiveCall* call);
bool dir_manhelp(OutputStream* s, DirectiveCall* call);
bool dir_opt(OutputStream* s, DirectiveCall* call);
bool dir_topic(OutputStream* s, DirectiveCall* call);
bool dir_fixed(OutputStream* s, DirectiveCall* call);
bool dir_cmdab(OutputStream* s, DirectiveCall* call);

}  // namespace korva
