// core/file_path.cpp - extensions and schemes. Both separators count, since scripts use either.
#include "core/file_path.h"

#include <algorithm>

#include "core/ado_path.h"
#include "core/print.h"
#include "core/return_codes.h"

namespace korva {

namespace {

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// "http" of "http://host/file"; empty for the name of a file.
std::string_view scheme_of(std::string_view name) {
    const size_t colon = name.find("://");
    if (colon == name.npos || colon == 0) return {};
    const std::string_view scheme = name.substr(0, colon);
    return std::all_of(scheme.begin(), scheme.end(), is_letter) ? scheme : std::string_view{};
}

}  // namespace

std::string WithExtension(std::string_view name, std::string_view extension) {
    std::string full(name);
    if (LastPartOf(name).find('.') == name.npos) full += extension;
    return full;
}

std::string_view LastPartOf(std::string_view name) {
    name.remove_prefix(name.find_last_of("/\\") + 1);  // npos + 1 is 0
    return name;
}

ReturnCode LocalPath(const std::string& name, std::string* path) {
    const std::string_view scheme = scheme_of(name);
    if (scheme == "http") {
        out_error("web files are not available yet\n");
        return 199;
    }
    if (!scheme.empty()) return ReportError(671);
    if (name.size() > size_t(kMaxFileNameBytes)) return ReportFileError(603, name);
    *path = PlatformPath(name);
    return 0;
}

}  // namespace korva
