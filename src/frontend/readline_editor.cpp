// frontend/readline_editor.cpp - the line editor on GNU readline: its keys, the user's own in
// ~/.inputrc, history, search.
//
// Readline is driven through its callback interface and reads through our buffer, so that a break
// ends a wait at once, and what was typed ahead stays for whoever reads next. It installs no signal
// handlers. A paste in brackets is taken whole: its complete lines are accepted one after the other
// without being edited, since redrawing each would take longer the more there are.
#include "frontend/line_editor.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <readline/history.h>
#include <readline/readline.h>

#include "frontend/completion.h"
#include "frontend/frontend.h"
#include "frontend/history.h"
#include "frontend/keyboard.h"

namespace korva {

namespace {

constexpr std::string_view kPasteEnd = "\033[201~";
constexpr size_t kMaxStatementBytes = 1 << 16;  // a longer one is not looked through for words

struct EditorState {
    bool ready = false;
    const LineRequest* request = nullptr;  // of the line being read; null: none is
    TypedText* typed = nullptr;
    bool done = false;   // readline has handed over the line
    bool ended = false;  // or the end of the input instead
    CompletionAnswer answer;
    int answer_start = 0;  // 0-based byte of the line at which the completed word begins
    char word_break[2] = "";
};
EditorState editor;

// The user's characters are the terminal's while a line is edited; the engine knows only bytes.
struct TerminalLocale {
    TerminalLocale() { std::setlocale(LC_CTYPE, ""); }
    ~TerminalLocale() { std::setlocale(LC_CTYPE, "C"); }
    TerminalLocale(const TerminalLocale&) = delete;
    TerminalLocale& operator=(const TerminalLocale&) = delete;
};

// Ends the line as Enter does.
void accept_line() {
    rl_point = rl_end;
    rl_redisplay();
    rl_newline(1, '\n');
}

// --- function keys
// --------------------------------------------------------------------------------

// Inserts the key's macro; a final `;` in it acts as Enter.
template <int key>
int insert_function_key(int, int) {
    std::string text = FunctionKeyText(key);
    const bool enter = text.ends_with(';');
    if (enter) text.pop_back();
    rl_insert_text(text.c_str());
    if (enter) accept_line();
    return 0;
}

struct FunctionKey {
    rl_command_func_t* insert;
    const char* sequences[3];  // what the common terminals send
};
constexpr FunctionKey kFunctionKeys[] = {
    {insert_function_key<1>, {"\\eOP", "\\e[11~", "\\e[[A"}},
    {insert_function_key<2>, {"\\eOQ", "\\e[12~", "\\e[[B"}},
    {insert_function_key<3>, {"\\eOR", "\\e[13~", "\\e[[C"}},
    {insert_function_key<4>, {"\\eOS", "\\e[14~", "\\e[[D"}},
    {insert_function_key<5>, {"\\e[15~", "\\e[[E"}},
    {insert_function_key<6>, {"\\e[17~"}},
    {insert_function_key<7>, {"\\e[18~"}},
    {insert_function_key<8>, {"\\e[19~"}},
    {insert_function_key<9>, {"\\e[20~"}},
    {insert_function_key<10>, {"\\e[21~"}},
};

// --- a paste
// --------------------------------------------------------------------------------------

// Reads a paste up to its end mark; line ends become LF. A break or the end of the input ends it.
std::string read_paste() {
    std::string text;
    for (;;) {
        const int byte = ReadInputByte();
        if (byte < 0) return text;
        text += char(byte);
        if (text.ends_with(kPasteEnd)) break;
    }
    text.resize(text.size() - kPasteEnd.size());
    size_t to = 0;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        text[to++] = text[i] == '\r' ? '\n' : text[i] == '\t' ? ' ' : text[i];
    }
    text.resize(to);
    std::erase(text, '\0');
    return text;
}

// Complete lines are accepted; what stands behind the last line end, with what stood behind the
// cursor, is the next line's to be edited.
int take_paste(int, int) {
    const std::string text = read_paste();
    size_t end = text.find('\n');
    if (end == std::string::npos || editor.typed == nullptr) {
        rl_insert_text(text.c_str());
        return 0;
    }
    const std::string behind(rl_line_buffer + rl_point, size_t(rl_end - rl_point));
    rl_delete_text(rl_point, rl_end);
    rl_insert_text(text.substr(0, end).c_str());
    size_t start = end + 1;
    for (; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        editor.typed->pasted.push_back(text.substr(start, end - start));
    }
    editor.typed->unfinished = {text.substr(start) + behind, int(text.size() - start)};
    accept_line();
    return 0;
}

// --- completion
// -----------------------------------------------------------------------------------

// Readline looks back from the cursor for a character that divides words. Completion knows better
// where the word begins: the only divider is what stands in front of it.
char* ask_completion() {
    editor.word_break[0] = 0;
    editor.answer = {};
    if (!editor.request->is_command || editor.request->statement.size() > kMaxStatementBytes) {
        return editor.word_break;
    }
    std::string text(editor.request->statement);
    if (!text.empty()) text += '\n';
    const auto line_start = int(text.size());
    text.append(rl_line_buffer, size_t(rl_point));
    editor.answer = CompleteStatement(text);
    editor.answer_start = editor.answer.start - line_start;
    if (editor.answer_start > 0 && editor.answer_start <= rl_point) {
        editor.word_break[0] = rl_line_buffer[editor.answer_start - 1];
    }
    return editor.word_break;
}

std::string common_start(const std::vector<CompletionChoice>& choices) {
    std::string_view common = choices.front().word;
    for (const CompletionChoice& choice : choices) {
        const auto [here, there] = std::mismatch(common.begin(), common.end(), choice.word.begin(),
                                                 choice.word.end());
        common = common.substr(0, size_t(here - common.begin()));
    }
    return std::string(common);
}

// What readline replaces the word by, then the choices; all on its heap.
char** complete_word(const char* word, int start, int) {
    rl_attempted_completion_over = 1;     // file names only where the answer has them
    rl_ignore_completion_duplicates = 0;  // that would sort them
    rl_completion_append_character = editor.answer.after_word;
    const std::vector<CompletionChoice>& choices = editor.answer.choices;
    if (choices.empty() || start != editor.answer_start) return nullptr;
    auto matches = static_cast<char**>(std::calloc(choices.size() + 2, sizeof(char*)));
    if (matches == nullptr) return nullptr;
    std::string common = common_start(choices);
    if (choices.size() > 1 && common.size() < std::strlen(word)) common = word;
    matches[0] = strdup(common.c_str());
    if (choices.size() == 1) return matches;
    for (size_t i = 0; i < choices.size(); i++) matches[i + 1] = strdup(choices[i].word.c_str());
    return matches;
}

// Columns that a text takes on the screen: bytes that go on with a character take none.
size_t columns_of(std::string_view text) {
    if (MB_CUR_MAX == 1) return text.size();
    return size_t(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// The first characters of a text, as many as fit in the columns.
std::string_view fitting(std::string_view text, size_t columns) {
    while (columns_of(text) > columns) text.remove_suffix(1);
    return text;
}

// A choice as lists show it: of a path what stands behind the last `/`.
std::string_view listed_word(const std::string& word) {
    if (!editor.answer.file_names || word.size() < 2) return word;
    const size_t slash = word.rfind('/', word.size() - 2);
    return slash == std::string::npos ? word : std::string_view(word).substr(slash + 1);
}

// Shows the choices in columns, read downwards, each with its note behind it, no more than fit the
// window.
void show_choices(char**, int, int) {
    const std::vector<CompletionChoice>& choices = editor.answer.choices;
    size_t word_columns = 0;
    size_t note_columns = 0;
    for (const CompletionChoice& choice : choices) {
        word_columns = std::max(word_columns, columns_of(listed_word(choice.word)));
        note_columns = std::max(note_columns, columns_of(choice.note));
    }
    int rows;
    int width;
    rl_get_screen_size(&rows, &width);
    const auto window = size_t(std::max(width, 20)) - 1;
    word_columns = std::min(word_columns, window);
    note_columns = std::min(note_columns, window - std::min(window, word_columns + 2));
    const size_t cell = word_columns + 2 + (note_columns > 0 ? note_columns + 2 : 0);
    const size_t across = std::max<size_t>((window + 2) / cell, 1);
    const size_t down = (choices.size() + across - 1) / across;
    const size_t shown = std::min(down, size_t(std::max(rows - 3, 3)));

    std::string text = "\n";
    for (size_t row = 0; row < shown; row++) {
        for (size_t i = row; i < choices.size(); i += down) {
            const std::string_view word = fitting(listed_word(choices[i].word), word_columns);
            const std::string_view note = fitting(choices[i].note, note_columns);
            text.append(word).append(word_columns + 2 - columns_of(word), ' ').append(note);
            text.append(cell - word_columns - 2 - columns_of(note), ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    if (shown < down) text += "(" + std::to_string(choices.size()) + " in all)\n";
    std::fputs(text.c_str(), rl_outstream);
    rl_forced_update_display();
}

// --- reading a line
// -------------------------------------------------------------------------------

int read_byte(FILE*) {
    const int byte = ReadInputByte();
    return byte < 0 ? EOF : byte;
}

// Readline asks whether more comes within its own time, which only setting it tells.
int byte_waits() {
    const int timeout_us = rl_set_keyboard_input_timeout(0);
    rl_set_keyboard_input_timeout(timeout_us);
    return InputByteWaits(timeout_us / 1000) ? 1 : 0;
}

void take_line(char* text) {
    rl_callback_handler_remove();
    editor.done = true;
    editor.ended = text == nullptr;
    if (text != nullptr) editor.typed->text = text;
    std::free(text);
}

// A shell that stopped and continued us has put the terminal into its own mode.
void take_terminal_back() {
    if (editor.request == nullptr) return;
    rl_deprep_term_function();
    rl_prep_term_function(1);
    rl_forced_update_display();
}

void follow_window() {
    if (editor.request != nullptr) rl_resize_terminal();
}

void bind_keys() {
    for (Keymap map : {emacs_standard_keymap, vi_insertion_keymap}) {
        rl_bind_keyseq_in_map("\\e[200~", take_paste, map);
        for (const FunctionKey& key : kFunctionKeys) {
            for (const char* sequence : key.sequences) {
                if (sequence == nullptr) continue;
                rl_bind_keyseq_if_unbound_in_map(sequence, key.insert, map);
            }
        }
    }
}

void initialize() {
    static char no_characters[] = "";
    rl_readline_name = "korva";
    rl_instream = stdin;
    rl_outstream = stdout;
    rl_catch_signals = 0;
    rl_catch_sigwinch = 0;
    rl_change_environment = 0;
    rl_getc_function = read_byte;
    rl_input_available_hook = byte_waits;
    rl_basic_quote_characters = no_characters;
    rl_completion_word_break_hook = ask_completion;
    rl_attempted_completion_function = complete_word;
    rl_completion_display_matches_hook = show_choices;
    rl_sort_completion_matches = 0;
    rl_initialize();
    // Bytes above 127 are characters, whatever the locale says.
    rl_variable_bind("input-meta", "on");
    rl_variable_bind("output-meta", "on");
    rl_variable_bind("convert-meta", "off");
    bind_keys();
    keyboard_hooks.window_changed = follow_window;
    keyboard_hooks.resumed = take_terminal_back;
    editor.ready = true;
}

void begin_line(const LineRequest& request) {
    if (!request.text_on_line.empty()) std::fputs("\r", rl_outstream);
    rl_callback_handler_install(request.prompt.c_str(), take_line);
    if (request.unfinished->text.empty()) return;
    rl_insert_text(request.unfinished->text.c_str());
    rl_point = request.unfinished->cursor;
    rl_redisplay();
}

// Leaves the line as it stands on the screen and forgets it.
void abandon_line() {
    if (editor.done) return;
    rl_callback_sigcleanup();
    rl_point = rl_end;
    rl_redisplay();
    std::fputs("^C", rl_outstream);
    rl_free_line_state();
    rl_callback_handler_remove();
}

TypedOutcome edit() {
    while (!editor.done) {
        const int code = WaitForInput();
        if (code == 0) rl_callback_read_char();
        if (BreakStands()) {
            abandon_line();
            return TypedOutcome::Break;
        }
        if (code == kInputEnd && !editor.done) {
            rl_callback_handler_remove();
            return TypedOutcome::EndOfInput;
        }
    }
    return editor.ended ? TypedOutcome::EndOfInput : TypedOutcome::Line;
}

TypedOutcome read_line(const LineRequest& request, TypedText* typed) {
    const TerminalLocale locale;
    keyboard_hooks.before_wait();  // what was printed stands in front of the prompt
    if (!editor.ready) initialize();
    editor.request = &request;
    editor.typed = typed;
    editor.done = editor.ended = false;
    rl_resize_terminal();
    begin_line(request);
    const TypedOutcome outcome = edit();
    std::fflush(rl_outstream);
    editor.request = nullptr;
    editor.typed = nullptr;
    return outcome;
}

// An entry that repeats the last one would only be in the way.
void remember(const std::string& entry, bool replaces_last) {
    if (replaces_last && history_length > 0) {
        free_history_entry(remove_history(history_length - 1));
    }
    const HIST_ENTRY* last = history_get(history_base + history_length - 1);
    if (last != nullptr && entry == last->line) return;
    if (!history_is_stifled()) stifle_history(kMostHistoryEntries);
    add_history(entry.c_str());
}

}  // namespace

LineEditor ReadlineEditor() {
    return {read_line, remember};
}

}  // namespace korva
