// core/parse_lists.cpp - _parse: option lists of families of commands taken apart and put together.
//
// Every text is checked for its quotes and brackets in one pass before it is split, so that the
// splitting itself cannot meet one that does not close.
//
//   comma lhs rhs : m            lhs: what stands before the first comma; rhs: the comma and the
//   rest expand stub rest : m         stub_1 ... stub_n and stub_n from `(a) (b) ...` or `a || b`;
//                                rest: what follows the last group
//   expandarg stub : m, option(name)
//                                the words in the arguments of name() to stub_1 ... and stub_n
//   factor out rest : m, option(names)
//                                the options named to out, the others to rest
//   factordot stub : m, option(name)
//                                as expandarg, a word `.` being the word before it
//   combine out : m1 m2 ...      the lists in one; of an option in several the last stands
//   combop out : m, option(name) [rightmost]
//                                all name() of the list as one, with the arguments of all, at the
//                                place of the first; rightmost: with those of the last
//   canonicalize out : m         one blank between options, none around their parts
#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/commands.h"
#include "core/macro.h"
#include "core/names.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/words.h"

namespace korva {

namespace {

constexpr size_t kMaxBrackets = 128;  // nested; more is a slip of whoever made the text

using Words = std::vector<std::string>;

// The line of a subcommand: names, a colon, names, options.
struct Request {
    Words targets, sources;
    Words options;  // of option()
    bool rightmost = false;
};

// An option of a list.
struct Item {
    std::string_view name, argument;
    bool has_argument = false;
};

ReturnCode report(const char* words) {
    out_error(words);
    return 198;
}

ReturnCode check_brackets(std::string_view text) {
    std::string open;
    bool closed = true;
    for (size_t at = 0; at < text.size(); at = BehindPart(text, at, &closed)) {
        const char c = text[at];
        if (c == '(' || c == '[') {
            if (open.size() == kMaxBrackets) {
                return report("too many nested parentheses or brackets\n");
            }
            open += c;
        } else if (c == ')' || c == ']') {
            if (open.empty()) return report("unmatched close parenthesis or bracket\n");
            if (open.back() == '(' && c == ']') return report("( closed by ]\n");
            if (open.back() == '[' && c == ')') return report("[ closed by )\n");
            open.pop_back();
        }
    }
    if (!closed) return report("quotes do not match\n");
    return open.empty() ? 0 : report("unmatched open parenthesis or bracket\n");
}

ReturnCode take_names(Words* names, std::string_view end) {
    for (NextToken(); !TokenIsEmpty() && !TokenIs(end); NextToken()) {
        const std::string name = scanner.TokenBuffer;
        if (name.size() >= size_t(kMaxNameBytes) || !IsValidName("_" + name)) {
            return report((name + " invalid name\n").c_str());
        }
        names->push_back(name);
    }
    return 0;
}

ReturnCode take_request_options(Request* request) {
    while (*NextToken(OptionSeparators)) {
        const std::string word = scanner.TokenBuffer;
        std::string argument;
        if (MatchAbbreviation(word, "option", 3)) {
            if (!TakeParenthesised(&argument)) {
                return report("option option incorrectly specified\n");
            }
            for (std::string_view name : SplitWords(argument)) request->options.emplace_back(name);
        } else if (MatchAbbreviation(word, "rightmost", 5)) {
            request->rightmost = true;
        } else {
            return ReportOptionNotAllowed(word);
        }
    }
    return 0;
}

ReturnCode take_request(Request* request) {
    if (ReturnCode rc = take_names(&request->targets, ":")) return rc;
    if (!TokenIs(":")) return ReportInvalidSyntax();
    if (ReturnCode rc = take_names(&request->sources, ",")) return rc;
    return TokenIs(",") ? take_request_options(request) : 0;
}

// --- the parts of a text whose brackets are sound ---

bool is_space(char c) {
    return c == ' ';
}

std::vector<Item> split_options(std::string_view text) {
    std::vector<Item> items;
    size_t at = 0;
    while (at < text.size()) {
        if (is_space(text[at])) {
            at++;
        } else if (text[at] == '(') {
            // A group belongs to the name in front of it, blanks or not.
            const size_t close = ClosingParenthesis(text, at);
            if (close == text.npos) break;
            if (items.empty() || items.back().has_argument) items.push_back({});
            items.back().has_argument = true;
            items.back().argument = TrimBlanks(text.substr(at + 1, close - at - 1));
            at = close + 1;
        } else {
            const size_t start = at;
            while (at < text.size() && !is_space(text[at]) && text[at] != '(') {
                at = BehindPart(text, at);
            }
            items.push_back({text.substr(start, at - start), {}, false});
        }
    }
    return items;
}

void append_item(std::string* list, const Item& item) {
    if (!list->empty()) *list += ' ';
    *list += item.name;
    if (item.has_argument) list->append("(").append(item.argument) += ')';
}

bool is_named(const Item& item, const Words& names) {
    return std::find(names.begin(), names.end(), item.name) != names.end();
}

ReturnCode set_numbered(const std::string& stub, const Words& values) {
    for (size_t i = 0; i < values.size(); i++) {
        if (ReturnCode rc = SetLocal(stub + "_" + std::to_string(i + 1), values[i])) return rc;
    }
    return SetLocal(stub + "_n", std::to_string(values.size()));
}

// --- the subcommands; `text` is the value of the first source ---

ReturnCode split_comma(const Request& request, std::string_view text) {
    const size_t comma = std::min(FindOutside(text, ','), text.size());
    if (ReturnCode rc = SetLocal(request.targets[0], text.substr(0, comma))) return rc;
    return SetLocal(request.targets[1], text.substr(comma));
}

// a || b || c
Words split_bars(std::string_view text) {
    Words parts;
    for (;;) {
        size_t bar = 0;
        std::string_view rest = text;
        for (;;) {
            const size_t next = FindOutside(rest, '|');
            bar = next == rest.npos ? text.size() : size_t(rest.data() - text.data()) + next;
            if (bar >= text.size() || text.substr(bar).starts_with("||")) break;
            rest = text.substr(bar + 1);
        }
        const std::string_view part = TrimBlanks(text.substr(0, bar));
        if (!part.empty()) parts.emplace_back(part);
        if (bar >= text.size()) return parts;
        text.remove_prefix(bar + 2);
    }
}

ReturnCode expand(const Request& request, std::string_view text) {
    Words parts;
    std::string_view rest = TrimBlanks(text);
    while (rest.starts_with('(')) {
        const size_t close = ClosingParenthesis(rest, 0);
        if (close == rest.npos) break;
        parts.emplace_back(TrimBlanks(rest.substr(1, close - 1)));
        rest = TrimBlanks(rest.substr(close + 1));
        if (rest.starts_with("||")) rest = TrimBlanks(rest.substr(2));
    }
    if (parts.empty()) {
        parts = split_bars(rest);
        rest = {};
    }
    if (ReturnCode rc = set_numbered(request.targets[0], parts)) return rc;
    return SetLocal(request.targets[1], rest);
}

ReturnCode expand_arguments(const Request& request, std::string_view text, bool dots) {
    Words values;
    for (const Item& item : split_options(text)) {
        if (!item.has_argument || !is_named(item, request.options)) continue;
        for (std::string_view word : SplitWords(item.argument)) {
            const bool repeat = dots && word == "." && !values.empty();
            values.emplace_back(repeat ? values.back() : std::string(word));
        }
    }
    return set_numbered(request.targets[0], values);
}

ReturnCode expand_argument(const Request& request, std::string_view text) {
    return expand_arguments(request, text, false);
}
ReturnCode factor_dot(const Request& request, std::string_view text) {
    return expand_arguments(request, text, true);
}

ReturnCode factor(const Request& request, std::string_view text) {
    std::string out, rest;
    for (const Item& item : split_options(text)) {
        append_item(is_named(item, request.options) ? &out : &rest, item);
    }
    if (ReturnCode rc = SetLocal(request.targets[0], out)) return rc;
    return SetLocal(request.targets[1], rest);
}

// The sources one behind the other, each option once, as it stands last.
ReturnCode combine(const Request& request, std::string_view) {
    std::string all;
    for (const std::string& source : request.sources) {
        const std::string_view text = LocalValue(source);
        if (ReturnCode rc = check_brackets(text)) return rc;
        all.append(all.empty() ? "" : " ").append(text);
    }
    const std::vector<Item> items = split_options(all);
    std::vector<Item> kept;
    std::unordered_set<std::string_view> later;
    for (size_t i = items.size(); i-- > 0;) {
        if (later.insert(items[i].name).second) kept.push_back(items[i]);
    }
    std::string list;
    for (size_t i = kept.size(); i-- > 0;) append_item(&list, kept[i]);
    return SetLocal(request.targets[0], list);
}

ReturnCode combine_option(const Request& request, std::string_view text) {
    const std::vector<Item> items = split_options(text);
    std::string merged, list;
    for (const Item& item : items) {
        if (!item.has_argument || !is_named(item, request.options)) continue;
        if (request.rightmost) merged.clear();
        merged.append(merged.empty() ? "" : " ").append(item.argument);
    }
    bool placed = false;
    for (const Item& item : items) {
        if (!item.has_argument || !is_named(item, request.options)) {
            append_item(&list, item);
        } else if (!placed) {
            append_item(&list, {item.name, merged, true});
            placed = true;
        }
    }
    return SetLocal(request.targets[0], list);
}

ReturnCode canonicalize(const Request& request, std::string_view text) {
    std::string list;
    for (const Item& item : split_options(text)) append_item(&list, item);
    return SetLocal(request.targets[0], list);
}

struct ParseRow {
    std::string_view word;
    int minimum;
    size_t targets;
    bool needs_option;
    ReturnCode (*run)(const Request&, std::string_view text);
};

// clang-format off
constexpr ParseRow kSubcommands[] = {
    {"expand",        6, 2, false, expand},
    {"factor",        6, 2, true,  factor},
    {"factordot",     9, 1, true,  factor_dot},
    {"combine",       7, 1, false, combine},
    {"combop",        6, 1, true,  combine_option},
    {"canonicalize",  5, 1, false, canonicalize},
    {"expandarg",     9, 1, true,  expand_argument},
    {"comma",         5, 2, false, split_comma},
};
// clang-format on

}  // namespace

ReturnCode Cmd_parse(int) {
    NextToken();
    const ParseRow* row = std::find_if(
        std::begin(kSubcommands), std::end(kSubcommands), [](const ParseRow& r) {
            return MatchAbbreviation(scanner.TokenBuffer, r.word, r.minimum);
        });
    if (row == std::end(kSubcommands)) return ReportInvalidSyntax();
    Request request;
    if (ReturnCode rc = take_request(&request)) return rc;
    if (request.targets.size() != row->targets || request.sources.empty()) {
        return ReportInvalidSyntax();
    }
    if (request.sources.size() > 1 && row->run != combine) return ReportInvalidSyntax();
    if (row->needs_option && request.options.empty()) return ReportRequired("option()");
    const std::string text(LocalValue(request.sources[0]));
    if (ReturnCode rc = check_brackets(text)) return rc;
    return row->run(request, text);
}

}  // namespace korva
