// output/translation_tex.cpp - lines for TeX, where blanks and line ends are obeyed.
//
// What TeX would take as its own goes out as a macro, each closed by its braces so that the blank
// behind it stays. A book is a document with the definitions of all of them in plain TeX; otherwise
// the lines are for a document that defines them itself.
#include <algorithm>
#include <cstdio>

#include "output/charset.h"
#include "output/translation_target.h"

namespace korva {

namespace {

// clang-format off
// Of Latin-1 from 0xA0 on; null where the typewriter font has nothing like it.
constexpr const char* kUpper[96] = {
    " ", "!`", nullptr, "{\\pounds}", nullptr, nullptr, "|", "{\\S}",
    nullptr, "{\\copyright}", nullptr, "{$\\ll$}", "{$\\neg$}", "-", nullptr, nullptr,
    "{$^\\circ$}", "{$\\pm$}", "{$^2$}", "{$^3$}", nullptr, "{$\\mu$}", "{\\P}", "{$\\cdot$}",
    nullptr, "{$^1$}", nullptr, "{$\\gg$}", nullptr, nullptr, nullptr, "?`",
    "{\\`A}", "{\\'A}", "{\\^A}", "{\\~A}", "{\\\"A}", "{\\AA}", "{\\AE}", "{\\c{C}}",
    "{\\`E}", "{\\'E}", "{\\^E}", "{\\\"E}", "{\\`I}", "{\\'I}", "{\\^I}", "{\\\"I}",
    nullptr, "{\\~N}", "{\\`O}", "{\\'O}", "{\\^O}", "{\\~O}", "{\\\"O}", "{$\\times$}",
    "{\\O}", "{\\`U}", "{\\'U}", "{\\^U}", "{\\\"U}", "{\\'Y}", nullptr, "{\\ss}",
    "{\\`a}", "{\\'a}", "{\\^a}", "{\\~a}", "{\\\"a}", "{\\aa}", "{\\ae}", "{\\c{c}}",
    "{\\`e}", "{\\'e}", "{\\^e}", "{\\\"e}", "{\\`\\i}", "{\\'\\i}", "{\\^\\i}", "{\\\"\\i}",
    nullptr, "{\\~n}", "{\\`o}", "{\\'o}", "{\\^o}", "{\\~o}", "{\\\"o}", "{$\\div$}",
    "{\\o}", "{\\`u}", "{\\'u}", "{\\^u}", "{\\\"u}", "{\\'y}", nullptr, "{\\\"y}",
};

// By byte: TT, BT, LT, RT, BRC, BLC, TRC, TLC.
constexpr const char* kBoxMacros[9] = {
    nullptr, "{\\TOPT}", "{\\BOTT}", "{\\LFTT}", "{\\RGTT}",
    "{\\BRC}", "{\\BLC}", "{\\TRC}", "{\\TLC}",
};
// clang-format on

// A column of the typewriter font is 0.525 of its size; a page takes 6.5 in, 469 pt.
constexpr int kFontSize = 800;  // in thousandths of 10 pt
constexpr int kPageThousandths = 469'000'000 / 5250;

constexpr std::string_view kDefinitions = R"(\newdimen\colwd \setbox0=\hbox{\logtt 0}\colwd=\wd0
\hsize=@WIDTH@\colwd \advance\hsize by 1pt
\vsize=9in \baselineskip=9.5pt \parindent=0pt \parskip=0pt \raggedbottom
\def\bftt#1{\leavevmode{\setbox0=\hbox{#1}\copy0\kern-\wd0\kern.3pt\copy0\kern-.3pt}}
\def\sltt#1{{\logsltt#1}}
\def\pounds{{\it\$}}
\def\caret{\char94}
\def\tytilde{\char126}
\def\lbr{\char123}
\def\rbr{\char125}
\def\cell#1{\leavevmode\hbox to\colwd{#1\hss}}
\def\arml{\rlap{\vrule width.5\colwd height.6ex depth-.5ex}}
\def\armr{\rlap{\kern.5\colwd\vrule width.5\colwd height.6ex depth-.5ex}}
\def\armu{\rlap{\kern.46\colwd\vrule width.4pt height.7\baselineskip depth-.5ex}}
\def\armd{\rlap{\kern.46\colwd\vrule width.4pt height.6ex depth.3\baselineskip}}
\def\HLI#1{\leavevmode\hbox to#1\colwd{\leaders\hrule height.6ex depth-.5ex\hfil}}
\def\DASH{\HLI{1}}
\def\VBAR{\cell{\armu\armd}}
\def\PLUS{\cell{\arml\armr\armu\armd}}
\def\TOPT{\cell{\arml\armr\armd}}
\def\BOTT{\cell{\arml\armr\armu}}
\def\LFTT{\cell{\armu\armd\armr}}
\def\RGTT{\cell{\armu\armd\arml}}
\def\BRC{\cell{\arml\armu}}
\def\BLC{\cell{\armr\armu}}
\def\TRC{\cell{\arml\armd}}
\def\TLC{\cell{\armr\armd}}
{\obeyspaces\global\let =\ }
\logtt\obeylines\obeyspaces
)";

void add_upper(std::string* out, uint8_t byte) {
    const uint16_t code_point = unicode_of(byte);
    const bool known = code_point >= 0xA0 && code_point <= 0xFF;
    const char* text = known ? kUpper[code_point - 0xA0] : nullptr;
    *out += text != nullptr ? text : "?";
}

void add_tex_character(std::string* out, char c) {
    switch (c) {
    case '^': *out += "{\\caret}"; break;
    case '~': *out += "{\\tytilde}"; break;
    case '{': *out += "{\\lbr}"; break;
    case '}': *out += "{\\rbr}"; break;
    case '\\': *out += "{\\char92}"; break;
    case '_': *out += "{\\char95}"; break;
    case '#':
    case '$':
    case '%':
    case '&':
        *out += '\\';
        *out += c;
        break;
    case '`':  // behind ? and ! a ligature would begin
        *out += !out->empty() && (out->back() == '?' || out->back() == '!') ? "{`}" : "`";
        break;
    case '\t': *out += ' '; break;
    default:
        if (uint8_t(c) >= 128) {
            add_upper(out, uint8_t(c));
        } else {
            *out += unicode_of(uint8_t(c)) == kNoCharacter ? '?' : c;
        }
    }
}

void add_rule(std::string* out, size_t columns) {
    if (columns == 1) {
        *out += "{\\DASH}";
        return;
    }
    char text[24];
    snprintf(text, sizeof text, "\\HLI{%d}", int(columns));
    *out += text;
}

void add_graphic(std::string* out, std::string_view text) {
    while (!text.empty()) {
        const size_t dashes = std::min(text.find_first_not_of('-'), text.size());
        if (dashes > 0) {
            add_rule(out, dashes);
            text.remove_prefix(dashes);
            continue;
        }
        const auto byte = uint8_t(text[0]);
        if (byte >= 1 && byte <= 8) {
            *out += kBoxMacros[byte];
        } else if (byte == '|') {
            *out += "{\\VBAR}";
        } else if (byte == '+') {
            *out += "{\\PLUS}";
        } else {
            add_tex_character(out, text[0]);
        }
        text.remove_prefix(1);
    }
}

void add_tex_piece(Translation* t, const LinePiece& piece) {
    const uint8_t style = target_style(*t, piece.style);
    std::string* out = &t->out;
    const bool underlined = style & kStyleUnderline;
    const bool bold = style & kStyleBold;
    const bool slanted = style & kStyleItalic;
    if (underlined) *out += "{\\underbar{";
    if (bold) *out += "{\\bftt{";
    if (slanted) *out += "{\\sltt{";
    if (style & kStyleGraphic) {
        add_graphic(out, piece.text);
    } else {
        for (char c : piece.text) add_tex_character(out, c);
    }
    for (bool present : {underlined, bold, slanted}) {
        if (present) *out += "}}";
    }
}

bool is_blank(std::string_view text) {
    return text.find_first_not_of(' ') == text.npos;
}

}  // namespace

void tex_begin(Translation* t) {
    if (!t->book) return;
    const int scale = std::min(kFontSize, kPageThousandths / std::max(t->width, 1));
    for (const char* font : {"\\font\\logtt=cmtt10", "\\font\\logsltt=cmsltt10"}) {
        t->out += font;
        t->out += " scaled " + std::to_string(scale) + "\n";
    }
    std::string definitions(kDefinitions);
    constexpr std::string_view kMark = "@WIDTH@";
    definitions.replace(definitions.find(kMark), kMark.size(), std::to_string(t->width));
    t->out += definitions;
}

void tex_line(Translation* t, const LineParts& parts) {
    if (t->book && begins_page(parts)) t->out += "\\vfill\\eject\n";
    if (is_blank(parts.text)) {
        t->out += "{\\smallskip}\n";
        return;
    }
    for (const LinePiece& piece : parts.pieces) add_tex_piece(t, piece);
    t->out += '\n';
}

void tex_end(Translation* t) {
    if (t->book) t->out += "\\bye\n";
}

}  // namespace korva
