// output/directive_characters.cpp - {c name}: line drawing, braces, accented letters; and {ccl
// name}.
#include <cstdio>
#include <cstring>
#include <string>

#include "core/settings.h"
#include "core/system_values.h"
#include "output/directives.h"
#include "output/number_format.h"
#include "output/render.h"

namespace korva {

namespace {

struct CharacterRow {
    std::string_view name;
    uint8_t latin1;
    uint8_t mac;
    bool graphic = false;
};

// clang-format off
constexpr CharacterRow kCharacters[] = {
    {"-", '-', '-', true}, {"|", '|', '|', true}, {"+", '+', '+', true},
    {"TT", 1, 1, true},    {"BT", 2, 2, true},    {"LT", 3, 3, true},    {"RT", 4, 4, true},
    {"BRC", 5, 5, true},   {"BLC", 6, 6, true},   {"TRC", 7, 7, true},   {"TLC", 8, 8, true},
    {"-(", '{', '{'},      {")-", '}', '}'},      {"$|", '$', '$'},      {"S|", '$', '$'},
    {"'g", '`', '`'},
    {"A'g", 192, 203}, {"A'", 193, 231},  {"A^", 194, 229},  {"A~", 195, 204},  {"A:", 196, 128},
    {"AE", 198, 174},  {"C,", 199, 130},  {"C=", 128, 69},
    {"E'g", 200, 233}, {"E'", 201, 131},  {"E^", 202, 230},  {"E:", 203, 232},
    {"I'g", 204, 237}, {"I'", 205, 234},  {"I^", 206, 235},  {"I:", 207, 236},
    {"L-", 163, 163},  {"N~", 209, 132},
    {"O'g", 210, 241}, {"O'", 211, 238},  {"O^", 212, 239},  {"O~", 213, 205},  {"O:", 214, 133},
    {"O/", 216, 175},
    {"U'g", 217, 244}, {"U'", 218, 242},  {"U^", 219, 243},  {"U:", 220, 134},
    {"Y'", 221, 89},   {"Y=", 165, 180},
    {"a'g", 224, 136}, {"a'", 225, 135},  {"a^", 226, 137},  {"a~", 227, 139},  {"a:", 228, 138},
    {"ae", 230, 190},  {"c,", 231, 141},
    {"e'g", 232, 143}, {"e'", 233, 142},  {"e^", 234, 144},  {"e:", 235, 145},
    {"i'g", 236, 147}, {"i'", 237, 146},  {"i^", 238, 148},  {"i:", 239, 149},
    {"n~", 241, 150},
    {"o'g", 242, 152}, {"o'", 243, 151},  {"o^", 244, 153},  {"o~", 245, 155},  {"o:", 246, 154},
    {"o/", 248, 191},  {"r?", 191, 192},  {"r!", 161, 193},  {"ss", 223, 167},
    {"u'g", 249, 157}, {"u'", 250, 156},  {"u^", 251, 158},  {"u:", 252, 159},
    {"y'", 253, 121},  {"y:", 255, 216},
};
// clang-format on

const CharacterRow* find_character(std::string_view name) {
    for (const CharacterRow& row : kCharacters) {
        if (row.name == name) return &row;
    }
    return nullptr;
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// 0xHH or a decimal number up to 255; -1 for anything else.
int read_code(std::string_view name) {
    if (name.starts_with("0x")) {
        if (name.size() != 4) return -1;
        const int high = hex_digit(name[2]);
        const int low = hex_digit(name[3]);
        return high < 0 || low < 0 ? -1 : 16 * high + low;
    }
    const int code = read_number(name);
    return code > 255 ? -1 : code;
}

}  // namespace

bool dir_char(OutputStream* s, DirectiveCall* call) {
    const std::string_view name = next_token(call, ' ');
    if (name.empty() || call->rest.find_first_not_of(' ') != std::string_view::npos) return false;
    uint8_t style = s->style;
    int code;
    if (const CharacterRow* row = find_character(name)) {
        code = strcmp(settings.charset, "mac") == 0 ? row->mac : row->latin1;
        if (row->graphic) style |= kStyleGraphic;
    } else {
        code = read_code(name);
        if (code < 0) return false;
    }
    write_fill(s, char(code), 1, style);
    return true;
}

bool dir_ccl(OutputStream* s, DirectiveCall* call) {
    const std::string_view name = next_token(call, ' ');
    if (name.empty() || name.size() > 32) return false;
    if (call->rest.find_first_not_of(' ') != std::string_view::npos) return false;
    SystemValue value;
    if (!FindSystemValue(name, &value)) return true;  // an unknown name is the empty text
    if (value.is_text) {
        write_text(s, value.text, s->style);
    } else {
        NumberText number;
        format_number(&number, "%18.0g", value.number);
        std::string_view text{number.text, size_t(number.length)};
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        write_text(s, text, s->style);
    }
    return true;
}

}  // namespace korva
