// output/translation_html.cpp - lines as they looked, between <pre> and </pre>.
//
// Everything outside ASCII goes out as a numeric reference, so that a fragment shows the same in a
// page of any encoding. Classes of text become classes of spans, which the page's style sheet, or
// that of a page around the fragment, gives a look; weights and underlining are elements of their
// own and show without one.
//
// A page opens files from anybody, so only addresses of the web become links: the text of a
// {browse javascript:...} stays text.
#include <array>
#include <cstdio>

#include "output/charset.h"
#include "output/translation_target.h"

namespace korva {

namespace {

enum : int { kKindBrowse = 9, kKindHelp = 12, kKindSearch = 14, kKindView = 19 };

// clang-format off
// By colour class; those without a name look like the text around them.
constexpr const char* kClassNames[8] = {
    nullptr, "result", nullptr, nullptr, "error", "input", "link", "hilite",
};
// clang-format on

constexpr std::string_view kStyleSheet = "body { background: #fff; color: #000; }\n"
                                         "pre { font-family: monospace; line-height: 1.2; }\n"
                                         ".result, .hilite { font-weight: bold; }\n"
                                         ".link { text-decoration: underline; }\n"
                                         "a { color: #0000c0; }\n";
constexpr std::string_view kScreenColours = ".error { color: #c00000; }\n"
                                            ".input { color: #006d80; }\n";
constexpr std::string_view kPaper = "a { color: inherit; text-decoration: none; }\n"
                                    "pre + pre { break-before: page; }\n";

void add_reference(std::string* out, int code_point) {
    char text[16];
    snprintf(text, sizeof text, "&#%d;", code_point);
    *out += text;
}

void add_character(std::string* out, int code_point) {
    switch (code_point) {
    case '<': *out += "&lt;"; break;
    case '>': *out += "&gt;"; break;
    case '&': *out += "&amp;"; break;
    default:
        if (code_point < 128) {
            *out += char(code_point);
        } else {
            add_reference(out, code_point);
        }
    }
}

void add_text(std::string* out, std::string_view text, bool graphic) {
    for (char c : text) {
        const auto byte = uint8_t(c);
        add_character(out, graphic ? unicode_of_graphic(byte) : unicode_of(byte));
    }
}

// The value of an attribute, between double quotes.
void add_value(std::string* out, std::string_view text) {
    for (char c : text) {
        if (c == '"') {
            *out += "&quot;";
        } else {
            add_character(out, unicode_of(uint8_t(c)));
        }
    }
}

// A topic within an address: ## is the mark of a place in it, and blanks cannot stand there.
std::string topic_of(std::string_view args) {
    std::string topic;
    for (size_t i = 0; i < args.size(); i++) {
        if (args[i] == '#' && i + 1 < args.size() && args[i + 1] == '#') i++;
        topic += args[i] == ' ' ? '+' : args[i];
    }
    return topic;
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

bool begins_with(std::string_view text, std::string_view lower_case) {
    if (text.size() < lower_case.size()) return false;
    for (size_t i = 0; i < lower_case.size(); i++) {
        if (lower(text[i]) != lower_case[i]) return false;
    }
    return true;
}

bool is_web_address(std::string_view text) {
    return begins_with(text, "http://") || begins_with(text, "https://") ||
           begins_with(text, "ftp://") || begins_with(text, "mailto:");
}

// The address for a {browse}; empty for one that a page must not follow. Without a scheme it is the
// name of a host, or else of a file beside the page.
std::string address_of(std::string_view text) {
    while (!text.empty() && uint8_t(text[0]) <= ' ') text.remove_prefix(1);
    if (is_web_address(text)) return std::string(text);
    if (begins_with(text, "www.")) return "http://" + std::string(text);
    return text.find(':') == text.npos ? std::string(text) : std::string();
}

// `<a href="...">`, with the fixed beginning of the address. False: there is no address.
bool open_address(std::string* out, std::string_view beginning, std::string_view address) {
    if (address.empty()) return false;
    *out += "<a href=\"";
    *out += beginning;
    add_value(out, address);
    *out += "\">";
    return true;
}

// A link that only the program can follow tells on hovering what it would run. False: nothing.
bool open_command(std::string* out, const RecordLink& link) {
    const std::string_view hint = link_hint(link.kind);
    if (hint.empty()) return false;
    const size_t place = hint.find("%s");
    *out += "<a title=\"";
    *out += hint.substr(0, place);
    if (place != hint.npos) add_value(out, link.argument);
    *out += "\">";
    return true;
}

// True if an <a> was opened.
bool open_link_element(Translation* t, const RecordLink& link) {
    std::string* out = &t->out;
    switch (link.kind) {
    case kKindHelp: return open_address(out, "/help.cgi?", topic_of(link.argument));
    case kKindSearch: return open_address(out, "/search.cgi?query=", topic_of(link.argument));
    case kKindBrowse: return open_address(out, "", address_of(link.argument));
    case kKindView:
        if (is_web_address(link.argument)) return open_address(out, "", link.argument);
        break;
    default: break;
    }
    return t->all_links && open_command(out, link);
}

void add_piece(Translation* t, const LinePiece& piece) {
    struct Element {
        const char* open;
        const char* close;
        bool present;
    };
    const uint8_t style = target_style(*t, piece.style);
    const char* name = kClassNames[style & kClassMask];
    const std::string span = name != nullptr ? std::string("<span class=\"") + name + "\">" : "";
    const Element elements[] = {
        {span.c_str(), "</span>", name != nullptr},
        {"<b>", "</b>", (style & kStyleBold) != 0},
        {"<i>", "</i>", (style & kStyleItalic) != 0},
        {"<u>", "</u>", (style & kStyleUnderline) != 0},
    };
    for (const Element& e : elements) {
        if (e.present) t->out += e.open;
    }
    add_text(&t->out, piece.text, (style & kStyleGraphic) != 0);
    for (size_t i = std::size(elements); i-- > 0;) {
        if (elements[i].present) t->out += elements[i].close;
    }
}

void add_anchor_element(Translation* t, std::string_view name) {
    if (name == "\f") {
        if (t->book) t->out += "</pre>\n<pre>\n";
        return;
    }
    t->out += "<a name=\"";
    add_value(&t->out, name);
    t->out += "\"></a>";
}

}  // namespace

void html_begin(Translation* t) {
    if (t->page) {
        t->out += "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>";
        add_text(&t->out, t->title, false);
        t->out += "</title>\n<style>\n";
        t->out += kStyleSheet;
        t->out += t->book ? kPaper : kScreenColours;
        t->out += "</style>\n</head>\n<body>\n";
    }
    t->out += "<pre>\n";
}

void html_line(Translation* t, const LineParts& parts) {
    for (std::string_view name : parts.anchors) add_anchor_element(t, name);
    int link = -1;
    bool is_open = false;
    for (const LinePiece& piece : parts.pieces) {
        if (piece.link != link) {
            if (is_open) t->out += "</a>";
            link = piece.link;
            is_open = link >= 0 && open_link_element(t, parts.links[size_t(link)]);
        }
        add_piece(t, piece);
    }
    if (is_open) t->out += "</a>";
    t->out += '\n';
}

void html_end(Translation* t) {
    t->out += "</pre>\n";
    if (t->page) t->out += "</body>\n</html>\n";
}

}  // namespace korva
