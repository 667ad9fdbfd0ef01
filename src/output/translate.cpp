// output/translate.cpp - translate, log html, log texman, log webhtml: files around a conversion.
//
//     translate source [target] [, replace book yebf whbf links]
//
// The suffix of the source says how it is read, that of the target how it is written; the forms of
// `log` write one kind only. The target goes through a replacement, so that a conversion that fails
// leaves what stood there.
#include <unistd.h>

#include "core/ado_path.h"
#include "core/commands.h"
#include "core/file_open.h"
#include "core/file_path.h"
#include "core/file_replace.h"
#include "core/option_words.h"
#include "core/print.h"
#include "core/return_codes.h"
#include "core/scanner.h"
#include "core/session.h"
#include "output/results.h"
#include "output/translation.h"

namespace korva {

namespace {

constexpr std::string_view kDefaultSource = ".tmrk";
constexpr size_t kBlockBytes = 16384;

struct FormRow {
    std::string_view default_target;  // suffix
    bool any_target;                  // else what the default suffix writes only
    TargetKind target;
    bool page;  // of HTML
    const char* refusal;
};

// clang-format off
// By the handler's argument.
constexpr FormRow kForms[] = {
    {".log",  true,  TargetKind::Text, true,  "translate writes files that end in .log, .txt, .html, .htm or .tex\n"},
    {".html", false, TargetKind::Html, true,  "log html writes files that end in .html or .htm\n"},
    {".tex",  false, TargetKind::Tex,  false, "log texman writes files that end in .tex\n"},
    {".html", false, TargetKind::Html, false, "log webhtml writes files that end in .html or .htm\n"},
};

struct TargetSuffix {
    std::string_view suffix;
    TargetKind target;
};
constexpr TargetSuffix kTargetSuffixes[] = {
    {".log",  TargetKind::Text},
    {".txt",  TargetKind::Text},
    {".html", TargetKind::Html},
    {".htm",  TargetKind::Html},
    {".tex",  TargetKind::Tex},
};

struct SourceSuffix {
    std::string_view suffix;
    bool is_markup;
};
constexpr SourceSuffix kSourceSuffixes[] = {
    {".tmrk", true},
    {".log",  false},
    {".txt",  false},
};
// clang-format on

// Names as the user gave them, suffix included, and what they are to the system.
struct Files {
    std::string source;
    std::string source_path;
    std::string target;
    std::string target_path;
    bool replace = false;
};

struct SourceFile {
    SourceFile() = default;
    ~SourceFile() {
        if (fd >= 0) close(fd);
    }
    SourceFile(const SourceFile&) = delete;
    SourceFile& operator=(const SourceFile&) = delete;
    int fd = -1;
};

// ".html" of "a.b.html", in lower case; empty when there is none.
std::string suffix_of(std::string_view name) {
    const std::string_view last = LastPartOf(name);
    const size_t dot = last.rfind('.');
    std::string suffix(dot == last.npos ? std::string_view() : last.substr(dot));
    for (char& c : suffix) {
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    }
    return suffix;
}

// How the source is read.
ReturnCode choose_reader(const Files& files, Translation* t) {
    const std::string suffix = suffix_of(files.source);
    for (const SourceSuffix& row : kSourceSuffixes) {
        if (row.suffix != suffix) continue;
        t->is_markup = row.is_markup;
        return 0;
    }
    out_error("source must end in .tmrk, .log or .txt\n");
    return 198;
}

// How the target is written.
ReturnCode choose_writer(const Files& files, const FormRow& form, Translation* t) {
    const std::string suffix = suffix_of(files.target);
    for (const TargetSuffix& row : kTargetSuffixes) {
        if (row.suffix != suffix || !(form.any_target || row.target == form.target)) continue;
        t->target = row.target;
        t->page = form.page;
        return 0;
    }
    out_error(form.refusal);
    return 198;
}

// source [target], each with the suffix that is meant when none was given.
ReturnCode read_names(const FormRow& form, Files* files) {
    char name[kMaxFileNameBytes + 1];
    if (ReturnCode rc = ParseFileName(name)) return rc;
    files->source = WithExtension(name, kDefaultSource);
    const bool has_suffix = files->source == name;
    if (const char next = PeekChar(); next != 0 && next != ',') {
        if (ReturnCode rc = ParseFileName(name)) return rc;
        files->target = WithExtension(name, form.default_target);
        return 0;
    }
    if (has_suffix) {
        out_error("must specify file to be written if source has .suffix\n");
        return 198;
    }
    files->target = WithExtension(name, form.default_target);
    return 0;
}

ReturnCode read_line(const FormRow& form, Files* files, Translation* t) {
    if (ReturnCode rc = read_names(form, files)) return rc;
    const OptionWord words[] = {
        {"replace", 7, &files->replace}, {"book", 4, &t->book},       {"yebf", 4, &t->bold_result},
        {"whbf", 4, &t->bold_input},     {"links", 4, &t->all_links},
    };
    if (ReturnCode rc = ReadTrailingOptions(words)) return rc;
    if (ReturnCode rc = choose_reader(*files, t)) return rc;
    if (ReturnCode rc = choose_writer(*files, form, t)) return rc;
    if (ReturnCode rc = LocalPath(files->source, &files->source_path)) return rc;
    return LocalPath(files->target, &files->target_path);
}

ReturnCode open_source_file(const Files& files, SourceFile* source) {
    const ReturnCode rc = OpenToRead(files.source_path, &source->fd);
    return rc != 0 ? ReportFileError(rc, files.source) : 0;
}

// An existing target needs `replace`.
ReturnCode check_target(const Files& files) {
    if (files.replace || !FileExists(files.target_path.c_str())) return 0;
    return ReportFileError(602, files.target);
}

ReturnCode write_target(void* data, std::string_view bytes) {
    return WriteReplacement(static_cast<FileReplacement*>(data), bytes.data(), bytes.size());
}

ReturnCode feed_file(const Files& files, const SourceFile& source, Translation* t) {
    char block[kBlockBytes];
    for (;;) {
        const int64_t got = ReadSome(source.fd, block, sizeof block);
        if (got < 0) return ReportFileError(692, files.source);
        if (got == 0) return 0;
        if (ReturnCode rc = translation_feed(t, {block, size_t(got)})) return rc;
    }
}

ReturnCode convert_file(const Files& files, Translation* t) {
    // What an open log still holds back belongs to a source that is this log.
    if (print_state.results != nullptr) out_stream_flush(print_state.results);
    SourceFile source;
    if (ReturnCode rc = open_source_file(files, &source)) return rc;
    if (ReturnCode rc = check_target(files)) return rc;
    FileReplacement file;
    if (ReturnCode rc = BeginReplace(&file, files.target_path)) return rc;
    file.name = files.target;  // without what PlatformPath made of it
    t->source_name = files.source;
    t->title = LastPartOf(files.source);
    t->width = ResultsWidth();
    if (ReturnCode rc = translation_begin(t, write_target, &file)) return rc;
    if (ReturnCode rc = feed_file(files, source, t)) return rc;
    if (ReturnCode rc = translation_end(t)) return rc;
    return CommitReplace(&file);
}

}  // namespace

// translate source [target] [, options], and the same behind log html, texman and webhtml.
ReturnCode CmdTranslate(int form) {
    const FormRow& row = kForms[form];
    Files files;
    Translation t;
    if (ReturnCode rc = read_line(row, &files, &t)) return rc;
    if (ReturnCode rc = convert_file(files, &t)) return rc;
    LevelGuard level(kLevelText);
    out_textf("(file %s written)\n", files.target.c_str());
    return 0;
}

}  // namespace korva
