// frontend/line_record.h - the line record: what a sink receives for each line, byte for byte.
//
// One contiguous block, low-high byte order:
//   0-1    u16 length of the record
//   2-3    u16 position of the anchors
//   4-5    u16 position of the style runs
//   6-7    u16 position of the text
//   8      u8  1 if the line continues a paragraph
//   9      u8  text length + 1
//   10     link table: u8 count; per link u8 first column, u8 column behind the last (0: open),
//          u8 kind, u8 length of the argument with its NUL, the argument; two zero bytes end it
//   then   anchors: NUL-terminated strings, closed by an empty one
//   then   style runs: u8 index of the last run, u8 start column (0); per run u8 style, u8 column
//          behind its end
//   then   text, NUL-terminated
//
// A sink reads it so; nothing is copied, and all points into the record:
//   RunReader runs = record_runs(record);    for (RecordRun run; next_run(&runs, &run);) ...
//   LinkReader links = record_links(record); for (RecordLink link; next_link(&links, &link);) ...
//   for (const char* name = record_anchors(record); *name != 0; name = next_anchor(name)) ...
#pragma once

#include <cstdint>
#include <cstring>

namespace korva {

// A style byte: bits 0-2 colour class, 3-4 weight, 5 underline, 7 graphic.
enum : uint8_t {
    kClassMask = 7,
    kStyleResult = 1,
    kStyleText = 2,
    kStyleError = 4,
    kStyleInput = 5,
    kStyleLink = 6,
    kStyleHighlight = 7,
    kStyleItalic = 8,
    kStyleBold = 16,
    kStyleUnderline = 32,
    kStyleGraphic = 128,
};

// Codes of a sink call.
enum : int { kSinkLine = 1, kSinkPartial = 2, kSinkFlush = 3, kSinkClose = 4, kSinkMore = 5 };

inline int record_u16(const unsigned char* record, int at) {
    return record[at] | record[at + 1] << 8;
}
inline int record_length(const unsigned char* record) {
    return record_u16(record, 0);
}
inline const char* record_text(const unsigned char* record) {
    return reinterpret_cast<const char*>(record + record_u16(record, 6));
}
inline int record_text_length(const unsigned char* record) {
    return uint8_t(record[9] - 1);
}

// True if the line is the second or a later one of a paragraph.
inline bool record_continues(const unsigned char* record) {
    return record[8] != 0;
}

// The line's anchors: the first name, and the one behind a name; the empty string ends them. The
// name "\f" is a new page's.
inline const char* record_anchors(const unsigned char* record) {
    return reinterpret_cast<const char*>(record + record_u16(record, 2));
}
inline const char* next_anchor(const char* name) {
    return name + strlen(name) + 1;
}

// Columns [first, end) of the line in one style. The runs follow each other and cover the text.
struct RecordRun {
    int first = 0;
    int end = 0;
    uint8_t style = 0;
};

struct RunReader {
    const unsigned char* at;  // style and end of the next run
    int left;                 // runs not read yet
};
inline RunReader record_runs(const unsigned char* record) {
    const unsigned char* runs = record + record_u16(record, 4);
    return {runs + 2, runs[0] + 1};
}

// Reads the next run; false behind the last.
inline bool next_run(RunReader* runs, RecordRun* run) {
    if (runs->left-- <= 0) return false;
    *run = {runs->at[-1], runs->at[1], runs->at[0]};  // it starts where the one before it ended
    runs->at += 2;
    return true;
}

// Columns [first, end) that are a link. A link that wraps has one on each of its lines.
struct RecordLink {
    int first = 0;
    int end = 0;   // of a link still open, which only an unfinished line holds: the end of the text
    int kind = 0;  // see link_hint()
    const char* argument = nullptr;  // as typed, NUL-terminated; empty if there is none
};

struct LinkReader {
    const unsigned char* at;  // the next entry of the table
    int left;                 // entries not read yet
    int columns;              // of the text
};
inline LinkReader record_links(const unsigned char* record) {
    return {record + 11, record[10], record_text_length(record)};
}

// Reads the next link, from left to right; false behind the last.
inline bool next_link(LinkReader* links, RecordLink* link) {
    if (links->left-- <= 0) return false;
    const unsigned char* entry = links->at;
    *link = {entry[0], entry[1] != 0 ? entry[1] : links->columns, entry[2],
             reinterpret_cast<const char*>(entry + 4)};
    links->at += 4 + entry[3];
    return true;
}

// The link under a column, for a pointer that hovers or clicks; false if there is none.
inline bool link_at(const unsigned char* record, int column, RecordLink* link) {
    LinkReader links = record_links(record);
    while (next_link(&links, link)) {
        if (link->first <= column && column < link->end) return true;
    }
    return false;
}

// What a pointer over a link of the kind shows; `%s` stands for its argument. Empty for no kind.
constexpr const char* link_hint(int kind) {
    constexpr const char* kHints[] = {
        "",
        "dialog (ado search)",
        "dialog (command)",
        "dialog (net search)",
        "dialog (net from)",
        "dialog (search)",
        "dialog (update from)",
        "dialog (view)",
        "clear --more-- condition",
        "%s",  // an address
        "adorm %s",
        "back",
        "help %s",
        "help %s",
        "search %s",
        "net %s",
        "ado %s",
        "update %s",
        "rnethelp %s",
        "view %s",
        "news",
        "%s",  // a command; 22 if its text came from the net
        "%s",
        "%s",  // a command of Lumo; 24 if its text came from the net
        "%s",
        "dialog %s",
        "dialog (Internet Preferences)",
    };
    return kind > 0 && kind < int(sizeof kHints / sizeof *kHints) ? kHints[kind] : "";
}

// The byte of a graphic run as plain text: TT, BT, and the bar `-`; LT, RT `|`; corners `+`.
inline char plain_graphic(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == 1 || byte == 2) return '-';
    if (byte == 3 || byte == 4) return '|';
    if (byte >= 5 && byte <= 8) return '+';
    return c;
}

}  // namespace korva
