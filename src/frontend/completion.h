// frontend/completion.h - how the engine finishes a word that the user is typing.
//
// The engine answers (data/completion.cpp). A front end with a Tab key hands over the text in front
// of the cursor and gets back the words that could stand there. Nothing is run, loaded or changed
// by asking, at any text.
//
// A file's word begins with `"` where a name would not stay one word without; start is behind a
// quote that the user has typed. The quote is closed by after_word, never by the word.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korva {

struct CompletionChoice {
    std::string word;  // takes the place of the text from CompletionAnswer::start to the cursor
    std::string note;  // shown beside it: a variable's label, the kind of a file; may be empty
};

struct CompletionAnswer {
    int start = 0;            // 0-based byte of the text at which the word begins
    char after_word = 0;      // what to add behind the word when it is the only one; 0: nothing
    bool file_names = false;  // the words are paths: lists show what stands behind the last `/`
    std::vector<CompletionChoice> choices;  // sorted by word, each word once
};

// The words that may stand at the end of `text`, which is one statement as typed so far; lines of a
// block or of a `///` statement are joined by LF.
CompletionAnswer CompleteStatement(std::string_view text);

}  // namespace korva
