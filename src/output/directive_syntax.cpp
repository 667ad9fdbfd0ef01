// output/directive_syntax.cpp - links, and the short forms of help files, which expand to mark-up.
#include <algorithm>
#include <cstring>

#include "output/directives.h"
#include "output/line.h"
#include "output/render.h"

namespace korva {

namespace {

constexpr int kKindHelp = 12;
constexpr int kKindHelpBold = 13;
constexpr int kKindKorva = 21;
constexpr int kKindLumo = 23;

// Mark-up put together from parts; too long a text makes the directive fail.
struct Expansion {
    char text[2048];
    size_t length = 0;
    bool overflow = false;

    void add(std::string_view part) {
        if (part.size() > sizeof text - length) {
            overflow = true;
            return;
        }
        memcpy(text + length, part.data(), part.size());
        length += part.size();
    }
};

bool render_expansion(OutputStream* s, const Expansion& e) {
    if (e.overflow) return false;
    render(s, {e.text, e.length});
    return true;
}

// The link's own argument: a quoted token whole, else all up to the colon.
void read_link_argument(DirectiveCall* call, std::string_view* args) {
    const size_t first = call->rest.find_first_not_of(' ');
    call->rest = first == std::string_view::npos ? std::string_view{} : call->rest.substr(first);
    if (call->rest.starts_with('"') || call->rest.starts_with("`\"")) {
        *args = next_token(call);
        return;
    }
    *args = call->rest.substr(0, call->rest.find(':'));
    call->rest.remove_prefix(args->size());
}

bool argument_fits(char rule, std::string_view args) {
    if (rule == '-') return args.empty();
    return rule == '?' || !args.empty();
}

// In a paragraph a link begins on the line where its first word fits, and what stands directly
// before it, such as a parenthesis, goes with it.
void place_for_link(OutputStream* s, std::string_view text) {
    if (s->mode != kModeParagraph) return;
    begin_at_cursor(s, s->binding > 0 ? measure_text(s, text) : measure_first_word(s, text));
}

// Arguments of an option: punctuation bare or as command text, the runs between in italics.
void add_option_arguments(Expansion* e, std::string_view args) {
    constexpr std::string_view kBare = ".[]{|}";
    constexpr std::string_view kCommand = "%()*,:=";
    while (!args.empty()) {
        const size_t n = std::min(args.find_first_of(".[]{|}%()*,:="), args.size());
        if (n > 0) {
            e->add("{it:");
            e->add(args.substr(0, n));
            e->add("}");
        } else if (kBare.find(args[0]) != std::string_view::npos) {
            e->add(args.substr(0, 1));
        } else if (kCommand.find(args[0]) != std::string_view::npos) {
            e->add("{cmd:");
            e->add(args.substr(0, 1));
            e->add("}");
        }
        args.remove_prefix(std::max<size_t>(n, 1));
    }
}

}  // namespace

bool dir_link(OutputStream* s, DirectiveCall* call) {
    int kind = call->argument & 255;
    std::string_view args;
    read_link_argument(call, &args);
    if (!finish_arguments(call) || !argument_fits(char(call->argument >> 8), args)) return false;
    const std::string_view text = call->has_text ? call->text : args;
    if (text.find_first_not_of(' ') == std::string_view::npos || args.size() > 254) return false;
    if (s->link_state != kLinkNone && !s->link_in_word) return false;

    const bool bold = kind == kKindHelpBold;
    if (bold) kind = kKindHelp;
    if (kind == kKindKorva) kind = s->korva_link_kind;
    if (kind == kKindLumo) kind = s->lumo_link_kind;
    place_for_link(s, text);
    if (!open_link(s, kind, args)) return false;

    const uint8_t before = s->style;
    s->style = uint8_t((before & ~kClassMask) | kStyleLink);
    if (bold) s->style = uint8_t((s->style & ~kStyleItalic) | kStyleBold);
    if (call->has_text) {
        render(s, text);
    } else {
        write_text(s, text, s->style);
    }
    s->style = before;
    if (s->mode == kModeParagraph && s->word_len > 0) {
        s->link_in_word = 1;  // it ends when that word has been placed
    } else {
        close_link(s);
    }
    return true;
}

bool dir_manhelp(OutputStream* s, DirectiveCall* call) {
    const std::string_view name = next_token(call);
    const std::string_view section = next_token(call);
    if (name.empty() || name == ":" || section.empty() || section == ":") return false;
    if (!finish_arguments(call)) return false;
    Expansion e;
    e.add("{help ");
    e.add(name);
    e.add(":{bf:[");
    e.add(section);
    e.add(call->argument == 1 ? "]} {it:" : "] ");
    e.add(call->has_text ? call->text : name);
    e.add("}}");
    return render_expansion(s, e);
}

bool dir_opt(OutputStream* s, DirectiveCall* call) {
    const bool as_help = call->argument == 1;
    std::string_view text = call->rest;
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const size_t paren = text.find('(');
    const bool has_args = paren != std::string_view::npos;
    if (as_help && !has_args) return false;
    const std::string_view name = text.substr(0, paren);
    if (name.empty() || name[0] == ':') return false;

    Expansion e;
    const bool abbreviated = name.find(':') != std::string_view::npos;
    e.add(abbreviated ? "{cmdab:" : "{cmd:");
    e.add(name);
    if (!has_args) {
        e.add("}");
        return render_expansion(s, e);
    }
    const size_t close = text.rfind(')');
    if (close == std::string_view::npos || close < paren) return false;
    if (text.find_first_not_of(' ', close + 1) != std::string_view::npos) return false;
    const std::string_view args = text.substr(paren + 1, close - paren - 1);
    if (args.empty()) {
        if (as_help) return false;
        e.add(abbreviated ? ":()}" : "()}");
        return render_expansion(s, e);
    }
    e.add(abbreviated ? ":(}" : "(}");
    if (as_help) {
        e.add("{it:{help ");
        e.add(args);
        e.add("}}");
    } else {
        add_option_arguments(&e, args);
    }
    e.add("{cmd:)}");
    return render_expansion(s, e);
}

bool dir_topic(OutputStream* s, DirectiveCall* call) {
    constexpr std::string_view kTopics[] = {"depvar", "depvarlist", "indepvars",
                                            "newvar", "varname",    "varlist"};
    const std::string_view topic = kTopics[call->argument];
    Expansion e;
    e.add("{it:{help ");
    e.add(topic);
    if (call->has_text) {
        e.add(":");
        e.add(topic);
        e.add(call->text);
    }
    e.add("}}");
    return render_expansion(s, e);
}

bool dir_fixed(OutputStream* s, DirectiveCall* call) {
    constexpr std::string_view kTexts[] = {"[{it:{help if}}] [{it:{help in}}]",
                                           "[{it:{help weight}}]", "[{it:{help datatypes:type}}]"};
    render(s, kTexts[call->argument]);
    return true;
}

bool dir_cmdab(OutputStream* s, DirectiveCall* call) {
    std::string_view parts[3];  // least abbreviation, rest of the word, what follows it
    const std::string_view text = call->text;
    const size_t first = text.find(':');
    if (first == std::string_view::npos) {
        parts[1] = text;
    } else {
        parts[0] = text.substr(0, first);
        parts[1] = text.substr(first + 1);
        const size_t second = parts[1].find(':');
        if (second != std::string_view::npos) {
            parts[2] = parts[1].substr(second + 1);
            parts[1] = parts[1].substr(0, second);
        }
    }
    const uint8_t highlight = uint8_t((s->style & ~kClassMask) | kStyleHighlight);
    if (s->underline_capable) {
        write_text(s, parts[0], highlight | kStyleUnderline);
        write_text(s, parts[1], highlight);
    } else {
        if (parts[0].empty()) std::swap(parts[0], parts[1]);
        write_text(s, parts[0], highlight);
        write_text(s, parts[1], s->style);
    }
    write_text(s, parts[2], highlight);
    return true;
}

}  // namespace korva
