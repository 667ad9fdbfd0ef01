// core/return_codes.cpp - one table of codes and texts, and the routines that print from it.
//
// Text comes at the moment of failure, from the routine that failed; RunLine shows the r(#); line.
// A code that is not in the table has no text: it prints nothing and returns itself.
#include "core/return_codes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "core/commands.h"
#include "core/platform.h"
#include "core/print.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/settings.h"
#include "core/upcalls.h"

namespace korva {

namespace {

enum class Form : uint8_t {
    Text,    // printed as it stands
    Markup,  // holds a link
    File,    // %s stands for a file's name
    Wants,   // its own text needs what only the failing routine knows; here that of 198
};

// What is said beside a text: paragraphs of mark-up. An item begins with its number; @maxvar@,
// @matsize@ and @width@ stand for the limits in force.
struct Paragraph {
    bool item;
    const char* text;
};

constexpr Paragraph kAboutMatsize[] = {
    {false, "You can increase matsize using the\n"
            "{cmd:set matsize} command; see help {help matsize}.\n"},
    {false, nullptr},
};
constexpr Paragraph kAboutVariables[] = {
    {false, "An attempt was made to add a variable that would have\n"
            "resulted in more than\n"
            "@maxvar@\n"
            "variables (Korva reserves one variable for its own use).\n"
            "You have the following alternatives:\n"},
    {true, "1.  Drop some variables; see help {help drop}.\n"},
    {true, "2.  If you are using Korva/PX, increase maxvar;\nsee help {help maxvar}.\n"},
    {false, nullptr},
};
constexpr Paragraph kAboutObservations[] = {
    {false, "An attempt was made to increase the number of\n"
            "observations beyond what is currently possible.\n"
            "You have the following alternatives:\n"},
    {true, "1.  Store your variables more efficiently;\n"
           "see help {help compress}.\n"
           "(Think of Korva's data area as the area of a rectangle;\n"
           "Korva can trade off width and length.)\n"},
    {true, "2.  Drop some variables or observations;\nsee help {help drop}.\n"},
    {true, "3.  Increase the amount of memory allocated to the\n"
           "data area using the {cmd:set memory} command;\n"
           "see help {help memory}.\n"},
    {false, nullptr},
};
constexpr Paragraph kAboutWidth[] = {
    {false, "An attempt was made to add a variable that would have increased\n"
            "the memory required to store an observation beyond\n"
            "what is currently possible.\n"
            "You have the following alternatives:\n"},
    {true, "1.  Store existing variables more efficiently;\n"
           "see help {help compress}.\n"
           "(Think of Korva's data area as the area of a rectangle;\n"
           "Korva can trade off width and length.)\n"},
    {true, "2.  Drop some variables or observations;\nsee help {help drop}.\n"},
    {true, "3.  Increase the amount of memory allocated to the\n"
           "data area using the {cmd:set memory} command;\n"
           "see help {help memory}.\n"},
    {false, nullptr},
};
constexpr Paragraph kAboutMatrixSize[] = {
    {false, "You have attempted to create a matrix with more than\n"
            "@matsize@\n"
            "rows or columns or to fit a model with more than\n"
            "@matsize@\n"
            "variables plus ancillary parameters.\n"
            "You need to increase matsize using the\n"
            "{cmd:set matsize} command; see help {help matsize}.\n"},
    {false, nullptr},
};
constexpr Paragraph kAboutWidestRow[] = {
    {false, "An attempt was made to add a variable that would have increased\n"
            " the memory required to store an observation beyond\n"
            "@width@\n"
            " bytes, the maximum width allowed.\n"
            "You have the following alternatives:\n"},
    {true, "1.  Store existing variables more efficiently;\n"
           "see help {help compress}.\n"},
    {true, "2.  Drop some variables; see help {help drop}.\n"},
    {true, "3.  If you are using Korva/PX, increase the maximum width\n"
           "by increasing maxvar;\n"
           "see help {help maxvar}.\n"
           "The maximum width is set to 12*maxvar.\n"},
    {false, nullptr},
};

struct CodeRow {
    int32_t code;
    int32_t returned;  // what the caller of ReportError gets
    uint8_t level;
    Form form;
    const char* text;
    const Paragraph* about = nullptr;
};

// clang-format off
constexpr CodeRow kCodes[] = {
    // code, returned, level, form, text, paragraphs
    {2, 2, 3, Form::Markup, "connection timed out -- see help {help r(2)} for troubleshooting\n"},
    {3, 3, 3, Form::Text, "no dataset in use\n"},
    {4, 4, 3, Form::Text, "no; data in memory would be lost\n"},
    {5, 5, 3, Form::Text, "not sorted\n"},
    {18, 18, 3, Form::Text, "you must start with an empty dataset\n"},
    {100, 100, 3, Form::Wants, "invalid syntax\n"},
    {101, 101, 3, Form::Wants, "invalid syntax\n"},
    {102, 102, 3, Form::Text, "too few variables specified\n"},
    {103, 103, 3, Form::Text, "too many variables specified\n"},
    {104, 104, 3, Form::Text, "nothing to input\n"},
    {106, 106, 3, Form::Text, "type mismatch\n"},
    {107, 107, 3, Form::Text, "not possible with numeric variable\n"},
    {108, 108, 3, Form::Text, "not possible with string variable\n"},
    {109, 109, 3, Form::Text, "type mismatch\n"},
    {110, 110, 3, Form::Wants, "invalid syntax\n"},
    {111, 111, 3, Form::Wants, "invalid syntax\n"},
    {119, 119, 3, Form::Text, "statement out of context\n"},
    {120, 120, 3, Form::Text, "invalid %format\n"},
    {121, 121, 3, Form::Text, "invalid numlist\n"},
    {122, 122, 3, Form::Text, "invalid numlist has too few elements\n"},
    {123, 123, 3, Form::Text, "invalid numlist has too many elements\n"},
    {124, 124, 3, Form::Text, "invalid numlist has elements out of order\n"},
    {125, 125, 3, Form::Text, "invalid numlist has elements outside of allowed range\n"},
    {126, 126, 3, Form::Text, "invalid numlist has noninteger elements\n"},
    {127, 127, 3, Form::Text, "invalid numlist has missing values\n"},
    {130, 130, 3, Form::Text, "expression too long\n"},
    {131, 131, 3, Form::Text, "not possible with test\n"},
    {132, 132, 3, Form::Wants, "invalid syntax\n"},
    {133, 133, 3, Form::Wants, "invalid syntax\n"},
    {134, 134, 3, Form::Text, "too many values\n"},
    {135, 135, 3, Form::Text, "not possible with weighted data\n"},
    {140, 140, 3, Form::Text, "repeated categorical variable in term\n"},
    {141, 141, 3, Form::Text, "repeated term\n"},
    {142, 142, 3, Form::Text, "attempt to classify extraneous variable\n"},
    {143, 143, 3, Form::Text, "variable left unclassified\n"},
    {144, 144, 3, Form::Text, "variable classified inconsistently\n"},
    {145, 145, 3, Form::Text, "term contains more than 8 variables\n"},
    {146, 146, 3, Form::Text, "too many variables or values (matsize too small)\n", kAboutMatsize},
    {147, 147, 3, Form::Text, "term not in model\n"},
    {148, 148, 3, Form::Text, "too few categories\n"},
    {149, 149, 3, Form::Text, "too many categories\n"},
    {151, 151, 3, Form::Text, "non r-class program may not set r()\n"},
    {152, 152, 3, Form::Text, "non e-class program may not set e()\n"},
    {153, 153, 3, Form::Text, "non s-class program may not set s()\n"},
    {161, 161, 3, Form::Text, "ado-file has commands outside of program define ... end\n"},
    {162, 162, 3, Form::Text, "ado-file does not define command\n"},
    {180, 180, 3, Form::Text, "invalid attempt to modify label\n"},
    {181, 181, 3, Form::Text, "may not label strings\n"},
    {182, 182, 3, Form::Text, "not labeled\n"},
    {184, 184, 3, Form::Text, "may not be combined\n"},
    {190, 190, 3, Form::Text, "request may not be combined with by\n"},
    {191, 191, 3, Form::Text, "request may not be combined with by() option\n"},
    {196, 196, 3, Form::Text, "could not restore sort order because variables were dropped\n"},
    {197, 197, 3, Form::Text, "invalid syntax\n"},
    {198, 198, 3, Form::Text, "invalid syntax\n"},
    {199, 199, 3, Form::Text, "unrecognized command\n"},
    {301, 301, 3, Form::Text, "last estimates not found\n"},
    {302, 302, 3, Form::Text, "last test not found\n"},
    {303, 303, 3, Form::Text, "equation not found\n"},
    {304, 304, 3, Form::Text, "ml model not found\n"},
    {305, 305, 3, Form::Text, "ml model not found\n"},
    {310, 310, 3, Form::Text, "not possible because object(s) in use\n"},
    {321, 321, 3, Form::Text, "requested action not valid after most recent estimation command\n"},
    {322, 322, 3, Form::Text, "something that should be true of your estimation results is not\n"},
    {401, 401, 3, Form::Text, "may not use noninteger frequency weights\n"},
    {402, 402, 3, Form::Text, "negative weights encountered\n"},
    {403, 403, 3, Form::Text, "may not specify norobust with pweights\n"},
    {404, 404, 3, Form::Text, "not possible with pweighted data\n"},
    {406, 406, 3, Form::Text, "not possible with analytic weights\n"},
    {407, 407, 3, Form::Text, "weights must be the same for all observations in a group\n"},
    {411, 411, 3, Form::Text, "nonpositive values encountered\n"},
    {412, 412, 3, Form::Text, "redundant or inconsistent constraints\n"},
    {421, 421, 3, Form::Text, "could not determine between-subject error term; use bse() option\n"},
    {422, 422, 3, Form::Text, "could not determine between-subject basic unit; use bseunit() option\n"},
    {430, 430, 3, Form::Text, "convergence not achieved\n"},
    {450, 450, 3, Form::Text, "0/1 variable required\n"},
    {451, 451, 3, Form::Text, "invalid values for time variable\n"},
    {459, 459, 3, Form::Text, "something that should be true of your data is not\n"},
    {460, 460, 3, Form::Text, "fpc must be >= 0\n"},
    {461, 461, 3, Form::Text, "fpc for all observations within a stratum must be the same\n"},
    {462, 462, 3, Form::Text, "fpc must be <= 1 if a rate, or >= no. sampled units per stratum if unit totals\n"},
    {463, 463, 3, Form::Text, "sum of weights equals zero\n"},
    {464, 464, 3, Form::Text, "poststratum weights must be constant within poststrata\n"},
    {465, 465, 3, Form::Text, "poststratum weights must be >= 0\n"},
    {466, 466, 3, Form::Text, "standardization weights must be constant within standard strata\n"},
    {467, 467, 3, Form::Text, "standardization weights must be >= 0\n"},
    {471, 471, 3, Form::Text, "esample() invalid\n"},
    {481, 481, 3, Form::Text, "equation/system not identified\n"},
    {501, 501, 3, Form::Text, "matrix operation not found\n"},
    {503, 503, 3, Form::Text, "conformability error\n"},
    {504, 504, 3, Form::Text, "matrix has missing values\n"},
    {505, 505, 3, Form::Text, "matrix not symmetric\n"},
    {506, 506, 3, Form::Text, "matrix not positive definite\n"},
    {507, 507, 3, Form::Text, "name conflict\n"},
    {508, 508, 3, Form::Text, "matrix has zero values on diagonal\n"},
    {509, 509, 3, Form::Text, "matrix operators that return matrices not allowed in this context\n"},
    {601, 601, 3, Form::File, "file %s not found\n"},
    {602, 602, 3, Form::File, "file %s already exists\n"},
    {603, 603, 3, Form::File, "file %s could not be opened\n"},
    {604, 604, 3, Form::Text, "log file already open\n"},
    {606, 606, 3, Form::Text, "no log file open\n"},
    {607, 607, 3, Form::Text, "no cmdlog file open\n"},
    {608, 608, 3, Form::File, "file %s is read-only; cannot be modified or erased\n"},
    {609, 609, 3, Form::File, "file %s xp format\n"},
    {610, 610, 3, Form::File, "file %s not Korva format\n"},
    {611, 611, 3, Form::Text, "record too long\n"},
    {612, 612, 3, Form::Text, "unexpected end of file\n"},
    {613, 613, 3, Form::Text, "file does not contain dictionary\n"},
    {614, 614, 3, Form::Text, "dictionary invalid\n"},
    {615, 615, 3, Form::Text, "cannot determine separator -- use tab or comma option\n"},
    {616, 616, 3, Form::Text, "wrong number of values in checksum file\n"},
    {621, 621, 3, Form::Text, "already preserved\n"},
    {622, 622, 3, Form::Text, "nothing to restore\n"},
    {631, 631, 3, Form::Text, "host not found\n"},
    {632, 632, 3, Form::Text, "web filename not supported in this context\n"},
    {633, 633, 3, Form::Text, "may not write files over Internet\n"},
    {639, 639, 3, Form::Text, "file transmission error (checksums do not match)\n"},
    {640, 640, 3, Form::Text, "package file too long\n"},
    {641, 641, 3, Form::Text, "package file invalid\n"},
    {651, 651, 3, Form::Text, "may not seek past end of file\n"},
    {660, 660, 3, Form::Text, "proxy host not found\n"},
    {661, 661, 3, Form::File, "host or file %s not found\n"},
    {662, 662, 3, Form::Text, "proxy server refused request to send\n"},
    {663, 663, 3, Form::Markup, "remote connection to proxy failed -- see help {help r(663)} for troubleshooting\n"},
    {665, 665, 3, Form::Text, "could not set socket nonblocking\n"},
    {667, 667, 3, Form::Text, "wrong version winsock.dll\n"},
    {668, 668, 3, Form::Text, "could not find a valid winsock.dll\n"},
    {669, 669, 3, Form::Text, "invalid URL\n"},
    {670, 670, 3, Form::Text, "invalid network port number\n"},
    {671, 671, 3, Form::Text, "unknown network protocol\n"},
    {672, 672, 3, Form::Text, "server refused to send file\n"},
    {673, 673, 3, Form::Text, "authorization required by server\n"},
    {674, 674, 3, Form::Text, "unexpected response from server\n"},
    {675, 675, 3, Form::Text, "server reported server error\n"},
    {676, 676, 3, Form::Text, "server refused request to send\n"},
    {677, 677, 3, Form::Markup, "remote connection failed -- see help {help r(677)} for troubleshooting\n"},
    {678, 678, 3, Form::Text, "could not open local network socket\n"},
    {680, 680, 3, Form::Text, "could not find a valid odbc32.dll\n"},
    {681, 681, 3, Form::Text, "too many open files\n"},
    {682, 682, 3, Form::Text, "could not connect to odbc dsn\n"},
    {683, 683, 3, Form::Text, "could not fetch variable in odbc table\n"},
    {684, 684, 3, Form::Text, "could not find a valid dlxapi32.dll\n"},
    {688, 688, 3, Form::File, "file %s is corrupt\n"},
    {691, 691, 3, Form::Text, "I/O error\n"},
    {692, 692, 3, Form::File, "file %s I/O error on read\n"},
    {693, 693, 3, Form::File, "file %s I/O error on write\n"},
    {694, 694, 3, Form::Text, "could not rename file\n"},
    {695, 695, 3, Form::Text, "could not copy file\n"},
    {697, 697, 1, Form::File, "file %s saved\n"},
    {699, 699, 3, Form::Text, "insufficient disk space\n"},
    {702, 702, 3, Form::Text, "op. sys. refused to start new process\n"},
    {703, 703, 3, Form::Text, "op. sys. refused to open pipe\n"},
    {900, 900, 3, Form::Text, "no room to add more variables\n", kAboutVariables},
    {901, 901, 3, Form::Text, "no room to add more observations\n", kAboutObservations},
    {902, 902, 3, Form::Text, "no room to add more variables due to width\n", kAboutWidth},
    {903, 903, 3, Form::Text, "no room to promote variable (e.g., change int to float) due to width\n", kAboutWidth},
    {908, 908, 3, Form::Text, "matsize too small\n", kAboutMatrixSize},
    {909, 909, 3, Form::Text, "op. sys. refuses to provide memory\n"},
    {910, 910, 3, Form::Text, "value too small\n"},
    {912, 912, 3, Form::Text, "value too large\n"},
    {913, 913, 3, Form::Text, "op. sys. refuses to provide sufficient memory;\n    op. sys. provided base request, but then refused to provide\n    sufficient memory for matsize\n"},
    {914, 914, 3, Form::Text, "op. sys. refused to allow Korva to open temporary file\n"},
    {920, 920, 3, Form::Text, "too many macros\n"},
    {950, 950, 3, Form::Text, "insufficient memory\n"},
    {1000, 1000, 3, Form::Text, "system limit exceeded - see manual\n"},
    {1001, 1001, 3, Form::Text, "too many values\n"},
    {1002, 1002, 3, Form::Text, "too many by variables\n"},
    {1003, 1003, 3, Form::Text, "too many options\n"},
    {1004, 1004, 3, Form::Text, "command too long\n"},
    {1010, 1010, 3, Form::Text, "system limit exceeded -- width shortage\n", kAboutWidestRow},
    {1400, 1400, 3, Form::Text, "numerical overflow\n"},
    {2000, 0, 3, Form::Text, "no observations\n"},
    {2001, 2001, 3, Form::Text, "insufficient observations\n"},
    {3000, 3000, 3, Form::Text, "Lumo compile-time error\n"},
    {4000, 4000, 3, Form::Text, "class system limit exceeded\n"},
    {4001, 4001, 3, Form::Text, "class-system reference out of range\n"},
    {4002, 4002, 3, Form::Text, "class-system reference not defined\n"},
    {4003, 4003, 3, Form::Text, "invalid class-system reference\n"},
    {4005, 4005, 3, Form::Text, "invalid type usage\n"},
    {4006, 4006, 3, Form::Text, "invalid attribute type\n"},
    {4007, 4007, 3, Form::Text, "no current class context\n"},
    {4008, 4008, 3, Form::Text, "too many class keys\n"},
    {4009, 4009, 3, Form::Text, "invalid class reference or reference found where not expected\n"},
    {4010, 4010, 3, Form::Text, "class key not found\n"},
    {4011, 4011, 3, Form::Text, "name too long\n"},
    {4012, 4012, 3, Form::Text, "name not found\n"},
    {4013, 4013, 3, Form::Text, "not a class type\n"},
    {4014, 4014, 3, Form::Text, "not a class\n"},
    {4015, 4015, 3, Form::Text, "class types are not the same\n"},
    {4017, 4017, 3, Form::Text, "name already declared in current class\n"},
    {4018, 4018, 3, Form::Text, "class type not found\n"},
    {4019, 4019, 3, Form::Text, "source and target types are not compatible\n"},
    {4020, 4020, 3, Form::Text, "not an array\n"},
    {4022, 4022, 3, Form::Text, "no active class\n"},
    {4023, 4023, 3, Form::Text, "class member function not found\n"},
    {4024, 4024, 3, Form::Text, "creators new, clone, clone1, copy, and reference may not be combined\n with super\n"},
    {4025, 4025, 3, Form::Text, "clone creator may only be used with classes\n"},
    {4026, 4026, 3, Form::Text, "rvalue invalid\n"},
    {4027, 4027, 3, Form::Text, "incompatible types\n"},
    {4028, 4028, 3, Form::Text, "target of assigment no longer available\n"},
    {4029, 4029, 3, Form::Text, "invalid array reference\n"},
    {4030, 4030, 3, Form::Text, "invalid array intializer\n"},
    {4031, 4031, 3, Form::Text, "already exists\n"},
    {4050, 4050, 3, Form::Text, "class system failure\n"},
    {4051, 4051, 3, Form::Text, "class context out of range\n"},
    {4052, 4052, 3, Form::Text, "class element too large to store\n"},
    {4099, 4099, 3, Form::Text, "system failure in .class files\n"},
    {5101, 101, 3, Form::Text, "iweights not allowed with robust\n"},
    {6101, 101, 3, Form::Text, "time-series operators not allowed\n"},
    {7196, 180, 3, Form::Text, "invalid attempt to modify label\n"},
    {7197, 198, 3, Form::Text, "invalid file specification\n"},
    {7198, 198, 3, Form::Text, "multiple by's not allowed\n"},
    {8001, 0, 1, Form::Text, platform::kIrrelevantHere},
    {8002, 0, 1, Form::Text, "request ignored due to batch mode\n"},
};
// clang-format on
static_assert(std::ranges::is_sorted(kCodes, std::less_equal<>(), &CodeRow::code));

constexpr int kMaxMatsize = 11000;  // beyond it the advice to increase matsize would be wrong
constexpr int kLargestErrorCode = 100000;

const CodeRow* find_code(int code) {
    const CodeRow* row = std::ranges::lower_bound(kCodes, code, {}, &CodeRow::code);
    return row != std::end(kCodes) && row->code == code ? row : nullptr;
}

void replace_all(std::string* text, std::string_view mark, int64_t number) {
    for (size_t at = text->find(mark); at != std::string::npos; at = text->find(mark)) {
        text->replace(at, mark.size(), std::to_string(number));
    }
}

void print_paragraphs(const Paragraph* about) {
    for (; about->text != nullptr; about++) {
        std::string text = about->text;
        replace_all(&text, "@maxvar@", settings.maxvar - 1);
        replace_all(&text, "@matsize@", settings.matsize);
        replace_all(&text, "@width@", session.maxlrecl);
        out_style();
        out_tmrk(about->item ? "{p 5 9}\n" : "{p}\n");
        out_tmrk(text);
        out_tmrk("{p_end}\n");
    }
}

std::string with_name(std::string_view text, std::string_view name) {
    std::string full(text);
    full.replace(full.find("%s"), 2, name);
    return full;
}

// Prints the row's text at the level; `name` fills a file's place.
void print_code(const CodeRow& row, uint8_t level, std::string_view name) {
    const LevelGuard guard(level);
    out_reset();
    if (row.form == Form::Markup) {
        out_style();
        out_tmrk(row.text);
    } else if (row.form == Form::File) {
        out_text(with_name(row.text, name));
    } else {
        out_text(row.text);
    }
    if (row.about == nullptr || (row.code == 146 && settings.matsize >= kMaxMatsize)) return;
    print_paragraphs(row.about);
}

const CodeRow* row_for(int code) {
    if (code >= 3001 && code <= 3999) {
        static constexpr CodeRow kRunTime = {3001, 3001, 3, Form::Text, "Lumo run-time error\n"};
        return &kRunTime;
    }
    return find_code(code);
}

}  // namespace

ReturnCode ReportError(int code) {
    if (code == 0) return 0;
    const CodeRow* row = row_for(code);
    if (row == nullptr) return code;
    uint8_t level = row->level;
    if ((code == 2000 || code == 2001) && ByGroupRunning()) level = kLevelText;
    print_code(*row, level, "");
    return code >= 3001 && code <= 3999 ? code : row->returned;
}

ReturnCode ReportRequired(std::string_view text) {
    out_error(std::string(text) + " required\n");
    return 100;
}

ReturnCode ReportNotAllowed(std::string_view text) {
    out_error(std::string(text) + " not allowed\n");
    return 101;
}

ReturnCode ReportInvalid(std::string_view text) {
    out_error("invalid " + std::string(text) + "\n");
    return 198;
}

ReturnCode ReportNotFound(std::string_view text) {
    out_error(std::string(text) + " not found\n");
    return 111;
}

ReturnCode ReportAlreadyDefined(std::string_view text) {
    out_error(std::string(text) + " already defined\n");
    return 110;
}

ReturnCode ReportAmbiguous(std::string_view text) {
    out_error(std::string(text) + " ambiguous abbreviation\n");
    return 111;
}

ReturnCode ReportFoundWhere(std::string_view found, std::string_view expected) {
    out_error("'" + std::string(found) + "' found where " + std::string(expected) + " expected\n");
    return 198;
}

ReturnCode ReportFileError(int code, std::string_view name) {
    if (code == 698) {
        const LevelGuard guard(kLevelText);
        out_text("(note: file " + std::string(name) + " not found)\n");
        return 0;
    }
    const CodeRow* row = code >= 601 && code <= 699 ? find_code(code) : nullptr;
    if (row == nullptr) {
        out_errorf("error %d\n", code);
        return code;
    }
    print_code(*row, row->level, name);
    return code == 697 ? 0 : code;
}

ReturnCode ReportMacroNotFound(std::string_view key) {
    if (!key.empty() && key[0] == '_') {
        out_error("local macro `" + std::string(key.substr(1)) + "' not found\n");
    } else {
        out_error("global macro $" + std::string(key) + " not found\n");
    }
    return 111;
}

ReturnCode ReportInvalidSyntax() {
    return ReportError(198);
}

// error exp: prints the standard text of the code and returns the code as typed.
ReturnCode CmdError(int) {
    ExpressionValue value;
    if (EvaluateScanned(ExpressionMode::Number, &value) != 0) return 197;
    if (PeekChar() != 0) return ReportError(197);
    const double x = std::trunc(value.number);
    if (x == 0) return 0;
    const int code = x < 0 || x > kLargestErrorCode ? kLargestErrorCode : int(x);
    if ((code == 2000 || code == 2001) && ByGroupRunning()) {
        session.Unwind = 1;
        return 0;
    }
    if (const CodeRow* row = row_for(code)) print_code(*row, kLevelError, "");
    return code;
}

}  // namespace korva
